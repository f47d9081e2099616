// Image files, decoded, reduced to gray and packed.
#include "run_case.h"

namespace {
/// Only whole bytes are stored; what lies left of x in the first one stays.
void paint(canvas &c, const test_picture &picture, int64_t x, int64_t y)
{
    const int64_t in_byte = 8 / c.shape.bpp;
    const int64_t right = std::min<int64_t>(c.shape.columns(), x + picture.width);
    for (int row = 0; row < picture.height && x >= 0 && y >= 0; ++row)
        for (int column = 0; column < picture.width; ++column)
            if (x + column < right / in_byte * in_byte && y + row < c.shape.height)
                c.set(int(x + column), int(y + row), picture.gray(column, row));
}

class picture : public on_screens {};
TEST_P(picture, is_painted_and_unpacked)
{
    const std::string name = args.text.substr(0, args.text.find(' '));
    int x = 0, y = 0;
    sscanf(args.text.c_str(), "%*s -x%d -y%d", &x, &y);
    const test_picture decoded(TESTS_FOLDER "/pictures/" + name);
    ASSERT_FALSE(decoded.pixels.empty());
    const test_file in = {name, content_of("pictures/" + name)};
    const auto draw = [&](canvas &c) {
        paint(c, decoded, x, y);
        c.finish(x, y, decoded.width, decoded.height);
    };
    check({.args = {"-g " + args.text, args.file, args.line},
           .draws = draw,
           .settings = "regions any\n",
           .screen = g,
           .given = {in}});

    canvas unpacked(g);
    white(unpacked);
    paint(unpacked, decoded, 0, 0);
    const std::string screen = unpacked.memory.substr(0, g.screen());
    check({.args = {"-t " + name + " new", args.file, args.line},
           .files = {{"new", screen, 0644}},
           .screen = g,
           .given = {in}});
}

// clang-format off
const shell_words formats[] = {
    "gray.png -x3 -y2", "gray-alpha.png -x3 -y2", "rgb.png -x3 -y2", "rgba-interlaced.png -x3 -y2",
    "rgb-16-bits.png -x3 -y2", "palette.png -x3 -y2", "gray.jpg -x3 -y2", "colour-420.jpg -x3 -y2",
    "colour-422.jpg -x3 -y2", "colour-444.jpg -x3 -y2", "progressive.jpg -x3 -y2",
    "rgb.bmp -x3 -y2", "rgb.hdr -x3 -y2", "rgba-rle.psd -x3 -y2", "rgba-rle.tga -x3 -y2",
    "still.gif -x3 -y2", "gray.pgm -x3 -y2", "rgb.ppm -x3 -y2",
};
const std::vector<geometry> narrow = {
    {37, 30, 40, 30, 1}, {37, 30, 40, 30, 2}, {37, 30, 40, 30, 4}, {37, 30, 40, 30, 8}};
const shell_words places[] = {
    "rgba-interlaced.png", "rgba-interlaced.png -x1", "rgba-interlaced.png -x500 -y8",
    "rgba-interlaced.png -x757 -y1000", "gray.png -x750 -y1010", "gray.png -x0 -y-1",
    "gray.png -x-1", "rgb.png -x2147483647 -y9", "rgb.png -x9 -y2147483647",
};
// clang-format on
INSTANTIATE_TEST_SUITE_P(formats, picture, with_screens(formats, narrow), name_on_screen);
INSTANTIATE_TEST_SUITE_P(places, picture, with_screens(places), name_on_screen);

/// A picture larger than every screen; each of its rows is another one.
int large_level(int x, int y)
{
    return (y * 903 + x * 7) & 0xFF;
}
const std::string large = [] {
    std::string file = "P5 900 1100 255\n";
    for (int i = 0; i < 900 * 1100; ++i)
        file += char(large_level(i % 900, i / 900));
    return file;
}();
const painter all_large = levels([](const geometry &, int x, int y) { return large_level(x, y); });

const painter many_scans =
    in_order({rectangle(0, 0, 8, 8, 128), [](canvas &c) { c.finish(0, 0, 8, 8); }});

// clang-format off
const geometry tiny = {4, 3, 8, 3, 4};
const run_case outputs[] = {
    // A small picture may have any number of scans.
    {.args = "-g many-scans.jpg", .draws = many_scans,
     .given = {{"many-scans.jpg", content_of("pictures/many-scans.jpg")}}},
    {.args = "-g large", .draws = in_order({all_large, [](canvas &c) { c.finish(); }}),
     .given = {{"large", large}}},
    {.args = "-g pipe", .draws = [](canvas &c) { c.memory[0] = '\x1E'; c.finish(0, 0, 2, 1); },
     .screen = tiny, .pipe = {"P5 2 1 255\n", "\x12\xEF"}},
    // The output file is not truncated, and keeps its mode.
    {.args = "-t in out", .files = {{"out", "\x1E\xFF\xFF\xFF\x5F\xFF\xFF\xFF\xFF\xFF\xFF\xFFxyz", 0600}},
     .screen = tiny, .given = {{"in", "P5 2 2 255\n\x12\xEF\x56\xFF"}, {"out", "123456789012xyz", 0600}}},
    {.args = "-t in out third", .files = {{"out", std::string(12, '\xFF')}}, .screen = tiny,
     .given = {{"in", "P5 1 1 255\nx"}}},
    {.args = "-t none ../state", .out = "tavo: decompress_image_to_file> Cannot open output file ../state\n",
     .status = 1},
};
// clang-format on
INSTANTIATE_TEST_SUITE_P(outputs, tool, testing::ValuesIn(outputs), name_of_case);
} // namespace
