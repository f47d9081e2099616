// The panel's own command, and programs that others wrote on it.
#include "panel_run.h"

namespace {
const std::string panel_command = PANEL_COMMAND " --state state ", tool = TAVO_BINARY " ";

TEST(tool, others_see_the_same_panel)
{
    const virtual_panel panel({758, 1024, 768, 2048, 8});
    const run_result got = panel.shell(panel_command + "--png glass.png -- sh -ec '" + tool +
                                       "-c; " + tool + "3 5 hello; fbset -i; fbcat >screen.ppm'");
    EXPECT_EQ(got.status, 0) << got.err;
    for (const char *line : {" geometry 758 1024 768 2048 8\n", " LineLength  : 768\n"})
        EXPECT_NE(got.out.find(line), std::string::npos) << line << got.out;
    canvas drawn(panel.shape), picture(paper);
    for (canvas *c : {&drawn, &picture}) {
        c->clear();
        c->text(3, 5, "hello");
    }
    const std::string colours = panel.read("screen.ppm"), head = "P6 758 1024 255\n";
    EXPECT_EQ(colours, head + rewritten(picture.memory, {{"[^]", "$&$&$&"}}));
    EXPECT_EQ(drawn.difference(got.memory), "");
    EXPECT_EQ(picture.difference(panel.read("state/glass")), "");
    panel.shell(panel_command + "--size 758x1024 " + tool + "-g glass.png");
    EXPECT_EQ(picture.difference(panel.read("state/memory")), "");
}

// clang-format off
const struct { const char *arguments; int status; const char *err; } rows[] = {
    {"", 2, "command"}, {"--bpp x true", 2, "--bpp"}, {"--what true", 2, "--what"},
    {"--size 0x5 true", 2, "--size"}, {"--state", 2, "--state"}, {"--help", 0, ""},
    {"sh -c 'exit 7'", 7, ""}, {"sh -c 'kill -9 $$'", 137, ""}, {"./none", 127, "./none"},
    {"--fail update:1-2 -- " TAVO_BINARY " -s ''", 0, "retrying.. -1retrying.. -1"},
    {"--trace " TAVO_BINARY " -s ''", 0, "panel: update 0,0 758x1024 wave=2 partial marker=42"}};
// clang-format on

TEST(tool, command_line_of_the_panel)
{
    for (const auto &[arguments, status, err] : rows) {
        const run_result got = virtual_panel(paper).shell(panel_command + arguments);
        EXPECT_EQ(got.status, status) << arguments;
        EXPECT_NE(got.err.find(err), std::string::npos) << got.err;
    }
}
} // namespace
