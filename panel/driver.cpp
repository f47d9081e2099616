#include "driver.h"

#include "state.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <iterator>
#include <linux/fb.h>
#include <sys/sendfile.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

panel_settings current;
bool settings_read;
bool opened;

using field_text = char[200];

// The driver's update record, 32-bit words in the processor's order: top before left.
struct update_record {
    int32_t top, left, width, height;
    uint32_t wave_mode, update_mode, marker, temperature, flags;
    uint32_t reserved[9];
    uint32_t tail[2];
};
static_assert(sizeof(update_record) == 80);

template <typename record>
record fetch(const void *address)
{
    record copy;
    memcpy(&copy, address, sizeof copy);
    return copy;
}

template <typename record>
int store(void *address, const record &value)
{
    memcpy(address, &value, sizeof value);
    return 0;
}

// What follows the name in the log, one function a kind of argument.

void no_fields(void *, field_text &) {}

void value_field(void *argument, field_text &fields)
{
    snprintf(fields, sizeof fields, " %ld", long(reinterpret_cast<intptr_t>(argument)));
}

void word_field(void *argument, field_text &fields)
{
    snprintf(fields, sizeof fields, " %u", fetch<uint32_t>(argument));
}

void marker_field(void *argument, field_text &fields)
{
    snprintf(fields, sizeof fields, " marker=%u", fetch<uint32_t>(argument));
}

void cmap_fields(void *argument, field_text &fields)
{
    const auto map = fetch<fb_cmap>(argument);
    snprintf(fields, sizeof fields, " start=%u len=%u", map.start, map.len);
}

void update_fields(void *argument, field_text &fields)
{
    const auto update = fetch<update_record>(argument);
    char mode[24];
    snprintf(mode, sizeof mode, "mode=%u", update.update_mode);
    const bool reserved =
        memcmp(update.reserved, update_record{}.reserved, sizeof update.reserved) != 0;
    snprintf(fields, sizeof fields,
             " %d,%d %dx%d wave=%u %s marker=%u temperature=%u flags=%u tail=%u,%u%s", update.left,
             update.top, update.width, update.height, update.wave_mode,
             update.update_mode == 1   ? "full"
             : update.update_mode == 0 ? "partial"
                                       : mode,
             update.marker, update.temperature, update.flags, update.tail[0], update.tail[1],
             reserved ? " reserved" : "");
}

// How a waveform mode drives a pixel, and how long it takes: nominal times of panels, as they are
// published for paper at room temperature.
struct waveform {
    uint32_t mode, levels;
    const char *name;
    int partial_milliseconds, full_milliseconds;
};
constexpr waveform waveforms[] = {
    {1, 2, "du", 260, 260},     {2, 16, "gc16", 450, 600},   {3, 16, "gl16", 450, 600},
    {4, 16, "reagl", 450, 600}, {5, 16, "reagld", 450, 600}, {6, 2, "a2", 120, 120},
    {8, 16, "gck16", 450, 600}, {9, 16, "glkw16", 450, 600}, {257, 16, "auto", 450, 600},
};
constexpr waveform other_waveform = {0, 16, "other", 450, 600};

const waveform &waveform_of(const update_record &update)
{
    for (const waveform &row : waveforms)
        if (row.mode == update.wave_mode)
            return row;
    return other_waveform;
}

bool is_full(const update_record &update)
{
    return update.update_mode == 1;
}

bool on_screen(const update_record &update)
{
    return update.left >= 0 && update.top >= 0 && update.width > 0 && update.height > 0 &&
           int64_t(update.left) + update.width <= current.visible.width &&
           int64_t(update.top) + update.height <= current.visible.height;
}

void update_result(void *argument, int error, field_text &remark)
{
    const auto update = fetch<update_record>(argument);
    const waveform &wave = waveform_of(update);
    if (error == 0)
        snprintf(remark, sizeof remark, ", %d ms",
                 is_full(update) ? wave.full_milliseconds : wave.partial_milliseconds);
    else if (error == EINVAL)
        snprintf(remark, sizeof remark, ", outside the screen");
}

// The products are taken in 32 bits, as drivers do.

uint32_t row_bytes()
{
    return current.buffer.width * current.bpp >> 3;
}

uint32_t memory_bytes()
{
    return current.buffer.height * current.buffer.width * current.bpp >> 3;
}

bool shows_grays()
{
    return 8 % current.bpp == 0;
}

// Fetches the luminances of `count` pixels from (x, y) on: the stored bits, repeated over 8. A row
// starts where its truncated length says, so the last pixels of a row may share a byte with the
// next row. What lies past the end of the file is white.
void read_grays(int memory, uint32_t x, uint32_t y, uint32_t count, uint8_t *grays)
{
    const uint32_t bpp = current.bpp, most = (1U << bpp) - 1, first_bit = x * bpp % 8;
    uint8_t packed[longest_side + 1];
    const size_t size = (first_bit + count * bpp + 7) / 8;
    const off64_t offset = off64_t(y) * row_bytes() + x * bpp / 8;
    const ssize_t got = pread64(memory, packed, size, offset);
    const size_t known = got < 0 ? 0 : size_t(got);
    memset(packed + known, 0xFF, size - known);
    for (uint32_t i = 0; i < count; ++i) {
        const uint32_t bit = first_bit + i * bpp;
        grays[i] = uint8_t((packed[bit / 8] >> (8 - bpp - bit % 8) & most) * (255 / most));
    }
}

// With the setting "numbered 1" each field that says nothing about this panel gets a number of its
// own: a program that prints one in the place of another shows it.

void number_fields(fb_var_screeninfo &info)
{
    uint32_t number = 101;
    for (uint32_t *field : {&info.xoffset,       &info.yoffset,       &info.grayscale,
                            &info.red.offset,    &info.red.length,    &info.red.msb_right,
                            &info.green.offset,  &info.green.length,  &info.green.msb_right,
                            &info.blue.offset,   &info.blue.length,   &info.blue.msb_right,
                            &info.transp.offset, &info.transp.length, &info.transp.msb_right,
                            &info.nonstd,        &info.activate,      &info.accel_flags,
                            &info.pixclock,      &info.left_margin,   &info.right_margin,
                            &info.upper_margin,  &info.lower_margin,  &info.hsync_len,
                            &info.vsync_len,     &info.sync,          &info.vmode,
                            &info.rotate})
        *field = number++;
}

void number_fields(fb_fix_screeninfo &info)
{
    info.smem_start = 201;
    info.mmio_start = 202;
    info.type_aux = 203;
    info.xpanstep = 204;
    info.ypanstep = 205;
    info.ywrapstep = 206;
    info.mmio_len = 207;
    info.accel = 208;
}

// The answers: 0 or an errno.

int answer_variable_information(void *argument)
{
    const bool second =
        !(current.second_visible == pixel_size{}) && calls_of("get-vscreeninfo") > 1;
    const pixel_size visible = second ? current.second_visible : current.visible;
    const pixel_size buffer = second ? current.second_buffer : current.buffer;
    fb_var_screeninfo info{};
    info.xres = visible.width;
    info.yres = visible.height;
    info.xres_virtual = buffer.width;
    info.yres_virtual = buffer.height;
    info.bits_per_pixel = current.bpp;
    info.grayscale = 1;
    info.red.length = info.green.length = info.blue.length = current.bpp;
    info.width = current.millimetres.width;
    info.height = current.millimetres.height;
    // An e-paper panel has no video timing. These make about 40 frames a second at the default
    // size, so that programs which work out frequencies from them have something to divide by.
    info.pixclock = 28000; // picoseconds
    info.left_margin = info.right_margin = info.upper_margin = info.lower_margin = 16;
    info.hsync_len = info.vsync_len = 4;
    if (current.numbered)
        number_fields(info);
    return store(argument, info);
}

int answer_fixed_information(void *argument)
{
    fb_fix_screeninfo info{};
    memcpy(info.id, current.id, sizeof info.id); // 16 bytes, not always ended by a zero
    info.smem_start = 0x80000000UL;
    info.smem_len = memory_bytes();
    info.type = current.type;
    info.visual = current.visual;
    info.ypanstep = 1;
    info.line_length = row_bytes();
    if (current.numbered)
        number_fields(info);
    return store(argument, info);
}

int answer_colour_map(void *argument)
{
    const auto map = fetch<fb_cmap>(argument);
    const uint64_t entries = uint64_t(1) << current.bpp;
    if (map.start >= entries)
        return EINVAL;
    if (map.len > 0 && !(map.red && map.green && map.blue))
        return EFAULT;
    // As many as there are: programs ask for 256 whatever the depth.
    const uint64_t filled = std::min<uint64_t>(map.len, entries - map.start);
    for (uint32_t i = 0; i < filled; ++i) {
        map.red[i] = map.green[i] = map.blue[i] =
            uint16_t((uint64_t(map.start) + i) * 65535 / (entries - 1));
        if (current.numbered) {
            map.green[i] ^= 0x1000;
            map.blue[i] ^= 0x2000;
        }
        if (map.transp)
            map.transp[i] = 0;
    }
    return 0;
}

// What a frame is called: the time in nanoseconds, which puts frames in order, and the update.
void name_frame(const update_record &update, char (&path)[PATH_MAX])
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    snprintf(path, sizeof path, "%s/.%020lld-%d,%d-%dx%d-%s-%s.pgm", getenv("TAVO_PANEL_FRAMES"),
             now.tv_sec * 1000000000LL + now.tv_nsec, update.left, update.top, update.width,
             update.height, waveform_of(update).name, is_full(update) ? "full" : "partial");
}

// Leaves a picture of the glass in $TAVO_PANEL_FRAMES, if there is one. It appears under its name
// when it is complete.
void leave_frame(const update_record &update, int glass)
{
    if (!getenv("TAVO_PANEL_FRAMES"))
        return;
    char path[PATH_MAX], unfinished[PATH_MAX + 8], head[32];
    name_frame(update, path);
    snprintf(unfinished, sizeof unfinished, "%s.new", path);
    const auto [width, height] = current.visible;
    const size_t size = size_t(width) * height;
    const int length = snprintf(head, sizeof head, "P5\n%u %u\n255\n", width, height);
    const int frame = int(syscall(SYS_openat, AT_FDCWD, unfinished,
                                  O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_LARGEFILE, 0600));
    bool written = syscall(SYS_write, frame, head, length) == length;
    off64_t done = 0;
    while (written && done < off64_t(size))
        written = sendfile64(frame, glass, &done, size - size_t(done)) > 0;
    syscall(SYS_close, frame);
    if (!written || rename(unfinished, path) != 0)
        log_line("cannot leave a frame: %s", strerror(errno));
}

// Drives a row of pixels from what they show to what is wanted of them now: those whose wanted
// luminance is another one, or all of them in a full update.
void drive_row(const waveform &wave, bool full, const uint8_t *wanted, const uint8_t *wanted_before,
               uint8_t *shown, uint32_t count)
{
    for (uint32_t i = 0; i < count; ++i) {
        if (!full && wanted[i] == wanted_before[i])
            continue;
        shown[i] = wave.levels == 2 ? (wanted[i] < 128 ? 0 : 255) : uint8_t(wanted[i] / 16 * 17);
    }
}

// Shows the part of the region that lies on the screen. Depths other than 1, 2, 4 and 8 show
// nothing.
int answer_update(void *argument)
{
    const auto update = fetch<update_record>(argument);
    if (!current.any_regions && !on_screen(update))
        return EINVAL;
    const pixel_size &visible = current.visible;
    const int64_t left = std::max(update.left, 0), top = std::max(update.top, 0);
    const int64_t right = std::min<int64_t>(int64_t(update.left) + update.width, visible.width);
    const int64_t bottom = std::min<int64_t>(int64_t(update.top) + update.height, visible.height);

    const state_file memory("memory", O_RDONLY), glass("glass", O_RDWR), levels("wanted", O_RDWR);
    if (memory.fd < 0)
        return EIO;
    const uint8_t inversion = update.flags & 1 ? 0xFF : 0;
    const uint32_t count = left < right && shows_grays() ? uint32_t(right - left) : 0;
    uint8_t wanted[longest_side], wanted_before[longest_side], shown[longest_side];
    for (int64_t y = top; count > 0 && y < bottom; ++y) {
        const off64_t offset = off64_t(y * visible.width + left);
        read_grays(memory.fd, uint32_t(left), uint32_t(y), count, wanted);
        for (uint32_t i = 0; i < count; ++i)
            wanted[i] ^= inversion;
        if (pread64(levels.fd, wanted_before, count, offset) != ssize_t(count) ||
            pread64(glass.fd, shown, count, offset) != ssize_t(count))
            return EIO;
        drive_row(waveform_of(update), is_full(update), wanted, wanted_before, shown, count);
        if (pwrite64(levels.fd, wanted, count, offset) != ssize_t(count) ||
            pwrite64(glass.fd, shown, count, offset) != ssize_t(count))
            return EIO;
    }
    leave_frame(update, glass.fd);
    return 0;
}

// 2 bytes a pixel of the visible screen at every depth, the luminance widened to 8 bits in both.
int answer_working_buffer(void *argument)
{
    const state_file memory("memory", O_RDONLY);
    if (memory.fd < 0)
        return EIO;
    const auto [width, height] = current.visible;
    uint8_t row[longest_side], *words = static_cast<uint8_t *>(argument);
    memset(row, 0xFF, sizeof row);
    for (uint32_t y = 0; y < height; ++y) {
        if (shows_grays())
            read_grays(memory.fd, 0, y, width, row);
        for (uint32_t x = 0; x < width; ++x, words += 2)
            memset(words, row[x], 2);
    }
    return 0;
}

// An update is complete when its request returns.
int answer_wait(void *)
{
    return 0;
}

int answer_get_hold(void *argument)
{
    const state_file file("hold", O_RDONLY);
    char digit;
    return store(argument, uint32_t(pread64(file.fd, &digit, 1, 0) == 1 && digit == '1'));
}

template <char digit>
int hold(void *)
{
    const state_file file("hold", O_WRONLY | O_CREAT);
    const char line[] = {digit, '\n'};
    return pwrite64(file.fd, line, sizeof line, 0) == 2 ? 0 : EIO;
}

template <uint32_t panel_settings::*field>
int stored(void *argument)
{
    return store(argument, current.*field);
}

struct request {
    uint32_t number;
    bool takes_address; // otherwise the argument is a value
    const char *name;
    void (*describe)(void *argument, field_text &fields);
    int (*answer)(void *argument);
    void (*describe_result)(void *argument, int error, field_text &remark) = nullptr;
};

// clang-format off
constexpr request requests[] = {
    {0x00004600, true,  "get-vscreeninfo",   no_fields,     answer_variable_information},
    {0x00004602, true,  "get-fscreeninfo",   no_fields,     answer_fixed_information},
    {0x00004604, true,  "get-cmap",          cmap_fields,   answer_colour_map},
    {0x4050462e, true,  "update",            update_fields, answer_update, update_result},
    {0xc008462f, true,  "wait",              marker_field,  answer_wait},
    {0x40044634, true,  "get-hold",          word_field,    answer_get_hold},
    {0x40044633, false, "set-hold",          value_field,   hold<'1'>},
    {0x40044635, false, "release-hold",      value_field,   hold<'0'>},
    {0xc0044634, true,  "get-work-buffer",   no_fields,     answer_working_buffer},
    {0x80044639, true,  "get-waveform-type", no_fields,     stored<&panel_settings::waveform_type>},
    {0x8004463a, true,  "get-material-type", no_fields,     stored<&panel_settings::material_type>},
    {0x80044638, true,  "get-temperature",   no_fields,     stored<&panel_settings::temperature>},
};
// clang-format on

bool faults_are_known()
{
    const char *list = getenv("TAVO_PANEL_FAIL");
    const char *wrong = list ? find_wrong_fault(list) : nullptr;
    if (wrong)
        dprintf(STDERR_FILENO, "panel: there is no fault \"%s\"\n", wrong);
    return !wrong;
}

// A descriptor that was inherited comes without an open in this process.
bool have_settings()
{
    return settings_read || (settings_read = faults_are_known() && read_settings(current));
}

} // namespace

int report(const char *name, const char *fields, int error, const char *remark)
{
    log_line("%s%s -> %d%s", name, fields, error ? -1 : 0, remark);
    if (error == 0)
        return 0;
    errno = error;
    return -1;
}

int open_device(int flags)
{
    const folder_lock lock;
    settings_read = false;
    if (fails("open") || lock.fd < 0 || !have_settings())
        return report("open", "", ENODEV);
    int fd = -1;
    // A device is neither made nor cut off by opening it, and has no end to append to.
    if (make_white("memory", memory_bytes()) &&
        make_white("glass", current.visible.width * current.visible.height) &&
        make_white("wanted", current.visible.width * current.visible.height))
        fd = open_in_folder("memory", flags & ~(O_CREAT | O_EXCL | O_TRUNC | O_APPEND));
    opened |= fd >= 0;
    return report("open", "", fd < 0 ? errno : 0) < 0 ? -1 : fd;
}

bool device_opened()
{
    return opened;
}

int answer_request(uint32_t number, void *argument)
{
    const folder_lock lock;
    field_text fields = "";
    const request *found = std::find_if(std::begin(requests), std::end(requests),
                                        [=](const request &row) { return row.number == number; });
    if (found == std::end(requests)) {
        snprintf(fields, sizeof fields, " 0x%x", number);
        return report("unknown", fields, ENOTTY);
    }
    const bool no_address = found->takes_address && !argument;
    if (!no_address)
        found->describe(argument, fields);
    int error = fails(found->name) || lock.fd < 0 || !have_settings() ? EIO
                : no_address                                          ? EFAULT
                                                                      : 0;
    if (error == 0)
        error = found->answer(argument);
    field_text remark = "";
    if (found->describe_result && !no_address)
        found->describe_result(argument, error, remark);
    return report(found->name, fields, error, remark);
}

int map_error(size_t length, uint64_t offset)
{
    if (fails("map") || !have_settings())
        return EAGAIN;
    // Pages that the file does not reach would map, and kill the process that touches them.
    const uint64_t page = uint64_t(sysconf(_SC_PAGESIZE));
    const uint64_t whole_pages = (memory_bytes() + page - 1) / page * page;
    return offset > whole_pages || length > whole_pages - offset ? EINVAL : 0;
}
