#!/usr/bin/env bash
# Installs the Debian packages that a task needs and that are missing. Usage: scripts/setup.sh build|demo|test|web|bench ...
set -euo pipefail

packages() {
    case "$1" in
        build) echo g++ cmake ninja-build pkg-config libsndfile1-dev nlohmann-json3-dev libcli11-dev libkissfft-dev \
            libjack-jackd2-dev libasound2-dev libboost-dev ;;
        demo) packages build; echo graphviz gnuplot-nox sonic-pi-samples ;;
        test)
            packages demo
            echo googletest abigail-tools binutils python3 python3-jsonschema python3-websockets clang clang-format \
                clang-tidy gcovr g++-aarch64-linux-gnu qemu-user musl-dev lintian jackd2 ;;
        # A node that is there stays: Debian's does not go together with another.
        web) command -v node >/dev/null && command -v npm >/dev/null || echo nodejs npm; echo chromium fonts-inter ;;
        bench) packages build; echo libbenchmark-dev libstk-dev libliquid-dev libvolk2-dev libzita-convolver-dev sox ffmpeg brutefir \
            llvm g++-aarch64-linux-gnu ;;
        *) echo "setup.sh: unknown task '$1' (build, demo, test, web, bench)" >&2; exit 2 ;;
    esac
}

missing=()
for task in "${@:-build}"; do
    for package in $(packages "$task"); do
        dpkg-query -W -f '${Status}' "$package" 2>/dev/null | grep -q 'ok installed' || missing+=("$package")
    done
done
[ ${#missing[@]} -eq 0 ] && exit 0

sudo=
if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null || { echo "setup.sh: not root and no sudo; please install: ${missing[*]}" >&2; exit 1; }
    sudo=sudo
fi
echo "Installing: ${missing[*]}"
log=$(mktemp)
trap 'rm -f "$log"' EXIT
if ! { $sudo apt-get update &&
    $sudo env DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends "${missing[@]}"; } >"$log" 2>&1; then
    tail -20 "$log" >&2
    echo "setup.sh: the package manager failed (above); nothing was built" >&2
    exit 1
fi
