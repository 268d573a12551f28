#!/usr/bin/python3
"""Prints the closing table of scripts/bench.sh from Google Benchmark JSON files.

Usage: bench_table.py ORDER=FILE.json ...   (ORDER is bottom-up or top-down; one file per run)

A benchmark joins the table when its label ends in " vs PEER" (bench/support/pages.h: Versus),
PEER being the name of the peer's run in the same process, or "-" for none. Times are CPU times
(the machine is shared; wall time counts the neighbours too). For every run the ratio ours /
peer is taken inside that run; the table gives the medians over the runs of each order.
"""
import json
import statistics
import sys


def load(path):
    with open(path) as f:
        runs = json.load(f)["benchmarks"]
    times, peers = {}, {}
    for r in runs:
        if r.get("run_type") == "aggregate" or "error_occurred" in r and r["error_occurred"]:
            continue
        name = r["run_name"] if "run_name" in r else r["name"]
        scale = {"ns": 1e-6, "us": 1e-3, "ms": 1.0, "s": 1e3}[r.get("time_unit", "ns")]
        times.setdefault(name, []).append(r["cpu_time"] * scale)
        label = r.get("label", "")
        if " vs " in label:
            head, peer = label.rsplit(" vs ", 1)
            peers[name] = (head, peer)
    return {n: statistics.median(t) for n, t in times.items()}, peers


def fmt(ms):
    if ms is None:
        return "-"
    return f"{ms * 1000:.0f} us" if ms < 1 else f"{ms:.2f} ms"


def main(args):
    runs = {"bottom-up": [], "top-down": []}
    for a in args:
        order, path = a.split("=", 1)
        runs[order].append(load(path))
    rows = {}
    for order, loaded in runs.items():
        for times, peers in loaded:
            for name, (head, peer) in peers.items():
                row = rows.setdefault(name, {"head": head, "peer": peer, "ours": {}, "theirs": {},
                                             "ratio": {}})
                row["ours"].setdefault(order, []).append(times[name])
                if peer in times:
                    row["theirs"].setdefault(order, []).append(times[peer])
                    row["ratio"].setdefault(order, []).append(times[name] / times[peer])
    med = lambda d, k: statistics.median(d[k]) if d.get(k) else None
    print("| Operation | Tier, note | Peer | Ours bottom-up | Ours top-down | Bottom-up / top-down "
          "| Peer | Ratio bottom-up | Ratio top-down |")
    print("|---|---|---|---:|---:|---:|---:|---:|---:|")
    for name in sorted(rows):
        r = rows[name]
        bu, td = med(r["ours"], "bottom-up"), med(r["ours"], "top-down")
        peer = med(r["theirs"], "bottom-up") or med(r["theirs"], "top-down")
        rb, rt = med(r["ratio"], "bottom-up"), med(r["ratio"], "top-down")
        order_ratio = f"{bu / td:.2f}" if bu and td else "-"
        print(f"| {name} | {r['head']} | {r['peer']} | {fmt(bu)} | {fmt(td)} | {order_ratio} | "
              f"{fmt(peer)} | {f'{rb:.2f}x' if rb else '-'} | {f'{rt:.2f}x' if rt else '-'} |")


if __name__ == "__main__":
    main(sys.argv[1:])
