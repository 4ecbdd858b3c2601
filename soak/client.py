# SPDX-License-Identifier: Apache-2.0
"""A client of the host's socket, and the count of what was asked."""
import collections
import json
import socket
import threading

SOCKET = "/run/kwwand/kwwand.sock"
PATIENCE_S = 90  # No answer within that time is none: a call may wait behind several that take 10 seconds each.


class Tally:
    """How much of each kind was done, and what went wrong. For any thread."""

    def __init__(self):
        self._lock = threading.Lock()
        self.done = collections.Counter()
        self.errors = collections.Counter()  # Errors that were answered, by code: they are in the play.
        self.faults = []  # What must not be.

    def count(self, kind, by=1):
        with self._lock:
            self.done[kind] += by

    def error(self, code):
        with self._lock:
            self.errors[code] += 1

    def fault(self, text):
        with self._lock:
            self.faults.append(text)


class Client:
    """One connection. Every request is answered, or that is a fault."""

    def __init__(self, tally, receive_buffer=None):
        self.tally = tally
        self._last_id = 0
        self._input = b""
        self.socket = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
        if receive_buffer:
            self.socket.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, receive_buffer)
        self.socket.settimeout(PATIENCE_S)
        self.socket.connect(SOCKET)

    def close(self):
        self.socket.close()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def request(self, method, **params):
        """Sends, and does not wait."""
        self._last_id += 1
        line = json.dumps({"id": self._last_id, "method": method, "params": params})
        self.socket.sendall(line.encode() + b"\n")
        return self._last_id

    def line(self):
        """The next line as an object; None when the host has closed."""
        while b"\n" not in self._input:
            more = self.socket.recv(65536)
            if not more:
                return None
            self._input += more
        line, _, self._input = self._input.partition(b"\n")
        return json.loads(line)

    def answer(self, wanted):
        """The answer to that id; events and progress before it are skipped."""
        while True:
            line = self.line()
            if line is None or line.get("id") == wanted:
                return line

    def ask(self, method, **params):
        """The result; None when the answer is an error, or there is none."""
        kind = method.partition(".")[0]
        try:
            answer = self.answer(self.request(method, **params))
        except (OSError, ValueError) as error:
            answer = {"fault": repr(error)}
        if isinstance(answer, dict) and "result" in answer:
            self.tally.count(kind)
            return answer["result"]
        if isinstance(answer, dict) and isinstance(answer.get("error", {}).get("code"), int):
            self.tally.count(kind)
            self.tally.error(answer["error"]["code"])
            return None
        self.tally.fault(f"{method} {params}: no answer: {answer}")
        return None

    def modem(self, line):
        """A line of the simulated modem's language."""
        return self.ask("modem.run", line=line)
