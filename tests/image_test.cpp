// Image files: decoded, reduced to gray and packed; and files that are not what they say they are.
#include "image/hdr_gamma.h"
#include "panel_run.h"

#include <climits>
#include <cmath>

#define STB_IMAGE_STATIC
#define STB_IMAGE_IMPLEMENTATION
#define STBI_NO_SIMD // which the tool uses where it can
#include <stb/stb_image.h>

using namespace std::string_literals;

namespace {
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
        const int64_t in_byte = 8 / c.shape.bpp, end = std::min<int64_t>(c.shape.width, x + width);
        for (int64_t row = y; row < std::min<int64_t>(c.shape.height, y + height); ++row)
            for (int64_t column = x; x >= 0 && y >= 0 && column < end / in_byte * in_byte;
                 ++column) {
                const stbi_uc *p = &pixels[size_t(((row - y) * width + column - x) * components)];
                c.set(int(column), int(row), components < 3 ? p[0] : (p[0] + p[1] + p[2]) / 3);
            }
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
    panel.run({"-g", p.path, formatted("-x%d", x), formatted("-y%d", y)})
        .expect("0<PARTIAL 2 0>", drawn);
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

/// A folder with a picture in every format.
struct studio : virtual_panel {
    studio() : virtual_panel(paper)
    {
        std::string line = "convert -size 61x47 -seed 7 plasma: -depth 8 -alpha set -channel A "
                           "-evaluate multiply 0.5 +channel in.miff";
        for (const std::string &f : formats)
            line += rewritten(f, {{". (\\S+)(.*)", " && convert in.miff $2 $1"}});
        EXPECT_EQ(shell(line).status, 0) << read("err");
    }
};

TEST(image, formats_and_places)
{
    const studio files;
    for (const std::string &f : formats) {
        const picture p(files.folder + "/" + words(f)[1]);
        ASSERT_EQ(std::to_string(p.components), words(f)[0]) << f << p.reason;
        for (int bpp : {1, 2, 4, 8})
            check({70, 50, 72, 50, bpp}, p, 3, 2);
        for (const geometry &g : f.ends_with("PNG") ? all_shapes() : std::vector<geometry>())
            for (auto [x, y] : {std::pair(1, 0), {500, 8}, {757, 1000}, {0, -1}, {INT_MAX, 9}})
                check(g, p, x, y);
        for (const geometry &g : p.width > 61 ? all_shapes() : std::vector<geometry>())
            check(g, p, 1, 0);
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
        {"none", "", ""}, {"in", "", ""}, {"text", "no picture\n", ""}, {".", "", ""},
        {"in/none", "", ""}, {"/proc/self/mem", "", ""}, {"huge.png", png, ""},
        {"cut.png", png.substr(0, 16), ""},
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
        // The plain decoder is not asked about what it does not survive.
        const auto place = std::filesystem::path(panel.folder + "/x").replace_filename(path);
        const std::string reason = own_reason.empty() ? picture(place).reason : own_reason;
        const std::string text = "> cannot open \"" + path + "\":" + reason + "\n";
        run_result got = panel.run({"-g", path});
        got.out = rewritten(got.out, {{"<.*>$", ""}});
        got.expect("1tavo: paint_image" + text, canvas(panel.shape));
        panel.run({"-t", path, "new"})
            .expect("1tavo: decompress_image_to_file" + text, canvas(panel.shape));
        EXPECT_TRUE(std::filesystem::is_empty(panel.folder + "/new"));
    }
}

/// A damaged file may still give a picture; what counts is that the end is near and clean, and that
/// what was never in the file is the same on every run.
TEST(image, damaged)
{
    const studio files;
    std::vector<std::string> all = {"\xFF\xD8\xFF\xC0\0\x0B\x8\0\x8\0\x8\1\1\x11\0\xFF\xDA\0\x8\1\1"
                                    "\0\0\x3F\0\xA5\x5A\xA5\x5A\xA5\xFF\xD9"s}; // without tables
    for (const std::string &f : formats)
        for (const std::string whole = files.read(words(f)[1]); size_t tenths : {1u, 3u, 5u, 9u})
            all.push_back(whole.substr(0, whole.size() * tenths / 10));
    const std::string rows = "\x90\x20\x90\x30\x10zyxwvutsrqponmlk\x8F\x80\1\x81\2\2\0\x10\x90"s;
    for (size_t size = 0; size < rows.size(); size += 2)
        all.push_back(hdr + rows.substr(0, size));
    for (const std::string &content : all) {
        const virtual_panel panel({40, 30, 48, 30, 4});
        panel.write("in", content);
        const run_result got = panel.run({"-g", "in"}), again = panel.run({"-g", "in"});
        EXPECT_EQ(got.out.starts_with("tavo: paint_image> cannot open \"in\":"), got.status == 1);
        EXPECT_TRUE(got.memory == (got.status ? canvas(panel.shape).memory : again.memory));
        EXPECT_EQ(got.err, "");
    }
}

TEST(image, pipes_and_outputs)
{
    const virtual_panel panel({40, 30, 48, 30, 4});
    canvas drawn(panel.shape);
    panel.write("in", "P5 1 1 255\nx");
    panel.run({"-t", "in", "/dev/full"})
        .expect("1tavo: decompress_image_to_file> Error writing to file\n", drawn);
    panel.run({"-t", "none", "state"})
        .expect("1tavo: decompress_image_to_file> Cannot open output file state\n", drawn);
    drawn.memory[0] = '\x1E';
    const run_result got = panel.run_piped({"-g", "pipe"}, {"P5 2 1 255\n\x12\xEF"});
    got.expect("0<PARTIAL 2 0>", drawn);
    EXPECT_EQ(got.requests, "get-vscreeninfo; update 0,0 2x1 wave=2 partial");
}

TEST(image, gamma_is_that_of_powf_for_every_radiance_value)
{
    const auto level = [](float fraction) { return int(std::min(fraction * 255 + 0.5f, 255.0f)); };
    for (int i = 256; i < 65536; ++i) { // exponent and mantissa
        const float value = std::ldexp(float(i & 255), i / 256 - 136);
        ASSERT_EQ(level(hdr_gamma(value)), level(std::pow(value, 1 / 2.2f))) << value;
    }
}
} // namespace
