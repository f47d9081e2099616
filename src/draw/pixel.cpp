#include "draw/pixel.h"

#include "common/message.h"
#include "common/saturate.h"
#include "display/device.h"
#include "draw/span.h"
#include "draw/stored_nibbles.h"

#include <array>
#include <bit>
#include <cstring>

static void report_range(int32_t x, int32_t y, const surface &target)
{
    message("pixel_in_range", "(%d, %d) pixel not in range (0..%d, 0..%d)\n", x, y, target.width,
            target.height);
}

int pixel_in_range(int32_t x, int32_t y, const surface *target)
{
    if (target == nullptr)
        return 0;
    if (x < 0 || x > target->width || y < 0 || y > target->height) {
        report_range(x, y, *target);
        return 0;
    }
    return bpp_supported(target->bpp);
}

/// Where a pixel lies: its byte, and its bits in it.
struct pixel_place {
    uint8_t *byte;
    int shift;
    uint8_t mask; // before the shift
};

static pixel_place place_of(int32_t x, int32_t y, const surface &target)
{
    const int64_t bit = int64_t{x} * target.bpp;
    return {target.pixels + y * row_pitch(target) + bit / 8, int(8 - target.bpp - bit % 8),
            uint8_t((1 << target.bpp) - 1)};
}

void access_pixel(int32_t x, int32_t y, uint8_t *value, const surface *target, int read)
{
    const pixel_place place = place_of(x, y, *target);
    if (read)
        *value = uint8_t((*place.byte >> place.shift) & place.mask);
    else
        *place.byte = merged(*place.byte, uint8_t((~*value & place.mask) << place.shift),
                             uint8_t(place.mask << place.shift));
}

/// One past the last column or row is in range for a corner, but there is no pixel.
static bool pixel_exists(int32_t x, int32_t y, const surface *target)
{
    if (!pixel_in_range(x, y, target))
        return false;
    const bool exists = x < target->width && y < target->height;
    if (!exists)
        report_range(x, y, *target);
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

static void store_word(uint8_t *to, uint32_t bits)
{
    to[0] = uint8_t(bits >> 24);
    to[1] = uint8_t(bits >> 16);
    to[2] = uint8_t(bits >> 8);
    to[3] = uint8_t(bits);
}

/// Translates one row of the source into the row at `to`, whose first pixel begins `phase` bits
/// into its byte. Bits left and right of the row stay.
static void translate_row(const uint8_t *from, const surface &source, uint8_t *to, int phase,
                          int32_t bpp)
{
    const stored_nibbles &stored =
        nibbles_by_depth[std::countr_zero(unsigned(source.bpp))][std::countr_zero(unsigned(bpp))];
    const int32_t nibble_bits = 4 * bpp / source.bpp;
    int64_t left = phase + int64_t{source.width} * bpp; // bits to store
    uint64_t bits = *to >> (8 - phase);
    int64_t waiting = phase; // in the lowest places of `bits`
    for (size_t nibble = 0; waiting < left; ++nibble) {
        const int shift = nibble % 2 == 0 ? 4 : 0;
        bits = bits << nibble_bits | stored[(from[nibble / 2] >> shift) & 0x0F];
        waiting += nibble_bits;
        if (waiting >= 32 && left >= 32) {
            waiting -= 32;
            left -= 32;
            store_word(to, uint32_t(bits >> waiting));
            to += 4;
        }
    }
    bits >>= waiting - left; // the last nibble may reach beyond the row
    for (; left >= 8; left -= 8)
        *to++ = uint8_t(bits >> (left - 8));
    if (left > 0)
        *to = merged(*to, uint8_t(bits << (8 - left)), uint8_t(0xFF << (8 - left)));
}

static bool same_bytes(const uint8_t *a, const uint8_t *b, size_t bytes)
{
    size_t i = 0;
    while (i < bytes && a[i] == b[i])
        ++i;
    return i == bytes;
}

/// How many rows of the source from row j on equal it: three in a glyph, all in a bar, whose rows
/// of 0 bytes are one and the same.
static int32_t equal_rows(const surface &source, int32_t j)
{
    const int64_t step = row_pitch(source);
    if (step == 0)
        return source.height - j;
    const size_t bytes = size_t((int64_t{source.width} * source.bpp + 7) / 8);
    const uint8_t *const first = source.pixels + j * step;
    const uint8_t *next = first + step;
    int32_t count = 1;
    for (; j + count < source.height && same_bytes(first, next, bytes); ++count)
        next += step;
    return count;
}

/// Gives the masked bits of `count` words below `to`, `step` bytes apart, the value that they have
/// in `to`.
template <typename word>
static void repeat_down(uint8_t *to, int64_t step, word mask, int32_t count)
{
    word value;
    memcpy(&value, to, sizeof value);
    if (mask == word(~word{0})) {
#pragma GCC unroll 4
        for (int32_t i = 0; i < count; ++i)
            memcpy(to += step, &value, sizeof value);
        return;
    }
    value &= mask;
#pragma GCC unroll 4
    for (int32_t i = 0; i < count; ++i) {
        word bits;
        memcpy(&bits, to += step, sizeof bits);
        bits = word((bits & ~mask) | value);
        memcpy(to, &bits, sizeof bits);
    }
}

/// Copies the span of a row into the `count` rows below it: row by row, or, where it is one or two
/// bytes wide as a bar is, down the column.
static void repeat_row(uint8_t *row, int64_t step, const bit_span &span, int32_t count)
{
    uint8_t *const to = row + span.first_byte;
    if (span.bytes == 1)
        repeat_down(to, step, span.head, count);
    else if (span.bytes == 2)
        repeat_down(to, step, std::bit_cast<uint16_t>(std::array{span.head, span.tail}), count);
    else
        for (int32_t i = 1; i <= count; ++i)
            copy_span(row + i * step, row, span);
}

/// Rows that equal the one above them are not translated again.
static void translate_rows(int32_t x, int32_t y, const surface &source, const surface &destination)
{
    const bit_span span = span_of(x, int64_t{x} + source.width, destination.bpp);
    const int phase = int(int64_t{x} * destination.bpp % 8);
    const int64_t step = row_pitch(destination);
    uint8_t *to = destination.pixels + y * step;
    for (int32_t j = 0, equal; j < source.height; j += equal, to += equal * step) {
        equal = equal_rows(source, j);
        translate_row(source.pixels + j * row_pitch(source), source, to + span.first_byte, phase,
                      destination.bpp);
        repeat_row(to, step, span, equal - 1);
    }
}

/// The rare cases, pixel by pixel: a source that is too deep is reported at each of its pixels, and
/// rows that share bytes must be written in order.
static void translate_each_pixel(int32_t x, int32_t y, const surface &source,
                                 const surface &destination)
{
    for (int32_t j = 0; j < source.height; ++j)
        for (int32_t i = 0; i < source.width; ++i) {
            uint8_t ink;
            access_pixel(i, j, &ink, &source, 1);
            if (ink != 0 && source.bpp > destination.bpp)
                message("translate_pixel", "can't shrink %dbpp to %dbpp\n", source.bpp,
                        destination.bpp);
            ink = widen(ink, source.bpp, destination.bpp);
            access_pixel(x + i, y + j, &ink, &destination, 0);
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
    if (source->width < 1 || source->height < 1)
        return;
    if (source->bpp > destination->bpp || rows_share_bytes(*destination))
        translate_each_pixel(x, y, *source, *destination);
    else
        translate_rows(x, y, *source, *destination);
}
