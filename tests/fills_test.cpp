// The clear, the test patterns, rectangles and the grid.
#include "display/device.h"
#include "draw/fills.h"
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

class fill : public on_screens {};
TEST_P(fill, is_painted)
{
    const std::map<std::string, painter> fills = {
        {"-c", white},
        {"-q", bands([](int column, int row) { return (column + row) % 2 * 255; })},
        {"-l", bands([](int column, int row) {
             return ~((column + 4 * row) | (column + 4 * row) << 4);
         })},
        {"-p", xor_pattern},
        {"-a7", grid(7)},
        {"-a1", grid(2)},
        {"-a-2147483648", grid(2)},
        {"-a2147483647", grid(INT32_MAX)},
    };
    const auto draw = [&, &words = args.text](canvas &c) {
        for (const std::string &option : split(words)) // in the order in which they are read
            fills.at(option)(c);
        if (!words.starts_with("-a"))
            c.finish();
    };
    check({.args = args, .draws = draw, .screen = g});
}
const shell_words fills[] = {
    "-c", "-q", "-l", "-p", "-c -q", "-q -c", "-a7", "-a1", "-a-2147483648", "-a2147483647"};
INSTANTIATE_TEST_SUITE_P(fills, fill, with_screens(fills), name_on_screen);

class filled_rectangle : public on_screens {};
TEST_P(filled_rectangle, is_painted)
{
    unsigned level = 0;
    int width = 0, height = 0, x = 0, y = 0;
    sscanf(args.text.c_str(), "-dl=%x,w=%d,h=%d -x%d -y%d", &level, &width, &height, &x, &y);
    const auto draw = [&](canvas &c) {
        rectangle(x, y, width, height, int(level))(c);
        c.finish(x, y, width, height);
    };
    check({.args = args, .draws = draw, .settings = "regions any\n", .screen = g});
}
// clang-format off
const shell_words rectangles[] = {
    "-dl=40,w=20,h=11 -x3 -y2", "-dl=1ff,w=20,h=20 -x-5 -y10", "-dl=c3,w=20,h=20 -x10 -y-1",
    "-dl=AA,w=9,h=9 -x758 -y1024", "-dl=55,w=9,h=9 -x759 -y1025", "-dl=0,w=9,h=9 -x0 -y1024",
    "-dl=80,w=9,h=9 -x40 -y600", "-dl=80,w=1,h=1 -x757 -y1023", "-dl=5a,w=9,h=9 -x758",
    "-dl=0,w=2147483647,h=9 -x1 -y2",
    "-dl=5c,w=2147483647,h=2147483647 -x2147483647 -y-2147483648",
};
// clang-format on
INSTANTIATE_TEST_SUITE_P(fills, filled_rectangle, with_screens(rectangles), name_on_screen);

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
