// The command line, the device and the update requests; the report; and whatever the platform
// refuses.
#include "panel_run.h"

#include <regex>
#include <sstream>

using namespace std::string_literals;

namespace {
struct run_row {
    const char *arguments;
    const char *shown; // column, row and text; "" nothing at all; "*" not looked at here
    const char *requests, *out = "", *faults = ""; // short words stand for longer ones, see in_full
    int status = 0;
    const char *err = "", *settings = "";
};

// clang-format off
const run_row rows[] = {
    {"3 5 hello", "3 5 hello", "all=257 partial"}, {"hello world", "0 0 hello", "all=257 partial"},
    {"hello -f", "0 0 hello", "all=257 full"}, {"1x 2y z", "1 2 z", "all=257 partial"},
    {"-h 1 2 'It works'", "1 2 'It works'", "all=257 partial"}, {"1 2 3 four", "", ""},
    {"a$b", "0 0 a$b", "all=257 partial", "no glyph for $", "", 1},
    {"--", "0 0 --", "all=257 partial"}, {"-wdu hi", "0 0 hi", "all=257 partial"},
    {"-hf hi", "", ""}, // letters are counted, not words
    {"-w du hi", "0 0 du", "all=257 partial"}, {"-x 1 -y 2 hi", "0 2 hi", "all=257 partial"},
    {"-n hi", "0 0 hi", "hold; release-hold 0"}, {"-a5", "*", ""}, {"-a 5", "*", "all=257 full"},
    {"-c", "*", "again; all=2 partial"}, {"-c -f", "*", "again; all=2 full; wait 42"},
    {"-v -v -c", "*", "again; all=2 partial"}, {"-v -c", "*", "again; all=2 partial inverted"},
    {"-n -c", "*", "hold; release-hold 0"}, {"-c -s ''", "*", "all=2 partial"},
    {"-s w=758,h=1024 -f", "", "all=2 full; wait 42"},
    {"-s w=99,h=5 -x 10 -y 20 -wdu -f", "", "update 10,20 99x5 wave=1 full; wait 42"},
    {"-s h=5", "", "all=2 partial"}, {"-s ' w= 5,h=6x' hi", "", "update 0,0 5x6 wave=2 partial"},
    {"-s w=800 -x 700", "", "update 700,0 58x1024 wave=2 partial"},
    {"-s w=8 -x -5", "", "update -5,0 8x1024 wave=2 partial"},
    {"-s w=10 -x 800", "", "update 800,0 -42x1024 wave=2 partial"},
    {"-s w=2147483647 -x 9", "", "update 9,0 749x1024 wave=2 partial"},
    {"-s '' -y -2147483648", "", "update 0,-2147483648 758x1024 wave=2 partial"},
    {"-n -s w=5,h=-1 hi", "", "hold"}, {"-n -s ''", "", "hold; all=2 partial"},
    {"-x 700 -d l=0,w=200,h=9", "*", "again; update 700,0 58x9 wave=2 partial"},
    {"-d l=0,w=-2,h=5", "", ""}, {"-d x hi", "", "again; all=2 partial"},
    {"-a5 -d l=0,w=1,h=2", "*", "again; update 0,0 1x2 wave=2 full; wait 42"},
    {"-t in.png", "", "", "Error: no file specified\n", "", 1},
    {"-t -n in.png", "", "hold", "Error: no file specified\n", "", 1},
    {"-t -c in.png", "*", "", "Error: no file specified\n", "", 1},
    {"-z 2", "0 0 2", "all=257 partial"}, {"-s w=-1", "", ""},
    {"-z -w du 2 1", "", "all=1 partial"}, // scrolls 0, 2, 1
    {"-z -wdu 2 1 -f", "*", "all=1 full"}, {"-k wb hello", "", "get-work-buffer", "dumped"},
    {"-k wb -s ''", "", "all=2 partial; get-work-buffer", "dumped"},
    {"-k ' ' -s w=-1", "", "", "can't open  to dump\n"},
    {"-k ./no/wb -n", "", "hold; release-hold 0", "can't open ./no/wb to dump\n"},
    {"-e", "0 0 -e", "all=257 partial", "", "", 0, "unknown e"},
    {"hi -k", "0 0 -k", "all=257 partial", "", "", 0, "incomplete k"},
    {"--help", "*", "again; all=2 partial", "", "", 0, "unknown -unknown e"},
    {"hi", "", "open -> -1; (not closed)", 
        "tavo: open_device> cannot open framebuffer device \"/dev/fb0\"\n", "open"},
    {"-c", "", "open; again -> -1", "tavo: open_device> cannot query framebuffer geometry\n",
        "get-vscreeninfo"},
    {"x", "*", "open; again", "tavo: bpp_supported> bpp = 16 not supported\n", "", 0, "", "bpp 16"},
    {"-c", "", "open; again; map -> -1; map",
        "tavo: open_device> cannot map framebuffer\n", "map:1"},
    {"3 5 x", "3 5 x", "open; again; map; map -> -1; all=257 partial", "", "map:2"},
    {"-c", "*", "again -> -1", "tavo: main> cannot read screen info 1\n", "get-vscreeninfo:2"},
    {"-c", "*", "again; all=2 partial", "", "", 0, "", "second-size 400x300"},
    {"-s '' -f", "", "all=2 full; wait marker=42 -> -1", "", "wait"},
    {"-s ''", "", "refused; all=2 partial", "", "update:1", 0, "retry"},
    {"-s ''", "", "refused; refused; refused; refused; refused; failed", "", "update", 0,
        "retry retry retry retry retry"},
    {"-n", "", "get-hold 1 -> -1; release-hold 0", "", "get-hold"},
    {"-n", "", "hold -> -1; release-hold 0 -> -1", "", "set-hold release-hold"},
    {"-k wb", "", "get-work-buffer -> -1", "get work buffer ioctl err=-1\n", "get-work-buffer"},
};
// clang-format on

/// Writes out the words that stand for longer ones in the rows.
std::string in_full(const std::string &text)
{
    const std::string sent = " marker=42 temperature=4096 flags=";
    // clang-format off
    return rewritten(text, {
        {"again", "get-vscreeninfo"}, {"(^| )hold", "$1get-hold 1; set-hold 0"},
        {"refused", "failed; sleep 500000"},
        {"failed", "all=2 partial" + sent + "0 tail=1,2 -> -1"}, {" inverted", sent + "1 tail=1,2"},
        {"retry ?", "retrying.. -1"}, {"dumped", "write 1552384 byte @ADDRESS to wb\n"},
        {"all=", "update 0,0 758x1024 wave="}, {"; map", "; map 776192 offset=0 shared locked"},
        {"unknown (.)", "tavo: invalid option -- '$1'\noption ? not supported\n"},
        {"incomplete (.)", "tavo: option requires an argument -- '$1'\noption ? not supported\n"},
        {"no glyph for (.)", "tavo: paint_char> character \"$1\" not available\n"}});
    // clang-format on
}

TEST(command, rows)
{
    for (const run_row &row : rows) {
        const virtual_panel panel(paper, row.settings);
        run_result got = panel.run(words(row.arguments), row.faults);
        const std::string requests = in_full(row.requests);
        EXPECT_EQ(got.requests, requests) << row.arguments;
        std::string trace; // a line for each update, however often it was sent
        if (std::smatch m; regex_search(requests, m, std::regex("wave=(\\d+) (.)\\S+(.*=1 )?")))
            trace = (m[2] == "f" ? "<FULL " : "<PARTIAL ") + m[1].str() +
                    (m[3].matched ? " 1>" : " 0>");
        EXPECT_NE(got.out.find(trace), std::string::npos) << got.out;
        got.out = rewritten(got.out, {{trace, ""}});
        canvas drawn(paper);
        if (const auto cell = words(row.shown); cell.size() == 3)
            drawn.text(stoi(cell[0]), stoi(cell[1]), cell[2], words(row.arguments)[0] == "-h");
        if (*row.shown == '*')
            drawn.memory = got.memory;
        got.expect(std::to_string(row.status) + in_full(row.out) + in_full(row.err), drawn);
    }
}

TEST(command, usage)
{
    const virtual_panel panel(paper);
    const run_result got = panel.run({});
    EXPECT_EQ(std::to_string(got.status) + panel.read("state/log"), "1");
    EXPECT_EQ(std::count(got.out.begin(), got.out.end(), '\n'), 21);
    EXPECT_TRUE(got.out.starts_with(" For complete usage and examples, search tavo in wiki page."));
    EXPECT_TRUE(got.out.ends_with("with current fb content: tavo -s w=758,h=1024 -f\n"));
}

TEST(command, waveform_names)
{
    std::istringstream list(
        "du 1 dux 1 a2 6 gc16 2 gc16x 2 gl16 3 reagl 4 reagld 5 reaglx 4 gck16 8 "
        "glkw16 9 GC16 257 gc 257 d 257 x 257");
    for (std::string name, mode; list >> name >> mode;)
        EXPECT_EQ(virtual_panel(paper).run({"-s", "", "-w", name}).requests,
                  in_full("all=" + mode + " partial"));
}

TEST(command, hold_that_is_taken)
{
    const virtual_panel panel(paper);
    panel.write("state/hold", "1\n");
    EXPECT_EQ(panel.run({"-n"}).requests, "get-hold 1; release-hold 0");
    EXPECT_EQ(panel.read("state/hold"), "0\n");
}

TEST(command, dumps)
{
    for (const geometry &g : all_shapes()) {
        const virtual_panel panel(g);
        const int size = g.width * g.height * 2, all = int(g.buffer());
        const char *dumped = "write framebuffer(%d byte @ADDRESS) %d byte to file fb\n";
        const std::string told = formatted("0write %d byte @ADDRESS to wb\n", size);
        panel.run({"-k", "wb"}).expect(told, canvas(g));
        EXPECT_EQ(int(panel.read("wb").size()), size);
        panel.write("fb", std::string(g.buffer() + 9, 'x')); // of which nothing is left
        EXPECT_TRUE(panel.run({"-i", "-k", "fb"}).out.ends_with(formatted(dumped, all, all)));
        EXPECT_EQ(canvas(g).difference(panel.read("fb")), "");
    }
    const virtual_panel panel(paper);
    const std::string out = panel.run({"-i", "-k", "no/fb"}).out;
    EXPECT_TRUE(out.ends_with("can't open no/fb file for write framebuffer\n"));
    panel.run({"-i", "-k", "unmapped"}, "map:2");
    EXPECT_FALSE(std::filesystem::exists(panel.folder + "/unmapped"));
    panel.run({"-k", std::string(70, 'n')}, "get-work-buffer");
    EXPECT_TRUE(std::filesystem::exists(panel.folder + "/" + std::string(63, 'n')));
    // A disk that takes nothing: the line says what reached it.
    EXPECT_EQ(panel.run({"-k", "/dev/full"}).out, "write 0 byte @ADDRESS to /dev/full\n");
}

TEST(command, any_arguments_end_well)
{
    std::vector<strings> vectors = {strings(1000, "word"), strings(1000, "-v")};
    for (const std::string &line :
         words("- -o -oh -mf '-tf -o' '-z 2 107374182' '-a 99999999999' "
               "'-x 99999999999999999999 -y -99999999999 -sw=0' '-zf -- 2 -2147483648 -1' "
               "'-d l=FFFFFFFFFFFFFFFFF,w=99999999999,h=99999999999' '2147483647 2147483647 AB' "
               "'-vv -- 134217728 89478486 A' '-vv -- -2147483648 -2147483648 A'"))
        vectors.push_back(words(line));
    for (const char letter : std::string("hksdwxrjogb"))
        vectors.insert(vectors.end(),
                       {{{'-', letter}, std::string(10000, 'w')}, {{'-', letter}, ""}});
    for (const auto &arguments : vectors) {
        const run_result got = virtual_panel({40, 60, 48, 60, 8}).run(arguments);
        EXPECT_TRUE(got.status <= 1 && got.err.find("Sanitizer") == std::string::npos)
            << got.command << got.status << got.err;
    }
}

const std::string report = R"(
Fixed framebuffer info
    id:              epd-virtual    smem_start:       0x80000000
    smem_len:             776192    type:          PACKED_PIXELS
    type_aux:                  0    visual:          PSEUDOCOLOR
    xpanstep:                  0    ypanstep:                  1
    ywrapstep:                 0    line_length:             758
    mmio_start:       0x00000000    mmio_len:                  0
    accel:                     0

Variable framebuffer info
    xres:                    758    yres:                   1024
    xres_virtual:            758    yres_virtual:           1024
    xoffset:                   0    yoffset:                   0
    bits_per_pixel:            8    grayscale:                 1
    red.offset:                0    green.offset:              0
    red.length:                8    green.length:              8
    red.msb_right:             0    green.msb_right:           0
    blue.offset:               0    transp.offset:             0
    blue.length:               8    transp.length:             0
    blue.msb_right:            0    transp.msb_right:          0
    nonstd:                    0    activate:                  0
    width:                   122    height:                  165
    accel_flags:               0    pixclock:              28000
    left_margin:              16    right_margin:             16
    upper_margin:             16    lower_margin:             16
    hsync_len:                 4    vsync_len:                 4
    sync:                      0    vmode:                     0
    rotate:                    0
DPI: 157.813115 157.633939 157
waveform type = 8
material type = 1
temperature = 25 (C)

Color map
    start:                     0    len:                       2
    n       red     green      blue
    0         0         0         0
    1      ffff      ffff      ffff
)";

TEST(report, devices)
{
    const std::string access = "tavo: print_fb_info> cannot access ";
    const struct {
        const char *arguments, *settings, *faults;
        geometry shape;
        std::vector<std::pair<std::string, std::string>> changed; // against the texts above
    } reports[] = {
        // clang-format off
        {"-i", "", "", paper, {{"\nColor[^]*", ""}}},
        {"-i a b", "", "get-fscreeninfo get-vscreeninfo:2 get-material-type", paper,
            {{"\nFixed[^]*accel: +0\n", access + "fixed framebuffer info\n"},
             {"\nVariable[^]*DPI.*\n", access + "variable framebuffer info\n"},
             {"material type = 1", "cannot get material type err=-1"}, {"\nColor[^]*", ""}}},
        {"-i x", "", "", paper,
            {{"  2\n", "256\n"}, {"1( +ffff.*)", "1       101       101       101\n   ff$1"}}},
        {"-i x", "id 0123456789abcdef\ntype 9\nvisual 12\nmm 0x4294967295\ntemperature -5\n"
            "waveform-type 4294967295\n", "", {600, 800, 608, 1600, 1},
            {{"     epd-virtual", "0123456789abcdef"}, {"776192", "121600"},
             {"PACKED_PIXELS", "            9"}, {"PSEUDOCOLOR", "         12"},
             {"(line_length: +)758", "$01 76"}, {"(xres: +)758", "$01600"},
             {"(yres: +)1024", "$01 800"}, {"(xres_virtual: +)758", "$01608"},
             {"(yres_virtual: +)1024", "$011600"},
             {"(pixel|length)(:           +)8", "$1$021"}, {"122", "  0"}, {"165", " -1"},
             {"DPI.*", "DPI: inf 0.000005 0"}, {"form type = 8", "form type = -1"}, {"25", "-5"}}},
        {"-i x", "mm 0x0\ntype 5\nvisual 6\n",
            "get-waveform-type get-material-type get-temperature get-cmap", paper,
            {{"PACKED_PIXELS", "            5"}, {"PSEUDOCOLOR", "          6"}, {"122", "  0"},
             {"165", "  0"}, {"DPI.*", "DPI: inf inf 0"},
             {"(waveform type|material type|temperature) = .*", "cannot get $1 err=-1"},
             {"\nColor[^]*", access + "cmap\n"}}},
        // clang-format on
    };
    for (const auto &row : reports) {
        run_result got =
            virtual_panel(row.shape, row.settings).run(words(row.arguments), row.faults);
        got.out = rewritten(got.out, {{"\n +([2-9a-f]|(?!ff)\\w\\w)( +\\w+){3}(?=\n)", ""}});
        got.expect("0" + rewritten(report, row.changed), canvas(row.shape));
    }
}

/// Commands that between them make every call that the tool makes, and those calls.
const std::string commands[] = {
    "3 5 hello",   "-c -f",        "-n -c",        "-k wb.raw",    "-i -k fb.raw",         "-i x",
    "-b dump.raw", "-b image.raw", "-o image.raw", "-g image.pgm", "-t image.pgm out.raw", "-j in"};
const strings calls = words(
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

/// Whatever fails, the tool ends by itself, tells the truth and closes up.
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
                if (call.ends_with("-read") && command[1] != 'j') { // nothing is missing
                    const run_result wanted = faulty_panel().run(words(command));
                    EXPECT_EQ(got.out, wanted.out);
                    EXPECT_TRUE(got.memory == wanted.memory);
                }
                const bool told = got.status == 1 || command[1] != 't' ||
                                  got.out.find("open_device> cannot") != std::string::npos;
                EXPECT_TRUE(told || panel.read("out.raw").size() == panel.shape.screen());
            }
}
} // namespace
