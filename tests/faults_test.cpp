// What libc refuses: files that cannot be read or written, or only in part, and memory. That each
// fault has happened shows in the requests.
#include "run_case.h"

namespace {
const geometry small = {64, 60, 64, 60, 8};
const std::string partial_gc16 = update_line("PARTIAL", 2), full_gc16 = update_line("FULL", 2);
const std::string shown = "get-vscreeninfo; update 0,0 64x60 wave=2 partial";
const std::string unread = "tavo: paint_bitmap> cannot read image header\n";

/// A screen's bytes, which are no header; a raw image of 8 x 2 pixels; a picture of 64 x 2.
const test_file dump = {"dump", std::string(3840, '\x5A')};
const test_file raw = {"raw",
                       std::string("\x08\0\0\0\x02\0\0\0\x08\0\0\0", 12) + "abcdefghijklmnop"};
const test_file pgm = {"pgm", "P5 64 2 255\n" + std::string(128, '\x40')};
const std::string decoded = std::string(128, '\x40') + std::string(3840 - 128, '\xFF');

painter bytes(size_t offset, const std::string &stored)
{
    return [=](canvas &c) { c.memory.replace(offset, stored.size(), stored); };
}
const painter dumped = bytes(0, dump.content), header_of_dump = bytes(0, std::string(12, '\x5A'));
const painter raw_rows = in_order({bytes(0, "abcdefgh"), bytes(64, "ijklmnop")});
const painter pgm_rows = bytes(0, std::string(128, '\x40'));

/// The overlay area begins 128 / 4 rows down.
const painter overlaid = in_order({bytes(32 * 64, "abcd"), bytes(32 * 64 + 32, "efgh")});
const std::string overlay = "get-vscreeninfo; update 0,0 8x2 wave=2 full";

// clang-format off
const run_case reads[] = {
    {.args = "-b dump", .requests = "fault read:1; " + shown, .out = unread + partial_gc16, .screen = small, .given = {dump}},
    {.args = "-b dump", .draws = header_of_dump, .requests = "fault read:2; " + shown,
     .out = partial_gc16, .screen = small, .given = {dump}},
    {.args = "-b dump", .draws = dumped, .requests = "fault short-read:1; " + shown,
     .out = partial_gc16, .screen = small, .given = {dump}},
    {.args = "-b dump", .draws = dumped,
     .requests = "fault short-read:2; fault short-read:3; " + shown, .out = partial_gc16, .screen = small, .given = {dump}},
    {.args = "-b dump", .draws = dumped,
     .requests = "fault eintr-read:1; fault eintr-read:2; " + shown, .out = partial_gc16, .screen = small, .given = {dump}},
    {.args = "-b raw", .draws = bytes(0, "abcdefgh"), .requests = "fault read:3; " + shown,
     .out = partial_gc16, .screen = small, .given = {raw}},
    {.args = "-b raw", .draws = raw_rows, .requests = "fault short-read:2; " + shown,
     .out = partial_gc16, .screen = small, .given = {raw}},
    {.args = "-o raw", .draws = overlaid, .requests = "fault read:1; " + overlay,
     .out = "tavo: overlay_bitmap> cannot read image header\n" + full_gc16,
     .screen = small, .given = {raw}},
    {.args = "-o raw", .draws = overlaid,
     .requests = "get-vscreeninfo; fault short-read:2; update 0,0 8x2 wave=2 full; " + overlay,
     .out = full_gc16 + full_gc16, .screen = small, .given = {raw}},
    {.args = "-o raw", .draws = overlaid, .requests = "fault get-vscreeninfo:2; "
     "get-vscreeninfo -> -1; " + overlay, .out = "tavo: overlay_bitmap> cannot read screen info\n" +
     full_gc16, .screen = small, .given = {raw}},
    {.args = "-g pgm", .requests = "fault read:1; " + shown,
     .out = "tavo: paint_image> cannot open \"pgm\":unknown image type\n" + partial_gc16,
     .status = 1, .screen = small, .given = {pgm}},
    {.args = "-g pgm", .draws = pgm_rows, .requests = "fault short-read:1; "
     "get-vscreeninfo; update 0,0 64x2 wave=2 partial", .out = partial_gc16, .screen = small, .given = {pgm}},
    {.args = "-g pgm", .draws = pgm_rows, .requests = "fault eintr-read:1; "
     "get-vscreeninfo; update 0,0 64x2 wave=2 partial", .out = partial_gc16, .screen = small, .given = {pgm}},
    {.args = "-g pgm", .requests = "fault calloc:1; fault calloc:2; " + shown,
     .out = "tavo: paint_image> cannot open \"pgm\":outofmem\n" + partial_gc16, .status = 1, .screen = small, .given = {pgm}},
};

const run_case writes[] = {
    {.args = "-t pgm out", .files = {{"out", decoded, 0644}}, .screen = small, .given = {pgm}},
    {.args = "-t pgm out", .requests = "fault calloc:1",
     .out = "tavo: decompress_image_to_file> Cannot alloc buffer for decompression\n", .status = 1, .screen = small, .given = {pgm}},
    {.args = "-t pgm out", .requests = "fault calloc:2; fault calloc:3",
     .out = "tavo: decompress_image_to_file> cannot open \"pgm\":outofmem\n", .status = 1,
     .files = {{"out", "", 0644}}, .screen = small, .given = {pgm}},
    {.args = "-t pgm out", .requests = "fault write:1",
     .out = "tavo: decompress_image_to_file> Error writing to file\n", .status = 1,
     .files = {{"out", "", 0644}}, .screen = small, .given = {pgm}},
    {.args = "-t pgm out", .requests = "fault short-write:1; fault write:2",
     .out = "tavo: decompress_image_to_file> Error writing to file\n", .status = 1,
     .files = {{"out", decoded.substr(0, 1920), 0644}},
     .screen = small, .given = {pgm}},
    {.args = "-t pgm out", .requests = "fault short-write:1; fault short-write:2",
     .files = {{"out", decoded, 0644}}, .screen = small,
     .given = {pgm}},
    {.args = "-t pgm out", .requests = "fault eintr-write:1",
     .out = "tavo: decompress_image_to_file> Error writing to file\n", .status = 1,
     .files = {{"out", "", 0644}}, .screen = small, .given = {pgm}},
    {.args = "-t pgm out", .requests = "fault read:1", .out = "tavo: decompress_image_to_file> "
     "cannot open \"pgm\":unknown image type\n", .status = 1, .files = {{"out", "", 0644}}, .screen = small, .given = {pgm}},
    {.args = "-t pgm /dev/full",
     .out = "tavo: decompress_image_to_file> Error writing to file\n", .status = 1,
     .screen = small, .given = {pgm}},
    {.args = "-i -kfb", .requests = "get-fscreeninfo; get-vscreeninfo; get-waveform-type; "
     "get-material-type; get-temperature; fault short-write:1; fault write:2", .out = anything,
     .files = {{"fb", canvas(small).memory.substr(0, 1920), 0666}}, .screen = small},
    {.args = "-k wb", .requests = "get-work-buffer; fault write:1",
     .out = "write 0 byte @ADDRESS to wb\n", .files = {{"wb", "", 0666}},
     .screen = {1, 2, 1, 2, 8}},
    {.args = "-k wb", .requests = "get-work-buffer; fault short-write:1; fault write:2",
     .out = "write 2 byte @ADDRESS to wb\n", .files = {{"wb", "\r\r", 0666}}, .screen = {1, 2, 1, 2, 8}},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(reads, tool, testing::ValuesIn(reads), name_of_case);
INSTANTIATE_TEST_SUITE_P(writes, tool, testing::ValuesIn(writes), name_of_case);
} // namespace
