#pragma once

/// Text for people, formatted as printf does. It goes straight to its descriptor, so that it is
/// out before the panel driver makes the tool wait, and in the right order. What cannot be written
/// (the reader has gone, the disk is full) is lost.

/// On standard output.
[[gnu::format(printf, 1, 2)]] void print(const char *format, ...);

/// On standard error.
[[gnu::format(printf, 1, 2)]] void print_error(const char *format, ...);

/// Prints "tavo: <function>> " and then the formatted text on standard output. Scripts read the
/// function's name, so callers spell it out: it must not change when code moves.
[[gnu::format(printf, 2, 3)]] void message(const char *function, const char *format, ...);
