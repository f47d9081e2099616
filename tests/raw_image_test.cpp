// Raw images: bitmaps and whole-screen dumps of -b, overlays of -o and -m.
#include "run_case.h"

#include <cstdint>

/// A raw image file, and where the options put it.
struct raw_image {
    shell_words args; // of the place
    int64_t x, y;
    int64_t width, height, depth, size; // depth 0: that of the screen; size: bytes of the pixels
    std::string name = "";
};

namespace {
const std::string partial_gc16 = update_line("PARTIAL", 2), full_gc16 = update_line("FULL", 2);

std::string file_of(const raw_image &image, const geometry &g)
{
    std::string bytes;
    for (const int64_t word : {image.width, image.height, image.depth ? image.depth : g.bpp})
        for (int i = 0; i < 4; ++i)
            bytes += char(word >> 8 * i);
    for (int64_t i = 0; i < image.size; ++i)
        bytes += char(i * 37 + i / 251 + 5);
    return bytes;
}

/// Row by row if the header fits the screen, else as a dump. Rows begin at whole bytes.
void paint(canvas &c, const raw_image &image, const std::string &file)
{
    const geometry &g = c.shape;
    if (image.depth || image.width > g.width || image.height > g.height) {
        const size_t size = std::min(file.size(), g.screen());
        c.memory.replace(0, size, file, 0, size);
        return;
    }
    const int64_t line = int64_t(g.line()), visible = (int64_t(g.columns()) * g.bpp + 7) / 8;
    const int64_t first = (image.x * g.bpp) >> 3, end = ((image.x + image.width) * g.bpp) >> 3;
    size_t at = 12;
    for (int64_t row = image.y; row < image.y + image.height; ++row)
        for (int64_t i = first; i < end && at < file.size(); ++i, ++at)
            if (row >= 0 && row < g.height && i >= 0 && i < std::min(visible, line))
                c.memory[size_t(row * line + i)] = file[at];
}

/// Rows of 4-bit pixels. What the file does not have or falls outside the memory is not drawn.
void overlay(canvas &c, const geometry &now, const raw_image &image, const std::string &file,
             int64_t x, int64_t y)
{
    const int64_t depth = image.depth ? image.depth : now.bpp, stride = now.virtual_width;
    const int64_t area = (now.height + 127) / 128 * 128 * stride * now.bpp / 32;
    const int64_t given = std::min(image.width * image.height * depth / 8, image.size);
    for (int64_t row = 0; row < image.height; ++row)
        for (int64_t i = 0, from = row * image.width / 2; i < image.width / 2; ++i, ++from)
            if (const int64_t to = area + ((x + stride * (y + row)) >> 1) + i;
                from < given && to >= 0 && to < int64_t(c.shape.screen()))
                c.memory[size_t(to)] = file[size_t(from) + 12];
}

// clang-format off
const raw_image bitmaps[] = {
    {"-x10 -y20", 10, 20, 2, 2, 0, 4}, {"-x1", 1, 0, 4, 1, 0, 4}, {"", 0, 0, 5, 3, 0, 15},
    {"-x3 -y1", 3, 1, 5, 3, 0, 15}, {"-x6", 6, 0, 7, 3, 0, 21},
    // Over the edges, past them, far past them.
    {"-x-2 -y-1", -2, -1, 5, 3, 0, 15}, {"-x-3", -3, 0, 9, 3, 0, 27},
    {"-x-16 -y-599", -16, -599, 40, 600, 0, 24000},
    {"-x735 -y1000", 735, 1000, 40, 600, 0, 24000},
    {"-x-8 -y-8", -8, -8, 758, 1024, 0, 776192}, {"-x768", 768, 0, 5, 3, 0, 15},
    {"-x-5", -5, 0, 5, 3, 0, 15}, {"-y-3", 0, -3, 5, 3, 0, 15}, {"-y1024", 0, 1024, 5, 3, 0, 15},
    {"-x2147483647 -y2147483647", INT32_MAX, INT32_MAX, 40, 600, 0, 24000},
    {"-y-2147483648", 0, INT32_MIN, 40, 600, 0, 24000},
    {"-x-2147483648", INT32_MIN, 0, 40, 600, 0, 24000},
    // Nothing, less than was announced.
    {"", 0, 0, 5, 0, 0, 15}, {"", 0, 0, 0, 3, 0, 15}, {"", 0, 0, 5, 3, 0, 0},
    {"", 0, 0, 40, 600, 0, 1003}, {"-x-32 -y-2", -32, -2, 40, 600, 0, 13},
    {"", 0, 0, 758, 1024, 0, 500000}, {"", 0, 0, 758, 1024, 0, 776192},
    // Whole screens.
    {"-x1 -y1", 1, 1, 5, 3, 3, 15}, {"-x1 -y1", 1, 1, 759, 3, 0, 15},
    {"-x1 -y1", 1, 1, 5, 1025, 0, 900000}, {"", 0, 0, 1u << 31, 2, 0, 15},
    {"-x5 -y5", 5, 5, UINT32_MAX, 1, UINT32_MAX, 2000000},
};
const raw_image overlays[] = {
    // Inside, over the edges of the memory, far past them.
    {"", 0, 0, 4, 3, 4, 6}, {"-x10 -y20", 10, 20, 4, 3, 0, 99}, {"-x-5 -y1", -5, 1, 5, 3, 4, 99},
    {"", 0, 0, 9, 9, 1, 99}, {"-x1", 1, 0, 5, 9, 4, 99}, {"-y-300", 0, -300, 40, 300, 4, 6000},
    {"-y900", 0, 900, 758, 512, 4, 194048}, {"-y600", 0, 600, 758, 1024, 8, 776192},
    {"-x2147483647 -y2147483647", INT32_MAX, INT32_MAX, 5, 3, 4, 9},
    {"-x-2147483648 -y-2147483648", INT32_MIN, INT32_MIN, 5, 3, 4, 9},
    // Nothing, less than was announced, too much.
    {"", 0, 0, 0, 3, 4, 9}, {"", 0, 0, 10, 9, 4, 0}, {"", 0, 0, 5, 9, 4, 17},
    {"", 0, 0, 1, 1, UINT32_MAX, 9}, {"", 0, 0, 759, 1, 4, 900}, {"", 0, 0, 1, 1025, 4, 900},
};
// clang-format on

class raw_on_screens : public testing::TestWithParam<std::tuple<raw_image, geometry>> {};
class bitmap_on_screens : public raw_on_screens {};
class overlay_on_screens : public raw_on_screens {};

TEST_P(bitmap_on_screens, is_painted)
{
    const auto &[image, g] = GetParam();
    const std::string file = file_of(image, g);
    const bool piped = g.height == 600;
    const int64_t width = std::min<int64_t>(g.width, g.width - image.x);
    const int64_t height = std::min<int64_t>(g.height, g.height - image.y);
    run_case c = {.args = image.args,
                  .draws = [&](canvas &to) { paint(to, image, file); },
                  .requests = formatted("get-vscreeninfo; update %d,%d %dx%d wave=2 partial",
                                        int(image.x), int(image.y), int(width), int(height)),
                  .out = partial_gc16,
                  .settings = "regions any\n",
                  .screen = g};
    c.args.text += piped ? " -b pipe" : " -b in";
    if (piped)
        c.pipe = {file};
    else
        c.given = {{"in", file}};
    check(c);
}

/// Drawn at the place of the options, then at that of the operands.
TEST_P(overlay_on_screens, is_painted_twice)
{
    const auto &[image, g] = GetParam();
    const std::string file = file_of(image, g);
    const bool fits = image.width <= g.width && image.height <= g.height;
    const auto draw = [&](canvas &c) {
        overlay(c, g, image, file, image.x, image.y);
        overlay(c, g, image, file, 0, 0);
    };
    const auto requests = [&](int64_t x, int64_t y) {
        return formatted("get-vscreeninfo; update %d,%d %dx%d wave=2 full", int(x), int(y),
                         int(image.width), int(image.height));
    };
    const std::string out = (fits ? "" : "Bad image dimensions!\n") + full_gc16;
    run_case c = {.args = image.args,
                  .draws = fits ? painter(draw) : painter(),
                  .requests = requests(image.x, image.y) + "; " + requests(0, 0),
                  .out = out + out,
                  .settings = "regions any\n",
                  .screen = g,
                  .given = {{"in", file}}};
    c.args.text = "-o " + image.args.text + " in";
    check(c);
}

INSTANTIATE_TEST_SUITE_P(raw, bitmap_on_screens,
                         testing::Combine(testing::ValuesIn(bitmaps),
                                          testing::ValuesIn(all_screens())),
                         name_on_screen<raw_image>);
INSTANTIATE_TEST_SUITE_P(raw, overlay_on_screens,
                         testing::Combine(testing::ValuesIn(overlays),
                                          testing::ValuesIn(all_screens())),
                         name_on_screen<raw_image>);

/// On a screen that is 40 x 30 at the second look.
const geometry before = {50, 50, 52, 50, 8}, later = {40, 30, 40, 30, 8};
const raw_image plain = {"", 0, 0, 4, 3, 4, 6};
const std::string plain_file = file_of(plain, before);

painter overlaid(int x, int y)
{
    return [=](canvas &c) { overlay(c, later, plain, plain_file, x, y); };
}

/// The file "in", as -o or -b takes it on that screen.
run_case changed(run_case c, const std::string &content)
{
    c.settings = "second-size 40x30\n";
    c.screen = before;
    c.given = {{"in", content}};
    return c;
}

std::string header(int64_t width, int64_t height, int64_t depth)
{
    return file_of({"", 0, 0, width, height, depth, 9}, before);
}

// clang-format off
const std::string overlay_at_0 = "get-vscreeninfo; update 0,0 4x3 wave=2 full";
const std::string refused = "tavo: overlay_bitmap> cannot allocate overlay buffer memory\n";
const std::string cannot_read = "tavo: overlay_bitmap> cannot read image header\n";
const run_case messages[] = {
    changed({.args = "-m in -f -wdu", .draws = overlaid(0, 0),
             .requests = overlay_at_0 + "; " + overlay_at_0, .out = full_gc16 + full_gc16},
            plain_file),
    changed({.args = "-o -x3 in none", .draws = in_order({overlaid(3, 0), overlaid(0, 0)}),
             .requests = "get-vscreeninfo; update 3,0 4x3 wave=2 full; " + overlay_at_0,
             .out = full_gc16 + full_gc16}, plain_file),
    changed({.args = "-o none 1 in", .draws = overlaid(0, 1),
             .requests = "get-vscreeninfo; update 0,1 4x3 wave=2 full",
             .out = "tavo: overlay_bitmap> cannot open \"none\"\n" + full_gc16}, plain_file),
    changed({.args = "-o 5 2 in", .draws = overlaid(5, 2),
             .requests = "get-vscreeninfo; update 5,2 4x3 wave=2 full",
             .out = "tavo: overlay_bitmap> cannot open \"5\"\n" + full_gc16}, plain_file),
    changed({.args = "-o -sw=0 in", .draws = overlaid(0, 0),
             .requests = overlay_at_0 + "; update 0,0 40x30 wave=2 partial",
             .out = full_gc16 + partial_gc16}, plain_file),
    changed({.args = "-n -o in", .draws = overlaid(0, 0),
             .requests = "get-hold 1; set-hold 0; " + overlay_at_0 + "; " + overlay_at_0 +
                         "; release-hold 0", .out = full_gc16 + full_gc16}, plain_file),
    changed({.args = "-o none", .out = "tavo: overlay_bitmap> cannot open \"none\"\n"
             "tavo: overlay_bitmap> cannot open \"none\"\n", .status = 1}, ""),
    changed({.args = "-o .", .out = cannot_read + cannot_read}, ""),
    changed({.args = "-o in", .out = cannot_read + cannot_read}, "11 bytes..."),
    changed({.args = "-o /dev/zero", .out = refused + refused}, ""),
    changed({.args = "-o in", .out = refused + refused}, header(65536, 65536, 8)),
    changed({.args = "-o in", .out = refused + refused}, header(3, 3, 0xFFFFFFFF)),
    changed({.args = "-o in", .out = refused + refused}, std::string(plain_file).replace(8, 1, 1, '\0')),
    changed({.args = "-b none", .requests = "get-vscreeninfo; update 0,0 50x50 wave=2 partial",
             .out = "tavo: paint_bitmap> cannot open \"none\"\n" + partial_gc16, .status = 1}, ""),
    changed({.args = "-b in", .requests = "get-vscreeninfo; update 0,0 50x50 wave=2 partial",
             .out = "tavo: paint_bitmap> cannot read image header\n" + partial_gc16},
            "11 bytes..."),
    changed({.args = "-b /proc/self/mem",
             .requests = "get-vscreeninfo; update 0,0 50x50 wave=2 partial",
             .out = "tavo: paint_bitmap> cannot read image header\n" + partial_gc16}, ""),
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(messages, tool, testing::ValuesIn(messages), name_of_case);
} // namespace
