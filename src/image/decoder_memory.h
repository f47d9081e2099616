#pragma once

#include <cstddef>
#include <cstdlib>
#include <cstring>

/// Memory for the image decoder. A damaged file can make it read what it never wrote, and announce
/// any size: blocks come zeroed, so that such reads give the same on every run, and none is larger
/// than a device of this kind could hold.

constexpr int decoder_most_pixels_a_side = 1 << 15;
constexpr size_t decoder_largest_block = size_t{256} << 20; // bytes

inline void *decoder_allocate(size_t size)
{
    return size <= decoder_largest_block ? calloc(1, size) : nullptr;
}

inline void decoder_free(void *block)
{
    free(block);
}

/// What the block grows by is zero. On failure the old block stays, as with realloc.
inline void *decoder_reallocate(void *block, size_t old_size, size_t size)
{
    void *const moved = decoder_allocate(size);
    if (moved != nullptr && block != nullptr) {
        memcpy(moved, block, old_size < size ? old_size : size);
        decoder_free(block);
    }
    return moved;
}
