// tavo: draws on an electrophoretic display and asks its driver to show it.
//
// One call is one pass: open the device, read the options (some draw as they are read), run at most
// one action of stage one, send the final update, or else run the operands' action.
//
// To add an option:
// 1. Its letter goes into option_string, and a case into read_option (command_line.cpp); what it
//    says becomes a field of `invocation` (command_line.h), or it draws as it is read.
// 2. Its action is a function of the part that it belongs to, called from a row of stage_one_rules
//    or from run_operands. If it repaints the screen, its letter joins refreshing_options.
// 3. It gets rows in tests/: command line, picture, requests, output, status.
// 4. People find it in usage_text.h, README.md, man/tavo.1, completions/tavo and CHANGELOG.md.

#include "command_line.h"
#include "common/message.h"
#include "common/shared_options.h"
#include "display/device.h"
#include "display/device_report.h"
#include "display/dump.h"
#include "display/update.h"
#include "draw/fills.h"
#include "draw/text.h"
#include "image/decoded_image.h"
#include "image/raw_image.h"
#include "touch/finger_traces.h"
#include "usage_text.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <iterator>

// No option prints it: `strings` finds it in the program.
[[gnu::used, gnu::retain]] constexpr char version[] = "tavo " TAVO_VERSION;

/// Where a call goes on after a stage.
enum class continuation { operands, release, close };

struct stage_one_rule {
    char letter;
    int (*run)(invocation &call); // returns the exit status
};

static int run_overlay(invocation &call)
{
    const char *const path = operand(call, 1);
    return overlay_bitmap(call.x, call.y, path != nullptr ? path : "");
}

static int run_bitmap(invocation &call)
{
    return paint_bitmap(call.x, call.y, call.image_path);
}

/// On success the image's size is the size of the update.
static int run_image(invocation &call)
{
    return paint_image(call.x, call.y, call.image_path, &call.w, &call.h);
}

static int run_rectangle(invocation &call)
{
    return paint_rectangle(call.x, call.y, call.w, call.h, uint8_t(call.level));
}

static int run_touch_test(invocation &call)
{
    touch_test(call.touch_path);
    return 0;
}

static int run_grid(invocation &call)
{
    overlay_grid(std::max(call.grid_size, 2));
    return 0;
}

// The first row whose letter was given runs, and only that one.
constexpr stage_one_rule stage_one_rules[] = {
    {'o', run_overlay},   {'m', run_overlay},    {'b', run_bitmap}, {'g', run_image},
    {'d', run_rectangle}, {'j', run_touch_test}, {'a', run_grid},
};

// Each of them ends in an update of the region.
constexpr char refreshing_options[] = {'b', 'c', 'd', 'g', 'j', 'l', 'p', 'q', 'r'};

/// A side of 0 reaches to the screen's edge, and no side passes it. The origin stays.
static void clip_region(invocation &call)
{
    const auto xres = int32_t(var_info.xres), yres = int32_t(var_info.yres);
    if (call.w == 0)
        call.w = xres;
    if (call.h == 0)
        call.h = yres;
    if (int64_t{call.x} + call.w > xres)
        call.w = int32_t(int64_t{xres} - call.x);
    if (int64_t{call.y} + call.h > yres)
        call.h = int32_t(int64_t{yres} - call.y);
}

static void update_region(const invocation &call)
{
    update_to_display(call.x, call.y, call.w, call.h, call.wave_mode,
                      call.full ? update_full : update_partial);
    if (call.full)
        wait_for_update();
}

static bool repaints(const invocation &call)
{
    return std::any_of(std::begin(refreshing_options), std::end(refreshing_options),
                       [&call](char letter) { return given(call, letter); });
}

static continuation run_stage_one(invocation &call, int &status)
{
    if (given(call, 't'))
        return continuation::operands;
    for (const stage_one_rule &rule : stage_one_rules)
        if (given(call, rule.letter)) {
            status = rule.run(call);
            break;
        }
    clip_region(call);
    if (given(call, 's')) {
        update_region(call);
        return continuation::close;
    }
    if (!repaints(call))
        return continuation::operands;
    if (given(call, 'n'))
        return continuation::release;
    if (read_screen_info() != 0)
        message("main", "cannot read screen info 1\n");
    else
        update_region(call);
    return continuation::close;
}

static void run_scroll(const invocation &call)
{
    const int32_t width = operand_count(call) == 3 ? atoi(operand(call, 3)) : 0;
    scroll_lines(atoi(operand(call, 1)), atoi(operand(call, 2)), width);
    refresh_unless_held(given(call, 'n'), call.full ? update_full : update_partial, call.wave_mode);
}

static void run_report(const invocation &call)
{
    print_fb_info(operand_count(call) == 1);
    if (call.dump_path[0] != '\0') {
        dump_framebuffer(call.dump_path);
        dump_working_buffer = 0;
    }
}

static int run_decompress(const invocation &call)
{
    if (operand_count(call) == 1) {
        print("Error: no file specified\n");
        return 1;
    }
    return decompress_image_to_file(operand(call, 1), operand(call, 2));
}

/// One to three operands: an image to overlay or a string to print, at the position before it
/// when there are three.
static int run_item(const invocation &call)
{
    const bool placed = operand_count(call) == 3;
    const int32_t a = placed ? atoi(operand(call, 1)) : 0;
    const int32_t b = placed ? atoi(operand(call, 2)) : 0;
    const char *const item = operand(call, placed ? 3 : 1);
    if (given(call, 'o') || given(call, 'm'))
        return overlay_bitmap(a, b, item);
    const int status = print_string(a, b, item, given(call, 'h'));
    refresh_unless_held(given(call, 'n'), call.full ? update_full : update_partial, wave_mode_auto);
    return status;
}

static continuation run_operands(const invocation &call, int &status)
{
    const int32_t n = operand_count(call);
    if (given(call, 'z') && (n == 2 || n == 3)) {
        run_scroll(call);
    } else if (given(call, 'i')) {
        run_report(call);
    } else if (n >= 1 && n <= 3 && !dump_working_buffer) {
        if (given(call, 't')) {
            status = run_decompress(call);
            return continuation::close;
        }
        status = run_item(call);
    }
    return continuation::release;
}

int main(int argc, char **argv)
{
    // A reader of our output that has gone, and a file that may not grow, cost a line of text,
    // never an update or a release.
    signal(SIGPIPE, SIG_IGN);
    signal(SIGXFSZ, SIG_IGN);
    if (argc < 2) {
        print("%s\n", usage_text);
        return 1;
    }
    if (open_device() != 0)
        return 0;
    invocation call = read_command_line(argc, argv);
    if (given(call, 'n'))
        hold_updates();

    int status = 0;
    if (call.w >= 0 && call.h >= 0) {
        continuation step = run_stage_one(call, status);
        if (step == continuation::operands)
            step = run_operands(call, status);
        if (step == continuation::release && given(call, 'n'))
            release_updates();
    }
    if (dump_working_buffer)
        dump_working_buffer_to(call.dump_path);
    close_device();
    return status;
}
