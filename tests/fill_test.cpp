// Fills and test patterns, against plain pictures drawn one pixel at a time.
#include "draw/fills.h"

#include "display/device.h"
#include "panel_run.h"

namespace {
/// The level (0..255) that a pixel gets, of the storage right of the visible ones too; -1 for none.
using picture = int (*)(const geometry &g, int x, int y);

void draw(canvas &c, const auto &level)
{
    for (int y = 0; y < c.shape.height; ++y)
        for (int x = 0; x < std::max(c.shape.width, int(c.shape.line()) * 8 / c.shape.bpp); ++x)
            if (const int l = level(c.shape, x, y); l >= 0)
                c.set(x, y, l);
}

template <int n>
int grid(const geometry &g, int x, int y)
{
    const bool stored = size_t(x * g.bpp) / 8 < g.line(); // rows are cut to whole bytes
    return (y % n == 0 && stored) || (x < g.width && x % n == 0) ? 0 : -1;
}

template <int64_t left, int64_t top, int64_t w, int64_t h, int level>
int rectangle(const geometry &g, int x, int y)
{
    const int64_t first = left < 0 || left > g.width ? 0 : left;
    const int64_t first_row = top < 0 || top > g.height ? 0 : top;
    return x < g.width && x >= first && x < first + w && y >= first_row && y < first_row + h ? level
                                                                                             : -1;
}

/// Four bands in each direction, as wide as fits, and what is left over.
template <int (*gray)(int column, int row)>
int bands(const geometry &g, int x, int y)
{
    return g.width < 4 || g.height < 4 || x >= g.width
               ? -1
               : gray(x / (g.width / 4), y / (g.height / 4)) & 0xFF;
}
constexpr auto board = [](int column, int row) { return (column + row) % 2 * 255; };
constexpr auto grays = [](int column, int row) { return ~((column + 4 * row) * 17); };

/// In whole bytes only, and black where the pattern is deeper than the screen.
int xor_level(const geometry &g, int x, int y, int depth)
{
    const int most = (1 << depth) - 1;
    return x >= g.width * g.bpp / 8 * 8 / g.bpp ? -1
           : depth > g.bpp                      ? 0
                           : ((x ^ y) >> (depth == 8 ? 0 : 3) & most) * 255 / most;
}

constexpr int64_t most = INT32_MAX;
// clang-format off
const struct { const char *arguments; bool cleared; picture level = nullptr; } rows[] = {
    {"-c", true}, {"-q", false, bands<board>}, {"-l", false, bands<grays>},
    {"-p", false, [](const geometry &g, int x, int y) { return xor_level(g, x, y, g.bpp); }},
    {"-c -q", true, bands<board>}, {"-l -x 9 -c", true}, // one after the other, as they are read
    {"-a7", false, grid<7>}, {"-a-2147483648", false, grid<2>},
    {"-a2147483647", false, grid<1 << 20>},
    {"-d l=40,w=20,h=11 -x 3 -y 2", false, rectangle<3, 2, 20, 11, 0x40>},
    {"-d l=1ff,w=20,h=20 -x -5 -y 10", false, rectangle<-5, 10, 20, 20, 0xFF>},
    {"-d l=AA,w=9,h=9 -x 758 -y 5000", false, rectangle<758, 5000, 9, 9, 0xAA>},
    {"-d l=0,w=2147483647,h=9 -x 1 -y 2", false, rectangle<1, 2, most, 9, 0>},
    {"-d l=5c,w=2147483647,h=2147483647 -x 2147483647 -y -2147483648", false,
        rectangle<most, INT32_MIN, most, most, 0x5C>}};
// clang-format on

TEST(fills, options)
{
    for (const auto &[arguments, cleared, level] : rows)
        for (const geometry &g : all_shapes()) {
            canvas drawn(g);
            if (cleared)
                drawn.clear();
            if (level)
                draw(drawn, level);
            const run_result got = virtual_panel(g).run(words(arguments));
            got.expect("0" + got.out, drawn);
        }
}

TEST(fills, modes_that_no_option_gives)
{
    for (int i = 0; i < 4 * 262; ++i) {
        const geometry g = {i % 4 < 3 ? 21 : 300, 9, 304, 9, 1 << i % 4};
        const int mode = i / 4 - 1, depth = mode < 256 || mode > 259 ? g.bpp : 1 << (mode - 256);
        canvas got(g), drawn(g);
        auto *pixels = reinterpret_cast<uint8_t *>(got.memory.data());
        const surface screen = {g.width, g.virtual_width, g.height, g.bpp, pixels};
        display_device = {uint32_t(g.line()), uint32_t(g.screen()), -1, pixels, screen, 0, nullptr};
        paint_xor_pattern(mode);
        if (mode >= 0 && mode < 256)
            drawn.memory.assign(g.screen(), char(mode));
        else
            draw(drawn, [&](auto &, int x, int y) { return xor_level(g, x, y, depth); });
        EXPECT_EQ(drawn.difference(got.memory), "") << i;
    }
}
} // namespace
