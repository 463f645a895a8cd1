#!/usr/bin/env bash
# The binary interface against the stored one: compare_abi.sh LIBRARY HEADER_DIR BASELINE [--renew]. Fails when a
# function went away or changed its parameters, or a record reachable from one changed its layout; new functions are
# compatible and pass. LIBRARY carries debug information. --renew writes BASELINE instead: after an addition, or with
# the next major version.
set -euo pipefail
library=$1 headers=$2 baseline=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
# Neither paths of the build nor what differs between processors and sanitizers is in the description.
abidw --exported-interfaces-only --drop-private-types --headers-dir "$headers" --no-show-locs --no-corpus-path \
    --no-comp-dir-path --no-elf-needed --no-architecture --type-id-style hash --out-file "$work/now.abi" "$library"
sed -i -E -e "s# path='[^']*/lib/# path='lib/#" -e "/<elf-symbol name='(__odr_asan|_ZNSt)/d" \
    -e "/<elf-symbol/s/ size='[0-9]+'//" "$work/now.abi"  # a sanitizer pads data and adds symbols
grep -q '<function-decl' "$work/now.abi" || { echo "compare_abi: $library has no debug information" >&2; exit 1; }
if [ "${4:-}" = --renew ]; then
    cp "$work/now.abi" "$baseline"
    exit
fi
abidiff --no-architecture --no-added-syms "$baseline" "$work/now.abi" || {
    echo "compare_abi: the binary interface changed, see above" >&2
    exit 1
}
names() { grep "type='func-type'" "$1" | sed -E "s/.* name='([^']*)'.*/\1/" | sort; }
names "$baseline" >"$work/stored"
names "$work/now.abi" | comm -13 "$work/stored" - | sed "s/^/compare_abi: not stored yet, see --renew: /"
echo "$(wc -l <"$work/stored") functions as stored"
