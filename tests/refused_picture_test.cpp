// Files that are no pictures, or that ask for much memory or time: each is refused with a reason,
// the screen stays, and what the call costs is bounded.
#include "run_case.h"

#include <filesystem>
#include <sys/resource.h>

/// A file in tests/refused, or one that is not there.
struct refused_file {
    shell_words args; // its name
    std::string reason;
};
void PrintTo(const refused_file &row, std::ostream *out)
{
    *out << row.args.text;
}

namespace {
// clang-format off
const refused_file rows[] = {
    {"none", "can't fopen"}, {std::string(3000, 'n'), "can't fopen"},
    {".", "unknown image type"}, {"/proc/self/mem", "unknown image type"},
    {"text", "unknown image type"},
    // Too much memory or time.
    {"memory.jpg", "outofmem"}, {"memory.png", "outofmem"}, {"memory.gif", "outofmem"},
    {"wide.pgm", "too large"}, {"wide-frame.gif", "too large"},
    {"first-scans.jpg", "too many scans"},
#if defined NDEBUG && !defined __arm__ // elsewhere it takes too long
    {"refining-scans.jpg", "too many scans"},
#endif
    // Reasons that the decoder does not give, or that hold any bytes of the file.
    {"bad-block.png", "corrupt"}, {"unprintable-chunk.png", "?[2? PNG chunk not known"},
    // Files that end early or contradict themselves.
    {"no-data.png", "no IDAT"}, {"value-of-15-bits.jpg", "bad huffman code"},
    {"code-of-all-ones.jpg", "bad huffman code"}, {"table-overflows.jpg", "bad DHT header"},
    {"table-ends.jpg", "bad DHT header"}, {"ends.tga", "file too short"},
    {"ends.bmp", "file too short"}, {"ends.psd", "file too short"}, {"runs-end.psd", "corrupt"},
    {"ends.pic", "bad file"}, {"channel-twice.pic", "bad format"}, {"ends.hdr", "corrupt"},
    {"run-of-0.hdr", "corrupt"}, {"run-ends.hdr", "corrupt"},
};
// clang-format on

[[maybe_unused]] double processor_seconds(const rusage &used)
{
    return double(used.ru_utime.tv_sec + used.ru_stime.tv_sec) +
           double(used.ru_utime.tv_usec + used.ru_stime.tv_usec) / 1e6;
}

class refused_picture : public testing::TestWithParam<refused_file> {};
TEST_P(refused_picture, is_said_why)
{
    const auto &[args, reason] = GetParam();
    const std::string text = "> cannot open \"" + args.text + "\":" + reason + "\n";
    run_case c = {.args = {"-g " + args.text, args.file, args.line},
                  .draws =
                      [&](canvas &to) {
                          to.out = "tavo: paint_image" + text;
                          to.finish();
                      },
                  .status = 1,
                  .screen = {40, 30, 48, 30, 4}};
    const std::string file = "refused/" + args.text;
    if (std::error_code none; std::filesystem::is_regular_file(TESTS_FOLDER "/" + file, none))
        c.given = {{args.text, content_of(file)}};
    rusage before{}, after{};
    getrusage(RUSAGE_CHILDREN, &before);
    check(c);
    getrusage(RUSAGE_CHILDREN, &after);
#ifdef NDEBUG // the release build
    if (std::string(TAVO_EMULATOR).empty()) {
        EXPECT_LT(processor_seconds(after) - processor_seconds(before), 2);
        EXPECT_LT(after.ru_maxrss, 560'000'000 / 1024); // of any call so far
    }
#endif
    c.args.text = "-t " + args.text + " new";
    c.draws = {};
    c.out = "tavo: decompress_image_to_file" + text;
    c.files = {{"new", ""}};
    check(c);
}
INSTANTIATE_TEST_SUITE_P(files, refused_picture, testing::ValuesIn(rows), [](const auto &row) {
    return test_name(row.param.args.text.substr(0, 20) + formatted(" %zu", row.index));
});
} // namespace
