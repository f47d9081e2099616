// Image files, decoded, reduced to gray and packed; and files that are refused.
#include "run_case.h"

#include <sys/resource.h>

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

/// A row is a file in tests/pictures and its place.
class picture : public tool {};
TEST_P(picture, is_painted_and_unpacked)
{
    run_case painted = GetParam();
    std::string &call = painted.args;
    const std::string name = call.substr(0, call.find(' '));
    int x = 0, y = 0;
    sscanf(call.c_str(), "%*s -x%d -y%d", &x, &y);
    const test_picture decoded(TESTS_FOLDER "/pictures/" + name);
    ASSERT_FALSE(decoded.pixels.empty());
    painted.given = {{name, content_of("pictures/" + name)}};

    run_case unpacked = painted;
    unpacked.args = "-t " + name + " new";
    canvas screen(painted.screen);
    white(screen);
    paint(screen, decoded, 0, 0);
    unpacked.files = {{"new", screen.memory.substr(0, screen.shape.screen()), 0644}};
    check(unpacked);

    call = "-g " + call;
    painted.settings = "regions any\n";
    painted.draws = [&](canvas &c) {
        paint(c, decoded, x, y);
        c.finish(x, y, decoded.width, decoded.height);
    };
    check(painted);
}

// clang-format off
const std::vector<run_case> formats = { // a small picture may have any number of scans
    {"gray.png"}, {"gray-alpha.png"}, {"rgb.png"}, {"rgb-16-bits.png"}, {"palette.png"},
    {"gray.jpg"}, {"colour-420.jpg"}, {"colour-422.jpg"}, {"colour-444.jpg"}, {"progressive.jpg"},
    {"many-scans.jpg"}, {"rgb.bmp"}, {"rgb.hdr"}, {"rgba-rle.psd"}, {"rgba-rle.tga"},
    {"still.gif"}, {"rgb.ppm"},
};
const std::vector<geometry> narrow = {
    {37, 30, 40, 30, 1}, {37, 30, 40, 30, 2}, {37, 30, 40, 30, 4}, {37, 30, 40, 30, 8}};
const std::vector<run_case> places = {
    {"rgba-interlaced.png"}, {"rgba-interlaced.png -x1"}, {"rgba-interlaced.png -x500 -y8"},
    {"gray.png -x750 -y1010"}, {"gray.png -x0 -y-1"},
    {"rgb.png -x3 -y2"}, {"rgb.png -x2147483647 -y9"},
    {"rgb.png -x9 -y2147483647"}, {"gray.pgm"}, // which is longer than what is read ahead
};

const std::vector<run_case> outputs = {
    // The output file is not truncated, and keeps its mode.
    {.args = "-t in out third",
     .files = {{"out", "\x1E\xFF\xFF\xFF\x5F\xFF\xFF\xFF\xFF\xFF\xFF\xFFxyz", 0600}},
     .screen = {4, 3, 8, 3, 4},
     .given = {{"in", "P5 2 2 255\n\x12\xEF\x56\xFF"}, {"out", "123456789012xyz", 0600}}},
    {.args = "-t none ../state",
     .out = "tavo: decompress_image_to_file> Cannot open output file ../state\n", .status = 1},
    {.args = "-t none new",
     .out = "tavo: decompress_image_to_file> cannot open \"none\":can't fopen\n", .status = 1,
     .files = {{"new", ""}}},
};
// clang-format on
INSTANTIATE_TEST_SUITE_P(formats, picture, testing::ValuesIn(on_screens(formats, narrow)),
                         name_of_case);
INSTANTIATE_TEST_SUITE_P(places, picture, testing::ValuesIn(on_screens(places)), name_of_case);
INSTANTIATE_TEST_SUITE_P(outputs, tool, testing::ValuesIn(outputs), name_of_case);

/// A file in tests/refused: the reason is given, and the screen stays.
run_case refused(const std::string &name, const std::string &reason)
{
    return {.args = "-g " + name,
            .requests = "get-vscreeninfo; update 0,0 WxH wave=2 partial",
            .out = "tavo: paint_image> cannot open \"" + name + "\":" + reason + "\n",
            .status = 1,
            .screen = {40, 30, 48, 30, 4},
            .given = {{name, content_of("refused/" + name)}}};
}

// clang-format off
const std::vector<run_case> refusals = {
    refused("text", "unknown image type"),
    // Too much memory or time.
    refused("memory.jpg", "outofmem"), refused("memory.png", "outofmem"),
    refused("memory.gif", "outofmem"), refused("wide.pgm", "too large"),
    refused("wide-frame.gif", "too large"), refused("first-scans.jpg", "too many scans"),
#ifdef NDEBUG // elsewhere it takes too long
    refused("refining-scans.jpg", "too many scans"),
#endif
    // Reasons that the decoder does not give, or that hold any bytes of the file.
    refused("bad-block.png", "corrupt"),
    refused("unprintable-chunk.png", "?[?? PNG chunk not known"),
    // Files that end early or contradict themselves.
    refused("no-data.png", "no IDAT"), refused("value-of-15-bits.jpg", "bad huffman code"),
    refused("code-of-all-ones.jpg", "bad huffman code"),
    refused("table-overflows.jpg", "bad DHT header"), refused("table-ends.jpg", "bad DHT header"),
    refused("ends.tga", "file too short"), refused("ends.bmp", "file too short"),
    refused("ends.psd", "file too short"), refused("runs-end.psd", "corrupt"),
    refused("ends.pic", "bad file"), refused("channel-twice.pic", "bad format"),
    refused("ends.hdr", "corrupt"), refused("run-of-0.hdr", "corrupt"),
    refused("run-ends.hdr", "corrupt"),
};
// clang-format on

class refused_picture : public tool {};
TEST_P(refused_picture, costs_little)
{
    rusage before{}, after{};
    getrusage(RUSAGE_CHILDREN, &before);
    check(GetParam());
    getrusage(RUSAGE_CHILDREN, &after);
#ifdef NDEBUG // the release build
    if (!getenv("TAVO_EMULATOR")) {
        EXPECT_LT(after.ru_utime.tv_sec - before.ru_utime.tv_sec, 3);
        EXPECT_LT(after.ru_maxrss, 560'000'000 / 1024); // of any call so far
    }
#endif
}
INSTANTIATE_TEST_SUITE_P(refusals, refused_picture, testing::ValuesIn(refusals), name_of_case);
} // namespace
