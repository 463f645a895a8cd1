#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""The program's sources: includes point one way, and nothing of a module is known. Usage: check_layers.py SOURCE_DIR"""

import os
import re
import sys

# What each folder of host/ may include beside itself.
MAY_SEE = {
    "support": [],
    "io": ["support"],
    "catalog": ["support"],
    "schematic": ["support", "io", "catalog"],
    "export": ["support", "catalog", "schematic"],
    "engine": ["support", "catalog", "schematic"],
    "analysis": ["support", "io", "catalog", "schematic", "engine"],
    "live": ["support", "io", "catalog", "schematic"],
    "control": ["support", "io", "catalog", "schematic", "engine", "analysis", "live"],
    "server": ["support", "control", "live"],
    "commands": ["support", "io", "catalog", "schematic", "export", "engine", "analysis", "live", "control", "server"],
    "": ["commands", "io", "support"],  # main.cpp
}
PUBLIC = ["vantoro.h", "common/block_info.h", "framework/module_names.h", "vantoro_graph.h",
          "cache_lines.h"]  # of the libraries
# Types by code, and the records under them: descriptions and public functions say what a host needs.
MODULE_NAMES = re.compile(r"\bEN_[A-Z0-9_]+|\bAlgoCore\b|\b[A-Z]\w*(?:_Core|St)\b")
COMMENT_OR_TEXT = re.compile(r'//[^\n]*|R"\w*\(.*?\)\w*"|"(?:\\.|[^"\\\n])*"', re.DOTALL)


def blank(match):
    return "\n" * match.group().count("\n")


def faults_of(host, path):
    folder = os.path.dirname(path)
    with open(os.path.join(host, path)) as f:
        text = f.read()
    for number, line in enumerate(text.split("\n"), 1):
        if included := re.match(r'\s*#\s*include "([^"]+)"', line):
            other = os.path.dirname(included[1])
            if included[1] not in PUBLIC and other != folder and other not in MAY_SEE[folder]:
                yield number, included[1]
    for number, line in enumerate(COMMENT_OR_TEXT.sub(blank, text).split("\n"), 1):
        if name := MODULE_NAMES.search(line):
            yield number, name[0]


def main():
    host = os.path.join(sys.argv[1], "host")
    status = 0
    files = 0
    for folder in MAY_SEE:
        for name in sorted(os.listdir(os.path.join(host, folder))):
            path = os.path.join(folder, name)
            if not name.endswith((".h", ".cpp")):
                continue
            files += 1
            for number, what in faults_of(host, path):
                print(f"host/{path}:{number}: {what} is not for this folder")
                status = 1
    unknown = {f for f in os.listdir(host) if os.path.isdir(os.path.join(host, f))} - MAY_SEE.keys()
    if unknown or files < 20:
        print("folders without a rule:", *unknown)
        status = 1
    return status


sys.exit(main())
