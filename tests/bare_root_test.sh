#!/bin/sh
# Runs the tool in a root folder without /dev, with every choice of closed standard streams: no text
# may reach the screen or the dump. bare_root_test.sh TOOL PANEL-LIBRARY. Only root can do that.
set -eu
[ "$(id -u)" = 0 ] || exit 77
tool=$1 library=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
ldd "$tool" "$library" | grep -o '/[^ :]*' | sort -u | xargs cp --parents -L -t "$work"
cp "$tool" "$work/tavo"
cp "$library" "$work/panel.so"
mkdir -m 700 "$work/state"

for closed in '' '0<&-' '1>&-' '2>&-' '0<&- 1>&-' '0<&- 2>&-' '1>&- 2>&-' '0<&- 1>&- 2>&-'; do
    rm -f "$work"/state/* "$work/dump"
    # A refused update has text for both streams, before the dump is opened.
    (eval "LD_PRELOAD=/panel.so TAVO_PANEL_STATE=/state exec chroot $work /tavo -x -1 -s '' -k /dump \
        </dev/null >$work/out 2>$work/err $closed")
    for file in state/memory dump; do
        [ -s "$work/$file" ] || { echo "no $file, $closed" && exit 1; }
        text=$(tr -d '\377' <"$work/$file" | head -c 99)
        [ -z "$text" ] || { echo "$file, $closed: $text" && exit 1; }
    done
done
