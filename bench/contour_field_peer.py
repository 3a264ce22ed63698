#!/usr/bin/env python3
"""Peer timings for whole-field drawing on the 1000 x 1000 benchmark field of
bench/contour_fields.h (built by bench/contour_peer.py's make_field):

  - GMT grdcontour writing PostScript, 20 annotated levels (the counterpart
    of ContourField to PostScript with labels);
  - matplotlib imshow and pcolormesh of the field saved as a 1600 x 1200 PNG
    (the counterpart of ShadeField to the canvas, saved as PNG).

Run with Debian's python3 (gmt, python3-matplotlib, python3-numpy):
    /usr/bin/python3 bench/contour_field_peer.py [--repeat 3]
Prints the best wall time and the best CPU time (user + system, of this
process or of the gmt child); on a shared machine compare CPU times.
"""
import argparse
import os
import resource
import subprocess
import sys
import tempfile
import time

import numpy as np

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from contour_peer import make_field  # noqa: E402


def child_cpu():
    r = resource.getrusage(resource.RUSAGE_CHILDREN)
    return r.ru_utime + r.ru_stime


def timed(fn, repeat, child=False):
    wall = cpu = 1e30
    for _ in range(repeat):
        t0, c0 = time.perf_counter(), (child_cpu() if child else time.process_time())
        fn()
        wall = min(wall, time.perf_counter() - t0)
        cpu = min(cpu, (child_cpu() if child else time.process_time()) - c0)
    return wall * 1e3, cpu * 1e3


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("--repeat", type=int, default=3)
    args = ap.parse_args()
    n = 1000
    x, y, z, levels = make_field(n, n)
    tmp = tempfile.mkdtemp(prefix="kestrel_peer_")

    # GMT: the grid as netCDF (not timed), then grdcontour to PostScript.
    raw = os.path.join(tmp, "field.f32")
    z.astype("<f4").tofile(raw)
    grid = os.path.join(tmp, "field.nc")
    inc = 1.0 / (n - 1)
    subprocess.run(["gmt", "xyz2grd", raw, "-G" + grid, "-R0/1/0/1", "-I%.12g" % inc, "-ZBLf"], check=True)
    cpt = os.path.join(tmp, "levels.txt")
    with open(cpt, "w") as f:
        for lv in levels:
            f.write("%.9g A\n" % lv)
    ps = os.path.join(tmp, "gmt.ps")

    def gmt():
        with open(ps, "wb") as out:
            subprocess.run(["gmt", "grdcontour", grid, "-C" + cpt, "-A+f6p", "-JX36c/26c", "-R0/1/0/1",
                            "-Wthin", "-P", "--PS_MEDIA=a0"], stdout=out, check=True)

    wall, cpu = timed(gmt, args.repeat, child=True)
    print("GMT %s grdcontour -> PostScript, 20 annotated levels: best wall %.1f ms, cpu %.1f ms, %d bytes"
          % (subprocess.run(["gmt", "--version"], capture_output=True, text=True).stdout.strip(), wall, cpu,
             os.path.getsize(ps)))

    import matplotlib
    matplotlib.use("Agg")
    import matplotlib.pyplot as plt

    png = os.path.join(tmp, "mpl.png")

    def imshow():
        fig = plt.figure(figsize=(16, 12), dpi=100)
        ax = fig.add_axes([0.05, 0.05, 0.9, 0.866])
        ax.imshow(z, origin="lower", extent=(0, 1, 0, 1), cmap="viridis", interpolation="nearest", aspect="auto")
        fig.savefig(png)
        plt.close(fig)

    def pcolormesh():
        fig = plt.figure(figsize=(16, 12), dpi=100)
        ax = fig.add_axes([0.05, 0.05, 0.9, 0.866])
        ax.pcolormesh(x, y, z, cmap="viridis", shading="nearest")
        fig.savefig(png)
        plt.close(fig)

    for name, fn in (("imshow", imshow), ("pcolormesh", pcolormesh)):
        wall, cpu = timed(fn, args.repeat)
        print("matplotlib %s %s -> 1600 x 1200 PNG: best wall %.1f ms, cpu %.1f ms"
              % (matplotlib.__version__, name, wall, cpu))


if __name__ == "__main__":
    main()
