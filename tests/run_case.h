#pragma once
#include "canvas.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using strings = std::vector<std::string>;

/// Words for a shell, and the place in the source where they are written.
struct shell_words {
    template <class text_type>
    shell_words(const text_type &words, const char *at_file = __builtin_FILE(),
                int at_line = __builtin_LINE())
        : text(words), file(at_file), line(at_line)
    {
    }
    std::string text;
    const char *file;
    int line;
};

/// A file in the folder in which a case runs. The run's file-creation mask is 0.
struct test_file {
    std::string name, content;
    int mode = 0644;
};

enum class program {
    tavo,  ///< with the virtual panel's library preloaded; its state is in ../state
    panel, ///< tavo-panel; the case names the state folder, if the requests are to be compared
};

/// One call on a virtual panel and everything that it does. All of it is compared; what is left
/// out is nothing, and status 0. `anything` says that a text is not looked at.
struct run_case {
    shell_words args = "";
    painter draws = {}; ///< what changes in the framebuffer; what it says comes first
    /// As the log has them, but for what is the same in every run. WxH is the screen's size. Where
    /// "fault NAME:N" stands, the panel takes that fault.
    std::string requests = "";
    /// The lines that announce the updates among the requests follow, if no such line is here.
    std::string out = "";
    std::string err = "";
    int status = 0;                    ///< or 128 and the signal's number
    std::vector<test_file> files = {}; ///< that are new or changed afterwards

    // What is unusual about the panel or the call.
    std::string settings = ""; ///< lines of the panel's settings
    geometry screen = paper;
    std::vector<test_file> given = {}; ///< files that are there before
    strings pipe = {}; ///< written to the FIFO "pipe", each piece when the one before has been read
    std::string environment = ""; ///< NAME=value, as words for a shell
    /// Redirections for a shell. Nothing is expected of a stream that goes elsewhere, as into the
    /// FIFO "../gone" that nobody reads.
    std::string streams = "";
    program runs = program::tavo;
    std::string name = ""; ///< of the test, where the arguments say too little
};
extern const std::string anything;

struct run_result {
    int status;
    std::string out, err; ///< addresses as @ADDRESS
    std::string requests, memory;
};

/// A panel and a folder to work in, which last from run to run.
class virtual_panel {
public:
    explicit virtual_panel(const run_case &c);
    ~virtual_panel();
    run_result run(const run_case &c) const; ///< ends it after 20 seconds
    /// Runs a case, and reports everything that is not as it should be at the row's own line. The
    /// folder is kept then, with the screen as wanted.png and found.png.
    void check(const run_case &c);
    std::string read(const std::string &name) const; ///< from the folder, "" if missing
    void write(const std::string &name, const std::string &content) const;
    std::string folder; ///< of the state, of the files and of the streams

private:
    std::string wrong_files(const run_case &c) const;
};
void check(const run_case &c);

/// A suite of cases.
class tool : public testing::TestWithParam<run_case> {};
void PrintTo(const run_case &c, std::ostream *out);
/// Of the arguments and the faults, or the name that the row has, the screen if it is another than
/// paper, and the row's number, which makes it unique.
std::string name_of_case(const testing::TestParamInfo<run_case> &row);

/// Each case on each screen.
template <class rows>
std::vector<run_case> on_screens(const rows &cases,
                                 const std::vector<geometry> &screens = all_screens)
{
    std::vector<run_case> all;
    for (const run_case &c : cases)
        for (const geometry &g : screens)
            all.emplace_back(c).screen = g;
    return all;
}
