// Files of a few bytes that ask for much memory or time, or for unprintable text: each is refused
// with a reason, the screen stays, and what the call costs is bounded.
#include "run_case.h"

#include <sys/resource.h>

using namespace std::string_literals;

namespace {
const geometry small = {64, 60, 64, 60, 8};

struct refused_file {
    const char *name;
    std::string content, reason;
};
void PrintTo(const refused_file &row, std::ostream *out)
{
    *out << row.name;
}

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

std::string chunk(const std::string &kind, const std::string &content = "")
{
    return "\0\0"s + big_endian(unsigned(content.size())) + kind + content + "CRC!";
}

std::string png(unsigned side, const std::string &chunks)
{
    const std::string size = "\0\0"s + big_endian(side);
    return "\x89PNG\r\n\x1A\n" + chunk("IHDR", size + size + "\x08\0\0\0\0"s) + chunks;
}

const std::string tga_runs = "\0\0\x0B\0\0\0\0\0\0\0\0\0\0\x50\0\x50\x08\0"s; // 20480 x 20480
const std::string bmp = "BM\0\0\0\0\0\0\0\0\x36\0\0\0\x28\0\0\0\0\x20\0\0\0\x20\0\0\1\0\x18\0"s +
                        std::string(24, '\0'); // 8192 x 8192, 24 bits
const std::string psd = "8BPS\0\1\0\0\0\0\0\0\0\4\0\0\x20\0\0\0\x20\0\0\x08\0\3"s;
const std::string pic =
    "\x53\x80\xF6\x34" + std::string(84, '\0') + "PICT\0\2\0\2\0\0\0\0\0\0\0\0"s;

const refused_file rows[] = {
    {"jpeg_memory", progressive_jpeg(9456, 4), "outofmem"},
    {"jpeg_scans", progressive_jpeg(8000, 1) + ac_scans(100, first_bits), "too many scans"},
#if defined NDEBUG && !defined __arm__ // elsewhere it takes too long
    {"jpeg_refined", progressive_jpeg(8000, 1) + ac_scans(100, refined), "too many scans"},
#endif
    {"png_no_reason", png(1, chunk("IDAT", "\x78\x9C\7") + chunk("IEND")), "corrupt"},
    {"png_memory", png(23200, chunk("IDAT", "\x78\x9C") + chunk("IEND")), "outofmem"},
    {"png_chunk_name", png(1, chunk("\x1B[2\xE4")), "?[2? PNG chunk not known"},
    {"gif_memory", "GIF89a\xFF\x7F\xFF\x7F\0\0\0,\0\0\0\0\1\0\1\0\0\2"s, "too large"},
    {"tga_ends", tga_runs, "file too short"},
    {"bmp_ends", bmp, "file too short"},
    {"psd_ends", psd + std::string(12, '\0') + "\0\0"s, "file too short"},
    {"psd_runs_end", psd + std::string(12, '\0') + "\0\1"s, "corrupt"},
    {"pic_channel_twice", pic + "\1\x08\2\xE0\0\x08\2\x20" + std::string(20, '\x81'), "bad format"},
    {"hdr_ends", "#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y 6000 +X 6000\nabcd", "corrupt"},
};

double processor_seconds(const rusage &used)
{
    return double(used.ru_utime.tv_sec + used.ru_stime.tv_sec) +
           double(used.ru_utime.tv_usec + used.ru_stime.tv_usec) / 1e6;
}

class decoder_budget : public testing::TestWithParam<refused_file> {};

TEST_P(decoder_budget, refused)
{
    const refused_file &file = GetParam();
    const std::string cannot = "> cannot open \"in\":" + file.reason + "\n";
    rusage before{}, after{};
    getrusage(RUSAGE_CHILDREN, &before);
    check({.args = "-g in",
           .requests = "get-vscreeninfo; update 0,0 64x60 wave=2 partial",
           .out = "tavo: paint_image" + cannot + update_line("PARTIAL", 2),
           .status = 1,
           .screen = small,
           .given = {{"in", file.content}}});
    getrusage(RUSAGE_CHILDREN, &after);
#ifdef NDEBUG // the release build
    if (std::string(TAVO_EMULATOR).empty()) {
        EXPECT_LT(processor_seconds(after) - processor_seconds(before), 2);
        EXPECT_LT(after.ru_maxrss, 560'000'000 / 1024); // of any call so far
    }
#endif
    check({.args = "-t in out",
           .out = "tavo: decompress_image_to_file" + cannot,
           .status = 1,
           .files = {{"out", ""}},
           .screen = small,
           .given = {{"in", file.content}}});
}
INSTANTIATE_TEST_SUITE_P(files, decoder_budget, testing::ValuesIn(rows),
                         [](const auto &row) { return std::string(row.param.name); });

/// A small picture may have any number of scans.
TEST(decoder_budget, many_scans_of_a_small_picture)
{
    const std::string dc = segment('\xDA', "\1\1\0\0\0\0"s) + "\0\0\0"s;
    const std::string file = progressive_jpeg(8, 1) + dc + ac_scans(1000, refined) + "\xFF\xD9";
    check({.args = "-g in",
           .draws = rectangle(0, 0, 8, 8, 128),
           .requests = "get-vscreeninfo; update 0,0 8x8 wave=2 partial",
           .out = update_line("PARTIAL", 2),
           .screen = small,
           .given = {{"in", file}}});
}
} // namespace
