#pragma once

/// The least that a program must do to show something on the panel. Shared by the floors.

#include <fcntl.h>
#include <linux/fb.h>
#include <stddef.h>
#include <stdint.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <unistd.h>

struct floor_panel {
    int fd;
    struct fb_var_screeninfo info;
    uint8_t *screen; // the mapped visible screen
    size_t bytes;    // of it
    size_t line;     // bytes of a line
};

/// Opens /dev/fb0, asks for its size, maps the screen and the whole buffer; ends the process when
/// that fails.
static inline struct floor_panel open_panel(void)
{
    struct floor_panel panel = {.fd = open("/dev/fb0", O_RDWR)};
    if (panel.fd < 0 || ioctl(panel.fd, FBIOGET_VSCREENINFO, &panel.info) != 0)
        exit(1);
    const struct fb_var_screeninfo *const info = &panel.info;
    panel.line = (size_t)info->xres_virtual * info->bits_per_pixel / 8;
    panel.bytes = panel.line * info->yres;
    const size_t buffer = panel.line * info->yres_virtual;
    const int access = PROT_READ | PROT_WRITE, flags = MAP_SHARED | MAP_LOCKED;
    panel.screen = mmap(NULL, panel.bytes, access, flags, panel.fd, 0);
    if (panel.screen == MAP_FAILED || mmap(NULL, buffer, access, flags, panel.fd, 0) == MAP_FAILED)
        exit(1);
    return panel;
}

/// Sends the 80 bytes that ask for an update of the whole screen, and closes the device.
static inline void show_and_close(const struct floor_panel *panel)
{
    uint32_t request[20] = {0, 0, panel->info.xres, panel->info.yres, 2, 0, 42, 0x1000};
    ioctl(panel->fd, _IOW('F', 0x2e, uint32_t[20]), request);
    close(panel->fd);
}
