#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <malloc.h>
#include <sys/sysinfo.h>

/// Memory for the image decoder. A damaged file can make it read what it never wrote: blocks come
/// zeroed, so that such reads give the same on every run. A file of a few bytes can announce any
/// size: what the decoder holds at one time, in all, is at most 512 MiB and half of the machine's
/// memory. Beyond that it gets no block, and says "outofmem".

constexpr int decoder_most_pixels_a_side = 1 << 15;
constexpr uint64_t decoder_most_bytes = uint64_t{512} << 20;
constexpr uint64_t decoder_few_bytes = uint64_t{1} << 20; // not worth asking the machine

inline uint64_t decoder_held = 0;   // bytes
inline uint64_t decoder_budget = 0; // bytes; 0: the machine has not been asked

inline bool decoder_may_hold(uint64_t bytes)
{
    if (bytes <= decoder_few_bytes)
        return true;
    if (struct sysinfo machine; decoder_budget == 0 && sysinfo(&machine) == 0)
        decoder_budget =
            std::min(decoder_most_bytes, uint64_t{machine.totalram} * machine.mem_unit / 2);
    return bytes <= decoder_budget;
}

inline void *decoder_allocate(size_t size)
{
    void *const block = decoder_may_hold(decoder_held + size) ? calloc(1, size) : nullptr;
    decoder_held += malloc_usable_size(block);
    return block;
}

inline void decoder_free(void *block)
{
    decoder_held -= malloc_usable_size(block);
    free(block);
}

/// What the block grows by is zero. On failure the old block stays, as with realloc.
inline void *decoder_reallocate(void *block, size_t old_size, size_t size)
{
    void *const moved = decoder_allocate(size);
    if (moved != nullptr && block != nullptr) {
        memcpy(moved, block, std::min(old_size, size));
        decoder_free(block);
    }
    return moved;
}
