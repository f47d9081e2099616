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
    /// The byte of a pixel, and how far it has to be shifted for the pixel to lie lowest.
    std::pair<uint8_t &, int> place(int x, int y)
    {
        const int at = 1024 + y * (shape.stride * shape.bpp / 8) + x * shape.bpp / 8;
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
        const surface *to = &target.shape, *from = &source.shape;
        const bool corner = x >= 0 && x <= 5 && y >= 0 && y <= 3, inside = corner && x < 5 && y < 3;
        const bool near = x >= -3 && x <= 2 && y >= -2 && y <= 1, fits = corner && near;
        const std::string here = formatted(not_in_range, x, y, 5, 3);
        const std::string end = formatted(not_in_range, x + 3, y + 2, 5, 3);
        const int stored = inside ? expected.get(x, y) : 0;
        EXPECT_EQ(printed([&] { EXPECT_EQ(get_pixel(x, y, to), stored); }), inside ? "" : here);
        EXPECT_EQ(printed([&] { set_pixel(x, y, 0xA6, to); }), inside ? "" : here);
        const std::string told = printed([&] { translate_pixel(x, y, from, to); });
        EXPECT_EQ(told, fits ? "" : near ? here : end);
        if (inside)
            expected.set(x, y, 0xA6);
        for (int j = 0; fits && j < 6; ++j)
            expected.set(x + j % 3, y + j / 3, source.get(j % 3, j / 3));
        EXPECT_TRUE(target.bytes == expected.bytes) << x << ", " << y;
    }
}

TEST(pixel, refusals)
{
    const surface good = picture(5, 8, 3, 8).shape;
    for (int bpp : {0, 3, 5, 6, 7, 16, 32, -1}) {
        const surface bad = {5, 8, 3, bpp, nullptr};
        const std::string message = formatted("tavo: bpp_supported> bpp = %d not supported\n", bpp);
        EXPECT_EQ(printed([&] { translate_pixel(get_pixel(0, 0, &bad), 0, &bad, &good); }),
                  message + message);
        EXPECT_EQ(printed([&] { translate_pixel(0, 0, &good, &bad); }), message);
        EXPECT_EQ(printed([&] { translate_pixel(0, 0, &bad, nullptr); }), "");
    }
    translate_pixel(pixel_in_range(0, 0, nullptr), 0, nullptr, &good);
}
} // namespace
