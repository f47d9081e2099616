#pragma once

#include <cstddef>
#include <cstdint>
#include <unistd.h>

/// A file descriptor that closes itself, or a negative number for none.
struct descriptor {
    int fd;
    explicit descriptor(int open_result) : fd(open_result) {}
    descriptor(const descriptor &) = delete;
    descriptor &operator=(const descriptor &) = delete;
    ~descriptor()
    {
        if (fd >= 0)
            close(fd);
    }
};

/// Reads until `size` bytes have come, the file ends, or reading fails; returns how many came.
size_t read_fully(int fd, void *to, size_t size);

/// Reads and drops up to `size` bytes, so that pipes work too. Returns false when the file ended
/// before.
bool skip_bytes(int fd, uint64_t size);

/// Writes until all is written or writing fails; returns how many bytes reached the file.
size_t write_fully(int fd, const void *from, size_t size);
