#include "touch/touch_line.h"

#include "common/message.h"
#include "draw/screen_rows.h"

#include <algorithm>
#include <utility>

struct point {
    int32_t x, y;
};

/// One axis of a line: where it starts, which way it goes, how far.
struct axis {
    int64_t start;
    int64_t step; // -1, 0 or 1
    uint64_t length;
};

static axis axis_of(int32_t from, int32_t to)
{
    const int64_t way = int64_t{to} - from;
    return {from, (way > 0) - (way < 0), uint64_t(way < 0 ? -way : way)};
}

/// The steps along an axis that end on 0 .. size - 1, as first and last; none when first > last.
/// Step 0 is the start, which is not plotted.
static std::pair<int64_t, int64_t> steps_on_screen(const axis &a, int32_t size)
{
    const int64_t to_zero = -a.start * a.step, to_edge = (size - 1 - a.start) * a.step;
    return {std::max<int64_t>(1, std::min(to_zero, to_edge)),
            std::min(int64_t(a.length), std::max(to_zero, to_edge))};
}

/// Nothing where the screen has no such pixel.
static void blacken_pixel(int64_t x, int64_t y)
{
    if (y >= 0 && y < display_device.screen.height)
        fill_span(screen_row(y), screen_span(y, x, x + 1), 0x00);
}

/// Bresenham's line, without its first point. A step goes one pixel along the longer axis, and
/// along the shorter one whenever err, which grows by the shorter length, reaches the longer one.
/// The walk starts where the longer axis enters the screen, with the err that it has there.
static void draw_line(point from, point to)
{
    const surface &screen = display_device.screen;
    axis longer = axis_of(from.x, to.x), shorter = axis_of(from.y, to.y);
    const bool steep = longer.length < shorter.length;
    if (steep)
        std::swap(longer, shorter);
    const auto [first, last] = steps_on_screen(longer, steep ? screen.height : screen.width);
    if (first > last)
        return;
    // Lengths are below 2^32, so their product and this sum fit 64 bits.
    const uint64_t grown = longer.length / 2 + uint64_t(first - 1) * shorter.length;
    uint64_t err = grown % longer.length;
    int64_t along = longer.start + (first - 1) * longer.step;
    int64_t across = shorter.start + int64_t(grown / longer.length) * shorter.step;
    for (int64_t i = first; i <= last; ++i) {
        err += shorter.length;
        if (err >= longer.length) {
            across += shorter.step;
            err -= longer.length;
        }
        along += longer.step;
        blacken_pixel(steep ? across : along, steep ? along : across);
    }
}

void draw_touch_line(int32_t x1, int32_t y1, int32_t x2, int32_t y2)
{
    const point start = {x1 >= 0 ? x1 : x2, y1 >= 0 ? y1 : y2};
    const point end = {x2 >= 0 ? x2 : start.x, y2 >= 0 ? y2 : start.y};
    print_error("%d %d %d %d\n", start.x, start.y, end.x, end.y);
    draw_line(start, end);
}
