#include "display/device_report.h"

#include "common/heap.h"
#include "common/message.h"
#include "display/device.h"
#include "display/driver_requests.h"

#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <memory>

struct value_name {
    char text[20];
};

// Indexed by FB_TYPE_* and FB_VISUAL_* (linux/fb.h).
constexpr value_name fb_type_names[] = {
    {"PACKED_PIXELS"}, {"PLANES"}, {"INTERLEAVED_PLANES"}, {"TEXT"}, {"VGA_PLANES"}};
constexpr value_name fb_visual_names[] = {{"MONO01"},      {"MONO10"},      {"TRUECOLOR"},
                                          {"PSEUDOCOLOR"}, {"DIRECTCOLOR"}, {"STATIC_PSEUDOCOLOR"}};

/// The name of a value, or its number when it is past the end of the table.
template <size_t count>
static value_name name_of(uint32_t value, const value_name (&names)[count])
{
    if (value < count)
        return names[value];
    value_name number{};
    std::to_chars(number.text, std::end(number.text), value);
    return number;
}

static void print_fixed_info()
{
    fb_fix_screeninfo fix{};
    if (ioctl(display_device.fd, FBIOGET_FSCREENINFO, &fix) == -1) {
        message("print_fb_info", "cannot access fixed framebuffer info\n");
        return;
    }
    print("\nFixed framebuffer info\n"
          "    id:         %16.16s    smem_start:       0x%08lX\n" // the id may lack its end
          "    smem_len:         %10u    type:   %20s\n"
          "    type_aux:         %10u    visual: %20s\n"
          "    xpanstep:         %10u    ypanstep:         %10u\n"
          "    ywrapstep:        %10u    line_length:      %10u\n"
          "    mmio_start:       0x%08lx    mmio_len:         %10u\n"
          "    accel:            %10u\n",
          fix.id, fix.smem_start, fix.smem_len, name_of(fix.type, fb_type_names).text, fix.type_aux,
          name_of(fix.visual, fb_visual_names).text, fix.xpanstep, fix.ypanstep, fix.ywrapstep,
          fix.line_length, fix.mmio_start, fix.mmio_len, fix.accel);
}

static void print_geometry(const fb_var_screeninfo &var)
{
    print("\nVariable framebuffer info\n"
          "    xres:             %10u    yres:             %10u\n"
          "    xres_virtual:     %10u    yres_virtual:     %10u\n"
          "    xoffset:          %10u    yoffset:          %10u\n"
          "    bits_per_pixel:   %10u    grayscale:        %10u\n",
          var.xres, var.yres, var.xres_virtual, var.yres_virtual, var.xoffset, var.yoffset,
          var.bits_per_pixel, var.grayscale);
}

static void print_pixel_layout(const fb_var_screeninfo &var)
{
    print("    red.offset:       %10u    green.offset:     %10u\n"
          "    red.length:       %10u    green.length:     %10u\n"
          "    red.msb_right:    %10u    green.msb_right:  %10u\n"
          "    blue.offset:      %10u    transp.offset:    %10u\n"
          "    blue.length:      %10u    transp.length:    %10u\n"
          "    blue.msb_right:   %10u    transp.msb_right: %10u\n",
          var.red.offset, var.green.offset, var.red.length, var.green.length, var.red.msb_right,
          var.green.msb_right, var.blue.offset, var.transp.offset, var.blue.length,
          var.transp.length, var.blue.msb_right, var.transp.msb_right);
}

static void print_timing(const fb_var_screeninfo &var)
{
    print("    nonstd:           %10u    activate:         %10u\n"
          "    width:            %10d    height:           %10d\n"
          "    accel_flags:      %10u    pixclock:         %10u\n"
          "    left_margin:      %10u    right_margin:     %10u\n"
          "    upper_margin:     %10u    lower_margin:     %10u\n"
          "    hsync_len:        %10u    vsync_len:        %10u\n"
          "    sync:             %10u    vmode:            %10u\n"
          "    rotate:           %10u\n",
          var.nonstd, var.activate, int(var.width), int(var.height), var.accel_flags, var.pixclock,
          var.left_margin, var.right_margin, var.upper_margin, var.lower_margin, var.hsync_len,
          var.vsync_len, var.sync, var.vmode, var.rotate);
}

/// A driver that does not know the panel's size says 0 mm: the quotient is then infinite, and the
/// average, which has no integer, prints as 0.
static void print_dots_per_inch(const fb_var_screeninfo &var)
{
    const double horizontal = double(var.xres) * 25.4 / double(var.width);
    const double vertical = double(var.yres) * 25.4 / double(var.height);
    const double average = (horizontal + vertical) * 0.5;
    const bool has_integer = average >= INT32_MIN && average <= INT32_MAX;
    print("DPI: %f %f %d\n", horizontal, vertical, has_integer ? int(average) : 0);
}

static void print_variable_info()
{
    fb_var_screeninfo var{};
    if (ioctl(display_device.fd, FBIOGET_VSCREENINFO, &var) == -1) {
        message("print_fb_info", "cannot access variable framebuffer info\n");
        return;
    }
    print_geometry(var);
    print_pixel_layout(var);
    print_timing(var);
    print_dots_per_inch(var);
}

struct panel_query {
    unsigned long request;
    char name[16], unit[8];
};
constexpr panel_query panel_queries[] = {
    {EPDC_GET_WAVEFORM_TYPE, "waveform type", ""},
    {EPDC_GET_MATERIAL_TYPE, "material type", ""},
    {EPDC_GET_TEMPERATURE, "temperature", " (C)"},
};

static void print_panel_values()
{
    int32_t value = 0;
    for (const panel_query &query : panel_queries) {
        const int result = ioctl(display_device.fd, query.request, &value);
        if (result < 0)
            print("cannot get %s err=%d\n", query.name, result);
        else
            print("%s = %d%s\n", query.name, value, query.unit);
    }
}

using colormap = std::unique_ptr<fb_cmap, heap_release>;

/// One block: the record, then its four arrays of len entries. Null when memory is short.
static colormap alloc_colormap(uint32_t len)
{
    const size_t entries = size_t{len} * sizeof(uint16_t);
    colormap map(static_cast<fb_cmap *>(calloc(1, sizeof(fb_cmap) + 4 * entries)));
    if (map) {
        auto *const first = reinterpret_cast<uint16_t *>(map.get() + 1);
        *map = {0, len, first, first + len, first + 2 * size_t{len}, first + 3 * size_t{len}};
    }
    return map;
}

static void print_colormap()
{
    const int32_t bpp = display_device.screen.bpp;
    const uint32_t len = bpp < 32 ? uint32_t{1} << bpp : 0;
    const colormap map = alloc_colormap(len);
    if (!map) {
        message("print_fb_info", "unable to allocate colormap\n");
        return;
    }
    if (ioctl(display_device.fd, FBIOGETCMAP, map.get()) == -1) {
        message("print_fb_info", "cannot access cmap\n");
        return;
    }
    print("\nColor map\n    start:            %10u    len:              %10u\n", map->start,
          map->len);
    print("    n       red     green      blue\n");
    for (uint32_t i = 0; i < len; ++i)
        print("  %3x    %6x    %6x    %6x\n", i, map->red[i], map->green[i], map->blue[i]);
}

void print_fb_info(bool show_colormap)
{
    print_fixed_info();
    print_variable_info();
    print_panel_values();
    if (show_colormap)
        print_colormap();
}
