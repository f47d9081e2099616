// The report of -i, and the framebuffer that it dumps.
#include "run_case.h"

namespace {
/// Of a panel that gives every field a number of its own.
const std::string whole = content_of("report.txt");
const size_t variable_at = whole.find("\nVariable"), panel_at = whole.find("waveform type"),
             colors_at = whole.find("\nColor map");
const std::string fixed = whole.substr(0, variable_at), until_colors = whole.substr(0, colors_at),
                  variable = whole.substr(variable_at, panel_at - variable_at),
                  panel = whole.substr(panel_at, colors_at - panel_at),
                  colors = whole.substr(colors_at);
const std::string queries = "get-fscreeninfo; get-vscreeninfo; get-waveform-type; "
                            "get-material-type; get-temperature";
const geometry numbered_screen = {31, 42, 53, 64, 1};
const test_file dump = {"fb", canvas(numbered_screen).memory, 0666};
const std::string dumped = "write framebuffer(424 byte @ADDRESS) 424 byte to file fb\n";

/// A call on that panel, which has some more settings.
run_case numbered(run_case c)
{
    c.settings = "numbered 1\nid 0123456789abcdef\ntype 2\nvisual 4\nmm 75x86\n"
                 "waveform-type 97\nmaterial-type 98\ntemperature 99\n" +
                 c.settings;
    c.screen = numbered_screen;
    if (c.requests.empty())
        c.requests = queries;
    return c;
}

/// The report with another type and visual, and with a size in millimeters and what is worked out
/// from it and 31 x 42 pixels.
run_case changed(const std::string &settings, const std::string &type, const std::string &visual,
                 const std::string &width = "75", const std::string &height = "86",
                 const std::string &dots = "10.498667 12.404651 11")
{
    const auto wide = [](const std::string &text, size_t columns) {
        return std::string(columns - text.size(), ' ') + text;
    };
    std::string out = replaced(until_colors, "  INTERLEAVED_PLANES", wide(type, 20));
    out = replaced(out, "         DIRECTCOLOR", wide(visual, 20));
    out = replaced(out, "10.498667 12.404651 11", dots);
    out = replaced(out, "        75", wide(width, 10));
    out = replaced(out, "        86", wide(height, 10));
    return numbered({.args = "-i", .out = out, .settings = settings, .name = "i " + settings});
}

// clang-format off
const std::vector<run_case> reports = {
    numbered({.args = "-i x", .requests = queries + "; get-cmap start=0 len=2", .out = whole}),
    changed("type 0\nvisual 0\nmm 0x0\n", "PACKED_PIXELS", "MONO01", "0", "0", "inf inf 0"),
    changed("type 1\nvisual 1\nmm 0x86\n", "PLANES", "MONO10", "0", "86", "inf 12.404651 0"),
    changed("type 2\nvisual 2\nmm 31x84\n", "INTERLEAVED_PLANES", "TRUECOLOR", "31", "84",
            "25.400000 12.700000 19"),
    changed("type 3\nvisual 3\nmm 4294967295x86\n", "TEXT", "PSEUDOCOLOR", "-1", "86",
            "0.000000 12.404651 6"),
    changed("type 4\nvisual 5\n", "VGA_PLANES", "STATIC_PSEUDOCOLOR"),
    changed("type 5\nvisual 6\n", "5", "6"),
    changed("type -1\nvisual -2\n", "4294967295", "4294967294"),
    numbered({.args = "-i", .out = fixed + variable +
              "waveform type = -1\nmaterial type = -2\ntemperature = -5 (C)\n",
              .settings = "waveform-type -1\nmaterial-type -2\ntemperature -5\n"}),
    numbered({.args = "-i", .requests = "fault get-fscreeninfo:1; get-fscreeninfo -> -1; "
              "get-vscreeninfo; get-waveform-type; get-material-type; get-temperature",
              .out = "tavo: print_fb_info> cannot access fixed framebuffer info\n" + variable +
              panel}),
    numbered({.args = "-i", .requests = "get-fscreeninfo; fault get-vscreeninfo:2; "
              "get-vscreeninfo -> -1; get-waveform-type; get-material-type; get-temperature",
              .out = fixed + "tavo: print_fb_info> cannot access variable framebuffer info\n" +
              panel}),
    numbered({.args = "-i x", .requests = "get-fscreeninfo; get-vscreeninfo; "
              "fault get-waveform-type:1; get-waveform-type -> -1; "
              "fault get-material-type:1; get-material-type -> -1; "
              "fault get-temperature:1; get-temperature -> -1; get-cmap start=0 len=2",
              .out = fixed + variable + "cannot get waveform type err=-1\n"
              "cannot get material type err=-1\ncannot get temperature err=-1\n" + colors}),
    numbered({.args = "-i x",
              .requests = queries + "; fault get-cmap:1; get-cmap start=0 len=2 -> -1",
              .out = until_colors + "tavo: print_fb_info> cannot access cmap\n"}),
    numbered({.args = "-i x", .requests = queries + "; fault calloc:1",
              .out = until_colors + "tavo: print_fb_info> unable to allocate colormap\n"}),
    // Of the command line: everything but the options' letters, and what comes after the report.
    numbered({.args = "-i -k fb", .requests = queries + "; get-cmap start=0 len=2",
              .out = whole + dumped, .files = {dump},
              .given = {{"fb", std::string(500, 'x'), 0666}}}),
    numbered({.args = "-i -k/dev/full", .out = until_colors +
              "write framebuffer(424 byte @ADDRESS) 0 byte to file /dev/full\n"}),
    numbered({.args = "-i -kno/fb",
              .out = until_colors + "can't open no/fb file for write framebuffer\n"}),
    numbered({.args = "-i -kfb", .requests = "open; get-vscreeninfo; "
              "map 278 offset=0 shared locked; fault map:2; "
              "map 424 offset=0 shared locked -> -1; " + queries,
              .out = until_colors + "tavo: main> cannot map framebuffer to write fb\n"}),
    {.args = "-i x", .requests = queries + "; get-cmap start=0 len=256", .out = anything},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(reports, tool, testing::ValuesIn(reports), name_of_case);
} // namespace
