// The touch test, from recorded events: what it draws, says and sends.
#include "run_case.h"

#include <cstdlib>
#include <sstream>

/// Events are a slot, an id, an x or a y with its value; "key" is one of another type, "pressure"
/// one of another code, "half" the first half of one. "|" ends a write; "fill" adds events of no
/// meaning until the write has that many.
/// What happens: the four numbers of a segment, "released", "update", "start screen", "exit".
struct touch_row {
    shell_words args; // the events
    const char *happens;
    std::string name = "";
};

namespace {
std::string event(uint32_t type, uint32_t code, int value)
{
    const uint32_t record[] = {1, 2, type | code << 16, uint32_t(value)};
    return {reinterpret_cast<const char *>(record), sizeof record};
}

strings writes_of(const std::string &events)
{
    strings writes(1);
    std::istringstream in(events);
    for (std::string word; in >> word;) {
        std::string &last = writes.back();
        int value = 0;
        if (word != "|" && word != "half")
            in >> value;
        if (word == "|")
            writes.emplace_back();
        else if (word == "half")
            last += "cut off.";
        else if (word == "fill")
            while (last.size() < size_t(value) * 16)
                last += event(0, 0, 0);
        else
            last += word == "slot"  ? event(3, 0x2F, value)
                    : word == "x"   ? event(3, 0x35, value)
                    : word == "y"   ? event(3, 0x36, value)
                    : word == "id"  ? event(3, 0x39, value)
                    : word == "key" ? event(1, 0x36, value)
                                    : event(3, 0x3A, value);
    }
    return writes;
}

void start_screen(canvas &c)
{
    const int bottom = c.shape.height - 120;
    white(c);
    rectangle(0, bottom, 120, 120, 0x0C)(c);
    rectangle(c.shape.columns() - 120, bottom, 120, 120, 0x0C)(c);
}

/// Bresenham's walk without its first point; what lies off the screen is left out.
void line(canvas &c, int x, int y, int x_end, int y_end)
{
    const int ax = abs(x_end - x), ay = abs(y_end - y), longer = std::max(ax, ay);
    const int step_x = (x_end > x) - (x_end < x), step_y = (y_end > y) - (y_end < y);
    for (int i = 0, err = longer / 2; i < longer; ++i) {
        err += std::min(ax, ay);
        const bool both = err >= longer;
        err -= both ? longer : 0;
        x += ax >= ay || both ? step_x : 0;
        y += ax < ay || both ? step_y : 0;
        if (x >= 0 && y >= 0 && x < c.shape.columns() && y < c.shape.height)
            c.set(x, y, 0);
    }
}

/// Collects what a run of the touch test does, step by step.
struct expectation {
    explicit expectation(const geometry &g)
        : drawn(g), size(formatted("%dx%d", g.columns(), g.height))
    {
        restart();
        drawn.out += "Testing ...\nTouch bottom left to exit\nTouch bottom right to clear screen\n";
    }
    void update(int wave_mode)
    {
        drawn.out += update_line("PARTIAL", wave_mode);
        requests += formatted("update 0,0 %s wave=%d partial; ", size.c_str(), wave_mode);
    }
    void restart()
    {
        start_screen(drawn);
        update(257);
        update(1);
    }
    void step(const std::string &what)
    {
        int at[4];
        if (sscanf(what.c_str(), "%d %d %d %d", at, at + 1, at + 2, at + 3) == 4) {
            line(drawn, at[0], at[1], at[2], at[3]);
            drawn.err += what + "\n";
        } else if (what == "released") {
            drawn.err += "Touch released\n";
            update(1);
        } else if (what == "update") {
            update(1);
        } else if (what == "start screen") {
            restart();
        } else if (what == "exit") {
            white(drawn);
            update(257);
        }
    }
    canvas drawn;
    std::string size, requests;
};

class touch_on_screens : public testing::TestWithParam<std::tuple<touch_row, geometry>> {};

TEST_P(touch_on_screens, is_drawn)
{
    const auto &[row, g] = GetParam();
    expectation wanted(g);
    std::istringstream steps(row.happens);
    std::string step;
    while (getline(steps >> std::ws, step, ','))
        wanted.step(step);
    if (step != "exit") {
        wanted.drawn.out += "yyy\n";
        wanted.drawn.err += "\nevtest: error reading: Success\n";
    }
    check({.args = {"-j pipe", row.args.file, row.args.line},
           .draws = [&](canvas &c) { c = wanted.drawn; },
           .requests = wanted.requests + "get-vscreeninfo; update 0,0 WxH wave=2 partial",
           .out = update_line("PARTIAL", 2),
           .screen = g,
           .pipe = writes_of(row.args.text),
           .pipe_after = "clear screen\n"});
}

// clang-format off
const touch_row strokes[] = {
    {"slot 0 x 10 y 20 | x 30 y 25 | pressure 9 | x 12 y 5", "30 25 10 20, 12 5 30 25"},
    {"slot 0 x 10 y 20 x 30 y 25 half | x 12 y 5 half | half", "30 25 10 20, 12 5 30 25"},
    {"slot 0 x 10 y 10 y 50 x 90 x 95 y 60", "10 50 10 10, 95 60 10 50"},
    {"slot 0 x 10 y 20 key 21 pressure 7 x 30 y 25", "30 25 10 20"},
    {"slot 0 x 10 y 20 x 30 y 30 id -1 x 50 y 50 id 0 x 60 y 60 x 70 y 70",
     "30 30 10 20, released, update, 70 70 60 60"},
    {"slot 1 x 10 y 20 slot 0 x 30 y 30 id -1 slot 1 x 5 y 6 slot 0 x 8 y 9", "released"},
    {"slot 0 x 10 y 20 id -2 slot 0 x 30 y 25", "30 25 10 20"},
    {"slot 0 x 10 y 20 slot -1 slot 0 x 30 y 25", "30 25 10 20"},
    {"slot 0 x 9 y 9 slot 1 x 99 y 99 slot 0 x 19 y 9 slot 1 x 99 y 109 slot 0 y 20 y 30",
     "19 9 9 9, 99 109 99 99, 19 20 19 9, update, 19 30 19 20"},
    {"slot 2 x 5 y 5 x 6 y 6 slot -4 y 7 y 8 slot 2147483647 y 9 y 9 y 9 y 9 y 9 y 9 slot 0 "
     "id 57 x 5 y 5 slot 1 x 7 y 7 x 8 y 8", "update, update, 8 8 7 7"},
    {"x 5 y 5 x 6 y 6 slot 0 y 10 x 30 y 40 x 50 y 60", "update, 50 60 30 40"},
    // The corner squares.
    {"slot 0 x 119 y 904 x 120 y 905 x 638 y 905 x 639 y 904 y 300",
     "120 905 119 904, 638 905 120 905, 639 904 638 905, 639 300 639 904, update"},
    {"slot 0 x 50 y 900 x 60 y 950 x 700 y 100 | x 1 y 1", "60 950 50 900, exit"},
    {"slot 0 x 9 y 9 x 119 y 905", "119 905 9 9, exit"},
    {"slot 0 x 9 y 9 x 639 y 905 x 300 y 300 slot 0 x 400 y 400 x 410 y 410 | x 420 y 420",
     "639 905 9 9, 410 410 400 400, update, start screen, 420 420 410 410"},
    {"slot 0 x 700 y 950 fill 59 slot 0 x 5 y 5 x 6 y 6 x 7 y 7",
     "6 6 5 5, start screen, 7 7 6 6"},
    {"slot 0 x 700 y 950 fill 60 slot 0 x 5 y 5 x 6 y 6 x 7 y 7",
     "start screen, 6 6 5 5, 7 7 6 6"},
    {"slot 0 x 700 y 950 | x 710 y 960 | id 1 x 9 y 9 x 8 y 8", "start screen, 8 8 9 9"},
    {"slot 1 x 50 y 950 x 700 y 950 x 750 y 1000", "700 950 50 950, 750 1000 700 950"},
    // Off the screen.
    {"slot 1 x -5 y 10 x 30 y 40 x -7 y -8 x 3 y 4", "30 40 30 10, 30 40 30 40, 3 4 3 4"},
    {"slot 1 x -1 y 10 x 30 y 40", "30 40 30 10"},
    {"slot 1 x 3000000 y 9 x 5 y 800000 x 757 y 1023 x 758 y 1024 y 0",
     "5 800000 3000000 9, 757 1023 5 800000, 758 1024 757 1023, 758 0 758 1024, update"},
    {"slot 1 x 0 y 0 x 3000000 y 2000001 x 700 y 5", "3000000 2000001 0 0, 700 5 3000000 2000001"},
};
std::vector<geometry> ordinary_screens()
{
    std::vector<geometry> all;
    for (const geometry &g : all_screens())
        if (g.width == 758)
            all.push_back(g);
    return all;
}
const touch_row nothing[] = {{"", ""}};
const touch_row exits[] = {{"slot 0 x 4 y 2", "exit"}};
const touch_row tall[] = {
    {"slot 1 x 1 y 0 x 39 y 599 x 3 y 300 | slot 0 x 130 y 500 slot 0 x 30 y 481",
     "39 599 1 0, 3 300 39 599, exit"}};
const touch_row last_pixel[] = {{"slot 1 x 8190 y 2 x 8192 y 3", "8192 3 8190 2"}};

const std::string shown = "get-vscreeninfo; update 0,0 40x600 wave=2 partial";
const std::string began = "update 0,0 40x600 wave=257 partial; update 0,0 40x600 wave=1 partial; ";
const std::string greeting = update_line("PARTIAL", 257) + update_line("PARTIAL", 1) +
    "Testing ...\nTouch bottom left to exit\nTouch bottom right to clear screen\n";
const std::string in_order_of_time = R"(panel: open -> 0
panel: get-vscreeninfo -> 0
panel: map 24 offset=0 shared locked -> 0
panel: map 24 offset=0 shared locked -> 0
update_to_display: update_mode=PARTIAL, wave_mode=257 inverted=0
panel: update 0,0 5x3 wave=257 partial marker=42 temperature=4096 flags=0 tail=1,2 -> 0, 450 ms
update_to_display: update_mode=PARTIAL, wave_mode=1 inverted=0
panel: update 0,0 5x3 wave=1 partial marker=42 temperature=4096 flags=0 tail=1,2 -> 0, 260 ms
Testing ...
Touch bottom left to exit
Touch bottom right to clear screen
2 -200 1 -200
Touch released
update_to_display: update_mode=PARTIAL, wave_mode=1 inverted=0
panel: update 0,0 5x3 wave=1 partial marker=42 temperature=4096 flags=0 tail=1,2 -> 0, 260 ms
update_to_display: update_mode=PARTIAL, wave_mode=257 inverted=0
panel: update 0,0 5x3 wave=257 partial marker=42 temperature=4096 flags=0 tail=1,2 -> 0, 450 ms
panel: get-vscreeninfo -> 0
update_to_display: update_mode=PARTIAL, wave_mode=2 inverted=0
panel: update 0,0 5x3 wave=2 partial marker=42 temperature=4096 flags=0 tail=1,2 -> 0, 450 ms
panel: close -> 0
)";
const geometry slim = {40, 600, 40, 600, 8};
const run_case devices[] = {
    {.args = "-j none", .requests = shown, .out = update_line("PARTIAL", 2), .screen = slim},
    {.args = "-j ' '", .requests = shown, .out = update_line("PARTIAL", 2), .screen = slim},
    {.args = "-j .", .draws = start_screen, .requests = began + shown,
     .out = greeting + "yyy\n" + update_line("PARTIAL", 2),
     .err = "\nevtest: error reading: Is a directory\n", .screen = slim},
    {.args = "-j in", .draws = start_screen, .requests = began + "fault read:1; " + shown,
     .out = greeting + "yyy\n" + update_line("PARTIAL", 2),
     .err = "\nevtest: error reading: Input/output error\n", .faults = "read", .screen = slim,
     .given = {{"in", "sixteen bytes..."}}},
    {.args = "-j in", .draws = start_screen, .requests = began + "fault eintr-read:1; " + shown,
     .out = greeting + "yyy\n" + update_line("PARTIAL", 2),
     .err = "\nevtest: error reading: Interrupted system call\n", .faults = "eintr-read",
     .screen = slim, .given = {{"in", "sixteen bytes..."}}},
    // The path is cut at 63 characters and ends at a blank.
    {.args = "-j " + std::string(70, 'e'), .draws = start_screen, .requests = began + shown,
     .out = greeting + "yyy\n" + update_line("PARTIAL", 2),
     .err = "\nevtest: error reading: Success\n", .screen = slim,
     .given = {{std::string(63, 'e'), "fifteen bytes.."}}},
    {.args = "-j ' in x'", .draws = start_screen, .requests = began + shown,
     .out = greeting + "yyy\n" + update_line("PARTIAL", 2),
     .err = "\nevtest: error reading: Success\n", .screen = slim, .given = {{"in", ""}}},
    // A trace is there before the update that follows it, and all of them before the next read.
    {.args = "-j pipe", .draws = white, .requests = anything, .out = in_order_of_time,
     .screen = {5, 3, 8, 3, 8},
     .pipe = writes_of("slot 0 x 1 y -200 x 2 y -200 id -1 | slot 0 x 1 y 1"), .together = true},
};
// clang-format on

const auto named = name_on_screen<touch_row>;
INSTANTIATE_TEST_SUITE_P(strokes, touch_on_screens,
                         testing::Combine(testing::ValuesIn(strokes),
                                          testing::ValuesIn(ordinary_screens())),
                         named);
INSTANTIATE_TEST_SUITE_P(nothing, touch_on_screens,
                         testing::Combine(testing::ValuesIn(nothing),
                                          testing::ValuesIn(all_screens())),
                         named);
INSTANTIATE_TEST_SUITE_P(exits, touch_on_screens,
                         testing::Combine(testing::ValuesIn(exits),
                                          testing::Values(geometry{5, 3, 8, 3, 8})),
                         named);
INSTANTIATE_TEST_SUITE_P(tall, touch_on_screens,
                         testing::Combine(testing::ValuesIn(tall),
                                          testing::Values(geometry{40, 600, 40, 600, 2})),
                         named);
INSTANTIATE_TEST_SUITE_P(last_pixel, touch_on_screens,
                         testing::Combine(testing::ValuesIn(last_pixel),
                                          testing::Values(geometry{8193, 4, 8193, 4, 1})),
                         named);
INSTANTIATE_TEST_SUITE_P(devices, tool, testing::ValuesIn(devices), name_of_case);
} // namespace
