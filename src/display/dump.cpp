#include "display/dump.h"

#include "common/file.h"
#include "common/heap.h"
#include "common/message.h"
#include "display/device.h"
#include "display/driver_requests.h"

#include <algorithm>
#include <cinttypes>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>

constexpr size_t page = 4096; // the driver wants whole pages

static int open_dump(const char *path)
{
    return open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
}

void dump_framebuffer(const char *path)
{
    const framebuffer &device = display_device;
    if (device.buffer_map == MAP_FAILED) {
        message("main", "cannot map framebuffer to write %s\n", path);
        return;
    }
    const descriptor file(open_dump(path));
    if (file.fd < 0) {
        print("can't open %s file for write framebuffer\n", path);
        return;
    }
    const size_t written = write_fully(file.fd, device.buffer_map, device.buffer_bytes);
    print("write framebuffer(%d byte @%p) %d byte to file %s\n", int(device.buffer_bytes),
          static_cast<void *>(device.buffer_map), int(written), path);
}

/// Reads the working buffer, of at most `capacity` bytes, and writes the first `size` of it.
static void copy_working_buffer(const descriptor &file, const char *path, size_t size,
                                size_t capacity)
{
    const size_t whole_pages = (capacity + page - 1) / page * page;
    const heap_bytes buffer(static_cast<uint8_t *>(aligned_alloc(page, whole_pages)));
    if (!buffer) {
        print("can't allocate %zu byte for working buffer\n", size);
        return;
    }
    memset(buffer.get(), 0, size);
    const int result = ioctl(display_device.fd, EPDC_GET_WORK_BUFFER, buffer.get());
    if (result < 0) {
        print("get work buffer ioctl err=%d\n", result);
        return;
    }
    const size_t written = write_fully(file.fd, buffer.get(), size);
    print("write %d byte @0x%x to %s\n", int(written),
          unsigned(reinterpret_cast<uintptr_t>(buffer.get())), path);
}

void dump_working_buffer_to(const char *path)
{
    const surface &screen = display_device.screen;
    const descriptor file(open_dump(path));
    if (file.fd < 0) {
        print("can't open %s to dump\n", path);
        return;
    }
    // Below 8 bits per pixel the driver keeps two bytes a pixel all the same: of each pixel that it
    // claims to have, also where the screen had to be made smaller. Sides are below 2^31.
    const int64_t pixels = int64_t{screen.width} * screen.height;
    const uint64_t claimed = std::max(uint64_t{var_info.xres} * var_info.yres, uint64_t(pixels));
    if (pixels == 0 || claimed > INT32_MAX / 2)
        print("can't allocate %" PRIu64 " byte for working buffer\n", claimed * 2);
    else
        copy_working_buffer(file, path, size_t(pixels) * 2, size_t(claimed) * 2);
}
