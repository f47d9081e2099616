#pragma once

/// Prints what the kernel and the panel driver report about the display on standard output: fixed
/// and variable framebuffer information (linux/fb.h), dots per inch, waveform type, material type,
/// temperature, and the colour map if asked. What cannot be read is a line that says so.
void print_fb_info(bool show_colormap);
