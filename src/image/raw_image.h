#pragma once

#include <cstdint>

/// Raw image files: width, height and bits per pixel as 32-bit words in the processor's byte order,
/// then the rows as the framebuffer stores them, without padding.

/// Paints a raw image with its top left pixel at (x, y), clipped to the screen. Rows begin at whole
/// bytes: at the byte boundary at or left of x. A file that does not announce an image of the
/// screen's depth that fits the screen is a dump of the whole screen memory, and is read over it
/// from the first byte. Returns 1 when the file cannot be opened, else 0; messages say the rest.
/// Sends no update.
int paint_bitmap(int32_t x, int32_t y, const char *path);

/// Reads rows of 4-bit pixels into the overlay area, which begins after the first quarter of the
/// screen memory, at pixel (x, y) of the area, clipped to the mapping; then sends a full update of
/// the image's rectangle with waveform gc16. Refreshes var_info. Returns 1 when the file cannot be
/// opened, else 0; messages say the rest.
int overlay_bitmap(int32_t x, int32_t y, const char *path);
