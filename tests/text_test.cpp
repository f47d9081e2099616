// Printed text and the scroll.
#include "run_case.h"

namespace {
class printed_text : public on_screens {};
TEST_P(printed_text, is_drawn)
{
    const strings words = split(args.text), operands(words.end() - 3, words.end());
    const auto draw = [&](canvas &c) {
        const bool known =
            c.text(stoi(operands[0]), stoi(operands[1]), operands[2], words[0] == "-h");
        c.status = known ? 0 : 1;
        c.update(257);
    };
    check({.args = args, .draws = draw, .screen = g});
}
const shell_words texts[] = {"0 0 ABCDEFGHIJKLMNOPQRSTUVWXYZ", "1 2 abcdefghijklmnopqrstuvwxyz",
                             "3 5 '0123456789 \":._-*~/,()@&+?<>=|[]'",
                             "-h 0 40 'AZaz09 \":._-*~/,()@&+?<>=|[]'", "0 1 'a\tb\v\f\r\nc'",
                             "45 41 abcd", "1 24 xyz", "0 42 x",
                             // Below 0 with "--", an operand, which -vv makes up for.
                             "-vv -- -1 0 AB", "-vv -- 2 -1 AB",
                             // Characters that the font does not have.
                             "2 2 'ab$cd'", "0 0 ^", "-h 0 0 \x01", "0 0 \x7f", "0 0 \xe9"};
INSTANTIATE_TEST_SUITE_P(texts, printed_text, with_screens(texts), name_on_screen);

class scroll : public on_screens {};
TEST_P(scroll, moves_bands)
{
    const bool full = args.text.starts_with("-f"), inverted = args.text.starts_with("-v");
    int64_t numbers[3] = {}, *number = numbers;
    for (const std::string &word : split(args.text))
        if (isdigit(word.back()))
            *number++ = stoll(word);
    const int64_t start = numbers[0], count = numbers[1], width = numbers[2];
    const auto draw = [&](canvas &c) {
        const int64_t line = int64_t(g.line()), bytes = width != 0 ? width : line;
        const bool fits = 20 * (start + count) <= g.height && bytes >= 0 && bytes <= line;
        for (int64_t i = 0; fits && start >= 2 && i < 20 * count; ++i) {
            const size_t from = size_t(line * (20 * start + i)), size = size_t(bytes);
            c.memory.replace(from - size_t(20 * line), size, c.memory, from, size);
            c.memory.replace(from, size, size, inverted ? '\0' : '\xFF');
        }
        if (start >= 2 && !fits)
            c.out = formatted("tavo: scroll_lines> cannot scroll %d bands from band %d, "
                              "%d bytes wide\n",
                              int(count), int(start), int(width));
        c.update(0, 0, g.columns(), g.height, 2, full, inverted);
    };
    check({.args = args, .draws = draw, .screen = g});
}
const shell_words scrolls[] = {"-z 2 1",
                               "-z 2 3 5",
                               "-z 2 1 1",
                               "-z 2 28",
                               "-z 2 29",
                               "-z 3 27 40",
                               "-z 3 27 41",
                               "-z 1 9999",
                               "-z 2 0",
                               "-z 4 1 100000",
                               "-z 2147483647 2147483647 1",
                               "-v -z 3 20 2",
                               "-fz -- -5 1",
                               "-fz -- 2 1 -1",
                               "-fz -- 3 -2147483648"};
INSTANTIATE_TEST_SUITE_P(texts, scroll, with_screens(scrolls), name_on_screen);
} // namespace
