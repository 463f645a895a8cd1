#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""The schematics that the pages show: right, and what the pages say of them. Usage: test_docs.py PROGRAM SOURCE_DIR

A block that is only a part of a schematic has a comment on the line before it:
<!-- fragment: params of FILTER_TEXTEQ -->"""

import array
import csv
import glob
import json
import math
import os
import re
import subprocess
import sys
import unittest

sys.dont_write_bytecode = True  # nothing beside the sources
from program import PROGRAM, SOURCE, Case

RATE = 48000
PEAK = {20: 0.0, 1000: 6.0, 20000: 0.0}
# page, number of the block on it: responses of a block in dB at frequencies, and what becomes of a sine of 1 kHz: the
# level in dB before 2 s, and at the end of 4 s.
CLAIMS = {
    ("README.md", 0): {"responses": {"eq": PEAK}, "levels": (6.0 - 3.0, 6.0 - 40.0)},
    ("docs/schematic.md", 0): {"responses": {"eq": PEAK}, "levels": (6.0, 6.0 - 60.0)},
}


def examples():
    """(page, number, text, fragment) of every JSON block."""
    for path in [os.path.join(SOURCE, "README.md"), *sorted(glob.glob(os.path.join(SOURCE, "docs", "*.md")))]:
        with open(path) as f:
            page = f.read()
        blocks = re.finditer(r"(?:<!-- fragment: params of (\w+) -->\n)?```json\n(.*?)```", page, re.S)
        for number, block in enumerate(blocks):
            yield os.path.relpath(path, SOURCE), number, block[2], block[1]


class Docs(Case):
    def write(self, text, fragment):
        if fragment:
            text = json.dumps({"blocks": {"b": {"type": fragment, "params": json.loads(text)}}})
        return self.path("s.json", text)

    def check_response(self, schematic, block, wanted):
        self.call("response", schematic, "--block", block, "--rate", str(RATE), "-o", self.path("r.csv"))
        with open(self.path("r.csv")) as f:
            rows = [[float(v) for v in row[:2]] for row in csv.reader(f) if row and re.match(r"[\d.]+$", row[0])]
        for hz, db in wanted.items():
            nearest = min(rows, key=lambda row: abs(math.log(row[0] / hz)))
            # Flanks of a 6 dB peak of q 0.7 at 20 Hz and 20 kHz; the peak itself is exact.
            self.assertAlmostEqual(nearest[1], db, delta=0.1, msg="%s at %g Hz" % (block, hz))

    def check_levels(self, schematic, before, after):
        """Plays 4 s of a sine; the levels of what comes out, re the sine, between 1.5 and 2 s and in the last half second."""
        sine = array.array("h", (round(8192 * math.sin(2 * math.pi * 1000 * i / RATE)) for i in range(4 * RATE)))
        result = subprocess.run([PROGRAM, "run", schematic, "-i", "-", "--raw-in", "s16le", "--raw-rate", str(RATE),
                                 "--raw-channels", "1", "-o", "-", "--raw-out", "s16le"],
                                input=sine.tobytes(), capture_output=True)
        self.assertEqual(result.returncode, 0, result.stderr)
        out = array.array("h", result.stdout)
        for end, wanted in ((2 * RATE, before), (4 * RATE, after)):
            power = sum(v * v for v in out[end - RATE // 2:end]) / sum(v * v for v in sine[end - RATE // 2:end])
            # BASIC_GAIN_SLEW takes dB by the coarse exponential, a few per cent off.
            self.assertAlmostEqual(10 * math.log10(power), wanted, delta=0.5)

    def test_every_example_is_right(self):
        found = set()
        for page, number, text, fragment in examples():
            with self.subTest(page=page, number=number):
                schematic = self.write(text, fragment)
                self.call("check", schematic)
                found.add((page, number))
                claims = CLAIMS.get((page, number), {})
                for block, response in claims.get("responses", {}).items():
                    self.check_response(schematic, block, response)
                if "levels" in claims:
                    self.check_levels(schematic, *claims["levels"])
        self.assertLessEqual(set(CLAIMS), found)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1] + sys.argv[3:])
