#!/usr/bin/env python3
"""Turns kvpcv_bench JSON output into Markdown tables for the README.

Benchmarks named BM_<Case>_kvp and BM_<Case>_ocv with the same arguments
form one row: kvpCV time, OpenCV time, and their ratio (below 1: kvpCV is
faster). Other benchmarks (memcpy references and the like) are listed with
their times.

  ./build/bin/kvpcv_bench --benchmark_format=json --benchmark_repetitions=5 \
      --benchmark_report_aggregates_only=true > bench.json
  python3 bench/report.py bench.json [Prefix1,Prefix2]   # only BM_<Prefix>...
"""
import json
import re
import sys


def main(path, prefixes=None):
    data = json.load(open(path))
    times = {}
    for b in data["benchmarks"]:
        if b.get("aggregate_name", "median") != "median":
            continue
        name = re.sub(r"(_median|/real_time|[()])", "", b["run_name"] if "run_name" in b else b["name"])
        scale = {"ns": 1e-3, "us": 1.0, "ms": 1e3}[b["time_unit"]]
        if prefixes and not any(name.startswith("BM_" + p) for p in prefixes):
            continue
        times[name] = b["real_time"] * scale
    rows, others = [], []
    for name, t in times.items():
        m = re.match(r"BM_(.+)_kvp(<[^>]*>)?(/.*)?$", name)
        if m:
            case, tmpl, args = m.group(1), m.group(2) or "", m.group(3) or ""
            peer = times.get(f"BM_{case}_ocv{tmpl}{args}")
            rows.append((case + tmpl, args.strip("/"), t, peer))
        else:
            m2 = re.match(r"BM_(.+)_ocv(<[^>]*>)?(/.*)?$", name)
            if not (m2 and f"BM_{m2.group(1)}_kvp{m2.group(2) or ''}{m2.group(3) or ''}" in times):
                others.append((name, t))
    print("| case | size / threads | kvpCV (us) | OpenCV (us) | ratio |")
    print("|---|---|---:|---:|---:|")
    for case, args, t, peer in rows:
        args = args.replace("w:", "").replace("/h:", "x").replace("/thr:", ", thr ")
        if peer:
            print(f"| {case} | {args} | {t:.0f} | {peer:.0f} | {t / peer:.2f} |")
        else:
            print(f"| {case} | {args} | {t:.0f} | - | - |")
    if others:
        print()
        print("| reference | time (us) |")
        print("|---|---:|")
        for name, t in others:
            print(f"| {name} | {t:.0f} |")


if __name__ == "__main__":
    main(sys.argv[1], sys.argv[2].split(",") if len(sys.argv) > 2 else None)
