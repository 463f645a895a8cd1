#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""What a product gets is what was heard: every schematic of the examples and the pages, and one with every type of block,
run by the program, as a C table, as a file and as direct C, bit for bit, with parameters that move meanwhile.
Usage: test_export.py PROGRAM SOURCE_DIR BUILD_DIR CC [EMULATOR ...]"""

import glob
import json
import os
import random
import re
import struct
import subprocess
import sys
import tempfile
import unittest

sys.dont_write_bytecode = True  # nothing beside the sources
from program import PROGRAM, SOURCE, Case, samples, wav

BUILD, CC, *EMULATOR = sys.argv[3:]
FLAGS = "-std=c99 -O1 -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror".split()
RATE, FRAMES = 48000, 9000
SETTER = re.compile(r"// ([\w-]+\.\S+): (.*)\n(?:static inline )?int (\w+)\((.*)\)")


def read(path):
    with open(path) as f:
        return f.read()


def every_type():
    """A block of every type on two inputs, its controls at 1; each output is an output of the whole."""
    types = json.loads(subprocess.run([PROGRAM, "blocks", "--json"], capture_output=True, check=True).stdout)
    special = {"MUXES_STATE_MACHINE": {"inputs": 4, "outputs": 3}, "QVALGO_REVERB": {"params": {"enable": 1}},
               "FILTER_FIR": {"params": {"taps": [1 / (n + 2) for n in range(50)]}}}
    blocks, wires, channels = {"one": {"type": "SOURCE_DC", "params": {"value": 1}}}, [], 0
    for described in types:
        if "terminal" in described["traits"]:
            continue
        name, pins = described["name"], described["pins"]
        id, block = name.lower() + "-", {"type": name, **special.get(name, {})}
        blocks[id] = block
        count = block.get("inputs", pins["initialInputs"])
        controls = {p["first"] % count for p in pins["named"] if p["control"]}
        if name == "BASIC_ARITH_SQRT":
            controls = {0}  # not a number for inputs below 0
        wires += [["one.0" if n in controls else "input.%d" % (n % 2), "%s.%d" % (id, n)] for n in range(count)]
        outputs = block.get("outputs", pins["initialOutputs"])
        wires += [["%s.%d" % (id, n), "output.%d" % (channels + n)] for n in range(outputs)]
        channels += outputs
    blocks["half"] = {"type": "BASIC_ARITH_ADD", "inputs": 2}  # the other half is silence
    wires += [["input.0", "half.0"], ["half", "output.%d" % channels]]
    return {"title": "every type ??/ of \\", "rate": RATE, "inputs": 2, "blocks": blocks, "wires": wires}


def plain(path):
    """The schematic in a file in plain numbers, which are easy to change; None when it is something else."""
    flat = subprocess.run([PROGRAM, "check", path, "--flat", "-q"], capture_output=True, text=True)
    document = json.loads(flat.stdout) if flat.returncode == 0 else None
    if document and document["inputs"] == 0:
        del document["inputs"]
    return document


def schematics():
    found = [plain(path) for path in sorted(glob.glob(os.path.join(SOURCE, "examples", "schematics", "*.json")))]
    assert all(found)
    for page in [os.path.join(SOURCE, "README.md"), *sorted(glob.glob(os.path.join(SOURCE, "docs", "*.md")))]:
        for text in re.findall(r"(?<!-->\n)```json\n(.*?)```", read(page), re.S):
            with tempfile.NamedTemporaryFile("w", suffix=".json") as f:
                f.write(text)
                f.flush()
                found.append(plain(f.name))
    return [*filter(None, found), every_type(), {**every_type(), "arithmetic": "quiet", "title": "every type ??/"}]


def value_in(text, draw):
    """Some value of what a setter's comment offers: choices "0 LP, 1 HP", or a range."""
    if choices := re.findall(r"(-?\d+) [A-Za-z]\w*(?:,|;|$)", re.sub(r"^[^,]*, (?=-?[\d.]+ to)", "", text)):
        return float(draw.choice(choices))
    if text.startswith("0 or 1"):
        return float(draw.choice("01"))
    low, high = map(float, re.search(r"(-?[\d.e+-]+) to (-?[\d.e+-]+)", text).groups())
    if "whole" in text:
        return float(draw.randint(int(low), int(high)))
    return float(round(low + (high - low) * draw.choice((0.2, 0.3, 0.6)), 0 if high - low > 5 else 2))


def calls_of(header, draw, count, block_size):
    """(block, parameter, setter, arguments) of some setters."""
    setters = [found for found in SETTER.findall(header) if not found[0].startswith("one.")]
    # What leaves a pin that had sound is always among them.
    leaving = {"qvalgo_reverb-.enable": 0.0, "muxes_demuxes_switch-.index": 1.0}
    picked = [found for found in setters if found[0] in leaving]
    others = [found for found in setters if found[0] not in leaving]
    for path, text, setter, signature in picked + draw.sample(others, min(count, len(others))):
        row = "int row" in signature
        value = leaving[path] if path in leaving else value_in(text, draw)
        yield draw.randrange(1, FRAMES * 2 // 3 // block_size), path.replace("[]", "[3]"), setter, "3, " * row, value


class Product:
    """One schematic in all its forms, in a folder."""

    def __init__(self, folder, number, document):
        self.name, self.number = "p%d" % number, number
        self.path = os.path.join(folder, self.name + ".json")
        self.rate = document.setdefault("rate", RATE)
        document.setdefault("inputs", 2)
        document.pop("changes", None)
        self.quiet = "quiet" in [document.get("arithmetic"), *(block.get("arithmetic") for block in document["blocks"].values())]
        self.inputs, self.size = document["inputs"], document.get("blockSize", 64)
        self.write(document)
        for form in (["--c", self.name, "-o", folder], ["--direct", "d" + self.name, "-o", folder],
                     ["--binary", os.path.join(folder, self.name + ".bin")]):
            subprocess.run([PROGRAM, "export", self.path, *form], check=True, capture_output=True)
        header = read(os.path.join(folder, self.name + ".h"))
        self.outputs = int(re.search(r"_OUTPUTS (\d+)", header)[1])
        draw = random.Random(number)
        self.calls = sorted(calls_of(header, draw, len(document["blocks"]) + 5, self.size))
        document["changes"] = [{"at": block * self.size / self.rate, "set": {path: value}}
                               for block, path, _, _, value in self.calls]
        self.write(document)

    def write(self, document):
        with open(self.path, "w") as f:
            json.dump(document, f)

    def change(self, form):
        graph = "running, " if form == "table" else ""
        cases = "".join("    if (block == %d && result == 0)\n        result = %s(%s%s%rF);\n"
                        % (block, setter.replace(self.name, self.prefix(form), 1), graph, row, value)
                        for block, _, setter, row, value in self.calls)
        return ("static int change_%s(long block)\n{\n    int result = 0;\n    (void)block;\n%s    return result;\n}\n" %
                (self.name, cases))

    def prefix(self, form):
        return self.name if form == "table" else "d" + self.name

    def row(self, form):
        n = self.prefix(form)
        what = "%s_preset, sizeof %s_preset" % (n, n) if form == "table" else \
            ", ".join(n + "_" + f for f in ("init", "input", "output", "process", "free"))
        upper = n.upper()
        return "    {%s_BLOCK_SIZE, %s_INPUTS, %s_OUTPUTS, %s, change_%s},\n" % (upper, upper, upper, what, self.name)


def compile_all(folder, cases, form, libraries):
    """One program of all products; returns its path."""
    where = tempfile.mkdtemp(dir=folder)
    with open(os.path.join(where, "products.h"), "w") as f:
        f.write('#include "%s/tests/export/%s.h"\n' % (SOURCE, form))
        f.writelines('#include "../%s.h"\n' % case.prefix(form) for case in cases)
        f.writelines(case.change(form) for case in cases)
        f.write("static const struct Product products[] = {\n%s};\n" % "".join(case.row(form) for case in cases))
    sources = [os.path.join(folder, case.prefix(form) + ".c") for case in cases]
    return link([os.path.join(SOURCE, "tests", "export", "play.c"), *sources], os.path.join(where, "play"), libraries)


def link(sources, program, libraries):
    paths = [os.path.join(BUILD, part) for part in ("lib", "graph", "quiet")]
    subprocess.run([CC, *FLAGS, "-I", os.path.dirname(program), *("-I" + os.path.join(p, "include") for p in paths),
                    *sources, *("-L" + p for p in paths), *("-Wl,-rpath," + p for p in paths), *libraries, "-lm",
                    "-o", program], check=True)
    return program


def needed(program):
    out = subprocess.run(["readelf", "-d", program], capture_output=True, text=True, check=True).stdout
    return {re.sub(r"\.so.*", "", name) for name in re.findall(r"NEEDED.*\[(.*)\]", out)}


def noise(frames, channels):
    """The last third is silence, into which filters decay through numbers too small to be normal."""
    draw = random.Random(5)
    loud = frames * 2 // 3 * channels
    return struct.pack("<%df" % loud, *(draw.uniform(-1, 1) for _ in range(loud))) + bytes(4 * (frames * channels - loud))


class Export(Case):
    def heard(self, case, data):
        """What the program itself puts out."""
        wav(self.path("in.wav"), data, case.inputs, case.rate)
        source = ["-i", self.path("in.wav")] if case.inputs else ["--seconds", str(FRAMES / case.rate)]
        self.call("run", case.path, *source, "-o", self.path("out.wav"), "--format", "float", "-q")
        return samples(self.path("out.wav"))

    def test_every_form_gives_the_same_bits(self):
        cases = [Product(self.dir.name, number, document) for number, document in enumerate(schematics())]
        table = compile_all(self.dir.name, cases, "table", ["-lvantoro_graph", "-lvantoro"])
        self.assertLessEqual(needed(table), {"libvantoro_graph", "libvantoro", "libm", "libc"})
        direct = {}  # by case
        for quiet, libraries in ((False, ["-lvantoro"]), (True, ["-lvantoro_quiet", "-lvantoro"])):
            some = [case for case in cases if case.quiet == quiet]
            program = compile_all(self.dir.name, some, "direct", libraries)
            self.assertEqual("libvantoro_quiet" in needed(program), quiet)
            self.assertLessEqual(needed(program), {"libvantoro_quiet", "libvantoro", "libm", "libc"})
            direct |= {case: (program, number) for number, case in enumerate(some)}
        moved = 0
        for case in cases:
            data = noise(FRAMES, max(case.inputs, 1))
            wanted = self.heard(case, data if case.inputs else b"")
            for program, number, *preset in ((table, case.number), direct[case], (table, case.number, self.path(case.name + ".bin"))):
                result = subprocess.run([*EMULATOR, program, str(number), str(case.rate), *preset], input=data, capture_output=True)
                self.assertEqual(result.returncode, 0, (case.name, result.stderr[-500:]))
                self.assertTrue(result.stdout == wanted, (case.name, program, len(result.stdout), len(wanted)))
            moved += len(case.calls)
        self.assertGreater(moved, 100)

    def test_the_page_shows_what_compiles_and_runs(self):
        page = read(os.path.join(SOURCE, "docs", "embedding.md"))
        example = os.path.join(SOURCE, "examples", "schematics", "loudspeaker.json")
        with open(self.path("main.c"), "w") as f:
            f.write(re.search(r"```c\n(#include \"room.h\".*?)```", page, re.S)[1])
        self.call("export", example, "--c", "room", "--rate", "48000", "-o", self.dir.name)
        program = link([self.path("main.c"), self.path("room.c")], self.path("main"), ["-lvantoro_graph", "-lvantoro"])
        self.assertEqual(subprocess.run([*EMULATOR, program]).returncode, 0)
        self.call("export", example, "--binary", self.path("b.bin"), "--set", "eq.bands[1].boostDb=-4")
        self.assertIn("b.bin\n" + self.call("diff", example, self.path("b.bin"), status=1).stdout + "```", page)

    def test_damaged_presets_are_refused_with_a_reason(self):
        example = os.path.join(SOURCE, "examples", "schematics", "room.json")
        self.call("export", example, "--binary", self.path("a.bin"))
        with open(self.path("a.bin"), "rb") as f:
            good = f.read()
        self.assertIn("preset of %d bytes" % len(good), self.call("import", self.path("a.bin")).stdout)
        draw = random.Random(9)
        damaged = [good[:size] for size in (0, 3, 47, 48, len(good) // 2, len(good) - 1)] + [good + b"\0"]
        for _ in range(30):
            bit = draw.randrange(8 * len(good))
            damaged.append(good[:bit // 8] + bytes([good[bit // 8] ^ 1 << bit % 8]) + good[bit // 8 + 1:])
        for bytes_ in damaged:
            with open(self.path("b.bin"), "wb") as f:
                f.write(bytes_)
            error = self.call("import", self.path("b.bin"), status=2).stderr
            self.assertRegex(error, r"^vantoro: .*b\.bin: [^\n]{10,}\n$")

    def test_differences_and_what_is_not_exported(self):
        example = os.path.join(SOURCE, "examples", "schematics", "loudspeaker.json")
        warned = self.call("export", example, "--binary", self.path("a.bin")).stderr
        self.assertIn("/changes: 2: not exported", warned)
        self.call("export", example, "--binary", self.path("b.bin"), "--strict", status=2)
        self.assertFalse(os.path.exists(self.path("b.bin")))
        self.call("export", example, "--binary", self.path("b.bin"), "--set", "eq.bands[1].boostDb=-4", "--rate", "44100")
        self.assertEqual(self.call("diff", example, self.path("a.bin")).stdout, "")
        self.assertEqual(self.call("diff", self.path("a.bin"), self.path("b.bin"), status=1).stdout,
                         "rate: any -> 44100 Hz\neq.bands[1].boostDb: -2.5 dB -> -4 dB\n")
        document = json.loads(read(example))
        document["blocks"]["eq"]["params"]["bands"].pop()
        document["blocks"]["pad"] = document["blocks"].pop("makeup")
        document["wires"] = json.loads(json.dumps(document["wires"]).replace("makeup", "pad"))
        document.pop("changes")
        with open(self.path("c.json"), "w") as f:
            json.dump(document, f)
        lines = self.call("diff", self.path("a.bin"), self.path("c.json"), status=1).stdout.splitlines()
        for line in ("- makeup: VC_SIG_CONTROL_SLEW", "+ pad: VC_SIG_CONTROL_SLEW", "eq.bands[3].fc: 9000 Hz -> none",
                     "compressor hears at 0: makeup.0 -> pad.0"):
            self.assertIn(line, lines)
        self.call("diff", example, self.path("none.json"), status=2)

    def test_exports_are_reproducible_and_refuse_what_cannot_be(self):
        example = os.path.join(SOURCE, "examples", "schematics", "two_way.json")
        texts = []
        for folder in ("x", "y"):
            os.mkdir(self.path(folder))
            self.call("export", example, "--c", "two", "-o", self.path(folder))
            texts.append([read(os.path.join(self.path(folder), "two" + e)) for e in (".c", ".h")])
        self.assertEqual(*texts)
        for name in ("2way", "a-b", "", "set"):
            self.call("export", example, "--direct", name, "-o", self.path("x"), status=2)
        self.call("export", example, status=2)
        os.symlink(example, self.path("link.bin"))
        self.assertIn("would overwrite the schematic",
                      self.call("export", example, "--binary", self.path("link.bin"), status=2).stderr)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
