#include "draw/pixel.h"

#include "common/message.h"
#include "common/wide.h"
#include "display/device.h"
#include "draw/span.h"

#include <cstring>

const uint8_t nibble_double[16] = {0x00, 0x03, 0x0C, 0x0F, 0x30, 0x33, 0x3C, 0x3F,
                                   0xC0, 0xC3, 0xCC, 0xCF, 0xF0, 0xF3, 0xFC, 0xFF};

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
    return {target.pixels + y * row_bytes(target) + bit / 8, int(8 - target.bpp - bit % 8),
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

static uint8_t widen(uint8_t ink, int32_t from_bpp, int32_t to_bpp)
{
    for (int32_t bpp = from_bpp; bpp < to_bpp; bpp *= 2)
        ink = nibble_double[ink];
    return ink;
}

/// What the destination stores for each value of the source.
struct stored_values {
    uint8_t of[256];
};

static stored_values stored_values_for(int32_t source_bpp, int32_t destination_bpp)
{
    stored_values stored;
    const int mask = (1 << destination_bpp) - 1;
    for (int ink = 0; ink < 1 << source_bpp; ++ink)
        stored.of[ink] = uint8_t(~widen(uint8_t(ink), source_bpp, destination_bpp) & mask);
    return stored;
}

/// Translates one row of the source into the row at `to`, whose first pixel begins `phase` bits
/// into its byte. Bits left and right of the row stay.
static void translate_row(const uint8_t *from, const surface &source, const stored_values &stored,
                          uint8_t *to, int phase, int32_t bpp)
{
    const uint32_t mask = (1u << source.bpp) - 1;
    uint32_t bits = *to >> (8 - phase); // the newest pixel in the lowest bits
    for (int32_t i = 0; i < source.width; ++i) {
        const uint32_t bit = uint32_t(i) * uint32_t(source.bpp);
        const uint32_t ink = (from[bit / 8] >> (8 - uint32_t(source.bpp) - bit % 8)) & mask;
        bits = bits << bpp | stored.of[ink];
        phase += bpp;
        if (phase == 8) {
            *to++ = uint8_t(bits);
            phase = 0;
        }
    }
    if (phase != 0)
        *to = merged(*to, uint8_t(bits << (8 - phase)), uint8_t(0xFF << (8 - phase)));
}

/// A row that equals the one above it (two of three in a glyph, all in a bar) is copied from there.
static void translate_rows(int32_t x, int32_t y, const surface &source, const surface &destination)
{
    const stored_values stored = stored_values_for(source.bpp, destination.bpp);
    const bit_span span = span_of(x, int64_t{x} + source.width, destination.bpp);
    const int phase = int(int64_t{x} * destination.bpp % 8);
    const size_t source_bytes = size_t((int64_t{source.width} * source.bpp + 7) / 8);
    const uint8_t *from = source.pixels;
    uint8_t *to = destination.pixels + y * row_bytes(destination);
    for (int32_t j = 0; j < source.height; ++j) {
        if (j > 0 && memcmp(from, from - row_bytes(source), source_bytes) == 0)
            copy_span(to, to - row_bytes(destination), span);
        else
            translate_row(from, source, stored, to + span.first_byte, phase, destination.bpp);
        from += row_bytes(source);
        to += row_bytes(destination);
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
    if (!pixel_in_range(far_x, far_y, destination) || !pixel_in_range(x, y, destination))
        return;
    if (source->width < 1 || source->height < 1)
        return;
    if (source->bpp > destination->bpp || rows_share_bytes(*destination))
        translate_each_pixel(x, y, *source, *destination);
    else
        translate_rows(x, y, *source, *destination);
}

uint8_t translate_gray(uint8_t, uint8_t gray)
{
    return gray;
}
