#pragma once

/// Draws the traces of two fingers, read as multi-touch events from an input event device
/// (linux/input.h), until the bottom left square is touched or reading fails; the bottom right
/// square wipes the drawing. Blocks between events. Returns 1 however it ends.
int touch_test(const char *path);
