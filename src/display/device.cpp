#include "display/device.h"

#include "common/message.h"

#include <algorithm>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <unistd.h>

framebuffer display_device;
fb_var_screeninfo var_info;

int bpp_supported(int32_t bpp)
{
    if (bpp == 1 || bpp == 2 || bpp == 4 || bpp == 8)
        return 1;
    message("bpp_supported", "bpp = %d not supported\n", bpp);
    return 0;
}

int read_screen_info()
{
    return ioctl(display_device.fd, FBIOGET_VSCREENINFO, &var_info);
}

static uint8_t *map_device(uint32_t bytes)
{
    return static_cast<uint8_t *>(mmap(nullptr, bytes, PROT_READ | PROT_WRITE,
                                       MAP_SHARED | MAP_LOCKED, display_device.fd, 0));
}

static int fail()
{
    close_device();
    return 1;
}

/// The visible screen. A driver that contradicts itself, with more pixels to a row than its storage
/// has or sizes whose product overflows, gets a screen that ends where its line and the mapping do.
static surface mapped_screen()
{
    const framebuffer &device = display_device;
    const fb_var_screeninfo &info = var_info;
    const uint32_t bpp = info.bits_per_pixel;
    const uint32_t stride = info.xres_virtual * bpp / bpp; // what is left of it in line_bytes
    const uint32_t rows =
        device.line_bytes == 0 ? info.yres : device.screen_bytes / device.line_bytes;
    constexpr uint32_t most = INT32_MAX;
    return {int32_t(std::min({info.xres, stride, most})), int32_t(std::min(stride, most)),
            int32_t(std::min({info.yres, rows, most})), int32_t(bpp), device.screen_map};
}

/// A standard stream that the caller has closed would hand its number to the framebuffer or to a
/// dump, and what is printed would be drawn. So each is opened: in a bare folder that a caller has
/// made its root, where /dev/null is missing, as that folder, which takes no text either.
static bool fill_standard_streams()
{
    for (int fd = 0; fd <= STDERR_FILENO; ++fd)
        // cppcheck-suppress leakReturnValNotUsed ; it stays open
        if (fcntl(fd, F_GETFD) < 0 && open("/dev/null", O_RDWR) < 0 && open("/", O_RDONLY) < 0)
            return false;
    return true;
}

int open_device()
{
    framebuffer &device = display_device;
    device.fd = fill_standard_streams() ? open("/dev/fb0", O_RDWR) : -1;
    if (device.fd < 0) {
        message("open_device", "cannot open framebuffer device \"/dev/fb0\"\n");
        return fail();
    }
    if (read_screen_info() != 0) {
        message("open_device", "cannot query framebuffer geometry\n");
        return fail();
    }
    const fb_var_screeninfo &info = var_info;
    if (!bpp_supported(int32_t(info.bits_per_pixel)))
        return fail();

    device.screen_bytes = (info.yres * info.xres_virtual * info.bits_per_pixel) >> 3;
    device.buffer_bytes = (info.yres_virtual * info.xres_virtual * info.bits_per_pixel) >> 3;
    device.screen_map = map_device(device.screen_bytes);
    device.buffer_map = map_device(device.buffer_bytes);
    if (device.screen_map == MAP_FAILED) {
        message("open_device", "cannot map framebuffer\n");
        return fail();
    }
    device.line_bytes = (info.xres_virtual * info.bits_per_pixel) >> 3;
    device.screen = mapped_screen();
    return 0;
}

void close_device()
{
    if (display_device.fd >= 0)
        close(display_device.fd);
}
