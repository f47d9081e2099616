#include "touch.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <linux/input-event-codes.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

namespace {

void add_event(std::vector<touch_event> &events, uint16_t type, uint16_t code, int value)
{
    timeval now{};
    gettimeofday(&now, nullptr);
    events.push_back({uint32_t(now.tv_sec), uint32_t(now.tv_usec), type, code, value});
}

void select_slot(touch_screen &screen, int finger, std::vector<touch_event> &events)
{
    if (screen.slot != finger)
        add_event(events, EV_ABS, ABS_MT_SLOT, finger);
    screen.slot = finger;
}

// A contact's tracking ID is its slot, as with drivers that count fingers and not contacts.
void move_finger(touch_screen &screen, int finger, int x, int y, std::vector<touch_event> &events)
{
    select_slot(screen, finger, events);
    if (!screen.touching[finger])
        add_event(events, EV_ABS, ABS_MT_TRACKING_ID, finger);
    screen.touching[finger] = true;
    add_event(events, EV_ABS, ABS_MT_POSITION_X, x);
    add_event(events, EV_ABS, ABS_MT_POSITION_Y, y);
    add_event(events, EV_SYN, SYN_REPORT, 0);
}

void lift_finger(touch_screen &screen, int finger, std::vector<touch_event> &events)
{
    if (!screen.touching[finger])
        return;
    select_slot(screen, finger, events);
    screen.touching[finger] = false;
    add_event(events, EV_ABS, ABS_MT_TRACKING_ID, -1);
    add_event(events, EV_SYN, SYN_REPORT, 0);
}

} // namespace

bool add_touch(touch_screen &screen, const char *line, std::vector<touch_event> &events)
{
    line += strspn(line, " \t");
    if (*line == '\0' || *line == '\n' || *line == '#')
        return true;
    int number = 0, length = 0; // of the finger, from 1; of what stands before the point
    if (sscanf(line, "%2d:%n", &number, &length) == 1 && length > 0) {
        if (number < 1 || number > touch_screen::most_fingers)
            return false;
        line += length;
    }
    const bool any_finger = length == 0;
    const int finger = any_finger ? 0 : number - 1;

    char word[3], rest;
    if (sscanf(line, " %2s %c", word, &rest) == 1 && strcmp(word, "up") == 0) {
        for (int i = 0; i < touch_screen::most_fingers; ++i)
            if (any_finger || i == finger)
                lift_finger(screen, i, events);
        return true;
    }
    int x = 0, y = 0;
    if (sscanf(line, "%9d %9d %c", &x, &y, &rest) != 2)
        return false;
    move_finger(screen, finger, x, y, events);
    return true;
}

int open_touch_fifo(const char *path)
{
    const int flags = O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC;
    // Without a reader the other open would fail.
    const int reader = open(path, O_RDONLY | flags);
    struct stat info;
    const bool is_fifo = reader >= 0 && fstat(reader, &info) == 0 && S_ISFIFO(info.st_mode) &&
                         info.st_uid == geteuid();
    if (reader >= 0 && !is_fifo)
        errno = EPERM;
    const int writer = is_fifo ? open(path, O_WRONLY | flags) : -1;
    if (reader >= 0)
        close(reader);
    return writer;
}

void send_touches(int fifo, std::vector<touch_event> &events)
{
    // As many as a pipe takes all or none of.
    constexpr size_t most = 4096 / sizeof(touch_event);
    while (!events.empty()) {
        const size_t count = std::min(events.size(), most);
        if (write(fifo, events.data(), count * sizeof(touch_event)) < 0)
            return;
        events.erase(events.begin(), events.begin() + std::ptrdiff_t(count));
    }
}
