#!/usr/bin/env bash
# Checks the size of the linked tool, and which libraries it needs.
# Usage: binary_test.sh TOOL MOST_BYTES [LIBRARY]
set -euo pipefail
tool=$1 most=$2 library=${3:-}

fail()
{
    echo "$tool: $*"
    exit 1
}

bytes=$(stat -c %s "$tool")
echo "$bytes bytes, at most $most"
((bytes <= most)) || fail "too large"

needed=$("${READELF:-readelf}" -d "$tool" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' | sort | xargs)
echo "needs: ${needed:-nothing}"
# The loader itself holds the stack protector's value on ARM.
[[ ${needed% ld-linux-armhf.so.3} == "$library" ]] || fail "needs other libraries"
