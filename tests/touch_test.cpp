// The touch test, from recorded events: what it says, sends and draws.
#include "panel_run.h"

#include <sstream>

namespace {
/// Slot, tracking ID, x, y and one that means nothing; a capital makes it an event of another type.
std::string event(char letter, int value)
{
    const std::string letters = "s/////xy//t", lower(1, char(letter | 32)); // from code 0x2F on
    const uint32_t code = 0x2F + uint32_t(lower == "z" ? 99 : letters.find(lower));
    const uint32_t record[] = {1, 2, (letter & 32 ? 3u : 1u) | code << 16, uint32_t(value)};
    return {reinterpret_cast<const char *>(record), sizeof record};
}

void start_screen(canvas &c)
{
    const int w = c.shape.width, h = c.shape.height;
    c.clear();
    for (int y = std::max(0, h - 120); y < h; ++y)
        for (int x = 0; x < w; x += x == 119 && w > 240 ? w - 239 : 1)
            c.set(x, y, 0x0C);
}

/// Bresenham's walk without its first point; what lies off the screen is left out.
void line(canvas &c, int x, int y, int x_end, int y_end)
{
    const int ax = abs(x_end - x), ay = abs(y_end - y), longer = std::max(ax, ay);
    for (int i = 0, err = longer / 2; i < longer; ++i) {
        err += std::min(ax, ay);
        const bool both = err >= longer;
        err -= both ? longer : 0;
        x += ax >= ay || both ? (x_end > x) - (x_end < x) : 0;
        y += ax < ay || both ? (y_end > y) - (y_end < y) : 0;
        if (x >= 0 && y >= 0 && x < c.shape.width && y < c.shape.height)
            c.set(x, y, 0);
    }
}

const struct touch_row {
    const char *events;  // "|" ends a write, "#" fills half a block, "~" is half an event
    const char *happens; // segments, "R" release, "D" update, "/" new start screen, "!" exit
    geometry shape = {}; // none: screens of 758 x 1024 at every depth
} rows[] = {
    // clang-format off
    {"s0 x10 y20 | x30 y25 | z9 | x12 y5", "30 25 10 20, 12 5 30 25"},
    {"s0 x10 y20 x30 y25 ~ | x12 y5 ~ | ~", "30 25 10 20, 12 5 30 25"},
    {"s0 x10 y10 y50 x90 x95 y60", "10 50 10 10, 95 60 10 50"},
    {"s0 x10 y20 X11 Y21 S1 T-1 z7 x30 y25", "30 25 10 20"},
    {"s0 x10 y20 x30 y30 t-1 x50 y50 t0 x60 y60 x70 y70", "30 30 10 20, R, D, 70 70 60 60, D"},
    {"s1 x10 y20 s0 x30 y30 t-1 s1 x5 y6 s0 x8 y9", "R, D"},
    {"s0 x9 y9 s1 x99 y99 s0 x19 y9 s1 x99 y109 s0 y20", "19 9 9 9, 99 109 99 99, 19 20 19 9, D"},
    {"s2 x5 y5 x6 y6 s-4 y7 y8 s2147483647 y9 y9 y9 y9 y9 y9 s0 t57 x5 y5 s1 x7 y7 x8 y8",
     "D, D, 8 8 7 7"},
    {"x5 y5 x6 y6 s0 y10 x30 y40 x50 y60", "D, 50 60 30 40"},
    {"s0 x119 y904 x120 y905 x638 y905 x639 y904 y300",
     "120 905 119 904, 638 905 120 905, 639 904 638 905, 639 300 639 904, D"},
    {"s0 x50 y900 x60 y950 x700 y100 | x1 y1", "60 950 50 900, !"},
    {"s0 x9 y9 x639 y905 x300 y300 s0 x400 y400 x410 y410 | x420 y420",
     "639 905 9 9, 410 410 400 400, D, /, 420 420 410 410"},
    {"s0 x700 y950 # s0 x5 y5 x6 y6 # x7 y7", "6 6 5 5, /, 7 7 6 6"},
    {"s0 x700 y950 | x710 y960 | t1 x9 y9 x8 y8", "/, 8 8 9 9"},
    {"s1 x50 y950 x700 y950 x750 y1000", "700 950 50 950, 750 1000 700 950"},
    {"s1 x-5 y10 x30 y40 x-7 y-8 x3 y4", "30 40 30 10, 30 40 30 40, 3 4 3 4"},
    {"s1 x3000000 y9 x5 y800000 x757 y1023 x758 y1024 y0",
     "5 800000 3000000 9, 757 1023 5 800000, 758 1024 757 1023, 758 0 758 1024, D"},
    {"s1 x0 y0 x3000000 y2000001 x700 y5", "3000000 2000001 0 0, 700 5 3000000 2000001"},
    {"", "", {5, 3, 8, 3, 4}}, {"s0 x4 y2", "!", {5, 3, 8, 3, 8}},
    {"s1 x1 y0 x39 y599 x3 y300 | s0 x130 y500 s0 x30 y481", "39 599 1 0, 3 300 39 599, !",
     {40, 600, 40, 600, 2}},
    // clang-format on
};

void check(const touch_row &row, const geometry &g)
{
    std::vector<std::string> writes(1);
    for (const std::string &word : words(row.events))
        if (word == "|")
            writes.emplace_back();
        else if (word == "#")
            while (writes.back().size() % 512)
                writes.back() += event('z', 0);
        else
            writes.back() += word == "~" ? "cut off" : event(word[0], stoi(word.substr(1)));
    canvas drawn(g);
    start_screen(drawn);
    std::string err, happened,
        out = "<257><1>Testing ...\nTouch bottom left to exit\n"
              "Touch bottom right to clear screen\n";
    for (std::istringstream in(row.happens); getline(in >> std::ws, happened, ',');) {
        int at[4];
        const char what = happened[0];
        if (sscanf(happened.c_str(), "%d %d %d %d", at, at + 1, at + 2, at + 3) == 4)
            line(drawn, at[0], at[1], at[2], at[3]);
        err += isdigit(what) ? happened + "\n" : what == 'R' ? "Touch released\n" : "";
        out += what == '/' ? "<257><1>" : what == '!' ? "<257>" : what == 'D' ? "<1>" : "";
        what == '/' ? start_screen(drawn) : what == '!' ? drawn.clear() : void();
    }
    out += happened == "!" ? "<2>" : "yyy\n<2>";
    err += happened == "!" ? "" : "\nevtest: error reading: ";
    run_result got = virtual_panel(g).run_piped({"-j", "pipe"}, writes, "clear screen\n");
    got.out = rewritten(got.out, {{"PARTIAL (\\d+) 0", "$1"}});
    got.err = rewritten(got.err, {{"(reading: ).+\n", "$1"}});
    got.expect("0" + out + err, drawn);
}

TEST(touch, streams)
{
    for (const touch_row &row : rows)
        for (const geometry &g : row.shape.width ? std::vector{row.shape} : all_shapes())
            if (g.width == 758 || row.shape.width)
                check(row, g);
}

TEST(touch, devices_that_cannot_be_read)
{
    const virtual_panel panel(paper);
    for (const char *path : {"none", " "})
        panel.run({"-j", path}).expect("0<PARTIAL 2 0>", canvas(paper));
    EXPECT_EQ(panel.run({"-j", "."}).err, "\nevtest: error reading: Is a directory\n");
}
} // namespace
