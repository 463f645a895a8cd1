#!/usr/bin/env bash
# Installs the build into a fresh prefix and builds and runs the examples against it, through the CMake package and
# through pkg-config, and the programs shown in the pages. Usage: check_install.sh BUILD_DIR SOURCE_DIR
set -euo pipefail
build=$1 source=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cmake --install "$build" --prefix "$work/prefix" >/dev/null

cmake -S "$source/examples" -B "$work/examples" -DCMAKE_PREFIX_PATH="$work/prefix" >/dev/null
cmake --build "$work/examples" >/dev/null
"$work/examples/minimal_c" | grep -qE '^level after the limiter: -1[0-9]\.[0-9] dB$'
"$work/examples/minimal_cpp" >"$work/output"
grep -q 'peak at the end: 0.501' "$work/output"

# The archive: a C project, and nothing of the library is left to find when the program runs.
mkdir "$work/static"
cat >"$work/static/CMakeLists.txt" <<END
cmake_minimum_required(VERSION 3.25)
project(static_product LANGUAGES C)
find_package(vantoro REQUIRED)
add_executable(product $source/examples/minimal.c)
target_link_libraries(product vantoro::static)
END
cmake -S "$work/static" -B "$work/static/build" -DCMAKE_PREFIX_PATH="$work/prefix" >/dev/null
cmake --build "$work/static/build" >/dev/null
"$work/static/build/product" >/dev/null
! readelf -d "$work/static/build/product" | grep -q vantoro || { echo "check_install: vantoro::static is not static" >&2; exit 1; }

PKG_CONFIG_PATH=$(dirname "$(find "$work/prefix" -name vantoro.pc)")
LD_LIBRARY_PATH=$(dirname "$(find "$work/prefix" -name 'libvantoro.so')")
export PKG_CONFIG_PATH LD_LIBRARY_PATH
# Every whole program of these pages compiles as it is shown, and runs.
for page in README.md docs/embedding.md; do
    awk -v file="$work/$(basename "$page" .md)_" '/^```$/ { shown = 0 }
        shown { print > (file count ".c") }
        /^```c$/ { shown = 1; ++count }' "$source/$page"
done
# (What needs an exported header is compiled by test 'export'.)
mapfile -t programs < <(grep -l '^int main' "$work"/README_*.c "$work"/embedding_*.c | xargs grep -L '^#include "')
[ ${#programs[@]} -ge 2 ] || { echo "check_install: the pages lost their programs" >&2; exit 1; }
for program in "$source/examples/minimal.c" "${programs[@]}"; do
    # shellcheck disable=SC2046
    cc -std=c11 -Wall -Wextra -Wpedantic -Werror "$program" $(pkg-config --cflags --libs vantoro) -lm -o "$work/program"
    "$work/program" >/dev/null
done
for example in "$source"/examples/minimal.c*; do
    [ "$(wc -l <"$example")" -lt 80 ] || { echo "$example has 80 lines or more" >&2; exit 1; }
done
