#!/usr/bin/env python3
"""Runs Google Benchmark programs and prints their medians as one table. With --chart PAIRS SVG in front it also draws those benchmarks
that the table PAIRS compares with others."""
import csv
import json
import pathlib
import subprocess
import sys
from xml.sax.saxutils import escape

NANOSECONDS = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}


def run(program, arguments):
    command = [program, "--benchmark_format=json", "--benchmark_repetitions=3", "--benchmark_min_time=0.1",
               "--benchmark_report_aggregates_only=true", *arguments]
    result = subprocess.run(command, check=True, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
    text = result.stdout.decode()
    return json.loads(text[text.index("{"):])["benchmarks"] if "{" in text else []


def rate(row):
    if "bytes_per_second" in row:
        return f"{row['bytes_per_second'] / 1e6:,.0f} MB/s"
    if "items_per_second" in row:
        return f"{1e9 / row['items_per_second']:,.2f} ns/item"
    return ""


def time_of(row):
    """Nanoseconds: of the clock for what several threads do, else of the processor."""
    return row["real_time" if "/real_time" in row["run_name"] else "cpu_time"] * NANOSECONDS[row["time_unit"]]


# --- The chart: for each pair a bar that shows the library's time as a part of the other's.

ROW, TOP, LEFT, UNIT, LONGEST, WIDTH = 24, 62, 250, 150, 2.0, 880  # pixels; UNIT is the length of an equal time

STYLE = """
    text { font: 13px sans-serif; fill: #1f2328 }
    .small { font-size: 11px; fill: #59636e }
    .title { font-size: 16px; font-weight: bold }
    .faster { fill: #1a7f37 }
    .slower { fill: #bc4c00 }
    line { stroke: #59636e; stroke-dasharray: 3 3 }
    @media (prefers-color-scheme: dark) {
      text { fill: #e6edf3 }
      .small { fill: #9198a1 }
      .faster { fill: #3fb950 }
      .slower { fill: #db6d28 }
      line { stroke: #9198a1 }
    }"""


def readable(nanoseconds):
    for unit in ("ns", "µs", "ms"):
        if nanoseconds < 1000 or unit == "ms":
            return f"{nanoseconds:.3g} {unit}" if nanoseconds < 1000 else f"{nanoseconds:,.0f} {unit}"
        nanoseconds /= 1000
    return ""


def bar(index, pair, ours, theirs):
    y = TOP + ROW * index
    ratio = ours / theirs
    length = UNIT * min(ratio, LONGEST)
    more = "…" if ratio > LONGEST else ""
    times = f"{readable(ours)}{more}; {readable(theirs)} with {pair['compared with']}"
    return f"""
  <text x="{LEFT - 10}" y="{y + 13}" text-anchor="end">{escape(pair['what'])}</text>
  <rect x="{LEFT}" y="{y + 2}" width="{max(length, 1):.1f}" height="{ROW - 9}" class="{'faster' if ratio <= 1 else 'slower'}"/>
  <text x="{LEFT + max(length, UNIT) + 8:.1f}" y="{y + 13}" class="small">{escape(times)}</text>"""


def processor():
    for line in pathlib.Path("/proc/cpuinfo").read_text(encoding="utf-8").splitlines():
        if line.startswith("model name"):
            return line.partition(":")[2].strip()
    return "an unknown processor"


def chart(pairs, times):
    height = TOP + ROW * len(pairs) + 12
    bars = "".join(bar(index, pair, times[f"{pair['program']} {pair['library']}"], times[f"{pair['program']} {pair['peer']}"])
                   for index, pair in enumerate(pairs))
    return f"""<svg xmlns="http://www.w3.org/2000/svg" width="{WIDTH}" height="{height}" viewBox="0 0 {WIDTH} {height}" role="img">
  <title>Times of ZerlithCore compared with the standard library</title>
  <style>{STYLE}
  </style>
  <text x="10" y="22" class="title">Time for one operation; shorter is better</text>
  <text x="10" y="40" class="small">The dashed line is the time of the standard library. Medians of three runs on {escape(processor())}.</text>
  <line x1="{LEFT + UNIT}" y1="{TOP - 8}" x2="{LEFT + UNIT}" y2="{height - 10}"/>{bars}
</svg>
"""


def write_chart(pairs_file, svg_file, times):
    with open(pairs_file, encoding="utf-8", newline="") as file:
        pairs = list(csv.DictReader(file))
    missing = [f"{pair['program']} {pair[side]}" for pair in pairs for side in ("library", "peer")
               if f"{pair['program']} {pair[side]}" not in times]
    if missing:
        sys.exit(f"{pairs_file}: not measured: {', '.join(missing)}")
    pathlib.Path(svg_file).write_text(chart(pairs, times), encoding="utf-8")


def main():
    words = sys.argv[1:]
    charted = words[1:3] if words[:1] == ["--chart"] else []
    words = words[3:] if charted else words
    split = words.index("--") if "--" in words else len(words)
    programs, arguments = words[:split], words[split + 1:]
    times = {}
    print(f"{'benchmark':<58}{'time':>14}{'cpu':>14}  rate")
    for program in programs:
        if "." in program.rsplit("/", 1)[-1]:
            continue
        room = program.rsplit("/", 1)[-1].removeprefix("bench_")
        print(f"--- {room}")
        for row in run(program, arguments):
            if row.get("aggregate_name") != "median":
                continue
            unit = row["time_unit"]
            times[f"{room} {row['run_name']}"] = time_of(row)
            print(f"{row['run_name']:<58}{row['real_time']:>11,.2f} {unit}{row['cpu_time']:>11,.2f} {unit}  {rate(row)}")
    if charted:
        write_chart(*charted, times)


main()
