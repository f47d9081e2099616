#!/bin/sh
# Checks that the tool decodes pictures of every format to the same pixels with NEON and without:
# neon_test.sh TOOL PANEL-LIBRARY EMULATOR...
set -eu
tool=$1 library=$2
shift 2
command -v convert >/dev/null || exit 77 # ImageMagick makes the pictures
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir "$work/panel"
"$(dirname "$0")/make-pictures" "$work/pictures" 150x107

decoded=0
for picture in "$work"/pictures/*; do
    for processor in cortex-a9 cortex-r5f; do # the second has no NEON
        "$@" -cpu $processor -E TAVO_PANEL_STATE="$work/panel" -E LD_PRELOAD="$library" \
            "$tool" -t "$picture" "$work/$processor" >"$work/message" || continue
        decoded=$((decoded + 1))
    done
    cmp "$work/cortex-a9" "$work/cortex-r5f"
done
echo "$decoded pictures decoded"
[ "$decoded" -ge 80 ]
