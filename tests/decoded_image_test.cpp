// Image files, decoded, reduced to gray and packed; and files that are not what they say they are.
#include "run_case.h"

#include <climits>
#include <fstream>

using namespace std::string_literals;

/// A file in tests/pictures, and where the options put it.
struct picture_row {
    shell_words args; // of the place
    std::string file;
    int components; // that the file has
    int64_t x = 0, y = 0;
    std::string name = file + args.text;
};

struct refused_row {
    shell_words args; // the file's name
    std::string content, reason;
};

namespace {
const std::string partial_gc16 = update_line("PARTIAL", 2);

std::string content_of(const std::string &file)
{
    std::ifstream in(TESTS_FOLDER "/pictures/" + file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

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

class picture_on_screens : public testing::TestWithParam<std::tuple<picture_row, geometry>> {};

TEST_P(picture_on_screens, is_painted_and_unpacked)
{
    const auto &[row, g] = GetParam();
    const test_picture picture(TESTS_FOLDER "/pictures/" + row.file);
    ASSERT_EQ(picture.components, row.components);
    const test_file in = {"in", content_of(row.file)};
    const int64_t width = std::min<int64_t>(picture.width, g.width - row.x);
    const int64_t height = std::min<int64_t>(picture.height, g.height - row.y);
    check({.args = "-g in " + row.args.text,
           .draws = [&](canvas &c) { paint(c, picture, row.x, row.y); },
           .requests = formatted("get-vscreeninfo; update %d,%d %dx%d wave=2 partial", int(row.x),
                                 int(row.y), int(width), int(height)),
           .out = partial_gc16,
           .settings = "regions any\n",
           .screen = g,
           .given = {in}});

    canvas unpacked(g);
    white(unpacked);
    paint(unpacked, picture, 0, 0);
    const std::string screen = unpacked.memory.substr(0, g.screen());
    check({.args = "-t in new", .files = {{"new", screen, 0644}}, .screen = g, .given = {in}});
}

// clang-format off
const picture_row formats[] = {
    {"-x3 -y2", "gray.png", 1, 3, 2}, {"-x3 -y2", "gray-alpha.png", 2, 3, 2}, {"-x3 -y2", "rgb.png", 3, 3, 2},
    {"-x3 -y2", "rgba-interlaced.png", 4, 3, 2}, {"-x3 -y2", "rgb-16-bits.png", 3, 3, 2},
    {"-x3 -y2", "palette.png", 3, 3, 2}, {"-x3 -y2", "gray.jpg", 1, 3, 2}, {"-x3 -y2", "colour-420.jpg", 3, 3, 2},
    {"-x3 -y2", "colour-422.jpg", 3, 3, 2}, {"-x3 -y2", "colour-444.jpg", 3, 3, 2},
    {"-x3 -y2", "progressive.jpg", 3, 3, 2}, {"-x3 -y2", "rgb.bmp", 3, 3, 2}, {"-x3 -y2", "rgb.hdr", 3, 3, 2},
    {"-x3 -y2", "rgba-rle.psd", 4, 3, 2}, {"-x3 -y2", "rgba-rle.tga", 4, 3, 2}, {"-x3 -y2", "still.gif", 4, 3, 2},
    {"-x3 -y2", "gray.pgm", 1, 3, 2}, {"-x3 -y2", "rgb.ppm", 3, 3, 2},
};
const std::vector<geometry> narrow = {
    {37, 30, 40, 30, 1}, {37, 30, 40, 30, 2}, {37, 30, 40, 30, 4}, {37, 30, 40, 30, 8}};
const picture_row places[] = {
    {"", "rgba-interlaced.png", 4, 0, 0}, {"-x1", "rgba-interlaced.png", 4, 1, 0},
    {"-x500 -y8", "rgba-interlaced.png", 4, 500, 8},
    {"-x757 -y1000", "rgba-interlaced.png", 4, 757, 1000},
    {"-x750 -y1010", "gray.png", 1, 750, 1010}, {"-y-1", "gray.png", 1, 0, -1},
    {"-x-1", "gray.png", 1, -1, 0}, {"-x2147483647 -y9", "rgb.png", 3, INT_MAX, 9},
    {"-x9 -y2147483647", "rgb.png", 3, 9, INT_MAX},
};

const std::string png = "\x89PNG\r\n\x1A\n\0\0\0\rIHDR\0\1\x86\xA0\0\1\x86\xA0\x8\2\0\0\0CRC!"s;
const std::string hdr = "#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n";
const std::string huffman = "\xFF\xD8\xFF\xC4\x10\x03\1";
const std::string one_code = "\0\x14\x10\0\1"s + std::string(14, '\0') + "\7";
const std::string all_codes =
    "\1\x13\x10\0\0\0\0\0\0\0\xFF\1"s + std::string(7, '\0') + std::string(256, '\0');
// clang-format on

/// A gray JPEG of two blocks with one Huffman code for the first coefficient.
std::string jpeg(const std::string &dc_value, const std::string &ac_table, const std::string &scan)
{
    return "\xFF\xD8\xFF\xDB\0\x43\0"s + std::string(64, '\1') +
           "\xFF\xC0\0\x0B\x8\0\x8\0\x10\1\1\x11\0\xFF\xC4\0\x14\0"s + std::string(15, '\0') +
           "\1" + dc_value + "\xFF\xC4" + ac_table + "\xFF\xDA\0\x8\1\1\0\0\x3F\0"s + scan +
           "\xFF\xD9";
}

class refused_picture : public testing::TestWithParam<refused_row> {};

TEST_P(refused_picture, is_said_why)
{
    const auto &[args, content, reason] = GetParam();
    const std::string text = "> cannot open \"" + args.text + "\":" + reason + "\n";
    const geometry g = {40, 30, 48, 30, 4};
    std::vector<test_file> given;
    if (!content.empty())
        given = {{args.text, content}};
    check({.args = {"-g " + args.text, args.file, args.line},
           .requests = "get-vscreeninfo; update 0,0 40x30 wave=2 partial",
           .out = "tavo: paint_image" + text + partial_gc16,
           .status = 1,
           .screen = g,
           .given = given});
    check({.args = {"-t " + args.text + " new", args.file, args.line},
           .out = "tavo: decompress_image_to_file" + text,
           .status = 1,
           .files = {{"new", "", 0644}},
           .screen = g,
           .given = given});
}

// clang-format off
const refused_row refused[] = {
    {"none", "", "can't fopen"}, {std::string(3000, 'n'), "", "can't fopen"},
    {".", "", "unknown image type"}, {"no/none", "", "can't fopen"},
    {"/proc/self/mem", "", "unknown image type"}, {"text", "no picture\n", "unknown image type"},
    {"huge.png", png, "too large"}, {"cut.png", png.substr(0, 16), "1/2/4/8/16-bit only"},
    {"wide.pgm", "P5 40000 1 255\n" + std::string(40000, 'x'), "too large"},
    {"wide.gif", "GIF89a\xFF\x3F\xFF\x3F" + std::string(40, '\0'), "outofmem"},
    {"table.jpg", huffman + std::string(5000, '\xFF'), "bad DHT header"},
    {"cut.jpg", huffman + std::string(16, '\xFF'), "bad DHT header"},
    {"bits.jpg", jpeg("\x0F", one_code, "\0\0\0\0"s), "bad huffman code"},
    {"code.jpg", jpeg("\0"s, all_codes, "\0\0\0\xFF\0\0\0\0\0\0"s), "bad huffman code"},
    {"dump.hdr", hdr + "-Y 9 +X 16\n\2\2\0\x10\0\0"s, "corrupt"},
    {"run.hdr", hdr + "-Y 9 +X 16\n\2\2\0\x10\x80\x80"s, "corrupt"},
    {"flat.hdr", hdr + "-Y 4000 +X 4000\n\1\2\3\4", "corrupt"},
    {"empty.png",
     png.substr(0, 16) + "\0\0\0\1\0\0\0\1\x8\0\0\0\0CRC!\0\0\0\0IDATCRC!\0\0\0\0IENDCRC!"s,
     "no IDAT"},
    {"cut.pic", "\x53\x80\xF6\x34" + std::string(84, '\0') +
        "PICT\0\x8\0\x8\0\0\0\0\0\0\0\0\0\x8\2\xE0"s, "bad file"},
};

/// A picture larger than every screen; each of its rows is another one.
std::string large_pgm()
{
    std::string file = "P5 900 1100 255\n";
    for (int i = 0; i < 900 * 1100; ++i)
        file += char(i * 7 + i / 900 * 3);
    return file;
}

void paint_large(canvas &c)
{
    const std::string pixels = large_pgm().substr(16);
    for (int y = 0; y < c.shape.height; ++y)
        for (int x = 0; x < c.shape.width; ++x)
            c.set(x, y, pixels[size_t(y * 900 + x)] & 0xFF);
}

const geometry tiny = {4, 3, 8, 3, 4};
const run_case outputs[] = {
    {.args = "-g large", .draws = paint_large,
     .requests = "get-vscreeninfo; update 0,0 758x1024 wave=2 partial", .out = partial_gc16,
     .given = {{"large", large_pgm()}}},
    {.args = "-g pipe", .draws = [](canvas &c) { c.memory[0] = '\x1E'; },
     .requests = "get-vscreeninfo; update 0,0 2x1 wave=2 partial", .out = partial_gc16,
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

INSTANTIATE_TEST_SUITE_P(formats, picture_on_screens,
                         testing::Combine(testing::ValuesIn(formats), testing::ValuesIn(narrow)),
                         name_on_screen<picture_row>);
INSTANTIATE_TEST_SUITE_P(places, picture_on_screens,
                         testing::Combine(testing::ValuesIn(places),
                                          testing::ValuesIn(all_screens())),
                         name_on_screen<picture_row>);
INSTANTIATE_TEST_SUITE_P(pictures, refused_picture, testing::ValuesIn(refused));
INSTANTIATE_TEST_SUITE_P(outputs, tool, testing::ValuesIn(outputs), name_of_case);
} // namespace
