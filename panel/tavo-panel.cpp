// Runs a command on a virtual panel: lays out the state folder, preloads libtavo-panel.so, waits.

#include "state.h"

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <ftw.h>
#include <getopt.h>
#include <memory>
#include <new>
#include <png.h>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
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
  --png FILE         at the end, write what the glass shows
  --fail LIST        faults, see below; may be given more than once
  --trace            show every request on standard error as well
  --help             this text

The state folder holds plain files: `panel` (the settings, "key value" a line), `memory` (the
framebuffer), `glass` (one byte a pixel, 0 black to 255 white), `hold` (the driver's hold word)
and `log` (one line a request, with its result).

A fault is the NAME of a log line, every time, or NAME:2 the second time in a process, NAME:1-3
the first three times, NAME:2- all but the first. Names: open map get-vscreeninfo get-fscreeninfo
get-cmap update wait get-hold set-hold release-hold get-work-buffer get-waveform-type
get-material-type get-temperature. Once the device is open, calls of libc too: read write
short-read short-write eintr-read eintr-write calloc aligned_alloc.

The status is the command's: 128 and the signal's number when a signal ended it, 127 when it
could not be run. A wrong argument gives 2.

Examples:
  tavo-panel --png hello.png tavo 3 5 hello
  tavo-panel --state /tmp/panel --fail "update:1-3" -- sh -c 'tavo -c && tavo -i'
)";

// The first options are settings, under the names that they have in the `panel` file.
enum option_row { size_row, state_row = 6, png_row, fail_row, trace_row, help_row, option_rows };
constexpr option option_names[] = {
    {"size", required_argument, nullptr, 0},
    {"virtual", required_argument, nullptr, 0},
    {"bpp", required_argument, nullptr, 0},
    {"mm", required_argument, nullptr, 0},
    {"second-size", required_argument, nullptr, 0},
    {"regions", required_argument, nullptr, 0},
    {"state", required_argument, nullptr, 0},
    {"png", required_argument, nullptr, 0},
    {"fail", required_argument, nullptr, 0},
    {"trace", no_argument, nullptr, 0},
    {"help", no_argument, nullptr, 0},
    {},
};

struct run_options {
    const char *words[option_rows]; // null for what is not given, "" for what takes no word
    std::string faults;
};

volatile pid_t child; // of the signal handler

/// Says what is wrong and gives the status for it.
[[gnu::format(printf, 1, 2)]] int complain(const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    fputs("tavo-panel: ", stderr);
    vfprintf(stderr, format, arguments);
    fputc('\n', stderr);
    va_end(arguments);
    return 2;
}

// Reads the options up to the command, at argv[optind]. 0, or the status of a complaint.
int read_options(int argc, char **argv, run_options &options)
{
    opterr = 0;
    int letter, row = 0;
    while ((letter = getopt_long(argc, argv, "+:", option_names, &row)) != -1) {
        if (letter == '?' && optopt) // a letter of a cluster
            return complain("unknown option -%c (see --help)", optopt);
        if (letter == '?')
            return complain("unknown option %s (see --help)", argv[optind - 1]);
        if (letter == ':')
            return complain("%s needs a word behind it (see --help)", argv[optind - 1]);
        options.words[row] = optarg ? optarg : "";
        if (row == fail_row)
            options.faults += std::string(options.faults.empty() ? "" : " ") + options.words[row];
    }
    return optind < argc || options.words[help_row] ? 0 : complain("no command given (see --help)");
}

// Lays the options over the settings that the folder has. 0, or the status of a complaint.
int choose_settings(const run_options &options, panel_settings &settings)
{
    const char *state = options.words[state_row];
    if (state)
        setenv("TAVO_PANEL_STATE", state, 1);
    if (state && *state && !read_settings(settings))
        return complain("cannot use the settings in %s", state);
    if (options.words[size_row])
        settings.buffer = {}; // a virtual size from before belonged to the size from before
    for (int row = size_row; row < state_row; ++row) {
        const char *name = option_names[row].name, *word = options.words[row];
        if (word && !set_setting(settings, name, word))
            return complain("--%s cannot be \"%s\" (see --help)", name, word);
    }
    if (settings.buffer == pixel_size{})
        settings.buffer = settings.visible;
    return 0;
}

// Makes the folder if need be, and hands on its absolute path: the command may change directory.
// False, and errno, when it cannot be made.
bool prepare_folder(const char *state)
{
    char temporary[] = "/tmp/tavo-panel.XXXXXX", absolute[PATH_MAX];
    if (!state)
        state = mkdtemp(temporary);
    else if (mkdir(state, 0777) != 0 && errno != EEXIST)
        state = nullptr;
    return state && realpath(state, absolute) && setenv("TAVO_PANEL_STATE", absolute, 1) == 0;
}

// The library lies beside this program in a build, under lib/ where it is installed.
std::string find_library()
{
    char self[PATH_MAX];
    const ssize_t length = readlink("/proc/self/exe", self, sizeof self);
    std::string folder(self, length < 0 ? 0 : size_t(length));
    folder.resize(folder.find_last_of('/') + 1);
    for (const char *place : {"", "../lib/tavo-panel/"}) {
        std::string path = folder + place + "libtavo-panel.so";
        if (access(path.c_str(), R_OK) == 0)
            return path;
    }
    return {};
}

void extend_environment(const char *name, const std::string &first)
{
    const char *present = getenv(name);
    setenv(name, (present && *present ? first + ":" + present : first).c_str(), 1);
}

[[noreturn]] void become(char **command, const std::string &library, const run_options &options)
{
    if (!options.faults.empty())
        setenv("TAVO_PANEL_FAIL", options.faults.c_str(), 1);
    if (options.words[trace_row])
        setenv("TAVO_PANEL_TRACE", "1", 1);
    extend_environment("LD_PRELOAD", library);
    // A sanitizer's runtime insists on being the first library; ours goes before it by design.
    extend_environment("ASAN_OPTIONS", "verify_asan_link_order=0");
    execvp(command[0], command);
    complain("cannot run %s: %s", command[0], strerror(errno));
    _exit(127);
}

// Waits for the command. Keys reach it by themselves and a kill is passed on, so that the folder
// and the picture are taken care of however it ends.
int wait_for_command()
{
    signal(SIGINT, SIG_IGN);
    signal(SIGQUIT, SIG_IGN);
    const auto pass_on = [](int number) { kill(child, number); };
    signal(SIGTERM, pass_on);
    signal(SIGHUP, pass_on);
    int status;
    while (waitpid(child, &status, 0) < 0)
        if (errno != EINTR)
            return complain("lost the command: %s", strerror(errno));
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

// The glass of a panel that was never opened is white.
bool write_png(const pixel_size &size, const char *path)
{
    const uint32_t bytes = size.width * size.height;
    const std::unique_ptr<uint8_t[]> pixels(new (std::nothrow) uint8_t[bytes]);
    if (!pixels || !make_white("glass", bytes))
        return complain("cannot keep the glass: %s", strerror(errno)), false;
    const state_file glass("glass", O_RDONLY);
    if (pread64(glass.fd, pixels.get(), bytes, 0) != ssize_t(bytes))
        return complain("cannot read %s/glass", state_folder()), false;
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = size.width;
    image.height = size.height;
    image.format = PNG_FORMAT_GRAY;
    if (!png_image_write_to_file(&image, path, 0, pixels.get(), 0, nullptr))
        return complain("cannot write %s: %s", path, image.message), false;
    return true;
}

// Runs the command in a folder that is there, and leaves the picture.
int run(char **command, const run_options &options, const panel_settings &settings)
{
    if (!write_settings(settings))
        return complain("cannot write %s/panel: %s", state_folder(), strerror(errno));
    const std::string library = find_library();
    if (library.empty())
        return complain("libtavo-panel.so is not beside this program");
    if (library.find_first_of(" :") != std::string::npos)
        return complain("a path with a blank or a colon cannot be preloaded: %s", library.c_str());
    child = fork();
    if (child < 0)
        return complain("cannot start a process: %s", strerror(errno));
    if (child == 0)
        become(command, library, options);
    const int status = wait_for_command();
    const char *png = options.words[png_row];
    const bool pictured = !png || write_png(settings.visible, png);
    return status == 0 && !pictured ? 1 : status;
}

} // namespace

int main(int argc, char **argv)
{
    run_options options{};
    panel_settings settings;
    if (const int status = read_options(argc, argv, options))
        return status;
    if (options.words[help_row])
        return fputs(help_text, stdout) < 0;
    if (const int status = choose_settings(options, settings))
        return status;
    const char *state = options.words[state_row];
    if (!prepare_folder(state))
        return complain("cannot make the state folder: %s", strerror(errno));
    const int status = run(argv + optind, options, settings);
    const auto remove_entry = [](const char *path, const struct stat *, int, FTW *) {
        return remove(path);
    };
    if (!state)
        nftw(state_folder(), remove_entry, 8, FTW_DEPTH | FTW_PHYS);
    return status;
}
