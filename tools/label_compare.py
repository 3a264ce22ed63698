#!/usr/bin/env python3
"""Contour labels of a section next to matplotlib's clabel and GMT's grdcontour.

Grids one column of a table as ``kestrel section`` does (kestrel.grid_section,
120 x 84 nodes), blanks the nodes far from any sample, and contours the same
grid with matplotlib (clabel, inline) and with GMT (grdcontour -A, on the grid
resampled to even spacing, which GMT needs). Every second level is labelled,
as the command does by default. The command's own picture of the same table
is drawn beside them for a look at the three.

Usage (from the repository root, after a native build with the Python package):
  PYTHONPATH=build/dev/python /usr/bin/python3 tools/label_compare.py \\
      ../shared/data/samples/go-ship_p18_2016.tsv Latitude Depth Oxygen 20 /tmp/p18-oxygen
writes /tmp/p18-oxygen-mpl.png, /tmp/p18-oxygen-gmt.png and /tmp/p18-oxygen-kestrel.png.
A Line column filter may follow: ... Temperature 0.5 /tmp/wcoa2 Line=2
"""
import os
import subprocess
import sys
import tempfile

import numpy as np


def column(names, want):
    for k, n in enumerate(names):
        if n == want or n.split(" [")[0] == want:
            return k
    raise SystemExit(f"no column {want}")


def main():
    if len(sys.argv) < 7:
        raise SystemExit(__doc__)
    data, xname, yname, vname, step, out = sys.argv[1:7]
    where = sys.argv[7] if len(sys.argv) > 7 else None
    step = float(step)
    import kestrel
    with open(data, encoding="latin-1") as f:
        names = f.readline().rstrip("\n").split("\t")
        rows = [line.rstrip("\n").split("\t") for line in f]
    if where:
        key, value = where.split("=")
        kc = column(names, key)
        rows = [r for r in rows if r[kc] == value]
    cx, cy, cv = column(names, xname), column(names, yname), column(names, vname)

    def num(s):
        try:
            return float(s)
        except ValueError:
            return np.nan
    x = np.array([num(r[cx]) for r in rows])
    y = np.array([num(r[cy]) for r in rows])
    v = np.array([num(r[cv]) for r in rows])
    ok = np.isfinite(x) & np.isfinite(y) & np.isfinite(v)
    x, y, v = x[ok], y[ok], v[ok]
    g = kestrel.grid_section(x, y, v, nx=120, ny=84)
    field = np.where(g.distance < 4, g.estimate, np.nan)
    lo, hi = np.nanpercentile(v, [0.5, 99.5])
    levels = np.arange(np.ceil(lo / step) * step, hi + step / 2, step)
    labelled = levels[np.isclose(np.round(levels / step) % 2, 0)]

    import matplotlib
    matplotlib.use("Agg")
    import matplotlib.pyplot as plt
    fig, ax = plt.subplots(figsize=(10, 7), dpi=100)
    m = ax.pcolormesh(g.x, g.y, field, cmap="viridis", shading="nearest", vmin=levels[0] - step, vmax=levels[-1] + step)
    ax.contour(g.x, g.y, field, levels=levels, colors="k", linewidths=0.5)
    cs = ax.contour(g.x, g.y, field, levels=labelled, colors="k", linewidths=1.2)
    ax.clabel(cs, fmt="%g", fontsize=9, inline=True)
    ax.invert_yaxis()
    fig.colorbar(m, ax=ax)
    ax.set_xlabel(xname)
    ax.set_ylabel(yname)
    ax.set_title(f"{vname} (matplotlib clabel)")
    fig.savefig(out + "-mpl.png")

    # GMT: the same grid on even spacing (linear in each direction).
    xe = np.linspace(g.x[0], g.x[-1], 240)
    ye = np.linspace(g.y[0], g.y[-1], 168)
    tmp = np.array([np.interp(xe, g.x, row) for row in field])
    even = np.array([np.interp(ye, g.y, tmp[:, i]) for i in range(len(xe))]).T
    with tempfile.TemporaryDirectory() as d:
        d = os.environ.get("LABEL_COMPARE_WORK", d)
        xyz = os.path.join(d, "g.xyz")
        with open(xyz, "w") as f:
            for j, yy in enumerate(ye):
                for i, xx in enumerate(xe):
                    val = even[j, i]
                    f.write(f"{xx:.6f} {yy:.6f} {'NaN' if not np.isfinite(val) else f'{val:.6f}'}\n")
        R = f"-R{xe[0]}/{xe[-1]}/{ye[0]}/{ye[-1]}"
        I = f"-I{(xe[-1] - xe[0]) / 239}/{(ye[-1] - ye[0]) / 167}"
        grd = os.path.join(d, "g.nc")
        run = lambda *a: subprocess.run(["gmt", *a], check=True, cwd=d)
        run("xyz2grd", xyz, R, I, "-G" + grd)
        with open(os.path.join(d, "c.cpt"), "w") as f:
            subprocess.run(["gmt", "makecpt", "-Cviridis", f"-T{levels[0] - step}/{levels[-1] + step}"], stdout=f,
                           check=True, cwd=d)
        with open(os.path.join(d, "levels.txt"), "w") as f:
            for lv in levels:
                f.write(f"{lv:g} {'A' if np.any(np.isclose(labelled, lv)) else 'C'}\n")
        ps = os.path.join(d, "fig")
        script = f"""gmt begin fig png E100
gmt grdimage {grd} -JX17c/-12c -Cc.cpt -Q
gmt grdcontour {grd} -Clevels.txt -A+f9p -Wc0.25p -Wa0.8p -Baf -BWSne+t"{vname} (GMT grdcontour)"
gmt end
"""
        # One session name for all the calls (bash runs the last one in its own place).
        subprocess.run(["bash", "-c", script], check=True, cwd=d, env=dict(os.environ, GMT_SESSION_NAME=str(os.getpid())))
        os.replace(ps + ".png", out + "-gmt.png")

    here = os.path.dirname(os.path.abspath(__file__))
    cli = os.environ.get("KESTREL", os.path.join(here, "..", "build", "dev", "bin", "kestrel"))
    table = data
    if where:
        table = out + "-rows.tsv"
        with open(table, "w", encoding="latin-1") as f:
            f.write("\t".join(names) + "\n")
            for r in rows:
                f.write("\t".join(r) + "\n")
    subprocess.run([cli, "section", table, "--x", xname, "--y", yname, "--value", vname, "--interval", f"{step:g}",
                    "-o", out + "-kestrel", "-q"], check=True, stdout=subprocess.DEVNULL)
    print("wrote", out + "-mpl.png", out + "-gmt.png", out + "-kestrel.png")


if __name__ == "__main__":
    main()
