#!/usr/bin/env bash
# Runs the examples as cron would, on the virtual panel, and compares its glass with pictures.
# usage: examples_test.sh PROGRAMS [write]: the folder of tavo and tavo-panel; write makes the pictures
# shellcheck disable=SC2016 # what stubs and texts hold is not for this shell
set -euo pipefail
cd "$(dirname "$0")/../examples"
programs=$1 write=${2:-}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

fail() { echo "examples: $*" >&2; exit 1; }
stub() { printf '#!/bin/sh\n%s\n' "$2" >"$work/$1" && chmod +x "$work/$1"; }
# panel OPTION... EXAMPLE ARGUMENT...: leaves what is said in the file "said".
panel() {
    env -i PATH="$work:$programs:/usr/bin:/bin" "$programs/tavo-panel" "$@" >"$work/said" 2>&1
}
quiet() { { panel "$@" && [[ ! -s $work/said ]]; } || fail "$*: $(<"$work/said")"; }

# shows MOST SIZE EXAMPLE ARGUMENT...: says nothing, and shows the picture in the tree, but for MOST
# pixels that differ by more than one gray of sixteen: ImageMagick's letters and scaled pictures
# depend on its version a little.
shows() {
    local most=$1 size=$2 picture=pictures/$3.png example=$PWD/$3 differ
    quiet --size "$size" --png "$work/glass.png" "$example" "${@:4}"
    [[ $write != write ]] || convert "$work/glass.png" -strip -depth 4 "$picture"
    differ=$(compare -metric AE -fuzz 7% "$picture" "$work/glass.png" null: 2>&1) || true
    printf -v differ %.0f "${differ%% *}"
    [[ $differ -le $most ]] || fail "$example: $differ pixels are not as in $picture"
}

stub date 'exec /bin/date -u -d "2026-11-23 09:41" "$@"'
stub uname '[ "$1" = -n ] && echo reading-room || echo Linux 6.1.0'
stub uptime 'echo " 09:41:00 up 3 days, load average: 0.31, 0.24, 0.18"'
stub cat '[ $# != 0 ] || exec /bin/cat; printf "MemTotal: 510000 kB\nMemAvailable: 380000 kB\n"'
stub df 'printf "%s 0 0%% %s\n" "/dev/mmcblk0p2 3964000 2581000" / "/dev/sda1 61000000 9600000" /srv'
convert pictures/lake.jpg -rotate 270 -quality 95 "$work/turned.jpg"
{ # the same with EXIF data that say so
    printf '\377\330\377\341\0\042Exif\0\0MM\0\052\0\0\0\010\0\001\001\022\0\003\0\0\0\001\0\006\0\0\0\0\0\0'
    tail -c +3 "$work/turned.jpg"
} >"$work/a:photo%d"

shows 200 758x1024 clock -f
shows 0 758x1024 status -f pictures/lake.png
shows 100 800x600 photo-frame "$work/a:photo%d"
shows 0 600x500 label M4-20 "Screws" "M4 x 20, steel, zinc-plated" "200 pieces" "Shelf 12"
shows 0 758x1024 qr-code "WIFI:T:WPA;S:guests;P:welcome42;;" "Wireless network for guests"
[[ $(zbarimg --quiet --raw --nodbus "$work/glass.png") == "WIFI:T:WPA;S:guests;P:welcome42;;" ]] || fail "no QR code"
shows 0 758x1024 message-board "Reading room" <pictures/messages.txt
shows 100 600x800 landscape <pictures/departures.txt

# Any text, and an animation whose first frame is clear, which means white.
for text in 'Grüße: 50 %' '-x' '' '%s\n\0 @f $(x)' $'two\nlines\t' "$(printf '%99s' W)" $'\377\360'; do
    quiet "$PWD/label" A "$text" "$text"
    quiet "$PWD/qr-code" "-$text" "$text"
    quiet "$PWD/message-board" "$text" <<<"$text"
    quiet "$PWD/landscape" <<<"$text"
done
convert -size 40x30 xc:none xc:black "$work/animation.gif"
quiet --png "$work/glass.png" "$PWD/photo-frame" "$work/animation.gif"
[[ $(identify -format '%[fx:mean]' "$work/glass.png") == 1 ]] || fail "the clear frame is not white"

# Other sizes, from where a package has them; the label has no room on the smallest.
mkdir -p "$work/share/doc/tavo" && cp -r "$PWD" "$work/share/doc/tavo"
cp -r ../shell "$work/share/tavo"
for size in 800x480 1448x1072 250x122; do
    for example in clock "status -f $PWD/pictures/lake.png" "qr-code a b" "photo-frame $PWD/pictures/lake.jpg"; do
        # shellcheck disable=SC2086 # words of a command
        quiet --size $size "$work/share/doc/tavo/examples/"$example
    done
done

# Each call ends with a status and one line, and shows nothing.
while IFS='|' read -r status line arguments; do
    eval "set -- $arguments"
    code=0
    panel --size 250x122 --state "$work/refused" "$PWD/$1" "${@:2}" || code=$?
    [[ $code == "$status" && $(wc -l <"$work/said") == 1 ]] && grep -qF "$line" "$work/said" &&
        ! grep -qs ' -> 0, ' "$work/refused/log" || fail "$*: $code, $(<"$work/said")"
done <<'END'
2|usage: clock [-f]|clock -h
2|usage: status [-f [PICTURE]]|status -h
2|usage: photo-frame FILE|photo-frame -h
2|usage: photo-frame FILE|photo-frame
2|usage: label CODE TITLE [LINE...]|label -h
2|usage: label CODE TITLE [LINE...]|label A
2|usage: qr-code TEXT [LINE]|qr-code -h
2|usage: qr-code TEXT [LINE]|qr-code
2|usage: message-board HEADING <MESSAGES|message-board -h
2|usage: message-board HEADING <MESSAGES|message-board
2|usage: landscape <TEXT|landscape -h
1|status: cannot read /none|status -f /none
1|photo-frame: cannot read /none|photo-frame /none
1|photo-frame: cannot read .|photo-frame .
1|label: the panel is too small for a label with this code|label A b
1|label: a code has up to 22 characters|label ABCDEFGHIJKLMNOPQRSTUVW b
1|qr-code: there is no text to encode|qr-code ""
1|qr-code: the panel is too small for this text|qr-code "$(printf "%999s" x)"
END
stub convert 'exit 127'
for example in clock landscape; do
    ! panel "$PWD/$example" </dev/null && grep -q 'convert or its font is missing' "$work/said" ||
        fail "$example without convert: $(<"$work/said")"
done
stub df 'exit 1' && stub uptime 'exit 1'
quiet "$PWD/status"
echo "examples: as in their pictures"
