#pragma once
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

using strings = std::vector<std::string>;

/// Visible size and size of the whole buffer in pixels, bits per pixel.
struct geometry {
    int width, height, virtual_width, virtual_height, bpp;
    size_t line() const { return size_t(virtual_width * bpp) / 8; } ///< bytes, rounded down
    size_t screen() const { return size_t(height * virtual_width * bpp) / 8; }
    size_t buffer() const { return size_t(virtual_height * virtual_width * bpp) / 8; }
    std::string size() const { return std::to_string(width) + "x" + std::to_string(height); }
};
constexpr geometry paper = {758, 1024, 758, 1024, 8};
/// An ordinary, a padded, a tiny and a tall screen, each at 1, 2, 4 and 8 bits, and one cut short.
std::vector<geometry> all_shapes();

constexpr char not_in_range[] =
    "tavo: pixel_in_range> (%d, %d) pixel not in range (0..%d, 0..%d)\n";

/// What the framebuffer should hold, drawn over the pattern that runs start with.
struct canvas {
    explicit canvas(const geometry &g);
    /// Stores the top bits of a luminance (0..255). Pixels past the mapped bytes are left out.
    void set(int x, int y, int level);
    void clear() { memory.replace(0, shape.screen(), shape.screen(), '\xFF'); }
    bool fits(int x, int y, int width, int height); ///< a blit; adds the message when it does not
    /// Text in cells of 16 x 24; adds the tool's messages. False at a character without a glyph.
    bool text(int column, int row, const std::string &letters, bool highlight = false);
    /// Empty when the memory is as drawn; else the first byte that differs.
    std::string difference(const std::string &actual) const;

    geometry shape;
    std::string memory, messages;
};

struct run_result {
    std::string out, err; ///< addresses as @ADDRESS, the trace line of an update as <FULL 2 0>
    std::string requests; ///< the log in short, without the start and the end of every run
    std::string memory;
    int status; ///< exit status, or 128 + signal
    std::string command;
    /// Checks the status and the streams, one after the other, and the memory.
    void expect(const std::string &told, const canvas &drawn) const;
};

/// A panel and a folder to work in, which last from run to run. The file "in" is the input.
struct virtual_panel {
    explicit virtual_panel(const geometry &g, const std::string &more_settings = "");
    ~virtual_panel() { std::filesystem::remove_all(folder); }
    /// Runs the tool, for 20 seconds at most; `faults` as the panel library reads them.
    run_result run(const strings &arguments, const std::string &faults = "") const;
    run_result shell(const std::string &line) const;
    /// Each piece is written to the FIFO "pipe" when the one before has been read, the first one
    /// when standard output holds `after`.
    run_result run_piped(const strings &arguments, const strings &pieces,
                         const std::string &after = "") const;
    std::string read(const std::string &name) const; ///< "" if missing
    void write(const std::string &name, const std::string &content) const;

    geometry shape;
    std::string folder;
};

/// As printf writes it.
template <class... values>
std::string formatted(const char *format, values... all)
{
    char text[256];
    return snprintf(text, sizeof text, format, all...), text;
}
/// Splits at blanks; '' is an empty word and 'a b' one word.
strings words(const std::string &line);
/// Applies regular expressions and what replaces their matches, in this order.
std::string rewritten(std::string text, const std::vector<std::pair<std::string, std::string>> &);
