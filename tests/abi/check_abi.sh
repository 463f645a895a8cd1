#!/usr/bin/env bash
# The shared library's outside: check_abi.sh LIBRARY HEADER_DIR [PREFIX_OF_BINUTILS]. Fails when
#   - a function declared in a public header is not exported, or something else is;
#   - the library needs more than libc and libm, or its soname lacks the major version;
#   - a public header does not compile alone as C11 and as C++17.
set -euo pipefail
library=$1 headers=$2 cross=${3:-}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() { echo "check_abi: $*" >&2; exit 1; }

# Declared: functions by the compiler's own list of prototypes, data by the extern lines.
public=$(cd "$headers" && grep -rl '^#ifndef VANTORO_' --include=*.h . | sort)
echo '#include "vantoro.h"' >"$work/all.c"
"${cross}gcc" -std=c11 -Wall -Wextra -Wpedantic -Werror -I"$headers" -aux-info "$work/prototypes" -fsyntax-only "$work/all.c"
{
    grep -F "$headers" "$work/prototypes" | sed -E 's/^.*[ *]([A-Za-z_0-9]+) \(.*$/\1/'
    (cd "$headers" && grep -hE '^extern ' $public) | sed -E 's/^.*[ *]([A-Za-z_0-9]+)(\[[^]]*\])?;.*$/\1/'
} | sort -u >"$work/declared"
"${cross}nm" -D --defined-only "$library" | awk '{print $3}' | sort -u >"$work/exported"
diff "$work/declared" "$work/exported" >"$work/diff" || fail "declared (<) and exported (>) names differ:
$(cat "$work/diff")"

needed=$("${cross}readelf" -d "$library" | sed -nE 's/.*\(NEEDED\).*\[(.*)\]/\1/p' | sort | tr '\n' ' ')
case "$needed" in
    "libc.so.6 " | "libc.so.6 libm.so.6 " | "ld-linux-aarch64.so.1 libc.so.6 libm.so.6 " | "libc.so.6 libm.so.6 ld-linux-aarch64.so.1 ") ;;
    *) fail "needs $needed" ;;
esac
"${cross}readelf" -d "$library" | grep -q 'SONAME.*libvantoro\.so\.1\]' || fail "wrong soname"

for header in $public; do
    printf '#include "%s"\n#include "%s"\ntypedef int not_empty;\n' "$header" "$header" >"$work/one.c"
    cp "$work/one.c" "$work/one.cpp"
    "${cross}gcc" -std=c11 -Wall -Wextra -Wpedantic -Werror -I"$headers" -fsyntax-only "$work/one.c"
    "${cross}g++" -std=c++17 -Wall -Wextra -Wpedantic -Werror -I"$headers" -fsyntax-only "$work/one.cpp"
    grep -qF "\"${header#./}\"" "$headers/vantoro.h" || [[ $header == ./common/api.h || $header == ./vantoro.h ]] || fail "$header is not in vantoro.h"
done
echo "$(wc -l <"$work/exported") names exported, $(echo "$public" | wc -l) public headers"
