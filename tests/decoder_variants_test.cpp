// What the build makes of the decoder changes no pixel.
#include "image/hdr_gamma.h"

#include <cmath>
#include <gtest/gtest.h>

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wall"
#pragma GCC diagnostic ignored "-Wextra"
#define STB_IMAGE_WRITE_IMPLEMENTATION
#define STB_IMAGE_WRITE_STATIC
#include <stb/stb_image_write.h>
#pragma GCC diagnostic pop

#include <random>
#include <string>
#include <vector>

std::string decode_plainly(const std::string &file);
std::string decode_with_vectors(const std::string &file);

namespace {
/// A JPEG of noise over a gradient. The writer halves the colours' resolution up to quality 90.
std::string jpeg(int width, int height, int components, int quality)
{
    std::mt19937 noise(unsigned(width + height));
    std::vector<uint8_t> pixels;
    for (int i = 0; i < width * height * components; ++i)
        pixels.push_back(uint8_t(i / (height + 1) + int(noise() % 64)));
    std::string file;
    const auto append = [](void *to, void *bytes, int size) {
        static_cast<std::string *>(to)->append(static_cast<char *>(bytes), size_t(size));
    };
    stbi_write_jpg_to_func(append, &file, width, height, components, pixels.data(), quality);
    return file;
}

TEST(decoder, vector_code_changes_no_pixel)
{
    for (auto [width, height] : {std::pair{1, 1}, {7, 9}, {8, 8}, {15, 16}, {17, 33}, {301, 203}})
        for (int components : {1, 3})
            for (int quality : {1, 60, 90, 91, 100}) {
                const std::string file = jpeg(width, height, components, quality);
                const std::string plain = decode_plainly(file);
                EXPECT_EQ(plain.substr(0, plain.find(':')),
                          std::to_string(width) + "x" + std::to_string(height));
                EXPECT_TRUE(plain == decode_with_vectors(file))
                    << width << "x" << height << ", quality " << quality;
            }
}

TEST(decoder, gamma_is_that_of_powf_for_every_radiance_value)
{
    const auto level = [](float fraction) { return int(std::min(fraction * 255 + 0.5f, 255.0f)); };
    for (int mantissa = 0; mantissa < 256; ++mantissa)
        for (int exponent = 1; exponent < 256; ++exponent) {
            const float value = std::ldexp(float(mantissa), exponent - 136);
            ASSERT_EQ(level(hdr_gamma(value)), level(std::pow(value, 1 / 2.2f))) << value;
        }
}
} // namespace
