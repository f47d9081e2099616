// The decoder as a function named DECODE. The tests hold two, with and without vector code.
#define STB_IMAGE_STATIC
#include "image/decoder.cpp"

#include <string>

std::string DECODE(const std::string &file)
{
    int width, height, components;
    uint8_t *const pixels =
        stbi_load_from_memory(reinterpret_cast<const uint8_t *>(file.data()), int(file.size()),
                              &width, &height, &components, 0);
    if (!pixels)
        return stbi_failure_reason();
    const std::string all(reinterpret_cast<char *>(pixels), size_t(width * height * components));
    stbi_image_free(pixels);
    return std::to_string(width) + "x" + std::to_string(height) + ":" + all;
}
