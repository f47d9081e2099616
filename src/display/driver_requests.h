#pragma once

#include <cstddef>
#include <cstdint>
#include <sys/ioctl.h>

/// The panel driver's requests on the framebuffer's descriptor, and the records that they take.
/// Those of Linux framebuffers in general are in linux/fb.h.

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
static_assert(sizeof(update_request) == 80 && offsetof(update_request, wave_mode) == 16);
static_assert(offsetof(update_request, reserved) == 36);
static_assert(offsetof(update_request, tail_word_1) == 72);

/// Names an update to the driver, which may write the second word while it is waited for.
struct update_marker {
    uint32_t marker;
    uint32_t second_word;
};
static_assert(sizeof(update_marker) == 8);

constexpr unsigned long EPDC_SEND_UPDATE = _IOW('F', 0x2e, update_request);
constexpr unsigned long EPDC_WAIT_FOR_UPDATE_COMPLETE = _IOWR('F', 0x2f, update_marker);
constexpr unsigned long EPDC_SET_HOLD = _IOW('F', 0x33, uint32_t);
constexpr unsigned long EPDC_GET_HOLD = _IOW('F', 0x34, uint32_t);
constexpr unsigned long EPDC_RELEASE_HOLD = _IOW('F', 0x35, uint32_t);
constexpr unsigned long EPDC_GET_WORK_BUFFER =
    _IOWR('F', 0x34, uint32_t); // fills what it points at
constexpr unsigned long EPDC_GET_TEMPERATURE = _IOR('F', 0x38, int32_t);
constexpr unsigned long EPDC_GET_WAVEFORM_TYPE = _IOR('F', 0x39, int32_t);
constexpr unsigned long EPDC_GET_MATERIAL_TYPE = _IOR('F', 0x3a, int32_t);
static_assert(EPDC_SEND_UPDATE == 0x4050462e && EPDC_WAIT_FOR_UPDATE_COMPLETE == 0xc008462f);
static_assert(EPDC_SET_HOLD == 0x40044633 && EPDC_GET_HOLD == 0x40044634);
static_assert(EPDC_RELEASE_HOLD == 0x40044635 && EPDC_GET_WORK_BUFFER == 0xc0044634);
static_assert(EPDC_GET_TEMPERATURE == 0x80044638 && EPDC_GET_WAVEFORM_TYPE == 0x80044639);
static_assert(EPDC_GET_MATERIAL_TYPE == 0x8004463a);
