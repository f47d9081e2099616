#pragma once

#include <cstdint>

/// Draws a finger's way from its new point (x1, y1) back to its previous point (x2, y2), in screen
/// pixels, as a black line, and prints the four numbers on standard error. A negative coordinate is
/// replaced by the other point's; without a previous point nothing is drawn. The new point itself
/// is not plotted. Any numbers will do: what lies off the screen is skipped, and costs no time.
void draw_touch_line(int32_t x1, int32_t y1, int32_t x2, int32_t y2);
