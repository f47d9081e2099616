#include "run_command.h"

#include "message.h"
#include "pictures.h"
#include "program.h"
#include "state.h"
#include "view_process.h"

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

sigset_t awaited_signals, callers_mask;

// What is done while the command runs.
struct watch {
    const char *png; // null: no picture
    bool takes_frames;
    frame_folder frames;
    timespec pictured; // when the glass had changed that the picture shows
    int fifo;
    std::vector<touch_event> &touches; // that nobody has read yet
    bool failed;                       // a picture could not be written
};

std::string path_in_folder(const char *name)
{
    return std::string(state_folder()) + "/" + name;
}

// A path under which the library can be preloaded. Blanks and colons separate the paths in
// $LD_PRELOAD: a library in such a folder gets a link in a folder of its own.
struct loadable_library {
    std::string path; // "" when it cannot be found or linked, which has been said
    std::string link_folder;

    loadable_library();
    ~loadable_library();
    loadable_library(loadable_library &&) = delete;
};

loadable_library::loadable_library() : path(find_own_file("libtavo-panel.so"))
{
    if (path.empty())
        error_message("libtavo-panel.so is not beside this program");
    if (path.find_first_of(" :\t\n") == std::string::npos)
        return;
    char folder[] = "/tmp/tavo-panel.XXXXXX"; // $TMPDIR may have blanks too
    link_folder = mkdtemp(folder) ? folder : "";
    const std::string link = link_folder + "/libtavo-panel.so";
    if (link_folder.empty() || symlink(path.c_str(), link.c_str()) != 0) {
        error_message("cannot link %s: %s", path.c_str(), strerror(errno));
        path.clear();
    } else {
        path = link;
    }
}

loadable_library::~loadable_library()
{
    if (link_folder.empty())
        return;
    remove((link_folder + "/libtavo-panel.so").c_str());
    remove(link_folder.c_str());
}

void extend_environment(const char *name, const std::string &first)
{
    const char *present = getenv(name);
    setenv(name, (present && *present ? first + ":" + present : first).c_str(), 1);
}

[[noreturn]] void become(const run_request &request, const std::string &library,
                         const std::string &frames)
{
    sigprocmask(SIG_SETMASK, &callers_mask, nullptr);
    if (!request.faults.empty())
        setenv("TAVO_PANEL_FAIL", request.faults.c_str(), 1);
    if (request.trace)
        setenv("TAVO_PANEL_TRACE", "1", 1);
    if (request.frames)
        setenv("TAVO_PANEL_FRAMES", frames.c_str(), 1);
    extend_environment("LD_PRELOAD", library);
    // A sanitizer's runtime insists on being the first library; ours goes before it by design.
    extend_environment("ASAN_OPTIONS", "verify_asan_link_order=0");
    execvp(*request.command, request.command);
    error_message("cannot run %s: %s", *request.command, strerror(errno));
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
    const std::string glass = path_in_folder("glass");
    if (watching.png && can_replace(watching.png) && stat(glass.c_str(), &info) == 0 &&
        memcmp(&info.st_mtim, &watching.pictured, sizeof info.st_mtim) != 0) {
        watching.pictured = info.st_mtim;
        keep_picture(watching);
    }
    if (watching.takes_frames)
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
// command that was ended by one. Returns the status of wait(2).
int wait_for_command(pid_t command, watch &watching)
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
        if (sigtimedwait(&awaited_signals, &signal, &pause) <= 0 || signal.si_signo == SIGCHLD)
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

// Says what there is to say when the command has ended.
void report_run(const run_request &request, off64_t log_start, int status)
{
    const run_summary summary = read_log(log_start);
    if (request.summary)
        fprintf(stderr, "tavo-panel: updates %d, full %d, refused %d, panel time %ld ms\n",
                summary.updates, summary.full, summary.refused, summary.milliseconds);
    if (status == 0 && summary.opens == 0)
        error_message("the command never opened the panel");
    if (!request.touches.empty())
        error_message("nobody read all strokes from %s", path_in_folder("touch").c_str());
}

// Starts the command, which draws and gets touches. Returns its exit status.
int start_and_wait(const run_request &request, const std::string &library, watch &watching)
{
    // What the command leaves running becomes a child of this process.
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    const pid_t child = fork();
    if (child < 0)
        return error_message("cannot start a process: %s", strerror(errno));
    if (child == 0)
        become(request, library, watching.frames.path);
    const int status = wait_for_command(child, watching);
    keep_watch(watching);
    keep_picture(watching);
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

} // namespace

void block_signals()
{
    sigemptyset(&awaited_signals);
    for (const int number : {SIGCHLD, SIGTERM, SIGHUP, SIGINT, SIGQUIT})
        sigaddset(&awaited_signals, number);
    sigset_t blocked = awaited_signals;
    sigaddset(&blocked, SIGPIPE); // of the FIFO without a reader
    sigprocmask(SIG_BLOCK, &blocked, &callers_mask);
}

int run_command(run_request &request)
{
    watch watching = {.png = request.png,
                      .takes_frames = request.frames != nullptr,
                      .frames = {},
                      .pictured = {},
                      .fifo = -1,
                      .touches = request.touches,
                      .failed = false};
    const std::string fifo = path_in_folder("touch");
    mkfifo(fifo.c_str(), 0600);
    watching.fifo = open_touch_fifo(fifo.c_str());
    if (watching.fifo < 0)
        return error_message("%s is not a FIFO of yours: %s", fifo.c_str(), strerror(errno));
    if (request.frames && !open_frames(request.frames, watching.frames))
        return error_message("cannot use the folder %s: %s", request.frames, strerror(errno));
    const loadable_library library;
    const int view = request.port ? start_view(request.port, callers_mask) : -1;
    if (library.path.empty() || (request.port && view < 0))
        return 2;
    const off64_t log_start = log_length();
    const int status = start_and_wait(request, library.path, watching);
    if (view >= 0)
        end_view(view);
    report_run(request, log_start, status);
    return status == 0 && watching.failed ? 1 : status;
}
