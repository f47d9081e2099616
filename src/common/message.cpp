#include "common/message.h"

#include <cstdarg>
#include <cstdio>
#include <unistd.h>

void print(const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    vdprintf(STDOUT_FILENO, format, arguments);
    va_end(arguments);
}

void print_error(const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    vdprintf(STDERR_FILENO, format, arguments);
    va_end(arguments);
}

void message(const char *function, const char *format, ...)
{
    print("tavo: %s> ", function);
    va_list arguments;
    va_start(arguments, format);
    vdprintf(STDOUT_FILENO, format, arguments);
    va_end(arguments);
}
