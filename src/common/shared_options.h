#pragma once

#include <cstdint>

/// Options of the command line that reach further than main. Both are 0 or 1.

/// Toggled by each -v: updates are sent inverted, and a scroll blanks to 0x00 instead of 0xFF.
inline uint32_t inverted = 0;

/// Set by -k, cleared once -i has dumped the framebuffer instead: the panel driver's working buffer
/// is written to a file when everything else is done.
inline uint32_t dump_working_buffer = 0;
