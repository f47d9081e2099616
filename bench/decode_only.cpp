// The image decoder alone: decodes the file that is named, and drops the picture.

#include "image/decoder_input.h"

#include <fcntl.h>

int main(int argc, char **argv)
{
    int width, height, components;
    if (argc < 2)
        return 0;
    decoder_input input{descriptor(open(argv[1], O_RDONLY))};
    unsigned char *const pixels =
        stbi_load_from_callbacks(&decoder_callbacks, &input, &width, &height, &components, 0);
    stbi_image_free(pixels);
    return pixels != nullptr ? 0 : 1;
}
