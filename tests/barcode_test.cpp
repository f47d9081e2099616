// Barcodes, of characters as another program has drawn them.
#include "run_case.h"

namespace {
/// The bars of some characters from pixel (x, top) on. A row of the picture has a character's
/// twelve modules, of which a wide element has two: a bar's is one column on the screen, with a
/// white one to its right, and a space's is two columns. A gap of four columns follows.
painter bars(int x, int top, const std::string &letters)
{
    return [=](canvas &c) {
        static const test_picture picture(TESTS_FOLDER "/code39.png");
        const std::string characters = "* $%+-./0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";
        int pen = x;
        for (const char letter : letters) {
            for (int module = 0; module < 12; ++module) {
                const bool bar = picture.gray(module, int(characters.find(letter))) == 0;
                for (int y = top; bar && c.fits(pen, top, 2, 128) && y < top + 128; ++y) {
                    c.set(pen, y, 0);
                    c.set(pen + 1, y, 255);
                }
                pen += bar ? 1 : 2;
            }
            pen += 4;
        }
    };
}

/// What is drawn on a white screen, which is shown.
painter shown(std::vector<painter> drawings)
{
    drawings.insert(drawings.begin(), white);
    drawings.emplace_back([](canvas &c) { c.finish(); });
    return in_order(drawings);
}

const std::string too_wide = "Barcode for given string does not fit on screen\n";
const std::string piece = "ABCDEFGHIJKLMNOPQRSTUV";
std::string repeated(const std::string &text, int count)
{
    return count == 0 ? "" : text + repeated(text, count - 1);
}
// clang-format off
const std::vector<run_case> barcodes = {
    {.args = "-r CODE39", .draws = shown({text(6, 10, "CODE39"), bars(30, 100, "*CODE39*"),
     text(41, 39, "CODE39"), bars(579, 806, "*CODE39*")})},
    {.args = "-r ''", .draws = shown({bars(30, 100, "**"), bars(705, 806, "**")})},
    {.args = "-r 'xyz -./'", .draws = shown({text(6, 10, "xyz -./"), bars(30, 100, "*XYZ -./*"),
     text(39, 39, "xyz -./"), bars(556, 806, "*XYZ -./*")}), .screen = {758, 1024, 768, 2048, 1}},
    // The font has no dollar and no percent sign. The second text does not fit, but its bars do.
    {.args = "-r 'A$%+'", .draws = shown({text(6, 10, "A$"), bars(30, 100, "*A$%+*"),
     text(22, 17, "A$"), bars(282, 272, "*A$%+*")}), .screen = {425, 490, 432, 490, 4}},
    {.args = "-r 0123456789WXYZABCDEFGH", .draws = shown({text(6, 10, "0123456789WXYZABCDEFGH"),
     bars(30, 100, "*0123456789WXYZABCDEFGH*"), text(7, 16, "0123456789WXYZABCDEFGH"),
     bars(43, 240, "*0123456789WXYZABCDEFGH*")}), .screen = {558, 458, 560, 458, 8}},
    // The second one begins left of the screen, where its first bars are missing.
    {.args = "-r AAAAAA", .draws = shown({text(6, 10, "AAAAAA"), bars(30, 100, "*AAAAAA*"),
     text(5, 8, "AAAAAA"), bars(-5, 54, "*AAAAAA*")}), .screen = {174, 272, 176, 272, 2}},
    {.args = "-r " + piece + "J", .draws = shown({text(6, 10, piece),
     bars(30, 100, "*" + piece + "*"), text(6, 17, "J"), bars(30, 272, "*J*")})},
    {.args = "-r " + repeated("A", 10000), .draws = shown({in_order({text(6, 10, repeated("A", 22)),
     bars(30, 100, "*" + repeated("A", 22) + "*"), text(6, 17, repeated("A", 22)),
     bars(30, 272, "*" + repeated("A", 22) + "*"), text(6, 24, repeated("A", 22)),
     bars(30, 444, "*" + repeated("A", 22) + "*"), text(6, 31, repeated("A", 22)),
     bars(30, 616, "*" + repeated("A", 22) + "*"), text(6, 39, repeated("A", 22)),
     bars(30, 788, "*" + repeated("A", 22) + "*")})}),
     .err = "Bottom pos [1132] [960] > screen resolution: [1024]\n"},
    // Too small by one.
    {.args = "-r T", .draws = shown({}), .err =
     "Bottom pos [272] [100] > screen resolution: [271]\n", .screen = {600, 271, 600, 271, 2}},
    {.args = "-r " + piece, .draws = white, .requests = "not closed", .err = too_wide, .status = 1,
     .screen = {557, 458, 560, 458, 8}},
    // Only the piece that is wrong is not drawn.
    {.args = "-r " + piece + "!", .draws = in_order({white, text(6, 10, piece),
     bars(30, 100, "*" + piece + "*")}), .requests = "not closed",
     .err = "Invalid character '!' in given string\n", .status = 1},
    {.args = "-r 'AB*C'", .draws = white, .requests = "not closed",
     .err = "Invalid character '*' in given string\n", .status = 1},
    {.args = "-r \xe9", .draws = white, .requests = "not closed",
     .err = "Invalid character '\xe9' in given string\n", .status = 1},
};
// clang-format on
INSTANTIATE_TEST_SUITE_P(barcodes, tool, testing::ValuesIn(barcodes), name_of_case);
} // namespace
