// Printed text and the scroll.
#include "run_case.h"

namespace {
/// A text, shown; the character that the font does not have ends it.
painter printed(int column, int row, const std::string &letters, bool highlight = false)
{
    return [=](canvas &c) {
        c.status = c.text(column, row, letters, highlight) ? 0 : 1;
        c.update(257);
    };
}

// clang-format off
const std::vector<run_case> texts = {
    {.args = "0 0 ABCDEFGHIJKLMNOPQRSTUVWXYZ",
     .draws = printed(0, 0, "ABCDEFGHIJKLMNOPQRSTUVWXYZ")},
    {.args = "1 2 abcdefghijklmnopqrstuvwxyz",
     .draws = printed(1, 2, "abcdefghijklmnopqrstuvwxyz")},
    {.args = "3 5 '0123456789 \":._-*~/,()@&+?<>=|[]'",
     .draws = printed(3, 5, "0123456789 \":._-*~/,()@&+?<>=|[]")},
    {.args = "-h 0 40 'AZaz09 \":._-*~/,()@&+?<>=|[]'",
     .draws = printed(0, 40, "AZaz09 \":._-*~/,()@&+?<>=|[]", true)},
    {.args = "0 1 'a\tb\v\f\r\nc'", .draws = printed(0, 1, "a\tb\v\f\r\nc")},
    {.args = "45 41 abcd", .draws = printed(45, 41, "abcd")},
    {.args = "0 42 x", .draws = printed(0, 42, "x")},
    // Below 0 with "--", an operand, which -vv makes up for.
    {.args = "-vv -- -1 0 AB", .draws = printed(-1, 0, "AB")},
    {.args = "-vv -- 2 -1 AB", .draws = printed(2, -1, "AB")},
    // Characters that the font does not have.
    {.args = "2 2 'ab$cd'", .draws = printed(2, 2, "ab$cd")},
    {.args = "0 0 \xe9", .draws = printed(0, 0, "\xe9")},
};
// clang-format on
INSTANTIATE_TEST_SUITE_P(texts, tool, testing::ValuesIn(on_screens(texts)), name_of_case);

/// A scroll by one band of 20 rows of so many bands and bytes; 0 bytes are a whole line.
painter scrolled(int64_t start, int64_t count, int64_t width = 0, bool full = false,
                 bool inverted = false)
{
    return [=](canvas &c) {
        const int64_t line = int64_t(c.shape.line()), bytes = width != 0 ? width : line;
        const bool fits = 20 * (start + count) <= c.shape.height && bytes >= 0 && bytes <= line;
        for (int64_t i = 0; fits && start >= 2 && i < 20 * count; ++i) {
            const size_t from = size_t(line * (20 * start + i)), size = size_t(bytes);
            c.memory.replace(from - size_t(20 * line), size, c.memory, from, size);
            c.memory.replace(from, size, size, inverted ? '\0' : '\xFF');
        }
        if (start >= 2 && !fits)
            c.out = formatted("tavo: scroll_lines> cannot scroll %d bands from band %d, "
                              "%d bytes wide\n",
                              int(count), int(start), int(width));
        c.update(0, 0, c.shape.columns(), c.shape.height, 2, full, inverted);
    };
}

// clang-format off
const std::vector<run_case> scrolls = {
    {.args = "-z 2 3 5", .draws = scrolled(2, 3, 5)},
    {.args = "-z 2 29", .draws = scrolled(2, 29)},
    {.args = "-z 3 27 40", .draws = scrolled(3, 27, 40)},
    {.args = "-z 3 27 41", .draws = scrolled(3, 27, 41)},
    {.args = "-z 1 9999", .draws = scrolled(1, 9999)},
    {.args = "-z 2 0", .draws = scrolled(2, 0)},
    {.args = "-z 2147483647 2147483647 1", .draws = scrolled(INT32_MAX, INT32_MAX, 1)},
    {.args = "-v -z 3 20 2", .draws = scrolled(3, 20, 2, false, true)},
    {.args = "-fz -- -5 1", .draws = scrolled(-5, 1, 0, true)},
    {.args = "-fz -- 2 1 -1", .draws = scrolled(2, 1, -1, true)},
    {.args = "-fz -- 3 -2147483648", .draws = scrolled(3, INT32_MIN, 0, true)},
};
// clang-format on
INSTANTIATE_TEST_SUITE_P(scrolls, tool, testing::ValuesIn(on_screens(scrolls)), name_of_case);
} // namespace
