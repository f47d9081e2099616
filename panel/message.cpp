#include "message.h"

#include <cstdarg>
#include <cstdio>

int error_message(const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    fputs("tavo-panel: ", stderr);
    vfprintf(stderr, format, arguments);
    fputc('\n', stderr);
    va_end(arguments);
    return 2;
}
