// The command line: options, operands, the stages of a call and the dumps.
#include "run_case.h"

namespace {
const std::string partial_gc16 = update_line("PARTIAL", 2), full_gc16 = update_line("FULL", 2);
const std::string partial_auto = update_line("PARTIAL", 257), full_auto = update_line("FULL", 257);
const std::string no_file = "Error: no file specified\n";
const geometry small = {64, 40, 72, 80, 8};

/// Two bytes a pixel, the luminance in both, of the screen that the driver claims to have.
std::string working_buffer(const geometry &g)
{
    const canvas drawn(g);
    std::string bytes;
    for (int y = 0; y < g.height; ++y)
        for (int x = 0; x < g.width; ++x)
            bytes += std::string(2, char(drawn.get(x, y)));
    bytes.resize(size_t(g.columns() * g.height * 2));
    return bytes;
}
const std::string small_buffer = working_buffer(small);

std::string repeated(int count, const std::string &text)
{
    std::string all;
    for (int i = 0; i < count; ++i)
        all += text;
    return all;
}

/// Names a file that is not there.
run_case unopened(int length)
{
    const std::string path = repeated(length, "n");
    return {.args = "-b " + path,
            .requests = "get-vscreeninfo; update 0,0 758x1024 wave=2 partial",
            .out = "tavo: paint_bitmap> cannot open \"" + path + "\"\n" + partial_gc16,
            .status = 1};
}

// clang-format off
const char usage[] =
    " For complete usage and examples, search tavo in wiki page.\n"
    "usage:\n"
    "to print strings: tavo [row] [col] [-h] string\n"
    "\t\t -h for highlighted text\n"
    "to show image: tavo -g|-b image_path [-w waveform -f -x xpos -y ypos -v]\n"
    "\t\t -g for png, -b for bitmap\n"
    "\t\t -w waveform can be gc16, gl16, reagl, reagld, gck16, glkw16 or du, default is gc16,\n"
    "\t\t -f for full update, default is partial update\n"
    "\t\t -x -y in units of pixels\n"
    "\t\t -v for inverted picture\n"
    "\t\t -k filename, save workingbuffer to file\n"
    "to paint a retangle on screen: tavo -d l=a,w=b,h=c [-x xx -y yy -w wf]\n"
    "\t\t a is gray level in hex, b is width, c is height, with optional xx yy location, waveform mode\n"
    "to clear display: tavo -c \n"
    "to paint checker: tavo -q \n"
    "to paint grayscale: tavo -l \n"
    "to paint pattern: tavo -p \n"
    "to paint barcode: tavo -r barcode\n"
    "to overlay a grid: tavo -a 5 (grid size)\n"
    "to print fb info: tavo -i\n"
    "to flash display with current fb content: tavo -s w=758,h=1024 -f\n";
// clang-format on\n";

const run_case operands[] = {
    {.args = "", .out = usage, .status = 1, .name = "usage"},
    {.args = "3 5 hello", .draws = text(3, 5, "hello"),
     .requests = "update 0,0 758x1024 wave=257 partial", .out = partial_auto},
    {.args = "hello world", .draws = text(0, 0, "hello"),
     .requests = "update 0,0 758x1024 wave=257 partial", .out = partial_auto},
    {.args = "hello -f", .draws = text(0, 0, "hello"),
     .requests = "update 0,0 758x1024 wave=257 full", .out = full_auto},
    {.args = "1x ' +2y' z", .draws = text(1, 2, "z"),
     .requests = "update 0,0 758x1024 wave=257 partial", .out = partial_auto},
    {.args = "-h 1 2 'It works'", .draws = text(1, 2, "It works", true),
     .requests = "update 0,0 758x1024 wave=257 partial", .out = partial_auto},
    {.args = "1 2 3 four"},
    {.args = "1 2 'a$b'", .draws = text(1, 2, "a$b"),
     .requests = "update 0,0 758x1024 wave=257 partial", .out = partial_auto, .status = 1},
    {.args = "''", .requests = "update 0,0 758x1024 wave=257 partial", .out = partial_auto},
    {.args = "--", .draws = text(0, 0, "--"),
     .requests = "update 0,0 758x1024 wave=257 partial", .out = partial_auto},
    {.args = "-wdu hi", .draws = text(0, 0, "hi"),
     .requests = "update 0,0 758x1024 wave=257 partial", .out = partial_auto},
    // Option letters are counted, not words.
    {.args = "-hf hi"},
    {.args = "-w du hi", .draws = text(0, 0, "du"),
     .requests = "update 0,0 758x1024 wave=257 partial", .out = partial_auto},
    {.args = "-x 1 -y 2 hi", .draws = text(0, 2, "hi"),
     .requests = "update 0,0 758x1024 wave=257 partial", .out = partial_auto},
    {.args = "-n hi", .draws = text(0, 0, "hi"),
     .requests = "get-hold 1; set-hold 0; release-hold 0"},
    {.args = "hi -h", .draws = text(0, 0, "hi", true),
     .requests = "update 0,0 758x1024 wave=257 partial", .out = partial_auto,
     .environment = "POSIXLY_CORRECT=1"},
    {.args = "-a5", .draws = grid(5)},
    {.args = "-a 5", .draws = in_order({grid(5), text(0, 0, "5")}),
     .requests = "update 0,0 758x1024 wave=257 full", .out = full_auto},
    {.args = "-z 2", .draws = text(0, 0, "2"),
     .requests = "update 0,0 758x1024 wave=257 partial", .out = partial_auto},
    {.args = "-t in.png", .out = no_file, .status = 1},
    {.args = "-t -n in.png", .requests = "get-hold 1; set-hold 0", .out = no_file, .status = 1},
    {.args = "-t -c in.png", .draws = white, .out = no_file, .status = 1},
    {.args = "-t"},
    // The standard streams' numbers must not fall to the framebuffer.
    {.args = "3 5 hello", .draws = text(3, 5, "hello"),
     .requests = "update 0,0 758x1024 wave=257 partial", .streams = "0<&- 1>&- 2>&-",
     .name = "all_streams_closed"},
    {.args = "-s '' -e", .requests = "update 0,0 758x1024 wave=2 partial", .out = partial_gc16,
     .streams = "2>&-"},
};

const run_case options[] = {
    {.args = "-c", .draws = white,
     .requests = "get-vscreeninfo; update 0,0 758x1024 wave=2 partial", .out = partial_gc16},
    {.args = "-c -f", .draws = white,
     .requests = "get-vscreeninfo; update 0,0 758x1024 wave=2 full; wait marker=42",
     .out = full_gc16, .name = "c_full"},
    {.args = "-v -v -c", .draws = white,
     .requests = "get-vscreeninfo; update 0,0 758x1024 wave=2 partial", .out = partial_gc16},
    {.args = "-v -c", .draws = white,
     .requests = "get-vscreeninfo; update 0,0 758x1024 wave=2 partial"
                 " marker=42 temperature=4096 flags=1 tail=1,2",
     .out = update_line("PARTIAL", 2, 1)},
    {.args = "-n -c", .draws = white, .requests = "get-hold 1; set-hold 0; release-hold 0"},
    {.args = "-c -s ''", .draws = white, .requests = "update 0,0 758x1024 wave=2 partial",
     .out = partial_gc16},
    {.args = "-x 700 -d l=0,w=200,h=9", .draws = rectangle(700, 0, 58, 9, 0),
     .requests = "get-vscreeninfo; update 700,0 58x9 wave=2 partial", .out = partial_gc16},
    {.args = "-y 1020 -d ' l=1f0,w=7,h=9x'", .draws = rectangle(0, 1020, 7, 4, 0xF0),
     .requests = "get-vscreeninfo; update 0,1020 7x4 wave=2 partial", .out = partial_gc16},
    {.args = "-d l=0,w=-2,h=5"},
    {.args = "-d l=0,w=2,h=-5"},
    {.args = "-d x hi", .requests = "get-vscreeninfo; update 0,0 758x1024 wave=2 partial",
     .out = partial_gc16},
    // Of several actions, one runs.
    {.args = "-a5 -d l=0,w=30,h=20", .draws = rectangle(0, 0, 30, 20, 0),
     .requests = "get-vscreeninfo; update 0,0 30x20 wave=2 full; wait marker=42",
     .out = full_gc16},
    {.args = "-d l=0,w=30,h=20 -j none", .draws = rectangle(0, 0, 30, 20, 0),
     .requests = "get-vscreeninfo; update 0,0 30x20 wave=2 partial", .out = partial_gc16},
    {.args = "-a5 -jnone",
     .requests = "get-vscreeninfo; update 0,0 758x1024 wave=2 full; wait marker=42",
     .out = full_gc16},
    {.args = "-d l=0,w=30,h=20 -g none",
     .requests = "get-vscreeninfo; update 0,0 30x20 wave=2 partial",
     .out = "tavo: paint_image> cannot open \"none\":can't fopen\n" + partial_gc16, .status = 1},
    {.args = "-b in -g none", .requests = "get-vscreeninfo; update 0,0 758x1024 wave=2 partial",
     .out = "tavo: paint_bitmap> cannot open \"none\"\n" + partial_gc16, .status = 1},
    {.args = "-gnone -o -bnone none",
     .requests = "get-vscreeninfo; update 0,0 758x1024 wave=2 partial",
     .out = "tavo: overlay_bitmap> cannot open \"none\"\n" + partial_gc16, .status = 1},
    {.args = "-m -gnone -bnone none",
     .requests = "get-vscreeninfo; update 0,0 758x1024 wave=2 partial",
     .out = "tavo: overlay_bitmap> cannot open \"none\"\n" + partial_gc16, .status = 1},
    {.args = "-t -o -bnone -dl=0,w=9,h=9 -a5 in", .out = no_file, .status = 1},
    {.args = "-o", .out = "tavo: overlay_bitmap> cannot open \"\"\n", .status = 1},
    {.args = "-oh", .out = "tavo: overlay_bitmap> cannot open \"\"\n", .status = 1},
    // Diagnostics go to standard error.
    {.args = "-e", .draws = text(0, 0, "-e"), .requests = "update 0,0 758x1024 wave=257 partial",
     .out = partial_auto,
     .err = "tavo: invalid option -- 'e'\noption ? not supported\n"},
    {.args = "hi -k", .draws = text(0, 0, "-k"),
     .requests = "update 0,0 758x1024 wave=257 partial", .out = partial_auto,
     .err = "tavo: option requires an argument -- 'k'\noption ? not supported\n"},
    {.args = "--help", .draws = xor_pattern, // h, l and p are options
     .requests = "get-vscreeninfo; update 0,0 758x1024 wave=2 partial", .out = partial_gc16,
     .err = "tavo: invalid option -- '-'\noption ? not supported\n"
            "tavo: invalid option -- 'e'\noption ? not supported\n"},
};

// Too large, too long, too many: no request may be lost over it.
const run_case extremes[] = {
    {.args = "268435456 0 A", .requests = "update 0,0 758x1024 wave=257 partial",
     .out = "tavo: pixel_in_range> (2147483647, 24) pixel not in range (0..758, 0..1024)\n" +
            partial_auto},
    {.args = "0 178956971 A", .requests = "update 0,0 758x1024 wave=257 partial",
     .out = "tavo: pixel_in_range> (16, 2147483647) pixel not in range (0..758, 0..1024)\n" +
            partial_auto},
    {.args = "-vv -- -268435456 0 A", .requests = "update 0,0 758x1024 wave=257 partial",
     .out = "tavo: pixel_in_range> (-2147483632, 24) pixel not in range (0..758, 0..1024)\n" +
            partial_auto},
    // What libc makes of such numbers differs between machines.
    {.args = "-s w=99999999999,h=7", .requests = anything, .out = partial_gc16},
    {.args = "-x 99999999999999999999 -y -99999999999999999999 -s ''", .requests = anything,
     .out = partial_gc16, .settings = "regions any\n"},
    {.args = repeated(1000, "word ")},
    {.args = repeated(999, "-v ")},
    unopened(993), unopened(5000),
};

const run_case dumps[] = {
    {.args = "-k wb", .requests = "get-work-buffer", .out = "write 5120 byte @ADDRESS to wb\n",
     .files = {{"wb", small_buffer, 0666}}, .screen = small},
    {.args = "-k wb hello", .requests = "get-work-buffer",
     .out = "write 5120 byte @ADDRESS to wb\n", .files = {{"wb", small_buffer, 0666}},
     .screen = small, .given = {{"wb", std::string(9000, 'x'), 0666}}},
    {.args = "-k wb -s ''", .requests = "update 0,0 64x40 wave=2 partial; get-work-buffer",
     .out = partial_gc16 + "write 5120 byte @ADDRESS to wb\n",
     .files = {{"wb", small_buffer, 0666}}, .screen = small},
    {.args = "-k ' wb x' -s w=-1", .requests = "get-work-buffer",
     .out = "write 5120 byte @ADDRESS to wb\n", .files = {{"wb", small_buffer, 0666}},
     .screen = small},
    {.args = "-k ' ' -s w=-1", .out = "can't open  to dump\n"},
    {.args = "-k ./no/wb -n", .requests = "get-hold 1; set-hold 0; release-hold 0",
     .out = "can't open ./no/wb to dump\n"},
    {.args = "-k " + std::string(70, 'n'),
     .requests = "fault get-work-buffer:1; get-work-buffer -> -1",
     .out = "get work buffer ioctl err=-1\n", .files = {{std::string(63, 'n'), "", 0666}}},
    {.args = "-k /dev/full", .requests = "get-work-buffer",
     .out = "write 0 byte @ADDRESS to /dev/full\n"},
    {.args = "-k wb", .requests = "fault aligned_alloc:1",
     .out = "can't allocate 5120 byte for working buffer\n", .files = {{"wb", "", 0666}}, .screen = small},
};
// clang-format on

class dumps_on_screens : public testing::TestWithParam<geometry> {};

TEST_P(dumps_on_screens, are_whole)
{
    const geometry &g = GetParam();
    check({.args = "-k wb",
           .requests = "get-work-buffer",
           .out = formatted("write %d byte @ADDRESS to wb\n", g.columns() * g.height * 2),
           .files = {{"wb", working_buffer(g), 0666}},
           .screen = g});
    check({.args = "-i -kfb",
           .requests = anything,
           .out = anything,
           .files = {{"fb", canvas(g).memory, 0666}},
           .screen = g});
}

INSTANTIATE_TEST_SUITE_P(dumps, dumps_on_screens, testing::ValuesIn(all_screens()),
                         [](const auto &screen) { return test_name(screen.param); });
INSTANTIATE_TEST_SUITE_P(operands, tool, testing::ValuesIn(operands), name_of_case);
INSTANTIATE_TEST_SUITE_P(options, tool, testing::ValuesIn(options), name_of_case);
INSTANTIATE_TEST_SUITE_P(extremes, tool, testing::ValuesIn(extremes), name_of_case);
INSTANTIATE_TEST_SUITE_P(dumps, tool, testing::ValuesIn(dumps), name_of_case);
} // namespace
