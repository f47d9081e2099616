#include "display/update.h"

#include "common/message.h"
#include "common/shared_options.h"
#include "display/device.h"
#include "display/driver_requests.h"

#include <cstring>
#include <unistd.h>

constexpr uint32_t panel_temperature = 0x1000; // the driver measures for itself
constexpr int most_sends = 6;
constexpr useconds_t retry_pause = 500000; // microseconds

static update_marker update_marker_record = {42, 0};

struct waveform_name {
    char name[8];
    int32_t mode;
};
// The first row that the argument begins with counts: reagld comes before reagl.
constexpr waveform_name waveform_names[] = {
    {"du", 1},     {"a2", 6},    {"gc16", 2},  {"gl16", 3},
    {"reagld", 5}, {"reagl", 4}, {"gck16", 8}, {"glkw16", 9},
};

int32_t parse_waveform(const char *name)
{
    for (const waveform_name &row : waveform_names)
        if (strncmp(name, row.name, strlen(row.name)) == 0)
            return row.mode;
    return wave_mode_auto;
}

static int send_update(update_request &request)
{
    return ioctl(display_device.fd, EPDC_SEND_UPDATE, &request);
}

int update_to_display(int32_t left, int32_t top, int32_t width, int32_t height, int32_t wave_mode,
                      int32_t update_mode)
{
    update_request request{};
    request.top = uint32_t(top);
    request.left = uint32_t(left);
    request.width = uint32_t(width);
    request.height = uint32_t(height);
    request.wave_mode = uint32_t(wave_mode);
    request.update_mode = uint32_t(update_mode);
    request.update_marker = update_marker_record.marker;
    request.temperature = panel_temperature;
    request.flags = inverted != 0 ? 1 : 0;
    request.tail_word_1 = 1;
    request.tail_word_2 = 2;

    print("%s: update_mode=%s, wave_mode=%d inverted=%d\n", "update_to_display",
          update_mode == update_full ? "FULL" : "PARTIAL", wave_mode, int(inverted));
    int result = send_update(request);
    for (int sends = 1; result < 0 && sends < most_sends; ++sends) {
        print_error("retrying.. %d", result);
        usleep(retry_pause);
        result = send_update(request);
    }
    return result;
}

int update_full_screen(int32_t update_mode, int32_t wave_mode)
{
    const surface &screen = display_device.screen;
    return update_to_display(0, 0, screen.width, screen.height, wave_mode, update_mode);
}

void refresh_unless_held(bool held, int32_t update_mode, int32_t wave_mode)
{
    if (!held)
        update_full_screen(update_mode, wave_mode);
}

int wait_for_update()
{
    return ioctl(display_device.fd, EPDC_WAIT_FOR_UPDATE_COMPLETE, &update_marker_record);
}

int32_t hold_updates()
{
    int32_t state = 1;
    if (ioctl(display_device.fd, EPDC_GET_HOLD, &state) == 0 && state == 0)
        ioctl(display_device.fd, EPDC_SET_HOLD, 0UL);
    return state;
}

int release_updates()
{
    return ioctl(display_device.fd, EPDC_RELEASE_HOLD, 0UL);
}
