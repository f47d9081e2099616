#include "state.h"

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

struct size_key {
    const char *key;
    pixel_size panel_settings::*field;
    uint32_t least, most;
};
struct number_key {
    const char *key;
    uint32_t panel_settings::*field;
    uint32_t least, most;
};

// clang-format off
constexpr size_key size_keys[] = {
    {"size",    &panel_settings::visible,     1, longest_side},
    {"virtual", &panel_settings::buffer,      1, longest_side},
    {"mm",      &panel_settings::millimetres, 0, UINT32_MAX},
};
constexpr number_key number_keys[] = {
    {"bpp",           &panel_settings::bpp,           1, 32},
    {"type",          &panel_settings::type,          0, UINT32_MAX},
    {"visual",        &panel_settings::visual,        0, UINT32_MAX},
    {"waveform-type", &panel_settings::waveform_type, 0, UINT32_MAX},
    {"material-type", &panel_settings::material_type, 0, UINT32_MAX},
    {"temperature",   &panel_settings::temperature,   0, UINT32_MAX},
};
// clang-format on

// Reads decimal digits up to a byte that is none, and moves `text` there. A minus sign gives the
// two's complement, as a driver's word would.
bool take_number(const char *&text, uint32_t least, uint32_t most, uint32_t &number)
{
    const bool negative = *text == '-';
    text += negative;
    if (*text < '0' || *text > '9')
        return false;
    uint64_t value = 0;
    for (; *text >= '0' && *text <= '9'; ++text)
        if ((value = value * 10 + uint64_t(*text - '0')) > UINT32_MAX)
            return false;
    number = negative ? uint32_t(0 - value) : uint32_t(value);
    return number >= least && number <= most;
}

bool take_size(const char *&text, uint32_t least, uint32_t most, pixel_size &size)
{
    return take_number(text, least, most, size.width) && *text++ == 'x' &&
           take_number(text, least, most, size.height);
}

bool take_second_size(const char *&text, panel_settings &settings)
{
    if (!take_size(text, 0, UINT32_MAX, settings.second_visible))
        return false;
    settings.second_buffer = settings.second_visible;
    return *text != '/' || take_size(++text, 0, UINT32_MAX, settings.second_buffer);
}

} // namespace

bool set_setting(panel_settings &settings, const char *key, const char *word)
{
    for (const size_key &row : size_keys)
        if (strcmp(key, row.key) == 0)
            return take_size(word, row.least, row.most, settings.*row.field) && *word == '\0';
    for (const number_key &row : number_keys)
        if (strcmp(key, row.key) == 0)
            return take_number(word, row.least, row.most, settings.*row.field) && *word == '\0';
    if (strcmp(key, "id") == 0)
        return snprintf(settings.id, sizeof settings.id, "%s", word) < int(sizeof settings.id);
    return strcmp(key, "second-size") == 0 && take_second_size(word, settings) && *word == '\0';
}

bool read_settings(const char *folder, panel_settings &settings)
{
    settings = {};
    const state_file file(folder, "panel", O_RDONLY);
    char text[2048];
    text[file.fd < 0 ? 0 : file.read(text, sizeof text - 1)] = '\0';
    char *rest = text;
    while (char *line = strsep(&rest, "\n")) {
        if (*line == '\0')
            continue;
        const char *key = strsep(&line, " "), *word = line ? line : "";
        if (!set_setting(settings, key, word)) {
            dprintf(STDERR_FILENO, "panel: %s/panel: cannot take \"%s %s\"\n", folder, key, word);
            return false;
        }
    }
    if (settings.buffer == pixel_size{})
        settings.buffer = settings.visible;
    return true;
}

bool write_settings(const char *folder, const panel_settings &settings)
{
    const state_file file(folder, "panel", O_WRONLY | O_CREAT | O_TRUNC);
    if (file.fd < 0)
        return false;
    bool written = dprintf(file.fd, "id %s\n", settings.id) > 0;
    for (const size_key &row : size_keys) {
        const pixel_size &size = settings.*row.field;
        written &= dprintf(file.fd, "%s %ux%u\n", row.key, size.width, size.height) > 0;
    }
    for (const number_key &row : number_keys)
        written &= dprintf(file.fd, "%s %u\n", row.key, settings.*row.field) > 0;
    const pixel_size &second = settings.second_visible, &buffer = settings.second_buffer;
    if (!(second == pixel_size{}))
        written &= dprintf(file.fd, "second-size %ux%u/%ux%u\n", second.width, second.height,
                           buffer.width, buffer.height) > 0;
    return written;
}

uint32_t row_bytes(const panel_settings &settings)
{
    return settings.buffer.width * settings.bpp >> 3;
}

uint32_t memory_bytes(const panel_settings &settings)
{
    return settings.buffer.height * settings.buffer.width * settings.bpp >> 3;
}

bool make_white(const char *folder, const char *name, uint32_t bytes)
{
    const state_file file(folder, name, O_RDWR | O_CREAT);
    struct stat64 info;
    if (file.fd < 0 || fstat64(file.fd, &info) != 0)
        return false;
    if (info.st_size == off64_t(bytes))
        return true;
    char white[4096];
    memset(white, 0xFF, sizeof white);
    for (uint32_t left = bytes; left > 0;) {
        const size_t piece = file.write(white, left < sizeof white ? left : sizeof white);
        if (piece == 0)
            return false;
        left -= uint32_t(piece);
    }
    return ftruncate64(file.fd, off64_t(bytes)) == 0;
}

int open_in_folder(const char *folder, const char *name, int flags)
{
    char path[PATH_MAX];
    snprintf(path, sizeof path, "%s/%s", folder, name);
    return int(syscall(SYS_openat, AT_FDCWD, path, flags | O_LARGEFILE, 0666));
}

state_file::state_file(const char *folder, const char *name, int flags)
    : fd(open_in_folder(folder, name, flags | O_CLOEXEC))
{
}

state_file::~state_file()
{
    if (fd >= 0)
        syscall(SYS_close, fd);
}

size_t state_file::read(void *bytes, size_t size) const
{
    const long got = syscall(SYS_read, fd, bytes, size);
    return got < 0 ? 0 : size_t(got);
}

size_t state_file::write(const void *bytes, size_t size) const
{
    const long got = syscall(SYS_write, fd, bytes, size);
    return got < 0 ? 0 : size_t(got);
}
