// The device report, as whole texts.
#include "panel_run.h"

namespace {
const std::string report = R"(
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
)";
const std::string colormap = R"(
Color map
    start:                     0    len:                       2
    n       red     green      blue
    0         0         0         0
    1      ffff      ffff      ffff
)";

TEST(report, devices)
{
    const std::string access = "tavo: print_fb_info> cannot access ";
    const struct {
        const char *arguments, *settings, *faults;
        geometry shape;
        std::vector<std::pair<std::string, std::string>> changed; // against the texts above
    } rows[] = {
        // clang-format off
        {"-i", "", "", paper, {{"\nColor[^]*", ""}}},
        {"-i a b", "", "get-fscreeninfo get-vscreeninfo:2 get-material-type", paper,
            {{"\nFixed[^]*accel: +0\n", access + "fixed framebuffer info\n"},
             {"\nVariable[^]*DPI.*\n", access + "variable framebuffer info\n"},
             {"material type = 1", "cannot get material type err=-1"}, {"\nColor[^]*", ""}}},
        {"-i x", "", "", paper,
            {{"  2\n", "256\n"},
             {"1  .*", "1       101       101       101\n   ff      ffff      ffff      ffff"}}},
        {"-i x", "id 0123456789abcdef\ntype 9\nvisual 12\nmm 0x4294967295\ntemperature -5\n"
            "waveform-type 4294967295\n", "", {600, 800, 608, 1600, 1},
            {{"     epd-virtual", "0123456789abcdef"}, {"776192", "121600"},
             {"PACKED_PIXELS", "            9"}, {"PSEUDOCOLOR", "         12"},
             {"(line_length: +)758", "$01 76"}, {"(xres: +)758", "$01600"},
             {"(yres: +)1024", "$01 800"}, {"(xres_virtual: +)758", "$01608"},
             {"(yres_virtual: +)1024", "$011600"},
             {"(pixel|length)(:           +)8", "$1$021"}, {"122", "  0"}, {"165", " -1"},
             {"DPI.*", "DPI: inf 0.000005 0"}, {"form type = 8", "form type = -1"}, {"25", "-5"}}},
        {"-i x", "mm 0x0\ntype 5\nvisual 6\n",
            "get-waveform-type get-material-type get-temperature get-cmap", paper,
            {{"PACKED_PIXELS", "            5"}, {"PSEUDOCOLOR", "          6"}, {"122", "  0"},
             {"165", "  0"}, {"DPI.*", "DPI: inf inf 0"},
             {"(waveform type|material type|temperature) = .*", "cannot get $1 err=-1"},
             {"\nColor[^]*", access + "cmap\n"}}},
        // clang-format on
    };
    for (const auto &row : rows) {
        run_result got =
            virtual_panel(row.shape, row.settings).run(words(row.arguments), row.faults);
        got.out = rewritten(got.out, {{"\n +([2-9a-f]|(?!ff)\\w\\w)( +\\w+){3}(?=\n)", ""}});
        got.expect("0" + rewritten(report + colormap, row.changed), canvas(row.shape));
    }
}
} // namespace
