// What libc refuses: files that cannot be read or written, or only in part, and memory. That each
// fault has happened shows in the requests.
#include "run_case.h"

namespace {
const geometry screen = {64, 60, 64, 60, 8};

/// A screen's bytes, which are no header; a raw image of 8 x 2 pixels; a picture of 64 x 2.
const std::string dump(3840, '\x5A');
const std::string raw = std::string("\x08\0\0\0\x02\0\0\0\x08\0\0\0", 12) + "abcdefghijklmnop";
const std::string pgm = "P5 64 2 255\n" + std::string(128, '\x40');
const std::string decoded = std::string(128, '\x40') + std::string(3840 - 128, '\xFF');

painter bytes(size_t offset, const std::string &stored)
{
    return [=](canvas &c) { c.memory.replace(offset, stored.size(), stored); };
}
/// The overlay area begins 128 / 4 rows down.
const painter overlaid = in_order({bytes(32 * 64, "abcd"), bytes(32 * 64 + 32, "efgh")});

/// A call on that screen that finds the files.
run_case with_files(run_case c)
{
    c.screen = screen;
    c.given = {{"dump", dump}, {"raw", raw}, {"pgm", pgm}};
    return c;
}

// clang-format off
const run_case reads[] = {
    with_files({.args = "-b dump",
                .requests = "fault read:1; get-vscreeninfo; update 0,0 WxH wave=2 partial",
                .out = "tavo: paint_bitmap> cannot read image header\n"}),
    with_files({.args = "-b dump", .draws = bytes(0, dump.substr(0, 12)),
                .requests = "fault read:2; get-vscreeninfo; update 0,0 WxH wave=2 partial"}),
    with_files({.args = "-b dump", .draws = bytes(0, dump),
                .requests = "fault short-read:1; get-vscreeninfo; update 0,0 WxH wave=2 partial"}),
    with_files({.args = "-b dump", .draws = bytes(0, dump),
                .requests = "fault short-read:2; fault short-read:3; "
                "get-vscreeninfo; update 0,0 WxH wave=2 partial"}),
    with_files({.args = "-b dump", .draws = bytes(0, dump),
                .requests = "fault eintr-read:1; fault eintr-read:2; "
                "get-vscreeninfo; update 0,0 WxH wave=2 partial"}),
    with_files({.args = "-b raw", .draws = bytes(0, "abcdefgh"),
                .requests = "fault read:3; get-vscreeninfo; update 0,0 WxH wave=2 partial"}),
    with_files({.args = "-b raw", .draws = in_order({bytes(0, "abcdefgh"), bytes(64, "ijklmnop")}),
                .requests = "fault short-read:2; get-vscreeninfo; update 0,0 WxH wave=2 partial"}),
    with_files({.args = "-o raw", .draws = overlaid,
                .requests = "fault read:1; get-vscreeninfo; update 0,0 8x2 wave=2 full",
                .out = "tavo: overlay_bitmap> cannot read image header\n"}),
    with_files({.args = "-o raw", .draws = overlaid, .requests = "get-vscreeninfo; "
                "fault short-read:2; update 0,0 8x2 wave=2 full; "
                "get-vscreeninfo; update 0,0 8x2 wave=2 full"}),
    with_files({.args = "-o raw", .draws = overlaid, .requests = "fault get-vscreeninfo:2; "
                "get-vscreeninfo -> -1; get-vscreeninfo; update 0,0 8x2 wave=2 full",
                .out = "tavo: overlay_bitmap> cannot read screen info\n"}),
    with_files({.args = "-g pgm",
                .requests = "fault read:1; get-vscreeninfo; update 0,0 WxH wave=2 partial",
                .out = "tavo: paint_image> cannot open \"pgm\":unknown image type\n", .status = 1}),
    with_files({.args = "-g pgm", .draws = bytes(0, pgm.substr(12)),
                .requests = "fault short-read:1; get-vscreeninfo; update 0,0 64x2 wave=2 partial"}),
    with_files({.args = "-g pgm", .draws = bytes(0, pgm.substr(12)),
                .requests = "fault eintr-read:1; get-vscreeninfo; update 0,0 64x2 wave=2 partial"}),
    with_files({.args = "-g pgm", .requests = "fault calloc:1; fault calloc:2; get-vscreeninfo; "
                "update 0,0 WxH wave=2 partial",
                .out = "tavo: paint_image> cannot open \"pgm\":outofmem\n", .status = 1}),
};

const std::string not_written = "tavo: decompress_image_to_file> Error writing to file\n";
const geometry two_pixels = {1, 2, 1, 2, 8};
const run_case writes[] = {
    with_files({.args = "-t pgm out", .files = {{"out", decoded}}}),
    with_files({.args = "-t pgm out", .requests = "fault calloc:1",
                .out = "tavo: decompress_image_to_file> Cannot alloc buffer for decompression\n",
                .status = 1}),
    with_files({.args = "-t pgm out", .requests = "fault calloc:2; fault calloc:3",
                .out = "tavo: decompress_image_to_file> cannot open \"pgm\":outofmem\n",
                .status = 1, .files = {{"out", ""}}}),
    with_files({.args = "-t pgm out", .requests = "fault write:1", .out = not_written,
                .status = 1, .files = {{"out", ""}}}),
    with_files({.args = "-t pgm out", .requests = "fault short-write:1; fault write:2",
                .out = not_written, .status = 1, .files = {{"out", decoded.substr(0, 1920)}}}),
    with_files({.args = "-t pgm out", .requests = "fault short-write:1; fault short-write:2",
                .files = {{"out", decoded}}}),
    with_files({.args = "-t pgm out", .requests = "fault eintr-write:1", .out = not_written,
                .status = 1, .files = {{"out", ""}}}),
    with_files({.args = "-t pgm out", .requests = "fault read:1", .out = "tavo: "
                "decompress_image_to_file> cannot open \"pgm\":unknown image type\n", .status = 1,
                .files = {{"out", ""}}}),
    with_files({.args = "-t pgm /dev/full", .out = not_written, .status = 1}),
    with_files({.args = "-i -kfb", .requests = "get-fscreeninfo; get-vscreeninfo; "
                "get-waveform-type; get-material-type; get-temperature; fault short-write:1; "
                "fault write:2", .out = anything,
                .files = {{"fb", canvas(screen).memory.substr(0, 1920), 0666}}}),
    {.args = "-k wb", .requests = "get-work-buffer; fault write:1",
     .out = "write 0 byte @ADDRESS to wb\n", .files = {{"wb", "", 0666}}, .screen = two_pixels},
    {.args = "-k wb", .requests = "get-work-buffer; fault short-write:1; fault write:2",
     .out = "write 2 byte @ADDRESS to wb\n", .files = {{"wb", "\r\r", 0666}},
     .screen = two_pixels},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(reads, tool, testing::ValuesIn(reads), name_of_case);
INSTANTIATE_TEST_SUITE_P(writes, tool, testing::ValuesIn(writes), name_of_case);
} // namespace
