#!/usr/bin/env bash
# Checks what the linked tool is made of: its size, the libraries that it needs, and that each of
# its calls for devices, maps, requests and sleeps is one that the virtual panel answers.
# Usage: binary_test.sh TOOL MOST_BYTES [PANEL_LIBRARY]    (no library: a static tool)
set -euo pipefail
tool=$1 most=$2 panel=${3:-}

fail()
{
    echo "$tool: $*"
    exit 1
}

symbols()  # of a file, without their versions
{
    "${NM:-nm}" -D "$1" "$2" | awk '{ sub(/@.*/, "", $NF); print $NF }' | sort -u
}

bytes=$(stat -c %s "$tool")
echo "$bytes bytes, at most $most"
((bytes <= most)) || fail "too large"

needed=$("${READELF:-readelf}" -d "$tool" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' | sort | xargs)
echo "needs: ${needed:-nothing}"
# The loader itself holds the stack protector's value on ARM.
[[ ${needed% ld-linux-armhf.so.3} == "${panel:+libc.so.6}" ]] || fail "needs other libraries"
[[ $panel ]] || exit 0

# open, open64, __open_2, openat...; mmap64; __ioctl_time64; compiler and libc decide on the name.
calls='^_*(f?(re)?open|creat|ioctl|mmap|mremap|mlock|close|dup|syscall|.*sleep|p?poll|p?select)'
used=$(symbols --undefined-only "$tool" | grep -E "$calls")
for call in open ioctl mmap usleep close; do
    grep -q "$call" <<<"$used" || fail "$call is not among the calls: ${used//$'\n'/ }"
done
unanswered=$(comm -23 <(echo "$used") <(symbols --defined-only "$panel"))
[[ -z $unanswered ]] || fail "the virtual panel does not answer: ${unanswered//$'\n'/ }"
echo "answered: ${used//$'\n'/ }"
