// Whatever the platform refuses once, the tool ends by itself, tells the truth and closes up.
#include "panel_run.h"

#include <regex>

using namespace std::string_literals;

namespace {
/// Commands that between them make every call that the tool makes, and those calls.
const std::string commands[] = {
    "3 5 hello",   "-c -f",        "-n -c",        "-k wb.raw",    "-i -k fb.raw",         "-i x",
    "-b dump.raw", "-b image.raw", "-o image.raw", "-g image.pgm", "-t image.pgm out.raw", "-j in"};
const std::vector<std::string> calls = words(
    "open get-vscreeninfo get-fscreeninfo get-cmap map update wait get-hold set-hold release-hold "
    "get-work-buffer get-waveform-type get-material-type get-temperature read write short-read "
    "short-write eintr-read eintr-write calloc aligned_alloc");

struct faulty_panel : virtual_panel {
    faulty_panel() : virtual_panel({64, 300, 64, 300, 8})
    {
        write("dump.raw", std::string(shape.screen(), '\x5A'));
        write("image.raw", "\x10\0\0\0\x10\0\0\0\x8\0\0\0"s + std::string(256, '\x77'));
        write("image.pgm", "P5 8 8 255\n" + std::string(64, '\x40'));
    }
};

TEST(faults, each_call_once)
{
    const std::regex dumped("(\\d+) byte (?:@ADDRESS to|to file) (.+)\n");
    for (const std::string &command : commands)
        for (const std::string &call : calls)
            for (const std::string n : {":1", ":2", ":3"}) {
                SCOPED_TRACE(command + " with " + call + n);
                const faulty_panel panel;
                const run_result got = panel.run(words(command), call + n);
                EXPECT_TRUE(got.status == 0 || got.status == 1) << got.status << got.err;
                EXPECT_EQ(got.err.find("Sanitizer"), std::string::npos) << got.err;
                EXPECT_NE(got.requests.find("open -> -1") == std::string::npos,
                          got.requests.find("not closed") != std::string::npos);
                if (std::smatch dump; std::regex_search(got.out, dump, dumped)) {
                    EXPECT_EQ(dump[1], std::to_string(panel.read(dump[2]).size()));
                }
                const bool told = got.status == 1 || command[1] != 't' ||
                                  got.out.find("open_device> cannot") != std::string::npos;
                EXPECT_TRUE(told || panel.read("out.raw").size() == panel.shape.screen());
            }
}

TEST(faults, interrupted_and_short_reads_are_finished)
{
    for (const char *command : {"-b dump.raw", "-b image.raw", "-o image.raw", "-g image.pgm"})
        for (const char *fault :
             {"short-read:1-3", "eintr-read:1-2", "short-read:2 eintr-read:1"}) {
            SCOPED_TRACE(command + " with "s + fault);
            const run_result got = faulty_panel().run(words(command), fault);
            const run_result wanted = faulty_panel().run(words(command));
            EXPECT_EQ(got.out, wanted.out);
            EXPECT_TRUE(got.memory == wanted.memory);
        }
}
} // namespace
