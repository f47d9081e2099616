#include "image/file_input.h"

#include <algorithm>
#include <cerrno>
#include <unistd.h>

size_t read_fully(const descriptor &file, void *to, size_t size)
{
    auto *const bytes = static_cast<uint8_t *>(to);
    size_t done = 0;
    while (done < size) {
        const ssize_t got = read(file.fd, bytes + done, size - done);
        if (got > 0)
            done += size_t(got);
        else if (got == 0 || errno != EINTR)
            break;
    }
    return done;
}

bool skip_bytes(const descriptor &file, uint64_t size)
{
    uint8_t dropped[4096];
    while (size > 0) {
        const size_t wanted = size_t(std::min<uint64_t>(size, sizeof dropped));
        if (read_fully(file, dropped, wanted) < wanted)
            return false;
        size -= wanted;
    }
    return true;
}
