// The libc calls through which a program reaches the panel. What is not about /dev/fb0 goes on to
// the real function with errno as it was; nothing happens before the first call.
//
// Faults of libc itself are for programs that must survive a full disk, a lost file and short
// memory. One is named like its function, or short-read, short-write (half of what was asked for,
// at least one byte) and eintr-read, eintr-write (a signal came first; the call after that works).
// Standard input, output and error are left alone. A program with an allocator of its own, such as
// one that has a sanitizer linked in statically, is not short of memory.

// Each of these renames or inlines functions that are defined here under their own names.
#undef _FORTIFY_SOURCE
#undef _FILE_OFFSET_BITS
#undef _TIME_BITS

#include "driver.h"
#include "state.h"

#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

// Marks a function that stands before the one of the same name in libc.
#define ENTRY extern "C" [[gnu::visibility("default")]]

namespace {

// The function behind ours: libc's, or that of a sanitizer.
template <typename function>
function *next(const char *name)
{
    return reinterpret_cast<function *>(dlsym(RTLD_NEXT, name));
}

// Calls before this process has opened the device are neither counted nor failed.
bool libc_call_fails(const char *name)
{
    return device_opened() && fails(name);
}

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
    static const auto real = next<decltype(openat)>("openat");
    return real(directory, path, flags, mode);
}

mode_t mode_argument(int flags, va_list arguments)
{
    const bool given = (flags & O_CREAT) || (flags & O_TMPFILE) == O_TMPFILE;
    return given ? va_arg(arguments, mode_t) : 0;
}

// As fopen(3) reads its mode, except that a device is not cut off by "w" and not appended to.
FILE *open_stream(const char *symbol, const char *path, const char *mode)
{
    if (!is_device_path(path))
        return next<decltype(fopen)>(symbol)(path, mode);
    const bool reads = *mode == 'r', both = strchr(mode, '+');
    const int access = both ? O_RDWR : reads ? O_RDONLY : O_WRONLY;
    const int fd = open_device(access | (strchr(mode, 'e') ? O_CLOEXEC : 0));
    FILE *stream = fd < 0 ? nullptr : fdopen(fd, both ? "r+" : reads ? "r" : "w");
    if (fd >= 0 && !stream)
        close(fd); // cppcheck-suppress doubleFree ; only a stream that was made closes it
    return stream;
}

struct transfer_faults {
    const char *name, *cut, *interrupt;
    bool interrupted; // the last call was, so this one is not
};
transfer_faults reading = {"read", "short-read", "eintr-read", false};
transfer_faults writing = {"write", "short-write", "eintr-write", false};

// Whether a transfer may go on, of `size` bytes or of what is left of them; otherwise errno says
// why not. A single byte is never cut.
bool may_transfer(int fd, transfer_faults &faults, size_t &size)
{
    if (fd <= STDERR_FILENO)
        return true;
    if (libc_call_fails(faults.name))
        return errno = EIO, false;
    faults.interrupted = !faults.interrupted && libc_call_fails(faults.interrupt);
    if (faults.interrupted)
        return errno = EINTR, false;
    if (size > 1 && libc_call_fails(faults.cut))
        size /= 2;
    return true;
}

} // namespace

// A member of the open family, and the form of it that programs built with _FORTIFY_SOURCE call.
// What comes before the path is the last argument.
#define OPEN_ENTRIES(name, fortified_name, directory, more_flags, ...)                             \
    ENTRY int name(__VA_ARGS__ const char *path, int flags, ...)                                   \
    {                                                                                              \
        va_list arguments;                                                                         \
        va_start(arguments, flags);                                                                \
        const mode_t mode = mode_argument(flags, arguments);                                       \
        va_end(arguments);                                                                         \
        return open_at(directory, path, flags | (more_flags), mode);                               \
    }                                                                                              \
    ENTRY int fortified_name(__VA_ARGS__ const char *path, int flags)                              \
    {                                                                                              \
        return open_at(directory, path, flags | (more_flags), 0);                                  \
    }

OPEN_ENTRIES(open, __open_2, AT_FDCWD, 0)
OPEN_ENTRIES(open64, __open64_2, AT_FDCWD, O_LARGEFILE)
#define DIRECTORY_PARAMETER int directory,
OPEN_ENTRIES(openat, __openat_2, directory, 0, DIRECTORY_PARAMETER)
OPEN_ENTRIES(openat64, __openat64_2, directory, O_LARGEFILE, DIRECTORY_PARAMETER)

ENTRY FILE *fopen(const char *path, const char *mode)
{
    return open_stream("fopen", path, mode);
}

ENTRY FILE *fopen64(const char *path, const char *mode)
{
    return open_stream("fopen64", path, mode);
}

#define IOCTL_ENTRY(name)                                                                          \
    ENTRY int name(int fd, unsigned long number, ...) noexcept                                     \
    {                                                                                              \
        va_list arguments;                                                                         \
        va_start(arguments, number);                                                               \
        void *argument = va_arg(arguments, void *);                                                \
        va_end(arguments);                                                                         \
        static const auto real = next<decltype(name)>(#name);                                      \
        return is_device(fd) ? answer_request(uint32_t(number), argument)                          \
                             : real(fd, number, argument);                                         \
    }

IOCTL_ENTRY(ioctl)
IOCTL_ENTRY(__ioctl_time64) // what ioctl is called in 32-bit programs built for 64-bit time

ENTRY void *mmap64(void *hint, size_t length, int protection, int flags, int fd,
                   off64_t offset) noexcept
{
    static const auto real = next<decltype(mmap64)>("mmap64");
    if ((flags & MAP_ANONYMOUS) || !is_device(fd))
        return real(hint, length, protection, flags, fd, offset);

    // Lock limits are small in containers: the wish is logged, then dropped. The pages are still
    // mapped at once.
    const int unlocked = flags & MAP_LOCKED ? (flags & ~MAP_LOCKED) | MAP_POPULATE : flags;
    char fields[96];
    snprintf(fields, sizeof fields, " %zu offset=%lld%s%s", length, static_cast<long long>(offset),
             flags & MAP_SHARED ? " shared" : "", flags & MAP_LOCKED ? " locked" : "");
    int error = map_error(length, uint64_t(offset));
    void *mapped = MAP_FAILED;
    if (error == 0) {
        mapped = real(hint, length, protection, unlocked, fd, offset);
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
    static const auto real = next<decltype(usleep)>("usleep");
    if (!state_folder())
        return real(microseconds);
    log_line("sleep %u", microseconds);
    return 0;
}

ENTRY int close(int fd)
{
    static const auto real = next<decltype(close)>("close");
    const bool device = is_device(fd);
    const int result = real(fd);
    if (device)
        log_line("close -> %d", result);
    return result;
}

ENTRY ssize_t read(int fd, void *bytes, size_t size)
{
    static const auto real = next<decltype(read)>("read");
    return may_transfer(fd, reading, size) ? real(fd, bytes, size) : -1;
}

ENTRY ssize_t __read_chk(int fd, void *bytes, size_t size, size_t room)
{
    static const auto real = next<decltype(__read_chk)>("__read_chk");
    return may_transfer(fd, reading, size) ? real(fd, bytes, size, room) : -1;
}

ENTRY ssize_t write(int fd, const void *bytes, size_t size)
{
    static const auto real = next<decltype(write)>("write");
    return may_transfer(fd, writing, size) ? real(fd, bytes, size) : -1;
}

ENTRY void *calloc(size_t count, size_t size) noexcept
{
    static const auto real = next<decltype(calloc)>("calloc");
    return libc_call_fails("calloc") ? (errno = ENOMEM, nullptr) : real(count, size);
}

ENTRY void *aligned_alloc(size_t alignment, size_t size) noexcept
{
    static const auto real = next<decltype(aligned_alloc)>("aligned_alloc");
    return libc_call_fails("aligned_alloc") ? (errno = ENOMEM, nullptr) : real(alignment, size);
}
