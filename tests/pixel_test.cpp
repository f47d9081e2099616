// The packed pixels and the blit, against a plain copy of one pixel after the other.
#include "draw/pixel.h"

#include "canvas.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>

namespace {
std::mt19937 random_bits;

int any(int limit)
{
    return int(random_bits() % unsigned(limit));
}

/// A surface in the middle of random bytes, which guard it on both sides.
struct random_picture {
    random_picture(int width, int stride, int height, int bpp)
        : bytes(4096), shape{width, stride, height, bpp, bytes.data() + 1024}
    {
        for (uint8_t &byte : bytes)
            byte = uint8_t(random_bits());
    }
    /// The byte of a pixel, and how far it has to be shifted for the pixel to be lowest.
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

/// One random blit, between depths and to a place that follow from the round.
void check_blit(int round)
{
    const int twice[] = {0x00, 0x03, 0x0C, 0x0F, 0x30, 0x33, 0x3C, 0x3F,
                         0xC0, 0xC3, 0xCC, 0xCF, 0xF0, 0xF3, 0xFC, 0xFF};
    const int from = 1 << round % 4, to = 1 << round / 4 % 4, x = round / 16 % 9;
    const int width = any(22), height = any(6), y = any(3), wide = x + width + any(3);
    const int strides[] = {width, width + any(9), 20, 1};
    random_picture source(width, strides[any(4)], height, from);
    random_picture target(wide, wide + any(9), y + height + any(2), to), expected = target;
    std::string messages;
    for (int j = 0; j < height; ++j)
        for (int i = 0; i < width; ++i) {
            int value = source.get(i, j);
            if (value != 0 && from > to)
                messages +=
                    formatted("tavo: translate_pixel> can't shrink %dbpp to %dbpp\n", from, to);
            for (int bpp = from; bpp < to; bpp *= 2)
                value = twice[value];
            expected.set(x + i, y + j, value);
        }
    EXPECT_EQ(printed([&] { translate_pixel(x, y, &source.shape, &target.shape); }), messages);
    EXPECT_TRUE(target.bytes == expected.bytes);
}

TEST(pixel, blits)
{
    const char *const given = getenv("TAVO_TEST_SEED");
    const unsigned seed = given ? unsigned(atol(given)) : std::random_device()();
    for (int round = 0; round < 16 * 9 * 40 && !HasFailure(); ++round) {
        // The first half is the same on every run.
        const unsigned seed_now = (round % 2 ? seed : 1) + unsigned(round);
        SCOPED_TRACE(formatted("again with TAVO_TEST_SEED=%u, round %d", seed, round));
        random_bits.seed(seed_now);
        check_blit(round / 2);
    }
}

/// Pixels and a picture of 3 x 2 around and over every edge of a screen of 5 x 3.
TEST(pixel, edges)
{
    for (int bpp : {1, 2, 4, 8})
        for (int x = -4; x <= 7; ++x)
            for (int y = -3; y <= 5; ++y) {
                SCOPED_TRACE(formatted("%d bits, x %d, y %d", bpp, x, y));
                random_picture target(5, 20, 3, bpp), expected = target, source(3, 3, 2, bpp);
                const surface *to = &target.shape, *from = &source.shape;
                const auto message = [](bool good, int at_x, int at_y) {
                    return good ? ""
                                : formatted("tavo: pixel_in_range> (%d, %d) pixel not in range "
                                            "(0..5, 0..3)\n",
                                            at_x, at_y);
                };
                const bool pixel = x >= 0 && x < 5 && y >= 0 && y < 3;
                const bool corner = x >= 0 && x <= 5 && y >= 0 && y <= 3;
                const bool end = x >= -3 && x <= 2 && y >= -2 && y <= 1, fits = end && corner;
                const int stored = pixel ? expected.get(x, y) : 0;
                EXPECT_EQ(printed([&] { EXPECT_EQ(pixel_in_range(x, y, to), corner); }),
                          message(corner, x, y));
                EXPECT_EQ(printed([&] { EXPECT_EQ(get_pixel(x, y, to), stored); }),
                          message(pixel, x, y));
                EXPECT_EQ(printed([&] { set_pixel(x, y, 0xA6, to); }), message(pixel, x, y));
                EXPECT_EQ(printed([&] { translate_pixel(x, y, from, to); }),
                          end ? message(corner, x, y) : message(false, x + 3, y + 2));
                if (pixel)
                    expected.set(x, y, 0xA6);
                for (int i = 0; fits && i < 6; ++i)
                    expected.set(x + i % 3, y + i / 3, source.get(i % 3, i / 3));
                EXPECT_TRUE(target.bytes == expected.bytes);
            }
}

TEST(pixel, refusals)
{
    const surface good = random_picture(5, 8, 3, 8).shape;
    for (int bpp : {0, 3, 5, 6, 7, 9, 16, 32, -1}) {
        const surface bad = {5, 8, 3, bpp, nullptr};
        const std::string message = formatted("tavo: bpp_supported> bpp = %d not supported\n", bpp);
        EXPECT_EQ(printed([&] { EXPECT_EQ(get_pixel(0, 0, &bad), 0); }), message);
        EXPECT_EQ(printed([&] { set_pixel(0, 0, 0, &bad); }), message);
        EXPECT_EQ(printed([&] { translate_pixel(0, 0, &bad, &good); }), message);
        EXPECT_EQ(printed([&] { translate_pixel(0, 0, &good, &bad); }), message);
        EXPECT_EQ(printed([&] { translate_pixel(0, 0, &bad, nullptr); }), "");
    }
    EXPECT_EQ(printed([&] { EXPECT_EQ(pixel_in_range(0, 0, nullptr), 0); }), "");
    EXPECT_EQ(printed([&] { translate_pixel(0, 0, nullptr, &good); }), "");
}
} // namespace
