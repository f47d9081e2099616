#pragma once

#include <cstdint>

/// A rectangle of packed pixels of 1, 2, 4 or 8 bits, rows from the top, the first pixel of a byte
/// in its most significant bits. Rows lie (stride * bpp) / 8 bytes apart, rounded down: a 1-bit
/// surface with stride 1 has rows of 0 bytes, so that all of them share the first byte.
struct surface {
    int32_t width;   // pixels of a row that belong to the picture
    int32_t stride;  // pixels of a row of storage
    int32_t height;  // rows
    int32_t bpp;     // bits per pixel
    uint8_t *pixels; // not owned
};

/// Distance in bytes from one row of a surface to the next.
inline int64_t row_pitch(const surface &s)
{
    return int64_t{s.stride} * s.bpp / 8;
}
