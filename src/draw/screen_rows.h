#pragma once

#include "display/device.h"
#include "draw/span.h"

#include <algorithm>

/// Rows of the mapped screen, for those who store luminance bytes straight into them.

inline uint8_t *screen_row(int64_t y)
{
    return display_device.screen_map + y * display_device.line_bytes;
}

/// The visible pixels of row y (0 <= y < screen height). Where lines round down to whole bytes, the
/// last pixels of the last row may lie past the end of the mapping: they do not exist.
inline int64_t visible_pixels(int64_t y)
{
    const surface &screen = display_device.screen;
    const int64_t bytes_left = display_device.screen_bytes - y * display_device.line_bytes;
    return std::min(int64_t{screen.width}, bytes_left * (8 / screen.bpp));
}

/// The bytes of the pixels x up to, but not including, x_end of row y, as far as they are visible.
inline bit_span screen_span(int64_t y, int64_t x, int64_t x_end)
{
    return span_of(std::max<int64_t>(x, 0), std::min(x_end, visible_pixels(y)),
                   display_device.screen.bpp);
}

/// A byte full of pixels of one gray at a depth: the gray's top bits, repeated.
constexpr uint8_t packed_gray(uint8_t gray, int32_t bpp)
{
    constexpr uint8_t repeated[] = {0, 0xFF, 0x55, 0, 0x11, 0, 0, 0, 0x01}; // by depth
    return uint8_t((gray >> (8 - bpp)) * repeated[bpp]);
}
static_assert(packed_gray(0xB7, 8) == 0xB7 && packed_gray(0xB7, 4) == 0xBB);
static_assert(packed_gray(0xB7, 2) == 0xAA && packed_gray(0xB7, 1) == 0xFF);
