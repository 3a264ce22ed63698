#!/usr/bin/env python3
"""The cost of calling Kestrel from Python: the P18 oxygen section gridded
onto 400 x 200 nodes through kestrel.grid_section, against the same gridding
called from C++ (bench_python_grid), in one run.

Usage: PYTHONPATH=build/release/python python3 bench/python_overhead.py build/release
"""
import json
import subprocess
import sys
import time
from pathlib import Path

import numpy as np

import kestrel

build = Path(sys.argv[1] if len(sys.argv) > 1 else "build/release")
data = Path(__file__).resolve().parents[1].parent / "shared" / "data" / "samples" / "go-ship_p18_2016.tsv"
names = data.open(encoding="latin-1").readline().rstrip("\n").split("\t")
cols = [n.split(" [")[0] for n in names]
raw = np.genfromtxt(data, delimiter="\t", skip_header=1, usecols=[cols.index(c) for c in ("Latitude", "Depth", "Oxygen")])
raw = raw[np.all(np.isfinite(raw), axis=1)]
x, y, v = raw[:, 0], raw[:, 1], raw[:, 2]

times = []
for _ in range(15):
    t0 = time.perf_counter()
    kestrel.grid_section(x, y, v, nx=400, ny=200)
    times.append(time.perf_counter() - t0)
py_ms = 1000 * float(np.median(times))

out = subprocess.run([str(build / "bin" / "bench_python_grid"), "--benchmark_format=json"], check=True,
                     capture_output=True, text=True).stdout
c_ms = json.loads(out)["benchmarks"][0]["real_time"]
print(f"P18 oxygen, {len(x)} samples onto 400 x 200 nodes")
print(f"  C++      {c_ms:8.2f} ms")
print(f"  Python   {py_ms:8.2f} ms (median of 15)")
print(f"  ratio    {py_ms / c_ms:8.3f}")
