#include "common/message.h"

#include <cstdarg>
#include <cstdio>

void message(const char *function, const char *format, ...)
{
    printf("tavo: %s> ", function);
    va_list arguments;
    va_start(arguments, format);
    vprintf(format, arguments);
    va_end(arguments);
}
