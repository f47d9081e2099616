// What is drawn, against plain pictures: text and scrolling, barcodes.
#include "panel_run.h"

#include <cstring>

// A character, then its seven rows from the top, two hexadecimal digits each, leftmost pixel first.
static const std::string glyphs =
    "A205088F8888888BF08888F08888F0C70888080808870DF08888888888F0EF88080E08080F8FF88080E0808080"
    "G708880B8888870H888888F8888888I70202020202070J08080808088870K888890E0908888L808080808080F8"
    "M88D8A8A8888888N8888C8A8988888O70888888888870PF08888F0808080Q70888888A89068RF08888F0A09088"
    "S70888070088870TF8202020202020U88888888888870V88888888885020W888888A8A8D888X88885020508888"
    "Y88885020202020ZF80810204080F8a00007008788878b8080F0888888F0c00007088808870d08087888888878"
    "e00007088F88078f18207020202020g000078887808F0h8080B0C8888888i20002020202020j10001010105020"
    "k40404850605048l20202020202020m000050A8A88888n0000B0C8888888o00007088888870p0000F088F08080"
    "q00007888780808r0000B8C0808080s000078807008F0t20207020202030u00008888888870v00008888885020"
    "w00008888A8A850x00008850205088y000088887808F0z0000F8102040F80708898A8C88870120602020202070"
    "2708808102040F8370880830088870410305090F810105F880F0080888706304080F08888707F8081020202020"
    "870888870888870970888878081060 00000000000000\"50500000000000:00606000606000.00000000006060"
    "_000000000000F8-000000F8000000*20A870F870A820~000000FC000000/08081020408080,00000000602040"
    "(10204040402010)40201010102040@70880868A8A870&6090A040A89068+002020F8202000?70880820200020"
    "<08102040201008>40201008102040=0000F800F80000|20202020202020[70404040404070]70101010101070";

bool canvas::fits(int x, int y, int width, int height)
{
    for (const auto &[at_x, at_y] : {std::pair(x + width, y + height), std::pair(x, y)})
        if (at_x < 0 || at_x > shape.width || at_y < 0 || at_y > shape.height) {
            messages += formatted(not_in_range, at_x, at_y, shape.width, shape.height);
            return false;
        }
    return true;
}

bool canvas::text(int column, int row, const std::string &letters, bool highlight)
{
    for (char letter : letters) {
        size_t at = 0;
        while (at < glyphs.size() && glyphs[at] != (isspace(letter & 0xFF) ? ' ' : letter))
            at += 15;
        if (at == glyphs.size()) {
            messages += formatted("tavo: paint_char> character \"%c\" not available\n", letter);
            return false;
        }
        const int left = 16 * column++, top = 24 * row;
        for (int y = fits(left, top, 16, 24) ? 0 : 24; y < 24; ++y) {
            const std::string digits = y < 21 ? glyphs.substr(at + 1 + size_t(y / 3 * 2), 2) : "0";
            const int bits = stoi(digits, nullptr, 16) ^ (highlight && y < 21 ? 0xFF : 0);
            for (int x = 0; x < 16; ++x)
                set(left + x, top + y, bits >> (7 - x / 2) & 1 ? 0 : 255);
        }
    }
    return true;
}

namespace {
// clang-format off
const struct { int column, row; const char *text; bool highlight = false; } cells[] = {
    {0, 0, "ABCDEFGHIJKLMNOPQRSTUVWXYZ"}, {1, 2, "abcdefghijklmnopqrstuvwxyz"},
    {3, 5, "0123456789 \":._-*~/,()@&+?<>=|[]"}, {0, 40, "AZaz09 \":._-*~/,()@&+?<>=|[]", true},
    {0, 1, "a\tb\v\f\r\nc"}, {45, 41, "abcd"}, {1, 24, "xyz"}, {0, 42, "x"}, {-1, 0, "AB"},
    {2, -1, "AB"}, {2, 2, "ab$cd"}, {0, 0, "^\x01", true}, {0, 0, "\x7f"}, {0, 0, "\xe9"}};

const struct { const char *arguments; int start, count, bytes; } scrolls[] = {
    {"-z 2 1", 2, 1, 0}, {"-z 2 3 5", 2, 3, 5}, {"-z 2 28", 2, 28, 0}, {"-z 2 29", 2, 29, 0},
    {"-vz 3 20 2", 20, 2, 0}, {"-v -z 3 20 2", 3, 20, 2}, {"-z 4 1 100000", 4, 1, 100000},
    {"-z 1 9999", 1, 9999, 0}, {"-zf -- -5 1", -5, 1, 0}, {"-zf -- 2 1 -1", 2, 1, -1},
    {"-z 2147483647 2147483647 1", 2147483647, 2147483647, 1}, {"-z 2 0", 2, 0, 0}};
// clang-format on

TEST(text, cells)
{
    for (const auto &[column, row, text, highlight] : cells)
        for (const geometry &g : all_shapes()) {
            // Numbers below 0 need "--", which counts as an operand unless a word has two letters.
            strings arguments = {"-vv", "--", std::to_string(column), std::to_string(row), text};
            if (highlight)
                arguments.insert(arguments.begin(), "-h");
            canvas drawn(g);
            const std::string status = drawn.text(column, row, text, highlight) ? "0" : "1";
            const run_result got = virtual_panel(g).run(arguments);
            got.expect(status + drawn.messages + "<PARTIAL 257 0>", drawn);
        }
}

TEST(text, scroll)
{
    for (const auto &[arguments, start, count, width] : scrolls)
        for (const geometry &g : all_shapes()) {
            const run_result got = virtual_panel(g).run(words(arguments));
            canvas drawn(g);
            const size_t line = g.line(), bytes = width ? size_t(width) : line;
            const bool fits = 20LL * start + 20LL * count <= g.height && bytes <= line;
            for (int i = 0; fits && start >= 2 && i < 20 * count; ++i) {
                const size_t from = line * size_t(20 * start + i);
                drawn.memory.replace(from - 20 * line, bytes, drawn.memory, from, bytes);
                drawn.memory.replace(from, bytes, bytes, strstr(arguments, "-v") ? 0 : '\xFF');
            }
            got.expect("0" + got.out, drawn);
            EXPECT_EQ(got.out.starts_with("tavo: scroll_lines> "), !fits && start >= 2);
        }
}

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
    const char *no_room = "Bottom pos [%d] [%d] > screen resolution: [%d]\n";
    if (top + 172 > c.shape.height)
        return err += formatted(no_room, top + 172, top, c.shape.height), -1;
    for (char letter : text)
        if (!isalnum(letter & 0xFF) && !strchr(" $%+-./", letter))
            return err += formatted("Invalid character '%c' in given string\n", letter), 1;
    if (int(text.size()) * 24 + 29 >= c.shape.width)
        return err += "Barcode for given string does not fit on screen\n", 1;
    c.text(column, row, text);
    bars(c, pen, top, modules(text));
    return 0;
}

/// Paints what -r paints. True if the tool ends without an update.
bool paint(canvas &c, std::string &err, const std::string &text)
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
    auto texts = words("'' CODE39 abc AB*C \xe9 ' $%+-./0123456789ABCDE' FGHIJKLMNOPQRSTUVWXYZ "
                       "abcdefghijklmnopqrstuvwxyz ZZZZZZZZZZZZZZZZZZZZZZ!");
    texts.push_back(std::string(10000, 'A'));
    std::vector<geometry> shapes = all_shapes();
    shapes.insert(shapes.end(), {{557, 444, 560, 444, 8}, {558, 445, 560, 445, 4}, paper});
    for (const geometry &g : shapes) {
        for (size_t length = 1; length <= 23 && &g == &shapes.back(); ++length)
            texts.push_back(std::string("THE QUICK BROWN FOX 1234").substr(0, length));
        for (const std::string &text : texts) {
            canvas drawn(g);
            std::string err, update = "get-vscreeninfo; update 0,0 " + g.size() + " wave=2 partial";
            const bool ends = paint(drawn, err, text);
            const run_result got = virtual_panel(g).run({"-r", text});
            const char *end = ends ? "" : "<PARTIAL 2 0>";
            got.expect((ends ? "1" : "0") + drawn.messages + end + err, drawn);
            EXPECT_EQ(got.requests, ends ? "(not closed)" : update);
        }
    }
}
} // namespace
