// Raw images: bitmaps and whole-screen dumps of -b, overlays of -o and -m.
#include "run_case.h"

#include <cstdint>

namespace {
/// A raw image file is named for what it has: "5x3" 5 x 3 pixels of the screen's depth, "5x3@4" of
/// 4 bits; a byte for each, or as many as a number after a comma says.
struct raw_image {
    raw_image(const std::string &name, const geometry &g)
    {
        sscanf(name.c_str(), "%lldx%lld", &width, &height);
        if (const size_t at = name.find('@'); at != std::string::npos)
            depth = stoll(name.substr(at + 1));
        const size_t comma = name.find(',');
        size = comma != std::string::npos ? stoll(name.substr(comma + 1)) : width * height;
        for (const long long word : {width, height, depth != 0 ? depth : g.bpp})
            for (int i = 0; i < 4; ++i)
                content += char(word >> 8 * i);
        for (long long i = 0; i < size; ++i)
            content += char(i * 37 + i / 251 + 5);
    }
    long long width, height, depth = 0, size;
    std::string content;
};

/// Row by row if the header fits the screen, else as a dump. Rows begin at whole bytes.
void paint(canvas &c, const raw_image &image, int64_t x, int64_t y)
{
    const geometry &g = c.shape;
    if (image.depth != 0 || image.width > g.width || image.height > g.height) {
        const size_t size = std::min(image.content.size(), g.screen());
        c.memory.replace(0, size, image.content, 0, size);
        return;
    }
    const int64_t line = int64_t(g.line()), visible = (int64_t(g.columns()) * g.bpp + 7) / 8;
    const int64_t first = (x * g.bpp) >> 3, end = ((x + image.width) * g.bpp) >> 3;
    size_t at = 12;
    for (int64_t row = y; row < y + image.height; ++row)
        for (int64_t i = first; i < end && at < image.content.size(); ++i, ++at)
            if (row >= 0 && row < g.height && i >= 0 && i < std::min(visible, line))
                c.memory[size_t(row * line + i)] = image.content[at];
}

/// Rows of 4-bit pixels, on a screen that may have changed. What the file does not have or falls
/// outside the memory is not drawn.
void overlay(canvas &c, const geometry &now, const raw_image &image, int64_t x, int64_t y)
{
    const int64_t depth = image.depth != 0 ? image.depth : now.bpp, stride = now.virtual_width;
    const int64_t area = (now.height + 127) / 128 * 128 * stride * now.bpp / 32;
    const int64_t given = std::min(image.width * image.height * depth / 8, image.size);
    const bool fits = image.width <= now.width && image.height <= now.height;
    for (int64_t row = 0; fits && row < image.height; ++row)
        for (int64_t i = 0, from = row * image.width / 2; i < image.width / 2; ++i, ++from)
            if (const int64_t to = area + ((x + stride * (y + row)) >> 1) + i;
                from < given && to >= 0 && to < int64_t(c.shape.screen()))
                c.memory[size_t(to)] = image.content[size_t(from) + 12];
    c.out += fits ? "" : "Bad image dimensions!\n";
    c.request("get-vscreeninfo");
    c.update(x, y, image.width, image.height, 2, true);
}

/// -b, or -o, which draws at the place of the options and then at that of the operands.
class raw_file : public tool {};
TEST_P(raw_file, is_painted)
{
    run_case c = GetParam();
    char name[40];
    int x = 0, y = 0;
    sscanf(c.args.c_str(), "%*s %39s -x%d -y%d", name, &x, &y);
    const raw_image image(name, c.screen);
    c.given = {{name, image.content}};
    c.settings = "regions any\n";
    c.draws = [&](canvas &drawn) {
        if (c.args.starts_with("-o")) {
            overlay(drawn, c.screen, image, x, y);
            overlay(drawn, c.screen, image, 0, 0);
        } else {
            paint(drawn, image, x, y);
            drawn.finish(x, y, c.screen.width, c.screen.height);
        }
    };
    check(c);
}

// clang-format off
const std::vector<run_case> bitmaps = {
    {"-b 2x2 -x10 -y20"}, {"-b 4x1 -x1"}, {"-b 5x3"}, {"-b 5x3 -x3 -y1"}, {"-b 7x3 -x6"},
    // Over the edges, past them, far past them.
    {"-b 5x3 -x-2 -y-1"}, {"-b 9x3 -x-3"}, {"-b 40x600 -x-16 -y-599"}, {"-b 40x600 -x735 -y1000"},
    {"-b 758x1024 -x-8 -y-8"}, {"-b 5x3 -x768"}, {"-b 5x3 -x-5"}, {"-b 5x3 -x0 -y-3"},
    {"-b 5x3 -x0 -y1024"}, {"-b 40x600 -x2147483647 -y2147483647"}, {"-b 40x600 -x0 -y-2147483648"},
    {"-b 40x600 -x-2147483648"},
    // Nothing, less than was announced.
    {"-b 5x0,15"}, {"-b 0x3,15"}, {"-b 5x3,0"}, {"-b 40x600,1003"}, {"-b 40x600,13 -x-32 -y-2"},
    {"-b 758x1024,500000"}, {"-b 758x1024"},
    // Whole screens.
    {"-b 5x3@3 -x1 -y1"}, {"-b 759x3,15 -x1 -y1"}, {"-b 5x1025,900000 -x1 -y1"},
    {"-b 2147483648x2,15"}, {"-b 4294967295x1@4294967295,2000000 -x5 -y5"},
};
const std::vector<run_case> overlays = {
    // Inside, over the edges of the memory, far past them.
    {"-o 4x3@4"}, {"-o 4x3@4,99 -x10 -y20"}, {"-o 5x3@4,99 -x-5 -y1"}, {"-o 9x9@1,99"},
    {"-o 5x9@4,99 -x1"}, {"-o 40x300@4 -x0 -y-300"}, {"-o 758x512@4 -x0 -y900"},
    {"-o 758x1024@8 -x0 -y600"}, {"-o 5x3@4 -x2147483647 -y2147483647"},
    {"-o 5x3@4 -x-2147483648 -y-2147483648"},
    // Nothing, less than was announced, too much.
    {"-o 0x3@4,9"}, {"-o 10x9@4,0"}, {"-o 5x9@4,17"}, {"-o 1x1@4294967295,9"}, {"-o 759x1@4,900"},
    {"-o 1x1025@4,900"},
};
// clang-format on
INSTANTIATE_TEST_SUITE_P(bitmaps, raw_file, testing::ValuesIn(on_screens(bitmaps)), name_of_case);
INSTANTIATE_TEST_SUITE_P(overlays, raw_file, testing::ValuesIn(on_screens(overlays)), name_of_case);

/// The screens at the first and at the second look.
const geometry before = {50, 50, 52, 50, 8}, later = {40, 30, 40, 30, 8};
const raw_image small("4x3@4", before);
/// The file "in", overlaid on the second screen at each of the places after what the tool says.
run_case overlaid(const std::string &args, const std::vector<std::pair<int, int>> &places,
                  const std::string &says = "")
{
    const auto draw = [=](canvas &c) {
        c.out = says;
        for (const auto &[x, y] : places)
            overlay(c, later, small, x, y);
    };
    return {.args = args,
            .draws = draw,
            .settings = "second-size 40x30\n",
            .screen = before,
            .given = {{"in", small.content}}};
}

/// As wide as the screen, where rows do not begin at whole bytes of 4-bit pixels.
const geometry odd = {41, 200, 41, 200, 8};
const raw_image wide("41x20@4", odd);
const painter wide_twice = [](canvas &c) {
    overlay(c, odd, wide, 0, 0);
    overlay(c, odd, wide, 0, 0);
};
const raw_image streamed("30x40", before);
const painter piped = [](canvas &c) {
    paint(c, streamed, -16, -20);
    c.finish(-16, -20, c.shape.width, c.shape.height);
};

// clang-format off
const std::string bitmap_header = "tavo: paint_bitmap> cannot read image header\n";
const std::string header = "tavo: overlay_bitmap> cannot read image header\n";
const std::string memory = "tavo: overlay_bitmap> cannot allocate overlay buffer memory\n";
const std::vector<run_case> messages = {
    overlaid("-m in -f -wdu", {{0, 0}, {0, 0}}),
    overlaid("-o -x3 in none", {{3, 0}, {0, 0}}),
    overlaid("-o none 1 in", {{0, 1}}, "tavo: overlay_bitmap> cannot open \"none\"\n"),
    overlaid("-o 5 2 in", {{5, 2}}, "tavo: overlay_bitmap> cannot open \"5\"\n"),
    {.args = "-o -sw=0 in", .draws = [](canvas &c) { overlay(c, before, small, 0, 0); },
     .requests = "update 0,0 50x50 wave=2 partial", .screen = before,
     .given = {{"in", small.content}}},
    {.args = "-o in", .draws = wide_twice, .screen = odd, .given = {{"in", wide.content}}},
    {.args = "-b pipe -x-16 -y-20", .draws = piped, .settings = "regions any\n",
     .screen = before, .pipe = {streamed.content}},
    // Each place says what is wrong with the file.
    {.args = "-o in", .out = header + header, .given = {{"in", "11 bytes..."}}},
    {.args = "-o /dev/zero", .out = memory + memory},
    {.args = "-o in", .out = memory + memory,
     .given = {{"in", raw_image("65536x65536@8,9", before).content}}},
    {.args = "-o in", .out = memory + memory,
     .given = {{"in", raw_image("3x3@4294967295", before).content}}},
    {.args = "-b in", .requests = "get-vscreeninfo; update 0,0 WxH wave=2 partial",
     .out = bitmap_header, .given = {{"in", "11 bytes..."}}},
    {.args = "-b /proc/self/mem", .requests = "get-vscreeninfo; update 0,0 WxH wave=2 partial",
     .out = bitmap_header},
};
// clang-format on
INSTANTIATE_TEST_SUITE_P(raw_messages, tool, testing::ValuesIn(messages), name_of_case);
} // namespace
