// Code 39 barcodes, against the bars that another encoder makes.
#include "panel_run.h"

#include <algorithm>
#include <cstring>
#include <map>

namespace {
/// The elements of a symbol with its start and stop, as widths 1 (narrow) and 2 (wide): bar, space,
/// bar, ... with a narrow space between characters. Letters are encoded as capitals.
std::string elements(const std::string &text)
{
    static std::map<std::string, std::string> known;
    std::string &widths = known[text], bits;
    if (!widths.empty())
        return widths;
    if (text.empty()) // which the encoder refuses: start and stop around nothing
        return widths = elements("A").substr(0, 10) + elements("A").substr(0, 9);
    FILE *dump = popen(("zint -b CODE39 --dump -d '" + text + "'").c_str(), "r");
    for (unsigned digit; fscanf(dump, "%1x", &digit) == 1;)
        for (int bit = 3; bit >= 0; --bit)
            bits += digit >> bit & 1 ? '#' : ' ';
    pclose(dump);
    for (size_t at = 0, next; at < bits.rfind('#') + 1; at = next) {
        next = bits.find_first_not_of(bits[at], at);
        widths += char(std::min(next, bits.size()) - at);
    }
    return widths;
}

/// Draws start, text and stop from the pen on, and moves the pen.
void bars(canvas &c, int &pen, int top, const std::string &text)
{
    const std::string widths = elements(text);
    for (size_t i = 0; i < widths.size(); ++i)
        for (int unit = 0; unit < widths[i]; ++unit, pen += i % 2 == 0 ? 1 : i % 10 == 9 ? 4 : 2)
            for (int y = top; i % 2 == 0 && y < top + 128; ++y) {
                if (y == top && !c.fits(pen, top, 2, 128))
                    break;
                c.set(pen, y, 0), c.set(pen + 1, y, 255);
            }
    pen += 4;
}

/// 0 drawn, -1 no room below, 1 the tool ends. Adds to the messages on standard error.
int place(canvas &c, std::string &err, int &pen, int column, int row, int top,
          const std::string &text)
{
    if (top + 172 > c.shape.height) {
        err += formatted("Bottom pos [%d] [%d] > screen resolution: [%d]\n", top + 172, top,
                         c.shape.height);
        return -1;
    }
    for (char letter : text)
        if (!isalnum(letter & 0xFF) && !strchr(" $%+-./", letter))
            return err += formatted("Invalid character '%c' in given string\n", letter), 1;
    if (int(text.size()) * 24 + 29 >= c.shape.width)
        return err += "Barcode for given string does not fit on screen\n", 1;
    c.text(column, row, text);
    bars(c, pen, top, text);
    return 0;
}

/// Paints what -r paints and returns its status.
int paint(canvas &c, std::string &err, const std::string &text)
{
    c.clear();
    int result = 0, pen = 30, top = 100;
    for (size_t at = 0; !result && text.size() > 22 && at < text.size(); at += 22, top += 172)
        result = place(c, err, pen = 30, 6, (top + 148) / 24, top, text.substr(at, 22));
    if (text.size() <= 22 && (result = place(c, err, pen, 6, 10, top, text)) == 0) {
        const int x = c.shape.width - 11 - (pen - 30), row = (c.shape.height - 90) / 24 + 1;
        result = place(c, err, pen = x, x / 16 + 5, row, c.shape.height - 218, text);
    }
    return result == 1;
}

void check(const geometry &g, const std::string &text)
{
    SCOPED_TRACE(text.substr(0, 99) + " on " + g.size());
    const run_result got = virtual_panel(g).run({"-r", text});
    canvas drawn(g);
    std::string err, update = "get-vscreeninfo; update 0,0 " + g.size() + " wave=2 partial";
    EXPECT_EQ(got.status, paint(drawn, err, text));
    EXPECT_EQ(got.err, err);
    EXPECT_EQ(got.out, drawn.messages + (got.status ? "" : "<PARTIAL 2 0>"));
    EXPECT_EQ(got.requests, got.status ? "(not closed)" : update);
    EXPECT_EQ(drawn.difference(got.memory), "");
}

TEST(barcode, every_text_on_every_shape)
{
    std::vector<geometry> shapes = all_shapes();
    shapes.insert(shapes.end(),
                  {{758, 200, 768, 200, 8}, {557, 444, 560, 444, 8}, {558, 445, 560, 445, 4}});
    for (const geometry &g : shapes)
        for (const std::string &text :
             {std::string(), std::string("CODE39"), std::string("abc"), std::string(22, 'Z') + "!",
              std::string(" $%+-./0123456789ABCDE"), std::string("FGHIJKLMNOPQRSTUVWXYZ"),
              std::string("abcdefghijklmnopqrstuvwxyz"), std::string(70, '7'),
              std::string(10000, 'A'), std::string("AB*C"), std::string("\xe9")})
            check(g, text);
    for (size_t length = 1; length <= 23; ++length)
        check(paper, std::string("THE QUICK BROWN FOX 1234").substr(0, length));
}
} // namespace
