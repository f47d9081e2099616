// The platform is replaced by the linker: it turns each call of open into one of __wrap_open, and
// so on (see CMakeLists.txt). Calls from outside a run pass through.

#include "fuzz_screen.h"

#include "common/shared_options.h"
#include "display/device.h"

#include <algorithm>
#include <cerrno>
#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sanitizer/asan_interface.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <unistd.h>

constexpr size_t largest_block = 2 << 20; // more is refused: filling it would take the time
constexpr size_t area_size = 512 << 10;   // of a screen; whole pages
constexpr size_t margin = 64;             // looked at in front of a screen; a multiple of 8
constexpr uint8_t old_byte = 0x5A;        // what lies on and in front of the screen
constexpr unsigned long get_work_buffer = 0xc0044634;

static run_shape shape;
static bool running;
static jmp_buf on_exit_called;
static unsigned calls, queries;
static int device_fd, content_fd;

/// Memory that ends at a page without access, and in front of which nothing may be touched.
struct guarded_area {
    uint8_t *memory;
    uint8_t *begin = nullptr; // of the mapping handed out, if any

    guarded_area()
        : memory(static_cast<uint8_t *>(mmap(nullptr, area_size + 8192, PROT_NONE,
                                             MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)) +
                 4096)
    {
        mprotect(memory, area_size, PROT_READ | PROT_WRITE);
    }
    uint8_t *hand_out(size_t size)
    {
        begin = memory + area_size - size;
        memset(std::max(begin - margin, memory), old_byte, size + margin);
        ASAN_POISON_MEMORY_REGION(memory, area_size - size);
        return begin;
    }
    /// The sanitizer looks at eight bytes at a time: what it could not see is compared here.
    void take_back()
    {
        ASAN_UNPOISON_MEMORY_REGION(memory, area_size);
        for (size_t i = 1; begin != nullptr && i <= margin; ++i)
            if (*(begin - i) != old_byte)
                abort();
        begin = nullptr;
    }
};
static guarded_area areas[2];

static bool fails()
{
    ++calls;
    if (shape.first_fault == 0 || calls < shape.first_fault ||
        calls >= unsigned{shape.first_fault} + shape.faults)
        return false;
    constexpr int errors[] = {EIO, EINTR, ENOMEM};
    errno = errors[shape.error % 3];
    return true;
}

static size_t chunk_of(size_t size)
{
    return shape.chunk == 0 ? size : std::min<size_t>(size, shape.chunk);
}

/// The kernel stops in silence in front of a page without access. Here it must show.
static void touch(volatile uint8_t *bytes, size_t size)
{
    for (size_t i = 0; i < size; i += 64)
        bytes[i] = bytes[i];
    if (size > 0)
        bytes[size - 1] = bytes[size - 1];
}

static fb_var_screeninfo panel_info()
{
    constexpr uint32_t depths[] = {1, 2, 4, 8, 0, 16};
    fb_var_screeninfo info{};
    info.xres = shape.xres % 513;
    info.yres = shape.yres % 513;
    info.bits_per_pixel = depths[shape.depth % 6];
    if (queries > 0 && (shape.flags & turns)) {
        std::swap(info.xres, info.yres);
        info.bits_per_pixel = 8;
    }
    info.xres_virtual = info.xres + shape.pad_columns % 65;
    info.yres_virtual = info.yres + shape.pad_rows % 65;
    return info;
}

static int answer(unsigned long request, void *argument)
{
    if (request == FBIOGET_VSCREENINFO) {
        *static_cast<fb_var_screeninfo *>(argument) = panel_info();
        ++queries;
    } else if (request == FBIOGET_FSCREENINFO) {
        memset(argument, 0xFF, sizeof(fb_fix_screeninfo)); // an id without an end
    } else if (request == get_work_buffer) {
        const surface &screen = display_device.screen;
        memset(argument, old_byte, size_t(screen.width) * size_t(screen.height) * 2);
    }
    return 0;
}

extern "C" {
int __real_open(const char *path, int flags, ...);
void *__real_mmap(void *at, size_t size, int access, int flags, int fd, off_t offset);
int __real_ioctl(int fd, unsigned long request, void *argument);
ssize_t __real_read(int fd, void *to, size_t size);
ssize_t __real_write(int fd, const void *from, size_t size);
[[noreturn]] void __real_exit(int status);
void *__real_calloc(size_t count, size_t size);
void *__real_aligned_alloc(size_t alignment, size_t size);

int __wrap_open(const char *path, int flags, mode_t mode)
{
    if (!running)
        return __real_open(path, flags, mode);
    if (fails())
        return -1;
    if (strcmp(path, "/dev/fb0") == 0)
        return device_fd = __real_open("/dev/null", O_RDWR);
    if (strcmp(path, "/dev/null") == 0 || (flags & O_CREAT))
        return __real_open(shape.flags & disk_full ? "/dev/full" : "/dev/null", O_RDWR);
    char content[32] = "";
    if (path[0] != '\0')
        snprintf(content, sizeof content, "/proc/self/fd/%d", content_fd);
    return __real_open(content, flags);
}

void *__wrap_mmap(void *at, size_t size, int access, int flags, int fd, off_t offset)
{
    if (!running || fd != device_fd)
        return __real_mmap(at, size, access, flags, fd, offset);
    if (fails() || size == 0 || size > area_size - margin)
        return MAP_FAILED;
    return areas[areas[0].begin == nullptr ? 0 : 1].hand_out(size);
}

int __wrap_ioctl(int fd, unsigned long request, void *argument)
{
    if (!running)
        return __real_ioctl(fd, request, argument);
    return fails() ? -1 : answer(request, argument);
}

ssize_t __wrap_read(int fd, void *to, size_t size)
{
    if (!running)
        return __real_read(fd, to, size);
    touch(static_cast<uint8_t *>(to), size);
    return fails() ? -1 : __real_read(fd, to, chunk_of(size));
}

ssize_t __wrap_write(int fd, const void *from, size_t size)
{
    if (!running)
        return __real_write(fd, from, size);
    return fails() ? -1 : __real_write(fd, from, chunk_of(size));
}

int __wrap_usleep(useconds_t)
{
    return 0;
}

[[noreturn]] void __wrap_exit(int status)
{
    if (running)
        longjmp(on_exit_called, 1);
    __real_exit(status);
}

static bool refused(size_t size)
{
    return running && (fails() || size > largest_block);
}

void *__wrap_calloc(size_t count, size_t size)
{
    return refused(count * size) ? nullptr : __real_calloc(count, size);
}

void *__wrap_aligned_alloc(size_t alignment, size_t size)
{
    return refused(size) ? nullptr : __real_aligned_alloc(alignment, size);
}
}

static int lowest_free_descriptor()
{
    const int fd = dup(STDIN_FILENO);
    close(fd);
    return fd;
}

void serve_file(const fuzz_input &input)
{
    if (ftruncate(content_fd, off_t(input.size)) != 0 ||
        pwrite(content_fd, input.data, input.size, 0) != ssize_t(input.size))
        abort();
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const int made = memfd_create("content", MFD_CLOEXEC);
    content_fd = made;
    fuzz_input input{data, size};
    shape = input.take<run_shape>();
    calls = queries = inverted = dump_working_buffer = 0;
    display_device = {};
    var_info = {};
    device_fd = -1;
    const int before = lowest_free_descriptor();
    running = true;
    if (setjmp(on_exit_called) == 0)
        run_target(input);
    running = false;
    if (device_fd >= 0 && fcntl(device_fd, F_GETFD) >= 0)
        close(device_fd);
    for (guarded_area &area : areas)
        area.take_back();
    if (lowest_free_descriptor() != before)
        abort();
    return 0;
}
