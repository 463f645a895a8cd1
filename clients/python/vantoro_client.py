# SPDX-License-Identifier: Apache-2.0
"""Tunes what 'vantoro live' plays, from Python: the standard library and the package websockets (Debian:
python3-websockets) are all it needs.

    from vantoro_client import Client

    with Client("http://127.0.0.1:7420/") as room:
        room.set({"eq.fc": 2000})
        print(room.get("eq.fc"))
        for message in room.listen(meters=10):
            print(max(message["meters"]["peak"]))
"""

import asyncio
import contextlib
import json
import os

import websockets


class Problems(Exception):
    """What a request got wrong. `problems`: where, value and wanted of each."""

    def __init__(self, problems):
        super().__init__("; ".join(": ".join(filter(None, (p["where"], p["value"], p["wanted"]))) for p in problems))
        self.problems = problems


class Client:
    """A connection. Functions wait for their answers; docs/control.md lists all requests."""

    def __init__(self, address, token=None, name="python", patience=10):
        host = address.removeprefix("http://").rstrip("/")
        self._loop = asyncio.new_event_loop()
        self._patience = patience  # s
        self._id = 0
        self._pushed = []
        self._socket = self._run(self._connect(f"ws://{host}/control"))
        hello = {"protocol": 1, "client": name}
        token = token or os.environ.get("VANTORO_TOKEN")
        if token:
            hello["token"] = token
        try:
            self.hello = self.ask(hello=hello)["hello"]
        except Exception:
            self.close()
            raise

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def close(self):
        """Says goodbye; more than once does no harm."""
        if not self._loop.is_closed():
            with contextlib.suppress(websockets.ConnectionClosed, TimeoutError):
                self._run(self._socket.close())
            self._loop.close()

    async def _connect(self, address):
        return await websockets.connect(address, max_size=None)

    def _run(self, awaitable, patience=None):
        return self._loop.run_until_complete(asyncio.wait_for(awaitable, patience or self._patience))

    def _receive(self, patience=None):
        message = json.loads(self._run(self._socket.recv(), patience))
        if "bye" in message:
            raise ConnectionError(message["bye"])
        return message

    def ask(self, **request):
        """One request: ask(undo=True), ask(save={"rev": 12}). Returns the answer, or raises Problems."""
        self._id += 1
        self._run(self._socket.send(json.dumps({"id": self._id, **request})))
        while True:
            message = self._receive()
            if message.get("id") == self._id:
                if "problems" in message:
                    raise Problems(message["problems"])
                return message
            self._pushed.append(message)

    def set(self, values, gesture=None):
        """{"eq.fc": 2000}. Returns the new revision."""
        return self.ask(set=values, **({"gesture": gesture} if gesture else {}))["rev"]

    def get(self, *paths):
        """The value of one path; of none or several, a dictionary."""
        values = self.ask(get=list(paths))["values"]
        return values[paths[0]] if len(paths) == 1 else values

    def load(self, preset):
        return self.ask(preset={"load": preset})["rev"]

    def bypass(self, **blocks):
        """bypass(eq=True)"""
        return self.ask(bypass=blocks)["rev"]

    def save(self):
        """Writes the schematic's file. Returns what changed in it."""
        return self.ask(save={"rev": self.ask(get=[])["rev"]})["changes"]

    def listen(self, **rates):
        """Every message that the server sends by itself; with meters=10 or status=1 also those, so often a second."""
        if rates:
            self.ask(subscribe=rates)
        while True:
            yield self._pushed.pop(0) if self._pushed else self._receive(86400)
