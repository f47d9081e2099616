// Raw images, whole-screen dumps and overlays, against copies made a byte at a time.
#include "panel_run.h"

namespace {
struct raw_image {
    char option;
    int64_t width, height, depth, size; // depth 0: that of the screen; size: bytes in the file
    int x, y;
    std::string file(int bpp) const
    {
        const uint32_t header[] = {uint32_t(width), uint32_t(height),
                                   uint32_t(depth ? depth : bpp)};
        std::string bytes(reinterpret_cast<const char *>(header), sizeof header);
        for (int64_t i = 0; i < size; ++i)
            bytes += char(i * 37 + i / 251 + 5);
        return bytes;
    }
};
// clang-format off
const raw_image plain_overlay = {'o', 4, 3, 4, 6, 0, 0}, images[] = {
    plain_overlay,
    {'b', 2, 2, 0, 4, 10, 20}, {'b', 4, 1, 0, 4, 1, 0}, {'b', 5, 3, 0, 15, 0, 0},
    {'b', 5, 3, 0, 15, 3, 1}, {'b', 7, 3, 0, 21, 6, 0},
    // over the edges, behind them, far behind them
    {'b', 5, 3, 0, 15, -2, -1}, {'b', 40, 600, 0, 24000, -16, -599},
    {'b', 40, 600, 0, 24000, 735, 1000}, {'b', 758, 1024, 0, 776192, -8, -8},
    {'b', 5, 3, 0, 15, 768, 0}, {'b', 5, 3, 0, 15, -5, 0}, {'b', 5, 3, 0, 15, 0, -3},
    {'b', 5, 3, 0, 15, 0, 1024}, {'b', 40, 600, 0, 24000, INT32_MAX, INT32_MAX},
    {'b', 40, 600, 0, 24000, 0, INT32_MIN}, {'b', 40, 600, 0, 24000, INT32_MIN, 0},
    // nothing, and less than was announced
    {'b', 5, 0, 0, 15, 0, 0}, {'b', 0, 3, 0, 15, 0, 0}, {'b', 5, 3, 0, 0, 0, 0},
    {'b', 40, 600, 0, 1003, 0, 0}, {'b', 40, 600, 0, 13, -32, -2}, {'b', 758, 1024, 0, 500000, 0, 0},
    // whole screens
    {'b', 5, 3, 3, 15, 1, 1}, {'b', 759, 3, 0, 15, 1, 1}, {'b', 5, 1025, 0, 900000, 1, 1},
    {'b', 1u << 31, 2, 0, 15, 0, 0}, {'b', UINT32_MAX, 1, UINT32_MAX, 2000000, 5, 5},
    // overlays: inside, over the edges of the memory, far behind them
    {'o', 4, 3, 0, 99, 10, 20}, {'o', 5, 3, 4, 99, -5, 1}, {'o', 9, 9, 1, 99, 0, 0},
    {'o', 5, 9, 4, 99, 1, 0}, {'o', 40, 300, 4, 6000, 0, -300}, {'o', 758, 512, 4, 194048, 0, 900},
    {'o', 758, 1024, 8, 776192, 0, 600}, {'o', 5, 3, 4, 9, INT32_MAX, INT32_MAX},
    {'o', 5, 3, 4, 9, INT32_MIN, INT32_MIN},
    // nothing, less than was announced, too much
    {'o', 0, 3, 4, 9, 0, 0}, {'o', 10, 9, 4, 0, 0, 0}, {'o', 5, 9, 4, 17, 0, 0},
    {'o', 1, 1, UINT32_MAX, 9, 0, 0}, {'o', 759, 1, 4, 900, 0, 0}, {'o', 1, 1025, 4, 900, 0, 0}};
// clang-format on

/// Row by row if the header fits the screen, else as a dump.
void paint(canvas &c, const raw_image &image, const std::string &file)
{
    const int64_t bpp = c.shape.bpp, w = c.shape.width, h = c.shape.height;
    const int64_t line = int64_t(c.shape.line()), shown = std::min((w * bpp + 7) / 8, line);
    const int64_t end = ((image.x + image.width) * bpp) >> 3;
    size_t at = 12;
    if (image.depth || image.width > w || image.height > h)
        c.memory.replace(0, std::min(file.size(), c.shape.screen()), file, 0, c.shape.screen());
    else
        for (int64_t row = image.y; row < image.y + image.height; ++row)
            for (int64_t i = (image.x * bpp) >> 3; i < end && at < file.size(); ++i, ++at)
                if (row >= 0 && row < h && i >= 0 && i < shown)
                    c.memory[size_t(row * line + i)] = file[at];
}

/// Bytes that the file does not have are not drawn, nor is what falls outside the memory.
void overlay(canvas &c, const geometry &now, const raw_image &image, const std::string &file,
             int64_t x, int64_t y)
{
    const int64_t depth = image.depth ? image.depth : c.shape.bpp, stride = now.virtual_width;
    const int64_t area = (now.height + 127) / 128 * 128 * stride * c.shape.bpp / 32;
    const int64_t given = std::min(image.width * image.height * depth / 8, image.size);
    for (int64_t row = 0; row < image.height; ++row)
        for (int64_t i = 0, from = row * image.width / 2; i < image.width / 2; ++i, ++from)
            if (const int64_t to = area + ((x + stride * (y + row)) >> 1) + i;
                from < given && to >= 0 && to < int64_t(c.shape.screen()))
                c.memory[size_t(to)] = file[size_t(from) + 12];
}

TEST(raw, images)
{
    for (const raw_image &image : images)
        for (const geometry &g : all_shapes()) {
            const std::string file = image.file(g.bpp), option = {'-', image.option};
            const std::string x = formatted("-x%d", image.x), y = formatted("-y%d", image.y);
            const bool bitmap = image.option == 'b', piped = bitmap && g.height == 600;
            const bool fits = image.width <= g.width && image.height <= g.height;
            canvas drawn(g);
            if (bitmap)
                paint(drawn, image, file);
            for (const auto &[left, top] : {std::pair(image.x, image.y), {0, 0}})
                if (!bitmap && fits) // first by the options, then by the operand
                    overlay(drawn, g, image, file, left, top);
            const virtual_panel panel(g);
            panel.write("in", file);
            const run_result got = piped ? panel.run_piped({option, "pipe", x, y}, {file})
                                         : panel.run({option, "in", x, y});
            got.expect(bitmap ? "0<PARTIAL 2 0>"
                       : fits
                           ? "0<FULL 2 0><FULL 2 0>"
                           : "0Bad image dimensions!\n<FULL 2 0>Bad image dimensions!\n<FULL 2 0>",
                       drawn);
        }
}

/// On a screen that has become smaller since it was opened. F is a full update, P a partial one.
TEST(raw, messages)
{
    const std::string image = plain_overlay.file(8), head = "cannot read image header\n";
    const std::string memory = "cannot allocate overlay buffer memory\n",
                      none = "cannot open \"none\"\n";
    const struct {
        const char *arguments;
        std::string content, told;
        const char *requests = "", *faults = "";
        std::vector<std::pair<int, int>> places = {};
    } rows[] = {
        // clang-format off
        {"-m in -f -wdu", image, "0FF", "again; 0,0 4x3 full; again; 0,0 4x3 full", "", {{0, 0}}},
        {"-o -x3 in none", image, "0FF", "again; 3,0 4x3 full; again; 0,0 4x3 full", "",
            {{3, 0}, {0, 0}}},
        {"-o none 1 in", image, "0" + none + "F", "again; 0,1 4x3 full", "", {{0, 1}}},
        {"-o -sw=0 in", image, "0FP", "again; 0,0 4x3 full; 0,0 40x30 partial", "", {{0, 0}}},
        {"-o in", image, "0cannot read screen info\nF", "again -> -1; again; 0,0 4x3 full",
            "get-vscreeninfo:2", {{0, 0}}},
        {"-o none", "", "1" + none + none}, {"-o .", "", "0" + head + head},
        {"-o in", "11 bytes...", "0" + head + head}, {"-o /dev/zero", "", "0" + memory + memory},
        {"-o in", raw_image{'o', 65536, 65536, 8, 9, 0, 0}.file(8), "0" + memory + memory},
        {"-o in", raw_image{'o', 3, 3, UINT32_MAX, 9, 0, 0}.file(8), "0" + memory + memory},
        {"-b none", "", "1" + none + "P", "again; 0,0 50x50 partial"},
        {"-b /proc/self/mem", "", "0" + head + "P", "again; 0,0 50x50 partial"},
        {"-b in", "11 bytes...", "0" + head + "P", "again; 0,0 50x50 partial"}};
    // clang-format on
    for (const auto &row : rows) {
        const virtual_panel panel({50, 50, 52, 50, 8}, "second-size 40x30\n");
        panel.write("in", row.content);
        run_result got = panel.run(words(row.arguments), row.faults);
        got.out = rewritten(got.out, {{"tavo: \\w+_bitmap> ", ""}, {"<([FP])\\w+ 2 0>", "$1"}});
        canvas drawn(panel.shape);
        for (auto [x, y] : row.places)
            overlay(drawn, {40, 30, 40, 30, 8}, plain_overlay, row.content, x, y);
        got.expect(row.told, drawn);
        EXPECT_EQ(rewritten(got.requests, {{"get-vscreeninfo", "again"}, {"update |wave=2 ", ""}}),
                  row.requests);
    }
}
} // namespace
