// The framebuffer's open and the requests to its driver: updates, waits, holds.
#include "run_case.h"

namespace {
/// Shows the whole screen with a waveform.
run_case waveform(const std::string &name, int mode)
{
    return {.args = "-s '' -w " + name,
            .requests = formatted("update 0,0 WxH wave=%d partial", mode)};
}

// clang-format off
const std::vector<run_case> waveforms = {
    waveform("du", 1), waveform("dux", 1), waveform("a2", 6), waveform("gc16", 2),
    waveform("gl16", 3), waveform("reagl", 4), waveform("reagld", 5),
    waveform("gck16", 8), waveform("glkw16", 9), waveform("GC16", 257), waveform("gc15", 257),
    waveform("''", 257),
};

const std::vector<run_case> regions = {
    {.args = "-s w=758,h=1024 -f", .requests = "update 0,0 758x1024 wave=2 full; wait marker=42"},
    {.args = "-s w=5", .requests = "update 0,0 5x1024 wave=2 partial"},
    {.args = "-s w=0,h=7 hi", .requests = "update 0,0 758x7 wave=2 partial"},
    {.args = "-s ' w= 5,h=6x' hi", .requests = "update 0,0 5x6 wave=2 partial"},
    {.args = "-d l=0,w=3,h=4 -s ''", .draws = rectangle(0, 0, 3, 4, 0),
     .requests = "update 0,0 3x4 wave=2 partial"},
    {.args = "-s w=759,h=1025", .requests = "update 0,0 758x1024 wave=2 partial"},
    {.args = "-s w=800,h=24 -x 700 -y 1000", .requests = "update 700,1000 58x24 wave=2 partial"},
    {.args = "-s w=10 -x 800", .requests = "update 800,0 -42x1024 wave=2 partial",
     .settings = "regions any\n"},
    {.args = "-s w=2147483647,h=2147483647 -x 9 -y 8",
     .requests = "update 9,8 749x1016 wave=2 partial"},
    {.args = "-s '' -y -2147483648", .requests = "update 0,-2147483648 758x1024 wave=2 partial",
     .settings = "regions any\n"},
    {.args = "-s w=-1"},
    {.args = "-s w=1,h=-1"},
    // Worked out before the second look at the screen.
    {.args = "-c", .draws = white,
     .requests = "get-vscreeninfo; update 0,0 758x1024 wave=2 partial",
     .settings = "second-size 400x300\n"},
};

const std::string again = "update 0,0 WxH wave=2 partial -> -1; sleep 500000; ";
const std::string not_mapped = "tavo: open_device> cannot map framebuffer\n";
const geometry tall = {758, 1024, 758, 2048, 8};
const std::vector<run_case> refusals = {
    {.args = "-s ''", .requests = "fault update:1; " + again + "update 0,0 WxH wave=2 partial",
     .err = "retrying.. -1"},
    {.args = "-s ''", .requests = "fault update:1; " + again + "fault update:2; " + again +
     "fault update:3; " + again + "fault update:4; " + again + "fault update:5; " + again +
     "fault update:6; update 0,0 WxH wave=2 partial -> -1",
     .err = "retrying.. -1retrying.. -1retrying.. -1retrying.. -1retrying.. -1"},
    {.args = "-s '' -f",
     .requests = "update 0,0 WxH wave=2 full; fault wait:1; wait marker=42 -> -1"},
    {.args = "-n", .requests = "fault get-hold:1; get-hold 1 -> -1; release-hold 0"},
    {.args = "-n", .requests = "get-hold 1; fault set-hold:1; set-hold 0 -> -1; "
     "fault release-hold:1; release-hold 0 -> -1"},
    {.args = "-n", .requests = "get-hold 1; release-hold 0", .files = {{"../state/hold", "0\n"}},
     .given = {{"../state/hold", "1\n"}}, .name = "n held by somebody"},
    {.args = "-n", .requests = "get-hold 1; set-hold 0; release-hold 0",
     .given = {{"../state/hold", "0\n"}}, .name = "n released by somebody"},
    {.args = "-c", .draws = white, .requests = "fault get-vscreeninfo:2; get-vscreeninfo -> -1",
     .out = "tavo: main> cannot read screen info 1\n"},
    // Nothing works without the device.
    {.args = "hi", .requests = "fault open:1; open -> -1; not closed",
     .out = "tavo: open_device> cannot open framebuffer device \"/dev/fb0\"\n"},
    {.args = "-c", .requests = "open; fault get-vscreeninfo:1; get-vscreeninfo -> -1",
     .out = "tavo: open_device> cannot query framebuffer geometry\n"},
    {.args = "-c", .requests = "open; get-vscreeninfo; fault map:1; "
     "map 776192 offset=0 shared locked -> -1; map 1552384 offset=0 shared locked",
     .out = not_mapped, .screen = tall},
    {.args = "3 5 x", .draws = text(3, 5, "x"), .requests = "open; get-vscreeninfo; "
     "map 776192 offset=0 shared locked; fault map:2; map 1552384 offset=0 shared locked -> -1; "
     "update 0,0 WxH wave=257 partial", .screen = tall},
    {.args = "-c", .requests = "open; get-vscreeninfo",
     .out = "tavo: bpp_supported> bpp = 3 not supported\n", .screen = {8, 8, 8, 8, 3}},
    {.args = "-c", .requests = "open; get-vscreeninfo",
     .out = "tavo: bpp_supported> bpp = 32 not supported\n", .screen = {8, 8, 8, 8, 32}},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(waveforms, tool, testing::ValuesIn(waveforms), name_of_case);
INSTANTIATE_TEST_SUITE_P(regions, tool, testing::ValuesIn(regions), name_of_case);
INSTANTIATE_TEST_SUITE_P(refusals, tool, testing::ValuesIn(refusals), name_of_case);
} // namespace
