#pragma once

#include <cstdint>

/// Text is drawn in cells: column c, row r begins at pixel (16c, 24r). The font has the
/// letters, the digits and the 22 characters of punct_chars; white space is a blank cell.

constexpr int32_t text_cell_width = 16;
constexpr int32_t text_cell_height = 24;

/// Draws one character into its cell, ink on paper or, highlighted, paper on ink. A cell that does
/// not lie wholly on the screen is refused with pixel_in_range's message and counts as drawn.
/// Returns 0, or 1 with a message for a character that the font lacks.
int paint_char(int32_t column, int32_t row, uint8_t character, bool highlight);

/// Draws a string along a row of cells, without wrapping. Returns 0, or 1 when it stopped at a
/// character that the font lacks; the text before it is drawn.
int print_string(int32_t column, int32_t row, const char *text, bool highlight);

/// Moves bands of 20 pixel rows up by one band: bands start to start + count - 1, the first `width`
/// bytes of each pixel row (0: whole rows). What they leave is blank. A start below 2 moves
/// nothing; bands off the screen or a width above line_bytes move nothing either, with a message.
void scroll_lines(int32_t start, int32_t count, int32_t width);
