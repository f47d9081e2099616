#include "image/raw_image.h"

#include "common/file.h"
#include "common/message.h"
#include "display/device.h"
#include "display/update.h"
#include "draw/pixel.h"

#include <algorithm>
#include <cstring>
#include <fcntl.h>

struct raw_header {
    uint32_t width, height; // pixels
    uint32_t bits_per_pixel;
};
static_assert(sizeof(raw_header) == 12);

/// Opens a raw image for `function`, whose name is part of the message.
static int open_image(const char *function, const char *path)
{
    const int fd = open(path, O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        message(function, "cannot open \"%s\"\n", path);
    return fd;
}

static bool read_header(const char *function, const descriptor &file, raw_header &header)
{
    const bool whole = read_fully(file.fd, &header, sizeof header) == sizeof header;
    if (!whole)
        message(function, "cannot read image header\n");
    return whole;
}

/// Rounds down, below 0 too.
static int64_t floor_division(int64_t value, int64_t divisor)
{
    return value / divisor - (value % divisor < 0 ? 1 : 0);
}

/// Reads pixels to the screen memory from `offset` on. Returns false when the file ended.
static bool read_pixels(const descriptor &file, int64_t offset, size_t size)
{
    uint8_t *const pixels = display_device.screen_map + offset;
    const size_t got = read_fully(file.fd, pixels, size);
    for (size_t i = 0; i < got; ++i)
        pixels[i] = translate_gray(uint8_t(display_device.screen.bpp), pixels[i]);
    return got == size;
}

/// Reads one row of `bytes` from the file to screen memory from offset `to`; what lies before
/// `begin` or from `end` on is dropped. Returns false when the file ended.
static bool read_row(const descriptor &file, int64_t to, int64_t bytes, int64_t begin, int64_t end)
{
    const int64_t shown = std::clamp(begin, to, to + bytes);
    const int64_t shown_end = std::clamp(end, shown, to + bytes);
    const size_t size = size_t(shown_end - shown);
    if (!skip_bytes(file.fd, uint64_t(shown - to)))
        return false;
    if (size > 0 && !read_pixels(file, shown, size))
        return false;
    return skip_bytes(file.fd, uint64_t(to + bytes - shown_end));
}

/// The row-wise path: the file's rows lie in the screen's rows.
static void paint_rows(const descriptor &file, int32_t x, int32_t y, const raw_header &header)
{
    const surface &screen = display_device.screen;
    const int64_t line = display_device.line_bytes;
    const int64_t first = floor_division(int64_t{screen.bpp} * x, 8);
    const int64_t end = floor_division(screen.bpp * (int64_t{x} + header.width), 8);
    // A byte that holds a visible pixel is stored whole.
    const int64_t visible = std::min((int64_t{screen.width} * screen.bpp + 7) / 8, line);
    const int64_t last_row = std::min(int64_t{y} + header.height, int64_t{screen.height});
    int64_t row = y;
    if (first >= visible || end <= 0)
        return;
    if (row < 0) {
        const int64_t above = std::min(-row, int64_t{header.height});
        if (!skip_bytes(file.fd, uint64_t(above * (end - first))))
            return;
        row += above;
    }
    if (first == 0 && end == line && visible == line && row < last_row) {
        read_pixels(file, row * line, size_t((last_row - row) * line));
        return;
    }
    for (; row < last_row; ++row)
        if (!read_row(file, row * line + first, end - first, row * line, row * line + visible))
            return;
}

/// The whole-screen path: the file is the screen memory, and its first bytes, already read as a
/// header, are pixels like all others.
static void paint_dump(const descriptor &file, const raw_header &header)
{
    const uint32_t announced =
        (var_info.xres_virtual * var_info.yres * var_info.bits_per_pixel) >> 3;
    const size_t size = std::min(announced, display_device.screen_bytes);
    const size_t head = std::min(size, sizeof header);
    memcpy(display_device.screen_map, &header, head);
    read_fully(file.fd, display_device.screen_map + head, size - head);
}

int paint_bitmap(int32_t x, int32_t y, const char *path)
{
    const descriptor file(open_image("paint_bitmap", path));
    if (file.fd < 0)
        return 1;
    raw_header header;
    if (!read_header("paint_bitmap", file, header))
        return 0;
    if (header.width <= var_info.xres && header.height <= var_info.yres &&
        header.bits_per_pixel == uint32_t(display_device.screen.bpp))
        paint_rows(file, x, y, header);
    else
        paint_dump(file, header);
    return 0;
}

/// Where the overlay area begins in the screen memory: a quarter of the way, counted in rows that
/// are rounded up to a multiple of 128. 32-bit arithmetic, as in the driver.
static uint32_t overlay_area_offset()
{
    const uint32_t rows = (var_info.yres + 127) & ~127u;
    return rows * var_info.xres_virtual * var_info.bits_per_pixel / 32;
}

/// Copies rows of 4-bit pixels, width / 2 bytes each, from the file to the overlay area. `size`
/// bytes of the file are the image's; where the width is odd, every second row leaves out one.
static void overlay_rows(const descriptor &file, int32_t x, int32_t y, const raw_header &header,
                         uint64_t size)
{
    const int64_t area = overlay_area_offset();
    uint64_t width = header.width, height = header.height;
    if (width % 2 == 0 && width == var_info.xres_virtual) {
        width *= height; // rows that adjoin in the file and on the screen are one
        height = 1;
    }
    uint64_t consumed = 0;
    for (uint64_t r = 0; r < height; ++r) {
        const uint64_t begin = r * width / 2;
        const int64_t pixel = x + int64_t{var_info.xres_virtual} * (y + int64_t(r));
        const int64_t to = area + floor_division(pixel, 2);
        const uint64_t bytes = std::min(width / 2, size - std::min(begin, size));
        if (bytes == 0 || to >= int64_t{display_device.screen_bytes} ||
            !skip_bytes(file.fd, begin - consumed) ||
            !read_row(file, to, int64_t(bytes), 0, display_device.screen_bytes))
            return;
        consumed = begin + bytes;
    }
}

/// Gives the size of the image's pixels in bytes. Returns false when the header makes no sense: a
/// depth of 0, or more than 32 bits of pixel bits.
static bool has_pixel_size(const raw_header &header, uint64_t &size)
{
    const uint64_t pixels = uint64_t{header.width} * header.height;
    if (header.bits_per_pixel == 0 || pixels > UINT32_MAX / header.bits_per_pixel)
        return false;
    size = pixels * header.bits_per_pixel / 8;
    return true;
}

int overlay_bitmap(int32_t x, int32_t y, const char *path)
{
    const descriptor file(open_image("overlay_bitmap", path));
    if (file.fd < 0)
        return 1;
    raw_header header;
    if (!read_header("overlay_bitmap", file, header))
        return 0;
    // No buffer is allocated, whatever the header announces: rows go from the file to the screen.
    uint64_t size;
    if (!has_pixel_size(header, size)) {
        message("overlay_bitmap", "cannot allocate overlay buffer memory\n");
        return 0;
    }
    if (read_screen_info() != 0) {
        message("overlay_bitmap", "cannot read screen info\n");
        return 0;
    }
    if (header.width > var_info.xres || header.height > var_info.yres)
        print("Bad image dimensions!\n");
    else
        overlay_rows(file, x, y, header, size);
    update_to_display(x, y, int32_t(header.width), int32_t(header.height), 2, update_full);
    return 0;
}
