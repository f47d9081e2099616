// A preloaded panel that costs next to nothing, so that what is counted and timed is the program:
// /dev/fb0 is the file that TAVO_BENCH_MEMORY names, every request succeeds, nothing is logged.
// The file's size says whether the panel of 758 x 1024 has 8 or 4 bits per pixel.
// TAVO_BENCH_STOP=1 ends the process at its first request for an update.

#undef _FORTIFY_SOURCE // its inline open() would collide with the one defined here

#include <fcntl.h>
#include <linux/fb.h>
#include <stdarg.h>
#include <stdbool.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

enum { width = 758, height = 1024, send_update = 0x4050462e };

static int panel = -1;
static unsigned bpp;
static bool stops; // at the first request for an update

static int open_panel(void)
{
    const char *const path = getenv("TAVO_BENCH_MEMORY");
    struct stat memory;
    panel = path ? (int)syscall(SYS_openat, AT_FDCWD, path, O_RDWR) : -1;
    if (panel >= 0 && fstat(panel, &memory) == 0)
        bpp = (unsigned)(memory.st_size * 8 / (width * height));
    stops = getenv("TAVO_BENCH_STOP") != NULL;
    return panel;
}

static int open_path(const char *path, int flags, mode_t mode)
{
    if (strcmp(path, "/dev/fb0") == 0)
        return open_panel();
    return (int)syscall(SYS_openat, AT_FDCWD, path, flags, mode);
}

static int answer(int fd, unsigned long number, void *argument)
{
    if (fd != panel)
        return (int)syscall(SYS_ioctl, fd, number, argument);
    if ((unsigned)number == FBIOGET_VSCREENINFO) {
        struct fb_var_screeninfo *const info = argument;
        memset(info, 0, sizeof *info);
        info->xres = info->xres_virtual = width;
        info->yres = info->yres_virtual = height;
        info->bits_per_pixel = bpp;
    } else if ((unsigned)number == send_update && stops) {
        _exit(0);
    }
    return 0;
}

// A driver has its memory mapped when mmap returns, and lock limits are small in containers: the
// screen is touched in advance instead. Nobody touches the second mapping, of the whole buffer.
static void *map(void *hint, size_t length, int protection, int flags, int fd, long long offset)
{
    static bool screen_mapped;
    flags &= ~MAP_LOCKED;
    if (fd == panel && !screen_mapped)
        flags |= MAP_POPULATE;
    screen_mapped |= fd == panel;
#ifdef SYS_mmap2
    return (void *)syscall(SYS_mmap2, hint, length, protection, flags, fd, (long)(offset / 4096));
#else
    return (void *)syscall(SYS_mmap, hint, length, protection, flags, fd, offset);
#endif
}

// clang-format off
#define TAKE_OVER_OPEN(name)                                                                       \
    int name(const char *path, int flags, ...)                                                     \
    {                                                                                              \
        va_list arguments;                                                                         \
        va_start(arguments, flags);                                                                \
        const mode_t mode = flags & O_CREAT ? va_arg(arguments, mode_t) : 0;                       \
        va_end(arguments);                                                                         \
        return open_path(path, flags, mode);                                                       \
    }
#define TAKE_OVER_IOCTL(name)                                                                      \
    int name(int fd, unsigned long number, ...)                                                    \
    {                                                                                              \
        va_list arguments;                                                                         \
        va_start(arguments, number);                                                               \
        void *const argument = va_arg(arguments, void *);                                          \
        va_end(arguments);                                                                         \
        return answer(fd, number, argument);                                                       \
    }
#define TAKE_OVER_MMAP(name, offset_type)                                                          \
    void *name(void *hint, size_t length, int protection, int flags, int fd, offset_type offset)   \
    {                                                                                              \
        return map(hint, length, protection, flags, fd, offset);                                   \
    }
// clang-format on

int __ioctl_time64(int fd, unsigned long number, ...); // ioctl in 32-bit code for 64-bit time

TAKE_OVER_OPEN(open)
TAKE_OVER_OPEN(open64)
TAKE_OVER_IOCTL(ioctl)
TAKE_OVER_IOCTL(__ioctl_time64)
TAKE_OVER_MMAP(mmap, off_t)
TAKE_OVER_MMAP(mmap64, off64_t)
