// The command tavo-panel: its messages, what the command gets, what is left, and other programs.
#include "run_case.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace {
const std::string gc16 = update_line("PARTIAL", 2);

/// A call of tavo-panel on the panel of the case, which is a small one.
run_case on_panel(const shell_words &args, run_case c)
{
    c.args = {"--state ../state " + args.text, args.file, args.line};
    c.runs = program::panel;
    c.screen = {32, 20, 40, 30, 8};
    return c;
}

/// A call of tavo-panel without a state folder, of which nothing may be left.
run_case alone(const shell_words &args, run_case c)
{
    c.args = args;
    c.runs = program::panel;
    c.environment += " TMPDIR=.";
    return c;
}

run_case refused(const shell_words &args, const std::string &message)
{
    return alone(args, {.err = "tavo-panel: " + message + "\n", .status = 2});
}

run_case no_setting(const shell_words &option, const std::string &word)
{
    return refused({option.text + " " + word + " true", option.file, option.line},
                   option.text + " cannot be \"" + word + "\" (see --help)");
}

const std::string never_opened = "tavo-panel: the command never opened the panel\n";
const std::string draws_on_device =
    ": the panel cannot be loaded into it, and it would draw on a real device\n";
const std::string fault_list =
    " is no fault: NAME, NAME:2, NAME:1-3 or NAME:2-, with a NAME of\n  open\n  map\n"
    "  get-vscreeninfo\n  get-fscreeninfo\n  get-cmap\n  update\n  wait\n  get-hold\n  set-hold\n"
    "  release-hold\n  get-work-buffer\n  get-waveform-type\n  get-material-type\n"
    "  get-temperature\n  read\n  write\n  short-read\n  short-write\n  eintr-read\n"
    "  eintr-write\n  calloc\n  aligned_alloc";

/// A file of strokes with a line that is none.
run_case no_stroke(const shell_words &line)
{
    run_case c = refused({"--touch strokes true", line.file, line.line},
                         "strokes:3: a line is \"X Y\", \"2: X Y\", \"up\" or \"2: up\"");
    c.given = {{"strokes", "10: 1 2\n# 3\n" + line.text + "\n"}};
    c.name = "no stroke " + line.text;
    return c;
}

const test_file victim = {"victim", "precious\n", 0644};
const test_file foreign = {"foreign", "\177ELF\1\1\1" + std::string(60, '\0'), 0755};
const painter bands =
    levels([](const geometry &, int x, int y) { return 255 - 17 * (x / 8 + y / 5 * 4); });

// clang-format off
const run_case messages[] = {
    refused("", "no command given (see --help)"),
    refused("--what true", "unknown option --what (see --help)"),
    refused("-x true", "unknown option -x (see --help)"),
    refused("--state", "--state needs a word after it (see --help)"),
    no_setting("--bpp", "33"), no_setting("--size", "0x5"), no_setting("--size", "65536x5"),
    no_setting("--size", "5x"), no_setting("--size", "5:5"), no_setting("--size", "5x5x"),
    no_setting("--mm", "4294967296x1"), no_setting("--second-size", "5x5/5"),
    no_setting("--regions", "none"),
    refused("--virtual 8x2000 true", "the virtual size 8x2000 is below the visible size 758x1024"),
    refused("--virtual 2000x8 true", "the virtual size 2000x8 is below the visible size 758x1024"),
    refused("--fail updat true", "\"updat\"" + fault_list),
    alone("true", {.err = "tavo-panel: \"wai\"" + fault_list + "\n", .status = 2,
     .environment = "TAVO_PANEL_FAIL=wai"}),
    refused("--fail 'map update:0' true", "\"update:0\"" + fault_list),
    refused("--fail update:3-2 true", "\"update:3-2\"" + fault_list),
    refused("--fail map --fail wait:2x true", "\"wait:2x\"" + fault_list),
    refused("--view 65536 true", "--view cannot be \"65536\": a port is 1 to 65535"),
    refused("--view=8o true", "--view cannot be \"8o\": a port is 1 to 65535"),
    refused("--touch none true", "cannot read none: No such file or directory"),
    refused("--state no/x true", "cannot make the folder no/x: No such file or directory"),
    refused("--state /tmp true", "/tmp must be a folder of yours that others cannot write to"),
    refused("--frames /dev/null true", "cannot use the folder /dev/null: Not a directory"),
    refused("--frames /dev/null/x true", "cannot use the folder /dev/null/x: Not a directory"),
    no_stroke("4"), no_stroke("1 2 3"), no_stroke("up 1"), no_stroke("11: 1 2"),
    no_stroke("0: 1 2"), no_stroke("x 1"),
    alone(R"(sh -c 'tavo-panel --help | sed -n "1p; /aligned_alloc/,/^\$/p; \$p"')", {.out =
     "usage: tavo-panel [options] [--] command [arguments]\n  aligned_alloc\n\n"
     "  tavo-panel --state /tmp/panel --fail \"update:1-3\" -- sh -c 'tavo -c && tavo -i'\n",
     .err = never_opened}),
    alone("--version", {.out = "tavo-panel 1.2.0\n"}),
    alone("./script", {.err = "tavo-panel: /sbin/ldconfig is statically linked" + draws_on_device,
     .status = 126, .given = {{"script", "#! /sbin/ldconfig -p\n", 0755}}}),
    alone("ldconfig", {.err = "tavo-panel: /sbin/ldconfig is statically linked" + draws_on_device,
     .status = 126, .environment = "PATH=" PROGRAMS_FOLDER "::/sbin"}),
    alone("chage", {.err = "tavo-panel: /usr/bin/chage has rights that its caller has not "
     "(set-user-ID, set-group-ID or file capabilities)" + draws_on_device, .status = 126,
     .environment = "PATH=" PROGRAMS_FOLDER ":/usr/bin"}),
    alone("./foreign", {.err = "tavo-panel: ./foreign is built for another processor than the "
     "panel" + draws_on_device, .status = 126, .given = {foreign}}),
    alone("./none", {.err = "tavo-panel: cannot run ./none: No such file or directory\n",
     .status = 127}),
    alone("--png no/x.png sh -c 'tavo -l; exit 7'", {.out = gc16, .err =
     "tavo-panel: cannot write no/x.png: No such file or directory\n", .status = 7}),
    alone(R"(sh -c 'TMPDIR= tavo-panel sh -c "echo \${TAVO_PANEL_STATE%.*}"')",
     {.out = "/tmp/tavo-panel\n", .err = never_opened + never_opened}),
    // What is no file is not replaced; through a link the real device is safe from a fault.
    alone("sh -c 'ln -s /dev/full full; tavo-panel --png full tavo -l; echo $?; rm full'",
     {.out = gc16 + "1\n", .err = "tavo-panel: cannot write full: No space left on device\n" +
     never_opened}),
};

const run_case runs[] = {
    on_panel("--fail update:1-2 --fail wait tavo -s '' -f", {.requests =
     "fault update:1; update 0,0 WxH wave=2 full -> -1; sleep 500000; fault update:2; "
     "update 0,0 WxH wave=2 full -> -1; sleep 500000; update 0,0 WxH wave=2 full; "
     "fault wait:1; wait marker=42 -> -1", .err = "retrying.. -1retrying.. -1"}),
    on_panel(R"(sh -c 'tavo-panel --state ../state --summary --frames film sh -c "
            for wave in du a2 gc16 gl16 reagl reagld gck16 glkw16 none; do
                tavo -w \$wave -s w=1; tavo -w \$wave -s w=1 -f
            done; tavo -x -1 -s w=1 -f" >said
        ls film | cut -d - -f 4 | uniq; rm -r film said')", {.requests = anything, .out =
     "du\na2\ngc16\ngl16\nreagl\nreagld\ngck16\nglkw16\nauto\n", .err =
     "retrying.. -1retrying.. -1retrying.. -1retrying.. -1retrying.. -1"
     "tavo-panel: updates 18, full 9, refused 6, panel time 8110 ms\n"}),
    on_panel("--trace sh -c 'tavo -n 2>&1 | tail -n 2'", {.requests =
     "get-hold 1; set-hold 0; release-hold 0", .out =
     "panel: release-hold 0 -> 0\npanel: close -> 0\n"}),
    on_panel("tavo -s '' -f", {.requests =
     "update 0,0 WxH wave=2 full; fault wait:1; wait marker=42 -> -1",
     .out = update_line("FULL", 2), .environment = "TAVO_PANEL_FAIL=wait"}),
    // libc works while the device is not open (it is no directory); one byte is not shortened. A
    // device is there already.
    on_panel(R"(--fail short-read:2- perl -e '
        sysopen F, "/dev/fb0", 0200000; open G, "<", "victim"; print sysread(G, $_, 5);
        sysopen F, "/dev/fb0", 0300; print sysread(F, my $to, $_) for 1, 9, 9, 9')", {.requests =
     "open -> -1; open; fault short-read:2; fault short-read:3", .out = "51944",
     .given = {victim}}),
    // Nor are messages kept back.
    on_panel(R"(--fail write perl -e 'open F, "<", "/dev/fb0"; syswrite STDERR, "text"')",
     {.requests = "open", .err = "text"}),
    // The caller's libraries and options stay; the state's path is absolute.
    on_panel(R"(--fail wait sh -c '
        cd /; echo $LD_PRELOAD $ASAN_OPTIONS $TAVO_PANEL_FAIL; test -p $TAVO_PANEL_STATE/touch')",
     {.out = PANEL_LIBRARY ":libm.so.6 verify_asan_link_order=0:verify_asan_link_order=0 wait\n",
     .err = never_opened, .environment = "LD_PRELOAD=libm.so.6 TAVO_PANEL_FAIL=map"}),
    // A kill is passed on, and what the command left running is ended with it.
    alone("sh -c 'kill -TERM $PPID; sleep 30; :'", {.status = 143}),
    alone("sh -c 'kill -HUP $PPID; sleep 30'", {.status = 129}),
    alone("sh -c 'panel=$PPID; (sleep 0.2; kill $panel; sleep 30) & exit 3'", {.status = 3}),
    // What goes on drawing is waited for; what the log has from earlier runs does not count.
    on_panel(R"(sh -c 'tavo -s "" -f
        tavo-panel --state ../state --summary sh -c "(sleep 0.2; exec tavo -l) & exit 3"')",
     {.draws = bands, .requests = anything, .out = update_line("FULL", 2) + gc16, .err =
     "tavo-panel: updates 1, full 0, refused 0, panel time 450 ms\n", .status = 3}),
    // A log that the command empties.
    on_panel(R"(sh -c 'tavo -s "" -f
        tavo-panel --state ../state --summary sh -c ": >../state/log; tavo -s w=1 -w du"')",
     {.requests = "update 0,0 1x20 wave=1 partial", .out = update_line("FULL", 2) +
     update_line("PARTIAL", 1), .err =
     "tavo-panel: updates 1, full 0, refused 0, panel time 260 ms\n"}),
    // Settings stay, a virtual size goes with its visible one, and so do the files.
    on_panel(R"(sh -c 'tavo-panel --state s --size 9x8 --virtual 10x11 --bpp 4 tavo -s ""
        tavo-panel --state s --mm 1x2 --size 7x6 true; tavo-panel --state s --bpp 2 tavo -s ""
        cat s/panel; stat -c "%a %n" s s/*; wc -c <s/memory; wc -c <s/glass; rm -r s')",
     {.out = gc16 + gc16 + "id epd-virtual\nregions screen\nsize 7x6\nvirtual 7x6\nmm 1x2\n"
     "bpp 2\ntype 0\nvisual 3\nwaveform-type 8\nmaterial-type 1\ntemperature 25\nnumbered 0\n"
     "700 s\n600 s/glass\n600 s/log\n600 s/memory\n600 s/panel\n600 s/touch\n600 s/wanted\n"
     "10\n42\n", .err = never_opened + never_opened}),
    // No link out of the folder is followed, and no FIFO waited for.
    on_panel(R"(sh -c '
        for file in memory glass wanted hold log panel; do
            for link in "ln -s ../victim" "ln victim" mkfifo; do
                tavo-panel --state s tavo -n -s "" >s.out 2>&1; rm s/$file; $link s/$file
                tavo-panel --state s tavo -n -s "" >s.out 2>&1; rm -r s s.out
            done
        done')", {.err = never_opened, .given = {victim}}),
    // A folder that nobody prepared: what its settings leave out; and others may write to it.
    on_panel(R"(sh -c 'mkdir -m 700 s; echo size 7x6 >s/panel; export TAVO_PANEL_STATE=s
        fbset | grep -o geo.*; chmod 702 s; tavo -l; rm -r s')",
     {.out = "geometry 7 6 7 6 8\n"
     "tavo: open_device> cannot open framebuffer device \"/dev/fb0\"\n", .err = never_opened}),
    on_panel("true", {.err = "panel: ../state/panel: cannot take \"colour 1\"\n"
     "tavo-panel: cannot use the settings in ../state\n", .status = 2, .settings = "colour 1\n"}),
    // No part of a picture is left that cannot be completed.
    on_panel(R"(sh -c 'exec 2>/dev/null
        tavo-panel --state ../state --png p.png sh -c "echo size x >../state/panel"; echo $?')",
     {.out = "1\n", .err = never_opened}),
    // A panel that cannot be made leaves the one on which it was called.
    on_panel("sh -c 'TMPDIR=/none tavo-panel true 2>/dev/null; echo $?; tavo -l'", {.draws = bands,
     .requests = anything, .out = "2\n" + gc16}),
    // Paths from which the library cannot be preloaded directly.
    on_panel(R"(sh -c 'for folder in "a b" a:b; do
            mkdir "$folder"; ln $(dirname $(command -v tavo))/*tavo-panel* "$folder"
            "$folder/tavo-panel" --state s sh -c "tavo -n; echo \$LD_PRELOAD" | cut -c 1-15
            rm -r "$folder" s
        done')", {.out = "/tmp/tavo-panel\n/tmp/tavo-panel\n", .err = never_opened}),
    // Four at once: no update and no setting is lost.
    on_panel(R"(--summary sh -c '
        for w in 1 2 3 4; do
            (for i in 1 2 3 4 5 6 7 8 9; do
                tavo-panel --state ../state --mm ${i}x$w tavo -s ""
            done) &
        done; wait')", {.requests = anything, .out = anything,
     .err = "tavo-panel: updates 36, full 0, refused 0, panel time 16200 ms\n"}),
    // Other programs see the same panel: a picture of it can be put back.
    on_panel(R"(sh -c 'fbset -i | grep -Eo "geometry.*|epd.*|Len.*"
        fbcat >screen; tavo -n -d l=255,w=32,h=20; tavo -g screen; rm screen')",
     {.requests = anything, .out = "geometry 32 20 40 30 8\nepd-virtual\nLength  : 40\n" + gc16}),
    // Colours up to the last one, and an update with a number of its own in every field.
    on_panel(R"(perl -e 'open F, "+<", "/dev/fb0"; my @colours = map "$_ stay", 1 .. 3;
        ioctl(F, 0x4604, $_ = pack("L2 P P P x8", 254, 4, @colours));
        print join(" ", unpack "S2 a*"), "\n" for @colours;
        ioctl(F, 0x4050462e, $_ = pack("L9 x32 L3", 1 .. 5, 16 .. 22));
        system("tail -n 2 ../state/log")')",
     {.requests = anything, .out = "65278 65535 ay\n65278 65535 ay\n65278 65535 ay\n"
     "get-cmap start=254 len=4 -> 0\nupdate 2,1 3x4 wave=5 mode=16 marker=17 temperature=18 "
     "flags=19 tail=21,22 reserved -> 0, 450 ms\n"}),
    // A descriptor from the process before, and another size at the second look.
    on_panel(R"(--second-size 9x8/11x12 sh -c 'exec 3</dev/fb0; perl -e "open F, q(<&=3);
        for my \$look (1, 2) {
            ioctl(F, 0x4600, \$_ = q(x) x 160); print join(q( ), unpack q(L4), \$_), q(.)
        }"')",
     {.requests = "open; close; get-vscreeninfo; get-vscreeninfo", .out =
     "32 20 40 30.9 8 11 12."}),
    // The driver's errors: an unknown request, no address, a colour past the end and without an
    // address, then regions (top, left, width, height).
    on_panel(R"(perl -e 'open F, "+<", "/dev/fb0"; $_ = "x" x 80;
        sub ask { print ioctl(F, $_[0], $_[1]) ? 0 : $! + 0, " " }
        ask(0x1234, $_); ask(0x4600, 0);
        ask(0x4604, $_) for pack("L2 x32", 256, 0), pack("L2 x32", 255, 0), pack("L2 x32", 255, 1);
        ask(0x4050462e, pack("l4 x64", @$_)) for [0, 0, 32, 20], [19, 31, 1, 1],
            [0, 1, 32, 20], [1, 0, 32, 20], [0, -1, 5, 5], [-1, 0, 5, 5], [0, 0, 0, 5],
            [0, 0, 5, 0], [2147483647, 0, 1, 1], [0, 2147483647, 1, 1];
        system("head -n 6 ../state/log")')",
     {.requests = anything, .out = "25 14 22 0 14 0 0 22 22 22 22 22 22 22 22 "
     "open -> 0\nunknown 0x1234 -> -1\nget-vscreeninfo -> -1\nget-cmap start=256 len=0 -> -1\n"
     "get-cmap start=255 len=0 -> 0\nget-cmap start=255 len=1 -> -1\n"}),
    // Depths without grays: the glass stays white, and so is the working buffer.
    on_panel(R"(sh -c 'tavo-panel --state s --size 2x1 --bpp 32 perl -e "
            open F, qq(+<), qq(/dev/fb0); syswrite F, qq(xxxxxxxx);
            ioctl(F, 0x4050462e, \$_ = pack(qq(l4 x64), 0, 0, 2, 1));
            ioctl(F, 0xc0044634, \$_ = qq(x) x 4); print unpack qq(H8), \$_"
        od -An -t x1 s/glass; rm -r s')", {.out = "ffffffff ff ff\n", .err = never_opened}),
    // The settings are read at each open, and what the file has no longer is the default again; the
    // millimetres are 88 bytes into the report.
    on_panel(R"(--mm 7x6 perl -e 'open F, "+<", "/dev/fb0";
        system("printf \"size 32x20\nvirtual 40x30\nsecond-size 9x8\n\" >../state/panel");
        open F, "+<", "/dev/fb0";
        for my $i (1, 2) {
            ioctl(F, 0x4600, my $info = "x" x 160);
            print join(" ", unpack("L4 x72 L2", $info)), "\n"
        }')",
     {.requests = anything, .out = "32 20 40 30 165 122\n9 8 9 8 165 122\n"}),
    // A device is neither emptied nor made longer.
    on_panel("sh -c ': >/dev/fb0; printf x >>/dev/fb0'", {.draws = [](canvas &c) {
     c.memory[0] = 'x'; }, .requests = "open; close; open"}),
    // Lock limits are small in containers: nothing is locked.
    on_panel("sh -c 'tavo -b ../state/touch & sleep 0.2; grep VmLck /proc/$!/status; kill $!'",
     {.requests = "not closed", .out = "VmLck:\t       0 kB\n"}),
    on_panel(R"(sh -c 'tavo -n -s ""; cat ../state/hold; tavo -n; cat ../state/hold')",
     {.requests = anything, .out = gc16 + "1\n0\n"}),
    // Strokes as the records of a 32-bit kernel; more of them than the FIFO holds; and no reader.
    on_panel(R"(--touch strokes perl -e 'open F, "<", "../state/touch"; read F, my $events, 432;
        for (unpack "(a16)*", $events) {
            my ($seconds, $microseconds, @event) = unpack "L2 S2 l";
            print "@event", abs(time - $seconds) < 99 && $microseconds < 1e6 ? "\n" : " late\n";
        }')",
     {.out = "3 47 0\n3 57 0\n3 53 10\n3 54 20\n0 0 0\n3 47 1\n3 57 1\n3 53 -30\n3 54 40\n0 0 0\n"
     "3 57 -1\n0 0 0\n3 47 0\n3 53 10\n3 54 21\n0 0 0\n3 47 1\n3 57 1\n3 53 1\n3 54 2\n"
     "0 0 0\n3 47 0\n3 57 -1\n0 0 0\n3 47 1\n3 57 -1\n0 0 0\n", .err = never_opened,
     .given = {{"strokes", "# two fingers\n10 20\n2: -30 40\n2: up\n\n10 21\n2: 1 2\nup\n"}}}),
    on_panel(R"(sh -c 'yes 1 2 | head -n 2000 >many
        tavo-panel --state s --touch many sh -c "head -c 96016 s/touch | wc -c"; rm -r many s')",
     {.out = "96016\n", .err = never_opened + never_opened}),
    on_panel(R"(sh -c 'cd ../state; mv touch real
        for make in "ln -s real" "cp panel"; do
            $make touch; tavo-panel --state . true 2>&1 | cut -d " " -f 3-; rm touch
        done')", {.out = "is not a FIFO of yours: Too many levels of symbolic links\n"
     "is not a FIFO of yours: Operation not permitted\n", .err = never_opened}),
    // The glass is white at first.
    on_panel(R"(sh -c 'echo 1 2 >one
        tavo-panel --state s --touch one --png white true 2>&1 | cut -d / -f 1
        tavo -n -g white; rm -r one white s')",
     {.draws = rectangle(0, 0, 32, 20, 255), .requests = "get-hold 1; set-hold 0; release-hold 0",
     .out = never_opened + "tavo-panel: nobody read all strokes from \n"}),
    // A picture goes through a link, at the end.
    on_panel(R"(sh -c 'touch p.png; ln -s p.png link
        tavo-panel --png link sh -c "tavo -l; sleep 0.1; wc -c <p.png"
        head -c 4 p.png | tail -c 3; rm p.png link')",
     {.out = gc16 + "0\nPNG", .err = never_opened}),
    // A frame for each update, with numbers that go on; the picture comes while the command runs.
    on_panel(R"(sh -c 'play() { tavo-panel --state ../state --png p.png --frames film "$@"; }
        tavo -l # a picture may be one of the glass before the next update
        play sh -c "tavo -l; until test -s p.png; do sleep 0.02; done; tavo -n -c; tavo -g p.png"
        echo $?
        cmp film/0001* film/0002*; rm film/0001*; touch film/other.png
        play sh -c "cd /; tavo -x 1 -y 2 -s w=3,h=4 -w du -f"
        ls film; cmp -s film/000* && echo same; cmp film/0003* p.png; rm -r film p.png')",
     {.draws = in_order({white, bands}), .requests = anything, .out = gc16 + gc16 + gc16 + "0\n" +
     update_line("FULL", 1) + "0002-0,0-32x20-gc16-partial.png\n0003-1,2-3x4-du-full.png\n"
     "other.png\n"}),
};
// clang-format on

/// A function of the preloaded library, for calls that no program at hand makes.
template <class function>
function *from_library(function *, const char *name)
{
    static void *const library = dlopen(PANEL_LIBRARY, RTLD_NOW);
    return reinterpret_cast<function *>(dlsym(library, name));
}
#define PANEL(name) from_library(&name, #name)

class panel_library : public testing::Test {
protected:
    panel_library() { setenv("TAVO_PANEL_STATE", (panel.folder + "/state").c_str(), 1); }
    ~panel_library() override
    {
        unsetenv("TAVO_PANEL_STATE");
        unsetenv("TAVO_PANEL_FAIL");
    }
    const virtual_panel panel{{.screen = {64, 100, 64, 100, 8}}};
};

TEST_F(panel_library, opens_streams)
{
    for (const auto &[mode, letters] : {std::pair("rb+", "abc"), std::pair("we", "de")}) {
        FILE *const stream = PANEL(fopen)("/dev/fb0", mode);
        ASSERT_NE(stream, nullptr);
        EXPECT_EQ(fputs(letters, stream), 1);
        EXPECT_EQ(fclose(stream), 0);
    }
    EXPECT_EQ(panel.read("state/memory").substr(0, 4), "dec\"");
}

TEST_F(panel_library, maps_the_pages_that_the_memory_has)
{
    const size_t page = size_t(sysconf(_SC_PAGESIZE)), size = 6400, end = (size / page + 1) * page;
    const int fd = PANEL(open)("/dev/fb0", O_RDONLY);
    const auto map = [fd](size_t length, int protection, size_t offset) {
        void *const at =
            PANEL(mmap64)(nullptr, length, protection, MAP_SHARED, fd, off64_t(offset));
        return at == MAP_FAILED ? errno : munmap(at, length);
    };
    EXPECT_EQ(map(end, PROT_READ, 0), 0);
    EXPECT_EQ(map(page, PROT_READ, end - page), 0);
    EXPECT_EQ(map(page + 1, PROT_READ, end - page), EINVAL);
    EXPECT_EQ(map(1, PROT_READ, end), EINVAL);
    EXPECT_EQ(map(1, PROT_READ, 0 - page), EINVAL);
    EXPECT_EQ(map(1, PROT_WRITE, 0), EACCES);
    EXPECT_EQ(PANEL(close)(fd), 0);
    EXPECT_TRUE(panel.read("state/log").ends_with("map 1 offset=0 shared -> -1\nclose -> 0\n"));
}

TEST_F(panel_library, gives_errors)
{
    uint32_t word = 0;
    const int fd = PANEL(open)("/dev/fb0", O_RDONLY);
    setenv("TAVO_PANEL_FAIL", "open map get-hold read calloc", 1);
    EXPECT_TRUE(PANEL(open)("/dev/fb0", O_RDWR) < 0 && errno == ENODEV);
    void *const at = PANEL(mmap64)(nullptr, 1, PROT_READ, MAP_SHARED, fd, 0);
    EXPECT_TRUE(at == MAP_FAILED && errno == EAGAIN);
    EXPECT_TRUE(PANEL(ioctl)(fd, 0x40044634, &word) < 0 && errno == EIO);
    EXPECT_TRUE(PANEL(read)(fd, &word, 1) < 0 && errno == EIO);
    using checked_read = ssize_t(int, void *, size_t, size_t); // of a fortified program
    errno = 0;
    EXPECT_TRUE(from_library<checked_read>(nullptr, "__read_chk")(fd, &word, 1, 1) < 0 &&
                errno == EIO);
    EXPECT_TRUE(PANEL(calloc)(1, 1) == nullptr && errno == ENOMEM);
    PANEL(close)(fd);
}

INSTANTIATE_TEST_SUITE_P(panel_messages, tool, testing::ValuesIn(messages), name_of_case);
INSTANTIATE_TEST_SUITE_P(panel_runs, tool, testing::ValuesIn(runs), name_of_case);
} // namespace
