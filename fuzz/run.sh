#!/usr/bin/env bash
# Runs fuzz targets for a while, two at a time: fuzz/run.sh [SECONDS (60)] [TARGET ... (all)]. What a target learnt stays
# in build/fuzz/corpus, its output in build/fuzz/TARGET.log; a finding is left in build/fuzz/findings and fails the run.
# Again with: build/fuzz/fuzz/fuzz_TARGET FINDING
set -euo pipefail
cd "$(dirname "$0")/.."
export seconds=${1:-60}
shift || true
targets=("$@")
[ ${#targets[@]} -gt 0 ] || mapfile -t targets < <(sed -nE 's/^ *vantoro_fuzz\(([a-z]+).*/\1/p' fuzz/CMakeLists.txt)
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz --target "${targets[@]/#/fuzz_}"

run_target() {
    local target=$1 log=build/fuzz/$1.log corpora=("build/fuzz/corpus/$1") options=() status=0
    mkdir -p "${corpora[0]}" build/fuzz/findings
    [ ! -d "fuzz/corpus/$target" ] || corpora+=("fuzz/corpus/$target")
    [ "$target" != message ] || { corpora+=(fuzz/corpus/control); options+=(-dict=fuzz/control.dict -max_len=512); }
    [ ! -f "fuzz/$target.dict" ] || options+=("-dict=fuzz/$target.dict")
    # 64 KiB is more than any target reads; -timeout catches endless loops.
    "build/fuzz/fuzz/fuzz_$target" -max_total_time="$seconds" -max_len=65536 -timeout=60 -rss_limit_mb=4096 \
        -artifact_prefix="build/fuzz/findings/$target-" -print_final_stats=1 "${options[@]}" "${corpora[@]}" \
        >"$log" 2>&1 || status=$?
    echo "== $target, $seconds s: status $status, $(sed -nE 's/^stat::number_of_executed_units: *//p' "$log") executions," \
        "$(grep -oE 'cov: [0-9]+ ft: [0-9]+' "$log" | tail -n 1)"
    [ "$status" -eq 0 ] || { tail -n 60 "$log"; return 1; }
}
export -f run_target
printf '%s\n' "${targets[@]}" | xargs -P2 -I{} bash -c 'run_target {}'
