// The image decoder alone: decodes the file that is named, and drops the picture.

#include "image/decoder.h"

int main(int argc, char **argv)
{
    int width, height, components;
    if (argc < 2)
        return 0;
    unsigned char *const pixels = stbi_load(argv[1], &width, &height, &components, 0);
    stbi_image_free(pixels);
    return pixels != nullptr ? 0 : 1;
}
