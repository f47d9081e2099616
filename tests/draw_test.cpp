// The built-in font.
#include "panel_run.h"

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
