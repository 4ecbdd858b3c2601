#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""report.py check|write RESULTS DOCS: what the benchmarks printed, against the goals.

check   ends with 1 when a count is not met, and with 3 when only figures of time or memory are beyond what is accepted:
        the last line then names the programs to run again.
write   puts the figures between the markers of DOCS/performance.md, the rest of which is kept by hand, and the plots
        beside it. Ends with 1 when a goal is missed and the page's hand-kept part does not say why.
"""
import datetime
import json
import os
import platform
import re
import subprocess
import sys

BEGIN, END = "<!-- figures: script/bench writes from here -->", "<!-- figures: to here -->"
SIZES = (1, 16, 256)
LIBRARIES = {"libstdc++.so.6", "libm.so.6", "libgcc_s.so.1", "libc.so.6"}
PASSES = {20: 20, 100: 102, 1000: 1002, 10000: 10002}


class Results:
    """The printed lines, and what is found in them; None for what was not measured."""

    def __init__(self, folder):
        self.folder = folder
        self.lines = []
        for name in sorted(os.listdir(folder)):
            if name.endswith(".txt"):
                with open(os.path.join(folder, name), encoding="utf-8") as file:
                    self.lines += file.read().splitlines()

    def text(self, pattern):
        for line in self.lines:
            match = re.match(pattern, line)
            if match:
                return match.group(1)
        return None

    def value(self, pattern):
        found = self.text(pattern)
        return None if found is None else float(found)

    def values(self, pattern):
        matches = (re.match(pattern, line) for line in self.lines)
        return [tuple(map(float, match.groups())) for match in matches if match]

    def fanout(self):
        """Name -> [(subscribers, ns of processor time)], medians of the repetitions."""
        series = {}
        with open(os.path.join(self.folder, "fanout.json"), encoding="utf-8") as file:
            for run in json.load(file)["benchmarks"]:
                if run.get("aggregate_name") == "median":
                    _, name, size = run["run_name"].split("/")
                    series.setdefault(name, []).append((int(size), run["cpu_time"]))
        return series


class Row:
    """A goal: the value may not be above goal and accept (`bound` +1), not below (-1), or is to be just that (0)."""

    def __init__(self, program, path, measure, value, bound, goal, accept, count=False):
        self.program, self.path, self.measure, self.value = program, path, measure, value
        self.bound, self.goal, self.accept, self.count = bound, goal, accept, count

    def within(self, limit):
        if limit is None or self.value == limit:
            return True
        return self.bound * self.value < self.bound * limit

    def passes(self):
        """Counts do not vary: they are held to the goal."""
        return self.value is None or self.within(self.goal if self.count else self.accept)

    def met(self):
        return "not measured" if self.value is None else "met" if self.within(self.goal) else "missed"

    def limit(self, limit):
        if limit is None:
            return ""
        return f"{('', 'at most ', 'at least ')[self.bound]}{limit:,g}"

    def shown(self):
        if self.value is None:
            return "-"
        if self.value >= 1000 or (self.value == int(self.value) and self.count):
            return f"{self.value:,.0f}"
        return f"{self.value:.3g}" if self.value >= 100 else f"{self.value:.2f}"


def quotient(a, b):
    return None if a is None or b is None else a / b


def worst(values):
    values = [value for value in values if value is not None]
    return min(values) if values else None


def rows_of(r):
    rows = []

    def at_most(program, path, measure, value, goal, accept, count=False):
        rows.append(Row(program, path, measure, value, 1, goal, accept, count))

    def exactly(program, path, measure, value, goal):
        rows.append(Row(program, path, measure, value, 0, goal, goal, True))

    def at_least(program, path, measure, value, goal, accept):
        rows.append(Row(program, path, measure, value, -1, goal, accept))

    def notify(size, pair):
        return r.value(rf"ratio notify N={size} {pair} ([\d.]+)")

    for size, goal, accept in zip(SIZES, (1.1, 1.1, 1.5), (1.5, 3, 4)):
        value = notify(size, "table/limit")
        at_most("fanout", "event fan-out", f"ours / limit, subscribers: {size}", value, goal, accept)
    for peer, name, goal, accept in (("signals2", "boost::signals2", 5, 2), ("gsignal", "GSignal", 12, 5),
                                     ("sigcpp", "libsigc++ (not thread-safe)", 1.5, None)):
        value = worst(notify(size, f"{peer}/table") for size in SIZES)
        at_least("fanout", "event fan-out", f"{name} / ours, worst of 1, 16, 256", value, goal, accept)

    at_most("handoff", "hand-off", "round trip / bare condition variable, one core",
            r.value(r"handoff rtt .* ratio ([\d.]+)"), 1.1, 1.5)
    for peer, name, goal, accept in (("gasync", "GAsyncQueue", 1.15, 1), ("gmain", "GMainContext", 3, 2)):
        value = r.value(rf"handoff flood ours .* {peer} .* ratio ([\d.]+)")
        at_least("handoff", "hand-off", f"flood: {name} / ours, one core", value, goal, accept)
    at_most("handoff", "AT service", "serial command, debug lines masked / bare round trip, one core",
            r.value(r"service serial .* masked .* ratio ([\d.]+)"), 1.3, 2)
    at_most("handoff", "AT service", "allocations per command", r.value(r"service allocations ([\d.]+)"), 3, 4, True)
    for mode, name, goal, accept in (("", "one core", 1.4, 2), ("two ", "two cores", 1.15, 1.5)):
        value = r.value(rf"{mode}connect tail p50 .* ratio ([\d.]+)")
        at_most("handoff", "connect", f"tail / wake under the second lock, {name}, median", value, goal, accept)

    for policies, goal, accept in ((1, 1.1, 1.5), (8, 1.25, 1.5), (64, 2.6, 4)):
        value = r.value(rf"dns policies={policies} .* ratio ([\d.]+)")
        at_most("dns", "DNS refresh", f"ours / bare system calls, policies: {policies}", value, goal, accept)
    exactly("dns", "DNS refresh", "system calls, nothing to repair", r.value(r"dns calls (\d+)"), 15)
    for count in (1, 8):
        peer = r.value(rf"dns peer openresolv interfaces={count} ms ([\d.]+)")
        ours = r.value(rf"dns policies={count} ours ([\d.]+)")
        at_least("dns", "DNS refresh", f"openresolv / ours, interfaces: {count}",
                 quotient(None if peer is None else peer * 1e3, ours), 1000, 300)
    at_least("dns", "DNS refresh", "call on systemd-resolved's bus / ours",
             quotient(r.value(r"dns peer resolved .* us ([\d.]+)"), r.value(r"dns policies=1 ours ([\d.]+)")), 15, 5)

    at_most("register", "registration", "processor time, 10,000 names / 1,000",
            r.value(r"register names=10000 .* growth ([\d.]+)"), 15, 25)
    idle = r.values(r"register names=\d+ .* idle (\d+)")
    at_most("register", "registration", "idle pass, ns, most of 20 to 10,000 names",
            max(value for value, in idle) if idle else None, 100, 1000)
    for names, passes in PASSES.items():
        exactly("register", "registration", f"passes, names: {names:,}",
                r.value(rf"register names={names} passes=(\d+)"), passes)

    for measure, name, goal, accept in (("stripped bytes, -O2", "bytes", 300000, 400000),
                                        ("relocations", "relocs", 400, 600)):
        value = r.value(rf"footprint (?!peer).*\b{name} (\d+)")
        at_most("footprint", "footprint", measure, value, goal, accept, True)
    needed = r.text(r"footprint needed (.*)")
    exactly("footprint", "footprint", "libraries other than libstdc++, libm, libgcc_s, libc and the platform's",
            None if needed is None else len(set(needed.split()) - LIBRARIES), 0)
    load = r.value(r"footprint bytes .* load_us ([\d.]+)")
    at_most("footprint", "footprint", "loading into a C++ host / the least C++ library",
            quotient(load, r.value(r"footprint bytes .* floor_us ([\d.]+)")), 2.5, 4)
    for name, measure, goal, accept in (("rss_kb", "resident memory, kB", 220, 350),
                                        ("private_kb", "of it private, kB", 150, 250)):
        at_most("footprint", "footprint", measure, r.value(rf"footprint bytes .* {name} (\d+)"), goal, accept)
    at_least("footprint", "footprint", "quickest peer's loading / ours",
             quotient(worst(v for v, in r.values(r"footprint peer .* load_us ([\d.]+)")), load), 10, 5)
    at_least("footprint", "footprint", "smallest peer's bytes / ours",
             quotient(worst(v for v, in r.values(r"footprint peer .* bytes (\d+)")), r.value(r"footprint bytes (\d+)")),
             2, 1.6)
    seconds = r.text(r"idle seconds=(\d+)")
    exactly("idle", "idle", f"wake-ups in {seconds} s, every service running", r.value(r"idle .* wakeups (\d+)"), 0)
    return rows


def check(results):
    rows = rows_of(results)
    for row in rows:
        held = row.limit(row.goal if row.count else row.accept)
        verdict = "-" if row.value is None else "ok" if row.passes() else "FAILED"
        print(f"{verdict:6} {row.path}: {row.measure}: {row.shown()}{', ' + held if held else ''}")
    failed = [row for row in rows if not row.passes()]
    if any(row.count for row in failed):
        return 1
    if failed:
        print(*sorted({row.program for row in failed}))
        return 3
    return 0


def output(*command):
    done = subprocess.run(command, capture_output=True, text=True, check=False)
    return done.stdout.strip().splitlines() if done.returncode == 0 else [""]


def machine():
    models = [line.split(":", 1)[1].strip() for line in output("lscpu") if line.startswith("Model name")]
    with open("/etc/os-release", encoding="utf-8") as file:
        system = re.search(r'PRETTY_NAME="(.*)"', file.read()).group(1)
    return [f"Machine: {models[0] if models else 'unknown'}, {os.cpu_count()} processors, {system}",
            f"Kernel: {platform.release()}",
            f"Compiler: {output('g++', '--version')[0]}, -O2 -DNDEBUG; {' '.join(platform.libc_ver())}",
            f"Date of the run: {datetime.date.today()}"]


def table(head, lines):
    return ["| " + " | ".join(line) + " |" for line in (head, ["---"] * len(head), *lines)]


def figures(results, rows):
    text = [f"- {line}" for line in machine()] + [""]
    text += table(("path", "measure", "goal", "accepted", "measured", ""),
                  [(row.path, row.measure, row.limit(row.goal), row.limit(row.accept), row.shown(), row.met())
                   for row in rows])
    text += ["", "What the log costs, in microseconds:", ""]
    ways = (("masked", "debug lines masked by `setlogmask`"), ("syslog", "not masked, nobody at /dev/log"),
            ("reader", "not masked, a reader at /dev/log"))
    text += table(("", "AT command, one core", "DNS refresh, 8 policies"),
                  [(name, results.text(rf"service serial ([\d.]+) {way}") or "-",
                    results.text(rf"dns log {way} .* ours ([\d.]+)") or "-") for way, name in ways])
    small = results.value(r"small bytes (\d+)")
    if small:
        share = small / results.value(r"footprint bytes (\d+)")
        text += ["", f"The preset `small` (-Os): {small:,.0f} bytes, {share:.0%} of those by -O2."]
    text += ["", "![Cost of an event against the number of subscribers](performance-fanout.svg)",
             "![Processor time of registration against the number of names](performance-register.svg)",
             "![Cost of a DNS refresh against the number of policies](performance-dns.svg)",
             "", "All that was printed:", "", "```text"] + results.lines + ["```"]
    return text


def plot(path, title, x, y, series):
    """One SVG of lines over two logarithmic axes: series are (name, [(x, y)])."""
    script = ['set terminal svg size 860,400 font "sans-serif,13" background "white"', f'set output "{path}"',
              f'set title "{title}"', f'set xlabel "{x}"', f'set ylabel "{y}"', "set logscale xy", "set key outside right top Left reverse",
              "set grid", "set border 3", "set tics nomirror", "set format y '%g'", "set format x '%g'"]
    script.append("plot " + ", ".join(
        f"'-' with linespoints linewidth {3 if i == 0 else 2} pointtype 7 pointsize 0.6 "
        f"dashtype {2 if name.startswith('limit') else 1} title \"{name}\"" for i, (name, _) in enumerate(series)))
    for _, points in series:
        script += [f"{a} {b}" for a, b in sorted(points)] + ["e"]
    subprocess.run(["gnuplot"], input="\n".join(script) + "\n", text=True, check=True)


def plots(results, docs):
    fanout = results.fanout()
    names = (("table", "ours"), ("limit", "limit: loop under a mutex"), ("sigcpp", "libsigc++ (not thread-safe)"),
             ("signals2", "boost::signals2"), ("gsignal", "GSignal"))
    plot(os.path.join(docs, "performance-fanout.svg"), "One event", "subscribers", "ns",
         [(name, fanout[key]) for key, name in names if key in fanout])
    costs = results.values(r"register names=(\d+) .* cpu ([\d.]+) limit ([\d.]+)")
    plot(os.path.join(docs, "performance-register.svg"), "Registration of all names", "names", "us of processor time",
         [("ours", [(n, a) for n, a, _ in costs]),
          ("limit: the same requests from a list", [(n, b) for n, _, b in costs])])
    costs = results.values(r"dns policies=(\d+) ours ([\d.]+) limit ([\d.]+)")
    series = [("ours", [(n, a) for n, a, _ in costs]), ("limit: the bare system calls", [(n, b) for n, _, b in costs])]
    peer = results.values(r"dns peer openresolv interfaces=(\d+) ms ([\d.]+)")
    series += [("openresolv", [(n, ms * 1e3) for n, ms in peer])] if peer else []
    plot(os.path.join(docs, "performance-dns.svg"), "One change of a call's servers", "policies", "us", series)


def write(results, docs):
    rows = rows_of(results)
    path = os.path.join(docs, "performance.md")
    with open(path, encoding="utf-8") as file:
        before, _, rest = file.read().partition(BEGIN)
    _, _, after = rest.partition(END)
    with open(path, "w", encoding="utf-8") as file:
        file.write("\n".join([before + BEGIN, ""] + figures(results, rows) + ["", END + after]))
    plots(results, docs)
    silent = [row for row in rows if row.met() != "met" and row.measure not in before + after]
    for row in silent:
        print(f"{path} does not say why this is {row.met()}: {row.path}: {row.measure}", file=sys.stderr)
    return 1 if silent else 0


if __name__ == "__main__":
    command, results_folder, docs_folder = sys.argv[1:]
    sys.exit(check(Results(results_folder)) if command == "check" else write(Results(results_folder), docs_folder))
