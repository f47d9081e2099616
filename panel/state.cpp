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
#include <iterator>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

// A line of the `panel` file: one number, "WxH", or "WxH/VWxVH", and where they belong.
struct setting_row {
    const char *key;
    uint32_t least, most;
    uint32_t *numbers[4]; // null past the last
};
constexpr char separators[] = {' ', 'x', '/', 'x'}; // before each number

std::array<setting_row, 11> rows_of(panel_settings &settings)
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
        {"numbered",      0, 1,            {&settings.numbered}},
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

// A word of a fault list: the calls `first` to `last` of a name.
struct fault_word {
    size_t name; // its place in fault_names
    unsigned long first = 1, last = ULONG_MAX;
};

size_t find_fault_name(const char *name, size_t length)
{
    size_t place = 0;
    while (place < std::size(fault_names) &&
           (strlen(fault_names[place]) != length || strncmp(fault_names[place], name, length) != 0))
        ++place;
    return place;
}

bool take_count(const char *&text, unsigned long &count)
{
    if (*text < '0' || *text > '9')
        return false;
    char *end;
    count = strtoul(text, &end, 10);
    text = end;
    return true;
}

// Reads the word at `list`, and moves `list` past what could be read.
bool take_fault(const char *&list, fault_word &fault)
{
    const size_t length = strcspn(list, ": ");
    fault = {.name = find_fault_name(list, length)};
    list += length;
    if (*list == ':') {
        if (!take_count(++list, fault.first))
            return false;
        fault.last = fault.first;
        if (*list == '-') {
            ++list;
            if (!take_count(list, fault.last))
                fault.last = ULONG_MAX;
        }
    }
    return (*list == ' ' || *list == '\0') && fault.name < std::size(fault_names) &&
           fault.first >= 1 && fault.first <= fault.last;
}

unsigned long call_counts[std::size(fault_names)];

} // namespace

const char *state_folder()
{
    const char *folder = getenv("TAVO_PANEL_STATE");
    return folder && *folder ? folder : nullptr;
}

folder_lock::folder_lock()
{
    const int flags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
    fd = int(syscall(SYS_openat, AT_FDCWD, state_folder(), flags));
    struct stat64 info;
    if (fd >= 0 &&
        (fstat64(fd, &info) != 0 || info.st_uid != geteuid() || (info.st_mode & S_IWOTH))) {
        syscall(SYS_close, fd);
        fd = -1;
        errno = EPERM;
    }
    while (fd >= 0 && flock(fd, LOCK_EX) != 0 && errno == EINTR)
        ;
}

folder_lock::~folder_lock()
{
    if (fd >= 0)
        syscall(SYS_close, fd);
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
    if (file.fd < 0 && errno != ENOENT) {
        dprintf(STDERR_FILENO, "panel: cannot read %s/panel: %s\n", state_folder(),
                strerror(errno));
        return false;
    }
    settings_text text;
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

size_t print_settings(panel_settings settings, settings_text &text)
{
    int length = snprintf(text, sizeof text, "id %s\nregions %s\n", settings.id,
                          settings.any_regions ? "any" : "screen");
    const auto add = [&](const char *format, auto value) {
        length += snprintf(text + length, sizeof text - size_t(length), format, value);
    };
    for (const setting_row &row : rows_of(settings)) {
        if (row.numbers[3] && settings.second_visible == pixel_size{})
            continue;
        add("%s", row.key);
        for (int i = 0; i < 4 && row.numbers[i]; ++i) {
            add("%c", separators[i]);
            add("%u", *row.numbers[i]);
        }
        add("%s", "\n");
    }
    return size_t(length);
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
    // A FIFO in the place of a file must not make its opener wait.
    const int safe_flags = flags | O_NOFOLLOW | O_NONBLOCK | O_LARGEFILE;
    const int fd = int(syscall(SYS_openat, AT_FDCWD, path, safe_flags, 0600));
    struct stat64 info;
    if (fd >= 0 && (fstat64(fd, &info) != 0 || !S_ISREG(info.st_mode) || info.st_uid != geteuid() ||
                    info.st_nlink > 1)) {
        syscall(SYS_close, fd);
        errno = EPERM;
        return -1;
    }
    return fd;
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

const char *find_wrong_fault(const char *list)
{
    fault_word fault;
    while (*(list += strspn(list, " "))) {
        const char *word = list;
        if (!take_fault(list, fault))
            return word;
    }
    return nullptr;
}

bool fails(const char *name)
{
    const size_t place = find_fault_name(name, strlen(name));
    const unsigned long call = ++call_counts[place];
    const char *list = getenv("TAVO_PANEL_FAIL");
    fault_word fault;
    while (list && *(list += strspn(list, " ")) && take_fault(list, fault))
        if (fault.name == place && fault.first <= call && call <= fault.last) {
            log_line("fault %s:%lu", name, call);
            return true;
        }
    return false;
}

unsigned long calls_of(const char *name)
{
    return call_counts[find_fault_name(name, strlen(name))];
}
