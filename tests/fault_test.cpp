// Whatever the platform refuses once, the tool ends by itself, tells the truth and closes up.
#include "panel_run.h"

#include <array>

namespace {
constexpr geometry small = {64, 300, 64, 300, 8};

/// Commands that between them make every call that the tool makes.
constexpr std::array commands = {
    "3 5 hello",
    "-c -f",
    "-n -c",
    "-k wb.raw",
    "-i -k fb.raw",
    "-i x",
    "-b dump.raw",
    "-b image.raw",
    "-o image.raw",
    "-g image.pgm",
    "-t image.pgm out.raw",
    "-j events",
};
constexpr std::array calls = {
    "open",
    "get-vscreeninfo",
    "get-fscreeninfo",
    "get-cmap",
    "map",
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

std::string word(uint32_t value)
{
    return std::string(reinterpret_cast<char *>(&value), 4);
}

struct faulty_panel : virtual_panel {
    faulty_panel() : virtual_panel(small)
    {
        write("dump.raw", std::string(small.screen(), '\x5A'));
        write("image.raw", word(16) + word(16) + word(8) + std::string(256, '\x77'));
        write("image.pgm", "P5 8 8 255\n" + std::string(64, '\x40'));
        write("events", "");
    }
};

/// The number of bytes that a dump's line claims for a file, or -1 when it claims none.
long claimed(const std::string &out, const std::string &before)
{
    const size_t at = out.find(before);
    return at == std::string::npos ? -1 : atol(out.c_str() + at + before.size());
}
} // namespace

TEST(faults, each_call_once)
{
    for (const std::string command : commands)
        for (const std::string call : calls)
            for (int n = 1; n <= 3; ++n) {
                SCOPED_TRACE(command + " with " + call + ":" + std::to_string(n));
                const faulty_panel panel;
                const run_result got = panel.run(words(command), call + ":" + std::to_string(n));
                EXPECT_TRUE(got.status == 0 || got.status == 1) << got.status << got.err;
                EXPECT_EQ(got.err.find("Sanitizer"), std::string::npos) << got.err;
                const bool opened = got.requests.find("open -> -1") == std::string::npos;
                EXPECT_EQ(got.requests.find("not closed") == std::string::npos, opened);
                EXPECT_LT(got.seconds, 20);
                const long framebuffer = claimed(got.out, "@ADDRESS) ");
                EXPECT_TRUE(framebuffer < 0 || framebuffer == long(panel.read("fb.raw").size()));
                const long working = claimed(got.out, "\nwrite ");
                EXPECT_TRUE(working < 0 || working == long(panel.read("wb.raw").size()));
                const bool told = got.status == 1 || command[1] != 't' ||
                                  got.out.find("open_device> cannot") != std::string::npos;
                EXPECT_TRUE(told || panel.read("out.raw").size() == small.screen());
            }
}

TEST(faults, interrupted_and_short_transfers_are_finished)
{
    for (const std::string command : {"-b dump.raw", "-b image.raw", "-o image.raw"})
        for (const char *fault :
             {"short-read:1-3", "eintr-read:1-2", "short-read:2 eintr-read:1"}) {
            SCOPED_TRACE(command + " with " + fault);
            const faulty_panel panel, untouched;
            const run_result got = panel.run(words(command), fault);
            const run_result wanted = untouched.run(words(command));
            EXPECT_EQ(got.out, wanted.out);
            EXPECT_TRUE(got.memory == wanted.memory);
        }
}
