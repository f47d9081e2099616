#pragma once

#include <cstdint>

/// Where pixels lie in their bytes, and how values double their depth.

/// By the logarithm of the depth and by the pixel's place in its byte: how far its bits lie from
/// the lowest one, and which bits they are.
constexpr uint8_t pixel_shift[4][8] = {
    {7, 6, 5, 4, 3, 2, 1, 0}, // 1 bit per pixel
    {6, 4, 2, 0},
    {4, 0},
    {0},
};
constexpr uint8_t pixel_clear_mask[4][8] = {
    {0x80, 0x40, 0x20, 0x10, 0x08, 0x04, 0x02, 0x01},
    {0xC0, 0x30, 0x0C, 0x03},
    {0xF0, 0x0F},
    {0xFF},
};

/// Entry n has bits 2i and 2i + 1 equal to bit i of n: a value at twice its depth.
constexpr uint8_t nibble_double[16] = {0x00, 0x03, 0x0C, 0x0F, 0x30, 0x33, 0x3C, 0x3F,
                                       0xC0, 0xC3, 0xCC, 0xCF, 0xF0, 0xF3, 0xFC, 0xFF};
