#!/usr/bin/env bash
# clang-format and clang-tidy over the whole tree; BUILD_DIR holds compile_commands.json. Usage: scripts/lint.sh BUILD_DIR
set -euo pipefail
build=$1
mapfile -t files < <(git ls-files '*.h' '*.c' '*.cpp')
clang-format --dry-run --Werror "${files[@]}"
# The flags that clang does not know are left out.
database=$(mktemp -d)
trap 'rm -rf "$database"' EXIT
sed -E 's/ -f(vect-cost-model=[a-z]*|schedule-insns|sched-pressure)//g' "$build/compile_commands.json" >"$database/compile_commands.json"
# Units that this build compiles; the tests' macros would only repeat their findings a thousand times.
mapfile -t units < <(git ls-files 'lib/*.cpp' 'quiet/*.cpp' 'graph/*.cpp' 'host/*.cpp')
printf '%s\n' "${units[@]}" | xargs -P2 -n1 clang-tidy -p "$database" --quiet --extra-arg=-Wno-unknown-warning-option 2>/dev/null
