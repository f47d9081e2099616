// The report of -i, and the framebuffer that it dumps.
#include "run_case.h"

namespace {
/// Every field has a number of its own.
const geometry numbered = {31, 42, 53, 64, 1};
const std::string settings = "numbered 1\nid 0123456789abcdef\ntype 2\nvisual 4\nmm 75x86\n"
                             "waveform-type 97\nmaterial-type 98\ntemperature 99\n";
const std::string fixed = R"(
Fixed framebuffer info
    id:         0123456789abcdef    smem_start:       0x000000C9
    smem_len:                424    type:     INTERLEAVED_PLANES
    type_aux:                203    visual:          DIRECTCOLOR
    xpanstep:                204    ypanstep:                205
    ywrapstep:               206    line_length:               6
    mmio_start:       0x000000ca    mmio_len:                207
    accel:                   208
)";
const std::string variable = R"(
Variable framebuffer info
    xres:                     31    yres:                     42
    xres_virtual:             53    yres_virtual:             64
    xoffset:                 101    yoffset:                 102
    bits_per_pixel:            1    grayscale:               103
    red.offset:              104    green.offset:            107
    red.length:              105    green.length:            108
    red.msb_right:           106    green.msb_right:         109
    blue.offset:             110    transp.offset:           113
    blue.length:             111    transp.length:           114
    blue.msb_right:          112    transp.msb_right:        115
    nonstd:                  116    activate:                117
    width:                    75    height:                   86
    accel_flags:             118    pixclock:                119
    left_margin:             120    right_margin:            121
    upper_margin:            122    lower_margin:            123
    hsync_len:               124    vsync_len:               125
    sync:                    126    vmode:                   127
    rotate:                  128
)";
const std::string resolution = "DPI: 10.498667 12.404651 11\n";
const std::string panel = "waveform type = 97\nmaterial type = 98\ntemperature = 99 (C)\n";
const std::string colours = R"(
Color map
    start:                     0    len:                       2
    n       red     green      blue
    0         0      1000      2000
    1      ffff      efff      dfff
)";
const std::string all_but_colours = fixed + variable + resolution + panel;
const std::string queries = "get-fscreeninfo; get-vscreeninfo; get-waveform-type; "
                            "get-material-type; get-temperature";

std::string replaced(std::string text, const std::string &old, const std::string &by)
{
    return text.replace(text.find(old), old.size(), by);
}

/// The report with names of a type and a visual, or their numbers.
run_case named(const shell_words &args, const std::string &type, const std::string &visual,
               const std::string &numbers)
{
    const std::string with_type = replaced(all_but_colours, "  INTERLEAVED_PLANES", type);
    return {.args = args,
            .requests = queries,
            .out = replaced(with_type, "         DIRECTCOLOR", visual),
            .settings = settings + numbers,
            .screen = numbered,
            .name = "i " + type + visual};
}

/// The report with a physical size, and the line that is worked out from it.
run_case sized(const shell_words &args, const std::string &width, const std::string &height,
               const std::string &dots, const std::string &size)
{
    std::string out = replaced(all_but_colours, "        75", width);
    out = replaced(replaced(out, "        86", height), resolution, dots);
    return {.args = args,
            .requests = queries,
            .out = out,
            .settings = settings + size,
            .screen = numbered,
            .name = "i " + size};
}

/// 256 gray values, which repeat their byte.
std::string long_colour_map()
{
    std::string text =
        "\nColor map\n    start:                     0    len:                     256\n"
        "    n       red     green      blue\n";
    for (int i = 0; i < 256; ++i)
        text += formatted("  %3x    %6x    %6x    %6x\n", i, i * 257, i * 257, i * 257);
    return text;
}

// clang-format off
const run_case reports[] = {
    {.args = "-i", .requests = queries, .out = all_but_colours, .settings = settings,
     .screen = numbered},
    {.args = "-i a b", .requests = queries, .out = all_but_colours, .settings = settings,
     .screen = numbered},
    {.args = "-i x", .requests = queries + "; get-cmap start=0 len=2",
     .out = all_but_colours + colours, .settings = settings, .screen = numbered},
    named("-i", "       PACKED_PIXELS", "              MONO01", "type 0\nvisual 0\n"),
    named("-i", "              PLANES", "              MONO10", "type 1\nvisual 1\n"),
    named("-i", "  INTERLEAVED_PLANES", "           TRUECOLOR", "type 2\nvisual 2\n"),
    named("-i", "                TEXT", "         PSEUDOCOLOR", "type 3\nvisual 3\n"),
    named("-i", "          VGA_PLANES", "  STATIC_PSEUDOCOLOR", "type 4\nvisual 5\n"),
    named("-i", "                   5", "                   6", "type 5\nvisual 6\n"),
    named("-i", "          4294967295", "          4294967294", "type -1\nvisual -2\n"),
    // 31 and 42 pixels.
    sized("-i", "         0", "         0", "DPI: inf inf 0\n", "mm 0x0\n"),
    sized("-i", "         0", "        86", "DPI: inf 12.404651 0\n", "mm 0x86\n"),
    sized("-i", "        31", "        84", "DPI: 25.400000 12.700000 19\n", "mm 31x84\n"),
    sized("-i", "        -1", "        86", "DPI: 0.000000 12.404651 6\n", "mm 4294967295x86\n"),
    sized("-i", "        75", "        -1", "DPI: 10.498667 0.000000 5\n", "mm 75x4294967295\n"),
    {.args = "-i", .requests = queries,
     .out = fixed + variable + resolution +
            "waveform type = -1\nmaterial type = -2\ntemperature = -5 (C)\n",
     .settings = settings + "waveform-type -1\nmaterial-type -2\ntemperature -5\n",
     .screen = numbered},
    {.args = "-i", .requests = "fault get-fscreeninfo:1; get-fscreeninfo -> -1; get-vscreeninfo; "
     "get-waveform-type; get-material-type; get-temperature",
     .out = "tavo: print_fb_info> cannot access fixed framebuffer info\n" + variable + resolution +
            panel, .settings = settings, .screen = numbered},
    {.args = "-i", .requests = "get-fscreeninfo; fault get-vscreeninfo:2; get-vscreeninfo -> -1; "
     "get-waveform-type; get-material-type; get-temperature",
     .out = fixed + "tavo: print_fb_info> cannot access variable framebuffer info\n" + panel, .settings = settings, .screen = numbered},
    {.args = "-i x", .requests = "get-fscreeninfo; get-vscreeninfo; fault get-waveform-type:1; "
     "get-waveform-type -> -1; fault get-material-type:1; get-material-type -> -1; "
     "fault get-temperature:1; get-temperature -> -1; get-cmap start=0 len=2",
     .out = fixed + variable + resolution + "cannot get waveform type err=-1\n"
            "cannot get material type err=-1\ncannot get temperature err=-1\n" + colours, .settings = settings,
     .screen = numbered},
    {.args = "-i x", .requests = queries + "; fault get-cmap:1; get-cmap start=0 len=2 -> -1",
     .out = all_but_colours + "tavo: print_fb_info> cannot access cmap\n",
     .settings = settings, .screen = numbered},
    {.args = "-i x", .requests = queries + "; fault calloc:1",
     .out = all_but_colours + "tavo: print_fb_info> unable to allocate colormap\n", .settings = settings, .screen = numbered},
    // Of the command line: everything but the options' letters, and what comes after the report.
    {.args = "-n -i", .requests = "get-hold 1; set-hold 0; " + queries + "; release-hold 0",
     .out = all_but_colours, .settings = settings, .screen = numbered},
    {.args = "-i -k fb", .requests = queries + "; get-cmap start=0 len=2",
     .out = all_but_colours + colours +
            "write framebuffer(424 byte @ADDRESS) 424 byte to file fb\n",
     .files = {{"fb", canvas(numbered).memory, 0666}}, .settings = settings, .screen = numbered,
     .given = {{"fb", std::string(500, 'x'), 0666}}},
    {.args = "-i -kfb", .requests = queries,
     .out = all_but_colours + "write framebuffer(424 byte @ADDRESS) 424 byte to file fb\n",
     .files = {{"fb", canvas(numbered).memory, 0666}}, .settings = settings, .screen = numbered},
    {.args = "-i -k/dev/full", .requests = queries,
     .out = all_but_colours + "write framebuffer(424 byte @ADDRESS) 0 byte to file /dev/full\n",
     .settings = settings, .screen = numbered},
    {.args = "-i -kno/fb", .requests = queries,
     .out = all_but_colours + "can't open no/fb file for write framebuffer\n",
     .settings = settings, .screen = numbered},
    {.args = "-i -kfb", .requests = "open; get-vscreeninfo; map 278 offset=0 shared locked; "
     "fault map:2; map 424 offset=0 shared locked -> -1; " + queries,
     .out = all_but_colours + "tavo: main> cannot map framebuffer to write fb\n", .settings = settings, .screen = numbered},
    // A driver that says nothing of interest, and a longer map.
    {.args = "-i x", .requests = queries + "; get-cmap start=0 len=256", .out = R"(
Fixed framebuffer info
    id:              epd-virtual    smem_start:       0x80000000
    smem_len:             776192    type:          PACKED_PIXELS
    type_aux:                  0    visual:          PSEUDOCOLOR
    xpanstep:                  0    ypanstep:                  1
    ywrapstep:                 0    line_length:             758
    mmio_start:       0x00000000    mmio_len:                  0
    accel:                     0

Variable framebuffer info
    xres:                    758    yres:                   1024
    xres_virtual:            758    yres_virtual:           1024
    xoffset:                   0    yoffset:                   0
    bits_per_pixel:            8    grayscale:                 1
    red.offset:                0    green.offset:              0
    red.length:                8    green.length:              8
    red.msb_right:             0    green.msb_right:           0
    blue.offset:               0    transp.offset:             0
    blue.length:               8    transp.length:             0
    blue.msb_right:            0    transp.msb_right:          0
    nonstd:                    0    activate:                  0
    width:                   122    height:                  165
    accel_flags:               0    pixclock:              28000
    left_margin:              16    right_margin:             16
    upper_margin:             16    lower_margin:             16
    hsync_len:                 4    vsync_len:                 4
    sync:                      0    vmode:                     0
    rotate:                    0
DPI: 157.813115 157.633939 157
waveform type = 8
material type = 1
temperature = 25 (C)
)" + long_colour_map()},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(reports, tool, testing::ValuesIn(reports), name_of_case);
} // namespace
