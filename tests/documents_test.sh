#!/usr/bin/env bash
# Runs the commands that the documents show, on the virtual panel, and looks for each option and for
# the version wherever they belong. usage: documents_test.sh PROGRAMS, the folder of the programs
# shellcheck disable=SC2016 # what documents hold is not for this shell
set -euo pipefail
cd "$(dirname "$0")/.."
programs=$1
documents=(README.md examples/README.md docs/{command-line,waveforms,virtual-panel,building,devices}.md)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

fail() { echo "documents: $*" >&2; exit 1; }
letters() { grep -oE -- '(Fl |-)[a-z]\b' | grep -o '[a-z]$' | sort -u; }
has() { grep -qF -- "$2" "$1" || fail "$1 lacks $2"; }

grep ' option_string\[\] = ' src/command_line.cpp | cut -d '"' -f 2 | grep -o '[a-z]' | sort -u \
    >"$work/letters"
diff "$work/letters" <(grep '^\.It Fl ' man/tavo.1 | letters) || fail "options in the man page"
diff "$work/letters" <(grep '^| `-' README.md | cut -d '|' -f 2 | letters) || fail "README's options"
diff "$work/letters" <(letters <completions/tavo) || fail "options in the completion"
for option in $("$programs/tavo-panel" --help | grep -oE -- '--[a-z][a-z-]+' | sort -u); do
    has completions/tavo-panel "$option"
    has man/tavo-panel.1 "Fl Fl ${option#--}"
done
version=$(sed -n 's/^project(tavo VERSION \([0-9.]*\) .*/\1/p' CMakeLists.txt)
strings "$programs/tavo" >"$work/strings"
has "$work/strings" "tavo $version"
has CHANGELOG.md "## $version"
has docs/building.md "/tavo-$version-armhf-static.tar.gz"
has man/tavo.1 ".Os tavo $version"
has man/tavo-panel.1 ".Os tavo $version"
has man/tavo.sh.7 ".Os tavo $version"

grep -ohE "gtest_filter='[^']+" docs/building.md CONTRIBUTING.md | cut -d "'" -f 2 | while read -r tests; do
    "$programs/tests/tavo-tests" --gtest_list_tests --gtest_filter="$tests" >"$work/tests"
    grep -q '^  ' "$work/tests" || fail "no test is called $tests"
done

# The folder in which a reader runs the commands, with the files that are his own.
mkdir -p "$work/tree/build" && cp -r README.md docs examples shell "$work/tree" && cd "$work/tree"
ln -s "$programs" build/release
ln -s "$programs"/*tavo* build
convert examples/pictures/lake.png -resize 200x photo.png
convert photo.png photo.jpg && cp photo.png logo.png

# Blocks of sh from where PATH is set (docs/devices.md has the calls before it), what is between
# backquotes, and the man page's examples. What needs a device is left out, and so is what installs,
# builds and packs: the other steps of scripts/test do that.
{
    echo 'set -ex'
    sed '1,/^## Two commands/d' "${documents[@]}" |
        awk '/^```/ { shown = $0 == "```sh"; next } shown'
    grep -ohE '`(tavo|tavo-panel [^`]* tavo) [^`]*`' "${documents[@]}" | tr -d '`'
    mandoc -T ascii -O width=200 "$OLDPWD/man/tavo.1" | sed 's/.\x08//g' |
        sed -n '/^EXAMPLES/,/^[A-Z]/s/^ *\$ //p'
} | grep -vE '^(scp|ssh|setcap|scripts/|cmake)|/etc/|/dev/input|/touch|--view|qemu-arm|PANEL_STATE|http|dashboard|kill' >"$work/commands"
panel=(env -i PATH=/usr/bin:/bin "$programs/tavo-panel" --state "$work/panel")
timeout 100 "${panel[@]}" bash "$work/commands" >"$work/said" 2>&1 || fail "$(tail -n 5 "$work/said")"
diff <(grep '^tavo: .*> ' "$work/said") - <<<"tavo: open_device> cannot map framebuffer" ||
    fail "a command complains, or the one that shall does not"

# The pages of the library's man page, as one script.
mandoc -T ascii "$OLDPWD/man/tavo.sh.7" | sed 's/.\x08//g' |
    sed -n '/^EXAMPLES/,/^SEE/s/^           //p' | sed 's,/usr/local/share/tavo,shell,' >"$work/page"
PATH=$programs:$PATH "$programs/tavo-panel" sh "$work/page" >"$work/said" 2>&1 || fail "$(<"$work/said")"
diff "$work/said" - <<<'page: tavo: paint_image> cannot open "weather.png":can'"'t fopen" || fail "a page complains"

# Blocks of console say what comes out, too.
awk '/^```/ { shown = $0 == "```console"; next } shown' "${documents[@]}" |
    sed "s,/tmp/panel,$work/another," >"$work/wanted"
{
    printf 'PATH=%s:$PATH PS4="\$ "\nset -x\n' "$PWD/build"
    sed -n 's/^\$ //p' "$work/wanted"
} >"$work/console"
"${panel[@]}" bash "$work/console" >"$work/found" 2>&1 || true
diff "$work/wanted" "$work/found" || fail "a command says something else"
echo "documents: as the programs do"
