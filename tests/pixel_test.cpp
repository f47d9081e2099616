// The packed pixels and the blit, against a plain copy of one pixel after the other.
#include "draw/pixel.h"

#include "display/device.h"
#include "panel_run.h"

#include <random>

namespace {
std::mt19937 random_bits;

/// A surface in the middle of random bytes, which guard it on both sides.
struct picture {
    picture(int width, int stride, int height, int bpp)
        : bytes(4096), shape{width, stride, height, bpp, bytes.data() + 1024}
    {
        for (uint8_t &byte : bytes)
            byte = uint8_t(random_bits());
    }
    uint8_t &at(int x, int y)
    {
        return bytes[size_t(1024 + y * (shape.stride * shape.bpp / 8) + x * shape.bpp / 8)];
    }
    int shift(int x) const { return 8 - shape.bpp - x * shape.bpp % 8; }
    int mask() const { return (1 << shape.bpp) - 1; }
    int get(int x, int y) { return at(x, y) >> shift(x) & mask(); }
    void set(int x, int y, int ink)
    {
        at(x, y) = uint8_t((at(x, y) & ~(mask() << shift(x))) | (~ink & mask()) << shift(x));
    }
    std::vector<uint8_t> bytes;
    surface shape;
};

template <class action>
std::string printed(action act)
{
    testing::internal::CaptureStdout();
    act();
    return testing::internal::GetCapturedStdout();
}

TEST(pixel, blits)
{
    const int twice[] = {0x00, 0x03, 0x0C, 0x0F, 0x30, 0x33, 0x3C, 0x3F,
                         0xC0, 0xC3, 0xCC, 0xCF, 0xF0, 0xF3, 0xFC, 0xFF};
    const auto any = [](int limit) { return int(random_bits() % unsigned(limit)); };
    for (unsigned seed : {1u, std::random_device()()})
        for (int round = 0; round < 16 * 9 * 30; ++round) {
            random_bits.seed(seed + unsigned(round));
            const int from = 1 << round % 4, to = 1 << round / 4 % 4, x = round / 16 % 9;
            const int width = any(22), height = any(6), y = any(3), wide = x + width + any(3);
            const int strides[] = {width, width + any(9), 20, 1};
            picture source(width, strides[any(4)], height, from);
            picture target(wide, wide + any(9), y + height + any(2), to), expected = target;
            std::string messages;
            for (int i = 0; i < width * height; ++i) {
                int value = source.get(i % width, i / width);
                if (value && from > to)
                    messages +=
                        formatted("tavo: translate_pixel> can't shrink %dbpp to %dbpp\n", from, to);
                for (int bpp = from; bpp < to; bpp *= 2)
                    value = twice[value];
                expected.set(x + i % width, y + i / width, value);
            }
            const auto blit = [&] { translate_pixel(x, y, &source.shape, &target.shape); };
            EXPECT_EQ(printed(blit), messages);
            EXPECT_TRUE(target.bytes == expected.bytes) << "seed " << seed << ", round " << round;
        }
}

TEST(pixel, edges)
{
    for (int i = 0; i < 4 * 9 * 8; ++i) {
        const int x = i / 4 % 9 - 2, y = i / 36 - 2;
        picture target(5, 20, 3, 1 << i % 4), expected = target, source(3, 3, 2, 1 << i % 4);
        const surface *shape = &target.shape, *drawn = &source.shape;
        const bool corner = x >= 0 && x <= 5 && y >= 0 && y <= 3, inside = corner && x < 5 && y < 3;
        const bool far = x >= -3 && x <= 2 && y >= -2 && y <= 1, fits = corner && far;
        const char *text = "tavo: pixel_in_range> (%d, %d) pixel not in range (0..5, 0..3)\n";
        const std::string message = formatted(text, x, y), pixel = inside ? "" : message;
        const int stored = inside ? expected.get(x, y) : 0;
        EXPECT_EQ(printed([&] { EXPECT_EQ(pixel_in_range(x, y, shape), corner); }),
                  corner ? "" : message);
        EXPECT_EQ(printed([&] { EXPECT_EQ(get_pixel(x, y, shape), stored); }), pixel);
        EXPECT_EQ(printed([&] { set_pixel(x, y, 0xA6, shape); }), pixel);
        EXPECT_EQ(printed([&] { translate_pixel(x, y, drawn, shape); }),
                  fits  ? ""
                  : far ? message
                        : formatted(text, x + 3, y + 2));
        if (inside)
            expected.set(x, y, 0xA6);
        for (int j = 0; fits && j < 6; ++j)
            expected.set(x + j % 3, y + j / 3, source.get(j % 3, j / 3));
        EXPECT_TRUE(target.bytes == expected.bytes) << x << ", " << y;
    }
}

TEST(pixel, refusals)
{
    const picture good(5, 8, 3, 8);
    for (int bpp : {0, 3, 5, 6, 7, 16, 32, -1}) {
        const surface bad = {5, 8, 3, bpp, nullptr};
        const std::string message = formatted("tavo: bpp_supported> bpp = %d not supported\n", bpp);
        EXPECT_EQ(printed([&] { EXPECT_EQ(get_pixel(0, 0, &bad), 0); }), message);
        EXPECT_EQ(printed([&] { translate_pixel(0, 0, &bad, &good.shape); }), message);
        EXPECT_EQ(printed([&] { translate_pixel(0, 0, &good.shape, &bad); }), message);
    }
    EXPECT_EQ(pixel_in_range(0, 0, nullptr), 0);
    translate_pixel(0, 0, nullptr, &good.shape);
    translate_pixel(0, 0, &good.shape, nullptr);
}
} // namespace
