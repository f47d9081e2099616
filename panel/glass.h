#pragma once

#include "state.h"

struct pixel_region {
    int32_t left, top, width, height; // pixels; any values, also outside the screen
};

/// Shows a region of the memory on the glass the way waveform mode `wave_mode` would: two levels
/// for du (1) and a2 (6), sixteen for every other. What lies outside the visible screen is cut
/// off. Depths other than 1, 2, 4 and 8 show nothing. False and errno when a file fails.
bool show_region(const char *folder, const panel_settings &settings, const pixel_region &region,
                 uint32_t wave_mode, bool inverted);

/// Writes the visible screen into `words` as the driver's working buffer: 2 bytes a pixel at every
/// depth, the luminance widened to 8 bits in both. False and errno when the memory cannot be read.
bool copy_working_buffer(const char *folder, const panel_settings &settings, uint8_t *words);
