// What the platform can do to a call: streams that take nothing, sizes that contradict themselves.
#include "run_case.h"

namespace {
const geometry small = {300, 130, 300, 130, 8};
/// What the panel keeps of the first 119 pixels of a line that goes on over all of its bytes.
const std::string working_buffer = [] {
    std::string bytes;
    for (const char byte : canvas({1, 119, 1, 119, 8}).memory)
        bytes += std::string(2, byte);
    return bytes;
}();
const std::string unread = "3<>../gone 1>../gone 2>&1 3>&-"; // nobody reads
const std::string unread_out = "3<>../gone 1>../gone 3>&-";
const std::string unread_err = "3<>../gone 2>../gone 3>&-";
const std::string refused_once = "fault update:1; update 0,0 758x1024 wave=2 full -> -1; "
                                 "sleep 500000; update 0,0 758x1024 wave=2 full; wait marker=42";

// clang-format off
const run_case streams[] = {
    {.args = "-n 99 99 hi", .requests = "get-hold 1; set-hold 0; release-hold 0",
     .streams = unread, .name = "message without readers"},
    {.args = "-n 99 99 hi", .requests = "get-hold 1; set-hold 0; release-hold 0",
     .streams = "1>/dev/full 2>&1", .name = "message on a full disk"},
    {.args = "-e", .draws = text(0, 0, "-e"),
     .requests = "update 0,0 758x1024 wave=257 partial", .streams = unread,
     .name = "unknown option without readers"},
    {.args = "-s '' -f", .requests = refused_once, .streams = unread_err,
     .name = "retry without a reader"},
    {.args = "-s '' -f", .requests = refused_once, .streams = "1>/dev/full 2>&1",
     .name = "retry on a full disk"},
    {.args = "-r a!", .draws = white, .requests = "not closed", .status = 1, .streams = unread_err,
     .name = "refused barcode without a reader"},
    {.args = "-i -k fb", .requests = "get-fscreeninfo; get-vscreeninfo; get-waveform-type; "
     "get-material-type; get-temperature; get-cmap start=0 len=256",
     .files = {{"fb", canvas(small).memory, 0666}}, .screen = small, .streams = unread_out,
     .name = "report and dump without a reader"},
    // The announcement comes before the update.
    {.args = "-s '' -f", .requests = refused_once, .out = update_line("FULL", 2) + "retrying.. -1",
     .streams = "2>&1"},
};

// The 32-bit product of the virtual width and the depth wraps: lines of one byte, of no byte, and
// of 758 bytes. `screen` is what is left.
const run_case geometries[] = {
    {.args = "-p", .draws = xor_pattern,
     .requests = "get-vscreeninfo; update 0,0 65535x119 wave=2 partial",
     .out = update_line("PARTIAL", 2), .settings = "size 65535x119\nvirtual 2147483649x119\n",
     .screen = {1, 119, 1, 119, 8}},
    {.args = "-k wb -s w=-1", .requests = "get-work-buffer",
     .out = "write 238 byte @ADDRESS to wb\n", .files = {{"wb", working_buffer, 0666}},
     .settings = "size 65535x119\nvirtual 2147483649x119\n", .screen = {1, 119, 1, 119, 8}},
    {.args = "-t in.pgm out.raw", .files = {{"out.raw", std::string(150, '\xFF')}},
     .settings = "size 64x300\nvirtual 2147483649x300\n", .screen = {1, 300, 1, 300, 4},
     .given = {{"in.pgm", "P5 64 300 255\n" + std::string(64 * 300, '\0')}}},
    {.args = "3 5 hello", .draws = text(3, 5, "hello"),
     .requests = "update 0,0 758x1024 wave=257 partial", .out = update_line("PARTIAL", 257),
     .settings = "virtual 536871670x1024\n"},
    {.args = "-a2", .draws = grid(2), .settings = "virtual 536871670x1024\n"},
};
// clang-format on
INSTANTIATE_TEST_SUITE_P(streams, tool, testing::ValuesIn(streams), name_of_case);
INSTANTIATE_TEST_SUITE_P(geometries, tool, testing::ValuesIn(geometries), name_of_case);
} // namespace
