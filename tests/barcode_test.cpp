// Barcodes, against pictures of the characters that another program has made.
#include "run_case.h"

#include <cstring>

struct barcode_row {
    shell_words args;
    std::string letters, name = "";
};

namespace {
const std::string characters = "* $%+-./0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";

/// The twelve modules of a character, '#' for a bar's: a wide element has two of them.
std::string modules(char character)
{
    static const test_picture picture(TESTS_FOLDER "/code39.png");
    const int row = int(characters.find(char(toupper(character))));
    std::string all;
    for (int x = 0; x < 12; ++x)
        all += picture.gray(x, row) == 0 ? '#' : '.';
    return all;
}

/// Draws a character and moves the pen past it and the gap: a bar's module is one column, a
/// space's two. The column to the right of a bar's is white.
void draw_character(canvas &c, int &pen, int top, char character)
{
    for (char module : modules(character)) {
        if (module == '#' && c.fits(pen, top, 2, 128))
            for (int y = top; y < top + 128; ++y) {
                c.set(pen, y, 0);
                c.set(pen + 1, y, 255);
            }
        pen += module == '#' ? 1 : 2;
    }
    pen += 4;
}

enum class outcome { drawn, no_room, tool_ends };

outcome place(canvas &c, int &pen, int column, int row, int top, const std::string &letters)
{
    if (top + 172 > c.shape.height) {
        c.err += formatted("Bottom pos [%d] [%d] > screen resolution: [%d]\n", top + 172, top,
                           c.shape.height);
        return outcome::no_room;
    }
    for (char letter : letters)
        if (letter == '*' || characters.find(char(toupper(letter))) == std::string::npos) {
            c.err += formatted("Invalid character '%c' in given string\n", letter);
            return outcome::tool_ends;
        }
    if (int(letters.size()) * 24 + 29 >= c.shape.columns()) {
        c.err += "Barcode for given string does not fit on screen\n";
        return outcome::tool_ends;
    }
    c.text(column, row, letters);
    draw_character(c, pen, top, '*');
    for (char letter : letters)
        draw_character(c, pen, top, letter);
    draw_character(c, pen, top, '*');
    return outcome::drawn;
}

outcome draw_barcode(canvas &c, const std::string &letters)
{
    white(c);
    int pen = 30;
    if (letters.size() <= 22) {
        const outcome first = place(c, pen, 6, 10, 100, letters);
        if (first != outcome::drawn)
            return first;
        const int bottom = c.shape.height;
        pen = 30 - pen + c.shape.columns() - 11;
        return place(c, pen, pen / 16 + 5, (bottom - 90) / 24 + 1, bottom - 218, letters);
    }
    outcome last = outcome::drawn;
    int top = 100;
    for (size_t at = 0; at < letters.size() && last == outcome::drawn; at += 22, top += 172) {
        pen = 30;
        last = place(c, pen, 6, (top + 148) / 24, top, letters.substr(at, 22));
    }
    return last;
}

class barcode_on_screens : public testing::TestWithParam<std::tuple<barcode_row, geometry>> {};

TEST_P(barcode_on_screens, is_drawn)
{
    const auto &[row, g] = GetParam();
    canvas drawn(g);
    run_case c = {.args = row.args,
                  .draws = [&](canvas &to) { draw_barcode(to, row.letters); },
                  .requests = "get-vscreeninfo; update 0,0 WxH wave=2 partial",
                  .out = update_line("PARTIAL", 2),
                  .screen = g};
    if (draw_barcode(drawn, row.letters) == outcome::tool_ends) {
        c.requests = "not closed";
        c.out = "";
        c.status = 1;
    }
    check(c);
}

std::vector<geometry> screens()
{
    std::vector<geometry> all = all_screens();
    // Just too small and just large enough, for 22 characters and for bars and text.
    all.insert(all.end(), {{557, 444, 560, 444, 8},
                           {558, 444, 560, 444, 8},
                           {558, 450, 560, 450, 4},
                           {600, 271, 600, 271, 2},
                           {600, 272, 600, 272, 1}});
    return all;
}

// clang-format off
const barcode_row texts[] = {
    {"-r ''", ""}, {"-r CODE39", "CODE39"}, {"-r abc", "abc"}, {"-r AB*C", "AB*C"},
    {"-r \xe9", "\xe9"}, {"-r '! $'", "! $"},
    {"-r '   $%+-./0123456789ABCDE'", "   $%+-./0123456789ABCDE"},
    {"-r ' $%+-./0123456789AB'", " $%+-./0123456789AB"},
    {"-r FGHIJKLMNOPQRSTUVWXYZ", "FGHIJKLMNOPQRSTUVWXYZ"},
    {"-r abcdefghijklmnopqrstuvwxyz", "abcdefghijklmnopqrstuvwxyz"},
    {"-r ZZZZZZZZZZZZZZZZZZZZZZ!", "ZZZZZZZZZZZZZZZZZZZZZZ!"},
    {"-r " + std::string(10000, 'A'), std::string(10000, 'A')},
};

/// Each length up to that of the first piece of a long text.
const barcode_row lengths[] = {
    {"-r T", "T"}, {"-r TH", "TH"}, {"-r THE", "THE"}, {"-r 'THE '", "THE "}, {"-r 12345", "12345"},
    {"-r 1234567", "1234567"}, {"-r 12345678", "12345678"}, {"-r 123456789", "123456789"},
    {"-r 'THE QUICK BROWN FOX 1'", "THE QUICK BROWN FOX 1"},
    {"-r 'THE QUICK BROWN FOX 12'", "THE QUICK BROWN FOX 12"},
    {"-r 'THE QUICK BROWN FOX 123'", "THE QUICK BROWN FOX 123"},
    {"-r " + std::string(70, '8'), std::string(70, '8')},
    {"-r " + std::string(44, '-'), std::string(44, '-')},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(texts, barcode_on_screens,
                         testing::Combine(testing::ValuesIn(texts), testing::ValuesIn(screens())),
                         name_on_screen<barcode_row>);
INSTANTIATE_TEST_SUITE_P(lengths, barcode_on_screens,
                         testing::Combine(testing::ValuesIn(lengths), testing::Values(paper)),
                         name_on_screen<barcode_row>);
} // namespace
