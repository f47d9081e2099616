#pragma once

#include <cstddef>
#include <cstdint>

// The state folder of a virtual panel: plain files that outlive the processes which use the panel.
//   panel   its settings, one "key value" a line
//   memory  the framebuffer; a descriptor of the device is a descriptor of this file
//   glass   what the panel shows, one byte a pixel of the visible size (0 black, 255 white)
//   wanted  the luminance that each pixel of the glass was last asked to show, as many bytes
//   hold    the driver's hold word, "0" or "1"
//   log     one line a request
//   touch   a FIFO of touch events
// Whoever changes more than one byte of them, other than the log, holds the folder's lock.

struct pixel_size {
    uint32_t width = 0, height = 0;
    bool operator==(const pixel_size &) const = default;
};

constexpr uint32_t longest_side = 65535; // pixels, of the visible size

struct panel_settings {
    pixel_size visible = {758, 1024};
    pixel_size buffer; // the virtual size; 0x0 stands for the visible one, until it is read back
    uint32_t bpp = 8;
    pixel_size millimetres = {122, 165};
    char id[17] = "epd-virtual";
    uint32_t type = 0, visual = 3; // FB_TYPE_PACKED_PIXELS, FB_VISUAL_PSEUDOCOLOR
    uint32_t waveform_type = 8, material_type = 1;
    uint32_t temperature = 25; // degrees Celsius, two's complement
    uint32_t numbered = 0;     // 1: fields of the reports that say nothing get a number each
    bool any_regions = false;  // updates may reach outside the screen: "regions any"
    // What the second and later reads of the variable information report; 0x0: the same again.
    pixel_size second_visible, second_buffer;
};

using settings_text = char[2048];

/// The state folder ($TAVO_PANEL_STATE), or null: the panel is out of the way. What follows needs
/// it to be set.
const char *state_folder();

/// The lock that keeps processes and threads apart, for as long as the record lives. `fd` is
/// negative, and errno set, when the folder is missing, belongs to another user or can be written
/// by everybody; such a folder must not be used.
struct folder_lock {
    int fd;

    folder_lock();
    ~folder_lock();
    folder_lock(folder_lock &&) = delete;
};

/// Sets what the `panel` file calls `key` from its text. Sizes are "WxH"; "second-size" is "WxH",
/// the virtual size being the same then, or "WxH/VWxVH". False for an unknown key or a word that
/// does not fit.
bool set_setting(panel_settings &settings, const char *key, const char *word);

/// Reads the `panel` file over the defaults; a missing file leaves the defaults. A file that
/// cannot be read or understood is named on standard error, and the result is false.
bool read_settings(panel_settings &settings);

/// Writes the settings as the `panel` file has them. Returns the length.
size_t print_settings(panel_settings settings, settings_text &text);

/// Makes the file `bytes` long and white (0xFF) unless it has that length already. False and
/// errno when the disk refuses.
bool make_white(const char *name, uint32_t bytes);

/// Opens a file of the folder like open(2), for its owner alone when it is made. Only regular
/// files of the caller with no other name are opened, and links are not followed. It goes by bare
/// system calls, and so must who uses the descriptor: the preloaded library takes over open, read,
/// write and close, and its own house-keeping must not pass through them.
int open_in_folder(const char *name, int flags);

/// An open file of the folder; `fd` is negative, and errno set, when it could not be opened.
struct state_file {
    int fd;

    state_file(const char *name, int flags);
    ~state_file();
    state_file(state_file &&) = delete;
};

/// Appends a line to the folder's log, and to standard error when $TAVO_PANEL_TRACE is "1".
/// Longer than 255 bytes is truncated. Leaves errno as it was.
[[gnu::format(printf, 1, 2)]] void log_line(const char *format, ...);

/// What can fail on request: the driver's calls and requests, as the log names them, then libc's.
constexpr const char *fault_names[] = {
    "open",
    "map",
    "get-vscreeninfo",
    "get-fscreeninfo",
    "get-cmap",
    "update",
    "wait",
    "get-hold",
    "set-hold",
    "release-hold",
    "get-work-buffer",
    "get-waveform-type",
    "get-material-type",
    "get-temperature",
    "read",
    "write",
    "short-read",
    "short-write",
    "eintr-read",
    "eintr-write",
    "calloc",
    "aligned_alloc",
};

/// The first word of a list of faults that is none, or null. A list has blank-separated NAME,
/// NAME:N, NAME:FIRST-LAST or NAME:FIRST-, counted from 1.
const char *find_wrong_fault(const char *list);

/// Counts a call of `name`, one of the above, in this process, and tells whether the list in
/// $TAVO_PANEL_FAIL wants it to fail. A fault is logged as "fault NAME:N".
bool fails(const char *name);

/// How often `fails` was asked for `name`.
unsigned long calls_of(const char *name);
