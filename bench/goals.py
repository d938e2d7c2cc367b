#!/usr/bin/env python3
"""Reads the benchmark program's JSON, prints one table of our figure beside its peer's, the
ratio and its goal, and writes the table into the same JSON as "goals".

Usage: goals.py build/bench/bench.json
Exit status 0 whether goals are met or not: a missed goal is a finding, not a broken build.
"""
import json
import sys

# job, benchmark name (prefix), our counter, peer counter, ratio counter, unit,
# goal, and whether the ratio must be at least (">=") or at most ("<=") the goal.
GOALS = [
    ("koMemoExpand vs LZ4", "BM_MemoExpand_vs_LZ4", "ko_MB/s", "lz4_MB/s", "ko_vs_lz4", "MB/s", 0.5, ">="),
    ("koMemoCompress vs LZ4", "BM_MemoCompress_vs_LZ4", "ko_MB/s", "lz4_MB/s", "ko_vs_lz4", "MB/s", 1.0, ">="),
    ("XML from ANSI string vs pugixml", "BM_XmlAnsiStringVsPugixml", "MB/s", "pugixml_MB/s", "vs_pugixml", "MB/s", 0.6, ">="),
    ("XML from file vs pugixml", "BM_XmlFileVsPugixml", "MB/s", "pugixml_MB/s", "vs_pugixml", "MB/s", 0.5, ">="),
    ("XML tree memory vs pugixml", "BM_XmlTreeMemoryVsPugixml", "tree_MB", "pugixml_MB", "vs_pugixml", "MB", 0.35, "<="),
    ("round trips, TCP, 1 connection", "BM_RoundTrips/transport:1/connections:1/", "rt/s", "plain_rt/s", "vs_plain", "/s", 0.9, ">="),
    ("round trips, pipe, 1 connection", "BM_RoundTrips/transport:2/connections:1/", "rt/s", "plain_rt/s", "vs_plain", "/s", 0.9, ">="),
    ("round trips, TCP, 16 connections", "BM_RoundTrips/transport:1/connections:16/", "rt/s", "plain_rt/s", "vs_plain", "/s", 0.9, ">="),
    ("round trips, pipe, 16 connections", "BM_RoundTrips/transport:2/connections:16/", "rt/s", "plain_rt/s", "vs_plain", "/s", 0.9, ">="),
    ("IXFileCached byte writes vs putc", "BM_PutByteVsPutc", "MB/s", "stdio_MB/s", "vs_stdio", "MB/s", 1.5, ">="),
    ("IXFileCached byte reads vs getc", "BM_GetByteVsGetc", "MB/s", "stdio_MB/s", "vs_stdio", "MB/s", 1.5, ">="),
    ("koQuickSortMemoryArray vs std::sort (time)", "BM_QuickSortMemoryArray_vs_StdSort", "ko_ms", "std_sort_ms", "ratio", "ms", 1.5, "<="),
]


def figure(value):
    if value >= 1000:
        return f"{value:,.0f}"
    return f"{value:.3g}" if value < 10 else f"{value:.1f}"


def main(path):
    with open(path) as f:
        data = json.load(f)
    runs = [b for b in data.get("benchmarks", []) if b.get("run_type", "iteration") == "iteration"]
    rows = []
    for job, name, ours, peer, ratio, unit, goal, sense in GOALS:
        run = next((b for b in runs if b["name"].startswith(name)), None)
        if run is None or ratio not in run:
            rows.append({"job": job, "ours": None, "peer": None, "ratio": None, "unit": unit,
                         "goal": f"{sense} {goal}", "met": None})
            continue
        r = run[ratio]
        met = r >= goal if sense == ">=" else r <= goal
        rows.append({"job": job, "ours": run[ours], "peer": run[peer], "ratio": r, "unit": unit,
                     "goal": f"{sense} {goal}", "met": met})
    data["goals"] = rows
    with open(path, "w") as f:
        json.dump(data, f, indent=2)

    header = ("job", "ours", "peer", "unit", "ratio", "goal", "met")
    table = [header]
    for row in rows:
        table.append((row["job"],
                      "-" if row["ours"] is None else figure(row["ours"]),
                      "-" if row["peer"] is None else figure(row["peer"]),
                      row["unit"],
                      "-" if row["ratio"] is None else f"{row['ratio']:.2f}",
                      row["goal"],
                      "not run" if row["met"] is None else "yes" if row["met"] else "NO"))
    widths = [max(len(line[i]) for line in table) for i in range(len(header))]
    print()
    for n, line in enumerate(table):
        cells = [line[0].ljust(widths[0])] + [c.rjust(w) for c, w in zip(line[1:], widths[1:])]
        print("  ".join(cells))
        if n == 0:
            print("  ".join("-" * w for w in widths))
    met = sum(1 for row in rows if row["met"])
    print(f"\n{met} of {len(rows)} goals met; figures in {path}")


if __name__ == "__main__":
    main(sys.argv[1])
