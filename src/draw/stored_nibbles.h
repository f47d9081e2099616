#pragma once

#include <array>
#include <cstdint>

/// How ink is stored, for every pair of depths, four bits of a source at a time: its pixels widened
/// by doubling bits, complemented, and side by side as the destination packs them.

/// Entry n has bits 2i and 2i + 1 equal to bit i of n: a value at twice its depth.
constexpr uint8_t nibble_double[16] = {0x00, 0x03, 0x0C, 0x0F, 0x30, 0x33, 0x3C, 0x3F,
                                       0xC0, 0xC3, 0xCC, 0xCF, 0xF0, 0xF3, 0xFC, 0xFF};

/// A value of from_bpp bits at a depth of to_bpp bits; as it is when that is not deeper.
constexpr uint8_t widen(uint8_t ink, int32_t from_bpp, int32_t to_bpp)
{
    for (int32_t bpp = from_bpp; bpp < to_bpp; bpp *= 2)
        ink = nibble_double[ink];
    return ink;
}

/// What is stored for each value of four source bits, in the lowest 4 * to_bpp / from_bpp bits. An
/// 8-bit source is only stored at 8 bits, where half a pixel is as good as a whole one.
using stored_nibbles = std::array<uint32_t, 16>;

consteval stored_nibbles store_nibbles(int32_t from_bpp, int32_t to_bpp)
{
    stored_nibbles stored{};
    const int32_t bits = from_bpp < 4 ? from_bpp : 4; // of a nibble that go together
    const int32_t stored_bits = bits * to_bpp / from_bpp;
    for (uint32_t nibble = 0; nibble < 16; ++nibble)
        for (int32_t shift = 4 - bits; shift >= 0; shift -= bits) {
            const auto ink = uint8_t(nibble >> shift & ((1u << bits) - 1));
            const uint32_t value = ~uint32_t{widen(ink, bits, stored_bits)};
            stored[nibble] = stored[nibble] << stored_bits | (value & ((1u << stored_bits) - 1));
        }
    return stored;
}

/// By the depths' logarithms: source, destination. Deeper sources have no entry.
constexpr stored_nibbles nibbles_by_depth[4][4] = {
    {store_nibbles(1, 1), store_nibbles(1, 2), store_nibbles(1, 4), store_nibbles(1, 8)},
    {{}, store_nibbles(2, 2), store_nibbles(2, 4), store_nibbles(2, 8)},
    {{}, {}, store_nibbles(4, 4), store_nibbles(4, 8)},
    {{}, {}, {}, store_nibbles(8, 8)},
};
static_assert(nibbles_by_depth[0][3][0b0110] == 0xFF0000FF); // ink is stored as 0
static_assert(nibbles_by_depth[1][3][0b1000] == 0x0FFF);     // 2 becomes 0xF0
static_assert(nibbles_by_depth[2][3][8] == 0x3F);            // 8 becomes 0xC0, not 0x88
