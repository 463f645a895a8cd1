#!/usr/bin/env bash
# The Debian packages: no error of lintian, and the three unpacked together are a system in which the program runs and a
# product is built. Usage: check_packages.sh BUILD_DIR SOURCE_DIR
set -euo pipefail
build=$1 source=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() { echo "check_packages: $*" >&2; exit 1; }
cpack --config "$build/CPackConfig.cmake" -B "$work" >"$work/log" 2>&1 || { cat "$work/log" >&2; fail "cpack fails"; }
lintian --allow-root --tag-display-limit 0 "$work"/*.deb >"$work/lintian" 2>&1 || true
! grep '^E:' "$work/lintian" >&2 || fail "lintian has errors"
grep -q 'maintscript-calls-ldconfig' "$work/lintian" || fail "lintian looked at nothing"

for package in libvantoro1 libvantoro-dev vantoro; do
    dpkg-deb -x "$work/${package}"_*.deb "$work/root"
done
readelf -d "$work/root/usr/bin/vantoro" >"$work/dynamic"
! grep -qE 'RPATH|RUNPATH' "$work/dynamic" || fail "the program has a search path of its own"
library=$(dirname "$(find "$work/root/usr" -name libvantoro.so.1)")
export LD_LIBRARY_PATH=$library PKG_CONFIG_PATH=$library/pkgconfig
for each in man/man1/vantoro.1.gz bash-completion/completions/vantoro zsh/vendor-completions/_vantoro \
    fish/vendor_completions.d/vantoro.fish; do
    [ -s "$work/root/usr/share/$each" ] || fail "$each is missing"
done
"$work/root/usr/bin/vantoro" check "$source/examples/schematics/two_way.json" >/dev/null || fail "the program does not run"
# shellcheck disable=SC2046
cc "$source/examples/minimal.c" $(pkg-config --cflags --libs vantoro) -lm -o "$work/minimal"
"$work/minimal" >/dev/null || fail "a program of the development package does not run"
