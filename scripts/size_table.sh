#!/usr/bin/env bash
# Bytes of text, as `size` counts them after `strip` (code, constants, relocations, names): of the shared library, of
# what each category adds to a static product, and of one product in four styles. It runs an equaliser, a crossover and a
# limiter. Usage: scripts/size_table.sh BUILD_DIR [--check]; --check fails above the limits below.
set -euo pipefail
build=$1 check=${2:-}
cached() { sed -nE "s/^$1:[A-Z]+=(.*)/\1/p" "$build/CMakeCache.txt"; }
cc=$(sed -nE 's/^set\(CMAKE_C_COMPILER "(.*)"\)/\1/p' "$build"/CMakeFiles/*/CMakeCCompiler.cmake) source=$(cached CMAKE_HOME_DIRECTORY)
machine=$("$cc" -dumpmachine) archive=$build/lib/libvantoro.a
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

#          row                                   x86-64  aarch64
limits=(
    "shared library without descriptions"         320000  253952
    "descriptions"                                 49152   49152
    "product: entry points, two categories named"  134000  134000
    "product: category functions"                  132000  132000
    "product: module functions"                     82000   82000
)
case $machine in
    x86_64-*) column=1 ;;
    aarch64-*) column=2 ;;
    *) column=0 ;;
esac

failed=0
row() { # NAME BYTES
    printf '| %s | %d |\n' "$1" "$2"
    for ((i = 0; i < ${#limits[@]}; i += 3)); do
        [[ ${limits[i]} != "$1" || $column == 0 ]] || (($2 <= limits[i + column])) ||
            { echo "size_table: '$1' is above ${limits[i + column]}" >&2; failed=1; }
    done
}
text() { "$("$cc" -print-prog-name=size)" "$1" | awk 'NR == 2 { print $1 }'; }
linked() { # NAME OPTION ...: the text of $work/NAME.c in a static product
    "$cc" -std=c11 -O2 -I"$source/lib" "${@:2}" "$work/$1.c" "$archive" -lm -Wl,--gc-sections -s -o "$work/$1"
    text "$work/$1"
}

printf '| text in bytes | %s |\n|---|---:|\n' "${machine%%-*}"
erratum=()  # as lib/CMakeLists.txt has it
[[ $column != 2 ]] || erratum=(-Wl,--fix-cortex-a53-843419=adr)
"$("$cc" -print-prog-name=strip)" -o "$work/whole.so" "$build/lib/libvantoro.so"
cp "$archive" "$work/code.a"
ar t "$archive" | grep -E '(_info|param_check|param_set)\.cpp\.o$' | xargs ar d "$work/code.a"
"$cc" -shared -s -Wl,--whole-archive "$work/code.a" -Wl,--no-whole-archive -lm -Wl,--gc-sections -Wl,--as-needed \
    -Wl,-Bsymbolic-functions "${erratum[@]}" -o "$work/code.so"
code=$(text "$work/code.so")
row "shared library without descriptions" "$code"
row "descriptions" $(($(text "$work/whole.so") - code))

echo 'int main(void) { return 0; }' >"$work/empty.c"
empty=$(linked empty)
cat >"$work/product.c" <<'END'
#include "vantoro.h"
#ifdef NAMED
VANTORO_CATEGORIES = {NAMED};
#endif
static BlockPro pro = {48000, 24, 64, 0, 0};
static float samples[4][64];
static float* pins[] = {samples[0], samples[1], samples[2], samples[3]};
#define RUN(init, set, process, destroy) \
    do {                                 \
        BlockAlgo* block = init;         \
        set(block, 0);                   \
        process(block, pins, pins);      \
        destroy(block);                  \
    } while (0)
#define ENTRY(ins, outs, type) \
    RUN(BlockAlgo_init(&pro, ins, outs, type), BlockAlgo_param_reset, BlockAlgo_process, BlockAlgo_destroy)
#define CATEGORY(name, ins, outs, type)                                                                          \
    RUN(BlockAlgo_##name##_init(ins, outs, &pro, type), BlockAlgo_##name##_param_reset, BlockAlgo_##name##_process, \
        BlockAlgo_##name##_destroy)
#define MODULE(stem, ins, outs, type) \
    RUN(stem##_init(ins, outs, &pro, type), stem##_param_set, stem##_process, stem##_destroy)
int main(int argc, char** argv)
{
    (void)argv;
#if STYLE == 0 /* whatever type the host asks for */
    ENTRY(1, 1, argc);
#elif STYLE == 1
    ENTRY(2, 2, EN_FILTER_GRAPHICAL_EQ);
    ENTRY(2, 4, EN_FILTER_CROSSOVER_2WAY);
    ENTRY(4, 4, EN_DP_LIMITER);
#elif STYLE == 2
    CATEGORY(FILTER, 2, 2, EN_FILTER_GRAPHICAL_EQ);
    CATEGORY(FILTER, 2, 4, EN_FILTER_CROSSOVER_2WAY);
    CATEGORY(DP, 4, 4, EN_DP_LIMITER);
#else
    MODULE(GraphicalEQ, 2, 2, EN_FILTER_GRAPHICAL_EQ);
    MODULE(Crossover2Way, 2, 4, EN_FILTER_CROSSOVER_2WAY);
    MODULE(Limiter, 4, 4, EN_DP_LIMITER);
#endif
    return argc - 1;
}
END
product() { row "$1" $(($(linked product "${@:2}") - empty)); }
product "product: entry points, every category" -DSTYLE=1
product "product: entry points, two categories named" -DSTYLE=1 \
    '-DNAMED=VANTORO_CATEGORY(EN_FILTER, FILTER), VANTORO_CATEGORY(EN_DP, DP)'
product "product: category functions" -DSTYLE=2
product "product: module functions" -DSTYLE=3
while read -r type name words; do
    product "category $name: $words" -DSTYLE=0 "-DNAMED=VANTORO_CATEGORY($type, $name)"
done <<'END'
EN_LOUDNESS LD loudness
EN_BASIC_DSP Basic arithmetic, logic, delays
EN_DP DP dynamics
EN_FILTER FILTER filters
EN_DETECTORS DETECTOR level detectors, tables
EN_MIXERS Mixers mixers, splitters
EN_MUXES MUXES switching
EN_NLP NLP clippers
EN_SOURCE SOURCE sources
EN_VC VC volume
EN_QVALGO QVALGO reverb
END
[[ $check != --check ]] || exit $failed
