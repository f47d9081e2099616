// The libc calls through which a program reaches the panel. What is not about /dev/fb0 goes on to
// the real function with errno as it was; nothing happens before the first call.

// Each of these renames or inlines functions that are defined here under their own names.
#undef _FORTIFY_SOURCE
#undef _FILE_OFFSET_BITS
#undef _TIME_BITS

#include "driver.h"
#include "libc.h"
#include "log.h"

#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using stream_opener = FILE *(const char *path, const char *mode);

bool is_device_path(const char *path)
{
    return path && strcmp(path, "/dev/fb0") == 0 && state_folder();
}

// The device's descriptor is known by the file behind it, so copies of it and descriptors that
// came from a parent process count too.
bool is_device(int fd)
{
    const char *folder = state_folder();
    if (!folder || fd < 0)
        return false;
    const int kept_errno = errno;
    char path[PATH_MAX];
    snprintf(path, sizeof path, "%s/memory", folder);
    struct stat64 open_file, memory;
    const bool same = fstat64(fd, &open_file) == 0 && stat64(path, &memory) == 0 &&
                      open_file.st_dev == memory.st_dev && open_file.st_ino == memory.st_ino;
    errno = kept_errno;
    return same;
}

int open_at(int directory, const char *path, int flags, mode_t mode)
{
    if (is_device_path(path))
        return open_device(flags);
    static const auto real = next<int(int, const char *, int, ...)>("openat");
    return real(directory, path, flags, mode);
}

mode_t mode_argument(int flags, va_list arguments)
{
    const bool given = (flags & O_CREAT) || (flags & O_TMPFILE) == O_TMPFILE;
    return given ? va_arg(arguments, mode_t) : 0;
}

int answer_or_pass(const char *symbol, int fd, unsigned long number, void *argument)
{
    if (is_device(fd))
        return answer_request(uint32_t(number), argument);
    const auto real = next<int(int, unsigned long, ...)>(symbol);
    return real(fd, number, argument);
}

// As fopen(3) reads its mode, except that a device is not cut off by "w" and not appended to.
FILE *open_stream(stream_opener *real, const char *path, const char *mode)
{
    if (libc_call_fails("fopen"))
        return errno = EIO, nullptr;
    if (!is_device_path(path))
        return real(path, mode);
    const bool reads = *mode == 'r', both = strchr(mode, '+');
    const int flags = (both    ? O_RDWR
                       : reads ? O_RDONLY
                               : O_WRONLY) |
                      (strchr(mode, 'e') ? O_CLOEXEC : 0);
    const int fd = open_device(flags);
    FILE *stream = fd < 0 ? nullptr : fdopen(fd, both ? "r+" : reads ? "r" : "w");
    if (fd >= 0 && !stream)
        close(fd);
    return stream;
}

} // namespace

ENTRY int open(const char *path, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = mode_argument(flags, arguments);
    va_end(arguments);
    return open_at(AT_FDCWD, path, flags, mode);
}

ENTRY int open64(const char *path, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = mode_argument(flags, arguments);
    va_end(arguments);
    return open_at(AT_FDCWD, path, flags | O_LARGEFILE, mode);
}

ENTRY int openat(int directory, const char *path, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = mode_argument(flags, arguments);
    va_end(arguments);
    return open_at(directory, path, flags, mode);
}

ENTRY int openat64(int directory, const char *path, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = mode_argument(flags, arguments);
    va_end(arguments);
    return open_at(directory, path, flags | O_LARGEFILE, mode);
}

// The forms that programs built with _FORTIFY_SOURCE call.
ENTRY int __open_2(const char *path, int flags)
{
    return open_at(AT_FDCWD, path, flags, 0);
}

ENTRY int __open64_2(const char *path, int flags)
{
    return open_at(AT_FDCWD, path, flags | O_LARGEFILE, 0);
}

ENTRY int __openat_2(int directory, const char *path, int flags)
{
    return open_at(directory, path, flags, 0);
}

ENTRY int __openat64_2(int directory, const char *path, int flags)
{
    return open_at(directory, path, flags | O_LARGEFILE, 0);
}

ENTRY FILE *fopen(const char *path, const char *mode)
{
    static const auto real = next<stream_opener>("fopen");
    return open_stream(real, path, mode);
}

ENTRY FILE *fopen64(const char *path, const char *mode)
{
    static const auto real = next<stream_opener>("fopen64");
    return open_stream(real, path, mode);
}

ENTRY int ioctl(int fd, unsigned long number, ...) noexcept
{
    va_list arguments;
    va_start(arguments, number);
    void *argument = va_arg(arguments, void *);
    va_end(arguments);
    return answer_or_pass("ioctl", fd, number, argument);
}

// What ioctl is called in 32-bit programs built for 64-bit time.
ENTRY int __ioctl_time64(int fd, unsigned long number, ...) noexcept
{
    va_list arguments;
    va_start(arguments, number);
    void *argument = va_arg(arguments, void *);
    va_end(arguments);
    return answer_or_pass("__ioctl_time64", fd, number, argument);
}

ENTRY void *mmap64(void *hint, size_t length, int protection, int flags, int fd,
                   off64_t offset) noexcept
{
    static const auto real = next<void *(void *, size_t, int, int, int, off64_t)>("mmap64");
    if ((flags & MAP_ANONYMOUS) || !is_device(fd))
        return real(hint, length, protection, flags, fd, offset);

    // Lock limits are small in containers: the wish is logged, then dropped.
    char fields[96];
    snprintf(fields, sizeof fields, " %zu offset=%lld%s%s", length, static_cast<long long>(offset),
             flags & MAP_SHARED ? " shared" : "", flags & MAP_LOCKED ? " locked" : "");
    int error = map_error(length, uint64_t(offset));
    void *mapped = MAP_FAILED;
    if (error == 0) {
        mapped = real(hint, length, protection, flags & ~MAP_LOCKED, fd, offset);
        error = mapped == MAP_FAILED ? errno : 0;
    }
    report("map", fields, error);
    return mapped;
}

ENTRY void *mmap(void *hint, size_t length, int protection, int flags, int fd,
                 off_t offset) noexcept
{
    return mmap64(hint, length, protection, flags, fd, offset);
}

ENTRY int usleep(useconds_t microseconds)
{
    static const auto real = next<int(useconds_t)>("usleep");
    if (!state_folder())
        return real(microseconds);
    log_line("sleep %u", microseconds);
    return 0;
}

ENTRY int close(int fd)
{
    static const auto real = next<int(int)>("close");
    if (!is_device(fd))
        return real(fd);
    const int result = real(fd);
    log_line("close -> %d", result);
    return result;
}
