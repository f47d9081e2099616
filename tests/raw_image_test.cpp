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

/// The value of an option, 0 if it is not there.
int64_t value_of(char option, const std::string &args)
{
    const size_t at = args.find(std::string(" -") + option);
    return at == std::string::npos ? 0 : stoll(args.substr(at + 3));
}

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

class bitmap : public on_screens {};
TEST_P(bitmap, is_painted)
{
    const auto &[args, g] = GetParam();
    const raw_image image(split(args.text)[1], g);
    const int64_t x = value_of('x', args.text), y = value_of('y', args.text);
    const auto draw = [&](canvas &c) {
        paint(c, image, x, y);
        c.finish(x, y, g.width, g.height);
    };
    check({.args = args,
           .draws = draw,
           .settings = "regions any\n",
           .screen = g,
           .given = {{split(args.text)[1], image.content}}});
}

// clang-format off
const shell_words bitmaps[] = {
    "-b 2x2 -x10 -y20", "-b 4x1 -x1", "-b 5x3", "-b 5x3 -x3 -y1", "-b 7x3 -x6",
    // Over the edges, past them, far past them.
    "-b 5x3 -x-2 -y-1", "-b 9x3 -x-3", "-b 40x600 -x-16 -y-599", "-b 40x600 -x735 -y1000",
    "-b 758x1024 -x-8 -y-8", "-b 5x3 -x768", "-b 5x3 -x-5", "-b 5x3 -y-3", "-b 5x3 -y1024",
    "-b 40x600 -x2147483647 -y2147483647", "-b 40x600 -y-2147483648", "-b 40x600 -x-2147483648",
    // Nothing, less than was announced.
    "-b 5x0,15", "-b 0x3,15", "-b 5x3,0", "-b 40x600,1003", "-b 40x600,13 -x-32 -y-2",
    "-b 758x1024,500000", "-b 758x1024",
    // Whole screens.
    "-b 5x3@3 -x1 -y1", "-b 759x3,15 -x1 -y1", "-b 5x1025,900000 -x1 -y1", "-b 2147483648x2,15",
    "-b 4294967295x1@4294967295,2000000 -x5 -y5",
};
// clang-format on
INSTANTIATE_TEST_SUITE_P(raw, bitmap, with_screens(bitmaps), name_on_screen);

/// Drawn at the place of the options, then at that of the operands.
class overlaid : public on_screens {};
TEST_P(overlaid, is_painted_twice)
{
    const auto &[args, g] = GetParam();
    const raw_image image(split(args.text)[1], g);
    const auto draw = [&](canvas &c) {
        overlay(c, g, image, value_of('x', args.text), value_of('y', args.text));
        overlay(c, g, image, 0, 0);
    };
    check({.args = args,
           .draws = draw,
           .settings = "regions any\n",
           .screen = g,
           .given = {{split(args.text)[1], image.content}}});
}

// clang-format off
const shell_words overlays[] = {
    // Inside, over the edges of the memory, far past them.
    "-o 4x3@4", "-o 4x3@4,99 -x10 -y20", "-o 5x3@4,99 -x-5 -y1", "-o 9x9@1,99", "-o 5x9@4,99 -x1",
    "-o 40x300@4 -y-300", "-o 758x512@4 -y900", "-o 758x1024@8 -y600",
    "-o 5x3@4 -x2147483647 -y2147483647", "-o 5x3@4 -x-2147483648 -y-2147483648",
    // Nothing, less than was announced, too much.
    "-o 0x3@4,9", "-o 10x9@4,0", "-o 5x9@4,17", "-o 1x1@4294967295,9", "-o 759x1@4,900",
    "-o 1x1025@4,900",
};
// clang-format on
INSTANTIATE_TEST_SUITE_P(raw, overlaid, with_screens(overlays), name_on_screen);

/// On a screen that is 40 x 30 at the second look, with the file "in".
const geometry before = {50, 50, 52, 50, 8}, later = {40, 30, 40, 30, 8};
const raw_image plain("4x3@4", before);

run_case changed(const shell_words &args, const std::vector<painter> &steps,
                 const std::string &content = plain.content)
{
    return {.args = args,
            .draws = in_order(steps),
            .settings = "second-size 40x30\n",
            .screen = before,
            .given = {{"in", content}}};
}
painter at(int x, int y)
{
    return [=](canvas &c) { overlay(c, later, plain, x, y); };
}
painter says(const std::string &message, int status = 0)
{
    return [=](canvas &c) {
        c.out += "tavo: " + message + "\n";
        c.status = status;
    };
}
painter requests(const std::string &line)
{
    return [=](canvas &c) { c.request(line); };
}
painter cannot_overlay(const std::string &reason, int status = 0)
{
    return in_order({says("overlay_bitmap> cannot " + reason, status),
                     says("overlay_bitmap> cannot " + reason, status)});
}
const painter shown = [](canvas &c) { c.finish(); };
const painter piped = [](canvas &c) { paint(c, raw_image("40x600", c.shape), -16, -590); };

// clang-format off
const run_case messages[] = {
    changed("-m in -f -wdu", {at(0, 0), at(0, 0)}),
    changed("-o -x3 in none", {at(3, 0), at(0, 0)}),
    changed("-o none 1 in", {says("overlay_bitmap> cannot open \"none\""), at(0, 1)}),
    changed("-o 5 2 in", {says("overlay_bitmap> cannot open \"5\""), at(5, 2)}),
    changed("-o -sw=0 in", {at(0, 0), [](canvas &c) { c.update(0, 0, 40, 30, 2); }}),
    changed("-n -o in", {requests("get-hold 1; set-hold 0"), at(0, 0), at(0, 0),
                         requests("release-hold 0")}),
    changed("-o none", {cannot_overlay("open \"none\"", 1)}),
    changed("-o .", {cannot_overlay("read image header")}),
    changed("-o in", {cannot_overlay("read image header")}, "11 bytes..."),
    changed("-o /dev/zero", {cannot_overlay("allocate overlay buffer memory")}),
    changed("-o in", {cannot_overlay("allocate overlay buffer memory")},
            raw_image("65536x65536@8,9", before).content),
    changed("-o in", {cannot_overlay("allocate overlay buffer memory")},
            raw_image("3x3@4294967295", before).content),
    changed("-b none", {says("paint_bitmap> cannot open \"none\"", 1), shown}),
    changed("-b in", {says("paint_bitmap> cannot read image header"), shown}, "11 bytes..."),
    changed("-b /proc/self/mem", {says("paint_bitmap> cannot read image header"), shown}),
    {.args = "-b pipe -x-16 -y-590", .draws = piped,
     .requests = "get-vscreeninfo; update -16,-590 40x600 wave=2 partial",
     .out = update_line("PARTIAL", 2), .settings = "regions any\n", .screen = {40, 600, 40, 600, 8},
     .pipe = {raw_image("40x600", {40, 600, 40, 600, 8}).content}},
};
// clang-format on
INSTANTIATE_TEST_SUITE_P(messages, tool, testing::ValuesIn(messages), name_of_case);
} // namespace
