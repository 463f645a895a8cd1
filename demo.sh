#!/usr/bin/env bash
# Sets up, builds, and runs the main job on recorded music: look at what it prints and draws, listen to out/.
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
music=/usr/share/sonic-pi/samples/loop_safari.flac  # CC0, a stereo recording of eight seconds
schematics=examples/schematics
mkdir -p out

step "A loudspeaker chain: equaliser, loudness, compressor, limiter, meters"
"$vantoro" run $schematics/loudspeaker.json -i $music -o out/loudspeaker.wav --meters out/meters.csv --meter-interval 0.1
"$vantoro" graph $schematics/loudspeaker.json -o out/loudspeaker.svg

step "A two-way active crossover behind a ten-band equaliser: four channels out"
"$vantoro" run $schematics/two_way.json -i $music -o out/two_way.wav
"$vantoro" graph $schematics/two_way.json -o out/two_way.svg
"$vantoro" response $schematics/two_way.json -o out/two_way_response.svg

step "An echo that opens with the level, and a fade"
"$vantoro" run $schematics/first_steps.json -i $music -o out/first_steps.wav
step "Drums in a small room"
"$vantoro" run $schematics/room.json -i /usr/share/sonic-pi/samples/loop_amen.flac -o out/room.wav

step "Done. Listen and look:"
ls -1 out
printf '\nMove it while it plays, on a page in your browser:\n  %s\n' \
    "$vantoro live $schematics/loudspeaker.json -i file:$music --loop -o null"
