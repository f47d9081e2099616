// Text, barcodes and scrolling: the kind, whether highlighted, three numbers, then the text.

#include "fuzz_screen.h"

#include "common/shared_options.h"
#include "display/device.h"
#include "draw/barcode.h"
#include "draw/text.h"

#include <string>

// A static string: the barcode's exit skips destructors.
static std::string text;

void run_target(fuzz_input &input)
{
    const auto kind = input.take<uint8_t>(), highlight = input.take<uint8_t>();
    const auto a = input.take<int32_t>(), b = input.take<int32_t>(), c = input.take<int32_t>();
    text.assign(reinterpret_cast<const char *>(input.data), input.size);
    text.shrink_to_fit(); // so that what is read behind its end shows
    inverted = highlight & 1;
    if (open_device() != 0)
        return;
    if (kind % 3 == 0)
        print_string(a, b, text.c_str(), highlight & 1);
    else if (kind % 3 == 1)
        paint_barcode(text.c_str());
    else
        scroll_lines(a, b, c);
}
