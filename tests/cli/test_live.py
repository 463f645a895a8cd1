#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""vantoro live on files, a JACK server without a card, and an ALSA device of the test's own.
Usage: test_live.py VANTORO SOURCE_DIR [JACK_CLIENT] [ALSA_PLUGIN]"""

import ctypes
import filecmp
import json
import math
import os
import re
import resource
import shutil
import signal
import struct
import subprocess
import sys
import tempfile
import time
import unittest
import wave

VANTORO, SOURCE = sys.argv[1], sys.argv[2]
JACK_CLIENT, PLUGIN = (sys.argv[3:5] + ["", ""])[:2]
EXAMPLES = os.path.join(SOURCE, "examples", "schematics")
LOG_LIMIT = 1 << 24  # bytes
sys.path.insert(0, os.path.join(SOURCE, "clients", "python"))
from vantoro_client import Client, Problems


def die_with_parent():
    """A server that is left alone in freewheel uses a whole core. One that is killed keeps its place, of which there
    are eight in a machine."""
    resource.setrlimit(resource.RLIMIT_CPU, (60, 60))
    ctypes.CDLL(None).prctl(1, signal.SIGTERM)


def limits():
    resource.setrlimit(resource.RLIMIT_FSIZE, (LOG_LIMIT, LOG_LIMIT))


class Case(unittest.TestCase):
    def setUp(self):
        self.dir = tempfile.mkdtemp()
        self.addCleanup(shutil.rmtree, self.dir)
        self.env = dict(os.environ)
        self.music = self.path("music.wav")
        with wave.open(self.music, "wb") as f:
            f.setparams((2, 2, 48000, 0, "NONE", ""))
            f.writeframes(b"".join(struct.pack("<hh", (i * 37) % 16000 - 8000, (i * 91) % 12000 - 6000)
                                   for i in range(48000)))

    def path(self, name):
        return os.path.join(self.dir, name)

    def run_it(self, *args):
        return subprocess.run([VANTORO, *args], env=self.env, capture_output=True, text=True, timeout=30)

    def live(self, *args):
        """A session; its log grows in self.log."""
        with open(self.path("log"), "w") as log:
            self.session = subprocess.Popen([VANTORO, "live", *args, "--seconds", "60"], env=self.env, stderr=log,
                                            preexec_fn=limits)
        self.addCleanup(self.stop)

    def stop(self):
        if self.session.poll() is None:
            self.session.send_signal(signal.SIGINT)
        return self.session.wait(10)

    def log(self):
        with open(self.path("log")) as f:
            return f.read()

    def wait_for(self, pattern, seconds=5.0, count=1):
        """Until the log has the pattern; how long it took."""
        start = time.monotonic()
        while len(re.findall(pattern, self.log())) < count:
            self.assertLess(time.monotonic() - start, seconds, f"no {pattern!r} in\n{self.log()}")
            time.sleep(0.02)
        return time.monotonic() - start

    def edit(self, change):
        with open(self.path("s.json")) as f:
            document = json.load(f)
        change(document)
        with open(self.path("new"), "w") as f:
            json.dump(document, f)
        os.rename(self.path("new"), self.path("s.json"))


class Files(Case):
    def test_a_file_through_a_schematic_is_what_run_makes_of_it(self):
        schematic = os.path.join(EXAMPLES, "loudspeaker_eq.json")
        self.assertEqual(self.run_it("run", schematic, "-i", self.music, "-o", self.path("run.wav")).returncode, 0)
        live = self.run_it("live", schematic, "--input", "file:" + self.music, "--output", "file:" + self.path("live.wav"),
                           "--no-server", "-q")
        self.assertEqual((live.returncode, live.stderr), (0, ""))
        self.assertTrue(filecmp.cmp(self.path("run.wav"), self.path("live.wav"), shallow=False))
        os.truncate(self.music, 100000)
        cut = self.run_it("run", schematic, "-i", self.music, "-o", self.path("run.wav")).stderr
        self.assertRegex(cut, r"^vantoro: .*music.wav: cut short or damaged: 48000 frames are claimed, \d+ found\n$")
        for more, times in ([], 1), (["--loop", "--seconds", "2"], 1), (["-q"], 0):
            live = self.run_it("live", schematic, "--input", "file:" + self.music, "--output", "null", *more)
            self.assertEqual(live.stderr.count(cut), times, live.stderr)

    def test_a_saved_file_is_heard_and_a_broken_one_is_not(self):
        for more in [], ["--no-server"]:
            with self.subTest(more=more):
                self.save_right_and_wrong(*more)

    def save_right_and_wrong(self, *more):
        shutil.copy(os.path.join(EXAMPLES, "passthrough.json"), self.path("s.json"))
        self.live(self.path("s.json"), "--input", "file:" + self.music, "--output", "null", "--loop", *more)
        self.wait_for("running")
        self.edit(lambda d: d.update(blocks=3))
        self.wait_for("goes on as before")
        self.assertIn("/blocks", self.log())
        with open(os.path.join(EXAMPLES, "passthrough.json")) as f:
            good = json.load(f)
        self.edit(lambda d: d.update(good, title="again"))
        self.wait_for("read anew")
        self.edit(lambda d: d.update(blocks={"low": {"type": "FILTER_2ND_BESSEL_BUTTER", "params": {"type": "ButterLP", "fc": 200}}},
                                     wires=[["input", "low"], ["low", "output"]]))
        self.wait_for("read anew", count=2)
        self.edit(lambda d: d.update(good))
        self.wait_for("read anew", count=3)
        self.edit(lambda d: d.update(block_size=32))
        self.wait_for("goes on as before", count=2)
        self.assertEqual(self.stop(), 0)
        self.assertRegex(self.log(), r"music\.wav to nowhere: 48000 Hz, period \d+\n")
        self.assertRegex(self.log(), r"s played, \d+ xruns, 0 blocks muted")

    def peak_above_5_khz(self, path, start):
        """In dBFS, from a moment on: what passes eight high-passes of second order."""
        with wave.open(path, "rb") as f, wave.open(self.path("cut.wav"), "wb") as cut:
            cut.setparams(f.getparams())
            f.setpos(start)
            cut.writeframes(f.readframes(f.getnframes() - start))
        passes = {"hp%d" % n: {"type": "FILTER_2ND_BESSEL_BUTTER", "params": {"type": "ButterHP", "fc": 5000}} for n in range(8)}
        chain = ["input", *passes, "output"]
        with open(self.path("high.json"), "w") as f:
            json.dump({"blocks": passes, "wires": list(zip(chain, chain[1:]))}, f)
        said = self.run_it("run", self.path("high.json"), "-i", self.path("cut.wav"), "-o", self.path("high.wav"))
        with wave.open(self.path("high.wav"), "rb") as f:
            frames = f.readframes(f.getnframes())[6 * 4800:]  # the cut itself is a click
        self.assertEqual(said.returncode, 0, said.stderr)
        peak = max(abs(int.from_bytes(frames[i:i + 3], "little", signed=True)) for i in range(0, len(frames), 3))
        return 20 * math.log10(max(peak, 1) / 2**23)

    def test_a_client_moves_what_plays_and_nobody_hears_the_joints(self):
        tones = self.path("tones.wav")  # 100 Hz and 1 kHz, whole periods of both
        with wave.open(tones, "wb") as f:
            f.setparams((2, 3, 48000, 0, "NONE", ""))
            f.writeframes(b"".join(2 * round(2**21 * (math.sin(math.tau * i / 480) + math.sin(math.tau * i / 48)))
                                   .to_bytes(3, "little", signed=True) for i in range(48000)))
        with open(self.path("s.json"), "w") as f:
            json.dump({"blocks": {"low": {"type": "FILTER_2ND_BESSEL_BUTTER", "params": {"type": "ButterHP", "fc": 40}},
                                  "eq": {"type": "FILTER_GRAPHICAL_EQ", "params": {"bands": [{"fc": 200}, {"fc": 1000}]}},
                                  "fader": {"type": "VC_SIG_CONTROL_SLEW", "params": {"volumeDb": -3}}},
                       "wires": [["input", "low"], ["low", "eq"], ["eq", "fader"], ["fader", "output"]]}, f, indent=2)
        self.live(self.path("s.json"), "--input", "file:" + tones, "--loop", "--output", "file:" + self.path("out.wav"))
        self.wait_for("running", count=2)
        address = re.search(r"http://\S+", self.log()).group()
        with Client(address) as page, Client(address) as other:
            for n in range(20):
                page.set({"eq.bands[%d].boostDb" % (n % 2): (n * 7) % 13 - 6, "low.fc": 40 + n})
                time.sleep(0.06)
            for request in [{"undo": True}, {"redo": True}, {"bypass": {"eq": True}}, {"ab": "copy"}, {"ab": "b"},
                            {"set": {"fader.volumeDb": -9}}, {"bypass": {"eq": False}}, {"ab": "a"}]:
                other.ask(**request)
                time.sleep(0.15)
            with self.assertRaises(Problems):
                other.set({"low.type": "ButterXX"})
            status = page.ask(status=True)["status"]
            self.assertEqual((status["heard"], status["mutedBlocks"]), (other.ask(get=["low.fc"])["rev"], 0))
            saved = page.ask(save={"rev": status["heard"]})["changes"]
            self.assertEqual({change["path"].split(".")[0] for change in saved}, {"low", "eq"})
        self.assertEqual(self.stop(), 0)
        self.assertLess(self.peak_above_5_khz(self.path("out.wav"), 24000), -80)

    def test_ctrl_c_fades_out(self):
        steady = self.path("steady.wav")
        with wave.open(steady, "wb") as f:
            f.setparams((2, 2, 48000, 0, "NONE", ""))
            f.writeframes(struct.pack("<hh", 16000, -16000) * 48000)
        self.live(os.path.join(EXAMPLES, "passthrough.json"), "--input", "file:" + steady, "--loop", "--output",
                  "file:" + self.path("out.wav"))
        self.wait_for("running", count=2)
        start = time.monotonic()
        self.assertEqual(self.stop(), 0)
        self.assertLess(time.monotonic() - start, 2)
        with wave.open(self.path("out.wav"), "rb") as f:
            frames = f.readframes(f.getnframes())
        left = [int.from_bytes(frames[i:i + 3], "little", signed=True) / 2**23 for i in range(0, len(frames), 6)]
        self.assertEqual(left[-1], 0)
        self.assertEqual(left[48000], 16000 / 32768)
        steepest = max(abs(b - a) for a, b in zip(left[48000:], left[48001:]))
        self.assertTrue(0 < steepest < 0.5 * 0.0018, steepest)  # a raised cosine over 960 frames

    def test_what_is_asked_wrongly_is_said(self):
        schematic = os.path.join(EXAMPLES, "passthrough.json")
        for args, said in [(["--input", "tape:1"], "one of file:PATH, null"),
                           (["--input", "file:" + self.music, "--output", "null", "--rate", "44100"], "48000 Hz, --rate 44100"),
                           (["--no-server", "--port", "8000"], "--no-server excludes --port"),
                           (["--input", "file:" + self.path("no.wav"), "--output", "null"], "no.wav")]:
            result = self.run_it("live", schematic, *args)
            self.assertNotEqual(result.returncode, 0)
            self.assertIn(said, result.stderr)
        self.assertIn("file", self.run_it("--version").stdout)
        self.assertEqual(self.run_it("devices").returncode, 0)


@unittest.skipUnless(JACK_CLIENT and shutil.which("jackd"), "no JACK server here")
class Jack(Case):
    def serve(self):
        # 64 ports in all: with the usual 2048 a server wants 107 MB of shared memory, and a container has 64
        with open(self.path("server"), "w") as said:
            self.server = subprocess.Popen(["jackd", "-n", self.name, "-p", "64", "--no-realtime", "-d", "dummy", "-r", "48000",
                                            "-p", "1024", "-C", "4", "-P", "6"], env=self.env, stdout=said, stderr=said,
                                           preexec_fn=die_with_parent)
        self.addCleanup(self.end_server, self.server)
        for _ in range(100):
            if "jack" in self.run_it("devices").stdout.replace("jack                         none", ""):
                return
            if self.server.poll() is not None:
                self.skipTest("no JACK server runs on this machine: " + self.said_by_server())
            time.sleep(0.05)
        self.fail("the JACK server is not seen; it says " + self.said_by_server())

    def said_by_server(self):
        with open(self.path("server")) as f:
            return "status %s, %s" % (self.server.poll(), f.read())

    @staticmethod
    def end_server(server):
        server.terminate()
        server.wait(10)

    def setUp(self):
        super().setUp()
        self.name = "vantoro-test-%d" % os.getpid()
        self.env.update(JACK_DEFAULT_SERVER=self.name, JACK_NO_START_SERVER="1", JACK_NO_AUDIO_RESERVATION="1")
        self.serve()

    def test_sounds_as_run_does_bit_for_bit(self):
        for name in ["loudspeaker_eq", "passthrough", "room"]:
            schematic = os.path.join(EXAMPLES, name + ".json")
            self.live(schematic, "--input", "jack", "--output", "jack")
            self.wait_for("jack: 48000 Hz")
            heard = subprocess.run(["timeout", "20", JACK_CLIENT, self.music, self.path("heard.wav")], env=self.env,
                                   capture_output=True, text=True)
            self.assertEqual(heard.returncode, 0, heard.stderr)
            self.assertEqual(self.stop(), 0)
            self.run_it("run", schematic, "-i", self.path("heard.in.wav"), "-o", self.path("run.wav"), "--format", "float")
            with open(self.path("run.wav"), "rb") as a, open(self.path("heard.wav"), "rb") as b:
                self.assertTrue(a.read()[-100000:] == b.read()[-100000:], name)

    def test_a_server_that_ends_is_said_and_taken_up_again(self):
        self.live(os.path.join(EXAMPLES, "passthrough.json"), "--input", "jack", "--output", "jack")
        self.wait_for("running")
        self.end_server(self.server)
        self.assertLess(self.wait_for("server is gone", 2), 1)
        self.serve()
        self.assertLess(self.wait_for("plays again", 4), 2)
        self.assertEqual(self.stop(), 0)


@unittest.skipUnless(PLUGIN, "no ALSA here")
class Alsa(Case):
    def setUp(self):
        super().setUp()
        with open(self.path("asoundrc"), "w") as f:
            f.write(f"""
pcm_type.vtest {{ lib "{PLUGIN}" }}
pcm.card {{ type vtest gone "{self.path('gone')}" stumble "{self.path('stumble')}" }}
pcm.other {{ type vtest }}
pcm.tape {{ type file slave.pcm "other" file "{self.path('tape.raw')}" format "raw" }}
""")
        self.env.update(ALSA_CONFIG_PATH="/usr/share/alsa/alsa.conf:" + self.path("asoundrc"))
        self.schematic = os.path.join(EXAMPLES, "passthrough.json")

    def test_a_device_that_goes_and_comes_back(self):
        self.live(self.schematic, "--input", "alsa:card", "--output", "alsa:card")
        self.wait_for("running")
        self.assertIn("the device has 4 channels, the schematic 2", self.log())
        open(self.path("stumble"), "w").close()
        self.wait_for("1 xruns")
        open(self.path("gone"), "w").close()
        self.assertLess(self.wait_for("device is gone", 2), 1)
        os.remove(self.path("gone"))
        self.assertLess(self.wait_for("plays again", 4), 2)
        seconds = float(re.findall(r"running ([\d.]+) s", self.log())[-1])
        self.wait_for(r"running (?!%s)" % seconds, count=3)
        self.assertEqual(self.stop(), 0)

    def test_two_clocks_are_refused_and_formats_named(self):
        result = self.run_it("live", self.schematic, "--input", "alsa:card", "--output", "alsa:other")
        self.assertNotEqual(result.returncode, 0)
        self.assertIn("clocks of their own", result.stderr)

    def test_what_a_device_gets_is_what_run_makes_in_every_format(self):
        for alsa, raw, size in [("S16_LE", "s16le", 2), ("S24_3LE", "s24le", 3), ("S24_LE", "s24_32le", 4), ("S32_LE", "s32le", 4),
                                ("FLOAT_LE", "f32le", 4)]:
            with open(self.path("asoundrc"), "a") as f:
                f.write(f"""
pcm.other_{raw} {{ type vtest format {alsa} }}
pcm.tape_{raw} {{ type file slave.pcm "other_{raw}" file "{self.path(raw)}" format "raw" }}
pcm.played_{raw} {{ type file slave.pcm "other_{raw}" file "/dev/null" infile "{self.path(raw)}" format "raw" }}
""")
            self.live(self.schematic, "--input", "file:" + self.music, "--output", "alsa:tape_" + raw)
            self.assertEqual(self.session.wait(20), 0, self.log())
            self.run_it("run", self.schematic, "-i", self.music, "-o", self.path("run.raw"), "--raw-out", raw)
            with open(self.path(raw), "rb") as tape, open(self.path("run.raw"), "rb") as run:
                frames = tape.read()  # of four channels, two of them silent
                heard = b"".join(frames[i:i + 2 * size] for i in range(0, len(frames) - 4 * size + 1, 4 * size))
                self.assertTrue(run.read()[:100000] in heard, raw)
            self.live(self.schematic, "--input", "alsa:played_" + raw, "--output", "file:" + self.path("back.wav"))
            self.wait_for("running", count=2)
            self.stop()
            self.run_it("run", self.schematic, "-i", self.path("back.wav"), "-o", self.path("back.raw"), "--raw-out", raw)
            with open(self.path("back.raw"), "rb") as back:
                taken = back.read()[4800:48000]
            self.assertTrue(len(set(taken)) > 16 and taken in heard, raw)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=1)
