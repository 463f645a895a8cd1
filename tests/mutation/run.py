#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Plants the faults of faults.txt one at a time, builds what changed and runs the tests that should see it.

    tests/mutation/run.py                     all of them: hours; nightly
    tests/mutation/run.py --part library --seconds 600
    tests/mutation/run.py --survivors         those once more that survived
    tests/mutation/run.py --check             whether every fault still finds its line in this tree; builds nothing

A fault that the release build's tests let pass is tried again with the address sanitizer.

Works in a copy of HEAD under build/mutation and never touches this tree. Results are kept there by fault, so that a
run that was cut short goes on where it ended (--again starts over). Prints the score by part and the survivors; its
status is 1 when a fault survived that the list does not call equivalent, or finds its line no more.

A fault in faults.txt:

    lib/filters/fir.cpp           the file
    - the line, without indent    (" @2" after the "-": its second occurrence)
    + what stands there instead
    = why no result can show it   (only where that is so: the fault is equivalent)
"""
import argparse
import hashlib
import os
import pathlib
import re
import signal
import subprocess
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parents[2]
WORK = ROOT / "build" / "mutation"
TREE = WORK / "tree"
LIST = pathlib.Path(__file__).with_name("faults.txt")

# By prefix, the longest that fits: what to build, and the tests (ctest -R) that should see a fault there.
EXPORT = ["vantoro_program", "vantoro", "vantoro_graph", "vantoro_quiet"]
LIVE = ["vantoro_program", "jack_recorder", "alsa_vtest"]
SEEN_BY = {
    "lib/": (["digest", "reports", "test_framework"], "digest|reports|framework"),
    "lib/basic/": (["test_pcm", "digest"], "pcm|digest"),
    "lib/basic_dsp/": (["test_basic", "digest", "test_kernels", "reports"], "basic|digest|kernels|reports"),
    "lib/common/": (["test_basic", "test_filters", "test_reverb", "digest"], "basic|filters|reverb|digest"),
    "lib/Dynamics_Processors/": (["test_dynamics", "digest", "reports"], "dynamics|digest|reports"),
    "lib/filters/": (["test_filters", "digest", "reports"], "filters|digest|reports"),
    "lib/framework/module_names.cpp": (EXPORT, "export"),
    "lib/kernels/": (["test_basic", "test_kernels", "test_filters", "digest"], "basic|kernels|filters|digest"),
    "lib/level_detectors/": (["test_dynamics", "digest", "reports"], "dynamics|digest|reports"),
    "lib/Loudness/": (["test_dynamics", "digest", "reports"], "dynamics|digest|reports"),
    "lib/math/": (["test_basic", "test_filters", "digest"], "basic|filters|digest"),
    "lib/mixers/": (["test_routing", "digest", "reports"], "routing|digest|reports"),
    "lib/muxes_demuxes/": (["test_routing", "digest", "reports"], "routing|digest|reports"),
    "lib/qv_algo/": (["test_reverb", "digest", "reports"], "reverb|digest|reports"),
    "lib/schematic_design/": (["test_basic", "test_response", "reports"], "basic|response|reports"),
    "lib/source/": (["test_source", "digest", "reports"], "source|digest|reports"),
    "lib/Volume_Controls/": (["test_volume", "digest", "reports"], "volume|digest|reports"),
    "graph/": (["test_graph", "test_threads", "test_live", "test_host"], "graph|threads|live|host"),
    "host/": (["test_host", "vantoro_program"], "host|cli"),
    "host/analysis/": (["test_host", "vantoro_program"], "host|cli|measure"),
    "host/catalog/": (["test_catalog", "test_host", "vantoro_program"], "catalog|host|docs|cli"),
    "host/export/": (EXPORT, "export"),
    "host/commands/export.cpp": (EXPORT, "export"),
    "host/commands/live.cpp": (LIVE, "live_devices"),
    "host/live/": (["test_live", *LIVE], "live|live_devices"),
    "host/control/": (["test_control"], "control"),
    "host/schematic/bypass.cpp": (["test_control"], "control"),
    "host/server/": (["test_control", "serve", "vantoro_program"], "control|server"),
    "host/support/": (["test_catalog", "test_host", "vantoro_program"], "catalog|host|cli"),
}
# What a fault that passes those must pass, too.
REST = {
    "lib/": (["test_sweep", "test_block_info"], "sweep|block_info"),
    "host/": ([*EXPORT, *LIVE, "test_catalog", "test_host", "test_live", "test_control", "serve", "soak", "fail_nth"],
              "catalog|cli|control|docs|export|faults|host|live|live_devices|measure|server|soak"),
}
PRESETS = {"release": "120", "asan": "600"}  # seconds that a test may take: one that hangs sees its fault, too
PARTS = {"lib/": "library", "graph/": "graph runtime", "host/server/": "server", "host/control/": "server",
         "host/": "host"}


def longest(table, path):
    return table[max((key for key in table if path.startswith(key)), key=len)]


class Fault:
    def __init__(self, lines):
        self.path = lines[0]
        marked = {line[0]: line[2:] for line in lines[1:]}
        found = re.match(r"@(\d+) (.*)", marked["-"])
        self.nth, self.old = (int(found[1]), found[2]) if found else (1, marked["-"])
        self.new = marked["+"]
        self.equivalent = marked.get("=")
        self.part = longest(PARTS, self.path)
        self.key = hashlib.sha1("\n".join([self.path, marked["-"], self.new]).encode()).hexdigest()[:12]

    def place(self, text):
        """The index of the line, or None."""
        found = [i for i, line in enumerate(text) if line.strip() == self.old]
        return found[self.nth - 1] if self.nth <= len(found) else None

    def __str__(self):
        return f"{self.path}\n    - {self.old}\n    + {self.new}"


def read_list():
    groups = re.split(r"\n\s*\n", LIST.read_text())
    lines = ([line for line in group.splitlines() if line and line[0] != "#"] for group in groups)
    return [Fault(group) for group in lines if group]


def in_this_tree(fault):
    file = ROOT / fault.path
    return file.is_file() and fault.place(file.read_text().splitlines()) is not None


def run(command, **options):
    return subprocess.run(command, cwd=TREE, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, **options)


def prepare(presets):
    head = subprocess.check_output(["git", "rev-parse", "HEAD"], cwd=ROOT, text=True).strip()
    if not TREE.exists():
        subprocess.check_call(["git", "worktree", "add", "-q", "--detach", TREE, head], cwd=ROOT)
    subprocess.check_call(["git", "checkout", "-q", "--force", "--detach", head], cwd=TREE)
    os.environ.update(CCACHE_BASEDIR=str(TREE), CCACHE_NOHASHDIR="1")
    for preset in presets:
        run(["cmake", "--preset", preset, "-DBUILD_TESTING=ON", "--compile-no-warning-as-error"] + CMAKE_OPTIONS,
            check=True)


def passes(seen_by, preset, jobs):
    """Whether all tests pass; None: it does not build."""
    targets, tests = seen_by
    if run(["cmake", "--build", "--preset", preset, "-j", jobs, "--target", *targets]).returncode != 0:
        return None
    ctest = ["ctest", "--preset", preset, "--stop-on-failure", "--timeout", PRESETS[preset], "-R", f"^({tests})$"]
    return run(ctest).returncode == 0


def tries_for(fault, presets):
    """What has to pass, one after the other: tests and preset."""
    near = longest(SEEN_BY, fault.path)
    rest = [rest for prefix, rest in REST.items() if fault.path.startswith(prefix)]
    tries = [(near, "release"), *((tests, "release") for tests in rest), (near, "asan")]
    return [one for one in tries if one[1] in presets]


def plant(fault, jobs, presets):
    file = TREE / fault.path
    before = file.read_text()
    text = before.splitlines()
    at = fault.place(text)
    text[at] = text[at].replace(fault.old, fault.new)
    try:
        file.write_text("\n".join(text) + "\n")
        for one in tries_for(fault, presets):
            outcome = passes(*one, jobs)
            if not outcome:
                break
            SOUND.append(one)
    finally:
        file.write_text(before)
    if outcome is False and one not in SOUND:
        if not passes(*one, jobs):
            sys.exit(f"preset {one[1]} does not pass {one[0][1]} without a fault either")
        SOUND.append(one)
    return {None: "does not build", True: "survived", False: "caught"}[outcome]


def report(faults, results):
    for part in sorted({fault.part for fault in faults}):
        mine = [fault for fault in faults if fault.part == part and not fault.equivalent]
        told = [results[fault.key] for fault in mine if results.get(fault.key) in ("caught", "survived")]
        caught = told.count("caught")
        share = f" = {100 * caught / len(told):.0f} %" if told else ""
        print(f"{part}: {caught} caught of {len(told)} tried{share}, {len(mine)} in the list")
    survivors = [fault for fault in faults if results.get(fault.key) == "survived" and not fault.equivalent]
    for outcome in ("survived", "does not build"):
        for fault in faults:
            if results.get(fault.key) == outcome and not fault.equivalent:
                print(f"{outcome}: {fault}")
    return survivors


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--part", help="library, graph runtime, host or server")
    parser.add_argument("--path", default="", help="faults in paths that begin so")
    parser.add_argument("--seconds", type=float, default=float("inf"), help="start no fault after that time")
    parser.add_argument("--jobs", default="2")
    parser.add_argument("--again", action="store_true", help="forget earlier results")
    parser.add_argument("--preset", action="append", choices=PRESETS, help="only the tests of this build")
    parser.add_argument("--survivors", action="store_true", help="forget that a fault survived")
    parser.add_argument("--check", action="store_true", help="only look for the lines")
    parser.add_argument("--cmake", action="append", default=[], help="an option for CMake, -D...")
    options = parser.parse_args()
    presets = options.preset or list(PRESETS)
    CMAKE_OPTIONS.extend(options.cmake)
    faults = [fault for fault in read_list()
              if options.part in (None, fault.part) and fault.path.startswith(options.path)]
    stale = [fault for fault in faults if not in_this_tree(fault)]
    for fault in stale:
        print(f"no such line: {fault}")
    if options.check:
        print(f"{len(faults)} faults")
        return 1 if stale else 0
    WORK.mkdir(parents=True, exist_ok=True)
    store = WORK / "results.txt"
    if options.again:
        store.unlink(missing_ok=True)
    results = dict(line.split(" ", 1) for line in store.read_text().splitlines()) if store.exists() else {}
    if options.survivors:
        results = {key: outcome for key, outcome in results.items() if outcome != "survived"}
    prepare(presets)
    end = time.monotonic() + options.seconds
    for fault in faults:
        if fault in stale or fault.equivalent or fault.key in results or time.monotonic() > end:
            continue
        results[fault.key] = plant(fault, options.jobs, presets)
        with store.open("a") as file:
            file.write(f"{fault.key} {results[fault.key]}\n")
        print(f"{results[fault.key]}: {fault}", flush=True)
    return 1 if report(faults, results) or stale else 0


CMAKE_OPTIONS = []
SOUND = []  # tests, with their preset, that pass without a fault
signal.signal(signal.SIGTERM, lambda *_: sys.exit(1))  # so that the planted line goes
if __name__ == "__main__":
    sys.exit(main())
