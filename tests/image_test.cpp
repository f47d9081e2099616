// Raw images, dumps and overlays; image files, decoded, reduced to gray and packed; and files of
// both kinds that are not what they say they are.
#include "panel_run.h"

#include <climits>

#define STB_IMAGE_STATIC
#define STB_IMAGE_IMPLEMENTATION
#define STBI_NO_SIMD // which the tool uses where it can
#include <stb/stb_image.h>

using namespace std::string_literals;

namespace {
struct raw_image {
    int64_t width, height, depth, size; // depth 0: that of the screen; size: bytes in the file
    int x, y;
    std::string file(int bpp) const
    {
        std::string bytes;
        for (const int64_t word : {width, height, depth ? depth : bpp})
            for (int i = 0; i < 4; ++i)
                bytes += char(word >> 8 * i);
        for (int64_t i = 0; i < size; ++i)
            bytes += char(i * 37 + i / 251 + 5);
        return bytes;
    }
};
// clang-format off
const std::vector<raw_image> bitmaps = {
    {2, 2, 0, 4, 10, 20}, {4, 1, 0, 4, 1, 0}, {5, 3, 0, 15, 0, 0}, {5, 3, 0, 15, 3, 1},
    {7, 3, 0, 21, 6, 0},
    // over the edges, behind them, far behind them
    {5, 3, 0, 15, -2, -1}, {40, 600, 0, 24000, -16, -599}, {40, 600, 0, 24000, 735, 1000},
    {758, 1024, 0, 776192, -8, -8}, {5, 3, 0, 15, 768, 0}, {5, 3, 0, 15, -5, 0},
    {5, 3, 0, 15, 0, -3}, {5, 3, 0, 15, 0, 1024}, {40, 600, 0, 24000, INT32_MAX, INT32_MAX},
    {40, 600, 0, 24000, 0, INT32_MIN}, {40, 600, 0, 24000, INT32_MIN, 0},
    // nothing, less than was announced; whole screens
    {5, 0, 0, 15, 0, 0}, {0, 3, 0, 15, 0, 0}, {5, 3, 0, 0, 0, 0}, {40, 600, 0, 1003, 0, 0},
    {40, 600, 0, 13, -32, -2}, {758, 1024, 0, 500000, 0, 0},
    {5, 3, 3, 15, 1, 1}, {759, 3, 0, 15, 1, 1}, {5, 1025, 0, 900000, 1, 1},
    {1u << 31, 2, 0, 15, 0, 0}, {UINT32_MAX, 1, UINT32_MAX, 2000000, 5, 5}};
const raw_image plain_overlay = {4, 3, 4, 6, 0, 0};
const std::vector<raw_image> overlays = {
    // inside, over the edges of the memory, far behind them
    plain_overlay, {4, 3, 0, 99, 10, 20}, {5, 3, 4, 99, -5, 1}, {9, 9, 1, 99, 0, 0},
    {5, 9, 4, 99, 1, 0}, {40, 300, 4, 6000, 0, -300}, {758, 512, 4, 194048, 0, 900},
    {758, 1024, 8, 776192, 0, 600}, {5, 3, 4, 9, INT32_MAX, INT32_MAX},
    {5, 3, 4, 9, INT32_MIN, INT32_MIN},
    // nothing, less than was announced, too much
    {0, 3, 4, 9, 0, 0}, {10, 9, 4, 0, 0, 0}, {5, 9, 4, 17, 0, 0}, {1, 1, UINT32_MAX, 9, 0, 0},
    {759, 1, 4, 900, 0, 0}, {1, 1025, 4, 900, 0, 0}};
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

TEST(raw, bitmaps)
{
    for (const raw_image &image : bitmaps)
        for (const geometry &g : all_shapes()) {
            const std::string file = image.file(g.bpp), name = g.height == 600 ? "pipe" : "in";
            const virtual_panel panel(g);
            canvas drawn(g);
            paint(drawn, image, file);
            panel.write("in", file);
            strings call = {"-b", name, formatted("-x%d", image.x), formatted("-y%d", image.y)};
            const run_result got = name == "in" ? panel.run(call) : panel.run_piped(call, {file});
            got.expect("0<PARTIAL 2 0>", drawn);
        }
}

TEST(raw, overlays) // drawn at the place of the options, then at that of the operands
{
    for (const raw_image &image : overlays)
        for (const geometry &g : all_shapes()) {
            const bool fits = image.width <= g.width && image.height <= g.height;
            const std::string told = fits ? "<FULL 2 0>" : "Bad image dimensions!\n<FULL 2 0>";
            const virtual_panel panel(g);
            canvas drawn(g);
            for (const auto &[x, y] : {std::pair(image.x, image.y), {0, 0}})
                if (fits)
                    overlay(drawn, g, image, image.file(g.bpp), x, y);
            panel.write("in", image.file(g.bpp));
            panel.run({"-o", "in", formatted("-x%d", image.x), formatted("-y%d", image.y)})
                .expect("0" + told + told, drawn);
        }
}

/// On a screen that has become smaller since it was opened. F is a full update, P a partial one.
TEST(raw, messages)
{
    const std::string image = plain_overlay.file(8), head = "cannot read image header\n";
    const std::string memory = "cannot allocate overlay buffer memory\n", twice = memory + memory;
    const std::string none = "cannot open \"none\"\n", unread = "11 bytes...";
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
        {"-o in", unread, "0" + head + head}, {"-o /dev/zero", "", "0" + twice},
        {"-o in", raw_image{65536, 65536, 8, 9, 0, 0}.file(8), "0" + twice},
        {"-o in", raw_image{3, 3, UINT32_MAX, 9, 0, 0}.file(8), "0" + twice},
        {"-b none", "", "1" + none + "P", "again; 0,0 50x50 partial"},
        {"-b /proc/self/mem", "", "0" + head + "P", "again; 0,0 50x50 partial"},
        {"-b in", unread, "0" + head + "P", "again; 0,0 50x50 partial"}};
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
        const std::string requests = rewritten(got.requests, {{"update |wave=2 ", ""}});
        EXPECT_EQ(rewritten(requests, {{"get-vscreeninfo", "again"}}), row.requests);
    }
}

/// What the plain decoder, as it is installed, makes of a file.
struct picture {
    explicit picture(const std::string &file) : path(file)
    {
        stbi_uc *const decoded = stbi_load(path.c_str(), &width, &height, &components, 0);
        reason = decoded ? "" : stbi_failure_reason();
        pixels.assign(decoded, decoded + (decoded ? width * height * components : 0));
        stbi_image_free(decoded);
    }
    /// Only whole bytes are stored; what lies left of x in the first one stays.
    void paint(canvas &c, int64_t x, int64_t y) const
    {
        const int64_t in_byte = 8 / c.shape.bpp,
                      right = std::min<int64_t>(c.shape.width, x + width);
        const stbi_uc *p = pixels.data();
        for (int64_t i = 0; i < width * height && x >= 0 && y >= 0; ++i, p += components)
            if (x + i % width < right / in_byte * in_byte && y + i / width < c.shape.height)
                c.set(int(x + i % width), int(y + i / width),
                      components < 3 ? p[0] : (p[0] + p[1] + p[2]) / 3);
    }
    std::string path, reason;
    int width = 0, height = 0, components = 0;
    std::vector<stbi_uc> pixels;
};

/// Checks -g at a place, and -t to a new file or over one that is longer than the screen.
void check(const geometry &g, const picture &p, int x, int y)
{
    const std::string old(x % 2 ? g.screen() + 9 : 0, 'x');
    const virtual_panel panel(g);
    canvas file(g), drawn(g);
    panel.write("new", old);
    panel.run({"-t", p.path, "new"}).expect("0", drawn);
    file.clear();
    p.paint(file, 0, 0);
    file.memory = file.memory.substr(0, g.screen()) + old.substr(old.empty() ? 0 : g.screen());
    EXPECT_EQ(file.difference(panel.read("new")), "") << p.path;
    p.paint(drawn, x, y);
    const strings shown = {"-g", p.path, formatted("-x%d", x), formatted("-y%d", y)};
    panel.run(shown).expect("0<PARTIAL 2 0>", drawn);
}

/// Components, name, and how ImageMagick makes the file of a picture with alpha.
// clang-format off
const std::string formats[] = {
    "1 gray.png -colorspace gray -alpha off -define png:color-type=0", "3 rgb.png -alpha off",
    "2 gray-alpha.png -colorspace gray -define png:color-type=4", "4 rgba.png -interlace PNG",
    "3 deep.png -alpha off -define png:bit-depth=16 -depth 16", "4 still.gif -alpha off",
    "3 palette.png -alpha off -colors 32", "1 gray.jpg -alpha off -colorspace gray",
    "3 colour.jpg -alpha off -sampling-factor 2x2", "3 progressive.jpg -alpha off -interlace JPEG",
    "3 rgb.bmp -alpha off", "3 rgb.hdr -alpha off", "4 rle.psd -alpha off -compress RLE",
    "4 rgba.tga -compress RLE", "1 gray.pgm -alpha off -colorspace gray",
    "3 big.ppm -alpha off -resize 900x1100!"};
// clang-format on

TEST(image, formats_and_places)
{
    const virtual_panel files(paper);
    std::string line = "convert -size 61x47 -seed 7 plasma: -depth 8 -alpha set -channel A "
                       "-evaluate multiply 0.5 +channel in.miff";
    for (const std::string &f : formats)
        line += rewritten(f, {{". (\\S+)(.*)", " && convert in.miff $2 $1"}});
    ASSERT_EQ(files.shell(line).status, 0) << files.read("err");
    for (const std::string &f : formats) {
        const picture p(files.folder + "/" + words(f)[1]);
        ASSERT_EQ(std::to_string(p.components), words(f)[0]) << f << p.reason;
        for (int bpp : {1, 2, 4, 8})
            check({70, 50, 72, 50, bpp}, p, 3, 2);
        for (const geometry &g : all_shapes())
            for (auto [x, y] : {std::pair(1, 0), {500, 8}, {757, 1000}, {0, -1}, {INT_MAX, 9}})
                if (f.ends_with("PNG") || (p.width > 61 && x == 1))
                    check(g, p, x, y);
    }
}

const std::string hdr = "#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y 9 +X 16\n\2\2\0\x10"s;
const std::string huffman = "\xFF\xD8\xFF\xC4\x10\x03\1";

/// A gray JPEG of two blocks with one Huffman code for the first coefficient.
std::string jpeg(const std::string &dc_value, const std::string &ac_table, const std::string &scan)
{
    return "\xFF\xD8\xFF\xDB\0\x43\0"s + std::string(64, '\1') +
           "\xFF\xC0\0\x0B\x8\0\x8\0\x10\1\1\x11\0\xFF\xC4\0\x14\0"s + std::string(15, '\0') +
           "\1" + dc_value + "\xFF\xC4" + ac_table + "\xFF\xDA\0\x8\1\1\0\0\x3F\0"s + scan +
           "\xFF\xD9";
}

TEST(image, refused)
{
    const std::string one_code = "\0\x14\x10\0\1"s + std::string(14, '\0') + "\7";
    const std::string all_codes =
        "\1\x13\x10\0\0\0\0\0\0\0\xFF\1"s + std::string(7, '\0') + std::string(256, '\0');
    const std::string flat = rewritten(hdr, {{"Y 9 \\+X 16\n.*", "Y 4000 +X 4000\n"}});
    const std::string png = "\x89PNG\r\n\x1A\n\0\0\0\rIHDR\0\1\x86\xA0\0\1\x86\xA0\x8\2\0\0\0CRC!"s;
    const struct {
        std::string path, content, reason; // "": the plain decoder's
    }
    // clang-format off
    rows[] = {
        {"none", "", ""}, {std::string(3000, 'n'), "", ""}, {"in", "", ""}, {".", "", ""},
        {"text", "no picture\n", ""}, {"in/none", "", ""}, {"/proc/self/mem", "", "unknown image type"},
        {"huge.png", png, ""}, {"cut.png", png.substr(0, 16), ""},
        {"wide.pgm", "P5 40000 1 255\n" + std::string(40000, 'x'), "too large"},
        {"wide.gif", "GIF89a\xFF\x3F\xFF\x3F" + std::string(40, '\0'), "outofmem"},
        {"jpg", huffman + std::string(5000, '\xFF'), "bad DHT header"},
        {"cut.jpg", huffman + std::string(16, '\xFF'), "bad DHT header"},
        {"dump.hdr", hdr + "\0\0"s, "corrupt"}, {"run.hdr", hdr + "\x80\x80", "corrupt"},
        {"bits.jpg", jpeg("\x0F", one_code, "\0\0\0\0"s), "bad huffman code"},
        {"code.jpg", jpeg("\0"s, all_codes, "\0\0\0\xFF\0\0\0\0\0\0"s), "bad huffman code"},
        {"empty.png",
         png.substr(0, 16) + "\0\0\0\1\0\0\0\1\x8\0\0\0\0CRC!\0\0\0\0IDATCRC!\0\0\0\0IENDCRC!"s,
         "no IDAT"},
        {"flat.hdr", flat + "\1\2\3\4", "corrupt"},
        {"cut.pic", "\x53\x80\xF6\x34" + std::string(84, '\0') +
            "PICT\0\x8\0\x8\0\0\0\0\0\0\0\0\0\x8\2\xE0"s, "bad file"}};
    // clang-format on
    for (const auto &[path, content, own_reason] : rows) {
        const virtual_panel panel({40, 30, 48, 30, 4});
        if (!content.empty())
            panel.write(path, content);
        const std::string plain =
            panel.folder + "/" + path; // not asked about what it does not survive
        const std::string reason = own_reason.empty() ? picture(plain).reason : own_reason;
        const std::string text = "> cannot open \"" + path + "\":" + reason + "\n";
        run_result got = panel.run({"-g", path});
        got.out = rewritten(got.out, {{"<.*>$", ""}});
        got.expect("1tavo: paint_image" + text, canvas(panel.shape));
        const run_result decoded = panel.run({"-t", path, "new"});
        decoded.expect("1tavo: decompress_image_to_file" + text, canvas(panel.shape));
        EXPECT_TRUE(std::filesystem::is_empty(panel.folder + "/new"));
    }
}

TEST(image, pipes_and_outputs)
{
    const virtual_panel panel({40, 30, 48, 30, 4});
    canvas drawn(panel.shape);
    const std::string told = "1tavo: decompress_image_to_file> ";
    panel.write("in", "P5 1 1 255\nx");
    panel.run({"-t", "in", "/dev/full"}).expect(told + "Error writing to file\n", drawn);
    panel.run({"-t", "none", "state"}).expect(told + "Cannot open output file state\n", drawn);
    drawn.memory[0] = '\x1E';
    const run_result got = panel.run_piped({"-g", "pipe"}, {"P5 2 1 255\n\x12\xEF"});
    got.expect("0<PARTIAL 2 0>", drawn);
    EXPECT_EQ(got.requests, "get-vscreeninfo; update 0,0 2x1 wave=2 partial");
}
} // namespace
