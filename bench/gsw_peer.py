#!/usr/bin/python3
"""Peer timing for bench/seawater.cpp: TEOS-10 gsw (Debian python3-gsw) on the
same ten million samples, vectorised, in nanoseconds per sample.

Samples: stream k, sample i is splitmix64(i + k N) >> 11 scaled by 2^-53 to
[0, 1), then pressure 0-6000 dbar, temperature -2-30 deg C, practical
salinity 33-37, rounded to float32 exactly as the C++ benchmark does.

Timed (best of --repeat runs each):
  rho            gsw.rho(SA, CT, p) alone, SA and CT precomputed
  chain          SP, t, p -> SA_from_SP -> CT_from_t -> rho (what EOS80 does from
                 practical salinity and in-situ temperature)
  pt_from_t      potential temperature at 0 dbar (the peer of theta)
  sound_speed_t  gsw.sound_speed_t_exact(SA, t, p) (the peer of SoundVel)

Usage: /usr/bin/python3 bench/gsw_peer.py [--samples N] [--repeat R]
"""
import argparse
import time

import numpy as np
import gsw


def splitmix64(x):
    with np.errstate(over="ignore"):
        x = x + np.uint64(0x9E3779B97F4A7C15)
        x = (x ^ (x >> np.uint64(30))) * np.uint64(0xBF58476D1CE4E5B9)
        x = (x ^ (x >> np.uint64(27))) * np.uint64(0x94D049BB133111EB)
        return x ^ (x >> np.uint64(31))


def stream(k, n, lo, hi):
    i = np.arange(n, dtype=np.uint64) + np.uint64(k * n)
    u = (splitmix64(i) >> np.uint64(11)).astype(np.float64) * 2.0**-53
    return (lo + (hi - lo) * u).astype(np.float32).astype(np.float64)


def best(fn, repeat):
    """Best wall and process-CPU seconds (the machine may be shared; the C++
    benchmark's CPU column is the comparable figure)."""
    wall, cpu = [], []
    for _ in range(repeat):
        w0, c0 = time.perf_counter(), time.process_time()
        fn()
        wall.append(time.perf_counter() - w0)
        cpu.append(time.process_time() - c0)
    return min(wall), min(cpu)


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("--samples", type=int, default=10_000_000)
    ap.add_argument("--repeat", type=int, default=3)
    a = ap.parse_args()
    n = a.samples
    p = stream(0, n, 0.0, 6000.0)
    t = stream(1, n, -2.0, 30.0)
    sp = stream(2, n, 33.0, 37.0)
    lon, lat = -30.0, 45.0
    sa = gsw.SA_from_SP(sp, p, lon, lat)
    ct = gsw.CT_from_t(sa, t, p)

    def chain():
        s = gsw.SA_from_SP(sp, p, lon, lat)
        return gsw.rho(s, gsw.CT_from_t(s, t, p), p)

    cases = [
        ("rho", lambda: gsw.rho(sa, ct, p)),
        ("chain", chain),
        ("pt_from_t", lambda: gsw.pt_from_t(sa, t, p, 0.0)),
        ("sound_speed_t", lambda: gsw.sound_speed_t_exact(sa, t, p)),
    ]
    print(f"gsw {gsw.__version__}, numpy {np.__version__}, {n} samples, best of {a.repeat}")
    for name, fn in cases:
        wall, cpu = best(fn, a.repeat)
        print(f"{name:14s} {cpu / n * 1e9:8.2f} ns per sample CPU ({wall / n * 1e9:.2f} wall)")


if __name__ == "__main__":
    main()
