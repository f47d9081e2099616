#include "draw/text.h"

#include "common/message.h"
#include "common/saturate.h"
#include "common/shared_options.h"
#include "common/surface.h"
#include "display/device.h"
#include "draw/font.h"
#include "draw/pixel.h"
#include "draw/pixel_tables.h"

#include <algorithm>
#include <cstring>

constexpr int32_t band_rows = 20; // of a scroll; not the height of a cell

// Each glyph is expanded here and blitted from here: every column twice, every row three times. The
// last three rows stay paper. A stride of 20 gives rows of 2 bytes.
static uint8_t glyph_pixels[text_cell_height * 2];
static const surface glyph_surface = {text_cell_width, 20, text_cell_height, 1, glyph_pixels};

/// As isspace() has it in the C locale.
static bool is_white_space(uint8_t character)
{
    return character == ' ' || (character >= '\t' && character <= '\r');
}

static const glyph *find_glyph(uint8_t character)
{
    if (character >= 'A' && character <= 'Z')
        return &font_upper[size_t(character - 'A')];
    if (character >= 'a' && character <= 'z')
        return &font_lower[size_t(character - 'a')];
    if (character >= '0' && character <= '9')
        return &font_digit[size_t(character - '0')];
    const char drawn = is_white_space(character) ? ' ' : char(character);
    const auto place = std::find(punct_chars.begin(), punct_chars.end(), drawn);
    return place != punct_chars.end() ? &font_punct[size_t(place - punct_chars.begin())] : nullptr;
}

/// All eight columns: a highlighted character is a solid block with the letter in paper.
static void invert_glyph(const glyph &from, glyph &out)
{
    for (size_t row = 0; row < from.size(); ++row)
        out[row] = uint8_t(~from[row]);
}

static void expand_glyph(const glyph &from)
{
    uint8_t *to = glyph_pixels;
    for (const uint8_t bits : from)
        for (int copies = 0; copies < 3; ++copies) {
            *to++ = nibble_double[bits >> 4];
            *to++ = nibble_double[bits & 0x0F];
        }
}

int paint_char(int32_t column, int32_t row, uint8_t character, bool highlight)
{
    const glyph *drawn = find_glyph(character);
    if (drawn == nullptr) {
        message("paint_char", "character \"%c\" not available\n", character);
        return 1;
    }
    glyph inverse;
    if (highlight) {
        invert_glyph(*drawn, inverse);
        drawn = &inverse;
    }
    expand_glyph(*drawn);
    translate_pixel(saturated(int64_t{text_cell_width} * column),
                    saturated(int64_t{text_cell_height} * row), &glyph_surface,
                    &display_device.screen);
    return 0;
}

int print_string(int32_t column, int32_t row, const char *text, bool highlight)
{
    for (int64_t c = column; *text != '\0'; ++c, ++text)
        if (paint_char(saturated(c), row, uint8_t(*text), highlight) != 0)
            return 1;
    return 0;
}

static bool scroll_in_range(int32_t start, int32_t count, int32_t width)
{
    const bool in_range = band_rows * (int64_t{start} + count) <= display_device.screen.height &&
                          width >= 0 && uint32_t(width) <= display_device.line_bytes;
    if (!in_range)
        message("scroll_lines", "cannot scroll %d bands from band %d, %d bytes wide\n", count,
                start, width);
    return in_range;
}

void scroll_lines(int32_t start, int32_t count, int32_t width)
{
    if (start < 2 || !scroll_in_range(start, count, width))
        return;
    const size_t line = display_device.line_bytes;
    const size_t moved = width != 0 ? size_t(width) : line;
    const int blank = inverted ? 0x00 : 0xFF;
    for (int64_t i = 0; i < int64_t{band_rows} * count; ++i) {
        const int64_t y = int64_t{band_rows} * start + i;
        uint8_t *const row = display_device.screen_map + line * size_t(y);
        memcpy(row - size_t(band_rows) * line, row, moved);
        memset(row, blank, moved);
    }
}
