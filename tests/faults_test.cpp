// What the platform can do to a call: files that are read and written only in part, memory that is
// short, streams that take nothing, sizes that contradict themselves.
#include "run_case.h"

namespace {
const geometry screen = {64, 90, 64, 90, 8};

/// A screen's bytes, which are no header; a raw image of 8 x 2 pixels; a picture of 64 x 90.
const std::string dump(5760, '\x5A');
const std::string raw = std::string("\x08\0\0\0\x02\0\0\0\x08\0\0\0", 12) + "abcdefghijklmnop";
const std::string decoded(5760, '\x40');
const std::string pgm = "P5 64 90 255\n" + decoded;

painter bytes(size_t offset, const std::string &stored)
{
    return [=](canvas &c) { c.memory.replace(offset, stored.size(), stored); };
}

/// A call on that screen that finds the files.
run_case with_files(run_case c)
{
    c.screen = screen;
    c.given = {{"dump", dump}, {"raw", raw}, {"pgm", pgm}};
    return c;
}

const std::string refused_once = "fault update:1; update 0,0 WxH wave=2 full -> -1; "
                                 "sleep 500000; update 0,0 WxH wave=2 full; wait marker=42";

// clang-format off
const std::vector<run_case> cases = {
    // A header and pixels in two parts each, with a signal between.
    with_files({.args = "-b dump", .draws = bytes(0, dump), .requests =
                "fault short-read:1; fault eintr-read:2; fault short-read:3; "
                "get-vscreeninfo; update 0,0 WxH wave=2 partial"}),
    // A row in two parts, and one that cannot be read.
    with_files({.args = "-b raw", .draws = bytes(0, "abcdefgh"), .requests =
                "fault short-read:2; fault read:4; get-vscreeninfo; "
                "update 0,0 WxH wave=2 partial"}),
    // Once for the option, not for the operand: the overlay area begins 128 / 4 rows down.
    with_files({.args = "-o raw",
                .draws = in_order({bytes(32 * 64, "abcd"), bytes(32 * 64 + 32, "efgh")}),
                .requests = "get-vscreeninfo; update 0,0 8x2 wave=2 full; "
                "fault get-vscreeninfo:3; get-vscreeninfo -> -1", .out = update_line("FULL", 2) +
                "tavo: overlay_bitmap> cannot read screen info\n"}),
    with_files({.args = "-g pgm", .draws = bytes(0, decoded), .requests = "fault short-read:1; "
                "fault short-read:2; get-vscreeninfo; update 0,0 WxH wave=2 partial"}),
    with_files({.args = "-t pgm out", .requests = "fault calloc:1",
                .out = "tavo: decompress_image_to_file> Cannot alloc buffer for decompression\n",
                .status = 1}),
    with_files({.args = "-t pgm out", .requests = "fault short-write:1; fault short-write:2",
                .files = {{"out", decoded}}}),
    with_files({.args = "-t pgm out", .requests = "fault short-write:1; fault eintr-write:2",
                .out = "tavo: decompress_image_to_file> Error writing to file\n",
                .status = 1, .files = {{"out", decoded.substr(0, 2880)}}}),
    with_files({.args = "-i -kfb", .requests = "get-fscreeninfo; get-vscreeninfo; "
                "get-waveform-type; get-material-type; get-temperature; fault short-write:1; "
                "fault write:2", .out = anything,
                .files = {{"fb", canvas(screen).memory.substr(0, 2880), 0666}}}),
    // The driver gives what the screen claims to have.
    {.args = "-k wb", .requests = "get-work-buffer; fault short-write:1; fault write:2",
     .out = "write 2 byte @ADDRESS to wb\n", .files = {{"wb", "\r\r", 0666}},
     .settings = "size 65535x2\nvirtual 1x2\n", .screen = {1, 2, 1, 2, 8}},
    // Streams that take nothing: no request is lost.
    {.args = "-n 99 99 hi", .requests = "get-hold 1; set-hold 0; release-hold 0",
     .streams = "3<>../gone 1>../gone 2>&1 3>&-", .name = "message without readers"},
    {.args = "-s '' -f", .requests = refused_once, .streams = "1>/dev/full 2>&1",
     .name = "retry on a full disk"},
    {.args = "-s '' -f", .requests = refused_once, .streams = "3<>../gone 2>../gone 3>&-",
     .name = "retry without a reader"},
    {.args = "-n 99 99 hi", .requests = "get-hold 1; set-hold 0; release-hold 0", .screen = screen,
     .given = {{"full", std::string(9000, 'x')}},
     // The lines that run cannot be counted then, either.
     .environment = "GCOV_ERROR_FILE=/dev/null prlimit --fsize=9000 env", .streams = "1>>full",
     .name = "message into a file that may not grow"},
    // The 32-bit product of the virtual width and the depth wraps: lines of one byte, of no byte
    // and of 758 bytes, which is what is left of the screen.
    {.args = "-p", .draws = xor_pattern, .requests = "get-vscreeninfo; "
     "update 0,0 65535x119 wave=2 partial", .settings = "size 65535x119\nvirtual 2147483649x119\n",
     .screen = {1, 119, 1, 119, 8}},
    {.args = "-t pgm out", .files = {{"out", std::string(150, '\xFF')}},
     .settings = "size 64x300\nvirtual 2147483649x300\n", .screen = {1, 300, 1, 300, 4},
     .given = {{"pgm", pgm}}},
    {.args = "3 5 hello", .draws = text(3, 5, "hello"),
     .requests = "update 0,0 WxH wave=257 partial", .settings = "virtual 536871670x1024\n"},
    // The product with the height wraps: one line is left of 257.
    {.args = "-c", .draws = white, .requests = "get-vscreeninfo; update 0,0 64x257 wave=2 partial",
     .settings = "size 64x257\nvirtual 2097152x257\n", .screen = {64, 1, 2097152, 1, 8}},
};
// clang-format on
INSTANTIATE_TEST_SUITE_P(platform, tool, testing::ValuesIn(cases), name_of_case);
} // namespace
