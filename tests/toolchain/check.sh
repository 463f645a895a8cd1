#!/usr/bin/env bash
# Builds and installs the library alone as image builders do: a toolchain file, flags of their own, a staging directory,
# a fixed date; with the oldest GCC there is (optimised for size, at link time too) and with clang. Usage: check.sh SOURCE_DIR
set -euo pipefail
source=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() { echo "check: $compiler: $*" >&2; exit 1; }
export SOURCE_DATE_EPOCH=1710439927  # Mar 14 2024 18:12:07

# build COMPILER_C COMPILER_CXX FLAGS: into $work/COMPILER_C
build() {
    compiler=$1
    printf 'set(CMAKE_SYSTEM_NAME Linux)\nset(CMAKE_SYSTEM_PROCESSOR %s)\nset(CMAKE_C_COMPILER %s)\nset(CMAKE_CXX_COMPILER %s)
set(CMAKE_C_FLAGS_INIT "%s")\nset(CMAKE_CXX_FLAGS_INIT "%s")\n' "$(uname -m)" "$1" "$2" "$3" "$3" >"$work/$1.cmake"
    cmake -S "$source" -B "$work/$1" --toolchain "$work/$1.cmake" -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX=/usr \
        -DCMAKE_CXX_FLAGS_RELEASE=-DNDEBUG -DCMAKE_COMPILE_WARNING_AS_ERROR=ON -DCMAKE_EXPORT_COMPILE_COMMANDS=ON \
        -DBUILD_TESTING=OFF -DVANTORO_BUILD_HOST=OFF >"$work/$1.log"
    cmake --build "$work/$1" -j "$(nproc)" >>"$work/$1.log" || { cat "$work/$1.log" >&2; fail "does not build"; }
    DESTDIR=$work/$1.image cmake --install "$work/$1" >>"$work/$1.log"
}

check() {
    local image=$work/$compiler.image library
    library=$(find "$image" -name libvantoro.so)
    case "$3" in *-march=*)
        grep -q "^-- libvantoro .*, $march," "$work/$compiler.log" || fail "the configuration does not print $march"
        ! grep -qE '"command".* -march=.* -march=' "$work/$compiler/compile_commands.json" ||
            fail "another -march beside the user's"
    esac
    [ "$(find "$image" -type f | grep -vcE '^[^ ]*/usr/(lib|include)/')" = 0 ] || fail "installs outside of the prefix"
    ! grep -aqF "$work" "$library" || fail "the library holds the path of its build"
    cat >"$work/program.c" <<'END'
#include <stdio.h>
#include <string.h>
#include <vantoro/vantoro.h>
int main(void)
{
    Vantoro_version_invoke();
    puts(Vantoro_version());
    return strcmp(Vantoro_version(), VANTORO_VERSION_STRING) != 0 || BlockAlgo_init(&g_block_pro, 2, 2, EN_DP_LIMITER) == 0;
}
END
    "$1" -std=c11 -Wall -Wextra -Wpedantic -Werror -I"$image/usr/include" "$work/program.c" "$library" -lm -o "$work/program"
    "$2" -std=c++17 -Wall -Wextra -Wpedantic -Werror -I"$image/usr/include" -fsyntax-only -x c++ "$work/program.c"
    LD_LIBRARY_PATH=$(dirname "$library") "$work/program" >"$work/output" 2>&1 || fail "the program fails"
    grep -q 'RELEASE DATE Mar 14 2024, 18:12:07' "$work/output" || fail "the banner does not take SOURCE_DATE_EPOCH"
}

gcc=gcc gxx=g++
for old in 11 12 13; do
    if command -v g++-$old >/dev/null; then
        gcc=gcc-$old gxx=g++-$old
        break
    fi
done
march=
[ "$(uname -m)" != x86_64 ] || march=-march=x86-64-v2  # without fused multiply-add in hardware
for with in "$gcc $gxx -Os -flto=auto $march" "clang clang++ -O1 $march"; do
    read -r c cxx flags <<<"$with"
    build "$c" "$cxx" "$flags"
    check "$c" "$cxx" "$flags"
    echo "$c $flags: $(grep -- '-- libvantoro' "$work/$c.log")"
done
