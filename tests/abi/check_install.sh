#!/usr/bin/env bash
# Installs the build into a fresh prefix and builds and runs the examples against it, through the CMake package and
# through pkg-config. Usage: check_install.sh BUILD_DIR SOURCE_DIR
set -euo pipefail
build=$1 source=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cmake --install "$build" --prefix "$work/prefix" >/dev/null

cmake -S "$source/examples" -B "$work/examples" -DCMAKE_PREFIX_PATH="$work/prefix" >/dev/null
cmake --build "$work/examples" >/dev/null
"$work/examples/minimal_c" | grep -qE '^level behind the limiter: -1[0-9]\.[0-9] dB$'
"$work/examples/minimal_cpp" >"$work/output"
grep -q 'peak at the end: 0.501' "$work/output"

# The pkg-config file holds the prefix that the build was configured with.
pc=$(dirname "$(find "$work/prefix" -name vantoro.pc)")
flags=$(PKG_CONFIG_PATH=$pc pkg-config --define-variable=prefix="$work/prefix" --cflags --libs vantoro)
configured=$(sed -nE 's/^prefix=(.*)$/\1/p' "$pc/vantoro.pc")
# shellcheck disable=SC2086
cc "$source/examples/minimal.c" ${flags//"$configured"/"$work/prefix"} -lm -o "$work/minimal"
LD_LIBRARY_PATH=$(dirname "$(find "$work/prefix" -name 'libvantoro.so')") "$work/minimal" >/dev/null
for example in "$source"/examples/minimal.c*; do
    [ "$(wc -l <"$example")" -lt 80 ] || { echo "$example has 80 lines or more" >&2; exit 1; }
done
