#pragma once

#include <dlfcn.h>

/// Marks a function that stands before the one of the same name in libc.
#define ENTRY extern "C" [[gnu::visibility("default")]]

/// The function behind ours: libc's, or that of a sanitizer.
template <typename function>
function *next(const char *name)
{
    return reinterpret_cast<function *>(dlsym(RTLD_NEXT, name));
}

/// Counts a call of a libc function and tells whether $TAVO_PANEL_FAIL wants it to fail. Calls
/// before this process has opened the device are neither counted nor failed.
bool libc_call_fails(const char *name);
