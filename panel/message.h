#pragma once

/// Prints "tavo-panel: ", the text and a line break on standard error. Returns 2, the status of
/// wrong arguments and of a panel that cannot be set up.
[[gnu::format(printf, 1, 2)]] int error_message(const char *format, ...);
