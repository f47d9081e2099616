// The memory traffic of the tool's actions, without their work: memory_floor ACTION [ARGUMENT].
//   fill         the whole screen is set
//   rows         the first row is set, and each other one copied from above
//   mask         every second row is set, and all words of all rows are ANDed
//   cells N      N text cells, 16 x 24 pixels each, are copied side by side
//   barcode N    fill; then two lines of N cells, and twice 128 rows of N + 2 patterns of 21 pixels
//   file PATH    the file's bytes behind a header of 12 are read to the screen
//   overlay PATH the same, from a quarter of the screen on
//   events PATH  the file is read in blocks of 1024 bytes; each time a block is written to standard
//                error, and a line to standard output

#include "floor_panel.h"

#include <string.h>

enum { cell_width = 16, cell_height = 24, pattern_width = 21, bar_height = 128, header = 12 };

static void fill(const struct floor_panel *panel)
{
    memset(panel->screen, 0xFF, panel->bytes);
}

static void rows(const struct floor_panel *panel)
{
    memset(panel->screen, 0, panel->line);
    for (size_t at = panel->line; at < panel->bytes; at += panel->line)
        memcpy(panel->screen + at, panel->screen + at - panel->line, panel->line);
}

static void mask(const struct floor_panel *panel)
{
    for (size_t at = 0; at < panel->bytes; at += 2 * panel->line)
        memset(panel->screen + at, 0, panel->line);
    for (size_t at = 0; at + sizeof(size_t) <= panel->bytes; at += sizeof(size_t)) {
        size_t word;
        memcpy(&word, panel->screen + at, sizeof word);
        word &= (size_t)0xFF00FF00FF00FF00;
        memcpy(panel->screen + at, &word, sizeof word);
    }
}

static void cells(const struct floor_panel *panel, size_t first_row, size_t count)
{
    static const uint8_t cell[cell_width];
    const size_t bytes = cell_width * panel->info.bits_per_pixel / 8;
    for (size_t c = 0; c < count; ++c)
        for (size_t row = 0; row < cell_height; ++row)
            memcpy(panel->screen + (first_row + row) * panel->line + c * bytes, cell, bytes);
}

static void barcode(const struct floor_panel *panel, size_t count)
{
    const size_t bytes = (count + 2) * pattern_width * panel->info.bits_per_pixel / 8;
    fill(panel);
    for (size_t copy = 0; copy < 2; ++copy) {
        const size_t top = copy * panel->info.yres / 2;
        cells(panel, top, count);
        uint8_t *row = panel->screen + (top + cell_height) * panel->line;
        for (size_t r = 0; r < bar_height; ++r, row += panel->line)
            memcpy(row + panel->line, row, bytes);
    }
}

static void file(const struct floor_panel *panel, const char *path, size_t begin)
{
    uint8_t dropped[header];
    const int fd = open(path, O_RDONLY);
    if (read(fd, dropped, sizeof dropped) < 0 ||
        read(fd, panel->screen + begin, panel->bytes - begin) < 0)
        exit(1);
    close(fd);
}

static void events(const char *path)
{
    uint8_t block[1024];
    const int fd = open(path, O_RDONLY);
    while (read(fd, block, sizeof block) > 0)
        if (write(STDERR_FILENO, block, sizeof block) < 0 || write(STDOUT_FILENO, block, 64) < 0)
            exit(1);
    close(fd);
}

int main(int argc, char **argv)
{
    const char *const action = argc > 1 ? argv[1] : "", *const argument = argc > 2 ? argv[2] : "";
    const struct floor_panel panel = open_panel();
    if (strcmp(action, "fill") == 0)
        fill(&panel);
    else if (strcmp(action, "rows") == 0)
        rows(&panel);
    else if (strcmp(action, "mask") == 0)
        mask(&panel);
    else if (strcmp(action, "cells") == 0)
        cells(&panel, 0, (size_t)atoi(argument));
    else if (strcmp(action, "barcode") == 0)
        barcode(&panel, (size_t)atoi(argument));
    else if (strcmp(action, "file") == 0)
        file(&panel, argument, 0);
    else if (strcmp(action, "overlay") == 0)
        file(&panel, argument, panel.bytes / 4);
    else if (strcmp(action, "events") == 0)
        events(argument);
    show_and_close(&panel);
    return 0;
}
