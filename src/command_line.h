#pragma once

#include <cstdint>

/// What the command line of one call asks for.
struct invocation {
    int argc;
    char **argv;           // once read: options first, then the operands
    int32_t x = 0, y = 0;  // pixels
    int32_t w = 0, h = 0;  // pixels; 0: up to the screen's edge
    uint32_t level = 0;    // gray of the rectangle
    int32_t wave_mode = 2; // gc16
    bool full = false;     // the final update is a full one, and is waited for
    int32_t grid_size = 2; // pixels
    const char *image_path = "";
    char touch_path[64] = "";
    char dump_path[64] = "";
    bool options[128] = {};   // by option letter: whether it was given
    int32_t option_count = 0; // recognised option letters
};

inline bool given(const invocation &call, char letter)
{
    return call.options[uint8_t(letter)];
}

/// Reads the options. Those that draw at once (-c, -l, -p, -q, -r) draw into the open device as
/// they are read. Unknown options are reported on standard error and not counted.
invocation read_command_line(int argc, char **argv);

/// The number of operands. Operands are found by counting option letters, not words: an option's
/// argument in a word of its own counts as the first operand, and the number can be negative.
int32_t operand_count(const invocation &call);

/// The k-th operand, from 1; null past the last word.
const char *operand(const invocation &call, int32_t k);
