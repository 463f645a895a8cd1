#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""The program from outside: files in and out, reports, exit statuses. Usage: test_cli.py PROGRAM SOURCE_DIR [TESTS]"""

import contextlib
import csv
import json
import os
import pty
import random
import re
import resource
import signal
import struct
import subprocess
import sys
import time
import unittest

import jsonschema

sys.dont_write_bytecode = True  # nothing beside the sources
from program import PROGRAM, SOURCE, Case, samples, wav, write_wav

EXAMPLES = os.path.join(SOURCE, "examples", "schematics")
GAIN = '{"blocks": {"g": {"type": "BASIC_GAIN", "params": {"gain": 1, "type": "Linear"}}}, "blockSize": %d, ' \
       '"wires": [["input", "g"], ["g", "output"]]}'
SOURCES = '{"rate": 8000, "blocks": {"dc": {"type": "SOURCE_DC", "params": {"value": 0.5}}}, "wires": [["dc", "output"]]}'


def document(path):
    """A JSON file without its comments."""
    with open(path) as f:
        return json.loads(re.sub(r'("(?:\\.|[^"\\])*")|//[^\n]*|/\*.*?\*/', lambda m: m[1] or "", f.read(), flags=re.S))


class Cli(Case):
    def parts(self):
        return [name for name in os.listdir(self.dir.name) if name.endswith(".part")]

    def test_gain_of_one_returns_every_bit(self):
        draw = random.Random(1)
        for channels, length, block in ((1, 1000, 64), (2, 1, 64), (3, 777, 7), (8, 64, 64), (2, 0, 64), (1, 300, 65536)):
            frames = [draw.uniform(-2, 2) for _ in range(channels * length)]
            frames[:4] = [1e-42, -0.0, 9.9e9, -1.0][:len(frames)]
            wav(self.path("in.wav"), frames, channels)
            out = self.call("run", self.path("g.json", GAIN % block), "-i", self.path("in.wav"), "-o", self.path("out.wav"),
                            "--format", "float")
            self.assertEqual(samples(self.path("in.wav")), samples(self.path("out.wav")), (channels, length, block))
            seconds, speed = re.match(r"([\d.]+) s of audio, ([\d.]+) x real time", out.stdout).groups()
            self.assertEqual(seconds, "%.3f" % (length / 48000))
            self.assertLessEqual(float(speed), length / 48000 / 2e-5)
            self.assertEqual(out.stdout.count("\n"), 1)
            self.assertEqual(out.stderr, "")

    def test_every_format_keeps_pcm_codes(self):
        codes = [-(1 << 23), (1 << 23) - 1, 0, 1, -1] + [random.Random(2).randrange(-1 << 23, 1 << 23) for _ in range(995)]
        wav(self.path("in.wav"), [c / (1 << 23) for c in codes], 1)
        gain = self.path("g.json", GAIN % 64)
        for name in ("out.wav", "out.flac", "out.aiff", "out.caf", "out.w64", "out.au", "out.rf64"):
            self.call("run", gain, "-i", self.path("in.wav"), "-o", self.path(name))
            self.call("run", gain, "-i", self.path(name), "-o", self.path("back.wav"), "--format", "float")
            self.assertEqual(samples(self.path("in.wav")), samples(self.path("back.wav")), name)
        self.call("run", gain, "-i", self.path("in.wav"), "-o", self.path("out.ogg"))
        for channels, bits in ((1, 16), (2, 16), (2, 24), (3, 24), (2, 32)):
            words = [c >> max(24 - bits, 0) << max(bits - 24, 0) for c in codes[:996]]
            wav(self.path("in.wav"), [w / (1 << bits - 1) for w in words], channels)
            self.call("run", gain, "-i", self.path("in.wav"), "-o", self.path("out.wav"), "--format", "pcm%d" % bits)
            self.call("run", gain, "-i", self.path("out.wav"), "-o", self.path("back.wav"), "--format", "float")
            self.assertEqual(samples(self.path("out.wav")), b"".join(w.to_bytes(bits // 8, "little", signed=True) for w in words))
            self.assertEqual(samples(self.path("in.wav")), samples(self.path("back.wav")), (channels, bits))
        # The nearest code, clipped at both ends. The report has a peak per channel and counts what does not fit.
        wav(self.path("in.wav"), [0.4 / 32768, 0.6 / 32768, -0.6 / 32768, 1.0, 1.25, -1.0, -1.5, 1.0000001], 2)
        out = self.call("run", gain, "-i", self.path("in.wav"), "-o", self.path("out.wav"), "--format", "pcm16")
        self.assertEqual(struct.unpack("<8h", samples(self.path("out.wav"))), (0, 1, -1, 32767, 32767, -32768, -32768, 32767))
        self.assertRegex(out.stdout, "peak 3.52 0.00 dBFS, 3 samples above full scale\n")
        wav(self.path("in.wav"), [-1.0] + [1.0] * 70 + [0.5, 1.0], 1)  # also from block to block
        out = self.call("run", gain, "-i", self.path("in.wav"), "-o", self.path("out.wav"))
        self.assertIn("0 samples above full scale, 69 flat at full scale", out.stdout)
        wav(self.path("in.wav"), [0.5, 1.0, 1.25, -1.0, -1.5], 1)  # 1.0 is no code of 32 bits
        self.call("run", gain, "-i", self.path("in.wav"), "-o", self.path("out.wav"), "--format", "pcm32")
        top = (1 << 31) - 128  # the largest float that fits
        self.assertEqual(struct.unpack("<5i", samples(self.path("out.wav"))), (1 << 30, top, top, -1 << 31, -1 << 31))

    def test_wrong_input_touches_nothing(self):
        wav(self.path("in.wav"), [0.5] * 100, 2)
        out, gain = self.path("out.wav", "old"), self.path("g.json", GAIN % 64)
        sources, io = self.path("s.json", SOURCES), ["-i", self.path("in.wav"), "-o", out]
        cases = (
            ([gain, "-i", self.path("none.wav"), "-o", out], ["none.wav: "]),
            ([self.path("none.json"), *io], ["none.json: cannot be read"]),
            ([self.path("bad.json", '{"blocks": {"g": {"type": "nix"}}, "rate": 1,}'), *io], ["bad.json:1:46: syntax error"]),
            ([self.path("worse.json", '{"blocks": {"g": {"type": "nix"}}, "rate": 1}'), *io, "--set", "g"],
             ["worse.json:1:19: /blocks/g/type: \"nix\": ", "/rate", "BLOCK.PARAM=VALUE"]),
            ([gain, *io, "--set", "g.gian=1"], ["--set g.gian=1", "gain"]),
            ([sources, *io], ["in.wav: 48000 Hz; the schematic is made for 8000 Hz"]),
            ([gain, "-i", self.path("in.wav"), "-o", self.path("out.xyz")], ["out.xyz: the extension"]),
            ([gain, *io, "--format", "pcm99"], ["--format"]),
            ([gain, "-i", self.path("in.wav"), "-o", self.path("no/out.wav")], ["no/out.wav: its folder cannot be written: No such file"]),
            ([gain, *io, "--format", "pcm16", "--raw-out", "s16le"], ["--raw-out", "--format"]),
            ([gain, *io, "--meter-interval", "1"], ["--meter-interval", "--meters"]),
            ([gain, *io, "--meters", self.dir.name], [self.dir.name + ": is a directory"]),
            ([gain, "-o", out], ['wired to "input"']),
            ([sources, "-o", out], ["--seconds"]),
            ([sources, "-o", out, "--seconds", "nan"], ["--seconds"]),
            ([gain, "--nonsense"], ["--nonsense"]),
        )
        for arguments, told in cases:
            error = self.call("run", *arguments, status=2).stderr
            for text in told:
                self.assertIn(text, error)
            self.assertTrue(all(line.startswith("vantoro: ") for line in error.splitlines()), error)
            self.assertEqual(self.read("out.wav"), "old")
        self.assertEqual(self.parts(), [])

    def test_a_disk_that_fills_up_keeps_the_old_file(self):
        draw = random.Random(3)
        wav(self.path("in.wav"), [draw.uniform(-1, 1) for _ in range(60000)], 2)
        gain = self.path("g.json", GAIN % 64)
        for name in ("out.wav", "out.rf64", "out.flac", "out.aiff", "out.ogg", "out.opus", "out.mp3", "raw"):
            call = ["run", gain, "-i", self.path("in.wav"), "-o", self.path(name)] + ["--raw-out", "s16le"] * (name == "raw")
            self.call(*call)
            size = os.path.getsize(self.path(name))
            for most in (0, size // 2, size - 1):  # the last bytes are written when a file is closed
                with open(self.path(name), "w") as f:
                    f.write("old")
                limit = lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (most, most))
                error = self.call(*call, status=1, preexec_fn=limit).stderr
                self.assertIn("%s: cannot be written: File too large" % self.path(name), error)
                self.assertEqual(self.read(name), "old")
        self.assertEqual(self.parts(), [])

    def test_signals_end_the_program_and_leave_nothing(self):
        out, gain = self.path("out.wav", "old"), self.path("g.json", GAIN % 64)
        raw = ["--raw-in", "s16le", "--raw-rate", "48000", "--raw-channels", "2"]
        for name in ("dot", "gnuplot"):
            with open(self.path(name), "w") as f:
                f.write("#!/bin/sh\necho $$ >%s\nexec sleep 60\n" % self.path("pid"))
            os.chmod(self.path(name), 0o700)
        busy = ["run", self.path("s.json", SOURCES), "-o", out, "--seconds", "1e7"]
        idle = ["run", gain, "-i", "-", *raw, "-o", out, "--meters", self.path("m.csv")]
        blocked = ["run", self.path("s.json"), "-o", "-", "--raw-out", "s16le", "--seconds", "1e7", "--meters", self.path("m.csv")]
        drawing = ["graph", gain, "-o", self.path("p.svg")]
        cases = [(busy, number) for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP, signal.SIGQUIT, signal.SIGPIPE)]
        cases += [(call, number) for call in (idle, blocked, drawing) for number in (signal.SIGINT, signal.SIGTERM)]
        for call, number in cases:
            child = subprocess.Popen([PROGRAM, *call], stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                     env={**os.environ, "PATH": self.dir.name + ":" + os.environ["PATH"]},
                                     preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_CORE, (0, 0)))
            with child:
                while not (os.path.exists(self.path("pid")) if call is drawing else self.parts()):
                    time.sleep(0.01)
                time.sleep(0.1)
                child.send_signal(number)
                self.assertEqual(child.wait(10), -number, call)
            self.assertEqual(self.parts(), [], call)
            if call is drawing:
                drawer = "/proc/%s/cmdline" % self.read("pid").strip()  # gone, or empty until somebody collects it
                with contextlib.suppress(OSError):
                    while self.read(drawer):
                        time.sleep(0.01)
                os.remove(self.path("pid"))
        self.assertEqual(self.read("out.wav"), "old")
        with subprocess.Popen(["nohup", PROGRAM, *busy], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL) as child:
            while not self.parts():
                time.sleep(0.01)
            child.send_signal(signal.SIGHUP)
            time.sleep(0.3)
            child.terminate()
        self.assertEqual(child.returncode, -signal.SIGTERM)

    def test_nothing_that_is_read_is_overwritten(self):
        wav(self.path("a.wav"), [0.25] * 1000, 1)
        with open(self.path("a.wav"), "rb") as f:
            before = f.read()
        gain = self.path("g.json", GAIN % 64)
        os.symlink("a.wav", self.path("link.wav"))
        os.link(self.path("a.wav"), self.path("hard.wav"))
        for name in ("g.wav", "g.svg", "g.csv"):
            os.symlink("g.json", self.path(name))
        os.symlink("spl.txt", self.path("spl.csv"))
        self.path("spl.txt", "1 0 0\n30000 0 0\n")
        run, io = ["run", gain, "-i", self.path("a.wav")], ["-o", self.path("new.wav")]
        cases = [([*run, "-o", self.path(name)], "the input") for name in ("a.wav", "link.wav", "hard.wav")]
        cases += [([*run, "-o", self.path("g.wav"), "--force"], "the schematic"),
                  ([*run, *io, "--meters", self.path("link.wav")], "the input"), ([*run, *io, "--meters", gain], "the schematic"),
                  ([*run, *io, "--meters", self.path("new.wav")], "the output"),
                  (["graph", gain, "-o", self.path("g.svg")], "the schematic"),
                  (["response", gain, "-o", self.path("g.csv")], "the schematic"),
                  (["response", gain, "-o", self.path("spl.csv"), "--speaker", self.path("spl.txt")], "the loudspeaker")]
        part = self.path("part.json", '{"blocks": {"g": {"type": "BASIC_GAIN"}}, "wires": [["input", "g"], ["g", "output"]]}')
        table = self.path("t.json", json.dumps({
            "parts": {"p": "part.json"}, "wires": [["input", "f"], ["f", "p"], ["p", "output"]],
            "blocks": {"f": {"type": "FILTER_FIR", "params": {"taps": {"file": "a.wav"}}}, "p": {"part": "p"}}}))
        os.symlink("part.json", self.path("part.svg"))
        files, live = "a file that the schematic reads", ["live", "-i", "file:" + self.path("a.wav"), "--no-server", "-o"]
        cases += [(["run", table, "-i", self.path("other.wav"), "-o", self.path("link.wav")], files),
                  (["run", table, "-i", self.path("other.wav"), *io, "--meters", part], files),
                  (["graph", table, "-o", self.path("part.svg")], files), (["export", table, "--binary", part], files),
                  ([*live, "file:" + self.path("hard.wav"), gain], "the input"),
                  ([*live, "file:" + self.path("g.wav"), gain], "the schematic"),
                  ([*live, "file:" + self.path("link.wav"), table], "the input")]
        wav(self.path("other.wav"), [0.25] * 10, 1)
        for call, kept in cases:
            self.assertIn("would overwrite " + kept, self.call(*call, status=2).stderr)
        with open(self.path("a.wav"), "rb") as f:
            self.assertEqual((f.read(), self.read("g.json"), self.read("spl.txt")), (before, GAIN % 64, "1 0 0\n30000 0 0\n"))
        self.assertFalse(os.path.exists(self.path("new.wav")))
        self.call(*run, "-o", self.path("link.wav"), "--force", "--format", "float", "--set", "g.gain=2")
        self.assertTrue(os.path.islink(self.path("link.wav")))
        self.assertEqual(samples(self.path("a.wav")), struct.pack("<f", 0.5) * 1000)

    def test_outputs_of_every_kind(self):
        wav(self.path("in.wav"), [0.25] * 200000, 2)
        run = ["run", self.path("g.json", GAIN % 64), "-i", self.path("in.wav")]
        self.call(*run, "-o", self.path("whole.wav"))
        with open(self.path("whole.wav"), "rb") as f:
            whole = f.read()
        # A link whose file does not exist yet, and a loop of them.
        os.mkdir(self.path("sub"))
        os.symlink("sub/later.wav", self.path("link.wav"))
        self.call(*run, "-o", self.path("link.wav"))
        self.assertTrue(os.path.islink(self.path("link.wav")))
        with open(self.path("sub/later.wav"), "rb") as f:
            self.assertEqual(f.read(), whole)
        os.symlink("b.wav", self.path("a.wav"))
        os.symlink("a.wav", self.path("b.wav"))
        self.assertIn("a.wav: cannot be written: Too many levels", self.call(*run, "-o", self.path("a.wav"), status=2).stderr)
        # Devices and fifos; a sound file's header comes first though it is known last.
        for output in (["/dev/null"], ["/dev/null", "--raw-out", "s16le"]):
            self.call(*run, "-o", *output, "--meters", "/dev/null")
        self.assertIn("/dev/full: cannot be written: No space left", self.call(*run, "-o", "/dev/full", status=1).stderr)
        os.mkfifo(self.path("fifo.wav"))
        with subprocess.Popen(["cat", self.path("fifo.wav")], stdout=subprocess.PIPE) as cat:
            with subprocess.Popen([PROGRAM, *run, "-o", self.path("fifo.wav")], stdout=subprocess.DEVNULL):
                self.assertEqual(cat.communicate()[0], whole)
        # Standard streams that are closed: log lines do not land in files, and printing fails.
        late = json.loads(GAIN % 64)
        late["blocks"]["late"] = {"type": 287, "params": {"maxDelay": 10, "delay": 20}}
        call = ["run", self.path("late.json", json.dumps(late)), "-i", self.path("in.wav"), "-o", self.path("x.wav")]
        for streams, status in ((range(3), 1), ((2,), 0), ((0, 2), 0)):
            child = subprocess.run([PROGRAM, *call], stdin=None, preexec_fn=lambda: [os.close(fd) for fd in streams],
                                   stdout=subprocess.DEVNULL if 1 not in streams else None)
            self.assertEqual(child.returncode, status)
            with open(self.path("x.wav"), "rb") as f:
                self.assertEqual(f.read(), whole)

    def test_files_that_are_cut_short(self):
        draw = random.Random(4)
        wav(self.path("in.wav"), [draw.uniform(-1, 1) for _ in range(200000)], 2)
        gain = self.path("g.json", GAIN % 64)
        for name in ("a.wav", "a.rf64", "a.w64", "a.flac", "a.aiff", "a.au", "a.ogg"):
            self.call("run", gain, "-i", self.path("in.wav"), "-o", self.path(name))
            os.truncate(self.path(name), os.path.getsize(self.path(name)) * 6 // 10)
            out = self.call("run", gain, "-i", self.path(name), "-o", self.path("b.wav"))
            found = len(samples(self.path("b.wav"))) // 6
            self.assertTrue(10000 < found < 90000, name)
            claim = "its end is missing;" if name == "a.ogg" else "100000 frames are claimed,"
            self.assertRegex(out.stderr, r"%s: cut short.*: %s %d found\n$" % (name, claim, found))
        strict = ["run", gain, "-i", self.path("a.wav"), "-o", self.path("c.wav"), "--strict"]
        self.assertIn("cut short", self.call(*strict, status=1).stderr)
        self.assertFalse(os.path.exists(self.path("c.wav")))
        fir = self.path("fir.json", '{"blocks": {"f": {"type": "FILTER_FIR", "params": {"taps": {"file": "taps.wav"}}}}, '
                                    '"wires": [["input", "f"], ["f", "output"]]}')
        wav(self.path("taps.wav"), [0.5] * 64, 1)
        os.truncate(self.path("taps.wav"), os.path.getsize(self.path("taps.wav")) - 200)
        self.assertIn("64 samples are claimed, ", self.call("check", fir, status=2).stderr)
        for unknown in (0x7ffff000, 0xffffffff):  # as recorders leave it that write to a pipe
            write_wav(self.path("pipe.wav"), b"", 40000, 2, 48000, 1, 16)
            with open(self.path("pipe.wav"), "r+b") as f:
                f.seek(40)
                f.write(struct.pack("<I", unknown))
            out = self.call("run", gain, "-i", self.path("pipe.wav"), "-o", self.path("b.wav"))
            self.assertEqual((len(samples(self.path("b.wav"))), out.stderr), (60000, ""))
            # No length for a pipe either, which would be too much for AIFF.
            piped = subprocess.run("cat '%s' | '%s' run '%s' -i - -o '%s' --format float" %
                                   (self.path("pipe.wav"), PROGRAM, gain, self.path("b.aiff")), shell=True, capture_output=True)
            self.assertEqual((piped.returncode, piped.stderr), (0, b""))

    def test_what_is_not_finite_is_a_failure(self):
        for frames, settings, words in (([0.5] * 200 + [float("nan")], [], "samples of the input that are not finite or beyond 1e10, taken as 0: 1"),
                                        ([1e9] * 201, ["--set", "g.gain=1e38"], "blocks of audio that are not finite: 1, starting in g")):
            wav(self.path("in.wav"), frames * 2, 1)
            call = ["run", self.path("g.json", GAIN % 64), "-i", self.path("in.wav"), "--format", "float", *settings]
            error = self.call(*call, "-o", self.path("out.wav", "old"), status=1).stderr
            self.assertIn(words, error)
            self.assertEqual(self.read("out.wav"), "old")
            self.call(*call, "-o", self.path("out.wav"), "--keep", status=1)
            got = struct.unpack("<402f", samples(self.path("out.wav")))
            self.assertEqual(got, tuple(0 if settings or v != v else v for v in frames * 2))

    def test_sources_settings_and_meters(self):
        document = json.loads(SOURCES)
        document["blocks"]["vu"] = {"type": "DETECTORS_SINGLE_BAND", "params": {"rmstc": 1}}
        document["wires"].append(["dc", "vu"])
        out = self.call("run", self.path("s.json", json.dumps(document)), "-o", self.path("o.wav"), "--format", "float", "--seconds", "1",
                        "--set", "dc.value=0.25", "--set", "dc.value=1@0.5", "--set", "dc.value=9@7",
                        "--meters", self.path("m.csv"), "--meter-interval", "0.25")
        self.assertEqual(samples(self.path("o.wav")), struct.pack("<f", 0.25) * 4032 + struct.pack("<f", 1) * 3968)
        self.assertIn("changes that end after the audio, not made or not finished: 1", out.stderr)
        self.assertRegex(out.stdout.splitlines()[1], r"^meter vu: -?0\.\d\d dB$")
        with open(self.path("m.csv")) as f:
            rows = [line.split(",") for line in f.read().splitlines()]
        self.assertEqual(rows[0], ["seconds", "vu"])
        self.assertEqual([float(row[0]) for row in rows[1:]], [0.008, 0.256, 0.504, 0.752, 1.0])
        self.assertAlmostEqual(float(rows[2][1]), -24.08, delta=0.3)  # 20 log10 of 0.25 squared, less the block's n / (n + 1)

    def test_headerless_streams_pass_through_a_pipe(self):
        draw = random.Random(2)
        graph = self.path("g.json", GAIN % 64)
        for name, bits, width, order in (("s16le", 16, 2, "little"), ("s16be", 16, 2, "big"), ("s24le", 24, 3, "little"),
                                         ("s24be", 24, 3, "big"), ("s24_32le", 24, 4, "little"), ("s32be", 32, 4, "big")):
            top = 2 ** (bits - 1) - 1
            some = min(top, 2 ** 23)  # of 32 bits a float keeps 24
            codes = [0, 1, -1, top, -top] + [draw.randint(-some, some) for _ in range(995)]
            stream = b"".join(code.to_bytes(width, order, signed=True) for code in codes)
            raw_in = ["--raw-in", name, "--raw-rate", "44100", "--raw-channels", "2"]
            run = subprocess.run([PROGRAM, "run", graph, "-i", "-", *raw_in, "-o", "-", "--raw-out", name], input=stream,
                                 capture_output=True)
            self.assertEqual((run.returncode, run.stdout), (0, stream), name)
            self.assertIn(b"s of audio", run.stderr)
            # What is beyond full scale is clipped, in files too, and the other order is the same words turned round.
            loud = subprocess.run([PROGRAM, "run", graph, "-i", "-", *raw_in, "-o", self.path("loud"), "--raw-out", name,
                                   "--set", "g.gain=4"], input=stream, capture_output=True)
            with open(self.path("loud"), "rb") as f:
                words = f.read()
            got = [int.from_bytes(words[at:at + width], order, signed=True) for at in range(0, len(words), width)]
            self.assertEqual(got[:5], [0, 4, -4, top, -top], loud.stderr)
            self.assertTrue(all(abs(g - max(-top, min(top, 4 * c))) <= 1 for g, c in zip(got, codes)))
        floats = struct.pack(">4f", 1e-40, -0.25, 3.5, 0)  # neither clipped nor rounded
        run = subprocess.run([PROGRAM, "run", graph, "-i", "-", "--raw-in", "f32be", "--raw-rate", "44100", "--raw-channels",
                              "2", "-o", "-", "--raw-out", "f32be"], input=floats, capture_output=True)
        self.assertEqual((run.returncode, run.stdout), (0, floats))
        # WAV of a length that only the end tells keeps room for the sizes of RF64.
        run = subprocess.run([PROGRAM, "run", graph, "-i", "-", "--raw-in", "f32be", "--raw-rate", "44100", "--raw-channels",
                              "2", "-o", "-", "--format", "float"], input=floats, capture_output=True)
        self.assertEqual(struct.unpack("<4sI4s4sI", run.stdout[:20]), (b"RIFF", len(run.stdout) - 8, b"WAVE", b"JUNK", 28))
        self.assertEqual(run.stdout[-24:], b"data" + struct.pack("<I4f", 16, *struct.unpack(">4f", floats)))
        self.call("run", graph, "-i", "-", "-o", self.path("x.wav"), status=2, input="no WAV file")
        # WAV files through pipes: what comes out is what a file would get.
        wav(self.path("piped.wav"), [k / 1000 for k in range(-999, 1000)] * 2, 2)
        piped = subprocess.run("cat '%s' | '%s' run '%s' -i - -o - --format pcm24 | cat" % (self.path("piped.wav"), PROGRAM, graph),
                               shell=True, capture_output=True, check=True)
        self.call("run", graph, "-i", self.path("piped.wav"), "-o", self.path("whole.wav"))
        with open(self.path("whole.wav"), "rb") as f:
            self.assertEqual(piped.stdout, f.read())
        self.call("run", graph, "-i", self.path("loud"), "--raw-in", "s16le", "-o", self.path("x.wav"), status=2)
        broken = self.call("run", graph, "-i", "-", *raw_in, "-o", self.path("x.wav"), input="1234567", status=1)
        self.assertIn("inside a frame", broken.stderr)
        self.assertFalse(os.path.exists(self.path("x.wav")))

    def test_rates_have_limits(self):
        for rate, status in ((768000, 0), (768001, 2), (1000, 0), (999, 2)):
            wav(self.path("in.wav"), [0.5] * 1000, 2, rate)
            said = self.call("run", self.path("g.json", GAIN % 64), "-i", self.path("in.wav"), "-o", self.path("o.wav"), status=status)
            self.assertEqual("to 768000 Hz can be processed" in said.stderr, status == 2)

    def test_progress_shows_on_a_terminal_only(self):
        wav(self.path("in.wav"), [0.5] * 400000, 2)
        parent, child = pty.openpty()
        call = [PROGRAM, "run", self.path("g.json", GAIN % 1), "-i", self.path("in.wav"), "-o", self.path("o.wav")]
        subprocess.run(call, stderr=child, stdout=subprocess.DEVNULL, check=True)
        os.close(child)
        self.assertIn(b"%", os.read(parent, 10000))
        os.close(parent)

    def test_log_lines_name_their_block(self):
        text = '{"blocks": {"late": {"type": 287, "params": {"maxDelay": 10, "delay": 20}}}, "wires": [["input", "late"], ["late", "output"]]}'
        self.assertIn("gain = 1; type", self.call("check", self.path("g.json", GAIN % 64)).stdout)  # a factor, no dB
        self.assertRegex(self.call("check", self.path("t.json", text)).stderr, r"is limited to 10, which is maxDelay\nlate: LOG \(.*[^\n]\n$")
        self.assertEqual(self.call("check", "--quiet", self.path("t.json")).stderr, "")

    def test_warnings_are_printed_or_errors(self):
        wav(self.path("in.wav"), [0.5] * 100, 2)
        graph = self.path("w.json", '{"blocks": {\n "g": {"type": "BASIC_GAIN"}, "h\\u001b": 1},\n "wires": [["input", "g"], ["g", "output"]]}')
        error = self.call("check", graph, status=2).stderr
        self.assertEqual(error.splitlines()[0], 'vantoro: %s:2:31: /blocks/h\\u001b: "h\\u001b": an id: letters, digits, _ and -, not '
                         'starting with a digit, not input or output' % graph)
        self.path("w.json", '{"blocks": {"g": {"type": "BASIC_GAIN"},\n "h": {"type": 289}}, "wires": [["input", "g"], ["g", "output"]]}')
        warning = "vantoro: warning: " + graph + ":2:2: /blocks/h: not connected\n"
        run = ["run", graph, "-i", self.path("in.wav"), "-o", self.path("out.wav")]
        for call in (["check", graph], run):
            self.assertEqual(self.call(*call, "--strict", status=2).stderr, warning.replace("warning: ", ""))
            self.assertFalse(os.path.exists(self.path("out.wav")))
            self.assertEqual(self.call(*call).stderr, warning)
            quiet = self.call(*call, "-q")
            self.assertEqual(quiet.stdout + quiet.stderr, "")
        self.assertIn("--bad\\u001b", self.call("check", graph, "--bad\x1b", status=2).stderr)

    def test_the_command_line_explains_itself(self):
        for line, error in (("", "a command is missing"), ("rnu x", "rnu: there is no such command; did you mean run?"),
                            ("run x --fromat=a", "--fromat: there is no such option; did you mean --format?"),
                            ("check a b", "b: one argument too many"), ("check", "schematic is required"),
                            ("run x --format mp3", "--format: mp3: pcm16, pcm24, pcm32 or float"),
                            ("run x --raw-in s16le --raw-rate 48000.5", "--raw-rate: 48000.5: a whole number from 1000 to 768000"),
                            ("run x --seconds abc", "--seconds: abc: a number"),
                            ("measure x --level nan", "--level: nan: a number from -100 to 0"),
                            ("measure x --points 08", "x: "),  # eight, not an octal number
                            ("export x", "one of --c, --direct, --binary or --filters is needed"),
                            ("export x --c a --binary b", "only one of --c, --direct, --binary and --filters can be given"),
                            ("run x --set g.a=1@1 --set g --set h", "--set: g: BLOCK.PARAM=VALUE"),
                            ("graph x -o y.svg --set g.a=1@1", "--set: g.a=1@1: a value from the start, without @ and seconds")):
            self.assertIn("vantoro: " + error, self.call(*line.split(), status=2).stderr)
        overview = self.call("help").stdout
        self.assertEqual(overview, self.call("--help").stdout)
        commands = re.findall("^  ([a-z]+) ", overview, re.M)
        self.assertEqual(len(commands), 15)
        manual = self.call("help", "--man").stdout
        for command in commands:
            text = self.call("help", command).stdout
            self.assertEqual(text, self.call(command, "-h").stdout)
            self.assertIn('.SS "vantoro ' + command, manual)
            for option in re.findall("--[a-z-]+", text):
                self.assertIn(option.replace("-", "\\-"), manual)
        script = self.path("complete", self.call("completion", "bash").stdout)
        for line, words in (("re", "response"), ("run --raw-c", "--raw-channels"), ("run --format pcm1", "pcm16"), ("run -o ", ""),
                            ("help di", "diff")):
            words_of = 'source %s; COMP_WORDS=(vantoro "$@"); COMP_CWORD=$#; _vantoro; echo "${COMPREPLY[*]}"' % script
            found = subprocess.run(["bash", "-c", words_of, "bash", *line.split(" ")], capture_output=True, text=True, check=True)
            self.assertEqual(found.stdout.strip(), words)

    def test_examples_are_free_of_problems(self):
        names = sorted(os.listdir(EXAMPLES))
        self.assertGreater(len(names), 1)
        for name in names:
            path = os.path.join(EXAMPLES, name)
            with self.subTest(name):
                listing = self.call("check", path)
                self.assertEqual(listing.stderr, "")
                self.call("graph", path, "-o", self.path(name + ".svg"))
                for block, value in document(path)["blocks"].items():
                    self.assertIn(" %s%s" % (block, "/" if "part" in value else ": "), listing.stdout)
        path = os.path.join(EXAMPLES, "two_way.json")
        self.call("graph", path, "-o", self.path("values.svg"), "--values", "--down", "--set", "tweeters.volumes[1]=-7")
        with open(self.path("values.svg")) as f:
            drawn = f.read().replace("&#45;", "-").replace("&#160;", " ")
        for text in (document(path)["title"], "3 high", "volumes[1]: -7", "lowFc = 1900 Hz"):
            self.assertIn(text, drawn)
        pictures = os.path.join(SOURCE, "docs", "schematics")
        for name in os.listdir(pictures):
            self.assertEqual(self.call("check", "--strict", os.path.join(pictures, name)).stderr, "", name)

    def test_flat_schematic_makes_the_same_preset(self):
        paths = [os.path.join(folder, name) for folder in (EXAMPLES, os.path.join(SOURCE, "docs", "schematics"))
                 for name in sorted(os.listdir(folder))]
        for path in paths:
            with self.subTest(path):
                for channels in ((), ("--channels", "2")):
                    flat = subprocess.run([PROGRAM, "check", path, "--flat", *channels], capture_output=True, text=True)
                    if flat.returncode != 0 and channels:
                        continue  # one that is made for other inputs
                    again = self.path("flat.json", flat.stdout)
                    strict = () if channels else ("--strict",)  # else some inputs are not used
                    self.assertEqual(self.call("check", again, "--flat", *strict).stdout, flat.stdout)
                    self.call("export", path, "--binary", self.path("a"), *channels)
                    self.call("export", again, "--binary", self.path("b"))
                    with open(self.path("a"), "rb") as a, open(self.path("b"), "rb") as b:
                        self.assertEqual(a.read(), b.read())

    def test_schema(self):
        stored = os.path.join(SOURCE, "host", "schematic.schema.json")
        with open(stored) as f:
            text = f.read()
        self.assertEqual(self.call("blocks", "--schema").stdout, text, "store it anew: vantoro blocks --schema > " + stored)
        schema = json.loads(text)
        jsonschema.Draft7Validator.check_schema(schema)
        validator = jsonschema.Draft7Validator(schema)
        for folder in (EXAMPLES, os.path.join(SOURCE, "docs", "schematics")):
            for name in sorted(os.listdir(folder)):
                with self.subTest(name):
                    validator.validate(document(os.path.join(folder, name)))
        good = {"blocks": {"a": {"type": 289}}, "wires": [["a.0-1", "output"], ["a.low.1", "a.q"]], "changes": [{"at": 1, "set": {"a.gain": 1}}]}
        validator.validate(good)
        for key, value in (("blocks", {"1": {"type": 1}}), ("blocks", {"a": {}}), ("wires", [["a"]]), ("wires", [["a.x.y", "b"]]),
                           ("rate", 1), ("blockSize", 0), ("changes", [{"at": -1, "set": {}}]), ("nonsense", 1)):
            self.assertFalse(validator.is_valid({**good, key: value}), (key, value))
        for block, valid in (("FILTER_2ND_GENERAL", {}), ("EN_FILTER_2ND_GENERAL", {"type": "Gen_BP", "q": 11}),
                             ("FILTER_2ND_GENERAL", {"q": 16, "boostDb": "3dB", "fc": "=c * 2"}),
                             ("BASIC_GAIN", {"type": "Linear", "gain": "=db(1)"}), ("BASIC_GAIN", {"gain": "-1 dB"}), ("FILTER_2ND_GENERAL", {"type": 0, "q": 16}),
                             ("FILTER_FIR", {"taps": [1, 0.5]}), ("MIXERS_CROSS", {"gains": [[0, -6], [-6, 0]]}),
                             ("FILTER_TEXTEQ", {"bands": [{"type": "Text_LP", "fc": 60}, [1, 0, 0, 3, 100, 1, 0]]})):
            self.assertTrue(validator.is_valid({"blocks": {"a": {"type": block, "params": valid}}}), (block, valid))
        for block, wrong in (("FILTER_2ND_GENERAL", {"gain": 3}), ("EN_FILTER_2ND_GENERAL", {"type": "Gen_BP", "q": 12}),
                             ("FILTER_2ND_GENERAL", {"q": 17}), ("FILTER_1ST", {"fc": "3 ms"}),
                             ("BASIC_GAIN", {"type": "Linear", "gain": "-1 dB"}), (770, {"type": "Gen_LS", "q": 3}), ("FILTER_1ST", {"fc": 0}),
                             ("FILTER_2ND_GENERAL", {"type": "Gen_Peaking", "boostDb": 3}), ("FILTER_1ST", {"enable": "yes"}),
                             ("FILTER_FIR", {"taps": []}), ("BASIC_ARITH_ABS", {"x": 1}), ("FILTER_1ST", {"type": "LS3rd"}),
                             ("FILTER_TEXTEQ", {"bands": [{"type": "Text_BP", "q": 12}]}), ("FILTER_NONBARE", {"k": 1}),
                             ("FILTER_TEXTEQ", {"bands": [[1, 0]]}), ("NONSENSE", {})):
            self.assertFalse(validator.is_valid({"blocks": {"a": {"type": block, "params": wrong}}}), (block, wrong))

    def test_blocks_as_json_and_text(self):
        types = json.loads(self.call("blocks", "--json").stdout)
        self.assertGreater(len(types), 100)
        overview = self.call("blocks").stdout
        for one in types:
            self.assertEqual("terminal" not in one["traits"], " %s " % one["name"] in overview, one["name"])
        limiter = json.loads(self.call("blocks", "dp_limiter", "--json").stdout)
        self.assertIn(limiter, types)
        self.assertEqual(limiter["defaults"]["thresholdDb"], -3)
        self.assertIn("did you mean BASIC_GAIN", self.call("blocks", "BASIC_GIAN", status=2).stderr)
        self.call("blocks", "--schema", "--json", status=2)

    def test_pictures_need_their_programs(self):
        passthrough = os.path.join(EXAMPLES, "passthrough.json")
        path = self.path("p.svg", "old")
        os.mkdir(self.path("bin"))
        for script, words in ((None, "'dot' is missing"), ("echo half; exit 3", "'dot' failed with status 3"),
                              ("kill -9 $$", "'dot' was ended by a signal: Killed"), ("", "'dot' wrote nothing")):
            if script is not None:
                with open(self.path("bin/dot"), "w") as f:
                    f.write("#!/bin/sh\n" + script + "\n")
                os.chmod(self.path("bin/dot"), 0o700)
            self.assertIn(words, self.call("graph", passthrough, "-o", path, status=1, env={"PATH": self.path("bin")}).stderr)
            self.assertEqual(self.read("p.svg"), "old")
        self.call("graph", passthrough, "-o", self.path("p.txt"), status=2)
        with open(self.path("bin/dot"), "w") as f:
            f.write("#!/bin/sh\nexec /bin/cat\n")
        self.call("graph", os.path.join(EXAMPLES, "loudspeaker.json"), "-o", path, env={"PATH": self.path("bin")})
        with open(os.path.join(EXAMPLES, "loudspeaker.json")) as f:
            wires = json.load(f)["wires"]
        self.assertGreaterEqual(self.read("p.svg").count("->"), len(wires))

    def test_responses_take_every_option_or_refuse_it(self):
        document = json.loads(GAIN % 64)
        document["rate"] = 44100
        respond = ["response", self.path("g.json", json.dumps(document)), "-o", self.path("r.csv")]
        for options, words in ((["--rate", "48000"], "--rate 48000: the schematic is made for 44100 Hz"),
                               (["--set", "g.gain=2@3"], "--set: g.gain=2@3: a value from the start")):
            self.assertIn(words, self.call(*respond, *options, status=2).stderr)
        self.call("check", self.path("g.json"), "--rate", "48000", status=2)
        press = ["response", os.path.join(EXAMPLES, "loudspeaker.json"), "-o", self.path("r.csv")]
        self.assertIn("measured at -60 dBFS", self.call(*press).stderr)
        self.assertIn("--method measured does", self.call(*press, "--method", "coefficients", status=2).stderr)
        # A loudspeaker's file, as different programs write it.
        rows = ((10, 80.5, 10), (1000, 82.25, -5), (30000, 70, 120))
        texts = ("* a comment\n* Freq(Hz) SPL(dB) Phase(degrees)\n", "A loudspeaker\nHz\tdB\tdegrees\n", "", "\ufeff",
                 "# one\n\nFrequency, Level, Phase\n")
        tables = []
        for separator in (" ", "\t", ",", ", ", ";"):
            for text in texts:
                for decimal in (".,", ".")[separator in (",", ", ")]:
                    lines = (separator.join("%.2f" % v for v in row).replace(".", decimal) + "\r\n" for row in rows)
                    self.path("speaker.frd", text + "".join(lines))
                    said = self.call(*respond, "--rate", "44100", "--speaker", self.path("speaker.frd"))
                    self.assertNotIn("measured", said.stderr)
                    tables.append(self.read("r.csv"))
        self.assertEqual(len(set(tables)), 1)
        self.assertIn(",82.25", tables[0])

    def test_responses_show_delay_and_the_ground_of_a_notch(self):
        blocks = {"late": {"type": "BASIC_DSP_DELAY", "params": {"maxDelay": 10, "delay": 10, "type": "Milliseconds"}},
                  "notch": {"type": "FILTER_2ND_GENERAL", "params": {"type": "Gen_Notvh", "fc": 50, "q": 8}}}
        graph = self.path("d.json", json.dumps({"rate": 48000, "blocks": blocks,
                                                "wires": [["input", "late"], ["late", "notch"], ["notch", "output"]]}))
        at = {}
        for below in ("phase", "unwrapped", "without-delay", "group-delay"):
            table = list(csv.reader(self.call("response", graph, "--channels", "1", "-o", "-", "--below", below).stdout.splitlines()))
            at[below] = {float(row[0]): [float(value or "nan") for value in row[1:]] for row in table[1:]}
            self.assertLess(at[below][50][0], -45)  # as deep as its coefficients in single precision
        for hz in (h for h in at["phase"] if h > 1000):
            turned = -360 * 0.01 * hz
            self.assertAlmostEqual(at["group-delay"][hz][1], 10, delta=0.01)
            self.assertAlmostEqual(at["unwrapped"][hz][1], turned, delta=2)
            self.assertAlmostEqual(at["without-delay"][hz][1], 0, delta=2 + 3.6e-6 * hz)
        self.assertIn("without 10.0", self.call("response", graph, "-o", "-", "--below", "without-delay").stdout)
        for options, error in ((["--hz", "5:100"], "--hz: 5:100: LOW:HIGH, within 20 to 24000"), (["--db", "3"], "--db: 3: LOW:HIGH")):
            self.assertIn(error, self.call("response", graph, "-o", "-", *options, status=2).stderr)

    def test_curves_and_levels_belong_to_their_outputs(self):
        gains = {"g%d" % n: {"type": "BASIC_GAIN", "params": {"gain": 0.5 ** n, "type": "Linear"}} for n in range(3)}
        graph = self.path("three.json", json.dumps({"blocks": gains, "wires":
                          [["input.0", name] for name in gains] + [[name, "output.%d" % n] for n, name in enumerate(gains)]}))
        table = list(csv.reader(self.call("response", graph, "--method", "both", "-o", "-").stdout.splitlines()))
        self.assertEqual([name[:8] for name in table[0][1::2]], ["output 0", "output 1", "output 2"] * 2)
        for n, level in enumerate(table[10][1::2]):
            self.assertAlmostEqual(float(level), -6.02 * (n % 3), delta=0.01)
        few = self.call("response", graph, "-o", "-", "--to", "2", "--to", "1").stdout.splitlines()[0]
        self.assertEqual(re.findall("output . ", few), ["output 1 ", "output 1 ", "output 2 ", "output 2 "])
        self.assertIn("--to: 3: an output from 0 to 2", self.call("response", graph, "-o", "-", "--to", "3", status=2).stderr)
        wav(self.path("in.wav"), [0.0] * 99 + [0.5], 1)  # in the part of a block that ends the file
        report = self.call("run", graph, "-i", self.path("in.wav"), "-o", self.path("o.wav")).stdout
        self.assertIn("peak -6.02 -12.04 -18.06 dBFS", report)

    def test_a_tail_lets_delays_end(self):
        wav(self.path("in.wav"), [1.0] * 10, 1)
        graph = self.path("d.json", json.dumps({
            "blocks": {"late": {"type": "BASIC_DSP_DELAY", "params": {"maxDelay": 25, "delay": 25, "type": "Milliseconds"}}},
            "wires": [["input", "late"], ["late", "output"]]}))
        run = ["run", graph, "-i", self.path("in.wav"), "-o", self.path("o.wav"), "--format", "float"]
        for tail, least, most in (("0", 10, 10), ("0.02", 970, 970), ("0.0625", 3010, 3010), ("auto", 97210, 97210 + 128)):
            self.call(*run, "--tail", tail)
            out = samples(self.path("o.wav"))
            out = struct.unpack("<%df" % (len(out) // 4), out)
            self.assertTrue(least <= len(out) <= most, len(out))
            self.assertEqual(list(out), [1.0 if 1200 <= k < 1210 else 0.0 for k in range(len(out))])
        self.assertIn("--tail: -1: seconds from 0 to 3600, or auto", self.call(*run, "--tail", "-1", status=2).stderr)
        self.call("run", self.path("s.json", SOURCES), "-o", self.path("o.wav"), "--seconds", "1", "--tail", "1", status=2)

    def test_files_have_limits_and_modes(self):
        with open(self.path("long.json", "{}"), "r+") as f:
            f.truncate((64 << 20) + 1)
        self.assertIn("longer than 64 MiB", self.call("check", self.path("long.json"), status=2).stderr)
        for count, status in ((100000, 0), (100001, 2)):
            many = self.path("many.json", json.dumps({"blocks": {"b%d" % k: {"type": "SOURCE_DC"} for k in range(count)}}))
            self.assertEqual("at most 100000 blocks" in self.call("check", many, status=status).stderr, status == 2)
        # A new file has the mode that the mask leaves, one that is replaced keeps its own.
        draw = ["graph", os.path.join(EXAMPLES, "first_steps.json"), "-o", self.path("o.svg")]
        for mask, mode in ((0o027, 0o640), (0o002, 0o664), (0o077, 0o600)):
            self.call(*draw, preexec_fn=lambda: os.umask(mask))
            self.assertEqual(os.stat(self.path("o.svg")).st_mode & 0o777, mode)
            os.chmod(self.path("o.svg"), 0o604)
            self.call(*draw)
            self.assertEqual(os.stat(self.path("o.svg")).st_mode & 0o777, 0o604)
            os.remove(self.path("o.svg"))

    def test_too_little_memory_is_a_failure(self):
        if "Sanitizer" in os.environ.get("VANTORO_FLAVOUR", ""):
            self.skipTest("a sanitizer takes all addresses")
        most = 256 << 20
        long = self.path("long.json", "[" + "0," * (20 << 20) + "0]")
        result = self.call("check", long, status=1, preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_AS, (most, most)))
        self.assertEqual(result.stderr, "vantoro: out of memory\n")

    def test_memory_does_not_grow_with_length(self):
        if "Sanitizer" in os.environ.get("VANTORO_FLAVOUR", ""):
            self.skipTest("a sanitizer's own memory would be measured")
        peaks = []
        for seconds in (2, 600):
            length = seconds * 44100 * 4
            write_wav(self.path("in.wav"), b"", length, 2, 44100, 1, 16)  # a hole: silence
            child = subprocess.Popen([PROGRAM, "run", os.path.join(EXAMPLES, "first_steps.json"), "-i", self.path("in.wav"), "-o",
                                      self.path("out.wav"), "--format", "pcm16"], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
            _, status, usage = os.wait4(child.pid, 0)
            child.returncode = status
            self.assertEqual(status, 0)
            self.assertEqual(len(samples(self.path("out.wav"))) if seconds < 10 else length, length)
            peaks.append(usage.ru_maxrss)
        self.assertLess(peaks[1] - peaks[0], 1024, "KiB")


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], *sys.argv[3:]])
