// Faults of libc itself, for programs that must survive a full disk, a lost file and short memory.
// A fault is named like its function, or short-read, short-write (half of what was asked for, at
// least one byte) and eintr-read, eintr-write (a signal came first; the call after that works).
// Standard input, output and error are left alone. What libc calls on its own behalf, such as the
// malloc for a stream's buffer, counts too; its reads and writes do not. A program with an
// allocator of its own, such as one that has a sanitizer linked in statically, is not short of
// memory.

#undef _FORTIFY_SOURCE

#include "driver.h"
#include "libc.h"
#include "log.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <unistd.h>

bool libc_call_fails(const char *name)
{
    return device_opened() && fails(name);
}

namespace {

struct transfer_faults {
    const char *cut, *interrupt;
    bool interrupted; // the last call was, so this one is not
};
transfer_faults reading = {"short-read", "eintr-read", false};
transfer_faults writing = {"short-write", "eintr-write", false};

size_t cut(size_t size, const transfer_faults &faults)
{
    return size > 1 && libc_call_fails(faults.cut) ? size / 2 : size;
}

// The errno with which a transfer fails, or 0; then `size` may have become less.
int transfer_error(int fd, const char *name, transfer_faults &faults, size_t &size)
{
    if (fd <= STDERR_FILENO)
        return 0;
    if (libc_call_fails(name))
        return EIO;
    faults.interrupted = !faults.interrupted && libc_call_fails(faults.interrupt);
    if (faults.interrupted)
        return EINTR;
    size = cut(size, faults);
    return 0;
}

bool is_standard(FILE *stream)
{
    return stream == stdin || stream == stdout || stream == stderr;
}

// The elements to transfer of `count`, or 0 and errno. A single one is never cut.
size_t elements(FILE *stream, const char *name, const transfer_faults &faults, size_t count)
{
    if (is_standard(stream))
        return count;
    if (libc_call_fails(name))
        return errno = EIO, 0;
    return cut(count, faults);
}

void *no_memory()
{
    errno = ENOMEM;
    return nullptr;
}

} // namespace

ENTRY ssize_t read(int fd, void *bytes, size_t size)
{
    static const auto real = next<ssize_t(int, void *, size_t)>("read");
    const int error = transfer_error(fd, "read", reading, size);
    return error ? (errno = error, -1) : real(fd, bytes, size);
}

ENTRY ssize_t __read_chk(int fd, void *bytes, size_t size, size_t room)
{
    static const auto real = next<ssize_t(int, void *, size_t, size_t)>("__read_chk");
    const int error = transfer_error(fd, "read", reading, size);
    return error ? (errno = error, -1) : real(fd, bytes, size, room);
}

ENTRY ssize_t write(int fd, const void *bytes, size_t size)
{
    static const auto real = next<ssize_t(int, const void *, size_t)>("write");
    const int error = transfer_error(fd, "write", writing, size);
    return error ? (errno = error, -1) : real(fd, bytes, size);
}

ENTRY size_t fread(void *bytes, size_t size, size_t count, FILE *stream)
{
    static const auto real = next<size_t(void *, size_t, size_t, FILE *)>("fread");
    return real(bytes, size, elements(stream, "fread", reading, count), stream);
}

ENTRY size_t __fread_chk(void *bytes, size_t room, size_t size, size_t count, FILE *stream)
{
    static const auto real = next<size_t(void *, size_t, size_t, size_t, FILE *)>("__fread_chk");
    return real(bytes, room, size, elements(stream, "fread", reading, count), stream);
}

ENTRY size_t fwrite(const void *bytes, size_t size, size_t count, FILE *stream)
{
    static const auto real = next<size_t(const void *, size_t, size_t, FILE *)>("fwrite");
    return real(bytes, size, elements(stream, "fwrite", writing, count), stream);
}

ENTRY int fclose(FILE *stream)
{
    static const auto real = next<int(FILE *)>("fclose");
    const bool failed = !is_standard(stream) && libc_call_fails("fclose");
    const int result = real(stream);
    return failed ? (errno = EIO, EOF) : result;
}

ENTRY void *malloc(size_t size) noexcept
{
    static const auto real = next<void *(size_t)>("malloc");
    return libc_call_fails("malloc") ? no_memory() : real(size);
}

ENTRY void *calloc(size_t count, size_t size) noexcept
{
    static const auto real = next<void *(size_t, size_t)>("calloc");
    return libc_call_fails("calloc") ? no_memory() : real(count, size);
}

ENTRY void *realloc(void *block, size_t size) noexcept
{
    static const auto real = next<void *(void *, size_t)>("realloc");
    return libc_call_fails("realloc") ? no_memory() : real(block, size);
}

ENTRY void *aligned_alloc(size_t alignment, size_t size) noexcept
{
    static const auto real = next<void *(size_t, size_t)>("aligned_alloc");
    return libc_call_fails("aligned_alloc") ? no_memory() : real(alignment, size);
}
