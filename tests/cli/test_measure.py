#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""What is measured is what is there, and lists of filters mean what their formulas say.
Usage: test_measure.py PROGRAM SOURCE_DIR [TESTS]"""

import array
import cmath
import csv
import json
import math
import os
import random
import sys
import unittest

sys.dont_write_bytecode = True  # nothing beside the sources
from program import Case, samples, wav

RATE = 48000
SECONDS = 2
TEST_SWEEP = ["--seconds", str(SECONDS)]


def turned(a, b):
    """Degrees between two phases."""
    return abs((a - b + 180) % 360 - 180)


class Responses(Case):
    def response(self, schematic, *options):
        """Rows of frequency, then dB and degrees of every curve."""
        rows = csv.reader(self.call("response", schematic, "-o", "-", *options).stdout.splitlines()[1:])
        return {float(row[0]): [float(value or "nan") for value in row[1:]] for row in rows}


class Measure(Responses):
    def sweep(self):
        """Samples of the sweep, without the silence after it; a file of it is there, too."""
        self.call("measure", "--sweep", self.path("sweep.wav"), *TEST_SWEEP, "--tail", "1")
        self.call("run", self.path("g.json", {"blocks": {}, "wires": [["input", "output"]]}), "-i", self.path("sweep.wav"), "-o",
                  self.path("float.wav"), "--format", "float")
        whole = array.array("f", samples(self.path("float.wav")))
        self.assertEqual(len(whole), (SECONDS + 1) * RATE)
        self.assertTrue(all(x == 0 for x in whole[SECONDS * RATE:]))
        self.assertAlmostEqual(max(whole), 10 ** (-12 / 20), delta=1e-3)
        return list(whole[:SECONDS * RATE])

    def measure(self, name, *options, status=0):
        """Rows of frequency, dB and degrees; what is printed."""
        result = self.call("measure", self.path(name), *TEST_SWEEP, "--frd", self.path("m.frd"), *options, status=status)
        if status:
            return result.stderr
        rows = [list(map(float, line.split())) for line in self.read("m.frd").splitlines() if line[0] != "*"]
        return {row[0]: row[1:] for row in rows}, result.stdout

    def test_a_sweep_finds_what_coefficients_say(self):
        self.sweep()
        blocks = {"eq": {"type": "FILTER_TEXTEQ", "params": {"bands": [{"fc": 63, "boostDb": -5, "q": 4},
                                                                       {"type": "Text_HS2nd", "fc": 5000, "boostDb": 4, "q": 0.9}]}},
                  "xo": {"type": "FILTER_CROSSOVER_2WAY", "params": {"lowFc": 1900, "highFc": 1900}},
                  "late": {"type": "BASIC_DSP_DELAY", "params": {"maxDelay": 999, "delay": 321}}}
        graph = self.path("g.json", {"inputs": 1, "blocks": blocks, "wires": [["input", "eq"], ["eq", "late"], ["late", "xo"],
                                     ["xo", "output.0-1"], ["late", "output.2"]]})
        self.call("run", graph, "-i", self.path("sweep.wav"), "-o", self.path("r.wav"), "--format", "float")
        exact = self.response(graph)
        for channel in range(3):
            of = ["--channel", str(channel)]
            kept = self.measure("r.wav", *of, "--delay", "keep")[0]
            self.assertEqual((min(kept), max(kept)), (20, max(hz for hz in exact if hz <= 20000)))
            for hz, (db, deg) in kept.items():
                right_db, right_deg = exact[hz][2 * channel:2 * channel + 2]
                if right_db > -50:
                    self.assertAlmostEqual(db, right_db, delta=0.02, msg=str((channel, hz)))
                    self.assertLess(turned(deg, right_deg), 0.1, (channel, hz))
        again = self.measure("r.wav", *of, "--delay", "keep", "--reference", self.path("sweep.wav"))[0]
        self.assertLess(max(abs(again[hz][0] - kept[hz][0]) for hz in kept), 0.01)
        # Against the channel before the crossover only the crossover is left; time 0 is then its own.
        beside = self.measure("r.wav", "--channel", "1", "--reference", self.path("r.wav"), "--reference-channel", "2", "--delay",
                              "keep")[0]
        for hz in (h for h in beside if h > 500):
            self.assertAlmostEqual(beside[hz][0], exact[hz][2] - exact[hz][4], delta=0.1)
            self.assertLess(turned(beside[hz][1], exact[hz][3] - exact[hz][5]), 1)
        # Without the delay; as a loudspeaker; as an impulse response.
        bare, said = self.measure("r.wav", *of, "-o", self.path("ir.wav"), "--picture", self.path("p.svg"))
        arrival = float(said.split("ms (")[1].split()[0])
        self.assertAlmostEqual(arrival, 321, delta=0.5)
        for hz in bare:
            self.assertLess(turned(bare[hz][1], exact[hz][5] + 360 * hz * arrival / RATE), 1)
        impulse = array.array("f", samples(self.path("ir.wav")))
        self.assertEqual(max(range(len(impulse)), key=lambda n: abs(impulse[n])), round(float(self.read("p.svg").split(" ms before")[0].split(">")[-1]) / 1000 * RATE))
        self.assertIn(" before, 1000 ms after the arrival", self.read("p.svg"))
        speaker = self.response(graph, "--speaker", self.path("m.frd"))
        for hz in bare:
            self.assertAlmostEqual(speaker[hz][-2], bare[hz][0], delta=1e-3)

    def test_distortion_noise_and_echoes_stay_out(self):
        draw, sweep = random.Random(1), self.sweep()
        late = [0.0] * 4800 + sweep + [0.0] * 24000
        band = ["--to", "5000"]
        self.call("measure", "--sweep", self.path("sweep.wav"), *TEST_SWEEP, *band)
        low = list(array.array("i", b"".join(b"\0" + samples(self.path("sweep.wav"))[k:k + 3] for k in range(0, 3 * SECONDS * RATE, 3))))
        low = [0.0] * 4800 + [x / 2 ** 31 for x in low] + [0.0] * 24000
        # A sine of level a through x + 2 x^2 - x^3 keeps 1 - 3 a^2 / 4 of itself.
        wav(self.path("d.wav"), [x + 2 * x * x - x ** 3 for x in low], 1)
        left = 20 * math.log10(1 - 0.75 * 10 ** (-12 / 10))
        for hz, (db, deg) in self.measure("d.wav", *band)[0].items():
            self.assertAlmostEqual(db, left, delta=0.05)
            self.assertLess(abs(deg), 0.5)
        for level, least, most in ((0.0001, 60, 75), (0.003, 30, 45)):
            wav(self.path("n.wav"), [x + draw.gauss(0, level) for x in late], 1)
            said = self.measure("n.wav")[1]
            noise = float(said.split("signal to noise ")[1].split()[0])
            self.assertTrue(least < noise < most, said)
        wav(self.path("e.wav"), [x + 0.5 * y for x, y in zip(late, [0.0] * 480 + late)], 1)  # 10 ms later
        gated = self.measure("e.wav", "--window", "2ms/8ms")[0]
        self.assertGreaterEqual(min(gated), 125)
        self.assertLess(max(abs(db) for db, deg in gated.values()), 0.1)
        comb = self.measure("e.wav")[0]
        self.assertAlmostEqual(max(row[0] for row in comb.values()), 20 * math.log10(1.5), delta=0.1)
        smooth = self.measure("e.wav", "--smooth", "1/3")[0]
        for hz in (h for h in smooth if 2000 < h < 15000):
            self.assertAlmostEqual(smooth[hz][0], 10 * math.log10(1.25), delta=0.2)

    def test_what_cannot_be_measured_is_refused(self):
        sweep = self.sweep()
        noise = [random.Random(2).gauss(0, 0.1) for _ in range(3 * RATE)]
        for name, frames, rate in (("silent", [0.0] * 300000, RATE), ("short", sweep[:45000], RATE), ("noise", noise, RATE),
                                   ("cut", [0.0] * 9600 + sweep[:-4800], RATE), ("begun", sweep[24000:] + [0.0] * 48000, RATE),
                                   ("slow", sweep + [0.0] * 9600, 44100), ("good", sweep + [0.0] * 9600, RATE),
                                   ("loud", [max(-1.0, min(1.0, 8 * x)) for x in sweep] + [0.0] * 9600, RATE)):
            wav(self.path(name + ".wav"), frames, 1, rate)
        good, frd = self.path("good.wav"), ["--frd", self.path("m.frd", "old")]
        os.symlink("m.frd", self.path("link.wav"))
        for arguments, words in ((["silent"], "silent.wav: channel 0 is silent"), (["short"], "0.94 s long; the sweep takes 2.00 s"),
                                 (["noise"], "noise.wav: "), (["cut"], "ends 0.10 s before the sweep does"),
                                 (["begun"], "start recording before playing"), (["slow", "--rate", "48000"], "44100 Hz; --rate is 48000"),
                                 (["slow", "--reference", good], "good.wav: 48000 Hz; the recording has 44100 Hz"),
                                 (["good", "--seconds", "1.5"], "the sweep is not found"), (["good", "--channel", "1"], "from 0 to 0"),
                                 (["good", "--reference", good, "--to", "24000"], "next to nothing at 22"),
                                 (["good", "--reference", self.path("silent.wav")], "next to nothing at"),
                                 (["good", "--window", "900ms/1s"], "what distortion makes"), (["good", "--window", "5"], "BEFORE/AFTER"),
                                 (["good", "--smooth", "3"], "1/1 to 1/96"), (["good", "--to", "24001"], "at most half the rate"),
                                 (["good", "-o", good], "would overwrite the recording"),
                                 (["good", "--reference", self.path("cut.wav"), "-o", self.path("cut.wav")], "overwrite the reference"),
                                 (["good", "-o", self.path("link.wav")], "m.frd: would overwrite another output"),
                                 (["good", "--picture", self.path("p.txt")], ".svg or .png")):
            error = self.call("measure", self.path(arguments[0] + ".wav"), *frd, *arguments[1:],
                              *([] if "--seconds" in arguments else TEST_SWEEP), status=2).stderr
            self.assertIn(words, error)
            self.assertEqual(self.read("m.frd"), "old")
        self.assertRegex(self.call("measure", self.path("loud.wav"), *TEST_SWEEP).stderr, "warning: .*clipped in [0-9]+ places")


def cookbook(kind, fc, gain, q=None, octaves=None):
    """b and a by R. Bristow-Johnson, "Audio EQ Cookbook"."""
    A, w = 10 ** (gain / 40), 2 * math.pi * fc / RATE
    cos, root = math.cos(w), math.sqrt(A)
    alpha = math.sin(w) / (2 * q) if q else math.sin(w) * math.sinh(math.log(2) / 2 * octaves * w / math.sin(w))
    up, down, beta = A + 1, A - 1, 2 * root * alpha
    plain = (1 + alpha, -2 * cos, 1 - alpha)
    return {"PK": ((1 + alpha * A, -2 * cos, 1 - alpha * A), (1 + alpha / A, -2 * cos, 1 - alpha / A)),
            "LSC": ((A * (up - down * cos + beta), 2 * A * (down - up * cos), A * (up - down * cos - beta)),
                    (up + down * cos + beta, -2 * (down + up * cos), up + down * cos - beta)),
            "HSC": ((A * (up + down * cos + beta), -2 * A * (down + up * cos), A * (up + down * cos - beta)),
                    (up - down * cos + beta, 2 * (down - up * cos), up - down * cos - beta)),
            "LPQ": (((1 - cos) / 2, 1 - cos, (1 - cos) / 2), plain), "HPQ": (((1 + cos) / 2, -1 - cos, (1 + cos) / 2), plain),
            "BP": ((alpha, 0, -alpha), plain), "NO": ((1, -2 * cos, 1), plain), "AP": (plain[::-1], plain)}[kind]


class Filters(Responses):
    FLAT = '{ // stays\n  "rate": 48000, "inputs": 1,\n  "blocks": {"eq": {"type": "%s", "params": {"bands": []}}},\n' \
           '  "wires": [["input", "eq"], ["eq", "output"]]\n}\n'

    def filled(self, text, type, *options):
        """A schematic whose equaliser has this list; the warnings."""
        graph = self.path("g.json", self.FLAT % type)
        return graph, self.call("import", self.path("list.txt", text), "--into", graph, *options).stderr

    def test_filters_are_what_the_cookbook_says(self):
        wide = [("PK", 63, -5, {"q": 4}), ("PK", 9000, 7, {"octaves": 1.5}), ("LSC", 105.5, 6.4, {"q": 0.7}),
                ("HSC", 8000, -9, {"q": 0.5}), ("LPQ", 15000, 0, {"q": 1.1}), ("HPQ", 30, 0, {"q": 0.6})]
        others = [("BP", 9000, 0, {"q": 0.5}), ("BP", 5000, 0, {"octaves": 2}), ("NO", 3000, 0, {"q": 3}), ("NO", 500, 0, {"q": 30}),
                  ("NO", 12000, 0, {"octaves": 1}), ("AP", 9000, 0, {"q": 1.5}), ("AP", 200, 0, {"q": 0.7})]
        for type, cases in (("FILTER_TEXTEQ", wide + others), ("FILTER_GRAPHICAL_EQ", wide)):
            for kind, fc, gain, width in cases:
                line = "Filter  1: ON  %-4s Fc  %g Hz  Gain %g dB  %s %g" % (kind, fc, gain, "Q" if "q" in width else "BW Oct",
                                                                          *width.values())
                graph, warnings = self.filled(line.replace(".", ",") if fc == 105.5 else line, type)
                self.assertEqual(warnings, "")
                b, a = cookbook(kind, fc, gain, **width)
                for hz, (db, deg) in self.response(graph, "--points", "6").items():
                    z = cmath.exp(-2j * math.pi * hz / RATE)
                    h = (b[0] + b[1] * z + b[2] * z * z) / (a[0] + a[1] * z + a[2] * z * z)
                    if 20 < hz < 20000 and abs(h) > 0.01:
                        self.assertAlmostEqual(db, 20 * math.log10(abs(h)), delta=0.05, msg=line)
                        self.assertLess(turned(deg, math.degrees(cmath.phase(h))), 0.5, line)

    def test_lists_come_back_as_they_were(self):
        kinds = {"FILTER_TEXTEQ": ["Text_" + name for name in "Param LS2nd HS2nd LP HP BP BS APF Peaking Notch".split()],
                 "FILTER_GRAPHICAL_EQ": ["GraphicalEQ_" + name for name in "Param LS HS LP HP".split()]}
        draw = random.Random(3)
        for type, choices in kinds.items():
            text, boosts = type == "FILTER_TEXTEQ", ("Param", "LS", "HS")
            bands = [{"type": choice, "fc": round(draw.uniform(20, 4000), 1), "q": round(draw.uniform(0.2, 1), 3),
                      "boostDb": round(draw.uniform(-12, 12), 2) if any(name in choice for name in boosts) else 0,
                      **({"enable": n % 3 != 2} if text else {"bypass": n % 3 == 2})} for n, choice in enumerate(3 * choices)]
            bands[0].update({"gainDb": -3.5} if text else {})
            graph = self.path("a.json", self.FLAT.replace("[]", "%s") % (type, json.dumps(bands)))
            self.call("export", graph, "--filters", self.path("a.txt"))
            other, warnings = self.filled(self.read("a.txt"), type, "--strict", "--block", "eq")
            self.assertEqual((self.call("diff", graph, other).stdout, warnings), ("", ""))
            before, after = (self.FLAT % type).splitlines(), self.read("g.json").splitlines()
            self.assertEqual([n for n in range(len(before)) if before[n] != after[n]], [2])
            self.call("export", other, "--filters", self.path("b.txt"), "--strict")
            self.assertEqual(self.read("a.txt"), self.read("b.txt"))
        self.assertIn("would overwrite the schematic", self.call("export", graph, "--filters", graph, status=2).stderr)

    def test_nothing_is_dropped_in_silence(self):
        lines = ["Filter Settings file", "Dated: Feb 3", "Equaliser: Another", "My room", "Filter 1: ON PK Fc 63 Hz Gain -5 dB Q 4",
                 "Filter 2: ON LS 6dB Fc 63 Hz Gain 2 dB", "Filter 3: ON Modal Fc 40 Hz Gain -3 dB Q 8", "Filter 4: ON NO Fc 50 Hz",
                 "Filter 5: ON PK Fc 1,250 Hz Gain 1 dB Q 1", "Filter 6: ON PK Fc 30000 Hz Gain 1 dB Q 1", "Channel: L", "# a remark",
                 "Filter 7: ON PK Fc 1,250.5 Hz Gain 1 dB Q 30", "Filter 8: OFF None", "Filter 9: OFF None", "Filter 10: ON HS Fc 9000 Hz Gain 3 dB",
                 "Filter 11: ON PK Fc 90 Hz Q 1", "Preamp: -6.5 dB", "Preamp: much"]
        graph, warnings = self.filled("\r\n".join(lines), "FILTER_TEXTEQ")
        named = {int(line.split("list.txt:")[1].split(":")[0]) for line in warnings.splitlines() if "list.txt:" in line}
        self.assertEqual(named, {3, 6, 7, 8, 9, 10, 11, 13, 14, 16, 17, 19}, warnings)
        bands = json.loads(self.call("import", self.path("list.txt")).stdout)["params"]["bands"]
        self.assertEqual([(b["fc"], b["boostDb"], b["q"], b.get("gainDb")) for b in bands],
                         [(63, -5, 4, -6.5), (1250.5, 1, 30, None), (9000, 3, 0.9, None)])
        before = self.read("g.json")
        self.call("import", self.path("list.txt"), "--into", graph, "--strict", status=2)
        self.assertEqual(self.read("g.json"), before)
        _, warnings = self.filled("Preamp: -6 dB\nFilter: ON AP Fc 100 Hz Q 1", "FILTER_GRAPHICAL_EQ")
        self.assertEqual([word in warnings for word in ("list.txt:1:", "list.txt:2:")], [True, True])
        two = self.path("two.json", {"blocks": {"a": {"type": "FILTER_TEXTEQ", "params": {"bands": [{"type": "Text_LS1st"}]}},
                                                "b": {"type": "FILTER_GRAPHICAL_EQ"}, "c": {"type": "BASIC_GAIN"}},
                                     "wires": [["input", "a"], ["a", "b"], ["b", "c"], ["c", "output"]]})
        out = ["export", two, "--filters", "-"]
        for options, words in (([], "has several equalisers"), (["--block", "c"], "a text equaliser or a graphical one"),
                               (["--block", "x"], "no such block"), (["--block", "a", "--strict"], "/blocks/a/params/bands/0: Text_LS1st")):
            self.assertIn(words, self.call(*out, *options, status=2).stderr)
        self.call("import", two, status=2)
        many = self.path("many.txt", "Filter: ON PK Fc 63 Hz Gain 0 dB Q 1\n" * 65537)
        self.assertIn("many.txt: /bands: 65537 rows: 0 to 65536 rows", self.call("import", many, status=2).stderr)


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], *sys.argv[3:]])
