// Barcodes, against pictures of the characters that another program has made.
#include "run_case.h"

namespace {
const std::string characters = "* $%+-./0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";

/// Draws a character and moves the pen past it and the gap. A row of the picture has its twelve
/// modules, of which a wide element has two: a bar's is one column on the screen, with a white one
/// to its right, and a space's is two columns.
void draw_character(canvas &c, int &pen, int top, char character)
{
    static const test_picture picture(TESTS_FOLDER "/code39.png");
    const int row = int(characters.find(char(toupper(character))));
    for (int module = 0; module < 12; ++module) {
        const bool bar = picture.gray(module, row) == 0;
        if (bar && c.fits(pen, top, 2, 128))
            for (int y = top; y < top + 128; ++y) {
                c.set(pen, y, 0);
                c.set(pen + 1, y, 255);
            }
        pen += bar ? 1 : 2;
    }
    pen += 4;
}

/// Returns false when there is no next barcode. What ends the tool sets the status.
bool draw_barcode(canvas &c, int &pen, int column, int row, int top, const std::string &letters)
{
    if (top + 172 > c.shape.height) {
        c.err += formatted("Bottom pos [%d] [%d] > screen resolution: [%d]\n", top + 172, top,
                           c.shape.height);
        return false;
    }
    for (char letter : letters)
        if (letter == '*' || characters.find(char(toupper(letter))) == std::string::npos) {
            c.err += formatted("Invalid character '%c' in given string\n", letter);
            c.status = 1;
            return false;
        }
    if (int(letters.size()) * 24 + 29 >= c.shape.columns()) {
        c.err += "Barcode for given string does not fit on screen\n";
        c.status = 1;
        return false;
    }
    c.text(column, row, letters);
    for (char letter : "*" + letters + "*")
        draw_character(c, pen, top, letter);
    return true;
}

void draw_barcodes(canvas &c, const std::string &letters)
{
    int pen = 30, top = 100;
    if (letters.size() <= 22) { // twice
        if (!draw_barcode(c, pen, 6, 10, top, letters))
            return;
        pen = 30 - pen + c.shape.columns() - 11;
        top = c.shape.height - 218;
        draw_barcode(c, pen, pen / 16 + 5, (c.shape.height - 90) / 24 + 1, top, letters);
        return;
    }
    for (size_t at = 0; at < letters.size(); at += 22, top += 172) {
        pen = 30;
        if (!draw_barcode(c, pen, 6, (top + 148) / 24, top, letters.substr(at, 22)))
            return;
    }
}

run_case barcodes(const shell_words &letters)
{
    const auto draw = [=](canvas &c) {
        white(c);
        draw_barcodes(c, letters.text);
        if (c.status == 0)
            c.finish();
        else
            c.request("not closed");
    };
    return {.args = {"-r '" + letters.text + "'", letters.file, letters.line}, .draws = draw};
}

const run_case texts[] = {
    barcodes(""),
    barcodes("abcdefghijklmnopqrstuvwxyz"),
    barcodes("AB*C"),
    barcodes("\xe9"),
    barcodes("! $"),
    barcodes("T"),
    barcodes("   $%+-./0123456789ABCDE"),
    barcodes(" $%+-./0123456789AB"),
    barcodes("FGHIJKLMNOPQRSTUVWXYZ"),
    barcodes("THE QUICK BROWN FOX 12"),
    barcodes("THE QUICK BROWN FOX 123"),
    barcodes("ZZZZZZZZZZZZZZZZZZZZZZ!"),
    barcodes(std::string(44, '-')),
    barcodes(std::string(10000, 'A')),
};
/// Just too small and just large enough, for 22 characters and for bars and text.
const std::vector<geometry> close_screens = {
    {557, 444, 560, 444, 8}, {558, 444, 560, 444, 8}, {558, 450, 560, 450, 4},
    {600, 271, 600, 271, 2}, {600, 272, 600, 272, 1},
};
INSTANTIATE_TEST_SUITE_P(barcodes, tool, testing::ValuesIn(on_screens(texts)), name_of_case);
INSTANTIATE_TEST_SUITE_P(close_barcodes, tool, testing::ValuesIn(on_screens(texts, close_screens)),
                         name_of_case);
} // namespace
