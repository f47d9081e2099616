#pragma once

#include <string>

/// Where execvp(3) finds a program; "" when it does not.
std::string find_program(const char *name);

/// Why the preloaded library would not be loaded into the program at `path`, or into a script's
/// interpreter; "" when it would, or when that cannot be seen.
std::string find_obstacle(const std::string &path);

/// Where a file that belongs to tavo-panel is: beside it in a build, in folders for libraries
/// and helpers where it is installed. "" when it is missing.
std::string find_own_file(const char *name);
