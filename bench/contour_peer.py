#!/usr/bin/env python3
"""Peer timings for contour tracing: contourpy's serial algorithm on the
benchmark fields of bench/contour_fields.h (same formula, same generator),
20 levels, 1000 x 1000 and 3000 x 3000 nodes.

Run with Debian's python3 (python3-contourpy, python3-numpy):
    /usr/bin/python3 bench/contour_peer.py [--sizes 1000,3000] [--repeat 5]
Prints the best wall and CPU time of all 20 levels per size and line type,
and the number of vertices. On a shared machine compare CPU times.
"""
import argparse
import time

import numpy as np


class Lcg:
    def __init__(self, seed):
        self.s = seed

    def next(self):
        self.s = (self.s * 1664525 + 1013904223) & 0xFFFFFFFF
        return (self.s >> 8) * (1.0 / 16777216.0)


def make_field(nx, ny):
    r = Lcg(20240601)
    bumps = []
    for _ in range(16):
        cx, cy, w, a = r.next(), r.next(), 0.03 + 0.12 * r.next(), 2.0 * r.next() - 1.0
        bumps.append((cx, cy, w, a))
    waves = []
    for _ in range(6):
        kx, ky, ph = 2.0 + 10.0 * r.next(), 2.0 + 10.0 * r.next(), 6.283185307179586 * r.next()
        waves.append((kx, ky, ph, 0.15 + 0.2 * r.next()))
    x = (np.arange(nx, dtype=np.float32) / np.float32(nx - 1)).astype(np.float32)
    y = (np.arange(ny, dtype=np.float32) / np.float32(ny - 1)).astype(np.float32)
    X, Y = np.meshgrid(x.astype(np.float64), y.astype(np.float64))
    v = np.zeros_like(X)
    for cx, cy, w, a in bumps:
        v += a * np.exp(-((X - cx) ** 2 + (Y - cy) ** 2) / (2 * w * w))
    for kx, ky, ph, a in waves:
        v += a * np.sin(kx * X + ky * Y + ph) * np.cos(ky * X - kx * Y)
    z = v.astype(np.float32)
    lo, hi = float(z.min()), float(z.max())
    levels = [np.float32(lo + (hi - lo) * (k + 0.5) / 20.0) for k in range(20)]
    return x, y, z, levels


def main():
    import contourpy

    ap = argparse.ArgumentParser()
    ap.add_argument("--sizes", default="1000,3000")
    ap.add_argument("--repeat", type=int, default=5)
    args = ap.parse_args()
    print("contourpy", contourpy.__version__)
    for n in [int(s) for s in args.sizes.split(",")]:
        x, y, z, levels = make_field(n, n)
        zd = z.astype(np.float64)
        for lt in (contourpy.LineType.Separate, contourpy.LineType.SeparateCode, contourpy.LineType.ChunkCombinedOffset):
            best = cpu = 1e30
            verts = 0
            for _ in range(args.repeat):
                t0, c0 = time.perf_counter(), time.process_time()
                # The generator is part of the work: it takes the grid each time.
                gen = contourpy.contour_generator(x, y, zd, name="serial", line_type=lt)
                out = [gen.lines(float(lv)) for lv in levels]
                best = min(best, time.perf_counter() - t0)
                cpu = min(cpu, time.process_time() - c0)
            if lt == contourpy.LineType.Separate:
                verts = sum(len(p) for lines in out for p in lines)
            elif lt == contourpy.LineType.SeparateCode:
                verts = sum(len(p) for pts, _ in out for p in pts)
            else:
                verts = sum(len(p) for pts, _ in out for p in pts if p is not None)
            print("%d x %d, 20 levels, serial %-19s best wall %8.1f ms, cpu %8.1f ms, %d vertices"
                  % (n, n, lt.name, best * 1e3, cpu * 1e3, verts))


if __name__ == "__main__":
    main()
