#pragma once

/// Both write raw bytes to a file that they create or truncate, and print on standard output what
/// they did; the number of bytes that they name is what reached the file.

/// Saves the whole virtual framebuffer. No file is made when the buffer could not be mapped.
void dump_framebuffer(const char *path);

/// Saves the panel driver's working buffer, two bytes a pixel of the screen. The file is made even
/// when the buffer cannot be read.
void dump_working_buffer_to(const char *path);
