#!/usr/bin/env bash
# Compares what a program prints about every block with what is stored: compare_stored.sh STORED PROGRAM [ARGS]. A
# deliberate change is stored by: build/release/tests/digest > tests/sweep/digest.txt; likewise designs and reports.
set -euo pipefail
stored=$1
shift
if ! diff <("$@") "$stored" >&2; then
    echo "compare_stored: these blocks differ (< this build, > $(basename "$stored"))" >&2
    exit 1
fi
echo "$(wc -l <"$stored") lines equal"
