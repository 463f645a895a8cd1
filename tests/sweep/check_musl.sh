#!/usr/bin/env bash
# The same bits with another C library: links the archive statically with musl, and with nothing else, and compares with
# what is stored. Usage: check_musl.sh ARCHIVE SOURCE_DIR MUSL_DIR CXX
set -euo pipefail
archive=$1 source=$2 musl=$3 cxx=$4
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$source/tests"

for file in sweep/digest sweep/designs sweep/bare_runtime support/every_block support/signals; do
    "$cxx" -std=c++20 -O1 -ffp-contract=off -fno-exceptions -fno-rtti -fno-pie -U_FORTIFY_SOURCE -I. -I../lib \
        -c $file.cpp -o "$work/$(basename $file).o"
done
cd "$work"
part() { "$cxx" -print-file-name="$1"; }  # of GCC
for program in digest designs; do
    "$cxx" -static -nostdlib "$musl"/crt1.o "$musl"/crti.o "$(part crtbeginT.o)" $program.o bare_runtime.o every_block.o signals.o \
        "$archive" "$musl"/libc.a "$(part libgcc.a)" "$(part crtend.o)" "$musl"/crtn.o -o $program.musl
done

# White noise (2313) is drawn from rand(), which each C library makes in its own way.
for program in digest designs; do
    stored=$source/tests/sweep/$program.txt
    if ! diff <(./$program.musl 2>/dev/null | grep -v '^2313 ') <(grep -v '^2313 ' "$stored") >&2; then
        echo "check_musl: these blocks differ (< musl, > $program.txt)" >&2
        exit 1
    fi
    echo "$program: all but the white noise equal"
done
