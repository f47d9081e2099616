#include "common/message.h"

#include "common/file.h"
#include "common/heap.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>

/// Most texts fit a line; paths from the command line may be of any length.
static void write_text(int fd, const char *format, va_list arguments)
{
    char line[1024];
    va_list again;
    va_copy(again, arguments);
    const size_t length = size_t(std::max(vsnprintf(line, sizeof line, format, arguments), 0));
    if (length < sizeof line) {
        write_fully(fd, line, length);
    } else if (const heap_bytes longer(static_cast<uint8_t *>(calloc(length + 1, 1))); longer) {
        vsnprintf(reinterpret_cast<char *>(longer.get()), length + 1, format, again);
        write_fully(fd, longer.get(), length);
    }
    va_end(again);
}

void print(const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    write_text(STDOUT_FILENO, format, arguments);
    va_end(arguments);
}

void print_error(const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    write_text(STDERR_FILENO, format, arguments);
    va_end(arguments);
}

void message(const char *function, const char *format, ...)
{
    print("tavo: %s> ", function);
    va_list arguments;
    va_start(arguments, format);
    write_text(STDOUT_FILENO, format, arguments);
    va_end(arguments);
}
