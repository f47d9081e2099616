// Files that are no pictures, or that ask for much memory or time: each is refused with a reason,
// the screen stays, and what the call costs is bounded.
#include "run_case.h"

#include <sys/resource.h>

using namespace std::string_literals;

struct refused_file {
    shell_words args; // its name
    std::string content, reason;
};
void PrintTo(const refused_file &row, std::ostream *out)
{
    *out << row.args.text;
}

namespace {
std::string big_endian(unsigned value)
{
    return {char(value >> 8), char(value)};
}

std::string segment(char marker, const std::string &content)
{
    return "\xFF"s + marker + big_endian(unsigned(content.size()) + 2) + content;
}

/// Up to its first scan. In both tables the bit 0 is the only code: a DC coefficient as the one
/// before, or the end of 16384 blocks. Bits that the file does not have read as 0.
std::string progressive_jpeg(unsigned side, int components)
{
    std::string frame = "\x08" + big_endian(side) + big_endian(side) + char(components);
    for (char id = 1; id <= components; ++id)
        frame += id + "\x11\0"s;
    const std::string one_code = "\1" + std::string(15, '\0');
    return "\xFF\xD8" + segment('\xDB', std::string(1, '\0') + std::string(64, '\1')) +
           segment('\xC2', frame) + segment('\xC4', "\0"s + one_code + "\0"s) +
           segment('\xC4', "\x10" + one_code + "\xE0");
}

/// Scans of every coefficient of the first component, which stays as it is.
std::string ac_scans(int count, char precision)
{
    std::string scans;
    for (int i = 0; i < count; ++i)
        scans += segment('\xDA', "\1\1\0\1\x3F"s + precision) + "\0\0\0"s;
    return scans;
}
constexpr char first_bits = '\x01', refined = '\x10'; // a refined block is looked at whole
const std::string dc_scan = segment('\xDA', "\1\1\0\0\0\0"s) + "\0\0\0"s;

/// A gray JPEG of two blocks with one Huffman code, of 16 bits, for the first coefficient.
std::string two_blocks(const std::string &dc, const std::string &ac_table, const std::string &scan)
{
    return "\xFF\xD8" + segment('\xDB', std::string(1, '\0') + std::string(64, '\1')) +
           segment('\xC0', "\x8\0\x8\0\x10\1\1\x11\0"s) +
           segment('\xC4', std::string(16, '\0') + "\1" + dc) + segment('\xC4', ac_table) +
           segment('\xDA', "\1\1\0\0\x3F\0"s) + scan + "\xFF\xD9";
}
const std::string one_code = "\x10\0\1"s + std::string(14, '\0') + "\7";
const std::string all_codes =
    "\x10\0\0\0\0\0\0\0\xFF\1"s + std::string(7, '\0') + std::string(256, '\0');

std::string chunk(const std::string &kind, const std::string &content = "")
{
    return "\0\0"s + big_endian(unsigned(content.size())) + kind + content + "CRC!";
}

std::string png(unsigned side, const std::string &chunks)
{
    const std::string size = "\0\0"s + big_endian(side);
    return "\x89PNG\r\n\x1A\n" + chunk("IHDR", size + size + "\x08\0\0\0\0"s) + chunks;
}

const std::string hdr = "#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n";
const std::string huffman = "\xFF\xD8\xFF\xC4\x10\x03\1";
const std::string tga_runs = "\0\0\x0B\0\0\0\0\0\0\0\0\0\0\x50\0\x50\x08\0"s; // 20480 x 20480
const std::string bmp = "BM\0\0\0\0\0\0\0\0\x36\0\0\0\x28\0\0\0\0\x20\0\0\0\x20\0\0\1\0\x18\0"s +
                        std::string(24, '\0'); // 8192 x 8192, 24 bits
const std::string psd = "8BPS\0\1\0\0\0\0\0\0\0\4\0\0\x20\0\0\0\x20\0\0\x08\0\3"s;
const std::string pic = "\x53\x80\xF6\x34" + std::string(84, '\0') + "PICT"s;

// clang-format off
const refused_file rows[] = {
    {"none", "", "can't fopen"}, {std::string(3000, 'n'), "", "can't fopen"},
    {".", "", "unknown image type"}, {"/proc/self/mem", "", "unknown image type"},
    {"text", "no picture\n", "unknown image type"},
    // Memory.
    {"memory.jpg", progressive_jpeg(9456, 4), "outofmem"},
    {"memory.png", png(23200, chunk("IDAT", "\x78\x9C") + chunk("IEND")), "outofmem"},
    {"memory.gif", "GIF89a\xFF\x3F\xFF\x3F" + std::string(40, '\0'), "outofmem"},
    {"large.gif", "GIF89a\xFF\x7F\xFF\x7F\0\0\0,\0\0\0\0\1\0\1\0\0\2"s, "too large"},
    {"wide.pgm", "P5 40000 1 255\n" + std::string(40000, 'x'), "too large"},
    // Time.
    {"scans.jpg", progressive_jpeg(8000, 1) + ac_scans(100, first_bits), "too many scans"},
#if defined NDEBUG && !defined __arm__ // elsewhere it takes too long
    {"refined.jpg", progressive_jpeg(8000, 1) + ac_scans(100, refined), "too many scans"},
#endif
    // Reasons that the decoder does not give, or gives with any bytes in them.
    {"reason.png", png(1, chunk("IDAT", "\x78\x9C\7") + chunk("IEND")), "corrupt"},
    {"chunk.png", png(1, chunk("\x1B[2\xE4")), "?[2? PNG chunk not known"},
    // Files that end early or contradict themselves.
    {"empty.png", png(1, chunk("IDAT") + chunk("IEND")), "no IDAT"},
    {"table.jpg", huffman + std::string(5000, '\xFF'), "bad DHT header"},
    {"ends.jpg", huffman + std::string(16, '\xFF'), "bad DHT header"},
    {"bits.jpg", two_blocks("\x0F", one_code, "\0\0\0\0"s), "bad huffman code"},
    {"code.jpg", two_blocks("\0"s, all_codes, "\0\0\0\xFF\0\0\0\0\0\0"s), "bad huffman code"},
    {"ends.tga", tga_runs, "file too short"}, {"ends.bmp", bmp, "file too short"},
    {"ends.psd", psd + std::string(14, '\0'), "file too short"},
    {"runs.psd", psd + std::string(13, '\0') + "\1", "corrupt"},
    {"ends.pic", pic + "\0\x8\0\x8\0\0\0\0\0\0\0\0\0\x8\2\xE0"s, "bad file"},
    {"twice.pic", pic + "\0\2\0\2\0\0\0\0\0\0\0\0\1\x08\2\xE0\0\x08\2\x20"s + std::string(20, '\x81'), "bad format"},
    {"ends.hdr", hdr + "-Y 6000 +X 6000\nabcd", "corrupt"},
    {"dump.hdr", hdr + "-Y 9 +X 16\n\2\2\0\x10\0\0"s, "corrupt"},
    {"run.hdr", hdr + "-Y 9 +X 16\n\2\2\0\x10\x80\x80"s, "corrupt"},
};
// clang-format on

double processor_seconds(const rusage &used)
{
    return double(used.ru_utime.tv_sec + used.ru_stime.tv_sec) +
           double(used.ru_utime.tv_usec + used.ru_stime.tv_usec) / 1e6;
}

class refused_picture : public testing::TestWithParam<refused_file> {};
TEST_P(refused_picture, is_said_why)
{
    const auto &[args, content, reason] = GetParam();
    const std::string text = "> cannot open \"" + args.text + "\":" + reason + "\n";
    const geometry g = {40, 30, 48, 30, 4};
    std::vector<test_file> given;
    if (!content.empty())
        given = {{args.text, content}};
    rusage before{}, after{};
    getrusage(RUSAGE_CHILDREN, &before);
    check({.args = {"-g " + args.text, args.file, args.line},
           .draws =
               [&](canvas &c) {
                   c.out = "tavo: paint_image" + text;
                   c.finish();
               },
           .status = 1,
           .screen = g,
           .given = given});
    getrusage(RUSAGE_CHILDREN, &after);
#ifdef NDEBUG // the release build
    if (std::string(TAVO_EMULATOR).empty()) {
        EXPECT_LT(processor_seconds(after) - processor_seconds(before), 2);
        EXPECT_LT(after.ru_maxrss, 560'000'000 / 1024); // of any call so far
    }
#endif
    check({.args = {"-t " + args.text + " new", args.file, args.line},
           .out = "tavo: decompress_image_to_file" + text,
           .status = 1,
           .files = {{"new", "", 0644}},
           .screen = g,
           .given = given});
}
INSTANTIATE_TEST_SUITE_P(files, refused_picture, testing::ValuesIn(rows), [](const auto &row) {
    return test_name(row.param.args.text.substr(0, 20) + formatted(" %zu", row.index));
});

/// A small picture may have any number of scans.
TEST(progressive_jpeg, takes_many_scans_of_a_small_picture)
{
    const auto draw = [](canvas &c) {
        rectangle(0, 0, 8, 8, 128)(c);
        c.finish(0, 0, 8, 8);
    };
    const std::string scans = dc_scan + ac_scans(1000, refined) + "\xFF\xD9";
    check({.args = "-g in", .draws = draw, .given = {{"in", progressive_jpeg(8, 1) + scans}}});
}
} // namespace
