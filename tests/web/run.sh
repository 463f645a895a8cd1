#!/usr/bin/env bash
# Tests of the page: types, the committed bundle, its size, and a browser against a program that plays.
# Usage: tests/web/run.sh BUILD_DIRECTORY [TEST ...], for example tests/web/run.sh build/release page
set -euo pipefail
cd "$(dirname "$0")/../.."
build=$(realpath "${1:?the build directory}")
shift
tests=("${@:-}")
out=$(mktemp -d)
trap 'rm -rf "$out"' EXIT
limit=100000 # bytes of the page, each file gzipped

[ web/node_modules/.package-lock.json -nt web/package-lock.json ] ||
    PLAYWRIGHT_SKIP_BROWSER_DOWNLOAD=1 npm ci --prefix web --no-fund --no-audit --loglevel=error
if grep -q '"resolved"' web/package-lock.json; then echo "web/package-lock.json names a registry" >&2; exit 1; fi
(cd web && node_modules/.bin/tsc --noEmit -p . &&
    node_modules/.bin/prettier --log-level warn --check 'src/*.{ts,tsx}' '../tests/web/*.ts' --config .prettierrc.json &&
    OUT="$out/dist" npm run --silent build)
diff -r web/dist "$out/dist" || { echo "web/dist is not what web/src makes: npm run build in web/" >&2; exit 1; }
size=0
for file in web/dist/*; do size=$((size + $(gzip -9 -c "$file" | wc -c))); done
[ "$size" -le "$limit" ] || { echo "the page has $size bytes gzipped, more than $limit" >&2; exit 1; }

export VANTORO="$build/host/vantoro"
export VANTORO_SERVER="${VANTORO_SERVER:-$VANTORO live --output null --quiet}" VANTORO_SOUND="$out/noise.wav"
echo '{"rate": 48000, "blocks": {"noise": {"type": "SOURCE_WHITENOISE", "outputs": 2}}, "wires": [["noise", "output"]]}' >"$out/noise.json"
"$VANTORO" run "$out/noise.json" -o "$VANTORO_SOUND" --seconds 4 --quiet
mkdir -p web/node_modules/.tests
rm -f web/node_modules/.tests/*
NODE_PATH=web/node_modules web/node_modules/.bin/esbuild tests/web/*"${tests[0]}"*.test.ts --bundle --platform=node --format=esm \
    --packages=external --outdir=web/node_modules/.tests --out-extension:.js=.mjs --log-level=warning
timeout 240 node --test --test-timeout=110000 web/node_modules/.tests/*.mjs
echo "page: $size bytes gzipped"
