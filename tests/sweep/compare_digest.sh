#!/usr/bin/env bash
# Compares the digest of this build with the stored one: compare_digest.sh STORED PROGRAM [ARGS]. A deliberate change of
# a block's output is stored by: build/release/tests/digest > tests/sweep/digest.txt
set -euo pipefail
stored=$1
shift
if ! diff <("$@") "$stored" >&2; then
    echo "compare_digest: these blocks put out other bits (< this build, > stored)" >&2
    exit 1
fi
echo "$(wc -l <"$stored") digests equal"
