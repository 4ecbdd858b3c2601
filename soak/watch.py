# SPDX-License-Identifier: Apache-2.0
"""What is seen of the host from outside: its memory, descriptors, threads, the sandbox's processes, its log."""
import contextlib
import csv
import os
import socket
import statistics
import threading
import time

from actors import SECRETS

FIELDS = ("s", "rss_kb", "anon_kb", "descriptors", "threads", "processes", "zombies", "forwarders")
LOG = "/dev/log"


def read(path):
    try:
        with open(path, "rb") as file:
            return file.read().decode(errors="replace")
    except OSError:  # A process that has ended meanwhile.
        return ""


def figure(text, name):
    """The number behind `name:` in a file of /proc."""
    for line in text.splitlines():
        if line.startswith(name + ":"):
            return int(line.split()[1])
    return 0


def names_of_descriptors(pid):
    """What each open descriptor is, numbers of sockets and pipes taken off, in order."""
    names = []
    for fd in os.listdir(f"/proc/{pid}/fd"):
        try:
            names.append(os.readlink(f"/proc/{pid}/fd/{fd}").partition("[")[0])
        except OSError:
            pass
    return sorted(names)


def names_of_threads(pid):
    return sorted(read(f"/proc/{pid}/task/{task}/comm").strip() for task in os.listdir(f"/proc/{pid}/task"))


class Watch:
    """One process, and with each look at it the argument lists of all."""

    def __init__(self, pid, tally):
        self.pid, self.tally = pid, tally
        self.rows = []
        self._began = time.monotonic()

    @contextlib.contextmanager
    def recording(self, interval_s, path):
        """Meanwhile a thread takes samples, into rows and a file."""
        stop = threading.Event()

        def record():
            with open(path, "w", encoding="utf-8", newline="", buffering=1) as file:
                writer = csv.DictWriter(file, FIELDS)
                writer.writeheader()
                while not stop.wait(interval_s):
                    self.rows.append(self.sample())
                    writer.writerow(self.rows[-1])

        thread = threading.Thread(target=record)
        thread.start()
        try:
            yield
        finally:
            stop.set()
            thread.join()

    def sample(self):
        status = read(f"/proc/{self.pid}/status")
        processes = [pid for pid in os.listdir("/proc") if pid.isdigit()]
        lines = [read(f"/proc/{pid}/cmdline") for pid in processes]
        for line in lines:
            if any(secret in line for secret in SECRETS):
                self.tally.fault(f"a secret in an argument list: {' '.join(line.split(chr(0)))}")
        zombies = sum(") Z " in read(f"/proc/{pid}/stat") for pid in processes)
        forwarders = sum("netctld-dnsmasq" in line and line.startswith("dnsmasq") for line in lines)
        return dict(zip(FIELDS, (
            round(time.monotonic() - self._began, 2), figure(status, "VmRSS"), figure(status, "RssAnon"),
            len(os.listdir(f"/proc/{self.pid}/fd")), figure(status, "Threads"),
            len(processes), zombies, forwarders)))


def flat_kb(seconds):
    """What the memory may grow by: in the first minutes there is still a first time for the
    largest of each buffer."""
    return 256 if seconds >= 600 else 2048


def growth_kb(rows):
    """The memory's median of the last quarter of the samples above that of the second quarter."""
    quarter = len(rows) // 4
    early, late = rows[quarter:2 * quarter], rows[-quarter:]
    return round(statistics.median(row["anon_kb"] for row in late) - statistics.median(row["anon_kb"] for row in early))


class Log:
    """The syslog daemon's place: counts the lines and looks for secrets in them."""

    def __init__(self, tally):
        self.tally = tally
        self._socket = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        self._socket.bind(LOG)
        threading.Thread(target=self._run, daemon=True).start()

    def _run(self):
        secrets = [secret.encode() for secret in SECRETS]
        while True:
            line = self._socket.recv(65536)
            self.tally.count("log lines")
            if any(secret in line for secret in secrets):
                self.tally.fault(f"a secret in the log: {line.decode(errors='replace')}")
