#pragma once

/// Prints "tavo: <function>> " and then the formatted text on standard output. Scripts read the
/// function's name, so callers spell it out: it must not change when code moves.
[[gnu::format(printf, 2, 3)]] void message(const char *function, const char *format, ...);
