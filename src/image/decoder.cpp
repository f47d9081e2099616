// The image decoder and nothing else.

#include "image/decoder_memory.h"
#include "image/hdr_gamma.h"

#define STB_IMAGE_IMPLEMENTATION
#define STBI_MALLOC(size) decoder_allocate(size)
#define STBI_REALLOC_SIZED(block, old_size, size) decoder_reallocate(block, old_size, size)
#define STBI_FREE(block) decoder_free(block)
#define STBI_MAX_DIMENSIONS decoder_most_pixels_a_side
#define STBI_NO_THREAD_LOCALS
// A damaged picture ends with a message, however the tool was built; fuzzers look deeper.
#ifndef TAVO_DECODER_ASSERTIONS
#define STBI_ASSERT(condition) ((void)0)
#endif
#define STBI_NO_LINEAR // floating-point output, which nobody asks for; 8-bit HDR stays
// Of the patched header:
#define STBI_HDR_GAMMA(value) hdr_gamma(value)
#define STBI_NEON_AT_RUN_TIME // on ARM

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wall"
#include "image/decoder.h"
#pragma GCC diagnostic pop
