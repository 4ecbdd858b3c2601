#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""plot.py CSV SVG: the samples of a soak: memory on the left axis, descriptors and threads on the right one."""
import csv
import subprocess
import sys

MOST_POINTS = 600  # More do not show.

SCRIPT = """set terminal svg size 860,400 font "sans-serif,13" background "white"
set output "{path}"
set title "Everything at once through the host"
set xlabel "minutes"
set ylabel "MB"
set y2label "count"
set yrange [0:*]
set y2range [0:*]
set y2tics
set key below
set grid
plot '-' with lines linewidth 2 title "resident memory", '-' with lines linewidth 3 title "of it heap and stacks", \\
  '-' axes x1y2 with lines title "descriptors", '-' axes x1y2 with lines title "threads"
"""
COLUMNS = (("rss_kb", 1024), ("anon_kb", 1024), ("descriptors", 1), ("threads", 1))


def main(samples, path):
    with open(samples, encoding="utf-8", newline="") as file:
        rows = list(csv.DictReader(file))
    rows = rows[::max(1, len(rows) // MOST_POINTS)]
    script = [SCRIPT.format(path=path)]
    for name, unit in COLUMNS:
        script += [f"{float(row['s']) / 60} {float(row[name]) / unit}" for row in rows] + ["e"]
    subprocess.run(["gnuplot"], input="\n".join(script) + "\n", text=True, check=True)


if __name__ == "__main__":
    main(*sys.argv[1:])
