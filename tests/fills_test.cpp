// The clear, the test patterns, rectangles and the grid.
#include "display/device.h"
#include "draw/fills.h"
#include "run_case.h"

struct rectangle_row {
    shell_words args;
    int64_t x, y, width, height;
    int level;
    std::string name = "";
};

namespace {
/// Four bands in each direction, as wide as fits, and what is left over.
painter bands(int (*gray)(int column, int row))
{
    return levels([gray](const geometry &g, int x, int y) {
        const bool none = g.columns() < 4 || g.height < 4;
        return none ? -1 : gray(x / (g.columns() / 4), y / (g.height / 4)) & 0xFF;
    });
}
const painter board = bands([](int column, int row) { return (column + row) % 2 * 255; });
const painter grays = bands([](int column, int row) {
    const int band = column + 4 * row; // 20 at the most, where a side is not a multiple of 4
    return ~(band | band << 4);
});

// clang-format off
const std::string partial_gc16 = update_line("PARTIAL", 2);
const run_case whole_screens[] = {
    {.args = "-c", .draws = white, .requests = "get-vscreeninfo; update 0,0 WxH wave=2 partial",
     .out = partial_gc16},
    {.args = "-q", .draws = board, .requests = "get-vscreeninfo; update 0,0 WxH wave=2 partial",
     .out = partial_gc16},
    {.args = "-l", .draws = grays, .requests = "get-vscreeninfo; update 0,0 WxH wave=2 partial",
     .out = partial_gc16},
    {.args = "-p", .draws = xor_pattern,
     .requests = "get-vscreeninfo; update 0,0 WxH wave=2 partial", .out = partial_gc16},
    // In the order in which they are read.
    {.args = "-c -q", .draws = in_order({white, board}),
     .requests = "get-vscreeninfo; update 0,0 WxH wave=2 partial", .out = partial_gc16},
    {.args = "-q -c", .draws = white,
     .requests = "get-vscreeninfo; update 0,0 WxH wave=2 partial", .out = partial_gc16},
    {.args = "-a7", .draws = grid(7)},
    {.args = "-a1", .draws = grid(2)},
    {.args = "-a-2147483648", .draws = grid(2)},
    {.args = "-a2147483647", .draws = grid(2147483647)},
};

constexpr int64_t most = INT32_MAX, least = INT32_MIN;
const rectangle_row rectangles[] = {
    {"-d l=40,w=20,h=11 -x 3 -y 2", 3, 2, 20, 11, 0x40},
    {"-d l=1ff,w=20,h=20 -x -5 -y 10", -5, 10, 20, 20, 0xFF},
    {"-d l=c3,w=20,h=20 -x 10 -y -1", 10, -1, 20, 20, 0xC3},
    {"-d l=AA,w=9,h=9 -x 758 -y 1024", 758, 1024, 9, 9, 0xAA},
    {"-d l=55,w=9,h=9 -x 759 -y 1025", 759, 1025, 9, 9, 0x55},
    {"-d l=0,w=9,h=9 -y 1024", 0, 1024, 9, 9, 0},
    {"-d l=80,w=9,h=9 -x 40 -y 600", 40, 600, 9, 9, 0x80},
    {"-d l=80,w=1,h=1 -x 757 -y 1023", 757, 1023, 1, 1, 0x80},
    {"-d l=0,w=2147483647,h=9 -x 1 -y 2", 1, 2, most, 9, 0},
    {"-d l=5c,w=2147483647,h=2147483647 -x 2147483647 -y -2147483648", most, least, most, most,
     0x5C},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(fills, tool_on_screens,
                         testing::Combine(testing::ValuesIn(whole_screens),
                                          testing::ValuesIn(all_screens())),
                         name_on_screen<run_case>);

class rectangle_on_screens : public testing::TestWithParam<std::tuple<rectangle_row, geometry>> {};

TEST_P(rectangle_on_screens, is_filled)
{
    const auto &[row, g] = GetParam();
    const int64_t width = row.x + row.width > g.width ? g.width - row.x : row.width;
    const int64_t height = row.y + row.height > g.height ? g.height - row.y : row.height;
    check({.args = row.args,
           .draws = rectangle(row.x, row.y, row.width, row.height, row.level),
           .requests = formatted("get-vscreeninfo; update %d,%d %dx%d wave=2 partial", int(row.x),
                                 int(row.y), int(width), int(height)),
           .out = partial_gc16,
           .settings = "regions any\n",
           .screen = g});
}

INSTANTIATE_TEST_SUITE_P(fills, rectangle_on_screens,
                         testing::Combine(testing::ValuesIn(rectangles),
                                          testing::ValuesIn(all_screens())),
                         name_on_screen<rectangle_row>);

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
            xor_pattern_of(depth)(drawn);
        EXPECT_EQ(drawn.difference(got.memory), "") << "mode " << mode;
    }
}
} // namespace
