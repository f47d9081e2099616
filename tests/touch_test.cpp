// The touch test, from recorded events: what it draws, says and sends.
#include "run_case.h"

#include <cstdlib>
#include <sstream>

namespace {
std::string event(uint32_t type, uint32_t code, int value)
{
    const uint32_t record[] = {1, 2, type | code << 16, uint32_t(value)};
    return {reinterpret_cast<const char *>(record), sizeof record};
}

/// Events are a slot, an id, an x or a y with its value; "key" is one of another type, "pressure"
/// one of another code, "half" the first half of one. "|" ends a write; "fill" adds events of no
/// meaning until the write has that many.
strings writes_of(const std::string &events)
{
    const std::map<std::string, std::pair<uint32_t, uint32_t>> kinds = {
        {"slot", {3, 0x2F}}, {"x", {3, 0x35}},   {"y", {3, 0x36}},
        {"id", {3, 0x39}},   {"key", {1, 0x36}}, {"pressure", {3, 0x3A}}};
    strings writes(1);
    std::istringstream in(events);
    int value;
    for (std::string word; in >> word;)
        if (word == "|")
            writes.emplace_back();
        else if (word == "half")
            writes.back() += "cut off.";
        else if (in >> value; word == "fill")
            while (writes.back().size() < size_t(value) * 16)
                writes.back() += event(0, 0, 0);
        else
            writes.back() += event(kinds.at(word).first, kinds.at(word).second, value);
    return writes;
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

void restart(canvas &c)
{
    const int bottom = c.shape.height - 120;
    white(c);
    rectangle(0, bottom, 120, 120, 0x0C)(c);
    rectangle(c.shape.columns() - 120, bottom, 120, 120, 0x0C)(c);
    c.update(257);
    c.update(1);
}

/// The four numbers of a segment, "released", "update", "start screen", "exit" or "fault NAME:N".
void happen(canvas &c, const std::string &what, std::string &trace)
{
    if (int at[4]; sscanf(what.c_str(), "%d %d %d %d", at, at + 1, at + 2, at + 3) == 4) {
        line(c, at[0], at[1], at[2], at[3]);
        trace += what + "\n";
    }
    if (what == "start screen")
        restart(c);
    if (what == "released")
        trace += "Touch released\n";
    if (what == "released" || what == "update")
        c.update(1);
    if (what.starts_with("fault"))
        c.request(what);
    if (what == "exit") {
        white(c);
        c.update(257);
    }
}

/// A whole run, up to its end for the reason that is given or to an exit.
void run(canvas &c, const std::string &happens, const std::string &reason, std::string &trace)
{
    restart(c);
    c.out += "Testing ...\nTouch bottom left to exit\nTouch bottom right to clear screen\n";
    std::istringstream steps(happens);
    std::string step;
    while (getline(steps >> std::ws, step, ','))
        happen(c, step, trace);
    if (step != "exit") {
        c.out += "yyy\n";
        trace += "\nevtest: error reading: " + reason + "\n";
    }
    c.finish();
}

/// A run without strokes.
painter ends(const std::string &reason, const std::string &fault = "")
{
    return [=](canvas &c) { run(c, fault, reason, c.err); };
}

/// Events, and what happens.
run_case traced(const std::string &events, const std::string &happens,
                const geometry &screen = paper)
{
    return {.args = "-j pipe",
            .draws = [=](canvas &c) { run(c, happens, "Success", c.err); },
            .screen = screen,
            .pipe = writes_of(events),
            .name = "j pipe " + events};
}

// clang-format off
const std::vector<run_case> strokes = {
    traced("slot 0 x 10 y 20 key 21 | x 30 y 25 | pressure 9 | x 12 y 5",
           "30 25 10 20, 12 5 30 25"),
    traced("slot 0 x 10 y 20 x 30 y 25 half | x 12 y 5 half | half", "30 25 10 20, 12 5 30 25"),
    traced("slot 0 x 10 y 10 y 50 x 90 x 95 y 60", "10 50 10 10, 95 60 10 50"),
    traced("slot 0 x 10 y 20 x 30 y 30 id -1 x 50 y 50 id 0 x 60 y 60 x 70 y 70",
           "30 30 10 20, released, update, 70 70 60 60"),
    traced("slot 1 x 10 y 20 slot 0 x 30 y 30 id -1 slot 1 x 5 y 6 slot 0 x 8 y 9", "released"),
    traced("slot 0 x 10 y 20 id -2 slot 0 x 30 y 25", "30 25 10 20"),
    traced("slot 0 x 10 y 20 slot -1 slot 0 x 30 y 25", "30 25 10 20"),
    traced("slot 0 x 9 y 9 slot 1 x 99 y 99 slot 0 x 19 y 9 slot 1 x 99 y 109 slot 0 y 20 y 30",
           "19 9 9 9, 99 109 99 99, 19 20 19 9, update, 19 30 19 20"),
    traced("slot 2 x 5 y 5 x 6 y 6 slot -4 y 7 y 8 slot 2147483647 y 9 y 9 y 9 y 9 y 9 y 9 slot 0 "
           "id 57 x 5 y 5 slot 1 x 7 y 7 x 8 y 8", "update, update, 8 8 7 7"),
    traced("x 5 y 5 x 6 y 6 slot 0 y 10 x 30 y 40 x 50 y 60", "update, 50 60 30 40"),
    // The corner squares.
    traced("slot 0 x 119 y 904 x 120 y 905 x 638 y 905 x 639 y 904 y 300",
           "120 905 119 904, 638 905 120 905, 639 904 638 905, 639 300 639 904, update"),
    traced("slot 0 x 50 y 900 x 60 y 950 x 700 y 100 | x 1 y 1", "60 950 50 900, exit"),
    traced("slot 0 x 9 y 9 x 119 y 905", "119 905 9 9, exit"),
    traced("slot 0 x 9 y 9 x 639 y 905 x 300 y 300 slot 0 x 400 y 400 x 410 y 410 | x 420 y 420",
           "639 905 9 9, 410 410 400 400, update, start screen, 420 420 410 410"),
    traced("slot 0 x 700 y 950 fill 59 slot 0 x 5 y 5 x 6 y 6 x 7 y 7",
           "6 6 5 5, start screen, 7 7 6 6"),
    traced("slot 0 x 700 y 950 fill 60 slot 0 x 5 y 5 x 6 y 6 x 7 y 7",
           "start screen, 6 6 5 5, 7 7 6 6"),
    traced("slot 0 x 700 y 950 | x 710 y 960 | id 1 x 9 y 9 x 8 y 8", "start screen, 8 8 9 9"),
    traced("slot 1 x 50 y 950 x 700 y 950 x 750 y 1000", "700 950 50 950, 750 1000 700 950"),
    // Off the screen.
    traced("slot 1 x -5 y 10 x 30 y 40 x -7 y -8 x 3 y 4", "30 40 30 10, 30 40 30 40, 3 4 3 4"),
    traced("slot 1 x -1 y 10 x 30 y 40", "30 40 30 10"),
    traced("slot 1 x -5 y 10 x -7 y 40 x 10 y -5 x 30 y -8",
           "-5 40 -5 10, 10 40 10 40, 30 -5 10 -5"),
    traced("slot 1 x 3000000 y 9 x 5 y 800000 x 757 y 1023 x 758 y 1024 y 0",
           "5 800000 3000000 9, 757 1023 5 800000, 758 1024 757 1023, 758 0 758 1024, update"),
    traced("slot 1 x 0 y 0 x 3000000 y 2000001 x 700 y 5",
           "3000000 2000001 0 0, 700 5 3000000 2000001"),
};
const std::vector<run_case> no_events = {traced("", "")};
// clang-format on
const std::vector<geometry> ordinary = {
    {758, 1024, 758, 1024, 1}, {758, 1024, 768, 2048, 2}, {758, 1024, 768, 2048, 4}, paper};
INSTANTIATE_TEST_SUITE_P(strokes, tool, testing::ValuesIn(on_screens(strokes, ordinary)),
                         name_of_case);
INSTANTIATE_TEST_SUITE_P(no_events, tool, testing::ValuesIn(on_screens(no_events)), name_of_case);

const painter unheard = [](canvas &c) {
    run(c, "20 5 10 5", "Success", c.err); // whatever the last write's error was
    c.out = "";
};
const painter at_once = [](canvas &c) { run(c, "2 -200 1 -200, released, exit", "", c.out); };
// clang-format off
const std::vector<run_case> devices = {
    traced("slot 0 x 4 y 2", "exit", {5, 3, 8, 3, 8}),
    traced("slot 1 x 1 y 0 x 39 y 599 x 3 y 300 | slot 0 x 130 y 500 slot 0 x 30 y 481",
           "39 599 1 0, 3 300 39 599, exit", {40, 600, 40, 600, 2}),
    traced("slot 1 x 8190 y 2 x 8192 y 3", "8192 3 8190 2", {8193, 4, 8193, 4, 1}),
    {.args = "-j none", .draws = [](canvas &c) { c.finish(); }},
    {.args = "-j in -j ' '", .draws = [](canvas &c) { c.finish(); }, .given = {{"in", ""}}},
    {.args = "-j .", .draws = ends("Is a directory")},
    {.args = "-j in", .draws = ends("Input/output error", "fault read:1"),
     .given = {{"in", "sixteen bytes..."}}},
    {.args = "-j in", .draws = ends("Interrupted system call", "fault eintr-read:1"),
     .given = {{"in", writes_of("slot 0 x 10 y 5 x 20 y 5")[0]}}},
    // The path is cut at 63 characters and ends at a blank.
    {.args = "-j " + std::string(70, 'e'), .draws = ends("Success"),
     .given = {{std::string(63, 'e'), "fifteen bytes.."}}},
    {.args = "-j ' in x'", .draws = ends("Success"), .given = {{"in", ""}}},
    {.args = "-j in", .draws = unheard, .given = {{"in", writes_of("slot 0 x 10 y 5 x 20 y 5")[0]}},
     .streams = "3<>../gone 1>../gone 3>&-"},
    // A trace is there before the update that follows it, and all of them before the next read.
    {.args = "-j pipe", .draws = at_once, .screen = {5, 3, 8, 3, 8},
     .pipe = writes_of("slot 0 x 1 y -200 x 2 y -200 id -1 | slot 0 x 1 y 1"),
     .streams = "2>&1"},
};
// clang-format on
INSTANTIATE_TEST_SUITE_P(devices, tool, testing::ValuesIn(devices), name_of_case);
} // namespace
