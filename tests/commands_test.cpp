// The command line: options, operands, the stages of a call and the dumps.
#include "run_case.h"

namespace {
const std::string usage = content_of("usage.txt");
const std::string no_file = "Error: no file specified\n";
const std::string buffer_written = "write 5120 byte @ADDRESS to wb\n";
const std::string unknown_option = "option ? not supported\n";
const geometry small = {64, 40, 72, 80, 8};

/// Two bytes a pixel, the luminance in both, of the screen that the driver claims to have.
std::string working_buffer(const geometry &g)
{
    const canvas drawn(g);
    std::string bytes;
    for (int y = 0; y < g.height; ++y)
        for (int x = 0; x < g.width; ++x)
            bytes.append(2, char(drawn.get(x, y)));
    bytes.resize(size_t(g.columns() * g.height * 2));
    return bytes;
}
const test_file small_buffer = {"wb", working_buffer(small), 0666};

// clang-format off
const std::vector<run_case> operands = {
    {.args = "", .out = usage, .status = 1, .name = "usage"},
    {.args = "3 5 hi", .draws = text(3, 5, "hi"), .requests = "update 0,0 WxH wave=257 partial"},
    {.args = "hi -f", .draws = text(0, 0, "hi"), .requests = "update 0,0 WxH wave=257 full"},
    {.args = "1x ' +2' z", .draws = text(1, 2, "z"), .requests = "update 0,0 WxH wave=257 partial"},
    {.args = "1 2 3 four"},
    {.args = "''", .requests = "update 0,0 WxH wave=257 partial"},
    {.args = "--", .draws = text(0, 0, "--"), .requests = "update 0,0 WxH wave=257 partial"},
    {.args = "-wdu hi", .draws = text(0, 0, "hi"), .requests = "update 0,0 WxH wave=257 partial"},
    // Option letters are counted, not words.
    {.args = "-hf hi"},
    {.args = "-w du hi", .draws = text(0, 0, "du"),
     .requests = "update 0,0 WxH wave=257 partial"},
    {.args = "-n z", .draws = text(0, 0, "z"),
     .requests = "get-hold 1; set-hold 0; release-hold 0"},
    {.args = "hi -h", .draws = text(0, 0, "hi", true),
     .requests = "update 0,0 WxH wave=257 partial",
     .environment = "POSIXLY_CORRECT=1"},
    {.args = "-a 5", .draws = in_order({grid(5), text(0, 0, "5")}),
     .requests = "update 0,0 WxH wave=257 full"},
    {.args = "-t -c in.png", .draws = white, .out = no_file, .status = 1},
    // The standard streams' numbers must not fall to the framebuffer.
    {.args = "-e", .draws = text(0, 0, "-e"), .requests = "update 0,0 WxH wave=257 partial",
     .streams = "0<&- 1>&- 2>&-", .name = "all streams closed"},
};

const std::vector<run_case> options = {
    {.args = "-c", .draws = white, .requests = "get-vscreeninfo; update 0,0 WxH wave=2 partial"},
    {.args = "-c -f", .draws = white,
     .requests = "get-vscreeninfo; update 0,0 WxH wave=2 full; wait marker=42", .name = "c_full"},
    {.args = "-v -c", .draws = white, .requests = "get-vscreeninfo; "
     "update 0,0 WxH wave=2 partial marker=42 temperature=4096 flags=1 tail=1,2"},
    {.args = "-n -c", .draws = white, .requests = "get-hold 1; set-hold 0; release-hold 0"},
    {.args = "-x 700 -d l=0,w=200,h=9", .draws = rectangle(700, 0, 58, 9, 0),
     .requests = "get-vscreeninfo; update 700,0 58x9 wave=2 partial"},
    {.args = "-y 1020 -d ' l=1f0,w=7,h=9x'", .draws = rectangle(0, 1020, 7, 4, 0xF0),
     .requests = "get-vscreeninfo; update 0,1020 7x4 wave=2 partial"},
    {.args = "-d x hi", .requests = "get-vscreeninfo; update 0,0 WxH wave=2 partial"},
    // Of several actions, one runs.
    {.args = "-d l=0,w=30,h=20 -j none", .draws = rectangle(0, 0, 30, 20, 0),
     .requests = "get-vscreeninfo; update 0,0 30x20 wave=2 partial"},
    {.args = "-a5 -jnone",
     .requests = "get-vscreeninfo; update 0,0 WxH wave=2 full; wait marker=42"},
    {.args = "-d l=0,w=30,h=20 -g none",
     .requests = "get-vscreeninfo; update 0,0 30x20 wave=2 partial",
     .out = "tavo: paint_image> cannot open \"none\":can't fopen\n", .status = 1},
    {.args = "-b in -g none", .requests = "get-vscreeninfo; update 0,0 WxH wave=2 partial",
     .out = "tavo: paint_bitmap> cannot open \"none\"\n", .status = 1},
    {.args = "-gnone -m -bnone none", .requests = "get-vscreeninfo; update 0,0 WxH wave=2 partial",
     .out = "tavo: overlay_bitmap> cannot open \"none\"\n", .status = 1},
    {.args = "-t -o -bnone -dl=0,w=9,h=9 -a5 in", .out = no_file, .status = 1},
    {.args = "-o", .out = "tavo: overlay_bitmap> cannot open \"\"\n", .status = 1},
    // Diagnostics go to standard error.
    {.args = "hi -k", .draws = text(0, 0, "-k"), .requests = "update 0,0 WxH wave=257 partial",
     .err = "tavo: option requires an argument -- 'k'\n" + unknown_option},
    {.args = "--help", .draws = xor_pattern, // h, l and p are options
     .requests = "get-vscreeninfo; update 0,0 WxH wave=2 partial",
     .err = "tavo: invalid option -- '-'\n" + unknown_option + "tavo: invalid option -- 'e'\n" +
     unknown_option},
    // Too large, too long, too many: no request may be lost over it.
    {.args = "268435456 0 A", .requests = "update 0,0 WxH wave=257 partial",
     .out = "tavo: pixel_in_range> (2147483647, 24) pixel not in range (0..758, 0..1024)\n"},
    {.args = "0 178956971 A", .requests = "update 0,0 WxH wave=257 partial",
     .out = "tavo: pixel_in_range> (16, 2147483647) pixel not in range (0..758, 0..1024)\n"},
    {.args = "-vv -- -268435456 0 A", .requests = "update 0,0 WxH wave=257 partial",
     .out = "tavo: pixel_in_range> (-2147483632, 24) pixel not in range (0..758, 0..1024)\n"},
    // What libc makes of such numbers differs between machines.
    {.args = "-s w=99999999999,h=7", .requests = anything, .out = update_line("PARTIAL", 2)},
    {.args = "-x 99999999999999999999 -y -99999999999999999999 -s ''", .requests = anything,
     .out = update_line("PARTIAL", 2), .settings = "regions any\n"},
    {.args = "$(yes word | head -n 1000)"},
    {.args = "-b " + std::string(5000, 'n'),
     .requests = "get-vscreeninfo; update 0,0 WxH wave=2 partial",
     .out = "tavo: paint_bitmap> cannot open \"" + std::string(5000, 'n') + "\"\n", .status = 1},
};

const std::vector<run_case> dumps = {
    {.args = "-k wb", .requests = "get-work-buffer", .out = buffer_written, .files = {small_buffer},
     .screen = small},
    {.args = "-k wb -s ''", .requests = "update 0,0 WxH wave=2 partial; get-work-buffer",
     .out = update_line("PARTIAL", 2) + buffer_written, .files = {small_buffer}, .screen = small},
    {.args = "-k ' wb x' -s w=-1", .requests = "get-work-buffer", .out = buffer_written,
     .files = {small_buffer}, .screen = small},
    {.args = "-k ' ' -s w=-1", .out = "can't open  to dump\n"},
    {.args = "-k " + std::string(70, 'n'),
     .requests = "fault get-work-buffer:1; get-work-buffer -> -1",
     .out = "get work buffer ioctl err=-1\n", .files = {{std::string(63, 'n'), "", 0666}}},
    {.args = "-k /dev/full", .requests = "get-work-buffer",
     .out = "write 0 byte @ADDRESS to /dev/full\n"},
    {.args = "-k wb", .requests = "fault aligned_alloc:1",
     .out = "can't allocate 5120 byte for working buffer\n", .files = {{"wb", "", 0666}},
     .screen = small},
};
// clang-format on

/// On every screen, at the size that the driver claims to have.
const auto whole_dumps = [] {
    std::vector<run_case> all;
    for (const geometry &g : all_screens)
        all.push_back(
            {.args = "-k wb",
             .requests = "get-work-buffer",
             .out = formatted("write %d byte @ADDRESS to wb\n", g.columns() * g.height * 2),
             .files = {{"wb", working_buffer(g), 0666}},
             .screen = g});
    return all;
}();

INSTANTIATE_TEST_SUITE_P(whole_dumps, tool, testing::ValuesIn(whole_dumps), name_of_case);
INSTANTIATE_TEST_SUITE_P(operands, tool, testing::ValuesIn(operands), name_of_case);
INSTANTIATE_TEST_SUITE_P(options, tool, testing::ValuesIn(options), name_of_case);
INSTANTIATE_TEST_SUITE_P(dumps, tool, testing::ValuesIn(dumps), name_of_case);
} // namespace
