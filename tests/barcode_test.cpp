// Code 39 barcodes, against the bars that another encoder makes.
#include "panel_run.h"

#include <cstring>

namespace {
/// The modules of a symbol with its start and stop, '1' for a bar's: a wide element has two of
/// them, a character 12, and one is between characters. Letters are encoded as capitals.
std::string modules(const std::string &text)
{
    if (text.empty()) // which the encoder refuses: start and stop around nothing
        return modules("A").erase(13, 13);
    std::string bits;
    FILE *dump = popen(("zint -b CODE39 --dump -d '" + text + "'").c_str(), "r");
    for (unsigned digit; fscanf(dump, "%1x", &digit) == 1;)
        for (int bit = 3; bit >= 0; --bit)
            bits += char('0' + (digit >> bit & 1));
    pclose(dump);
    return bits.substr(0, (text.size() + 2) * 13 - 1);
}

/// Draws start, text and stop from the pen on, and moves the pen.
void bars(canvas &c, int &pen, int top, const std::string &bits)
{
    for (size_t i = 0; i < bits.size(); pen += bits[i] == '1' ? 1 : i % 13 == 12 ? 4 : 2, ++i)
        if (bits[i] == '1' && c.fits(pen, top, 2, 128))
            for (int y = top; y < top + 128; ++y)
                c.set(pen, y, 0), c.set(pen + 1, y, 255);
    pen += 4;
}

/// 0 drawn, -1 no room below, 1 the tool ends. Adds to the messages on standard error.
int place(canvas &c, std::string &err, int &pen, int column, int row, int top,
          const std::string &text)
{
    if (top + 172 > c.shape.height)
        return err += formatted("Bottom pos [%d] [%d] > screen resolution: [%d]\n", top + 172, top,
                                c.shape.height),
               -1;
    for (char letter : text)
        if (!isalnum(letter & 0xFF) && !strchr(" $%+-./", letter))
            return err += formatted("Invalid character '%c' in given string\n", letter), 1;
    if (int(text.size()) * 24 + 29 >= c.shape.width)
        return err += "Barcode for given string does not fit on screen\n", 1;
    c.text(column, row, text);
    bars(c, pen, top, modules(text));
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

TEST(barcode, every_text_on_every_shape)
{
    std::vector<std::string> texts = {"",
                                      "CODE39",
                                      "abc",
                                      "AB*C",
                                      "\xe9",
                                      std::string(22, 'Z') + "!",
                                      " $%+-./0123456789ABCDE",
                                      "FGHIJKLMNOPQRSTUVWXYZ",
                                      "abcdefghijklmnopqrstuvwxyz",
                                      std::string(10000, 'A')};
    for (size_t length = 1; length <= 23; ++length)
        texts.push_back(std::string("THE QUICK BROWN FOX 1234").substr(0, length));
    std::vector<geometry> shapes = all_shapes();
    shapes.insert(shapes.begin(), {paper, {557, 444, 560, 444, 8}, {558, 445, 560, 445, 4}});
    for (const geometry &g : shapes)
        for (const std::string &text : texts) {
            canvas drawn(g);
            std::string err;
            const int status = paint(drawn, err, text);
            const run_result got = virtual_panel(g).run({"-r", text});
            got.expect(std::to_string(status) + drawn.messages + (status ? "" : "<PARTIAL 2 0>") +
                           err,
                       drawn);
            EXPECT_EQ(got.requests,
                      status ? "(not closed)"
                             : "get-vscreeninfo; update 0,0 " + g.size() + " wave=2 partial");
            if (&g != &shapes[0] && text == texts[9])
                break; // every length on one screen only
        }
}
} // namespace
