#pragma once

#include <cstdint>

/// Fills and test patterns over the whole screen or a part of it. They store luminance: 0 is black,
/// 0xFF white. Where the screen has fewer than 8 bits per pixel a level is the top bits of its
/// gray. Nothing outside the visible pixels is touched unless the comment says so. Only
/// clear_screen can send an update.

/// Makes the whole screen white, each line over its full storage. Unless no_update is set, sends an
/// update of the whole screen, partial, with the waveform that the driver chooses.
void clear_screen(bool no_update);

/// Modes 0 to 255 fill the screen memory with that byte. Other modes paint (x XOR y), computed for
/// 1, 2, 4 or 8 bits per pixel (modes 256 to 259) or the screen's own depth (any other mode, such
/// as -1). Whole bytes only: where the width ends inside a byte, that byte stays.
void paint_xor_pattern(int32_t mode);

/// A board of black and white rectangles, n in each direction, black at the top left. What is left
/// over at the right and the bottom goes on alternating. Nothing when n is below 1 or a rectangle
/// has no pixel.
void paint_checker(int32_t n);

/// Sixteen gray bands from white to black, four a row. Nothing on screens with a side below 4.
void paint_grayscale();

/// Fills w * h pixels from (x, y) with a gray. An origin off the screen moves to 0; the far edges
/// are clipped. Returns 0.
int paint_rectangle(int32_t x, int32_t y, int32_t w, int32_t h, uint8_t gray);

/// Black lines, one pixel wide and n pixels apart, over what the screen shows. Horizontal lines
/// fill their whole line of storage. Nothing when n is below 1.
void overlay_grid(int32_t n);
