#!/usr/bin/env python3
"""Dask scale-out of the three-dimensional analysis: a survey of N random
points (made on the workers, never whole in one place) gridded on 40 x 40 x
20 nodes with 1 and 2 workers of one thread each, against the
single-machine grid3d where the points fit. Reports wall time and the peak
resident memory of each worker (its tile's points, not the survey).

Usage: PYTHONPATH=build/release/python python3 bench/dask_scaling.py [N=10000000]
"""
import resource
import sys
import time

import dask.array as da
import numpy as np
from distributed import Client, LocalCluster

import kestrel
import kestrel.dask as kd

N = int(sys.argv[1]) if len(sys.argv) > 1 else 10_000_000
GRID = {"nx": 40, "ny": 40, "nz": 20, "scale": 5,
        "x_range": (-140, -120), "y_range": (30, 40), "z_range": (-3000, 0)}


def survey():
    rs = da.random.RandomState(7)
    chunks = 1_000_000
    x = rs.uniform(-140, -120, N, chunks=chunks)
    y = rs.uniform(30, 40, N, chunks=chunks)
    z = rs.uniform(-3000, 0, N, chunks=chunks)
    v = da.sin(x / 3) + y / 10 + z / 1000
    return {"x": x, "y": y, "z": z, "value": v}


def peak_mb():
    return resource.getrusage(resource.RUSAGE_SELF).ru_maxrss / 1024


def main():
    for workers in (1, 2):
        with LocalCluster(n_workers=workers, threads_per_worker=1, processes=True, dashboard_address=None,
                          memory_limit="8GiB") as cluster, Client(cluster) as client:
            t = time.perf_counter()
            g = kd.grid3d(survey(), GRID, chunks=(20, 20, 10))
            wall = time.perf_counter() - t
            peaks = sorted(client.run(peak_mb).values())
            print(f"{N} points, {workers} worker(s): {wall:7.1f} s, peak RSS per worker "
                  + ", ".join(f"{p:.0f} MB" for p in peaks) + f"; client {peak_mb():.0f} MB")


if __name__ == "__main__":
    main()
