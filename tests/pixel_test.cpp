// The packed pixels and the blit, against a plain copy of one pixel after the other; what no option
// reaches is called directly.
#include "draw/pixel.h"

#include "canvas.h"
#include "display/device.h"
#include "draw/fills.h"

#include <gtest/gtest.h>

namespace {
/// A surface in the middle of bytes that differ, which guard it on both sides.
struct guarded_picture {
    guarded_picture(int width, int stride, int height, int bpp, int seed)
        : bytes(1024), shape{width, stride, height, bpp, bytes.data() + 256}
    {
        for (size_t i = 0; i < bytes.size(); ++i)
            bytes[i] = uint8_t(i * i / 7 + i * 31 + size_t(seed));
    }
    /// The byte of a pixel, and how far it has to be shifted for the pixel to be lowest.
    std::pair<uint8_t &, int> place(int x, int y)
    {
        const int at = 256 + y * (shape.stride * shape.bpp / 8) + x * shape.bpp / 8;
        return {bytes[size_t(at)], 8 - shape.bpp - x * shape.bpp % 8};
    }
    int get(int x, int y) { return place(x, y).first >> place(x, y).second & mask; }
    void set(int x, int y, int ink)
    {
        const auto [byte, shift] = place(x, y);
        byte = uint8_t((byte & ~(mask << shift)) | (~ink & mask) << shift);
    }
    std::vector<uint8_t> bytes;
    surface shape;
    int mask = (1 << shape.bpp) - 1;
};

template <class action>
std::string printed(action act)
{
    testing::internal::CaptureStdout();
    act();
    return testing::internal::GetCapturedStdout();
}

/// A blit of so many pixels a row to pixel (x, 1), whose lines end within a byte or do not.
void check_blit(int from, int to, int x, int width, int stride)
{
    const int twice[] = {0x00, 0x03, 0x0C, 0x0F, 0x30, 0x33, 0x3C, 0x3F,
                         0xC0, 0xC3, 0xCC, 0xCF, 0xF0, 0xF3, 0xFC, 0xFF};
    guarded_picture source(width, stride, 5, from, x + width),
        target(x + width, x + width, 7, to, 5);
    guarded_picture expected = target;
    expected.shape.pixels = nullptr;
    std::string shrunk;
    for (int row = 0; row < 5; ++row)
        for (int i = 0; i < width; ++i) {
            int value = source.get(i, row);
            if (value != 0 && from > to)
                shrunk +=
                    formatted("tavo: translate_pixel> can't shrink %dbpp to %dbpp\n", from, to);
            for (int bpp = from; bpp < to; bpp *= 2)
                value = twice[value];
            expected.set(x + i, row + 1, value);
        }
    EXPECT_EQ(printed([&] { translate_pixel(x, 1, &source.shape, &target.shape); }), shrunk);
    EXPECT_TRUE(target.bytes == expected.bytes)
        << width << " pixels of " << from << " bits to x " << x << " of " << to << " bits";
}

TEST(pixel, blits)
{
    for (int from : {1, 2, 4, 8})
        for (int to : {1, 2, 4, 8})
            for (int x = 0; x < 9; ++x)
                for (int width = 1; width < 18; ++width)
                    for (int stride : {1, width, 24})
                        check_blit(from, to, x, width, stride);
}

TEST(pixel, range)
{
    guarded_picture picture(5, 8, 3, 8, 0);
    const surface *const target = &picture.shape, deep = {5, 8, 3, 16, nullptr};
    for (const auto &[x, y] : {std::pair(6, 0), {0, 4}, {-1, 0}, {0, -1}})
        EXPECT_EQ(
            printed([&, x = x, y = y] { EXPECT_EQ(pixel_in_range(x, y, target), 0); }),
            formatted("tavo: pixel_in_range> (%d, %d) pixel not in range (0..5, 0..3)\n", x, y));
    EXPECT_EQ(printed([&] {
                  EXPECT_EQ(pixel_in_range(5, 3, target), 1); // a corner past the last pixel
                  EXPECT_EQ(pixel_in_range(0, 0, nullptr), 0);
                  translate_pixel(0, 0, target, nullptr);
                  translate_pixel(0, 0, nullptr, target);
              }),
              "");
    const std::string refused = "tavo: bpp_supported> bpp = 16 not supported\n";
    EXPECT_EQ(printed([&] { translate_pixel(0, 0, target, &deep); }), refused);
    EXPECT_EQ(printed([&] { translate_pixel(0, 0, &deep, target); }), refused);
    set_pixel(4, 2, 0x40, target);
    EXPECT_EQ(get_pixel(4, 2, target), 0xBF);
    for (const auto &[x, y] : {std::pair(5, 0), {0, 3}}) // where a corner is in range, but no pixel
        EXPECT_NE(printed([&, x = x, y = y] {
                      set_pixel(x, y, 0, target);
                      EXPECT_EQ(get_pixel(x, y, target), 0);
                  }),
                  "");
}

TEST(pixel, patterns_of_other_depths)
{
    const struct {
        int mode, bpp;
        std::string start;
    } cases[] = {{0x5A, 4, "ZZZZ"},
                 {256, 2, {0, 0, '\xFF', '\xFF'}},
                 {257, 4, {0, 0, 0, 0, 'U', 'U', 'U', 'U'}},
                 {258, 8, {0, 0, 0, 0, 0, 0, 0, 0, 17, 17}},
                 {259, 4, {0, 0, 0, 0}}};
    for (const auto &[mode, bpp, start] : cases) {
        std::string memory(64, 'x');
        auto *const bytes = reinterpret_cast<uint8_t *>(memory.data());
        display_device = {16, 64, -1, bytes, {128 / bpp, 128 / bpp, 4, bpp, bytes}, 0, nullptr};
        paint_xor_pattern(mode);
        EXPECT_EQ(memory.substr(0, start.size()), start) << mode;
    }
}
} // namespace
