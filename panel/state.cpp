#include "state.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

// A line of the `panel` file: one number, "WxH", or "WxH/VWxVH", and where they belong.
struct setting_row {
    const char *key;
    uint32_t least, most;
    uint32_t *numbers[4]; // null behind the last
};
constexpr char separators[] = {' ', 'x', '/', 'x'}; // before each number

std::array<setting_row, 10> rows_of(panel_settings &settings)
{
    // clang-format off
    return {{
        {"size",          1, longest_side, {&settings.visible.width, &settings.visible.height}},
        {"virtual",       1, UINT32_MAX,   {&settings.buffer.width, &settings.buffer.height}},
        {"mm",            0, UINT32_MAX,
         {&settings.millimetres.width, &settings.millimetres.height}},
        {"bpp",           1, 32,           {&settings.bpp}},
        {"type",          0, UINT32_MAX,   {&settings.type}},
        {"visual",        0, UINT32_MAX,   {&settings.visual}},
        {"waveform-type", 0, UINT32_MAX,   {&settings.waveform_type}},
        {"material-type", 0, UINT32_MAX,   {&settings.material_type}},
        {"temperature",   0, UINT32_MAX,   {&settings.temperature}},
        {"second-size",   0, UINT32_MAX,
         {&settings.second_visible.width, &settings.second_visible.height,
          &settings.second_buffer.width, &settings.second_buffer.height}},
    }};
    // clang-format on
}

// Reads decimal digits up to a byte that is none, and moves `text` there. A minus sign gives the
// two's complement, as a driver's word would.
bool take_number(const char *&text, const setting_row &row, uint32_t &number)
{
    const bool negative = *text == '-';
    text += negative;
    if (*text < '0' || *text > '9')
        return false;
    char *end;
    const unsigned long long value = strtoull(text, &end, 10);
    text = end;
    number = uint32_t(negative ? 0 - value : value);
    return value <= UINT32_MAX && number >= row.least && number <= row.most;
}

bool take_numbers(const char *text, const setting_row &row)
{
    for (int i = 0; i < 4 && row.numbers[i]; ++i) {
        if (i == 2 && *text == '\0') { // the virtual size is the visible one
            *row.numbers[2] = *row.numbers[0];
            *row.numbers[3] = *row.numbers[1];
            return true;
        }
        if (i > 0 && *text++ != separators[i])
            return false;
        if (!take_number(text, row, *row.numbers[i]))
            return false;
    }
    return *text == '\0';
}

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

// Does the first word of the list, such as "update:1-3", cover this call of `name`?
bool covers(const char *list, const char *name, unsigned long call)
{
    const size_t length = strlen(name);
    if (strncmp(list, name, length) != 0)
        return false;
    if (list[length] != ':')
        return list[length] == ' ' || list[length] == '\0';
    char *end;
    const unsigned long first = strtoul(list + length + 1, &end, 10);
    if (*end != '-')
        return call == first;
    const bool open_ended = end[1] == ' ' || end[1] == '\0';
    return first <= call && (open_ended || call <= strtoul(end + 1, nullptr, 10));
}

} // namespace

const char *state_folder()
{
    const char *folder = getenv("TAVO_PANEL_STATE");
    return folder && *folder ? folder : nullptr;
}

bool set_setting(panel_settings &settings, const char *key, const char *word)
{
    if (strcmp(key, "id") == 0)
        return snprintf(settings.id, sizeof settings.id, "%s", word) < int(sizeof settings.id);
    if (strcmp(key, "regions") == 0) {
        settings.any_regions = strcmp(word, "any") == 0;
        return settings.any_regions || strcmp(word, "screen") == 0;
    }
    for (const setting_row &row : rows_of(settings))
        if (strcmp(key, row.key) == 0)
            return take_numbers(word, row);
    return false;
}

bool read_settings(panel_settings &settings)
{
    settings = {};
    const state_file file("panel", O_RDONLY);
    char text[2048];
    text[std::max<ssize_t>(pread64(file.fd, text, sizeof text - 1, 0), 0)] = '\0';
    char *rest = text;
    while (char *line = strsep(&rest, "\n")) {
        if (*line == '\0')
            continue;
        const char *key = strsep(&line, " "), *word = line ? line : "";
        if (!set_setting(settings, key, word)) {
            dprintf(STDERR_FILENO, "panel: %s/panel: cannot take \"%s %s\"\n", state_folder(), key,
                    word);
            return false;
        }
    }
    if (settings.buffer == pixel_size{})
        settings.buffer = settings.visible;
    return true;
}

bool write_settings(panel_settings settings)
{
    const state_file file("panel", O_WRONLY | O_CREAT | O_TRUNC);
    if (file.fd < 0)
        return false;
    bool written = dprintf(file.fd, "id %s\nregions %s\n", settings.id,
                           settings.any_regions ? "any" : "screen") > 0;
    for (const setting_row &row : rows_of(settings)) {
        if (row.numbers[3] && settings.second_visible == pixel_size{})
            continue;
        written &= dprintf(file.fd, "%s", row.key) > 0;
        for (int i = 0; i < 4 && row.numbers[i]; ++i)
            written &= dprintf(file.fd, "%c%u", separators[i], *row.numbers[i]) > 0;
        written &= dprintf(file.fd, "\n") > 0;
    }
    return written;
}

bool make_white(const char *name, uint32_t bytes)
{
    const state_file file(name, O_RDWR | O_CREAT);
    struct stat64 info;
    if (file.fd < 0 || fstat64(file.fd, &info) != 0)
        return false;
    if (info.st_size == off64_t(bytes))
        return true;
    char white[4096];
    memset(white, 0xFF, sizeof white);
    ssize_t written = 0;
    for (uint32_t done = 0; done < bytes; done += uint32_t(written)) {
        written = pwrite64(file.fd, white, std::min<size_t>(bytes - done, sizeof white), done);
        if (written <= 0)
            return false;
    }
    return ftruncate64(file.fd, off64_t(bytes)) == 0;
}

int open_in_folder(const char *name, int flags)
{
    char path[PATH_MAX];
    snprintf(path, sizeof path, "%s/%s", state_folder(), name);
    return int(syscall(SYS_openat, AT_FDCWD, path, flags | O_LARGEFILE, 0666));
}

state_file::state_file(const char *name, int flags) : fd(open_in_folder(name, flags | O_CLOEXEC)) {}

state_file::~state_file()
{
    if (fd >= 0)
        syscall(SYS_close, fd);
}

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
    for (; list; list = strchr(list, ' ')) {
        list += strspn(list, " ");
        if (covers(list, name, call)) {
            log_line("fault %s:%lu", name, call);
            return true;
        }
    }
    return false;
}

unsigned long calls_of(const char *name)
{
    return counter_of(name).calls;
}
