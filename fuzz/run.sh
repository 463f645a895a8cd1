#!/usr/bin/env bash
# Runs every fuzz target for a while: fuzz/run.sh [SECONDS (60)] [TARGET ...]. Inputs that are new grow in
# build/fuzz/corpus; a finding is left in build/fuzz/findings and fails the run.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-60}
shift || true
targets=("$@")
[ ${#targets[@]} -gt 0 ] || mapfile -t targets < <(sed -nE 's/^ *vantoro_fuzz\(([a-z]+).*/\1/p' fuzz/CMakeLists.txt)
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz
for target in "${targets[@]}"; do
    mkdir -p "build/fuzz/corpus/$target" build/fuzz/findings
    seeds=fuzz/corpus/$target
    dictionary=fuzz/$target.dict
    echo "== $target, $seconds s"
    # 64 KiB is more than any target reads; -timeout catches endless loops.
    "build/fuzz/fuzz/fuzz_$target" -max_total_time="$seconds" -max_len=65536 -timeout=10 -rss_limit_mb=4096 \
        -artifact_prefix="build/fuzz/findings/$target-" -print_final_stats=1 \
        $([ -f "$dictionary" ] && echo "-dict=$dictionary") "build/fuzz/corpus/$target" $([ -d "$seeds" ] && echo "$seeds") 2>&1 | tail -n 12 | tee "build/fuzz/$target.log"
    [ "${PIPESTATUS[0]}" -eq 0 ]
done
