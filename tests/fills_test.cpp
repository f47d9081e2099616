// The clear, the test patterns, rectangles and the grid.
#include "run_case.h"

namespace {
/// Four bands in each direction, as wide as fits, and what is left over.
painter bands(int (*gray)(int column, int row))
{
    return levels([gray](const geometry &g, int x, int y) {
        const bool none = g.columns() < 4 || g.height < 4;
        return none ? -1 : gray(x / (g.columns() / 4), y / (g.height / 4)) & 0xFF;
    });
}

const painter squares = bands([](int column, int row) { return (column + row) % 2 * 255; });
const painter levels_of_16 =
    bands([](int column, int row) { return ~((column + 4 * row) | (column + 4 * row) << 4); });

/// The drawings one after the other, and the screen shown.
painter shown(const std::vector<painter> &drawings)
{
    return [=](canvas &c) {
        in_order(drawings)(c);
        c.finish();
    };
}
run_case filled(const std::string &args, int64_t x, int64_t y, int64_t width, int64_t height,
                int level)
{
    const auto draw = [=](canvas &c) {
        rectangle(x, y, width, height, level)(c);
        c.finish(x, y, width, height);
    };
    return {.args = args, .draws = draw, .settings = "regions any\n"};
}

// clang-format off
const std::vector<run_case> fills = {
    {.args = "-q", .draws = shown({squares})},
    {.args = "-l", .draws = shown({levels_of_16})},
    {.args = "-p", .draws = shown({xor_pattern})},
    // In the order in which they are read.
    {.args = "-c -q", .draws = shown({white, squares})},
    {.args = "-q -c", .draws = shown({white})},
    {.args = "-a7", .draws = grid(7)},
    {.args = "-a1", .draws = grid(2)},
    {.args = "-a2147483647", .draws = grid(INT32_MAX)},
    filled("-dl=40,w=20,h=11 -x3 -y2", 3, 2, 20, 11, 0x40),
    filled("-dl=1ff,w=20,h=20 -x-5 -y10", -5, 10, 20, 20, 0x1FF),
    filled("-dl=c3,w=20,h=20 -x10 -y-1", 10, -1, 20, 20, 0xC3),
    filled("-dl=55,w=9,h=9 -x759 -y1025", 759, 1025, 9, 9, 0x55),
    // A left of exactly the width, and a top of exactly the height, are no origins off the screen.
    filled("-dl=80,w=9,h=9 -x40", 40, 0, 9, 9, 0x80),
    filled("-dl=80,w=9,h=9 -y600", 0, 600, 9, 9, 0x80),
    filled("-dl=80,w=9,h=9 -x758", 758, 0, 9, 9, 0x80),
    filled("-dl=80,w=9,h=9 -y1024", 0, 1024, 9, 9, 0x80),
    filled("-dl=80,w=1,h=1 -x757 -y1023", 757, 1023, 1, 1, 0x80),
    filled("-dl=0,w=2147483647,h=9 -x1 -y2", 1, 2, INT32_MAX, 9, 0),
    filled("-dl=5c,w=2147483647,h=2147483647 -x2147483647 -y-2147483648",
           INT32_MAX, INT32_MIN, INT32_MAX, INT32_MAX, 0x5C),
};
// clang-format on
INSTANTIATE_TEST_SUITE_P(fills, tool, testing::ValuesIn(on_screens(fills)), name_of_case);
} // namespace
