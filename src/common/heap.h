#pragma once

#include <cstdint>
#include <cstdlib>
#include <memory>

/// For blocks from calloc or aligned_alloc.
struct heap_release {
    void operator()(void *block) const { free(block); }
};
using heap_bytes = std::unique_ptr<uint8_t[], heap_release>;
