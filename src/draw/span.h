#pragma once

#include "common/surface.h"

#include <cstdint>
#include <cstring>

/// Pixels side by side in one row, as bytes: whole ones between two whose bits belong in part.
struct bit_span {
    int64_t first_byte; // from the row's first byte
    int64_t bytes;      // touched bytes, 0 for no pixels
    uint8_t head, tail; // the bits of the first and of the last byte that belong to the pixels
};

/// The bytes of the pixels from x up to, but not including, x_end; none when there are none.
inline bit_span span_of(int64_t x, int64_t x_end, int32_t bpp)
{
    const int64_t first_bit = x * bpp, end_bit = x_end * bpp;
    if (first_bit >= end_bit)
        return {};
    const int64_t first_byte = first_bit / 8, end_byte = (end_bit + 7) / 8;
    bit_span span{first_byte, end_byte - first_byte, uint8_t(0xFF >> first_bit % 8),
                  uint8_t(0xFF << (8 * end_byte - end_bit))};
    if (span.bytes == 1)
        span.head = span.tail = span.head & span.tail;
    return span;
}

inline uint8_t merged(uint8_t old_bits, uint8_t new_bits, uint8_t mask)
{
    return uint8_t((old_bits & ~mask) | (new_bits & mask));
}

/// Gives every pixel of the span the bits of value, a byte full of equal pixels.
inline void fill_span(uint8_t *row, const bit_span &span, uint8_t value)
{
    if (span.bytes == 0)
        return;
    uint8_t *const first = row + span.first_byte, *const last = first + span.bytes - 1;
    *first = merged(*first, value, span.head);
    if (span.bytes > 2)
        memset(first + 1, value, size_t(span.bytes - 2));
    *last = merged(*last, value, span.tail);
}

/// Copies the span from one row to another; the rows' spans do not overlap.
inline void copy_span(uint8_t *to_row, const uint8_t *from_row, const bit_span &span)
{
    if (span.bytes == 0)
        return;
    uint8_t *const first = to_row + span.first_byte, *const last = first + span.bytes - 1;
    const uint8_t *const from = from_row + span.first_byte;
    *first = merged(*first, *from, span.head);
    if (span.bytes > 2)
        memcpy(first + 1, from + 1, size_t(span.bytes - 2));
    *last = merged(*last, from[span.bytes - 1], span.tail);
}

/// Whether the last pixels of a row lie in the first byte of the next one, as they do when the row
/// size, which rounds down, is short of the width. Such rows cannot be copied one from another.
inline bool rows_share_bytes(const surface &s)
{
    return int64_t{s.width} * s.bpp > 8 * row_pitch(s);
}
