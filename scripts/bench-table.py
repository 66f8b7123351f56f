#!/usr/bin/env python3
"""Runs Google Benchmark programs and prints their medians as one table."""
import json
import subprocess
import sys


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


def main():
    split = sys.argv.index("--") if "--" in sys.argv else len(sys.argv)
    programs, arguments = sys.argv[1:split], sys.argv[split + 1:]
    print(f"{'benchmark':<58}{'time':>14}{'cpu':>14}  rate")
    for program in programs:
        if program.endswith(".cmake") or "." in program.rsplit("/", 1)[-1]:
            continue
        print(f"--- {program.rsplit('/', 1)[-1].removeprefix('bench_')}")
        for row in run(program, arguments):
            if row.get("aggregate_name") != "median":
                continue
            unit = row["time_unit"]
            print(f"{row['run_name']:<58}{row['real_time']:>11,.2f} {unit}{row['cpu_time']:>11,.2f} {unit}  {rate(row)}")


main()
