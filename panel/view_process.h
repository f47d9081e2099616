#pragma once

#include <csignal>

/// Starts the server of the page on a port of this machine ("0": any, "": the usual one), with the
/// caller's blocked signals. Returns a socket that the server lives as long as, or -1 after an
/// error message.
int start_view(const char *port, const sigset_t &callers_mask);

/// Ends the server, and returns when it has ended.
void end_view(int socket);
