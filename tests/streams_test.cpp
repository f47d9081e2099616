// Streams of C that the virtual panel's library opens on the device, as no program at hand does.
#include "run_case.h"

#include <dlfcn.h>

namespace {
TEST(streams, read_and_write_the_device)
{
    const virtual_panel panel({.screen = {64, 100, 64, 100, 8}});
    void *const library = dlopen(PANEL_LIBRARY, RTLD_NOW);
    const auto open = reinterpret_cast<decltype(&fopen)>(dlsym(library, "fopen"));
    setenv("TAVO_PANEL_STATE", (panel.folder + "/state").c_str(), 1);
    for (const auto &[mode, letters] : {std::pair("rb+", "abc"), std::pair("we", "de")}) {
        FILE *const stream = open("/dev/fb0", mode);
        ASSERT_NE(stream, nullptr);
        EXPECT_EQ(fputs(letters, stream), 1);
        EXPECT_EQ(fclose(stream), 0);
    }
    unsetenv("TAVO_PANEL_STATE");
    EXPECT_EQ(panel.read("state/memory").substr(0, 4), "dec\"");
}
} // namespace
