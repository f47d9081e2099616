// Raw images into the overlay area: x, y, then the file.

#include "fuzz_screen.h"

#include "display/device.h"
#include "image/raw_image.h"

void run_target(fuzz_input &input)
{
    const auto x = input.take<int32_t>(), y = input.take<int32_t>();
    serve_file(input);
    if (open_device() == 0)
        overlay_bitmap(x, y, "image");
}
