// Event streams, in blocks of any length.

#include "fuzz_screen.h"

#include "display/device.h"
#include "touch/finger_traces.h"

void run_target(fuzz_input &input)
{
    serve_file(input);
    if (open_device() == 0)
        touch_test("events");
}
