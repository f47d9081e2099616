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

/// The message about a place outside a screen, up to whose right and lower `edge` it may be.
std::string outside(int x, int y, const surface &screen, int edge)
{
    const bool inside = x >= 0 && x < screen.width + edge && y >= 0 && y < screen.height + edge;
    return inside ? ""
                  : formatted("tavo: pixel_in_range> (%d, %d) pixel not in range (0..%d, 0..%d)\n",
                              x, y, screen.width, screen.height);
}

/// A random blit between depths and to a column that follow from the round, then a pixel there.
void check_round(int round)
{
    const int twice[] = {0x00, 0x03, 0x0C, 0x0F, 0x30, 0x33, 0x3C, 0x3F,
                         0xC0, 0xC3, 0xCC, 0xCF, 0xF0, 0xF3, 0xFC, 0xFF};
    const int from = 1 << round % 4, to = 1 << round / 4 % 4, x = round / 16 % 13 - 4;
    const int width = any(22), height = any(6), y = any(9) - 2;
    const int target_width = std::max(x + width + any(4) - 1, 1);
    const int strides[] = {width, width + any(9), 20, 1};
    random_picture source(width, strides[any(4)], height, from);
    random_picture target(target_width, target_width + any(9), std::max(y + height + any(4) - 1, 1),
                          to);
    random_picture expected = target;
    const surface *const screen = &target.shape;

    const std::string start = outside(x, y, *screen, 1), pixel = outside(x, y, *screen, 0);
    std::string messages = outside(x + width, y + height, *screen, 1);
    if (messages.empty())
        messages = start;
    std::string shrunk;
    for (int j = 0; messages.empty() && j < height; ++j)
        for (int i = 0; i < width; ++i) {
            int value = source.get(i, j);
            if (value != 0 && from > to)
                shrunk +=
                    formatted("tavo: translate_pixel> can't shrink %dbpp to %dbpp\n", from, to);
            for (int bpp = from; bpp < to; bpp *= 2)
                value = twice[value];
            expected.set(x + i, y + j, value);
        }
    const int stored = pixel.empty() ? expected.get(x, y) : 0;
    if (pixel.empty())
        expected.set(x, y, 0xA6);
    const auto calls = [&] {
        translate_pixel(x, y, &source.shape, screen);
        EXPECT_EQ(pixel_in_range(x, y, screen), start.empty());
        EXPECT_EQ(get_pixel(x, y, screen), stored);
        set_pixel(x, y, 0xA6, screen);
    };
    EXPECT_EQ(printed(calls), messages + shrunk + start + pixel + pixel);
    EXPECT_TRUE(target.bytes == expected.bytes);
}

TEST(pixel, blits)
{
    const char *const given = getenv("TAVO_TEST_SEED");
    const unsigned seed = given ? unsigned(atol(given)) : std::random_device()();
    for (int round = 0; round < 16 * 13 * 40 && !HasFailure(); ++round) {
        // The first half is the same on every run.
        const unsigned seed_now = (round % 2 ? seed : 1) + unsigned(round);
        SCOPED_TRACE(formatted("again with TAVO_TEST_SEED=%u, round %d", seed, round));
        random_bits.seed(seed_now);
        check_round(round / 2);
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
