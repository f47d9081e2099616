#include "run_case.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstring>
#include <fstream>
#include <iomanip>
#include <set>
#include <sstream>

namespace fs = std::filesystem;

const std::string anything = "(anything)";

std::string update_line(const char *mode, int wave_mode, int inverted)
{
    return formatted("update_to_display: update_mode=%s, wave_mode=%d inverted=%d\n", mode,
                     wave_mode, inverted);
}

strings split(const std::string &text)
{
    strings all;
    std::istringstream in(text);
    for (std::string word; in >> std::quoted(word, '\'', '\0');)
        all.push_back(word);
    return all;
}

static std::string replaced(std::string text, const std::string &old, const std::string &by)
{
    for (size_t at = 0; (at = text.find(old, at)) != std::string::npos; at += by.size())
        text.replace(at, old.size(), by);
    return text;
}

std::string test_name(const std::string &text)
{
    std::string name;
    for (char letter : text)
        if (isalnum(letter & 0xFF))
            name += letter;
        else if (!name.empty() && name.back() != '_')
            name += '_';
    return name.substr(0, name.find_last_not_of('_') + 1);
}

/// Addresses differ from run to run.
static std::string with_masked_address(std::string text)
{
    if (const size_t at = text.find("@0x"); at != std::string::npos) {
        const size_t end = text.find_first_not_of("0123456789abcdef", at + 3);
        text.replace(at, end - at, "@ADDRESS");
    }
    return text;
}

std::string requests_of(std::string log, const geometry &g)
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
    if (!c.pipe.empty())
        mkfifo((folder + "/files/pipe").c_str(), 0600);
}

virtual_panel::~virtual_panel()
{
    if (!testing::Test::HasFailure())
        fs::remove_all(folder);
}

std::string virtual_panel::read(const std::string &name) const
{
    std::ifstream file(folder + "/" + name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void virtual_panel::write(const std::string &name, const std::string &content) const
{
    std::ofstream(folder + "/" + name, std::ios::binary) << content;
}

/// The program and its arguments. An emulator hands the panel's library on to its guest.
static strings command_of(const run_case &c)
{
    strings command;
    if (c.runs == program::tavo)
        command = split(TAVO_EMULATOR);
    if (!command.empty())
        command.insert(command.begin() + 1, {"-0", "tavo", "-E", "LD_PRELOAD=" PANEL_LIBRARY});
    command.push_back(c.runs == program::tavo ? TAVO_BINARY : PANEL_COMMAND);
    for (const std::string &word : split(c.args.text))
        command.push_back(word);
    return command;
}

static strings environment_of(const run_case &c, const std::string &folder)
{
    strings all = {"ASAN_OPTIONS=verify_asan_link_order=0"};
    if (c.runs == program::tavo)
        all.insert(all.end(),
                   {"TAVO_PANEL_STATE=" + folder + "/state", "TAVO_PANEL_FAIL=" + c.faults});
    else
        all.push_back("PATH=" + fs::path(TAVO_BINARY).parent_path().string() + ":" +
                      getenv("PATH"));
    if (c.runs == program::tavo && std::string(TAVO_EMULATOR).empty())
        all.push_back("LD_PRELOAD=" PANEL_LIBRARY);
    all.insert(all.end(), c.environment.begin(), c.environment.end());
    return all;
}

/// What a shell takes to do the same again.
static std::string pasteable(const run_case &c, const std::string &folder)
{
    std::string line = "cd " + folder + "/files && env";
    for (const strings &words : {environment_of(c, folder), command_of(c)})
        for (const std::string &word : words)
            line += " '" + replaced(word, "'", "'\\''") + "'";
    for (const std::string &stream : c.closed)
        line += " " + stream + ">&-";
    for (const std::string &stream : c.full)
        line += " " + stream + ">/dev/full";
    for (const std::string &stream : c.broken)
        line += " " + stream + "> >(:)"; // bash
    return line;
}

/// In the child: becomes the program of a case.
[[noreturn]] static void become(const run_case &c, const std::string &folder)
{
    const auto redirect = [](int fd, const char *path, int flags) {
        dup2(open(path, flags | O_CLOEXEC, 0644), fd);
    };
    if (chdir((folder + "/files").c_str()) != 0)
        _exit(126);
    redirect(0, "/dev/null", O_RDONLY);
    redirect(1, "../out", O_WRONLY | O_CREAT | O_TRUNC | O_APPEND);
    redirect(2, c.together ? "../out" : "../err", O_WRONLY | O_CREAT | O_APPEND);
    for (const std::string &stream : c.closed)
        close(stoi(stream));
    for (const std::string &stream : c.full)
        redirect(stoi(stream), "/dev/full", O_WRONLY);
    for (const std::string &stream : c.broken) {
        int ends[2];
        dup2(pipe2(ends, O_CLOEXEC) == 0 ? ends[1] : -1, stoi(stream));
        close(ends[0]);
    }
    signal(SIGPIPE, SIG_DFL);
    for (const std::string &assignment : environment_of(c, folder))
        putenv(strdup(assignment.c_str()));
    umask(0);
    alarm(20);
    std::vector<char *> words;
    const strings command = command_of(c);
    for (const std::string &word : command)
        words.push_back(const_cast<char *>(word.c_str()));
    words.push_back(nullptr);
    const char *const path = words[0];
    if (command[0] == TAVO_BINARY)
        words[0] = const_cast<char *>("tavo");
    execvp(path, words.data());
    _exit(127);
}

/// In a child: feeds the FIFO, a piece at a time.
[[noreturn]] static void feed(const virtual_panel &panel, const run_case &c,
                              const std::string &path)
{
    alarm(20);
    const int fd = open(path.c_str(), O_WRONLY);
    while (panel.read("out").find(c.pipe_after) == std::string::npos)
        usleep(1000);
    for (const std::string &piece : c.pipe)
        for (int unread = ::write(fd, piece.data(), piece.size()) > 0; unread; usleep(50))
            ioctl(fd, FIONREAD, &unread);
    _exit(0);
}

/// What is in the folder of the call, and the files that the case names elsewhere.
static std::map<std::string, test_file> files_in(const virtual_panel &panel, const run_case &c,
                                                 const fs::path &folder)
{
    std::set<std::string> names;
    for (const auto &entry : fs::directory_iterator(folder))
        names.insert(entry.path().filename().string());
    for (const auto *list : {&c.given, &c.files})
        for (const test_file &file : *list)
            names.insert(file.name);
    std::map<std::string, test_file> files;
    for (const std::string &name : names)
        if (const fs::file_status status = fs::status(folder / name); !fs::is_fifo(status))
            files[name] = {name, panel.read("files/" + name), int(status.permissions())};
    return files;
}

run_result virtual_panel::run(const run_case &c) const
{
    for (const char *name : {"state/log", "out", "err"})
        write(name, "");
    const pid_t child = fork();
    if (child == 0)
        become(c, folder);
    const pid_t feeder = c.pipe.empty() ? -1 : fork();
    if (feeder == 0)
        feed(*this, c, folder + "/files/pipe");
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
            .memory = read("state/memory"),
            .files = files_in(*this, c, folder + "/files")};
}

static std::string difference(const std::string &what, const std::string &wanted,
                              const std::string &found)
{
    if (wanted == found || wanted == anything)
        return "";
    return what + " wanted:\n" + wanted + "\n" + what + " found:\n" + found + "\n";
}

static std::string difference(std::map<std::string, test_file> wanted,
                              std::map<std::string, test_file> found)
{
    std::string text;
    for (const auto &[name, file] : found)
        if (!wanted.contains(name))
            text += "file " + name + " should not be there\n";
    for (const auto &[name, file] : wanted) {
        const std::string &content = found[name].content;
        const size_t at =
            size_t(std::ranges::mismatch(file.content, content).in1 - file.content.begin());
        if (file.mode != found[name].mode)
            text += formatted("file %s: wanted mode 0%o, found 0%o\n", name.c_str(), file.mode,
                              found[name].mode);
        if (file.content != content)
            text += formatted("file %s: wanted %zu bytes, found %zu, byte %zu differs\n",
                              name.c_str(), file.content.size(), content.size(), at);
    }
    return text;
}

void virtual_panel::check(const run_case &c)
{
    canvas drawn(c.screen), shown(c.screen);
    if (c.draws)
        c.draws(drawn);
    if (!c.requests.empty())
        drawn.request(c.requests);
    std::map<std::string, test_file> files;
    for (const auto *list : {&c.given, &c.files})
        for (const test_file &file : *list)
            files[file.name] = file;

    const run_result got = run(c);
    const std::string out = c.out == anything ? anything : drawn.out + c.out;
    std::string wrong =
        difference("status", std::to_string(c.status | drawn.status), std::to_string(got.status)) +
        difference("standard output", out, got.out) +
        difference("standard error", drawn.err + c.err, got.err) +
        difference("requests", replaced(drawn.requests, "WxH", c.screen.size()), got.requests) +
        difference(files, got.files);
    for (const char *finding : {"Sanitizer", "runtime error"})
        if (got.err.find(finding) != std::string::npos)
            wrong += "a sanitizer has found something\n" + got.err;
    const std::string pixel = drawn.difference(got.memory);
    if (!pixel.empty()) {
        wrong += "screen at " + pixel;
        shown.memory = got.memory;
        drawn.write_png(folder + "/wanted.png");
        shown.write_png(folder + "/found.png");
    }
    if (wrong.empty())
        return;
    write("state/memory", canvas(c.screen).memory); // as it was before, for the next try
    ADD_FAILURE_AT(c.args.file, c.args.line)
        << wrong << "everything is in " << folder << ", and it happens again with\n"
        << pasteable(c, folder);
}

void check(const run_case &c)
{
    virtual_panel(c).check(c);
}

std::string test_name(const geometry &g)
{
    const bool padded = g.width != g.virtual_width;
    return test_name(g.size() + (padded ? formatted(" of %d", g.virtual_width) : "") +
                     formatted(" %dbpp", g.bpp));
}

std::string name_of_case(const testing::TestParamInfo<run_case> &row)
{
    const run_case &c = row.param;
    const std::string name = c.name.empty() ? c.args.text + " " + c.faults : c.name;
    return test_name(name.substr(0, 60) + formatted(" %zu", row.index));
}

std::string name_on_screen(const testing::TestParamInfo<std::tuple<shell_words, geometry>> &row)
{
    const auto &[args, g] = row.param;
    return test_name(args.text.substr(0, 60) + formatted(" %zu on ", row.index)) + "_" +
           test_name(g);
}

void PrintTo(const run_case &c, std::ostream *out)
{
    *out << c.args.text;
}

void PrintTo(const shell_words &words, std::ostream *out)
{
    *out << words.text;
}

void PrintTo(const geometry &g, std::ostream *out)
{
    *out << test_name(g);
}

TEST_P(tool, does)
{
    check(GetParam());
}
