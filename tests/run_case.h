#pragma once
#include "canvas.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using strings = std::vector<std::string>;

/// A file in the folder in which a case runs. The run's file-creation mask is 0.
struct test_file {
    std::string name, content;
    int mode = 0644;
};

/// One call of tavo on a virtual panel and everything that it does. All of it is compared: what a
/// row leaves out is nothing, and status 0. The fields, in the order in which they are written:
///
///   .args = "3 5 'hi you'"         the arguments, as a shell takes them
///   .draws = text(3, 5, "hi you")  what changes in the framebuffer, with the painters of canvas.h:
///       white, xor_pattern, grid(5), rectangle(x, y, width, height, gray), text(column, row, "hi")
///       or text(column, row, "hi", true) for highlighted, in_order({white, grid(5)}), and for any
///       other picture levels(gray_of), whose function gives the gray of a pixel, or -1 for what
///       stays. A case's own painter may say and request something, which comes first.
///   .requests = "get-vscreeninfo; update 0,0 WxH wave=2 full; wait marker=42"
///       lines of the panel's log, with "; " between them. WxH is the screen's size. What is the
///       same in every run is left out: the open with its two maps, the close, " -> 0" for success,
///       an update's time and " marker=42 temperature=4096 flags=0 tail=1,2". Where
///       "fault update:1" is written the panel takes that fault; tavo-panel --help lists the names.
///   .out = "yyy\n"                 on standard output; the lines that announce the updates among
///                                  the requests follow, if no such line is here
///   .err = "retrying.. -1"         on standard error
///   .status = 1                    the exit status, or 128 and the signal's number
///   .files = {{"out", "bytes", 0666}}       files that are new or changed afterwards
///   .settings = "regions any\n"             lines of the panel's settings, then what is unusual
///   .screen = {40, 30, 48, 60, 4}           visible size, size of the buffer, bits per pixel
///   .given = {{"in", "P5 2 2 255\nabcd"}}   files that are there before
///   .pipe = {"first", "second"}    is written to the FIFO "pipe", each piece when the one before
///                                  has been read
///   .environment = "NAME=value"    in front of the command
///   .streams = "1>/dev/full"       redirections for a shell. Nothing is expected of a stream that
///                                  goes elsewhere, as into the FIFO "../gone" that nobody reads.
///   .name = "retry on a full disk" of the test, where the arguments say too little
///
/// A text that is or ends with `anything` is not compared from there on.
struct run_case {
    std::string args = "";
    painter draws = {};
    std::string requests = "";
    std::string out = "";
    std::string err = "";
    int status = 0;
    std::vector<test_file> files = {};
    std::string settings = "";
    geometry screen = paper;
    std::vector<test_file> given = {};
    strings pipe = {};
    std::string environment = "";
    std::string streams = "";
    std::string name = "";
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
    ~virtual_panel();                        ///< keeps the folder when the test has failed
    run_result run(const run_case &c) const; ///< ends it after 20 seconds
    /// Everything that is not as the case says, and the command that shows it again; "" if nothing.
    std::string differences(const run_case &c) const;
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
std::vector<run_case> on_screens(const std::vector<run_case> &cases,
                                 const std::vector<geometry> &screens = all_screens);
