#pragma once

#include "common/surface.h"

#include <cstdint>

/// Two kinds of values meet here. A surface that is shown stores luminance: all bits set is white.
/// What is drawn is ink: 0 is paper, all bits set is black. Writing a pixel stores the complement
/// of its ink; reading returns what is stored.

/// 1 when (x, y) lies in the surface or one past its last column or row, as the far corner of a
/// rectangle does. Otherwise 0, with a message; 0 in silence for a null surface; 0 with
/// bpp_supported's message for a depth that cannot be drawn.
int pixel_in_range(int32_t x, int32_t y, const surface *target);

/// Stores the pixel's value into *value when read is set, else *value (ink) into the pixel. Nothing
/// is checked.
void access_pixel(int32_t x, int32_t y, uint8_t *value, const surface *target, int read);

/// The stored value of a pixel; 0, with pixel_in_range's message, outside the surface.
uint8_t get_pixel(int32_t x, int32_t y, const surface *target);

/// Draws ink into a pixel; nothing but pixel_in_range's message outside the surface.
void set_pixel(int32_t x, int32_t y, uint8_t ink, const surface *target);

/// Draws the whole source, whose values are ink, with its top left pixel at (x, y) of the
/// destination. Shallower sources are widened by doubling bits; of deeper ones the low bits are
/// drawn, with a message for each pixel that is not 0. Paper is drawn too. A source that does not
/// lie wholly inside the destination is refused with a message.
void translate_pixel(int32_t x, int32_t y, const surface *source, const surface *destination);

/// Every gray level (0 black, 0xFF white) on its way into framebuffer bytes passes here, with the
/// depth that it is stored for. The level stays as it is.
inline uint8_t translate_gray(uint8_t /*depth*/, uint8_t gray)
{
    return gray;
}
