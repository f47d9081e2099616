#include "draw/pixel.h"

#include "common/message.h"
#include "common/saturate.h"
#include "display/device.h"
#include "draw/pixel_tables.h"
#include "draw/span.h"

#include <bit>
#include <cstring>

static void print_range_message(int32_t x, int32_t y, const surface &target)
{
    message("pixel_in_range", "(%d, %d) pixel not in range (0..%d, 0..%d)\n", x, y, target.width,
            target.height);
}

int pixel_in_range(int32_t x, int32_t y, const surface *target)
{
    if (target == nullptr)
        return 0;
    if (x < 0 || x > target->width || y < 0 || y > target->height) {
        print_range_message(x, y, *target);
        return 0;
    }
    return bpp_supported(target->bpp);
}

/// How the pixels of a depth lie in their bytes.
struct pixel_layout {
    int depth;                   // its logarithm
    const uint8_t *shift, *mask; // by the place in the byte
};

static pixel_layout layout_of(int32_t bpp)
{
    const int depth = std::countr_zero(unsigned(bpp));
    return {depth, pixel_shift[depth], pixel_clear_mask[depth]};
}

static uint8_t stored_value(const uint8_t *row, size_t x, const pixel_layout &layout)
{
    const size_t place = x & (7u >> layout.depth);
    return uint8_t((row[x >> (3 - layout.depth)] & layout.mask[place]) >> layout.shift[place]);
}

/// Of the value, the low bits that the depth has are stored.
static void store_value(uint8_t *row, size_t x, const pixel_layout &layout, uint8_t value)
{
    const size_t place = x & (7u >> layout.depth);
    uint8_t &byte = row[x >> (3 - layout.depth)];
    byte = merged(byte, uint8_t(value << layout.shift[place]), layout.mask[place]);
}

void access_pixel(int32_t x, int32_t y, uint8_t *value, const surface *target, int read)
{
    uint8_t *const row = target->pixels + y * row_pitch(*target);
    if (read)
        *value = stored_value(row, size_t(x), layout_of(target->bpp));
    else
        store_value(row, size_t(x), layout_of(target->bpp), uint8_t(~*value));
}

/// One past the last column or row is in range for a corner, but there is no pixel.
static bool pixel_exists(int32_t x, int32_t y, const surface *target)
{
    if (!pixel_in_range(x, y, target))
        return false;
    const bool exists = x < target->width && y < target->height;
    if (!exists)
        print_range_message(x, y, *target);
    return exists;
}

uint8_t get_pixel(int32_t x, int32_t y, const surface *target)
{
    uint8_t value = 0;
    if (pixel_exists(x, y, target))
        access_pixel(x, y, &value, target, 1);
    return value;
}

void set_pixel(int32_t x, int32_t y, uint8_t ink, const surface *target)
{
    if (pixel_exists(x, y, target))
        access_pixel(x, y, &ink, target, 0);
}

/// What is stored for each ink value: widened by doubling bits, or as it is when the destination is
/// not deeper, and complemented.
struct stored_values {
    uint8_t of[256];
};

static stored_values stored_values_for(int32_t from_bpp, int32_t to_bpp)
{
    stored_values stored{};
    for (int ink = 0; ink < 1 << from_bpp; ++ink) {
        auto widened = uint8_t(ink);
        for (int32_t bpp = from_bpp; bpp < to_bpp; bpp *= 2)
            widened = nibble_double[widened];
        stored.of[ink] = uint8_t(~widened);
    }
    return stored;
}

/// The row's pixels go to pixel x on of the row at `to`.
static void translate_row(const uint8_t *from, int32_t from_bpp, int32_t width, uint8_t *to,
                          int32_t x, int32_t to_bpp, const stored_values &stored)
{
    const pixel_layout from_layout = layout_of(from_bpp), to_layout = layout_of(to_bpp);
    for (size_t i = 0; i < size_t(width); ++i) {
        const uint8_t ink = stored_value(from, i, from_layout);
        if (from_bpp > to_bpp && ink != 0)
            message("translate_pixel", "can't shrink %dbpp to %dbpp\n", from_bpp, to_bpp);
        store_value(to, size_t(x) + i, to_layout, stored.of[ink]);
    }
}

/// How many rows of the source from the one at `from` on, of `most`, are the same: three in a
/// glyph, all in a bar.
static int32_t equal_rows(const uint8_t *from, int64_t pitch, size_t bytes, int32_t most)
{
    if (pitch == 0)
        return most;
    int32_t count = 1;
    while (count < most && memcmp(from, from + count * pitch, bytes) == 0)
        ++count;
    return count;
}

/// Row by row. Equal rows are copied from the first of them, but not where pixels are reported one
/// by one, from a source that is too deep, or where rows share bytes.
static void translate_rows(int32_t x, int32_t y, const surface &source, const surface &destination)
{
    const stored_values stored = stored_values_for(source.bpp, destination.bpp);
    const bool copies = source.bpp <= destination.bpp && !rows_share_bytes(destination);
    const auto source_bytes = size_t((int64_t{source.width} * source.bpp + 7) / 8);
    const bit_span span = span_of(x, int64_t{x} + source.width, destination.bpp);
    const int64_t from_pitch = row_pitch(source), to_pitch = row_pitch(destination);
    const uint8_t *from = source.pixels;
    uint8_t *to = destination.pixels + y * to_pitch;
    for (int32_t left = source.height; left > 0;) {
        const int32_t equal = copies ? equal_rows(from, from_pitch, source_bytes, left) : 1;
        translate_row(from, source.bpp, source.width, to, x, destination.bpp, stored);
        for (int32_t copy = 1; copy < equal; ++copy)
            copy_span(to + copy * to_pitch, to, span);
        from += equal * from_pitch;
        to += equal * to_pitch;
        left -= equal;
    }
}

void translate_pixel(int32_t x, int32_t y, const surface *source, const surface *destination)
{
    if (source == nullptr || destination == nullptr || !bpp_supported(source->bpp))
        return;
    const int32_t far_x = saturated(int64_t{x} + source->width);
    const int32_t far_y = saturated(int64_t{y} + source->height);
    if (!pixel_in_range(far_x, far_y, destination))
        return;
    if ((x < 0 || y < 0) && !pixel_in_range(x, y, destination))
        return;
    if (source->width > 0 && source->height > 0)
        translate_rows(x, y, *source, *destination);
}
