#!/usr/bin/env python3
"""Prints the table of bench/run from Google Benchmark JSON files.

Each measured path "path/<name>" is paired with "baseline/<name>" from the same program; the
ratio is the median CPU time of the path over the median CPU time of its baseline, and the
path's "goal" counter is the largest ratio that meets its goal.
"""

import argparse
import json
import sys


def medians(files):
    """Median CPU times (ns), goals and the first context, by benchmark name."""
    times, goals, context = {}, {}, None
    for name in files:
        with open(name, encoding="utf-8") as f:
            text = f.read()
        if not text.strip():  # a program none of whose benchmarks matched the filter
            continue
        data = json.loads(text)
        context = context or data.get("context", {})
        for b in data.get("benchmarks", []):
            if b.get("error_occurred"):
                print(f"{b['name']}: {b.get('error_message', 'failed')}", file=sys.stderr)
                continue
            if b.get("run_type") == "aggregate" and b.get("aggregate_name") != "median":
                continue
            run = b.get("run_name", b["name"])
            scale = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}[b.get("time_unit", "ns")]
            times[run] = b["cpu_time"] * scale
            if "goal" in b:
                goals[run] = b["goal"]
    return times, goals, context


def human(ns):
    for unit, scale in (("s", 1e9), ("ms", 1e6), ("us", 1e3)):
        if ns >= scale:
            return f"{ns / scale:.3g} {unit}"
    return f"{ns:.3g} ns"


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("files", nargs="+")
    parser.add_argument("--json", help="write the merged results here")
    args = parser.parse_args()
    times, goals, context = medians(args.files)

    rows = []
    for name in times:
        if not name.startswith("path/"):
            continue
        key = name[len("path/"):]
        base = times.get("baseline/" + key)
        if base is None:
            print(f"{name}: no baseline/{key}", file=sys.stderr)
            continue
        ratio = times[name] / base
        goal = goals.get(name)
        rows.append((key, times[name], base, ratio, goal))

    if context:
        caches = ", ".join(f"L{c['level']} {c['size'] // 1024} KiB" for c in
                           context.get("caches", []) if c.get("type") != "Instruction")
        print(f"{context.get('host_name', '?')}: {context.get('num_cpus', '?')} CPUs at "
              f"{context.get('mhz_per_cpu', '?')} MHz ({caches}); load "
              f"{', '.join(f'{x:.2f}' for x in context.get('load_avg', []))}")
    print("median CPU time of 3 repetitions; ratio = path / baseline\n")
    width = max([len(r[0]) for r in rows] + [4])
    print(f"{'path':<{width}}  {'library':>10}  {'baseline':>10}  {'ratio':>7}  {'goal':>6}")
    met = 0
    for key, lib, base, ratio, goal in rows:
        ok = goal is None or ratio <= goal
        met += ok
        goal_text = f"{goal:.2f}" if goal is not None else "-"
        print(f"{key:<{width}}  {human(lib):>10}  {human(base):>10}  {ratio:7.3f}  "
              f"{goal_text:>6}  {'ok' if ok else 'MISS'}")
    print(f"\n{met} of {len(rows)} goals met")

    if args.json:
        with open(args.json, "w", encoding="utf-8") as f:
            json.dump({"context": context, "rows": [
                {"name": k, "library_ns": l, "baseline_ns": b, "ratio": r, "goal": g}
                for k, l, b, r, g in rows]}, f, indent=1)


if __name__ == "__main__":
    main()
