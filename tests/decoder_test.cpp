// The decoder's kernels for SSE2 and NEON give what its plain code gives.
#define STB_IMAGE_STATIC
#pragma GCC diagnostic ignored "-Wunused-function"
#include "image/decoder.cpp"

#include <algorithm>
#include <gtest/gtest.h>
#include <numeric>
#include <random>
#include <vector>

using bytes = std::vector<uint8_t>;

static stbi__jpeg chosen_kernels()
{
    stbi__jpeg decoder{};
    stbi__setup_jpeg(&decoder);
    return decoder;
}

TEST(decoder, converts_all_colours_alike)
{
    const stbi__jpeg chosen = chosen_kernels();
    bytes luma(256), blue(256), red(256), plain(1025), fast(1025); // the last byte may be touched
    std::iota(luma.begin(), luma.end(), uint8_t(0));
    for (int step : {3, 4})
        for (int chroma = 0; chroma < 65536; ++chroma) {
            blue.assign(256, uint8_t(chroma));
            red.assign(256, uint8_t(chroma >> 8));
            stbi__YCbCr_to_RGB_row(&plain[0], &luma[0], &blue[0], &red[0], 256, step);
            chosen.YCbCr_to_RGB_kernel(&fast[0], &luma[0], &blue[0], &red[0], 256, step);
            ASSERT_EQ(memcmp(&plain[0], &fast[0], size_t(256 * step)), 0) << chroma;
        }
}

TEST(decoder, ends_rows_of_any_length_alike)
{
    const stbi__jpeg chosen = chosen_kernels();
    std::mt19937 random(1);
    bytes near(101), far(101);
    for (int width = 1; width <= 100; ++width) {
        std::generate(near.begin(), near.end(), random);
        std::generate(far.begin(), far.end(), random);
        for (int step : {1, 3, 4}) { // 1: doubled in width
            bytes plain(500, 7), fast(500, 7);
            if (step == 1) {
                stbi__resample_row_hv_2(&plain[0], &near[0], &far[0], width, 2);
                chosen.resample_row_hv_2_kernel(&fast[0], &near[0], &far[0], width, 2);
            } else {
                stbi__YCbCr_to_RGB_row(&plain[0], &near[0], &far[0], &near[1], width, step);
                chosen.YCbCr_to_RGB_kernel(&fast[0], &near[0], &far[0], &near[1], width, step);
                fast[size_t(width * step)] = plain[size_t(width * step)]; // there is room for it
            }
            EXPECT_EQ(plain, fast) << width << " pixels of " << step;
        }
    }
}
