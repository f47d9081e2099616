// What the virtual panel's glass shows, and what the panel refuses.
#include "run_case.h"

namespace {
const geometry small = {32, 20, 40, 30, 8};

// The glass, by a plain model of paper: a pixel is driven when the update is a full one or another
// gray is wanted of it than before.

struct glass_step {
    const char *args;
    int x, y, width, height;
    int levels; // of the waveform
    bool full, inverted;
};
const glass_step steps[] = {
    {"-s w=9,h=7 -w gc16", 0, 0, 9, 7, 16, false, false}, // the rest stays white
    {"-s '' -w gc16", 0, 0, 61, 43, 16, false, false},
    {"-x 3 -y 5 -d l=80,w=20,h=11 -w du", 3, 5, 20, 11, 2, false, false},
    {"-x 30 -y 2 -d l=7f,w=20,h=11 -w a2", 30, 2, 20, 11, 2, false, false},
    {"-s '' -w du", 0, 0, 61, 43, 2, false, false}, // nothing has changed
    {"-x 2 -y 1 -s w=31,h=9 -w a2 -f", 2, 1, 31, 9, 2, true, false},
    // Drawn, not shown; all shown by a full update, after which nothing has changed.
    {"-x 3 -y 20 -d l=55,w=20,h=11 -n", 0, 0, 0, 0, 2, false, false},
    {"-s '' -w a2 -f", 0, 0, 61, 43, 2, true, false},
    {"-s '' -w gc16", 0, 0, 61, 43, 16, false, false},
    {"-x -5 -y -3 -s w=20,h=11 -w a2 -f", -5, -3, 20, 11, 2, true, false},
    {"-v -s '' -w gl16", 0, 0, 61, 43, 16, false, true}, // everything has
    {"-x 9 -y 0 -s w=40,h=43", 9, 0, 40, 43, 16, false, false},
};

class glass : public testing::TestWithParam<int> {};

TEST_P(glass, follows_the_updates)
{
    const run_case start = {.settings = "regions any\n", .screen = {61, 43, 72, 50, GetParam()}};
    const virtual_panel panel(start);
    canvas memory(start.screen);
    std::vector<int> wanted(61 * 43, 255), shown(61 * 43, 255);
    for (const glass_step &step : steps) {
        run_case call = start;
        call.args = step.args;
        memory.memory = panel.run(call).memory;
        for (int y = std::max(step.y, 0); y < step.y + step.height; ++y)
            for (int x = std::max(step.x, 0); x < step.x + step.width; ++x) {
                const size_t at = size_t(y * 61 + x);
                const int gray = step.inverted ? 255 - memory.get(x, y) : memory.get(x, y);
                if (step.full || gray != wanted[at])
                    shown[at] = step.levels == 2 ? gray / 128 * 255 : gray / 16 * 17;
                wanted[at] = gray;
            }
        const std::string found = panel.read("state/glass");
        ASSERT_EQ(found.size(), shown.size());
        for (size_t i = 0; i < found.size(); ++i)
            ASSERT_EQ(found[i] & 0xFF, shown[i]) << step.args << " at " << i % 61 << "," << i / 61;
    }
}
INSTANTIATE_TEST_SUITE_P(depths, glass, testing::Values(1, 2, 4, 8));

const std::string outside = "update -1,0 4x4 wave=2 partial -> -1, outside the screen";
const std::string again = "; sleep 500000; " + outside;
// clang-format off
const std::vector<run_case> refusals = {
    {.args = "-x -1 -d l=0,w=4,h=4", .draws = rectangle(-1, 0, 4, 4, 0),
     .requests = "get-vscreeninfo; " + outside + again + again + again + again + again,
     .err = "retrying.. -1retrying.. -1retrying.. -1retrying.. -1retrying.. -1", .screen = small},
    {.args = "-c", .requests = "open; get-vscreeninfo; "
     "map 20000 offset=0 shared locked -> -1; map 10000 offset=0 shared locked",
     .out = "tavo: open_device> cannot map framebuffer\n", .screen = {200, 100, 200, 50, 8}},
    {.args = "-s ''", .requests = "open -> -1; not closed",
     .out = "tavo: open_device> cannot open framebuffer device \"/dev/fb0\"\n",
     .err = "panel: there is no fault \"updat\"\n", .screen = small,
     .environment = "TAVO_PANEL_FAIL=updat", .name = "unknown fault"},
    {.args = "-s ''", .requests = "open -> -1; not closed",
     .out = "tavo: open_device> cannot open framebuffer device \"/dev/fb0\"\n",
     .err = "panel: ../state/panel: cannot take \"id 01234567890123456\"\n",
     .settings = "id 01234567890123456\n", .environment = "TAVO_PANEL_STATE=../state",
     .name = "unknown setting"},
};
// clang-format on
INSTANTIATE_TEST_SUITE_P(panel_refusals, tool, testing::ValuesIn(refusals), name_of_case);
} // namespace
