// Runs a command on a virtual panel: lays out the state folder, preloads libtavo-panel.so, keeps
// pictures of the glass, waits, and cleans up.

#include "pictures.h"
#include "program.h"
#include "state.h"
#include "touch.h"

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
#include <string>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

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
};

// What is done while the command runs.
struct watch {
    const char *png = nullptr;         // the picture, or null
    const char *frames_path = nullptr; // where a picture of each update goes, or null
    frame_folder frames;
    timespec pictured = {}; // when the glass had changed that the picture shows
    int fifo = -1;
    std::vector<touch_event> touches = {}; // that nobody has read yet
    bool failed = false;                   // a picture could not be written
};

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

void print_fault_names(FILE *stream)
{
    for (const char *name : fault_names)
        fprintf(stream, "  %s\n", name);
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
            return complain("%s needs a word after it (see --help)", argv[optind - 1]);
        options.words[row] = optarg ? optarg : "";
        if (row == fail_row)
            options.faults += std::string(options.faults.empty() ? "" : " ") + options.words[row];
    }
    const bool complete = optind < argc || options.words[help_row] || options.words[version_row];
    return complete ? 0 : complain("no command given (see --help)");
}

// 0, or the status of a complaint about the faults in the options and in the environment.
int check_faults(const run_options &options)
{
    const char *inherited = getenv("TAVO_PANEL_FAIL");
    const char *list = options.faults.empty() && inherited ? inherited : options.faults.c_str();
    const char *wrong = find_wrong_fault(list);
    if (!wrong)
        return 0;
    complain("\"%.*s\" is no fault: NAME, NAME:2, NAME:1-3 or NAME:2-, with a NAME of",
             int(strcspn(wrong, " ")), wrong);
    print_fault_names(stderr);
    return 2;
}

// Lays the options over the settings that the folder has. 0, or the status of a complaint.
int choose_settings(const run_options &options, panel_settings &settings)
{
    const char *state = options.words[state_row];
    if (state && *state && !read_settings(settings))
        return complain("cannot use the settings in %s", state);
    if (options.words[size_row])
        settings.buffer = {}; // a virtual size from before belonged to the size from before
    for (int row = size_row; row < state_row; ++row) {
        const char *name = option_names[row].name, *word = options.words[row];
        if (word && !set_setting(settings, name, word))
            return complain("--%s cannot be \"%s\" (see --help)", name, word);
    }
    const auto [width, height] = settings.visible;
    if (settings.buffer == pixel_size{})
        settings.buffer = settings.visible;
    if ((options.words[size_row] || options.words[virtual_row]) &&
        (settings.buffer.width < width || settings.buffer.height < height))
        return complain("the virtual size %ux%u is below the visible size %ux%u",
                        settings.buffer.width, settings.buffer.height, width, height);
    return 0;
}

// Adds the strokes of a text file. 0, or the status of a complaint.
int read_strokes(const char *path, std::vector<touch_event> &events)
{
    FILE *file = fopen(path, "re");
    if (!file)
        return complain("cannot read %s: %s", path, strerror(errno));
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
                      : complain("%s:%d: a line is \"X Y\", \"2: X Y\", \"up\" or \"2: up\"", path,
                                 number);
}

std::string in_temporary_folder(const char *name)
{
    const char *folder = getenv("TMPDIR");
    return std::string(folder && *folder ? folder : "/tmp") + "/" + name;
}

// Makes the folder if need be, and hands on its absolute path: the command may change directory.
// 0, or the status of a complaint.
int prepare_folder(const char *state)
{
    std::string path = state ? state : in_temporary_folder("tavo-panel.XXXXXX");
    const bool made =
        state ? mkdir(state, 0700) == 0 || errno == EEXIST : mkdtemp(path.data()) != nullptr;
    char absolute[PATH_MAX];
    if (!made || !realpath(path.c_str(), absolute) || setenv("TAVO_PANEL_STATE", absolute, 1) != 0)
        return complain("cannot make the folder %s: %s", path.c_str(), strerror(errno));
    const folder_lock lock;
    if (lock.fd < 0)
        return complain("%s must be a folder of yours that others cannot write to", absolute);
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

// 0, or the status of a complaint.
int update_settings(const run_options &options)
{
    const folder_lock lock; // other commands on this panel have options too
    panel_settings settings;
    if (const int status = choose_settings(options, settings))
        return status;
    return write_settings(settings)
               ? 0
               : complain("cannot write %s/panel: %s", state_folder(), strerror(errno));
}

// What belongs to this program lies beside it in a build, in a folder for libraries where it is
// installed. "" when it is missing.
std::string find_own_file(const char *name)
{
    char self[PATH_MAX];
    const ssize_t length = readlink("/proc/self/exe", self, sizeof self);
    std::string folder(self, length < 0 ? 0 : size_t(length));
    folder.resize(folder.find_last_of('/') + 1);
    for (const char *place : {"", TAVO_PANEL_LIBRARY_FOLDER "/"}) {
        std::string path = folder + place + name;
        if (access(path.c_str(), R_OK) == 0)
            return path;
    }
    return {};
}

// Blanks and colons separate the paths in $LD_PRELOAD: a library in such a folder gets a link in
// `link_folder`, which is made then. "" when that fails.
std::string make_loadable(const std::string &library, std::string &link_folder)
{
    if (library.find_first_of(" :\t\n") == std::string::npos)
        return library;
    char folder[] = "/tmp/tavo-panel.XXXXXX";
    if (!mkdtemp(folder))
        return {};
    link_folder = folder;
    const std::string link = link_folder + "/libtavo-panel.so";
    return symlink(library.c_str(), link.c_str()) == 0 ? link : "";
}

bool remove_folder(const char *path)
{
    const auto remove_entry = [](const char *entry, const struct stat *, int, FTW *) {
        return remove(entry);
    };
    if (nftw(path, remove_entry, 8, FTW_DEPTH | FTW_PHYS) == 0)
        return true;
    complain("cannot remove %s: %s", path, strerror(errno));
    return false;
}

void extend_environment(const char *name, const std::string &first)
{
    const char *present = getenv(name);
    setenv(name, (present && *present ? first + ":" + present : first).c_str(), 1);
}

[[noreturn]] void become(char **command, const std::string &library, const run_options &options,
                         const watch &watching)
{
    if (!options.faults.empty())
        setenv("TAVO_PANEL_FAIL", options.faults.c_str(), 1);
    if (options.words[trace_row])
        setenv("TAVO_PANEL_TRACE", "1", 1);
    if (watching.frames_path)
        setenv("TAVO_PANEL_FRAMES", watching.frames.path.c_str(), 1);
    extend_environment("LD_PRELOAD", library);
    // A sanitizer's runtime insists on being the first library; ours goes before it by design.
    extend_environment("ASAN_OPTIONS", "verify_asan_link_order=0");
    execvp(command[0], command);
    complain("cannot run %s: %s", command[0], strerror(errno));
    _exit(127);
}

// A picture that cannot be written is tried once.
void keep_picture(watch &watching)
{
    if (watching.png && !write_glass(watching.png)) {
        watching.png = nullptr;
        watching.failed = true;
    }
}

void keep_watch(watch &watching)
{
    struct stat info;
    const std::string glass = std::string(state_folder()) + "/glass";
    if (watching.png && can_replace(watching.png) && stat(glass.c_str(), &info) == 0 &&
        memcmp(&info.st_mtim, &watching.pictured, sizeof info.st_mtim) != 0) {
        watching.pictured = info.st_mtim;
        keep_picture(watching);
    }
    if (watching.frames_path)
        watching.failed |= !take_frames(watching.frames);
    send_touches(watching.fifo, watching.touches);
}

// Ends the processes that the command left running: since it ended they are children of this one.
void end_children()
{
    const std::string path = "/proc/self/task/" + std::to_string(getpid()) + "/children";
    FILE *list = fopen(path.c_str(), "re");
    for (int child; list && fscanf(list, "%d", &child) == 1;)
        kill(child, SIGTERM);
    if (list)
        fclose(list);
}

// Waits for the command and for what it leaves running, so that folder and pictures are taken care
// of however it ends. A signal from another process is passed on; keys of the terminal reach the
// command by themselves. What is left running goes on until a signal comes, and ends with a
// command that was ended by one. `signals` are blocked. Returns the status of wait(2).
int wait_for_command(pid_t command, const sigset_t &signals, watch &watching)
{
    const timespec pause = {0, 40'000'000};
    bool running = true, told_to_end = false;
    int result = 0;
    for (siginfo_t signal{};;) {
        int status;
        pid_t ended;
        while ((ended = waitpid(-1, &status, WNOHANG)) > 0)
            if (ended == command) {
                running = false;
                result = status;
                told_to_end = WIFSIGNALED(status);
            }
        if (ended < 0) // there is none left
            return result;
        if (told_to_end && signal.si_signo != 0)
            end_children();
        keep_watch(watching);
        signal = {};
        if (sigtimedwait(&signals, &signal, &pause) <= 0 || signal.si_signo == SIGCHLD)
            continue;
        if (!running)
            told_to_end = true;
        else if (signal.si_code <= 0) // from a process
            kill(command, signal.si_signo);
    }
}

// What the log says of one run.
struct run_summary {
    int opens, updates, full, refused;
    long milliseconds;
};

off64_t log_length()
{
    const state_file log("log", O_RDONLY);
    struct stat64 info;
    return log.fd >= 0 && fstat64(log.fd, &info) == 0 ? info.st_size : 0;
}

run_summary read_log(off64_t start)
{
    run_summary summary{};
    FILE *log = fdopen(open_in_folder("log", O_RDONLY), "r");
    if (!log)
        return summary;
    if (log_length() >= start) // somebody may have emptied it
        fseeko64(log, start, SEEK_SET);
    char line[300];
    while (fgets(line, sizeof line, log)) {
        summary.opens += strncmp(line, "open ", 5) == 0;
        if (strncmp(line, "update ", 7) != 0)
            continue;
        int milliseconds = 0;
        const char *result = strstr(line, " -> ");
        if (result && sscanf(result, " -> 0, %d ms", &milliseconds) == 1) {
            ++summary.updates;
            summary.full += strstr(line, " full ") != nullptr;
            summary.milliseconds += milliseconds;
        } else {
            ++summary.refused;
        }
    }
    fclose(log);
    return summary;
}

// Runs the command in a folder that is there, and leaves pictures. Returns its status.
int run(char **command, const run_options &options, const std::string &library,
        const sigset_t &signals, const sigset_t &callers_mask, watch &watching)
{
    const off64_t log_start = log_length();
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    const pid_t child = fork();
    if (child < 0)
        return complain("cannot start a process: %s", strerror(errno));
    if (child == 0) {
        sigprocmask(SIG_SETMASK, &callers_mask, nullptr);
        become(command, library, options, watching);
    }
    const int result = wait_for_command(child, signals, watching);
    const int status = WIFSIGNALED(result) ? 128 + WTERMSIG(result) : WEXITSTATUS(result);
    keep_watch(watching);
    keep_picture(watching);

    const run_summary summary = read_log(log_start);
    if (options.words[summary_row])
        fprintf(stderr, "tavo-panel: updates %d, full %d, refused %d, panel time %ld ms\n",
                summary.updates, summary.full, summary.refused, summary.milliseconds);
    if (status == 0 && summary.opens == 0)
        complain("the command never opened the panel");
    if (!watching.touches.empty())
        complain("nobody read all strokes from %s/touch", state_folder());
    return status == 0 && watching.failed ? 1 : status;
}

// Prepares what the command needs around the state folder, and runs it.
int run_in_folder(char **command, const run_options &options, const sigset_t &signals,
                  const sigset_t &callers_mask, watch &watching)
{
    if (const int status = update_settings(options))
        return status;
    const std::string fifo = std::string(state_folder()) + "/touch";
    mkfifo(fifo.c_str(), 0600);
    watching.fifo = open_touch_fifo(fifo.c_str());
    if (watching.fifo < 0)
        return complain("%s is not a FIFO of yours: %s", fifo.c_str(), strerror(errno));
    if (watching.frames_path && !open_frames(watching.frames_path, watching.frames))
        return complain("cannot use the folder %s: %s", watching.frames_path, strerror(errno));
    const std::string library = find_own_file("libtavo-panel.so");
    if (library.empty())
        return complain("libtavo-panel.so is not beside this program");
    std::string link_folder;
    const std::string loadable = make_loadable(library, link_folder);
    const int status = loadable.empty()
                           ? complain("cannot link %s: %s", library.c_str(), strerror(errno))
                           : run(command, options, loadable, signals, callers_mask, watching);
    if (!link_folder.empty())
        remove_folder(link_folder.c_str());
    return status;
}

// Signals wait from here on until somebody asks for them, so that none ends this program before
// it has cleaned up.
void block_signals(sigset_t &signals, sigset_t &callers_mask)
{
    sigemptyset(&signals);
    for (const int number : {SIGCHLD, SIGTERM, SIGHUP, SIGINT, SIGQUIT})
        sigaddset(&signals, number);
    sigset_t blocked = signals;
    sigaddset(&blocked, SIGPIPE); // of the FIFO without a reader
    sigprocmask(SIG_BLOCK, &blocked, &callers_mask);
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
    run_options options{};
    if (const int status = read_options(argc, argv, options))
        return status;
    if (options.words[help_row])
        return print_help();
    if (options.words[version_row])
        return puts("tavo-panel " TAVO_VERSION) < 0;

    const char *state = options.words[state_row];
    // One that is inherited belongs to another panel.
    setenv("TAVO_PANEL_STATE", state ? state : "", 1);
    char **command = argv + optind;
    watch watching;
    watching.png = options.words[png_row];
    watching.frames_path = options.words[frames_row];
    panel_settings settings;
    int status = check_faults(options);
    if (status == 0)
        status = choose_settings(options, settings);
    if (status == 0 && options.words[touch_row])
        status = read_strokes(options.words[touch_row], watching.touches);
    if (status != 0)
        return status;
    const std::string obstacle = find_obstacle(find_program(command[0]));
    if (!obstacle.empty()) {
        complain("%s: the panel cannot be loaded into it, and it would draw on a real device",
                 obstacle.c_str());
        return 126;
    }

    sigset_t signals, callers_mask;
    block_signals(signals, callers_mask);
    status = prepare_folder(state);
    if (status == 0)
        status = run_in_folder(command, options, signals, callers_mask, watching);
    if (!state && state_folder())
        remove_folder(state_folder());
    return status;
}
