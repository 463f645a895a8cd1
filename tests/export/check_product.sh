#!/usr/bin/env bash
# The example product against the installed library: the samples that the program gives, changes by its second thread, a
# refusal. Usage: check_product.sh PROGRAM SOURCE_DIR BUILD_DIR [EMULATOR ...]
set -euo pipefail
program=$1 source=$2 build=$3
shift 3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() { echo "check_product: $*" >&2; exit 1; }
toolchain=$(sed -nE 's/^CMAKE_TOOLCHAIN_FILE:[A-Z]+=(.+)/-DCMAKE_TOOLCHAIN_FILE=\1/p' "$build/CMakeCache.txt")

cmake --install "$build" --prefix "$work/usr" >/dev/null
cmake -S "$source/examples/product" -B "$work/build" -DCMAKE_PREFIX_PATH="$work/usr" -DCMAKE_FIND_ROOT_PATH="$work/usr" \
    -DVANTORO="$program" ${toolchain:+"$toolchain"} >/dev/null
cmake --build "$work/build" >"$work/log" 2>&1 || { cat "$work/log" >&2; fail "does not build"; }
[ "$(wc -l <"$source/examples/product/product.c")" -lt 120 ] || fail "has 120 lines or more"

# Three seconds of noise in stereo, and the same schematic without its changes.
python3 -c 'import random, sys; sys.stdout.buffer.write(random.Random(1).randbytes(576000))' >"$work/in"
python3 - "$source/examples/schematics/loudspeaker.json" "$work/still.json" <<'END'
import json, sys
with open(sys.argv[1]) as f:
    document = json.load(f)
del document["changes"]
with open(sys.argv[2], "w") as f:
    json.dump(document, f)
END
"$program" run "$work/still.json" -i "$work/in" --raw-in s16le --raw-rate 48000 --raw-channels 2 -o "$work/wanted" \
    --raw-out s16le >/dev/null 2>&1
"$@" "$work/build/product" <"$work/in" >"$work/out" 2>"$work/said" || fail "fails"
cmp "$work/wanted" "$work/out" || fail "sounds different from the program"
grep -q '^product: input -[0-9.]* dB$' "$work/said" || fail "shows no level"

mkfifo "$work/control"
exec 3<>"$work/control"
{ head -c 192000 "$work/in"; sleep 1; printf 'volume -30\nbass none\nlimit 999999999999\n' >&3; sleep 1; tail -c +192001 "$work/in"; } |
    "$@" "$work/build/product" "$work/control" >"$work/out" 2>"$work/said" || fail "fails under control"
[ "$(stat -c %s "$work/out")" = "$(stat -c %s "$work/in")" ] || fail "loses frames"
grep -qx 'product: refused: bass none' "$work/said" || fail "takes any word"
python3 - "$work/wanted" "$work/out" <<'END'
import array, sys
wanted, out = (array.array("h", open(path, "rb").read()) for path in sys.argv[1:])
level = lambda samples: sum(map(abs, samples)) / len(samples)
assert wanted[:90000] == out[:90000] and level(out[-20000:]) < 0.1 * level(wanted[-20000:]), "the volume does not move"
END
