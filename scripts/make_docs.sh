#!/usr/bin/env bash
# Draws the pictures of the documentation with the program itself: docs/images from docs/schematics and examples.
set -euo pipefail
cd "$(dirname "$0")/.."
vantoro=build/release/host/vantoro
images=docs/images
[ -e build/release/build.ninja ] || cmake --preset release >/dev/null
cmake --build --preset release --target vantoro_program
mkdir -p $images

# Half the size, the same picture: gnuplot writes empty groups, symbols that nothing uses, and hundredths of a point.
small() {
    perl -0777 -pi -e '
        s{<defs>.*?</defs>|<desc>.*?</desc>}{}gs;
        1 while s{<g [^>]*>\s*</g>}{}g;
        s{ class="gridline"}{}g;
        s{<g [^>]*stroke-width="([\d.]+)"[^>]*>\s*<path stroke=(\x27.*?\x27)(\s+d=\x27.*?\x27/>)\s*</g>}
         {<path fill="none" stroke=$2 stroke-width="$1"$3}gs;
        s{(d=\x27)(.*?)\s*(\x27)}{my ($a, $d, $b) = ($1, $2, $3); $d =~ s/(\.\d)\d\b/$1/g; "$a$d$b"}ges;
        s{\s*\n\s*}{\n}g;
    ' "$1"
}

# SCHEMATIC NAME [OPTION ...]
draw() {
    "$vantoro" response "$1" -o "$images/$2.svg" "${@:3}"
    small "$images/$2.svg"
}

for schematic in docs/schematics/*.json; do
    draw "$schematic" "$(basename "$schematic" .json)"
done
draw examples/schematics/two_way.json two_way
draw examples/schematics/loudspeaker_eq.json loudspeaker_eq --channels 1 --speaker examples/loudspeaker.txt
for name in loudspeaker three_way car room_send measuring; do
    "$vantoro" graph examples/schematics/$name.json -o $images/$name.svg
done
