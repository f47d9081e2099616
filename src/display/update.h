#pragma once

#include <cstdint>

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
