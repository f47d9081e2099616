#pragma once

#include "common/surface.h"

#include <cstdint>
#include <linux/fb.h>

/// The open framebuffer. All zero until open_device() has filled it; nothing else writes it.
/// Products are 32-bit unsigned, and their division by 8 rounds down.
struct framebuffer {
    uint32_t line_bytes;   // a line, with what is not visible: xres_virtual * bpp / 8
    uint32_t screen_bytes; // the visible screen: yres * xres_virtual * bpp / 8
    int32_t fd;            // negative when the open failed
    uint8_t *screen_map;   // shared mapping of the first screen_bytes of the device
    surface screen;        // the visible screen: xres * yres pixels at screen_map
    uint32_t buffer_bytes; // the whole virtual buffer: yres_virtual * xres_virtual * bpp / 8
    uint8_t *buffer_map;   // a second mapping, of buffer_bytes; MAP_FAILED when it was refused
};
extern framebuffer display_device;

/// The driver's variable screen information as last read (linux/fb.h).
extern fb_var_screeninfo var_info;

/// 1 for the pixel depths that can be drawn, which are 1, 2, 4 and 8; 0, with a message, for
/// others.
int bpp_supported(int32_t bpp);

/// Opens, measures and maps /dev/fb0. Both mappings are locked in memory and last until the process
/// ends. Returns 0, or 1 after a message and with the device closed again.
int open_device();

/// Closes the device's descriptor if it is open. The mappings stay.
void close_device();

/// Reads the variable screen information into var_info (FBIOGET_VSCREENINFO). Returns 0 or an
/// ioctl's negative result. The sizes in display_device do not follow: the mappings are what they
/// were.
int read_screen_info();
