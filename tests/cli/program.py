# SPDX-License-Identifier: Apache-2.0
"""The program, which the command line of a test names first, and the sound files that it reads and writes."""

import json
import os
import struct
import subprocess
import sys
import tempfile
import unittest

PROGRAM, SOURCE = sys.argv[1], sys.argv[2]


def write_wav(path, data, length, channels, rate, tag, bits):
    """`length` is what the file claims to have."""
    size = channels * bits // 8
    with open(path, "wb") as f:
        f.write(struct.pack("<4sI4s4sIHHIIHH4sI", b"RIFF", length + 36, b"WAVE", b"fmt ", 16, tag, channels, rate,
                            rate * size, size, bits, b"data", length))
        f.write(data)
        f.truncate(44 + length)


def wav(path, frames, channels, rate=48000):
    """A float file of interleaved samples, as numbers or as bytes."""
    data = frames if isinstance(frames, bytes) else struct.pack("<%df" % len(frames), *frames)
    write_wav(path, data, len(data), channels, rate, 3, 32)


def samples(path):
    """The data chunk of a WAV file, as bytes."""
    with open(path, "rb") as f:
        text = f.read()
    at = 12
    while text[at:at + 4] != b"data":
        at += 8 + struct.unpack_from("<I", text, at + 4)[0]
    return text[at + 8:at + 8 + struct.unpack_from("<I", text, at + 4)[0]]


class Case(unittest.TestCase):
    """Has a folder of its own."""

    def setUp(self):
        self.dir = tempfile.TemporaryDirectory()
        self.addCleanup(self.dir.cleanup)

    def path(self, name, text=None):
        """Of a file in the folder; with a text, or something to write as JSON, the file is made."""
        path = os.path.join(self.dir.name, name)
        if text is not None:
            with open(path, "w") as f:
                f.write(text if isinstance(text, str) else json.dumps(text))
        return path

    def read(self, name):
        with open(self.path(name)) as f:
            return f.read()

    def call(self, *arguments, status=0, **more):
        result = subprocess.run([PROGRAM, *arguments], capture_output=True, text=True, **more)
        self.assertEqual(result.returncode, status, result.stderr)
        return result
