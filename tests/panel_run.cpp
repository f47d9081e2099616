#include "panel_run.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <algorithm>
#include <fstream>
#include <iomanip>
#include <regex>

std::vector<geometry> all_shapes()
{
    // The last pixel of the first one lies behind its memory, which ends with a page.
    std::vector<geometry> all = {{8193, 4, 8193, 4, 1}};
    for (int b : {1, 2, 4, 8})
        all.insert(all.end(), {{758, 1024, 758, 1024, b},
                               {758, 1024, 768, 2048, b},
                               {5, 3, 8, 3, b},
                               {40, 600, 40, 600, b}});
    return all;
}

canvas::canvas(const geometry &g) : shape(g), memory(g.buffer(), 0)
{
    std::generate(memory.begin(), memory.end(), [i = 6]() mutable { return char(i += 7); });
}

void canvas::set(int x, int y, int level)
{
    const size_t at = size_t(y) * shape.line() + size_t(x * shape.bpp / 8);
    const int bit = x * shape.bpp % 8, field = (0xFF00 >> shape.bpp & 0xFF) >> bit;
    if (at < shape.screen())
        memory[at] = char((memory[at] & ~field) | (level >> bit & field));
}

std::string canvas::difference(const std::string &actual) const
{
    const size_t at = size_t(std::ranges::mismatch(memory, actual).in1 - memory.begin());
    if (at == memory.size() && actual.size() == at)
        return "";
    return formatted("%d bits, %zu bytes, row %zu, byte %zu: %02x", shape.bpp, actual.size(),
                     at / shape.line(), at % shape.line(), actual.c_str()[at] & 0xFF);
}

void run_result::expect(const std::string &told, const canvas &drawn) const
{
    EXPECT_EQ(std::to_string(status) + out + err, told) << command;
    EXPECT_EQ(drawn.difference(memory), "") << command;
}

strings words(const std::string &line)
{
    strings all;
    std::istringstream in(line);
    for (std::string word; in >> std::quoted(word, '\'');)
        all.push_back(word);
    return all;
}

std::string rewritten(std::string text,
                      const std::vector<std::pair<std::string, std::string>> &rules)
{
    for (const auto &[pattern, replacement] : rules)
        text = std::regex_replace(text, std::regex(pattern), replacement);
    return text;
}

virtual_panel::virtual_panel(const geometry &g, const std::string &more_settings) : shape(g)
{
    folder = "/tmp/tavo-test-XXXXXX";
    std::filesystem::create_directory(mkdtemp(folder.data()) + std::string("/state"));
    write("state/panel", formatted("size %dx%d\nvirtual %dx%d\nbpp %d\nregions any\n", g.width,
                                   g.height, g.virtual_width, g.virtual_height, g.bpp) +
                             more_settings);
    write("state/memory", canvas(g).memory);
    write("in", "");
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

run_result virtual_panel::shell(const std::string &line) const
{
    write("state/log", "");
    const int status = system(("cd " + folder + " && exec <in >out 2>err && " + line).c_str());
    const std::string mapped = " offset=0 shared locked -> 0\n";
    // clang-format off
    const std::string out = rewritten(read("out"), {{"@0x[0-9a-f]+", "@ADDRESS"},
        {"update_to_display: update_mode=(\\w+), wave_mode=(.+) inverted=(.+)\n", "<$1 $2 $3>"}});
    const std::string requests = rewritten(read("state/log") + "(not closed)\n", {
        {"open -> 0\nget-vscreeninfo -> 0\nmap " + std::to_string(shape.screen()) + mapped +
             "map " + std::to_string(shape.buffer()) + mapped, ""},
        {"close -> 0\n\\(not closed\\)\n", ""}, {"wait marker=42 -> 0", "wait 42"},
        {", \\d+ ms\n", "\n"}, {"(^|\n)fault.*(?=\n)", "$1"}, {"\n\n+", "\n"}, {"^\n", ""},
        {" marker=42 temperature=4096 flags=0 tail=1,2 -> 0\n", "\n"},
        {" -> 0\n", "\n"}, {"\n$", ""}, {"\n", "; "}});
    // clang-format on
    const std::string err = rewritten(read("err"), {{"(^|\n)\\S*/tavo:", "$1tavo:"}});
    // The shell became the tool: what ends the tool is what is seen here.
    const std::string call = shape.size() + " " + line.substr(line.find("FAIL") + 1, 500);
    const int ended = WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
    return {out, err, requests, read("state/memory"), ended, call};
}

run_result virtual_panel::run(const strings &arguments, const std::string &faults) const
{
    // The library is for the tool alone: an emulator hands it on to its guest.
    const std::string emulator = rewritten(TAVO_EMULATOR " ", {{"^\\S+", "$& -E "}});
    std::string line = "exec timeout 20 env ASAN_OPTIONS=verify_asan_link_order=0 ";
    line += "TAVO_PANEL_STATE=" + folder + "/state TAVO_PANEL_FAIL='" + faults + "' " +
            rewritten(emulator, {{"-E |^ ", "$& LD_PRELOAD=" PANEL_LIBRARY " "}}) + TAVO_BINARY;
    for (const std::string &word : arguments)
        line += " '" + rewritten(word, {{"'", "'\\''"}}) + "'";
    return shell(line);
}

run_result virtual_panel::run_piped(const strings &arguments, const strings &pieces,
                                    const std::string &after) const
{
    const std::string path = folder + "/pipe";
    mkfifo(path.c_str(), 0600);
    write("out", "");
    const pid_t writer = fork();
    if (writer == 0) {
        const int fd = open(path.c_str(), O_WRONLY);
        while (read("out").find(after) == std::string::npos)
            usleep(1000);
        for (const std::string &piece : pieces)
            for (int waiting = ::write(fd, piece.data(), piece.size()) > 0; waiting; usleep(50))
                ioctl(fd, FIONREAD, &waiting);
        _exit(0);
    }
    const run_result result = run(arguments);
    kill(writer, SIGKILL);
    waitpid(writer, nullptr, 0);
    return result;
}
