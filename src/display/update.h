#pragma once

#include <cstddef>
#include <cstdint>
#include <sys/ioctl.h>

/// What the panel driver takes with EPDC_SEND_UPDATE: 80 bytes in the processor's byte order.
struct update_request {
    uint32_t top, left; // the driver's order; our functions take left first
    uint32_t width, height;
    uint32_t wave_mode;
    uint32_t update_mode; // 0 partial, 1 full
    uint32_t update_marker;
    uint32_t temperature;
    uint32_t flags; // 1: show the region inverted
    uint32_t reserved[9];
    uint32_t tail_word_1, tail_word_2;
};
static_assert(sizeof(update_request) == 80);
static_assert(offsetof(update_request, top) == 0 && offsetof(update_request, left) == 4);
static_assert(offsetof(update_request, width) == 8 && offsetof(update_request, height) == 12);
static_assert(offsetof(update_request, wave_mode) == 16);
static_assert(offsetof(update_request, update_mode) == 20);
static_assert(offsetof(update_request, update_marker) == 24);
static_assert(offsetof(update_request, temperature) == 28);
static_assert(offsetof(update_request, flags) == 32);
static_assert(offsetof(update_request, reserved) == 36);
static_assert(offsetof(update_request, tail_word_1) == 72);
static_assert(offsetof(update_request, tail_word_2) == 76);

/// Names an update to the driver, which may write the second word while it is waited for.
struct update_marker_record {
    uint32_t marker;
    uint32_t second_word;
};
static_assert(sizeof(update_marker_record) == 8);

constexpr unsigned long EPDC_SEND_UPDATE = _IOW('F', 0x2e, update_request);
constexpr unsigned long EPDC_WAIT_FOR_UPDATE_COMPLETE = _IOWR('F', 0x2f, update_marker_record);
constexpr unsigned long EPDC_SET_HOLD = _IOW('F', 0x33, uint32_t);
constexpr unsigned long EPDC_GET_HOLD = _IOW('F', 0x34, uint32_t);
constexpr unsigned long EPDC_RELEASE_HOLD = _IOW('F', 0x35, uint32_t);
static_assert(EPDC_SEND_UPDATE == 0x4050462e && EPDC_WAIT_FOR_UPDATE_COMPLETE == 0xc008462f);
static_assert(EPDC_SET_HOLD == 0x40044633 && EPDC_GET_HOLD == 0x40044634);
static_assert(EPDC_RELEASE_HOLD == 0x40044635);

/// Waveform mode with which the driver chooses the waveform itself.
constexpr int32_t wave_mode_auto = 257;

/// Update modes: only what differs is driven, or every pixel of the region.
constexpr int32_t update_partial = 0;
constexpr int32_t update_full = 1;

/// The driver's mode number for a waveform name; wave_mode_auto for any other. A name may be
/// followed by anything ("gc16x" is gc16), and case matters.
int32_t parse_waveform(const char *name);

/// Asks the driver to show a rectangle given in pixels, and prints a line about it on standard
/// output. A refused request is sent six times in all, half a second apart; the call blocks
/// meanwhile. Returns the last result: when negative, the panel still shows the old picture.
int update_to_display(int32_t left, int32_t top, int32_t width, int32_t height, int32_t wave_mode,
                      int32_t update_mode);

/// update_to_display for the whole screen. Note the order: the update mode comes first.
int update_full_screen(int32_t update_mode, int32_t wave_mode);

/// update_full_screen, unless held is set.
void refresh_unless_held(bool held, int32_t update_mode, int32_t wave_mode);

/// Blocks until the driver has finished the last update. Returns the request's result.
int wait_for_update();

/// Asks for the driver's hold word and, when that is 0, sets the hold. Returns the word, or 1 when
/// the driver did not answer.
int32_t hold_updates();

/// Ends the driver's hold. Returns the request's result.
int release_updates();
