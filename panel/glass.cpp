#include "glass.h"

#include <algorithm>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace {

bool has_gray_pixels(uint32_t bpp)
{
    return bpp == 1 || bpp == 2 || bpp == 4 || bpp == 8;
}

// Repeats the bits of a stored value over 8 bits: 255 divides evenly by 2^bpp - 1.
uint8_t gray_of(uint32_t value, uint32_t bpp)
{
    return uint8_t(value * (255U / ((1U << bpp) - 1)));
}

// Fetches the stored values of `count` pixels from (x, y) on, one a byte. A row starts where its
// truncated length says, so the last pixels of a row may share a byte with the next row. What
// lies behind the end of the file is white.
void read_values(int memory, const panel_settings &settings, uint32_t x, uint32_t y, uint32_t count,
                 uint8_t *values)
{
    const uint32_t bpp = settings.bpp;
    uint8_t packed[longest_side + 1];
    const uint32_t first_bit = x * bpp % 8;
    const size_t size = (first_bit + count * bpp + 7) / 8;
    const off64_t offset = off64_t(y) * row_bytes(settings) + x * bpp / 8;
    const ssize_t got = pread64(memory, packed, size, offset);
    const size_t known = got < 0 ? 0 : size_t(got);
    memset(packed + known, 0xFF, size - known);
    for (uint32_t i = 0; i < count; ++i) {
        const uint32_t bit = first_bit + i * bpp;
        values[i] = uint8_t(packed[bit / 8] >> (8 - bpp - bit % 8) & ((1U << bpp) - 1));
    }
}

struct shown_levels {
    uint8_t of[256];
};

shown_levels levels_for(uint32_t bpp, uint32_t wave_mode, bool inverted)
{
    const bool two_levels = wave_mode == 1 || wave_mode == 6;
    shown_levels levels{};
    for (uint32_t value = 0; value < 1U << bpp; ++value) {
        const uint8_t gray = inverted ? uint8_t(255 - gray_of(value, bpp)) : gray_of(value, bpp);
        levels.of[value] = two_levels ? (gray < 128 ? 0 : 255) : uint8_t((gray >> 4) * 17);
    }
    return levels;
}

} // namespace

bool show_region(const char *folder, const panel_settings &settings, const pixel_region &region,
                 uint32_t wave_mode, bool inverted)
{
    const int64_t left = std::max<int64_t>(region.left, 0), top = std::max<int64_t>(region.top, 0);
    const int64_t right =
        std::min<int64_t>(int64_t(region.left) + region.width, settings.visible.width);
    const int64_t bottom =
        std::min<int64_t>(int64_t(region.top) + region.height, settings.visible.height);
    if (left >= right || top >= bottom || !has_gray_pixels(settings.bpp))
        return true;

    const state_file memory(folder, "memory", O_RDONLY), glass(folder, "glass", O_WRONLY);
    if (memory.fd < 0 || glass.fd < 0)
        return false;
    const shown_levels levels = levels_for(settings.bpp, wave_mode, inverted);
    const uint32_t count = uint32_t(right - left);
    uint8_t row[longest_side];
    for (int64_t y = top; y < bottom; ++y) {
        read_values(memory.fd, settings, uint32_t(left), uint32_t(y), count, row);
        for (uint32_t i = 0; i < count; ++i)
            row[i] = levels.of[row[i]];
        const off64_t offset = off64_t(y * settings.visible.width + left);
        if (pwrite64(glass.fd, row, count, offset) != ssize_t(count))
            return false;
    }
    return true;
}

bool copy_working_buffer(const char *folder, const panel_settings &settings, uint8_t *words)
{
    const state_file memory(folder, "memory", O_RDONLY);
    if (memory.fd < 0)
        return false;
    const pixel_size visible = settings.visible;
    if (!has_gray_pixels(settings.bpp)) {
        memset(words, 0xFF, size_t(visible.width) * visible.height * 2);
        return true;
    }
    uint8_t row[longest_side];
    for (uint32_t y = 0; y < visible.height; ++y) {
        read_values(memory.fd, settings, 0, y, visible.width, row);
        for (uint32_t x = 0; x < visible.width; ++x, words += 2)
            memset(words, gray_of(row[x], settings.bpp), 2);
    }
    return true;
}
