#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""Every call that writes fails once: the old files stand or the new ones are whole, nothing is left beside them, and
the program says which file and why. Usage: test_faults.py PROGRAM SOURCE_DIR FAIL_NTH_LIBRARY [TESTS]"""

import os
import random
import signal
import struct
import subprocess
import sys
import tempfile
import unittest

PROGRAM, SOURCE, LIBRARY = sys.argv[1:4]
SCHEMATIC = '{"blockSize": 8192, "blocks": {"g": {"type": "BASIC_GAIN"}, "vu": {"type": "DETECTORS_SINGLE_BAND"}}, ' \
            '"wires": [["input", "g"], ["g", "output"], ["input.0", "vu"]]}'
EQ = os.path.join(SOURCE, "examples", "schematics", "loudspeaker_eq.json")
MOST = 200  # calls


def contents(directory):
    files = {}
    for name in os.listdir(directory):
        with open(os.path.join(directory, name), "rb") as file:
            files[name] = file.read()
    return files


class Faults(unittest.TestCase):
    def setUp(self):
        held = tempfile.TemporaryDirectory()
        self.addCleanup(held.cleanup)
        self.inputs, self.outputs = os.path.join(held.name, "in"), os.path.join(held.name, "out")
        os.mkdir(self.inputs)
        os.mkdir(self.outputs)
        self.mark = os.path.join(held.name, "mark")
        draw = random.Random(1)
        data = struct.pack("<50000h", *(draw.randrange(-9000, 9000) for _ in range(50000)))
        with open(os.path.join(self.inputs, "in.wav"), "wb") as file:
            file.write(struct.pack("<4sI4s4sIHHIIHH4sI", b"RIFF", 36 + len(data), b"WAVE", b"fmt ", 16, 1, 2, 48000, 192000, 4,
                                   16, b"data", len(data)) + data)
        with open(os.path.join(self.inputs, "s.json"), "w") as file:
            file.write(SCHEMATIC)

    def call(self, arguments, nth, **more):
        if os.path.exists(self.mark):
            os.remove(self.mark)
        environment = {**os.environ, "LD_PRELOAD": LIBRARY, "FAIL_NTH": str(nth), "FAIL_MARK": self.mark}
        # Sanitizers want to be loaded first.
        environment["ASAN_OPTIONS"] = environment.get("ASAN_OPTIONS", "") + ":verify_asan_link_order=0"
        result = subprocess.run([PROGRAM, *arguments], capture_output=True, text=True, errors="replace", cwd=self.outputs,
                                env=environment, **more)
        if not os.path.exists(self.mark):
            return result, None
        with open(self.mark) as file:
            return result, file.read()

    def sweep(self, *arguments, outputs=(), program=None, exact=True):
        """`outputs` are what the arguments write; exact: equal runs write equal files. Returns the calls that failed."""
        for name in os.listdir(self.outputs):
            os.remove(os.path.join(self.outputs, name))
        result, _ = self.call(arguments, 0)
        self.assertEqual(result.returncode, 0, result.stderr)
        new = contents(self.outputs)
        self.assertEqual(sorted(new), sorted(outputs))
        failed = set()
        for nth in range(1, MOST):
            for name in outputs:
                with open(os.path.join(self.outputs, name), "w") as file:
                    file.write("old")
            result, call = self.call(arguments, nth)
            where = "%s, call %d: %s; %s" % (arguments, nth, call, result.stderr)
            got = contents(self.outputs)
            self.assertEqual(sorted(got), sorted(outputs), where)
            if call is None:
                self.assertEqual(result.returncode, 0, where)
                return failed
            failed.add(call)
            self.assertEqual(result.returncode, 1, where)
            named = [name for name in (*outputs, "standard output", program or "?") if name in result.stderr]
            self.assertTrue(named and "No space left on device" in result.stderr, where)
            for name in outputs:
                self.assertTrue(got[name] == b"old" or (got[name] == new[name] if exact else len(got[name]) > 3), where)
            if named[0] in outputs:
                self.assertEqual(got[named[0]], b"old", where)
        self.fail("more than %d calls" % MOST)

    def test_sound_files(self):
        run = ["run", os.path.join(self.inputs, "s.json"), "-i", os.path.join(self.inputs, "in.wav")]
        for name in ("o.wav", "o.flac", "o.ogg"):
            failed = self.sweep(*run, "-o", name, "--meters", "m.csv", outputs=(name, "m.csv"), exact=name != "o.ogg")
            self.assertEqual(failed, {"open", "write", "fsync", "close", "rename", "flush"})
        self.assertEqual(self.sweep(*run, "-o", "-", "--raw-out", "s16le"), {"write", "close"})

    def test_sound_files_of_more_than_4_gb(self):
        with open(os.path.join(self.inputs, "zeros.json"), "w") as file:
            file.write('{"rate": 768000, "blockSize": 8192, "blocks": {"dc": {"type": "SOURCE_DC", "params": {"value": 0}}}, '
                       '"wires": [["dc", "output"]]}')
        zeros = ["run", os.path.join(self.inputs, "zeros.json"), "--seconds", "1400", "--format", "float", "-o"]
        self.assertEqual(self.call([*zeros, "o.wav"], 0)[0].returncode, 0)
        path, data = os.path.join(self.outputs, "o.wav"), 1400 * 768000 * 4
        with open(path, "rb") as file:
            header = file.read(os.path.getsize(path) - data)
        self.assertEqual(struct.unpack_from("<4sI4s4sIQQQI", header), (b"RF64", 0xffffffff, b"WAVE", b"ds64", 28,
                                                                       len(header) + data - 8, data, data // 4, 0))
        self.assertEqual(header[-8:], b"data\xff\xff\xff\xff")
        os.remove(path)
        too_long = "vantoro: o.aiff: is longer than an AIFF can be: .wav, .w64 or .caf can\n"
        refused, _ = self.call([*zeros, "o.aiff"], 0)
        self.assertEqual((refused.returncode, refused.stderr), (2, too_long))
        with open("/dev/zero") as endless:
            raw = ["-i", "-", "--raw-in", "f32le", "--raw-rate", "48000", "--raw-channels", "2", "--format", "float"]
            ended, _ = self.call(["run", os.path.join(self.inputs, "s.json"), *raw, "-o", "o.aiff"], 0, stdin=endless)
        self.assertEqual((ended.returncode, ended.stderr, os.listdir(self.outputs)), (1, too_long, []))

    def test_pictures_and_tables(self):
        for name in ("o.svg", "o.csv"):
            self.sweep("response", EQ, "--method", "both", "-o", name, outputs=(name,), program="gnuplot")
        self.sweep("graph", EQ, "-o", "o.svg", outputs=("o.svg",), program="dot")

    def test_standard_output(self):
        for arguments in (["blocks"], ["blocks", "--json"], ["check", EQ], ["--help"]):
            self.assertLessEqual({"flush"}, self.sweep(*arguments))
            with open("/dev/full", "w") as full:
                result = subprocess.run([PROGRAM, *arguments], stdout=full, stderr=subprocess.PIPE, text=True)
            self.assertEqual((result.returncode, result.stderr),
                             (1, "vantoro: standard output: cannot be written: No space left on device\n"))
        closed, call = self.call(["--version"], 1, preexec_fn=lambda: os.close(0))  # and nothing to take its place
        self.assertEqual((closed.returncode, call), (-signal.SIGABRT, "open"))


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], *sys.argv[4:]])
