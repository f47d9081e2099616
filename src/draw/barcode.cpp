#include "draw/barcode.h"

#include "common/message.h"
#include "display/device.h"
#include "draw/code39.h"
#include "draw/fills.h"
#include "draw/pixel.h"
#include "draw/text.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>

// Pixels of the screen.
constexpr int32_t narrow_space = 2, wide_space = 4;
constexpr int32_t gap = 4; // after every pattern
constexpr int32_t bar_height = 128;
constexpr int32_t height_below_top = 172; // bars and text; also the pitch of the pieces
constexpr int32_t first_x = 30, first_top = 100;
constexpr int32_t right_margin = 11;
constexpr int32_t second_top_from_bottom = 218, second_text_from_bottom = 90;

constexpr size_t piece_length = 22; // characters

// One column of ink and, right of it, one of paper. Rows of 0 bytes: all of them share the first
// byte, which paint_barcode sets.
static uint8_t stripe_pixels[bar_height];
static const surface bar_stripe = {2, 1, bar_height, 1, stripe_pixels};

// The pen: where the next element begins. It stays where the last drawing ended.
static int32_t barcode_x;

static char chunk_buffer[26];

/// Draws a narrow bar ("N") or a wide one ("W") at the pen.
static void paint_bar(char letter, int32_t top)
{
    for (int units = letter == 'W' ? 2 : 1; units > 0; --units) {
        translate_pixel(barcode_x, top, &bar_stripe, &display_device.screen);
        ++barcode_x;
    }
}

/// Draws a pattern's bars and moves the pen past it and the gap after it.
static void paint_pattern(const code39_pattern &pattern, int32_t top)
{
    for (const char element : pattern)
        switch (element) {
        case 'N':
        case 'W':
            paint_bar(element, top);
            break;
        case 'w':
            barcode_x += wide_space;
            break;
        case 'n':
            barcode_x += narrow_space;
            break;
        default:
            break;
        }
    barcode_x += gap;
}

/// A generous estimate: a bar counts like a space; start, stop and gaps do not count.
static int32_t estimated_width(const code39_pattern &pattern)
{
    int32_t width = 0;
    for (const char *element = pattern.data(); *element != '\0'; ++element)
        width += *element == 'W' || *element == 'w' ? 4 : 2;
    return width;
}

/// Ends the process when the text cannot be a barcode that fits across the screen.
static void require_barcode_fits(const char *text)
{
    int32_t width = 0;
    for (; *text != '\0'; ++text) {
        const code39_pattern &pattern = code39_table[uint8_t(*text)];
        if (pattern[0] == '\0') {
            print_error("Invalid character '%c' in given string\n", *text);
            exit(1);
        }
        width += estimated_width(pattern);
    }
    if (width + 29 >= display_device.screen.width) {
        print_error("Barcode for given string does not fit on screen\n");
        exit(1);
    }
}

/// Paints one barcode with its bars from pixel (x, top) and its text from a text cell. Returns 0,
/// or -1 with a message when there is not enough room below top.
static int place_barcode(int32_t text_column, int32_t text_row, int32_t x, int32_t top,
                         const char *text)
{
    const int32_t bottom = top + height_below_top;
    if (bottom > display_device.screen.height) {
        print_error("Bottom pos [%d] [%d] > screen resolution: [%d]\n", bottom, top,
                    display_device.screen.height);
        return -1;
    }
    barcode_x = x;
    require_barcode_fits(text);
    print_string(text_column, text_row, text, false);
    paint_pattern(code39_start_stop, top);
    for (; *text != '\0'; ++text)
        paint_pattern(code39_table[uint8_t(*text)], top);
    paint_pattern(code39_start_stop, top);
    return 0;
}

/// Copies the next piece of a text into a buffer of its own and counts it off; null at the end.
static const char *next_barcode_chunk(const char *text, int32_t *remaining)
{
    if (text == nullptr || remaining == nullptr || *text == '\0')
        return nullptr;
    const size_t length = strlen(text);
    if (length > piece_length) {
        memcpy(chunk_buffer, text, piece_length);
        chunk_buffer[piece_length] = '\0';
        *remaining -= int32_t(piece_length);
    } else {
        *remaining = 0;
        memcpy(chunk_buffer, text, length + 1);
    }
    return chunk_buffer;
}

static void paint_twice(const char *text)
{
    const surface &screen = display_device.screen;
    if (place_barcode(6, 10, first_x, first_top, text) != 0)
        return;
    barcode_x = first_x - barcode_x + screen.width - right_margin;
    place_barcode(barcode_x / text_cell_width + 5,
                  (screen.height - second_text_from_bottom) / text_cell_height + 1, barcode_x,
                  screen.height - second_top_from_bottom, text);
}

static void paint_pieces(const char *text, int32_t remaining)
{
    int32_t top = first_top, row = 10;
    while (const char *const piece = next_barcode_chunk(text, &remaining)) {
        if (place_barcode(6, row, first_x, top, piece) != 0 || remaining <= 0)
            return;
        text += piece_length;
        row = (top + 320) / text_cell_height;
        top += height_below_top;
    }
}

void paint_barcode(const char *text)
{
    if (text == nullptr)
        return;
    memset(stripe_pixels, 0x80, sizeof stripe_pixels);
    clear_screen(true);
    const size_t length = strlen(text);
    if (length <= piece_length)
        paint_twice(text);
    else
        paint_pieces(text, int32_t(length));
}
