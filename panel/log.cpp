#include "log.h"

#include "state.h"

#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

struct call_counter {
    const char *name;
    unsigned long calls;
};

call_counter &counter_of(const char *name)
{
    static call_counter counters[40]; // more than there are names
    call_counter *counter = counters;
    while (counter->name && strcmp(counter->name, name) != 0)
        ++counter;
    counter->name = name;
    return *counter;
}

// Does one word of the list, such as "update:1-3", cover this call of `name`?
bool covers(const char *word, size_t length, const char *name, unsigned long call)
{
    const size_t name_length = strlen(name);
    if (length < name_length || strncmp(word, name, name_length) != 0)
        return false;
    if (length == name_length)
        return true;
    if (word[name_length] != ':')
        return false;
    char *end;
    const unsigned long first = strtoul(word + name_length + 1, &end, 10);
    if (*end != '-')
        return call == first;
    const bool open_ended = end + 1 == word + length;
    const unsigned long last = open_ended ? ULONG_MAX : strtoul(end + 1, nullptr, 10);
    return first <= call && call <= last;
}

} // namespace

void log_line(const char *format, ...)
{
    const int kept_errno = errno;
    char text[256 + 1];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(text, sizeof text - 1, format, arguments);
    va_end(arguments);
    size_t length = strlen(text);
    text[length++] = '\n';

    const state_file log("log", O_WRONLY | O_CREAT | O_APPEND);
    syscall(SYS_write, log.fd, text, length);
    const char *trace = getenv("TAVO_PANEL_TRACE");
    if (trace && strcmp(trace, "1") == 0)
        dprintf(STDERR_FILENO, "panel: %.*s", int(length), text);
    errno = kept_errno;
}

bool fails(const char *name)
{
    const unsigned long call = ++counter_of(name).calls;
    const char *list = getenv("TAVO_PANEL_FAIL");
    while (list && *list) {
        const size_t length = strcspn(list, " ");
        if (covers(list, length, name, call))
            return true;
        list += length + (list[length] == ' ');
    }
    return false;
}

unsigned long calls_of(const char *name)
{
    return counter_of(name).calls;
}
