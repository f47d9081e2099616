#include "image/decoded_image.h"

#include "common/file.h"
#include "common/heap.h"
#include "common/message.h"
#include "display/device.h"
#include "draw/pixel.h"
#include "draw/screen_rows.h"
#include "image/decoder_input.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <fcntl.h>
#include <sys/auxv.h>

struct pixels_release {
    void operator()(uint8_t *pixels) const { stbi_image_free(pixels); }
};

/// Rows from the top, no padding; the components of a pixel adjacent.
struct decoded_image {
    std::unique_ptr<uint8_t[], pixels_release> pixels; // null when decoding failed
    int width, height;
    int components; // 1 gray, 2 gray and alpha, 3 red, green, blue, 4 with alpha
};

struct reason_text {
    char text[64];
};

/// Why the decoder failed, in printable characters: it quotes the name of an unknown chunk, which
/// may hold any bytes. For a few damages it gives no reason of its own.
static reason_text failure_reason()
{
    const char *const given = stbi_failure_reason();
    reason_text reason{};
    strncpy(reason.text, given != nullptr ? given : "corrupt", sizeof reason.text - 1);
    for (char *c = reason.text; *c != '\0'; ++c)
        if (*c < ' ' || *c > '~')
            *c = '?';
    return reason;
}

/// Decodes a file for `function`, whose name is part of the message.
static decoded_image decode(const char *function, const char *path)
{
    decoded_image image{};
    const int fd = open(path, O_RDONLY | O_CLOEXEC);
    decoder_input input{descriptor(fd)};
    if (input.file.fd >= 0)
        image.pixels.reset(stbi_load_from_callbacks(&decoder_callbacks, &input, &image.width,
                                                    &image.height, &image.components, 0));
    if (!image.pixels)
        message(function, "cannot open \"%s\":%s\n", path,
                input.file.fd < 0 ? "can't fopen" : failure_reason().text);
    return image;
}

template <int components>
static uint32_t gray_of(const uint8_t *pixel)
{
    if constexpr (components < 3)
        return pixel[0];
    else
        return uint32_t(pixel[0] + pixel[1] + pixel[2]) / 3;
}

/// Reduces pixels to gray, packs them and stores `bytes` whole bytes, one at the least. The first
/// pixel has the place `first` in its byte; the pixels before it keep their bits.
template <int components, int bpp>
[[gnu::always_inline]] static inline void pack_row(const uint8_t *from, int first, uint8_t *to,
                                                   int64_t bytes)
{
    constexpr int pixels = 8 / bpp;
    uint32_t bits = uint32_t{*to} >> (pixels - first) * bpp; // the newest pixel is lowest
    const auto take_pixel = [&] {
        bits = bits << bpp | gray_of<components>(from) >> (8 - bpp);
        from += components;
    };
    for (int place = first; place < pixels; ++place)
        take_pixel();
    to[0] = translate_gray(bpp, uint8_t(bits));
    for (int64_t i = 1; i < bytes; ++i) {
        bits = 0;
        for (int place = 0; place < pixels; ++place)
            take_pixel();
        to[i] = translate_gray(bpp, uint8_t(bits));
    }
}

using row_packer = void (*)(const uint8_t *from, int first, uint8_t *to, int64_t bytes);
template <int components>
constexpr row_packer packers_by_depth[] = {pack_row<components, 1>, pack_row<components, 2>,
                                           pack_row<components, 4>, pack_row<components, 8>};
constexpr const row_packer *packers[] = {packers_by_depth<1>, packers_by_depth<2>,
                                         packers_by_depth<3>, packers_by_depth<4>};

#ifdef __arm__
/// The row that costs most, compiled for NEON, which the rest of the tool does without.
[[gnu::target("fpu=neon")]] static void pack_colours_neon(const uint8_t *from, int first,
                                                          uint8_t *to, int64_t bytes)
{
    pack_row<3, 8>(from, first, to, bytes);
}
#endif

static row_packer packer_for(int components, int bpp)
{
#ifdef __arm__
    if (components == 3 && bpp == 8 && (getauxval(AT_HWCAP) & HWCAP_ARM_NEON) != 0)
        return pack_colours_neon;
#endif
    return packers[components - 1][std::countr_zero(unsigned(bpp))];
}

/// Packs the first rows and columns of an image into memory laid out like the screen: to rows from
/// `to` on, from pixel x on.
static void pack_rows(const decoded_image &image, int64_t rows, int64_t columns, uint8_t *to,
                      int32_t x)
{
    const int32_t pixels = 8 / display_device.screen.bpp;
    const int32_t first = x % pixels;
    const int64_t bytes = (first + columns) / pixels;
    if (bytes < 1)
        return;
    const row_packer pack = packer_for(image.components, display_device.screen.bpp);
    const int64_t image_line = int64_t{image.width} * image.components;
    for (int64_t r = 0; r < rows; ++r)
        pack(image.pixels.get() + r * image_line, first,
             to + r * display_device.line_bytes + x / pixels, bytes);
}

int paint_image(int32_t x, int32_t y, const char *path, int32_t *width_out, int32_t *height_out)
{
    const decoded_image image = decode("paint_image", path);
    if (!image.pixels)
        return 1;
    *width_out = image.width;
    *height_out = image.height;
    const surface &screen = display_device.screen;
    const int64_t columns = std::min<int64_t>(image.width, int64_t{screen.width} - x);
    const int64_t rows = std::min<int64_t>(image.height, int64_t{screen.height} - y);
    if (x >= 0 && y >= 0 && columns > 0 && rows > 0)
        pack_rows(image, rows, columns, screen_row(y), x);
    return 0;
}

int decompress_image_to_file(const char *input_path, const char *output_path)
{
    const size_t size = display_device.screen_bytes;
    const heap_bytes buffer(static_cast<uint8_t *>(calloc(size, 1)));
    if (!buffer) {
        message("decompress_image_to_file", "Cannot alloc buffer for decompression\n");
        return 1;
    }
    const descriptor output(open(output_path, O_RDWR | O_CREAT | O_CLOEXEC, 0644));
    if (output.fd < 0) {
        message("decompress_image_to_file", "Cannot open output file %s\n", output_path);
        return 1;
    }
    const decoded_image image = decode("decompress_image_to_file", input_path);
    if (!image.pixels)
        return 1;
    const surface &screen = display_device.screen;
    memset(buffer.get(), 0xFF, size);
    pack_rows(image, std::min(image.height, screen.height), std::min(image.width, screen.width),
              buffer.get(), 0);
    if (write_fully(output.fd, buffer.get(), size) < size) {
        message("decompress_image_to_file", "Error writing to file\n");
        return 1;
    }
    return 0;
}
