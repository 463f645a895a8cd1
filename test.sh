#!/usr/bin/env bash
# Sets up, builds and runs every test.
set -euo pipefail
cd "$(dirname "$0")"
step() { printf '\n== %s\n' "$*"; }
trap 'echo "test.sh: failed in the step above" >&2' ERR

step "Packages"
scripts/setup.sh test
step "Build"
cmake --preset release -DBUILD_TESTING=ON >/dev/null
cmake --build --preset release
step "Tests"
ctest --preset release -j2 "$@"
if [ $# -eq 0 ]; then
    step "Page"
    scripts/setup.sh web
    tests/web/run.sh build/release
fi
