#include "touch/finger_traces.h"

#include "common/file.h"
#include "common/message.h"
#include "display/device.h"
#include "display/update.h"
#include "draw/fills.h"
#include "touch/touch_line.h"

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <linux/input-event-codes.h>
#include <unistd.h>

/// What the kernel delivers on a 32-bit machine (linux/input.h, whose own record follows the
/// compiling machine's size of long).
struct touch_event {
    uint32_t seconds, microseconds;
    uint16_t type, code;
    int32_t value;
};
static_assert(sizeof(touch_event) == 16);

constexpr size_t events_a_block = 64;
constexpr int32_t du_wave_mode = 1;
constexpr int32_t square_size = 120; // of the two squares in the bottom corners, in pixels
constexpr uint8_t square_gray = 0x0C;

constexpr int32_t no_contact_yet = -4, released = -1; // values of the current contact
constexpr int32_t no_point = -2; // a previous x: the next point begins a stroke
constexpr int positions_an_update = 5;

struct contact {
    int32_t x = no_point;
    int32_t previous_x = no_point, previous_y = no_point;
};

struct touch_state {
    int32_t current = no_contact_yet; // the last slot or tracking ID
    contact contacts[2];
    int update_counter = 0;
    bool wipe = false; // at the end of the block
};

static void show_screen()
{
    update_full_screen(update_partial, du_wave_mode);
}

/// The white start screen with its two squares.
static void reset_touch_screen()
{
    const surface &screen = display_device.screen;
    const int32_t top = screen.height - square_size;
    clear_screen(false);
    paint_rectangle(0, top, square_size, square_size, square_gray);
    paint_rectangle(screen.width - square_size, top, square_size, square_size, square_gray);
    show_screen();
}

static void lift_finger(touch_state &state)
{
    for (contact &c : state.contacts)
        c.previous_x = no_point;
    print_error("Touch released\n");
    show_screen();
}

/// Draws to the new point of a contact and makes it the previous one's x.
static void extend_stroke(contact &c, int32_t y)
{
    if (c.previous_x != no_point)
        draw_touch_line(c.x, y, c.previous_x, c.previous_y);
    c.previous_x = c.x;
}

/// A complete point of contact 0, which may lie in a corner square. Returns true at the end of the
/// test.
static bool move_first_finger(touch_state &state, int32_t y)
{
    const surface &screen = display_device.screen;
    contact &c = state.contacts[0];
    extend_stroke(c, y);
    const bool low = y > screen.height - square_size;
    if (low && c.x < square_size) {
        clear_screen(false);
        return true;
    }
    if (low && c.x > screen.width - square_size) {
        c.previous_x = no_point;
        state.current = released;
        state.wipe = true;
    }
    c.previous_y = y;
    return false;
}

/// Every event with a y completes a point. Returns true at the end of the test.
static bool complete_point(touch_state &state, int32_t y)
{
    if (state.current == 0 && move_first_finger(state, y))
        return true;
    if (state.current == 1) {
        extend_stroke(state.contacts[1], y);
        state.contacts[1].previous_y = y;
    }
    if (++state.update_counter == positions_an_update) {
        show_screen();
        state.update_counter = 0;
    }
    return false;
}

/// Returns true at the end of the test.
static bool handle_event(touch_state &state, const touch_event &event)
{
    if (event.type != EV_ABS)
        return false;
    switch (event.code) {
    case ABS_MT_SLOT:
        state.current = event.value;
        break;
    case ABS_MT_TRACKING_ID:
        state.current = event.value;
        if (event.value == released)
            lift_finger(state);
        break;
    case ABS_MT_POSITION_X:
        if (state.current == 0 || state.current == 1)
            state.contacts[state.current].x = event.value;
        break;
    case ABS_MT_POSITION_Y:
        return complete_point(state, event.value);
    default:
        break;
    }
    return false;
}

/// Returns true at the end of the test.
static bool handle_block(touch_state &state, const touch_event *events, size_t count)
{
    state.wipe = false;
    for (size_t i = 0; i < count; ++i)
        if (handle_event(state, events[i]))
            return true;
    if (state.wipe)
        reset_touch_screen();
    return false;
}

/// Reads and handles blocks of events until the test ends or a block cannot be read.
static void run_test(const descriptor &device)
{
    touch_state state;
    touch_event events[events_a_block];
    for (;;) {
        errno = 0; // the end of the device is no error of its own
        const ssize_t bytes = read(device.fd, events, sizeof events);
        if (bytes < ssize_t(sizeof events[0])) {
            const int reason = errno;
            print("yyy\n");
            print_error("\nevtest: error reading: %s\n", strerror(reason));
            return;
        }
        if (handle_block(state, events, size_t(bytes) / sizeof events[0]))
            return;
    }
}

int touch_test(const char *path)
{
    const descriptor device(open(path, O_RDONLY | O_CLOEXEC));
    if (device.fd < 0)
        return 1;
    reset_touch_screen();
    print("Testing ...\nTouch bottom left to exit\nTouch bottom right to clear screen\n");
    run_test(device);
    return 1;
}
