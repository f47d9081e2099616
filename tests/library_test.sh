#!/usr/bin/env bash
# Compares pages by shell/tavo.sh, in three shells with the programs of busybox alone, with the same
# by plain calls of the tool. usage: library_test.sh PROGRAMS: the folder of tavo and tavo-panel
# shellcheck disable=SC2016 # what is quoted is for the shells that are tested
set -u
programs=$1 tree=$(cd "$(dirname "$0")/.." && pwd) failed=0 count=0
root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT
mkdir "$root/bin" && cd "$root" || exit
busybox=$(type -P busybox) dash=$(type -P dash)
[[ $busybox && $dash ]] || { echo "library: install the packages busybox and dash" && exit 1; }
for applet in $("$busybox" --list); do ln -s "$busybox" "bin/$applet"; done
ln -s "$programs/tavo" bin/tavo
ln -s "$tree/examples/pictures/lake.png" -- -lake.png

# run PANEL FAULT SHELL... FILE: runs the commands in the file on a panel of 18 by 20 text cells.
run() {
    rm -rf "$1"
    PATH=$root/bin "$programs/tavo-panel" --size 300x500 --state "$1" ${2:+--fail "$2"} -- "${@:3}" \
        <-lake.png >"$1.said" 2>&1
}

# Each row has what a script does after tavo_begin, the same by plain calls of tavo, what it says,
# its status, and the driver's faults. The drawn page and what shows of it are compared.
while IFS='|' read -r page plain said status fault; do
    fault=${fault# }
    printf 'set -eu\n. "%s"\n%s\n' "$tree/shell/tavo.sh" "tavo_begin; $page" >page
    printf 'tavo -n -c; %s\n' "$plain" >plain
    run wanted "" "$dash" plain
    printf '%s%d' "${said:+page:${said% }$'\n'}" "${status:-0}" >wanted.said
    for shell in "$busybox sh" "$dash" "$BASH"; do
        # shellcheck disable=SC2086 # the shell may be two words
        run found "$fault" $shell page
        printf '%d' $? >>found.said
        count=$((count + 1))
        cmp -s wanted.said found.said && cmp found/memory wanted/memory &&
            cmp found/glass wanted/glass && [[ $(cat found/hold 2>&1) != 1 ]] && continue
        echo "FAILED in $shell: $page: $(<found.said)"
        failed=1
    done
done <<'ROWS'
tavo_text 3 5 -hello|tavo -n 2 5 " -hello"
tavo_text 0 0 "Größe “x” – 50 %" -h|tavo -n -h 0 0 'Groesse "x" - 50 pct'
tavo_text 0 1 "Łódź, 5 €; $(printf 'a\tb\r\nc\302\240\377日x\314\201')"|tavo -n 0 1 "Lodz, 5 EUR, a b c "
tavo_text 1 1 "$(printf 'a\tb\r\nc\302\240\377日x\314\201…')"|tavo -n 1 1 "a b c ??x..."
tavo_text 15 2 "éàüabc"; tavo_text 18 2 x; tavo_text 0 20 x; tavo_text 00 019 '$(x)\'|tavo -n 15 2 eau; tavo -n 0 19 'USD(x)/'
tavo_text 0 0 ""; tavo_text $((tavo_columns - 1)) $((tavo_rows - 1)) "$tavo_depth"|tavo -n 17 19 8
tavo_box -10 5 030 08 8f; tavo_box 290 -4 99 9 0|tavo -n -y 5 -d l=8f,w=20,h=8; tavo -n -x 290 -d l=0,w=10,h=5
tavo_box 300 0 9 9 0; tavo_box 0 500 9 9 0; tavo_box 0 9 0 9 0; tavo_box -9 0 9 9 0|:
tavo_picture -lake.png; tavo_picture - 10 200|tavo -n -g -lake.png; tavo -n -x 10 -y 200 -g -lake.png
tavo_draw -n -q; tavo_begin -k; tavo_show -f -w du|tavo -n -q; tavo -s '' -f -w du
tavo_draw -n -q; tavo_show -w a2; tavo_begin|tavo -n -q; tavo -s '' -w a2; tavo -n -c
tavo_draw -n -r A|tavo -n -r A
tavo_text -1 0 a|:| COLUMN is negative|1
if ! tavo_text 0 1x a; then tavo_text 0 1 "and on"; fi|tavo -n 0 1 "and on"| ROW is not a whole number
tavo_text 0 0 a -hf|:| no such option of a text|1
tavo_box 0 0 9 -9 0|:| HEIGHT is negative|1
tavo_box 0 0 9 9 100|:| GRAY is not 0 to ff|1
tavo_picture none|:| tavo: paint_image> cannot open "none":can't fopen|1
tavo_picture -lake.png 0 -1|:| Y is negative|1
tavo_show -f x|:| usage: tavo_show [-f] [-w WAVEFORM]|1
tavo_draw -n 0 0 %|:| tavo: paint_char> character "%" not available|1
tavo_draw -n 17 0 ab|tavo -n 17 0 a| tavo: pixel_in_range> (304, 24) pixel not in range (0..300, 0..500)|1
tavo_show|:| the driver refused the update|1|update
tavo_draw -n -q; tavo_show|tavo -n -q; tavo -s ''| the driver refused the update|1|update:1-5
tavo_draw -n -q; tavo_show|tavo -n -q; tavo -s ''|||update:1-4
:|:| tavo: open_device> cannot map framebuffer|1|map:1
tavo -n -s '' >said; exit 3|tavo -s ''||3
tavo -n -s '' >said; false|tavo -s ''||1
tavo -n -s '' >said; kill -HUP $$|tavo -s ''||129
tavo -n -s '' >said; kill -INT $$|tavo -s ''||130
tavo -n -s '' >said; kill -TERM $$|tavo -s ''||143
ROWS
echo "library: $count pages compared"
exit $failed
