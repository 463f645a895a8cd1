#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Hours of audio with four clients: clients.py VANTORO SCHEMATIC HOURS PATH VALUES

A JACK server without a card goes in freewheel, as fast as the program keeps up. Three clients hear meters, a spectrum and
the status; the fourth sets the value at PATH to each of VALUES (300,310) over and over. Prints a line for each twelfth of
the time, and fails when memory grows after the first, when a block is muted, or when a client hears nothing."""
import contextlib
import ctypes
import os
import re
import subprocess
import sys
import tempfile
import threading
import time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "clients", "python"))
from vantoro_client import Client

MEMORY_BOUND = 1024  # KiB
PARTS = 12
LISTENERS = [{"meters": 30}, {"meters": 30, "spectrum": {"rate": 10, "signals": ["output.0"]}}, {"meters": 30, "status": 2}]


def ends_with_parent():
    ctypes.CDLL(None).prctl(1, 15)


def resident_kib(process):
    with open(f"/proc/{process.pid}/status") as f:
        return int(re.search(r"VmRSS:\s+(\d+)", f.read()).group(1))


def run_jack(env):
    server = subprocess.Popen(["jackd", "-n", env["JACK_DEFAULT_SERVER"], "-p", "64", "--no-realtime", "-d", "dummy", "-r",
                               "48000", "-p", "1024", "-C", "4", "-P", "6"], env=env, stdout=subprocess.DEVNULL,
                              stderr=subprocess.DEVNULL, preexec_fn=ends_with_parent)
    time.sleep(1)
    return server


def run_live(vantoro, schematic, env, log):
    """The program, and where its clients find it."""
    program = subprocess.Popen([vantoro, "live", schematic, "--input", "jack", "--output", "jack", "--quiet"], env=env,
                               stderr=open(log, "w"), preexec_fn=ends_with_parent)
    for _ in range(100):
        time.sleep(0.1)
        with open(log) as said:
            if found := re.search(r"http://\S+", said.read()):
                return program, found.group()
    sys.exit("clients: the program does not say where it listens")


def listen(address, wanted, heard):
    with Client(address) as client:
        with contextlib.suppress(ConnectionError, OSError):
            for _ in client.listen(**wanted):
                heard[0] += 1


def run(program, mover, heard, hours, path, values):
    """The difference in memory from the first part on, and the last status."""
    print("hours of audio   changes   messages   load   late   KiB resident", flush=True)
    first, changes, part = None, 0, 1
    begun = mover.ask(status=True)["status"]
    while part <= PARTS:
        for value in values:
            mover.set({path: value})
            changes += 1
        time.sleep(0.05)
        now = mover.ask(status=True)["status"]
        if now["seconds"] - begun["seconds"] < hours * 3600 * part / PARTS:
            continue
        memory = resident_kib(program)
        first = first or memory
        print(f"{(now['seconds'] - begun['seconds']) / 3600:14.2f} {changes:9} {sum(h[0] for h in heard):10} "
              f"{now['load']:6.3f} {now['xruns'] - begun['xruns']:6} {memory:14}", flush=True)
        part += 1
    return memory - first, now


def main():
    vantoro, schematic, hours, path, values = sys.argv[1:]
    env = dict(os.environ, JACK_DEFAULT_SERVER=f"clients-{os.getpid()}", JACK_NO_START_SERVER="1",
               JACK_NO_AUDIO_RESERVATION="1")
    heard = [[0] for _ in LISTENERS]
    with tempfile.TemporaryDirectory() as folder:
        server = run_jack(env)
        program, address = run_live(vantoro, schematic, env, os.path.join(folder, "log"))
        for wanted, count in zip(LISTENERS, heard):
            threading.Thread(target=listen, args=(address, wanted, count), daemon=True).start()
        subprocess.run(["jack_freewheel", "y"], env=env, check=True, timeout=10, stdout=subprocess.DEVNULL)
        try:
            with Client(address) as mover:
                grown, status = run(program, mover, heard, float(hours), path, [float(v) for v in values.split(",")])
        finally:
            program.terminate()
            program.wait()
            server.terminate()
            server.wait()
    return 1 if grown > MEMORY_BOUND or status["mutedBlocks"] > 0 or min(h[0] for h in heard) == 0 else 0


if __name__ == "__main__":
    if len(sys.argv) != 6:
        sys.exit(__doc__)
    sys.exit(main())
