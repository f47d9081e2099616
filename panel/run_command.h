#pragma once

#include "touch.h"

#include <string>
#include <vector>

/// A command, and what is done while it runs, besides what the state folder's settings say.
struct run_request {
    char **command = nullptr; // ends with a null
    std::string faults;       // "" leaves those of the environment
    bool trace = false;
    bool summary = false;
    const char *png = nullptr;    // the file that shows the glass; null: none
    const char *frames = nullptr; // the folder of a picture per update; null: none
    const char *port = nullptr;   // of the page, "" for the usual one; null: no page
    std::vector<touch_event> touches;
};

/// Lets signals wait until `run_command` asks for them, so that none ends this program before it
/// has cleaned up. The command gets them as they were.
void block_signals();

/// Runs the command on the panel in the state folder, waits for it and for what it leaves running,
/// and reports. Returns its exit status, 128 and the number of the signal that ended it, 1 when a
/// picture is missing, or 2 when it could not be started.
int run_command(run_request &request);
