#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

/// What the fuzz targets share. While the tool runs, the platform is the harness: it answers for
/// the panel, every file that is read holds the rest of the input, what is written goes to
/// /dev/null, and a chosen call of the platform can fail.

/// The first bytes of every input: the panel and the platform of the run.
struct run_shape {
    uint16_t xres, yres;            // pixels, modulo 513
    uint16_t pad_columns, pad_rows; // what the virtual size is larger by, modulo 65
    uint8_t depth;                  // index of a depth, modulo 6; the last two are not supported
    uint8_t flags;                  // run_flags
    uint8_t chunk;                  // most bytes of one read or write; 0: no limit
    uint8_t first_fault, faults;    // the first call that fails, from 1 (0: none), and how many do
    uint8_t error;                  // index of their errno, modulo 3
    uint16_t reserved;
};
static_assert(sizeof(run_shape) == 16);

enum run_flags : uint8_t {
    disk_full = 1, // outputs are /dev/full
    turns = 2,     // the second query finds the panel turned by 90 degrees, with 8 bits per pixel
};

/// Bytes not yet taken from the input. What is missing reads as 0.
struct fuzz_input {
    const uint8_t *data;
    size_t size;

    template <typename T>
    T take()
    {
        T value{};
        const size_t taken = size < sizeof value ? size : sizeof value;
        memcpy(&value, data, taken);
        data += taken;
        size -= taken;
        return value;
    }
};

/// Defined by each target: runs its part of the tool, which may end by exit. The harness aborts
/// when bytes in front of the screen changed or a descriptor leaked; behind it lies a guard page.
/// The device may stay open.
void run_target(fuzz_input &input);

/// What is left of the input becomes the content of every file. Comes before the tool runs.
void serve_file(const fuzz_input &input);
