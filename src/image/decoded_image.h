#pragma once

#include <cstdint>

/// Image files that the decoder takes (PNG, JPEG, BMP, PSD, HDR, TGA and more), reduced to one gray
/// per pixel: the mean of red, green and blue, rounded down; alpha plays no part. A screen of fewer
/// than 8 bits per pixel shows the gray's top bits. Only whole bytes are stored: where a row ends
/// inside a byte, the pixels of that byte stay.

/// Paints an image with its top left pixel at (x, y), clipped at the right and the bottom edge;
/// nothing for a negative x or y. Stores the image's whole width and height, in pixels. Returns 0,
/// or 1 with a message when the image cannot be decoded. Sends no update.
int paint_image(int32_t x, int32_t y, const char *path, int32_t *width_out, int32_t *height_out);

/// Decodes an image to a file laid out like the screen memory, with the image at the top left and
/// white around it. A file that exists is written over from its start and not truncated. Returns 0,
/// or 1 with a message.
int decompress_image_to_file(const char *input_path, const char *output_path);
