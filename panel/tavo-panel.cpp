// Runs a command on a virtual panel: reads the options, lays out the state folder, and cleans up.

#include "message.h"
#include "program.h"
#include "run_command.h"
#include "state.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <ftw.h>
#include <getopt.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr char help_text[] =
    R"(usage: tavo-panel [options] [--] command [arguments]

Runs a command, a whole shell script too, as if an e-paper panel were at /dev/fb0. Drawing goes
into the panel's memory; nothing shows on its glass until an update request arrives.

  --size WxH         visible size in pixels (758x1024)
  --virtual WxH      size of the whole framebuffer (the visible size)
  --bpp N            bits per pixel (8)
  --mm WxH           size of the glass in millimetres (122x165)
  --second-size WxH[/VWxVH]  what the second and later reads of the size report
  --regions any      updates may reach outside the screen (screen: the driver refuses them)
  --state DIR        keep the panel in this folder; made when missing. Its settings stay as they
                     are, but for those given here. Without it the panel ends with the command.
  --png FILE         after each update, and at the end, write what the glass shows
  --frames DIR       write one PNG file an update into this folder; made when missing
  --touch FILE       play the strokes of this text file to who reads the FIFO DIR/touch
  --view [PORT]      show the glass on the page http://127.0.0.1:PORT/ (8758) while the command
                     runs, where dragging draws strokes; without a command, run a shell on a
                     terminal, else wait for Ctrl-C
  --fail LIST        faults, see below; may be given more than once
  --trace            show every request on standard error as well
  --summary          at the end, count the updates and add up the panel's time
  --version          the version
  --help             this text

The state folder DIR is $TAVO_PANEL_STATE for the command. It holds plain files: `panel` (the
settings, "key value" a line), `memory` (the framebuffer), `glass` (one byte a pixel, 0 black to
255 white), `wanted` (the gray that each pixel was last asked to show), `hold` (the driver's hold
word) and `log` (one line a request, with its result and an update's nominal time); and the FIFO
`touch`, which reads like a touch screen's input device.

A line of strokes is "X Y", a point of the first finger, "2: X Y", one of the second, or "up".

A fault is the NAME of a log line, every time, or NAME:2 the second time in a process, NAME:1-3
the first three times, NAME:2- all but the first. Names from `read` on are calls of libc, once the
device is open:
)";
constexpr char more_help_text[] = R"(
The status is the command's: 128 and the signal's number when a signal ended it, 127 when it could
not be run, 126 when the panel cannot be loaded into it. A wrong argument gives 2. What the command
leaves running is waited for.

Examples:
  tavo-panel --png hello.png tavo 3 5 hello
  tavo-panel --state /tmp/panel --fail "update:1-3" -- sh -c 'tavo -c && tavo -i'
)";

// The first options are settings, under the names that they have in the `panel` file.
enum option_row {
    size_row,
    virtual_row,
    state_row = 6,
    png_row,
    frames_row,
    touch_row,
    view_row,
    fail_row,
    trace_row,
    summary_row,
    version_row,
    help_row,
    option_rows
};
constexpr option option_names[] = {
    {"size", required_argument, nullptr, 0},
    {"virtual", required_argument, nullptr, 0},
    {"bpp", required_argument, nullptr, 0},
    {"mm", required_argument, nullptr, 0},
    {"second-size", required_argument, nullptr, 0},
    {"regions", required_argument, nullptr, 0},
    {"state", required_argument, nullptr, 0},
    {"png", required_argument, nullptr, 0},
    {"frames", required_argument, nullptr, 0},
    {"touch", required_argument, nullptr, 0},
    {"view", optional_argument, nullptr, 0},
    {"fail", required_argument, nullptr, 0},
    {"trace", no_argument, nullptr, 0},
    {"summary", no_argument, nullptr, 0},
    {"version", no_argument, nullptr, 0},
    {"help", no_argument, nullptr, 0},
    {},
};

struct run_options {
    const char *words[option_rows]; // null for what is not given, "" for what takes no word
    std::string faults;
    char **command;
};

void print_fault_names(FILE *stream)
{
    for (const char *name : fault_names)
        fprintf(stream, "  %s\n", name);
}

// Reads the options up to the command, at argv[optind]. 0, or the status of an error.
int read_options(int argc, char **argv, run_options &options)
{
    opterr = 0;
    int letter, row = 0;
    while ((letter = getopt_long(argc, argv, "+:", option_names, &row)) != -1) {
        if (letter == '?' && optopt) // a letter of a cluster
            return error_message("unknown option -%c (see --help)", optopt);
        if (letter == '?')
            return error_message("unknown option %s (see --help)", argv[optind - 1]);
        if (letter == ':')
            return error_message("%s needs a word after it (see --help)", argv[optind - 1]);
        const bool port_follows = row == view_row && !optarg && optind < argc &&
                                  strspn(argv[optind], "0123456789") == strlen(argv[optind]);
        options.words[row] = optarg ? optarg : port_follows ? argv[optind++] : "";
        if (row == fail_row)
            options.faults += std::string(options.faults.empty() ? "" : " ") + options.words[row];
    }
    if (const char *port = options.words[view_row])
        if (strspn(port, "0123456789") != strlen(port) || atoi(port) > 65535)
            return error_message("--view cannot be \"%s\": a port is 1 to 65535", port);
    options.command = argv + optind;
    const bool needs_none =
        options.words[help_row] || options.words[version_row] || options.words[view_row];
    return *options.command || needs_none ? 0 : error_message("no command given (see --help)");
}

// 0, or the status of an error in the faults in the options and in the environment.
int check_faults(const run_options &options)
{
    const char *inherited = getenv("TAVO_PANEL_FAIL");
    const char *list = options.faults.empty() && inherited ? inherited : options.faults.c_str();
    const char *wrong = find_wrong_fault(list);
    if (!wrong)
        return 0;
    error_message("\"%.*s\" is no fault: NAME, NAME:2, NAME:1-3 or NAME:2-, with a NAME of",
                  int(strcspn(wrong, " ")), wrong);
    print_fault_names(stderr);
    return 2;
}

// Lays the options over the settings that the folder has. 0, or the status of an error.
int choose_settings(const run_options &options, panel_settings &settings)
{
    const char *state = options.words[state_row];
    if (state && *state && !read_settings(settings))
        return error_message("cannot use the settings in %s", state);
    if (options.words[size_row])
        settings.buffer = {}; // a virtual size from before belonged to the size from before
    for (int row = size_row; row < state_row; ++row) {
        const char *name = option_names[row].name, *word = options.words[row];
        if (word && !set_setting(settings, name, word))
            return error_message("--%s cannot be \"%s\" (see --help)", name, word);
    }
    const auto [width, height] = settings.visible;
    if (settings.buffer == pixel_size{})
        settings.buffer = settings.visible;
    if ((options.words[size_row] || options.words[virtual_row]) &&
        (settings.buffer.width < width || settings.buffer.height < height))
        return error_message("the virtual size %ux%u is below the visible size %ux%u",
                             settings.buffer.width, settings.buffer.height, width, height);
    return 0;
}

// Adds the strokes of a text file. 0, or the status of an error.
int read_strokes(const char *path, std::vector<touch_event> &events)
{
    FILE *file = fopen(path, "re");
    if (!file)
        return error_message("cannot read %s: %s", path, strerror(errno));
    touch_screen screen;
    char line[256];
    int number = 0;
    bool understood = true;
    while (understood && fgets(line, sizeof line, file)) {
        ++number;
        understood = add_touch(screen, line, events);
    }
    fclose(file);
    return understood ? 0
                      : error_message("%s:%d: a line is \"X Y\", \"2: X Y\", \"up\" or \"2: up\"",
                                      path, number);
}

std::string in_temporary_folder(const char *name)
{
    const char *folder = getenv("TMPDIR");
    return std::string(folder && *folder ? folder : "/tmp") + "/" + name;
}

// Makes the folder if need be, and hands on its absolute path: the command may change directory.
// 0, or the status of an error.
int prepare_folder(const char *state)
{
    std::string path = state ? state : in_temporary_folder("tavo-panel.XXXXXX");
    const bool made =
        state ? mkdir(state, 0700) == 0 || errno == EEXIST : mkdtemp(path.data()) != nullptr;
    char absolute[PATH_MAX];
    if (!made || !realpath(path.c_str(), absolute) || setenv("TAVO_PANEL_STATE", absolute, 1) != 0)
        return error_message("cannot make the folder %s: %s", path.c_str(), strerror(errno));
    const folder_lock lock;
    if (lock.fd < 0)
        return error_message("%s must be a folder of yours that others cannot write to", absolute);
    return 0;
}

// Writes the `panel` file, if it is another one now: a complete one replaces it. The folder must
// be locked.
bool write_settings(const panel_settings &settings)
{
    settings_text text, present;
    const size_t length = print_settings(settings, text);
    {
        const state_file file("panel", O_RDONLY);
        if (pread64(file.fd, present, sizeof present, 0) == ssize_t(length) &&
            memcmp(present, text, length) == 0)
            return true;
    }
    const std::string path = std::string(state_folder()) + "/panel", written = path + ".new";
    const state_file file("panel.new", O_WRONLY | O_CREAT);
    return ftruncate64(file.fd, 0) == 0 && pwrite64(file.fd, text, length, 0) == ssize_t(length) &&
           rename(written.c_str(), path.c_str()) == 0;
}

// 0, or the status of an error.
int update_settings(const run_options &options)
{
    const folder_lock lock; // other commands on this panel have options too
    panel_settings settings;
    if (const int status = choose_settings(options, settings))
        return status;
    return write_settings(settings)
               ? 0
               : error_message("cannot write %s/panel: %s", state_folder(), strerror(errno));
}

void remove_folder(const char *path)
{
    const auto remove_entry = [](const char *entry, const struct stat *, int, FTW *) {
        return remove(entry);
    };
    if (nftw(path, remove_entry, 8, FTW_DEPTH | FTW_PHYS) != 0)
        error_message("cannot remove %s: %s", path, strerror(errno));
}

// What shall run: without a command the page stays until a signal comes, and on a terminal there is
// a shell. 0, or the status of an error.
int choose_command(const run_options &options, run_request &request)
{
    static char shell[] = "/bin/sh", sleep[] = "sleep", infinity[] = "infinity";
    static char *wait[] = {sleep, infinity, nullptr};
    static char *interactive[] = {getenv("SHELL"), nullptr};
    if (!*interactive)
        *interactive = shell;
    const bool on_terminal = isatty(STDIN_FILENO);
    request.command = *options.command ? options.command : on_terminal ? interactive : wait;
    request.faults = options.faults;
    request.trace = options.words[trace_row];
    request.summary = options.words[summary_row];
    request.png = options.words[png_row];
    request.frames = options.words[frames_row];
    request.port = options.words[view_row];
    const std::string obstacle = find_obstacle(find_program(*request.command));
    if (obstacle.empty())
        return 0;
    error_message("%s: the panel cannot be loaded into it, and it would draw on a real device",
                  obstacle.c_str());
    return 126;
}

int print_help()
{
    fputs(help_text, stdout);
    print_fault_names(stdout);
    fputs(more_help_text, stdout);
    return fflush(stdout) != 0;
}

} // namespace

int main(int argc, char **argv)
{
    run_options options{.words = {}, .faults = {}, .command = argv + argc};
    if (const int status = read_options(argc, argv, options))
        return status;
    if (options.words[help_row])
        return print_help();
    if (options.words[version_row])
        return puts("tavo-panel " TAVO_VERSION) < 0;

    // One that is inherited belongs to another panel.
    const char *state = options.words[state_row];
    setenv("TAVO_PANEL_STATE", state ? state : "", 1);
    run_request request;
    int status = check_faults(options);
    if (status == 0)
        status = choose_command(options, request);
    panel_settings settings;
    if (status == 0)
        status = choose_settings(options, settings);
    if (status == 0 && options.words[touch_row])
        status = read_strokes(options.words[touch_row], request.touches);
    if (status != 0)
        return status;

    block_signals();
    status = prepare_folder(state);
    if (status == 0)
        status = update_settings(options);
    if (status == 0)
        status = run_command(request);
    if (!state && state_folder())
        remove_folder(state_folder());
    // Without a command, a signal is how to end the page.
    return !*options.command && status > 128 ? 0 : status;
}
