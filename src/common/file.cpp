#include "common/file.h"

#include <algorithm>
#include <cerrno>

size_t read_fully(int fd, void *to, size_t size)
{
    auto *const bytes = static_cast<uint8_t *>(to);
    size_t done = 0;
    while (done < size) {
        const ssize_t got = read(fd, bytes + done, size - done);
        if (got > 0)
            done += size_t(got);
        else if (got == 0 || errno != EINTR)
            break;
    }
    return done;
}

bool skip_bytes(int fd, uint64_t size)
{
    uint8_t dropped[4096];
    while (size > 0) {
        const size_t wanted = size_t(std::min<uint64_t>(size, sizeof dropped));
        if (read_fully(fd, dropped, wanted) < wanted)
            return false;
        size -= wanted;
    }
    return true;
}

size_t write_fully(int fd, const void *from, size_t size)
{
    const auto *const bytes = static_cast<const uint8_t *>(from);
    size_t done = 0;
    while (done < size) {
        const ssize_t written = write(fd, bytes + done, size - done);
        if (written <= 0)
            break;
        done += size_t(written);
    }
    return done;
}
