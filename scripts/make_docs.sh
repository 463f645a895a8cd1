#!/usr/bin/env bash
# Draws the pictures of the documentation with the program itself: docs/images from docs/schematics and examples.
set -euo pipefail
cd "$(dirname "$0")/.."
vantoro=build/release/host/vantoro
images=docs/images
[ -e build/release/build.ninja ] || cmake --preset release >/dev/null
cmake --build --preset release --target vantoro_program noise
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
    case $schematic in */dynamics.json | */reflection.json) continue ;; esac
    draw "$schematic" "$(basename "$schematic" .json)"
done
draw examples/schematics/two_way.json two_way
draw examples/schematics/loudspeaker_eq.json loudspeaker_eq --channels 1 --speaker examples/loudspeaker.txt

# What docs/measuring.md measures.
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
"$vantoro" measure --sweep "$folder/sweep.wav"
"$vantoro" run docs/schematics/reflection.json -i "$folder/sweep.wav" -o "$folder/recording.wav" -q
for window in 100ms/1s 1ms/5ms; do
    name=$images/measured_${window##*/}.svg
    "$vantoro" measure "$folder/recording.wav" --window $window --picture "$name" >/dev/null
    small "$name"
done

# A 1 kHz sine through docs/schematics/dynamics.json: SAMPLES LEVEL, where LEVEL is Python for the level in dB at t seconds.
# Prints the highest magnitude of every output in every millisecond, in dB.
peaks() {
    python3 -c "
import array, math, sys
times = (n / 48000 for n in range($1))
array.array('f', (10 ** (($2) / 20) * math.sin(math.tau * 1000 * t) for t in times)).tofile(sys.stdout.buffer)" |
        "$vantoro" run docs/schematics/dynamics.json -q -i - --raw-in f32le --raw-rate 48000 --raw-channels 1 \
            -o - --raw-out f32le 2>/dev/null |
        python3 -c "
import array, math, sys
samples = array.array('f', sys.stdin.buffer.read())
for start in range(0, len(samples) - 287, 288):
    peaks = [max(map(abs, samples[start + k:start + 288:6])) for k in range(6)]
    print(start // 288 + 1, *('%.2f' % (20 * math.log10(peak + 1e-9)) for peak in peaks))"
}

# TITLE NAME COMMANDS: gnuplot's, with the look of the other pictures.
plot() {
    gnuplot <<END
set terminal svg size 860,420 font 'Helvetica,Arial,sans-serif,13' noenhanced background rgb 'white'
set output '$images/$2.svg'
set title '$1'
set grid lc rgb '#d8d8d8'
set key outside right top Left reverse
set style data lines
$3
END
    small "$images/$2.svg"
}

table=$folder/table
# Half a second a level: the end of each is at rest.
peaks $((63 * 24000)) '-60 + int(t * 2)' | awk '$1 % 500 == 499' >"$table"
plot 'Static curves, by the peak level of a sine' dynamics_static "set xlabel 'In (dBFS, peak)'; set ylabel 'Out (dB)'
    set xrange [-60:2]; set yrange [-80:5]; set xtics 10; set ytics 10
    plot '$table' using 2:2 title 'as it came' lw 1 dt 2 lc rgb '#888888', \
        '' using 2:3 title 'limiter, -15 dB' lw 2, '' using 2:4 title 'RMS, 2:1 above -30' lw 2, \
        '' using 2:5 title 'peak, 2:1 above -30' lw 2, '' using 2:6 title 'gate below -50' lw 2, \
        '' using 2:7 title 'peak, ends at -10' lw 2 dt 4"
peaks $((600 * 48)) '0 if 0.05 <= t < 0.3 else -20' >"$table"
plot 'A burst from -20 to 0 dBFS' dynamics_burst "set xlabel 'Time (ms)'; set ylabel 'Peak of every millisecond (dB)'
    set xrange [0:600]; set yrange [-40:2]; set xtics 50; set ytics 5
    plot '$table' using 1:2 title 'as it came' lw 1 dt 2 lc rgb '#888888', \
        '' using 1:3 title 'limiter, -15 dB' lw 2, '' using 1:4 title 'RMS, 2:1 above -30' lw 2, \
        '' using 1:5 title 'peak, 2:1 above -30' lw 2"
# Of 48 kHz, at the places of two responses in the same table: corner, documented, one section, cascade.
build/release/tests/noise --csv >"$table"
points() { echo "'< grep \"^$1,48000,$2,\" $table' using 4"; }
plot 'Noise of rounding over the output, 48 kHz' noise "set datafile separator ','; set logscale x
    set xlabel 'Corner (Hz)'; set ylabel 'Error (dB)'; set xrange [20:23520]; set yrange [-160:-40]; set ytics 10
    plot $(points peak 5):5 title 'peak, Q 5: documented' lw 2 lc 1, $(points peak 5):6 title 'one section' lw 2 lc 2, \
        $(points peak 5):7 title 'cascade' lw 2 lc 3, \
        $(points low-pass 0.7071):5 title 'low-pass, Q 0.707: documented' lw 2 dt 2 lc 1, \
        $(points low-pass 0.7071):6 title 'one section' lw 2 dt 2 lc 2, \
        $(points low-pass 0.7071):7 title 'cascade' lw 2 dt 2 lc 3"
for name in loudspeaker three_way car room_send measuring; do
    "$vantoro" graph examples/schematics/$name.json -o $images/$name.svg
done
