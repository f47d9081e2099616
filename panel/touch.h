#pragma once

#include <cstdint>
#include <vector>

/// An input event as a 32-bit kernel delivers it.
struct touch_event {
    uint32_t seconds, microseconds;
    uint16_t type, code;
    int32_t value;
};
static_assert(sizeof(touch_event) == 16);

/// The fingers on a touch screen, and what its driver last said.
struct touch_screen {
    static constexpr int most_fingers = 10;
    bool touching[most_fingers] = {};
    int slot = -1;
};

/// Turns a line of text into events: "X Y" moves the first finger there, "2: X Y" the second; "up"
/// lifts all fingers that touch, "2: up" the second. A blank line and one that begins with "#" say
/// nothing. False when the line cannot be understood.
bool add_touch(touch_screen &screen, const char *line, std::vector<touch_event> &events);

/// Opens a FIFO of the caller's for writing without waiting, though nobody may read it; a reader
/// does not see its end before the descriptor is closed. -1 and errno on failure.
int open_touch_fifo(const char *path);

/// Sends what the reader can take now, and removes it from `events`. SIGPIPE must be blocked or
/// ignored.
void send_touches(int fifo, std::vector<touch_event> &events);
