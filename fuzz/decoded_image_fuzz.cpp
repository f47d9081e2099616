// Image files of every format, to the screen or to a file: the way, x, y, then the file.

#include "fuzz_screen.h"

#include "display/device.h"
#include "image/decoded_image.h"

void run_target(fuzz_input &input)
{
    const bool to_file = input.take<uint8_t>() & 1;
    const auto x = input.take<int32_t>(), y = input.take<int32_t>();
    int32_t width, height;
    serve_file(input);
    if (open_device() != 0)
        return;
    if (to_file)
        decompress_image_to_file("image", "output");
    else
        paint_image(x, y, "image", &width, &height);
}
