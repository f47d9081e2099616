// Printed text and the scroll.
#include "run_case.h"

struct scroll_row {
    shell_words args;
    int64_t start, count, bytes; // 0: whole lines
    std::string name = "";
};

namespace {
// clang-format off
const std::string partial_auto = update_line("PARTIAL", 257);
const run_case texts[] = {
    {.args = "0 0 ABCDEFGHIJKLMNOPQRSTUVWXYZ", .draws = text(0, 0, "ABCDEFGHIJKLMNOPQRSTUVWXYZ")},
    {.args = "1 2 abcdefghijklmnopqrstuvwxyz", .draws = text(1, 2, "abcdefghijklmnopqrstuvwxyz")},
    {.args = "3 5 '0123456789 \":._-*~/,()@&+?<>=|[]'",
     .draws = text(3, 5, "0123456789 \":._-*~/,()@&+?<>=|[]")},
    {.args = "-h 0 40 'AZaz09 \":._-*~/,()@&+?<>=|[]'",
     .draws = text(0, 40, "AZaz09 \":._-*~/,()@&+?<>=|[]", true)},
    {.args = "0 1 'a\tb\v\f\r\nc'", .draws = text(0, 1, "a\tb\v\f\r\nc")},
    {.args = "45 41 abcd", .draws = text(45, 41, "abcd")},
    {.args = "1 24 xyz", .draws = text(1, 24, "xyz")},
    {.args = "0 42 x", .draws = text(0, 42, "x")},
    // Below 0 with "--", an operand, which -vv makes up for.
    {.args = "-vv -- -1 0 AB", .draws = text(-1, 0, "AB")},
    {.args = "-vv -- 2 -1 AB", .draws = text(2, -1, "AB")},
    {.args = "2 2 ab$cd", .draws = text(2, 2, "ab$cd"), .status = 1},
    {.args = "0 0 ^", .draws = text(0, 0, "^"), .status = 1},
    {.args = "-h 0 0 \x01", .draws = text(0, 0, "\x01"), .status = 1},
    {.args = "0 0 \x7f", .draws = text(0, 0, "\x7f"), .status = 1},
    {.args = "0 0 \xe9", .draws = text(0, 0, "\xe9"), .status = 1},
};
// clang-format on

class text_on_screens : public testing::TestWithParam<std::tuple<run_case, geometry>> {};

TEST_P(text_on_screens, is_printed)
{
    run_case c = std::get<0>(GetParam());
    c.screen = std::get<1>(GetParam());
    c.requests = "update 0,0 " + std::to_string(c.screen.columns()) + "x" +
                 std::to_string(c.screen.height) + " wave=257 partial";
    c.out = partial_auto;
    check(c);
}
INSTANTIATE_TEST_SUITE_P(texts, text_on_screens,
                         testing::Combine(testing::ValuesIn(texts),
                                          testing::ValuesIn(all_screens())),
                         name_on_screen<run_case>);

// clang-format off
const scroll_row scrolls[] = {
    {"-z 2 1", 2, 1, 0}, {"-z 2 3 5", 2, 3, 5}, {"-z 2 1 1", 2, 1, 1}, {"-z 2 28", 2, 28, 0},
    {"-z 2 29", 2, 29, 0}, {"-z 3 27 40", 3, 27, 40}, {"-z 3 27 41", 3, 27, 41},
    {"-z 1 9999", 1, 9999, 0}, {"-z 2 0", 2, 0, 0}, {"-z 4 1 100000", 4, 1, 100000},
    {"-z 2147483647 2147483647 1", 2147483647, 2147483647, 1},
    {"-v -z 3 20 2", 3, 20, 2}, {"-zf -- -5 1", -5, 1, 0}, {"-zf -- 2 1 -1", 2, 1, -1},
    {"-zf -- 3 -2147483648", 3, -2147483648, 0}};
// clang-format on

class scroll_on_screens : public testing::TestWithParam<std::tuple<scroll_row, geometry>> {};

TEST_P(scroll_on_screens, moves_bands)
{
    const auto &[row, g] = GetParam();
    const int64_t line = int64_t(g.line()), bytes = row.bytes != 0 ? row.bytes : line;
    const bool inverted = row.args.text.starts_with("-v"), full = row.args.text.starts_with("-zf");
    const bool fits = 20 * (row.start + row.count) <= g.height && bytes >= 0 && bytes <= line;
    const painter moved = [&](canvas &c) {
        for (int64_t i = 0; fits && row.start >= 2 && i < 20 * row.count; ++i) {
            const size_t from = size_t(line * (20 * row.start + i)), size = size_t(bytes);
            c.memory.replace(from - size_t(20 * line), size, c.memory, from, size);
            c.memory.replace(from, size, size, inverted ? '\0' : '\xFF');
        }
    };
    std::string out;
    if (row.start >= 2 && !fits)
        out = formatted("tavo: scroll_lines> cannot scroll %d bands from band %d, %d bytes wide\n",
                        int(row.count), int(row.start), int(row.bytes));
    check({.args = row.args,
           .draws = moved,
           .requests = formatted("update 0,0 %dx%d wave=2 %s%s", g.columns(), g.height,
                                 full ? "full" : "partial",
                                 inverted ? " marker=42 temperature=4096 flags=1 tail=1,2" : ""),
           .out = out + update_line(full ? "FULL" : "PARTIAL", 2, inverted),
           .screen = g});
}
INSTANTIATE_TEST_SUITE_P(texts, scroll_on_screens,
                         testing::Combine(testing::ValuesIn(scrolls),
                                          testing::ValuesIn(all_screens())),
                         name_on_screen<scroll_row>);
} // namespace
