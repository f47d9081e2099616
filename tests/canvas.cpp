#include "canvas.h"

#include <algorithm>
#include <cctype>
#include <cstdarg>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <sstream>

#define STB_IMAGE_STATIC
#define STBI_NO_SIMD // which the tool uses where it can
#define STB_IMAGE_IMPLEMENTATION
#include <stb/stb_image.h>
#define STB_IMAGE_WRITE_STATIC
#define STB_IMAGE_WRITE_IMPLEMENTATION
#include <stb/stb_image_write.h>

std::string formatted(const char *format, ...)
{
    char line[4096];
    va_list values;
    va_start(values, format);
    vsnprintf(line, sizeof line, format, values);
    va_end(values);
    return line;
}

std::string update_line(const char *mode, int wave_mode, int inverted)
{
    return formatted("update_to_display: update_mode=%s, wave_mode=%d inverted=%d\n", mode,
                     wave_mode, inverted);
}

std::string replaced(std::string text, const std::string &old, const std::string &by)
{
    for (size_t at = 0; (at = text.find(old, at)) != std::string::npos; at += by.size())
        text.replace(at, old.size(), by);
    return text;
}

std::string content_of(const std::string &file)
{
    std::ifstream in(std::filesystem::path(TESTS_FOLDER) / file, std::ios::binary);
    return (std::ostringstream() << in.rdbuf()).str();
}

canvas::canvas(const geometry &g) : shape(g), memory(g.buffer(), '\0')
{
    for (size_t i = 0; i < memory.size(); ++i)
        memory[i] = char(i * 7 + 13);
}

void canvas::set(int x, int y, int level)
{
    const size_t at = size_t(y) * shape.line() + size_t(x * shape.bpp / 8);
    const int bit = x * shape.bpp % 8, field = (0xFF00 >> shape.bpp & 0xFF) >> bit;
    if (at < shape.screen())
        memory[at] = char((memory[at] & ~field) | (level >> bit & field));
}

int canvas::get(int x, int y) const
{
    const size_t at = size_t(y) * shape.line() + size_t(x * shape.bpp / 8);
    const int most = (1 << shape.bpp) - 1, shift = 8 - shape.bpp - x * shape.bpp % 8;
    return at < memory.size() ? (memory[at] >> shift & most) * 255 / most : 255;
}

bool canvas::fits(int x, int y, int width, int height)
{
    for (const auto &[at_x, at_y] : {std::pair(x + width, y + height), std::pair(x, y)})
        if (at_x < 0 || at_x > shape.columns() || at_y < 0 || at_y > shape.height) {
            out += formatted("tavo: pixel_in_range> (%d, %d) pixel not in range (0..%d, 0..%d)\n",
                             at_x, at_y, shape.columns(), shape.height);
            return false;
        }
    return true;
}

test_picture::test_picture(const std::string &path)
{
    stbi_uc *const decoded = stbi_load(path.c_str(), &width, &height, &components, 0);
    if (decoded != nullptr)
        pixels.assign(decoded, decoded + width * height * components);
    stbi_image_free(decoded);
}

int test_picture::gray(int x, int y) const
{
    const unsigned char *const pixel = &pixels.at(size_t((y * width + x) * components));
    return components < 3 ? pixel[0] : (pixel[0] + pixel[1] + pixel[2]) / 3;
}

bool canvas::text(int column, int row, const std::string &letters, bool highlight)
{
    // The picture has sixteen glyphs of 8 x 7 pixels a line.
    static const test_picture font(TESTS_FOLDER "/glyphs.png");
    const std::string characters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789"
                                   " \":._-*~/,()@&+?<>=|[]";
    for (char letter : letters) {
        const int glyph = int(characters.find(isspace(letter & 0xFF) ? ' ' : letter));
        if (glyph < 0) {
            out += formatted("tavo: paint_char> character \"%c\" not available\n", letter);
            return false;
        }
        const int left = 16 * column++, top = 24 * row;
        const int glyph_x = glyph % 16 * 8, glyph_y = glyph / 16 * 7;
        for (int y = fits(left, top, 16, 24) ? 0 : 24; y < 24; ++y)
            for (int x = 0; x < 16; ++x) {
                const bool drawn = y < 21 && font.gray(glyph_x + x / 2, glyph_y + y / 3) == 0;
                set(left + x, top + y, y < 21 && drawn != highlight ? 0 : 255);
            }
    }
    return true;
}

void canvas::request(const std::string &lines)
{
    std::istringstream in(replaced(lines, "WxH", shape.size()));
    for (std::string line; getline(in >> std::ws, line, ';');) {
        // The tool waits before it repeats an update, which it has announced already.
        const bool repeated = requests.rfind("sleep ") + 1 > requests.rfind("update ") + 1;
        int wave_mode = 0;
        char mode[8] = "";
        if (sscanf(line.c_str(), "update %*s %*s wave=%d %7s", &wave_mode, mode) == 2 && !repeated)
            out += update_line(*mode == 'f' ? "FULL" : "PARTIAL", wave_mode,
                               line.find(" flags=1 ") != std::string::npos);
        requests += (requests.empty() ? "" : "; ") + line;
    }
}

void canvas::update(int64_t x, int64_t y, int64_t update_width, int64_t update_height,
                    int wave_mode, bool full, bool inverted)
{
    request(formatted("update %d,%d %dx%d wave=%d %s%s", int(x), int(y), int(update_width),
                      int(update_height), wave_mode, full ? "full" : "partial",
                      inverted ? " marker=42 temperature=4096 flags=1 tail=1,2" : ""));
}

void canvas::finish(int64_t x, int64_t y, int64_t update_width, int64_t update_height)
{
    request("get-vscreeninfo");
    update(x, y, std::min(update_width, shape.width - x), std::min(update_height, shape.height - y),
           2);
}

std::string canvas::difference(const std::string &found) const
{
    if (found.size() != memory.size())
        return formatted("wanted %zu bytes, found %zu\n", memory.size(), found.size());
    const size_t at = size_t(std::ranges::mismatch(memory, found).in1 - memory.begin());
    if (at == memory.size())
        return "";
    const size_t line = std::max<size_t>(shape.line(), 1);
    const int y = int(at / line);
    canvas other(shape);
    other.memory = found;
    int x = int(at % line) * 8 / shape.bpp;
    while (get(x, y) == other.get(x, y)) // within the byte
        ++x;
    return formatted("x %d, y %d (%d bits): wanted 0x%02x, found 0x%02x\n", x, y, shape.bpp,
                     get(x, y), other.get(x, y));
}

void canvas::write_png(const std::string &path) const
{
    std::string grays;
    for (int y = 0; y < shape.height; ++y)
        for (int x = 0; x < shape.width; ++x)
            grays += char(get(x, y));
    stbi_write_png(path.c_str(), shape.width, shape.height, 1, grays.data(), shape.width);
}

void white(canvas &c)
{
    c.memory.replace(0, c.shape.screen(), c.shape.screen(), '\xFF');
}

painter text(int column, int row, const std::string &letters, bool highlight)
{
    return [=](canvas &c) { c.text(column, row, letters, highlight); };
}

painter in_order(const std::vector<painter> &steps)
{
    return [=](canvas &c) {
        for (const painter &step : steps)
            step(c);
    };
}

painter levels(const std::function<int(const geometry &g, int x, int y)> &level_of)
{
    return [=](canvas &c) {
        for (int y = 0; y < c.shape.height; ++y)
            for (int x = 0; x < c.shape.columns(); ++x)
                if (const int level = level_of(c.shape, x, y); level >= 0)
                    c.set(x, y, level);
    };
}

void xor_pattern(canvas &c)
{
    levels([](const geometry &g, int x, int y) {
        const int most = (1 << g.bpp) - 1, in_byte = 8 / g.bpp;
        const int value = (x ^ y) >> (g.bpp == 8 ? 0 : 3) & most;
        return x < g.columns() / in_byte * in_byte ? value * 255 / most : -1;
    })(c);
}

painter rectangle(int64_t x, int64_t y, int64_t width, int64_t height, int level)
{
    return levels([=](const geometry &g, int at_x, int at_y) {
        const int64_t left = x < 0 || x > g.columns() ? 0 : x, top = y < 0 || y > g.height ? 0 : y;
        const bool inside =
            at_x >= left && at_x < left + width && at_y >= top && at_y < top + height;
        return inside ? level : -1;
    });
}

painter grid(int64_t spacing)
{
    return [=](canvas &c) {
        for (int64_t y = 0; y < c.shape.height; y += spacing) // past the visible width too
            c.memory.replace(size_t(y) * c.shape.line(), c.shape.line(), c.shape.line(), '\0');
        levels([=](const geometry &, int x, int) { return x % spacing == 0 ? 0 : -1; })(c);
    };
}
