#pragma once

/// Appends a line to the folder's log, and to standard error when $TAVO_PANEL_TRACE is "1".
/// Longer than 255 bytes is cut. Leaves errno as it was.
[[gnu::format(printf, 1, 2)]] void log_line(const char *format, ...);

/// Counts a call of `name` (a literal) in this process, and tells whether $TAVO_PANEL_FAIL wants
/// it to fail: blank-separated NAME, NAME:N, NAME:FIRST-LAST or NAME:FIRST-, counted from 1.
bool fails(const char *name);

/// How often `fails` was asked for `name`.
unsigned long calls_of(const char *name);
