#include "run_case.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>

namespace fs = std::filesystem;

const std::string anything = "(anything)";

/// Addresses differ from run to run.
static std::string with_masked_address(std::string text)
{
    if (const size_t at = text.find("@0x"); at != std::string::npos) {
        const size_t end = text.find_first_not_of("0123456789abcdef", at + 3);
        text.replace(at, end - at, "@ADDRESS");
    }
    return text;
}

/// The log without what is the same in every run: the open with its two maps at the start, the
/// close at the end, " -> 0" after each request, and of an update the panel's time and the words
/// that are always the same. Lines are separated by "; ".
static std::string requests_of(std::string log, const geometry &g)
{
    if (log.empty())
        return "";
    const std::string start = "open -> 0\nget-vscreeninfo -> 0\n" +
                              formatted("map %zu offset=0 shared locked -> 0\n", g.screen()) +
                              formatted("map %zu offset=0 shared locked -> 0\n", g.buffer());
    if (log.starts_with(start))
        log.erase(0, start.size());
    log = log.ends_with("close -> 0\n") ? log.substr(0, log.size() - 11) : log + "not closed\n";
    std::istringstream lines(log);
    std::string all;
    for (std::string line; getline(lines, line);) {
        if (line.ends_with(" ms"))
            line.erase(line.rfind(", "));
        if (line.ends_with(" -> 0"))
            line.erase(line.size() - 5);
        line = replaced(line, " marker=42 temperature=4096 flags=0 tail=1,2", "");
        all += (all.empty() ? "" : "; ") + line;
    }
    return all;
}

/// The faults that the panel has to take.
static std::string faults_of(const std::string &requests)
{
    std::string faults;
    std::istringstream in(requests);
    for (std::string request; getline(in >> std::ws, request, ';');)
        if (request.starts_with("fault "))
            faults += request.substr(6) + " ";
    return faults;
}

/// Letters and digits of a text, with low lines between them.
static std::string test_name(const std::string &text)
{
    std::string name;
    for (char letter : text)
        if (isalnum(letter & 0xFF))
            name += letter;
        else if (!name.empty() && name.back() != '_')
            name += '_';
    return name.substr(0, name.find_last_not_of('_') + 1);
}

virtual_panel::virtual_panel(const run_case &c)
{
    const testing::TestInfo *test = testing::UnitTest::GetInstance()->current_test_info();
    folder = RUNS_FOLDER "/" + test_name(test->test_suite_name() + std::string(" ") + test->name());
    fs::remove_all(folder);
    fs::create_directories(folder + "/state");
    fs::create_directory(folder + "/files");
    const geometry &g = c.screen;
    write("state/panel", formatted("size %dx%d\nvirtual %dx%d\nbpp %d\n", g.width, g.height,
                                   g.virtual_width, g.virtual_height, g.bpp) +
                             c.settings);
    write("state/memory", canvas(g).memory);
    for (const test_file &file : c.given) {
        write("files/" + file.name, file.content);
        chmod((folder + "/files/" + file.name).c_str(), mode_t(file.mode));
    }
    for (const char *name : {"/gone", "/files/pipe"})
        mkfifo((folder + name).c_str(), 0600);
}

virtual_panel::~virtual_panel()
{
    if (!testing::Test::HasFailure())
        fs::remove_all(folder);
}

std::string virtual_panel::read(const std::string &name) const
{
    return content_of(folder + "/" + name);
}

void virtual_panel::write(const std::string &name, const std::string &content) const
{
    std::ofstream(folder + "/" + name, std::ios::binary) << content;
}

static std::string environment(const char *name, const char *otherwise)
{
    const char *value = getenv(name);
    return value ? value : otherwise;
}

/// What a shell runs. A tool built for another machine is named by its folder and its emulator,
/// which hands the panel's library on to its guest.
static std::string command_of(const run_case &c, const std::string &folder)
{
    const std::string emulator = environment("TAVO_EMULATOR", ""),
                      programs = environment("TAVO_PROGRAMS", PROGRAMS_FOLDER),
                      preload = "LD_PRELOAD=" + programs + "/libtavo-panel.so ";
    const std::string line =
        "cd " + folder + "/files && umask 0 && PATH=" + programs +
        ":$PATH ASAN_OPTIONS=verify_asan_link_order=0 TAVO_PANEL_STATE=" + folder +
        "/state TAVO_PANEL_FAIL='" + faults_of(c.requests) + "' exec env " + c.environment + " ";
    if (emulator.empty())
        return line + preload + "tavo " + c.args;
    return line + emulator + " -0 tavo -E " + preload + programs + "/tavo " + c.args;
}

/// Starts a process of ours, which is ended after 20 seconds.
static pid_t start(const std::function<void()> &action)
{
    const pid_t child = fork();
    if (child == 0) {
        alarm(20);
        signal(SIGPIPE, SIG_DFL);
        action();
        _exit(0);
    }
    return child;
}

/// Writes into a FIFO, each piece when its reader has taken the one before.
static void feed(const strings &pieces, const std::string &path)
{
    const int fd = open(path.c_str(), O_WRONLY);
    for (const std::string &piece : pieces)
        for (int unread = ::write(fd, piece.data(), piece.size()) > 0; unread; usleep(50))
            ioctl(fd, FIONREAD, &unread);
}

run_result virtual_panel::run(const run_case &c) const
{
    for (const char *name : {"state/log", "out", "err"})
        write(name, "");
    const std::string command =
        command_of(c, folder) + " </dev/null >>../out 2>>../err " + c.streams;
    const pid_t child = start([&] { execl("/bin/sh", "sh", "-c", command.c_str(), nullptr); });
    const pid_t feeder = c.pipe.empty() ? 0 : start([&] { feed(c.pipe, folder + "/files/pipe"); });
    int status;
    waitpid(child, &status, 0);
    if (feeder > 0) {
        kill(feeder, SIGKILL);
        waitpid(feeder, nullptr, 0);
    }
    return {.status = WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status),
            .out = with_masked_address(read("out")),
            .err = read("err"),
            .requests = requests_of(read("state/log"), c.screen),
            .memory = read("state/memory")};
}

/// The folder's files of expected texts, by their content.
static std::string origin_of(const std::string &text)
{
    for (const char *name : {"usage.txt", "report.txt"})
        if (!text.empty() && text.starts_with(content_of(name).substr(0, 40)))
            return std::string(" (tests/") + name + ")";
    return "";
}

static std::string difference(const std::string &what, const std::string &wanted,
                              const std::string &found)
{
    const std::string compared = wanted.substr(0, wanted.find(anything));
    if (wanted.size() == compared.size() ? wanted == found : found.starts_with(compared))
        return "";
    return what + " wanted" + origin_of(wanted) + ":\n" + wanted + "\n" + what + " found:\n" +
           found + "\n";
}

std::string virtual_panel::wrong_files(const run_case &c) const
{
    std::map<std::string, std::pair<std::string, int>> wanted, found; // contents and modes
    for (const auto *list : {&c.given, &c.files})
        for (const test_file &file : *list)
            wanted[file.name] = found[file.name] = {file.content, file.mode};
    for (const auto &entry : fs::directory_iterator(folder + "/files"))
        if (!entry.is_fifo())
            found[entry.path().filename()] = {};
    std::string wrong;
    for (auto &[name, file] : found) {
        file = {read("files/" + name), int(fs::status(folder + "/files/" + name).permissions())};
        if (file != wanted[name])
            wrong += formatted(
                "the file %s is not as wanted: %zu bytes for %zu, mode 0%o for 0%o\n", name.c_str(),
                file.first.size(), wanted[name].first.size(), file.second, wanted[name].second);
    }
    return wrong;
}

/// What is wrong with the screen, which is left as wanted.png and found.png.
static std::string wrong_screen(const canvas &drawn, const std::string &found_memory,
                                const std::string &folder)
{
    const std::string pixel = drawn.difference(found_memory);
    if (pixel.empty())
        return "";
    canvas found(drawn.shape);
    const bool plain = found.memory == found_memory;
    found.memory = found_memory;
    drawn.write_png(folder + "/wanted.png");
    found.write_png(folder + "/found.png");
    return (plain ? "the screen is plain: nothing is drawn on it\n" : "") + ("screen at " + pixel) +
           "the whole screen is in " + folder + "/wanted.png and found.png\n";
}

std::string virtual_panel::differences(const run_case &c) const
{
    canvas drawn(c.screen);
    if (c.draws)
        c.draws(drawn);
    drawn.out += c.out;
    const std::string out = drawn.out;
    drawn.request(c.requests);
    if (c.out == anything || c.out.find("update_to_display") != std::string::npos)
        drawn.out = out;
    run_case call = c; // with the faults that come from drawing
    call.requests = drawn.requests;
    const run_result got = run(call);

    const auto goes_elsewhere = [&](const char *stream) {
        return c.streams.find(stream) != std::string::npos;
    };
    std::string wrong;
    for (const char *finding : {"Sanitizer", "runtime error"})
        if (got.err.find(finding) != std::string::npos)
            wrong += "a sanitizer has found something\n" + got.err;
    wrong +=
        wrong_screen(drawn, got.memory, folder) +
        difference("status", std::to_string(c.status | drawn.status), std::to_string(got.status)) +
        difference("standard output", goes_elsewhere("1>") ? "" : drawn.out, got.out) +
        difference("standard error", goes_elsewhere("2>") ? "" : drawn.err + c.err, got.err) +
        difference("requests", drawn.requests, got.requests) + wrong_files(c);
    if (wrong.empty())
        return "";
    write("state/memory", canvas(c.screen).memory); // as it was before, for the next try
    return wrong + "everything is in " + folder + ", and it happens again with\n(" +
           command_of(call, folder) + " " + c.streams + ")\n";
}

void check(const run_case &c)
{
    const virtual_panel panel(c);
    if (const std::string wrong = panel.differences(c); !wrong.empty())
        ADD_FAILURE() << "tavo " << c.args << "\n" << wrong;
}

std::string name_of_case(const testing::TestParamInfo<run_case> &row)
{
    const run_case &c = row.param;
    const geometry &g = c.screen;
    std::string name = c.name.empty() ? c.args + " " + faults_of(c.requests) : c.name;
    name = test_name(name.substr(0, 60));
    if (g != paper)
        name += formatted("_on_%s_of_%d_%dbpp", g.size().c_str(), g.virtual_width, g.bpp);
    return test_name(name + formatted("_%zu", row.index));
}

void PrintTo(const run_case &c, std::ostream *out)
{
    *out << c.args;
}

std::vector<run_case> on_screens(const std::vector<run_case> &cases,
                                 const std::vector<geometry> &screens)
{
    std::vector<run_case> all;
    for (const run_case &c : cases)
        for (const geometry &g : screens)
            all.emplace_back(c).screen = g;
    return all;
}

/// Where malloc is the sanitizer's, memory is never short.
static bool allocates_for_itself()
{
#if defined __clang__ && defined __has_feature
    return __has_feature(address_sanitizer);
#else
    return false;
#endif
}

TEST_P(tool, does)
{
    if (allocates_for_itself() && GetParam().requests.find("alloc") != std::string::npos)
        GTEST_SKIP() << "memory is never short here";
    check(GetParam());
}

int main(int argc, char **argv)
{
    testing::InitGoogleTest(&argc, argv);
    const int status = RUN_ALL_TESTS();
    const bool ran = testing::UnitTest::GetInstance()->test_to_run_count() > 0;
    if (!ran)
        puts("no test ran");
    return ran ? status : 1;
}
