#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <unistd.h>

/// What must be released releases itself.

struct file_closer {
    void operator()(FILE *file) const { fclose(file); }
};
using open_file = std::unique_ptr<FILE, file_closer>;

/// For blocks from malloc, calloc or aligned_alloc.
struct heap_release {
    void operator()(void *block) const { free(block); }
};
using heap_bytes = std::unique_ptr<uint8_t[], heap_release>;

/// A file descriptor, or a negative number for none.
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
