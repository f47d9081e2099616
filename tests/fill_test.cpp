// Fills and test patterns, against plain pictures drawn one pixel at a time.
#include "draw/fills.h"

#include "display/device.h"
#include "panel_run.h"

#include <climits>
#include <functional>

namespace {
/// Sets each visible pixel to a level; -1 leaves it as it is.
void levels(canvas &c, const std::function<int(int x, int y)> &level)
{
    for (int y = 0; y < c.shape.height; ++y)
        for (int x = 0; x < c.shape.width; ++x)
            if (const int l = level(x, y); l >= 0)
                c.set(x, y, l);
}

void rectangle(canvas &c, int64_t x0, int64_t y0, int64_t w, int64_t h, int level)
{
    x0 = x0 < 0 || x0 > c.shape.width ? 0 : x0;
    y0 = y0 < 0 || y0 > c.shape.height ? 0 : y0;
    levels(c, [&](int x, int y) {
        return x >= x0 && x < x0 + w && y >= y0 && y < y0 + h ? level : -1;
    });
}

/// Four bands in each direction; `gray` knows their level from their place.
void bands(canvas &c, const std::function<int(int column, int row)> &gray)
{
    if (const int w = c.shape.width / 4, h = c.shape.height / 4; w && h)
        levels(c, [&](int x, int y) { return gray(x / w, y / h) & 0xFF; });
}

void checker(canvas &c)
{
    bands(c, [](int column, int row) { return (column + row) % 2 * 255; });
}

void grid(canvas &c, int n)
{
    for (int y = 0; y < c.shape.height; y += n)
        c.memory.replace(size_t(y) * c.shape.line(), c.shape.line(), c.shape.line(), '\0');
    levels(c, [&](int x, int) { return x % n ? -1 : 0; });
}

void xor_pattern(canvas &c, int mode)
{
    if (mode >= 0 && mode <= 255)
        return void(c.memory.replace(0, c.shape.screen(), c.shape.screen(), char(mode)));
    const int depth = mode >= 256 && mode <= 259 ? 1 << (mode - 256) : c.shape.bpp;
    const int pixels = 8 / c.shape.bpp, repeats = 8 / depth / pixels;
    unsigned byte = 0;
    for (int y = 0; y < c.shape.height; ++y)
        for (int x = 0; x < c.shape.width / pixels * pixels; ++x) {
            const unsigned value = unsigned(x ^ y) >> (depth == 8 ? 0 : 3) & ((1u << depth) - 1);
            for (int i = 0; i < repeats; ++i)
                byte = byte << depth | value;
            if (x % pixels == pixels - 1)
                c.memory[size_t(y) * c.shape.line() + size_t(x / pixels)] = char(byte);
            byte = x % pixels == pixels - 1 ? 0 : byte;
        }
}

// clang-format off
const struct { const char *arguments; std::function<void(canvas &)> draw; } rows[] = {
    {"-c", [](canvas &c) { c.clear(); }},
    {"-p", [](canvas &c) { xor_pattern(c, -1); }},
    {"-q", checker},
    {"-l", [](canvas &c) { bands(c, [](int x, int y) { return ~((x + 4 * y) * 17); }); }},
    {"-l -x 9 -c", [](canvas &c) { c.clear(); }},  // one after the other, as they are read
    {"-c -q", [](canvas &c) { c.clear(), checker(c); }},
    {"-a7", [](canvas &c) { grid(c, 7); }},
    {"-a-2147483648", [](canvas &c) { grid(c, 2); }},
    {"-a2147483647", [](canvas &c) { grid(c, 1 << 20); }},
    {"-a 5", [](canvas &c) { grid(c, 5), c.text(0, 0, "5"); }},
    {"-d l=40,w=20,h=11 -x 3 -y 2", [](canvas &c) { rectangle(c, 3, 2, 20, 11, 0x40); }},
    {"-d l=1ff,w=20,h=20 -x -5 -y 10", [](canvas &c) { rectangle(c, -5, 10, 20, 20, 0xFF); }},
    {"-d l=AA,w=9,h=9 -x 758 -y 5000", [](canvas &c) { rectangle(c, 758, 5000, 9, 9, 0xAA); }},
    {"-d l=0,w=2147483647,h=9 -x 1 -y 2", [](canvas &c) { rectangle(c, 1, 2, INT_MAX, 9, 0); }},
    {"-d l=5c,w=2147483647,h=2147483647 -x 2147483647 -y -2147483648",
        [](canvas &c) { rectangle(c, INT_MAX, INT_MIN, INT_MAX, INT_MAX, 0x5C); }},
};
// clang-format on

TEST(fills, options)
{
    each_row(rows, [](const auto &row) {
        for (const geometry &g : all_shapes()) {
            const run_result got = virtual_panel(g).run(words(row.arguments));
            canvas drawn(g);
            row.draw(drawn);
            EXPECT_EQ(drawn.difference(got.memory), "");
            EXPECT_EQ(got.status, 0);
        }
    });
}

TEST(fills, direct)
{
    for (int i = 0; i < 4 * 262; ++i) {
        const geometry g = {i % 4 < 3 ? 21 : 300, 9, 304, 9, 1 << i % 4};
        const int mode = i / 4 - 1;
        canvas got(g), drawn(g);
        auto *pixels = reinterpret_cast<uint8_t *>(got.memory.data());
        display_device.screen = {g.width, g.virtual_width, g.height, g.bpp, pixels};
        display_device.screen_map = pixels;
        display_device.line_bytes = uint32_t(g.line());
        display_device.screen_bytes = uint32_t(g.screen());
        paint_xor_pattern(mode);
        xor_pattern(drawn, mode);
        EXPECT_EQ(drawn.difference(got.memory), "") << mode;
    }
}
} // namespace
