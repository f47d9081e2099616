#!/usr/bin/env bash
# Tests the command tavo-panel: its messages, what the command gets, what is left of it, and other
# programs on its device. usage: panel_test.sh PROGRAMS [CASE...]: the folder of tavo and tavo-panel
# shellcheck disable=SC2016,SC2317 # texts in quotes are for Perl and other shells; cases are called
set -u
programs=$1
shift
only=" $* " failed=0 count=0
root=$(mktemp -d)
trap '[[ $failed != 0 ]] || rm -rf "$root"' EXIT
unset "${!TAVO_PANEL@}" LD_PRELOAD ASAN_OPTIONS
export PATH=$programs:$PATH TMPDIR=.

# gives CASE: runs the function CASE in an empty folder, beside the state of a small panel, and
# compares what comes out with standard input: what it prints, then standard error with "! " before
# each line, a temporary folder that is left, and the status after "= " if it is not 0.
gives() {
    local work=$root/$1 status=0
    [[ $only == "  " || $only == *" $1 "* ]] || return
    mkdir -p "$work/files" "$work/state"
    printf 'size 32x20\nvirtual 40x30\n' >"$work/state/panel"
    cat >"$work/wanted"
    (cd "$work/files" && "$1") </dev/null >"$work/out" 2>"$work/err" || status=$?
    {
        cat "$work/out"
        sed 's/^/! /' "$work/err"
        (cd "$work/files" && ls -d tavo-panel.* 2>/dev/null)
        [[ $status == 0 ]] || echo "= $status"
    } >"$work/found"
    count=$((count + 1))
    diff --unified "$work/wanted" "$work/found" && return
    echo "FAILED: $1, and everything is in $work"
    failed=1
}

panel() { tavo-panel --state ../state "$@"; }
quietly() { "$@" >/dev/null 2>&1; }
# Requests as the panel's log has them, without what is the same in every run.
requests() { grep -vE '^(open|close|map|get-vscreeninfo) ' ../state/log; }

# Each line is a call of tavo-panel, "|", and its message. Nothing runs, and the status is 2.
refused() {
    while IFS='|' read -r arguments message; do
        eval "tavo-panel $arguments" 2>err </dev/null
        echo "$?: $(head -n 1 err)" >found
        echo "2: tavo-panel: ${message# }" | diff - found
    done <<'END'
| no command given (see --help)
--what true| unknown option --what (see --help)
-x true| unknown option -x (see --help)
--state| --state needs a word after it (see --help)
--bpp 33 true| --bpp cannot be "33" (see --help)
--size 65536x5 true| --size cannot be "65536x5" (see --help)
--size 5x true| --size cannot be "5x" (see --help)
--size 5x5x true| --size cannot be "5x5x" (see --help)
--mm 4294967296x1 true| --mm cannot be "4294967296x1" (see --help)
--second-size 5x5/5 true| --second-size cannot be "5x5/5" (see --help)
--regions none true| --regions cannot be "none" (see --help)
--virtual 8x2000 true| the virtual size 8x2000 is below the visible size 758x1024
--virtual 2000x8 true| the virtual size 2000x8 is below the visible size 758x1024
--fail "map update:0" true| "update:0" is no fault: NAME, NAME:2, NAME:1-3 or NAME:2-, with a NAME of
--fail updat true| "updat" is no fault: NAME, NAME:2, NAME:1-3 or NAME:2-, with a NAME of
--fail update:3-2 true| "update:3-2" is no fault: NAME, NAME:2, NAME:1-3 or NAME:2-, with a NAME of
--fail map --fail wait:2x true| "wait:2x" is no fault: NAME, NAME:2, NAME:1-3 or NAME:2-, with a NAME of
--view 65536 true| --view cannot be "65536": a port is 1 to 65535
--view=8o true| --view cannot be "8o": a port is 1 to 65535
--touch none true| cannot read none: No such file or directory
--state no/x true| cannot make the folder no/x: No such file or directory
--state /tmp true| /tmp must be a folder of yours that others cannot write to
--frames /dev/null true| cannot use the folder /dev/null: Not a directory
--frames /dev/null/x true| cannot use the folder /dev/null/x: Not a directory
END
    ls
}
gives refused <<'END'
err
found
END

wrong_strokes() {
    for line in 4 '1 2 3' 'up 1' '11: 1 2' '0: 1 2' 'x 1'; do
        printf '10: 1 2\n# 3\n%s\n' "$line" >strokes
        tavo-panel --touch strokes true 2>&1
    done | uniq -c | tr -s ' '
}
gives wrong_strokes <<'END'
 6 tavo-panel: strokes:3: a line is "X Y", "2: X Y", "up" or "2: up"
END

help_and_version() {
    tavo-panel --help | sed -n '1p; /aligned_alloc/,/^$/p; $p'
    tavo-panel --version
}
gives help_and_version <<'END'
usage: tavo-panel [options] [--] command [arguments]
  aligned_alloc

  tavo-panel --state /tmp/panel --fail "update:1-3" -- sh -c 'tavo -c && tavo -i'
tavo-panel 1.2.0
END

programs_that_cannot_be_loaded() {
    printf '#! /sbin/ldconfig -p\n' >script
    { printf '\177ELF\1\1\1' && head -c 60 /dev/zero; } >foreign
    chmod +x script foreign
    for program in ./script ldconfig chage ./foreign ./none; do
        PATH=$programs::/sbin:/usr/bin tavo-panel "$program" 2>&1
        echo "= $?"
    done | sed 's/: the panel cannot be loaded into it, and it would draw on a real device$/: NO/'
}
gives programs_that_cannot_be_loaded <<'END'
tavo-panel: /sbin/ldconfig is statically linked: NO
= 126
tavo-panel: /sbin/ldconfig is statically linked: NO
= 126
tavo-panel: /usr/bin/chage has rights that its caller has not (set-user-ID, set-group-ID or file capabilities): NO
= 126
tavo-panel: ./foreign is built for another processor than the panel: NO
= 126
tavo-panel: cannot run ./none: No such file or directory
= 127
END

# The command's status counts more than the picture.
picture_that_cannot_be_written() {
    tavo-panel --png no/x.png sh -c 'tavo -n; exit 7'
    echo $?
    ln -s /dev/full full # what is no file is not replaced: the real device is safe from a fault
    tavo-panel --png full tavo -n
}
gives picture_that_cannot_be_written <<'END'
7
! tavo-panel: cannot write no/x.png: No such file or directory
! tavo-panel: cannot write full: No space left on device
= 1
END

# The caller's libraries and options stay; the state's path is absolute. $TMPDIR may be empty.
environment() {
    LD_PRELOAD=libm.so.6 ASAN_OPTIONS=verify_asan_link_order=0 TAVO_PANEL_FAIL=map \
        panel --fail wait sh -c '
        cd /; echo ${LD_PRELOAD##*/} $ASAN_OPTIONS $TAVO_PANEL_FAIL; test -p $TAVO_PANEL_STATE/touch'
    TMPDIR='' tavo-panel sh -c 'echo "${TAVO_PANEL_STATE%.*}"'
}
gives environment <<'END'
libtavo-panel.so:libm.so.6 verify_asan_link_order=0:verify_asan_link_order=0 wait
/tmp/tavo-panel
! tavo-panel: the command never opened the panel
! tavo-panel: the command never opened the panel
END

# Paths from which the library cannot be preloaded directly.
folders_with_blanks_and_colons() {
    for folder in 'a b' a:b; do
        mkdir "$folder"
        ln "$programs"/*tavo-panel* "$folder" 2>/dev/null || cp "$programs"/*tavo-panel* "$folder"
        "$folder/tavo-panel" sh -c 'tavo -n; echo "$LD_PRELOAD"' | cut -c 1-15
    done
}
gives folders_with_blanks_and_colons <<'END'
/tmp/tavo-panel
/tmp/tavo-panel
END

# A kill is passed on, and what the command left running is ended with it.
kills() {
    timeout 20 tavo-panel sh -c 'kill -TERM $PPID; sleep 30; :'
    echo $?
    timeout 20 tavo-panel sh -c 'panel=$PPID; (sleep 0.2; kill $panel; sleep 30) & exit 3'
}
gives kills <<'END'
143
= 3
END

# What goes on drawing is waited for; what the log has from earlier runs does not count.
summary() {
    quietly panel tavo -s '' -f
    panel --summary sh -c '(sleep 0.2; exec tavo -l) >said & exit 3'
    panel --summary --fail update:1-2 tavo -s '' >said
    panel --summary sh -c ': >../state/log; tavo -s w=1 -w du' >said # the command empties it
}
gives summary <<'END'
! tavo-panel: updates 1, full 0, refused 0, panel time 450 ms
! retrying.. -1retrying.. -1tavo-panel: updates 1, full 0, refused 2, panel time 450 ms
! tavo-panel: updates 1, full 0, refused 0, panel time 260 ms
END

# Faults from the options, from the environment, and of libc: while the device is not open it works
# (a directory cannot be opened so); one byte is not shortened; messages are not kept back.
faults() {
    env TAVO_PANEL_FAIL=wait tavo-panel --state ../state tavo -n -s '' -f >/dev/null
    panel --fail update:1-2 --fail wait tavo -s '' -f >/dev/null
    requests | grep -v ' 0,0 ' | paste -sd ';'
    echo 123456 >victim
    panel --fail short-read:2- perl -e 'sub fb { sysopen F, "/dev/fb0", $_[0] }
        fb 0200000; open G, "<", "victim"; print sysread(G, $_, 5);
        fb 0300; print sysread(F, my $to, $_) for 1, 9, 9, 9'
    panel --fail write perl -e 'open F, "<", "/dev/fb0"; syswrite STDERR, "\ntext\n"'
    # The call after one that a signal ended works, and nothing is lost.
    panel --fail eintr-read perl -e 'open F, "<", "/dev/fb0"; sysread STDIN, $_, 0; open F, "victim";
        print "\n"; print sysread(F, $_, 2) ? $_ : $! + 0, " " for 1 .. 6'
    panel --fail open:2 --fail get-hold --fail read perl -e '
        open F, "+<", "/dev/fb0" for 1, 2; print "\n", $! + 0;
        open F, "+<", "/dev/fb0"; ioctl F, 0x40044634, my $word = "word"; print " ", $! + 0;
        sysread(F, $_, 1) // print " ", $! + 0, "\n"'
}
gives faults <<'END'
get-hold 1 -> 0;set-hold 0 -> 0;fault wait:1;wait marker=42 -> -1;fault update:1;sleep 500000;fault update:2;sleep 500000;fault wait:1;wait marker=42 -> -1
51944
4 12 4 34 4 56 
19 5 5
! retrying.. -1retrying.. -1
! text
END

settings() {
    quietly tavo-panel --state s --size 9x8 --virtual 10x11 --bpp 4 tavo -s ''
    quietly tavo-panel --state s --mm 1x2 --size 7x6 true # the virtual size was the old one's
    quietly tavo-panel --state s --bpp 2 tavo -s ''
    { cat s/panel && stat -c '%a' s && stat -c '%a %n %s' s/[!l]*; } | paste -sd ';'
}
gives settings <<'END'
id epd-virtual;regions screen;size 7x6;virtual 7x6;mm 1x2;bpp 2;type 0;visual 3;waveform-type 8;material-type 1;temperature 25;numbered 0;700;600 s/glass 42;600 s/memory 10;600 s/panel 138;600 s/touch 0;600 s/wanted 42
END

# No link out of the folder is followed, and no FIFO waited for.
links() {
    echo precious >victim
    for file in memory glass wanted hold log panel; do
        for link in 'ln -s ../victim' 'ln victim' mkfifo; do
            quietly tavo-panel --state s tavo -n -s ''
            rm "s/$file"
            $link "s/$file"
            quietly tavo-panel --state s tavo -n -s ''
            rm -r s
        done
    done
    cat victim
    mv ../state/touch real 2>/dev/null || mkfifo real
    for make in 'ln -s ../files/real' 'cp ../state/panel'; do
        $make ../state/touch
        panel true 2>&1 | cut -d ' ' -f 3-
        rm ../state/touch
    done
}
gives links <<'END'
precious
is not a FIFO of yours: Too many levels of symbolic links
is not a FIFO of yours: Operation not permitted
END

# A folder that nobody prepared: what its settings leave out; and others may write to it.
folders() {
    mkdir -m 700 s && echo size 7x6 >s/panel
    tavo-panel sh -c 'export TAVO_PANEL_STATE=s; fbset | grep -o geo.*; chmod 702 s; tavo -l'
    panel sh -c 'TMPDIR=/none tavo-panel true; echo $?; tavo -n' 2>&1 |
        sed 's/panel\.....*:/panel.XXXXXX:/' # which leaves the caller's panel
}
gives folders <<'END'
geometry 7 6 7 6 8
tavo: open_device> cannot open framebuffer device "/dev/fb0"
tavo-panel: cannot make the folder /none/tavo-panel.XXXXXX: No such file or directory
2
! tavo-panel: the command never opened the panel
END

wrong_settings() {
    # No part of a picture is left that cannot be completed.
    panel --png p.png timeout 20 sh -c 'tavo -n; until [ -e p.png ]; do sleep 0.01; done
        echo size x >../state/panel; rm -f p.png' 2>/dev/null
    echo $?
    ls
    echo colour 1 >../state/panel
    panel true
}
gives wrong_settings <<'END'
1
! panel: ../state/panel: cannot take "colour 1"
! tavo-panel: cannot use the settings in ../state
= 2
END

four_at_once() { # no update and no setting is lost
    panel --summary sh -c '
        for w in 1 2 3 4; do
            (for i in 1 2 3 4 5 6 7 8 9; do
                tavo-panel --state ../state --mm ${i}x$w tavo -s "" >/dev/null
            done) &
        done; wait'
}
gives four_at_once <<'END'
! tavo-panel: updates 36, full 0, refused 0, panel time 16200 ms
END

# Other programs see the same panel: a picture of it can be put back. A device is neither emptied
# nor made longer.
other_programs() {
    panel sh -c 'fbset -i | grep -Eo "geometry.*|epd.*|Len.*"
        tavo -n -l; fbcat >screen; cp ../state/memory memory
        : >/dev/fb0; printf x >>/dev/fb0; cmp memory ../state/memory
        tavo -n -d l=255,w=32,h=20; tavo -n -g screen'
    cmp -n 800 memory ../state/memory
    panel sh -c 'tavo -n -s "" >said; cat ../state/hold; tavo -n; cat ../state/hold'
}
gives other_programs <<'END'
geometry 32 20 40 30 8
epd-virtual
Length  : 40
memory ../state/memory differ: byte 1, line 1
1
0
END

# Colours up to the last one, and an update with a number of its own in every field.
records() {
    panel perl -e 'open F, "+<", "/dev/fb0"; my @colours = map "$_ stay", 1 .. 3;
        ioctl(F, 0x4604, $_ = pack("L2 P P P x8", 254, 4, @colours));
        print join(" ", unpack "S2 a*"), "\n" for @colours;
        ioctl(F, 0x4050462e, $_ = pack("L9 x32 L3", 1 .. 5, 16 .. 22))'
    requests
}
gives records <<'END'
65278 65535 ay
65278 65535 ay
65278 65535 ay
get-cmap start=254 len=4 -> 0
update 2,1 3x4 wave=5 mode=16 marker=17 temperature=18 flags=19 tail=21,22 reserved -> 0, 450 ms
END

# A descriptor from the process before, and another size at the second look. Settings are read at
# each open, and what the file has no longer is the default again; the millimetres are 88 bytes into
# the report.
second_look() {
    panel --mm 7x6 --second-size 9x8/11x12 sh -c 'exec 3</dev/fb0; exec "$@"' - perl -e '
        sub look { ioctl F, 0x4600, my $info = "x" x 160; print "@{[unpack q(L4 x72 L2), $info]}\n" }
        open F, "<&=3"; look for 1, 2;
        system "printf \"size 32x20\nvirtual 40x30\nsecond-size 9x8\n\" >../state/panel";
        open F, "+<", "/dev/fb0"; look'
}
gives second_look <<'END'
32 20 40 30 6 7
9 8 11 12 6 7
9 8 9 8 165 122
END

# An unknown request, no address, a colour past the end and without an address, then regions (top,
# left, width, height).
refused_requests() {
    panel perl -e 'open F, "+<", "/dev/fb0"; $_ = "x" x 80;
        sub ask { print ioctl(F, $_[0], $_[1]) ? 0 : $! + 0, " " }
        ask(0x1234, $_); ask(0x4600, 0);
        ask(0x4604, $_) for pack("L2 x32", 256, 0), pack("L2 x32", 255, 0), pack("L2 x32", 255, 1);
        ask(0x4050462e, pack("l4 x64", @$_)) for [0, 0, 32, 20], [19, 31, 1, 1],
            [0, 1, 32, 20], [1, 0, 32, 20], [0, -1, 5, 5], [-1, 0, 5, 5], [0, 0, 0, 5],
            [0, 0, 5, 0], [2147483647, 0, 1, 1], [0, 2147483647, 1, 1]; print "\n"'
    head -n 6 ../state/log | paste -sd ';'
}
gives refused_requests <<'END'
25 14 22 0 14 0 0 22 22 22 22 22 22 22 22 
open -> 0;unknown 0x1234 -> -1;get-vscreeninfo -> -1;get-cmap start=256 len=0 -> -1;get-cmap start=255 len=0 -> 0;get-cmap start=255 len=1 -> -1
END

# Strokes as the records of a 32-bit kernel. Who does not touch is not lifted.
strokes() {
    printf '%s\n' '# two fingers' up '10 20' '2: -30 40' '2: up' '' '2: up' '10 21' '2: 1 2' up >strokes
    panel --touch strokes perl -e 'open F, "<", "../state/touch"; read F, my $events, 432;
        for (unpack "(a16)*", $events) {
            my ($seconds, $microseconds, @event) = unpack "L2 S2 l";
            print abs(time - $seconds) < 99 && $microseconds < 1e6 ? "" : "late ",
                "@event" eq "0 0 0" ? "\n" : "@event, ";
        }'
}
gives strokes <<'END'
3 47 0, 3 57 0, 3 53 10, 3 54 20, 
3 47 1, 3 57 1, 3 53 -30, 3 54 40, 
3 57 -1, 
3 47 0, 3 53 10, 3 54 21, 
3 47 1, 3 57 1, 3 53 1, 3 54 2, 
3 47 0, 3 57 -1, 
3 47 1, 3 57 -1, 
! tavo-panel: the command never opened the panel
END

# More strokes than the FIFO holds, and none that somebody reads. The glass is white at first.
strokes_without_end() {
    yes 1 2 | head -n 2000 >many
    panel --touch many sh -c 'head -c 96016 ../state/touch | wc -c'
    tavo-panel --size 3x2 --touch many --png white true 2>&1 | cut -d / -f 1
    quietly panel sh -c 'tavo -c -d l=0,w=9,h=1; tavo -g white'
    head -c 5 ../state/memory | od -An -t x1
}
gives strokes_without_end <<'END'
96016
tavo-panel: the command never opened the panel
tavo-panel: nobody read all strokes from 
 ff ff ff 00 00
! tavo-panel: the command never opened the panel
END

# A frame for each update, with numbers that go on; the picture comes while the command runs.
frames() {
    panel --summary --frames waves sh -c '
        for wave in du a2 gc16 gl16 reagl reagld gck16 glkw16 none; do
            tavo -w $wave -s w=1; tavo -w $wave -s w=1 -f
        done' >/dev/null
    find waves -name '*.png' | sort | cut -d - -f 4 | uniq | paste -sd ' '
    play() { panel --png p.png --frames film "$@" >/dev/null; }
    tavo-panel --state ../state tavo -l >/dev/null
    # A picture may be one of the glass before the next update.
    play sh -c 'tavo -l; until test -s p.png; do sleep 0.02; done; tavo -n -c; tavo -g p.png'
    cmp film/0001* film/0002*
    rm film/0001*
    touch film/other.png
    play sh -c 'cd /; tavo -x 1 -y 2 -s w=3,h=4 -w du -f'
    ls film
    cmp -s film/000* && echo same
    cmp film/0003* p.png
    panel --trace tavo -n 2>&1 | tail -n 2
}
gives frames <<'END'
du a2 gc16 gl16 reagl reagld gck16 glkw16 auto
0002-0,0-32x20-gc16-partial.png
0003-1,2-3x4-du-full.png
other.png
panel: release-hold 0 -> 0
panel: close -> 0
! tavo-panel: updates 18, full 9, refused 0, panel time 8110 ms
END

[[ $count != 0 ]] || failed=1
echo "panel: $count cases$([[ $failed == 0 ]] || echo ', of which some failed')"
exit $failed
