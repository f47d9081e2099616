// The whole tool: the length of the command line, its words, each ended by a line feed, then the
// content of every file that it names.

#include "fuzz_screen.h"

#include <algorithm>
#include <memory>
#include <unistd.h>
#include <vector>

int tavo_main(int argc, char **argv); // main, as CMakeLists.txt renames it

constexpr size_t longest_command_line = 1024;

// Static, since the tool may leave by exit. Each word is a block of its own: what is read behind
// its end shows.
static std::vector<std::unique_ptr<char[]>> words;
static std::vector<char *> argv;

static void add_word(const uint8_t *begin, const uint8_t *end)
{
    words.emplace_back(new char[size_t(end - begin) + 1]);
    *std::copy(begin, end, words.back().get()) = '\0';
    argv.push_back(words.back().get());
}

void run_target(fuzz_input &input)
{
    const size_t length =
        std::min({size_t{input.take<uint16_t>()}, input.size, longest_command_line});
    const uint8_t *const end = input.data + length;
    char name[] = "tavo";
    words.clear();
    argv.assign(1, name);
    for (const uint8_t *begin = input.data; begin < end;) {
        const uint8_t *const word_end = std::find(begin, end, '\n');
        add_word(begin, word_end);
        begin = word_end + 1;
    }
    serve_file({end, input.size - length});
    argv.push_back(nullptr);
    argv.shrink_to_fit();
    optind = 0; // glibc: start afresh
    if (const int status = tavo_main(int(argv.size()) - 1, argv.data()); status != 0 && status != 1)
        abort();
}
