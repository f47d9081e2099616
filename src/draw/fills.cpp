#include "draw/fills.h"

#include "display/update.h"
#include "draw/pixel.h"
#include "draw/pixel_tables.h"
#include "draw/screen_rows.h"

#include <bit>
#include <cstring>

void clear_screen(bool no_update)
{
    const surface &screen = display_device.screen;
    memset(display_device.screen_map, 0xFF, display_device.screen_bytes);
    if (!no_update)
        update_to_display(0, 0, screen.width, screen.height, wave_mode_auto, update_partial);
}

/// One byte of the XOR pattern: so many screen pixels of row y, from pixel x on.
static uint8_t xor_byte(int32_t x, int32_t y, int pixels, int pattern_bpp)
{
    const int repeats = 8 / pattern_bpp / pixels; // none where the pattern is deeper: a byte of 0
    const int shift = pattern_bpp == 8 ? 0 : 3;
    const uint32_t mask = (1u << pattern_bpp) - 1;
    uint32_t bits = 0;
    for (int32_t i = x; i < x + pixels; ++i)
        for (int r = 0; r < repeats; ++r)
            bits = bits << pattern_bpp | (uint32_t((i ^ y) >> shift) & mask);
    return translate_gray(uint8_t(pattern_bpp), uint8_t(bits));
}

/// x XOR y enters with its low 8 bits at the most, so that the pattern repeats every 256 pixels,
/// across and down.
static void paint_xor_rows(int pattern_bpp)
{
    const surface &screen = display_device.screen;
    const int32_t pixels = 8 / screen.bpp; // of a byte
    const int32_t bytes = screen.width / pixels, period = 256 / pixels;
    for (int32_t y = 0; y < screen.height; ++y) {
        uint8_t *const row = screen_row(y);
        if (y >= 256)
            memcpy(row, screen_row(y - 256), size_t(bytes));
        else
            for (int32_t b = 0; b < bytes; ++b)
                row[b] =
                    b < period ? xor_byte(b * pixels, y, pixels, pattern_bpp) : row[b - period];
    }
}

void paint_xor_pattern(int32_t mode)
{
    const surface &screen = display_device.screen;
    if (mode >= 0 && mode <= 255) {
        memset(display_device.screen_map, translate_gray(uint8_t(screen.bpp), uint8_t(mode)),
               display_device.screen_bytes);
        return;
    }
    paint_xor_rows(mode >= 256 && mode <= 259 ? 1 << (mode - 256) : screen.bpp);
}

/// Cuts the screen into n * n bands, with what is left over as further bands, and gives each its
/// gray. A row that looks like the one above it is copied from there.
static void paint_bands(int32_t n, uint8_t (*gray_of)(int32_t column, int32_t row))
{
    const surface &screen = display_device.screen;
    const int32_t band_width = n < 1 ? 0 : screen.width / n;
    const int32_t band_height = n < 1 ? 0 : screen.height / n;
    if (band_width < 1 || band_height < 1)
        return;
    for (int32_t y = 0; y < screen.height; ++y) {
        if (y % band_height != 0 && !rows_share_bytes(screen)) {
            copy_span(screen_row(y), screen_row(y - 1), screen_span(y, 0, screen.width));
            continue;
        }
        for (int64_t x = 0, column = 0; x < screen.width; x += band_width, ++column) {
            const uint8_t gray = translate_gray(8, gray_of(int32_t(column), y / band_height));
            fill_span(screen_row(y), screen_span(y, x, x + band_width),
                      packed_gray(gray, screen.bpp));
        }
    }
}

void paint_checker(int32_t n)
{
    paint_bands(n, [](int32_t column, int32_t row) {
        return uint8_t((column + row) % 2 == 0 ? 0x00 : 0xFF);
    });
}

void paint_grayscale()
{
    paint_bands(4, [](int32_t column, int32_t row) {
        const int band = (column + 4 * row) & 0xFF;
        return uint8_t(~(band | band << 4));
    });
}

int paint_rectangle(int32_t x, int32_t y, int32_t w, int32_t h, uint8_t gray)
{
    const surface &screen = display_device.screen;
    if (y < 0 || y > screen.height)
        y = 0;
    if (x < 0 || x > screen.width)
        x = 0;
    const uint8_t value = packed_gray(translate_gray(8, gray), screen.bpp);
    const int64_t x_end = int64_t{x} + w;
    const int64_t y_end = std::min(int64_t{y} + h, int64_t{screen.height});
    for (int64_t row = y; row < y_end; ++row)
        fill_span(screen_row(row), screen_span(row, x, x_end), value);
    return 0;
}

/// Blackens every n-th of a row's pixels. The columns are taken in as many turns as a byte has
/// pixels: those of a turn lie n bytes apart, at the same place in their bytes.
static void blacken_columns(uint8_t *row, int64_t width, int32_t n)
{
    const int32_t bpp = display_device.screen.bpp, pixels = 8 / bpp;
    for (int32_t turn = 0; turn < pixels; ++turn) {
        const int64_t first = int64_t{turn} * n, place = first % pixels;
        const auto kept = uint8_t(~pixel_clear_mask[std::countr_zero(unsigned(bpp))][place]);
        const auto bytes = size_t((width - place + pixels - 1) / pixels); // with such a pixel
        for (auto byte = size_t(first / pixels); byte < bytes; byte += size_t(n))
            row[byte] &= kept;
    }
}

void overlay_grid(int32_t n)
{
    const surface &screen = display_device.screen;
    if (n < 1)
        return;
    for (int64_t y = 0; y < screen.height; ++y) {
        if (y % n == 0)
            memset(screen_row(y), 0x00, display_device.line_bytes);
        if (y % n != 0 || rows_share_bytes(screen)) // then a row's last pixels lie past its line
            blacken_columns(screen_row(y), visible_pixels(y), n);
    }
}
