#pragma once

#include "state.h"

#include <memory>
#include <string>

/// A gray picture, one byte a pixel.
struct gray_picture {
    pixel_size size;
    std::unique_ptr<uint8_t[]> pixels; // null: there is none
    size_t bytes() const { return size_t(size.width) * size.height; }
};

/// What the glass of the panel in the state folder shows, and the panel's settings at that time:
/// white unless it has been opened. There is none when memory is short or the settings cannot be
/// understood.
gray_picture read_glass(panel_settings &settings);

/// Whether a file is missing or regular, so that a complete one can take its place.
bool can_replace(const char *path);

/// Writes the glass as a PNG: a complete file takes the place of the one before, but what is no
/// regular file, such as a device, is written in place. Says on standard error what went wrong;
/// true on success.
bool write_glass(const char *path);

/// Where the frames of a run go: the PGM files that the preloaded library leaves in the folder
/// become numbered PNG files.
struct frame_folder {
    std::string path;
    int last_number = 0;
};

/// Makes the folder if it is missing, and finds the last number in it. False and errno on failure.
bool open_frames(const char *path, frame_folder &frames);

/// Turns the frames that have arrived into PNG files, in their order. False when one cannot be
/// read or written, which is said on standard error.
bool take_frames(frame_folder &frames);
