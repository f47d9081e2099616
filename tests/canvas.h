#pragma once
#include <algorithm>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

/// A framebuffer: its visible size and the size of its whole buffer in pixels, bits per pixel.
struct geometry {
    int width, height, virtual_width, virtual_height, bpp;
    /// What a row shows: a driver may claim more pixels than a row of its buffer has.
    int columns() const { return std::min(width, virtual_width); }
    /// Bytes of a line, of the visible screen and of the whole buffer, each rounded down.
    size_t line() const { return size_t(virtual_width * bpp) / 8; }
    size_t screen() const { return size_t(height * virtual_width * bpp) / 8; }
    size_t buffer() const { return size_t(virtual_height * virtual_width * bpp) / 8; }
    bool operator==(const geometry &) const = default;
    std::string size() const { return std::to_string(width) + "x" + std::to_string(height); }
};
constexpr geometry paper = {758, 1024, 758, 1024, 8};

/// One screen of each kind: the depths, lines that are longer than what is visible, a buffer of two
/// screens, tall and tiny ones, a last pixel past the memory, which ends with a page, lines that
/// end within a byte or have no whole one, and a driver that claims more pixels than a line has.
// clang-format off
inline const std::vector<geometry> all_screens = {
    {758, 1024, 768, 2048, 1}, {40, 600, 40, 600, 1}, {8193, 4, 8193, 4, 1}, {5, 3, 5, 3, 1},
    {758, 1024, 758, 1024, 2}, {5, 3, 8, 3, 2},
    {758, 1024, 768, 2048, 4}, {40, 600, 40, 600, 4},
    {758, 1024, 758, 1024, 8}, {5, 3, 8, 3, 8}, {60, 50, 48, 50, 8},
};
// clang-format on

/// The bytes of a file in the folder of the tests or with a whole path, none if it cannot be read.
std::string content_of(const std::string &file);

/// A picture file, as the plain decoder has it.
struct test_picture {
    explicit test_picture(const std::string &path);
    int gray(int x, int y) const; ///< 0..255
    int width = 0, height = 0, components = 0;
    std::vector<unsigned char> pixels; // none if it cannot be decoded
};

/// What the framebuffer should hold, drawn over the pattern that every run starts with, and what
/// the tool says and requests while it draws that.
struct canvas {
    explicit canvas(const geometry &g);
    /// Stores the top bits of a luminance (0..255); nothing past the bytes of the visible screen.
    void set(int x, int y, int level);
    int get(int x, int y) const; ///< 0..255
    /// Whether a rectangle lies on the screen, for those who report it when it does not.
    bool fits(int x, int y, int width, int height);
    /// Text in cells of 16 x 24. Stops, and gives false, at a character that the font does not
    /// have.
    bool text(int column, int row, const std::string &letters, bool highlight = false);
    /// An update, as it is announced and requested.
    void update(int64_t x, int64_t y, int64_t update_width, int64_t update_height, int wave_mode,
                bool full = false, bool inverted = false);
    void update(int wave_mode) { update(0, 0, shape.columns(), shape.height, wave_mode); }
    /// The end of an action: a look at the screen, and an update cut at its right and lower edge.
    void finish(int64_t x, int64_t y, int64_t update_width, int64_t update_height);
    void finish() { finish(0, 0, shape.width, shape.height); }
    /// Requests with "; " between them, in which WxH is the screen's size.
    void request(const std::string &lines);
    /// Empty when the memory is this one; else the first pixel that differs.
    std::string difference(const std::string &found) const;
    void write_png(const std::string &path) const;

    geometry shape;
    std::string memory; // of the whole buffer
    std::string out, err, requests;
    int status = 0;
};

using painter = std::function<void(canvas &)>;
void white(canvas &);
painter text(int column, int row, const std::string &letters, bool highlight = false);
painter rectangle(int64_t x, int64_t y, int64_t width, int64_t height, int level);
painter grid(int64_t spacing);
void xor_pattern(canvas &); ///< x XOR y, in whole bytes
painter in_order(const std::vector<painter> &steps);
/// Every visible pixel gets its level (0..255); one with a negative level stays.
painter levels(const std::function<int(const geometry &g, int x, int y)> &level_of);

/// The line that announces an update.
std::string update_line(const char *mode, int wave_mode, int inverted = 0);

/// A text with each `old` replaced.
std::string replaced(std::string text, const std::string &old, const std::string &by);

/// As printf writes it.
[[gnu::format(printf, 1, 2)]] std::string formatted(const char *format, ...);
