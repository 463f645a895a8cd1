#!/usr/bin/env bash
# Sets up, builds, and runs the main job on recorded music: see what it prints, and listen to out/.
set -euo pipefail
cd "$(dirname "$0")"
step() { printf '\n== %s\n' "$*"; }
trap 'echo "demo.sh: failed in the step above" >&2' ERR

step "Packages"
scripts/setup.sh demo
step "Build"
cmake --preset release >/dev/null
cmake --build --preset release --target vantoro_program
vantoro=build/release/host/vantoro
