#!/usr/bin/env python3
"""Checks tools/gshhg_to_cst.py against GMT itself.

For each resolution given (default: crude and low) and for both longitude
conventions (0..360, the default, and -180..180), the converter is run and its
file is read back independently:
  * record structure: 2 <= n <= 1500, 0 <= m <= n, closed == (first point
    bit-equal to the last), open records have m == n, coordinates in range;
  * every edge of the undrawn tail of a closed record lies along a cut (a
    constant longitude or latitude);
  * land area: the closed records' signed area on the sphere (exact for
    edges straight in longitude and latitude; lakes run clockwise and count
    negative, islands in lakes positive) against the area of GMT's own land
    mask with its lakes, islands and ponds (`gmt grdlandmask -A0/1/4`, 5
    arc-minute pixels) within 0.1 %;
  * the polygons rasterised (even-odd at pixel centres) differ from GMT's mask
    in at most 0.1 % of its land pixels.

Exit 0 on success, 1 on a failure, 77 (skipped) without GMT, the GSHHG data
or numpy.
"""

import os
import shutil
import struct
import subprocess
import sys
import tempfile

try:
    import numpy as np
except ImportError:
    print("SKIP: numpy is not installed (Debian python3-numpy)")
    sys.exit(77)

HERE = os.path.dirname(os.path.abspath(__file__))
CONVERTER = os.path.join(HERE, "..", "..", "tools", "gshhg_to_cst.py")
INC_MIN = 5
failures = []


def check(cond, text):
    if not cond:
        failures.append(text)
        print("FAIL:", text)


def read_cst(path):
    data = open(path, "rb").read()
    recs = []
    pos = 0
    while pos + 8 <= len(data):
        n, m = struct.unpack_from("<ii", data, pos)
        pos += 8
        if n <= 0:
            recs.append((n, m, None))
            continue
        pts = np.frombuffer(data, dtype="<f4", count=2 * n, offset=pos).reshape(n, 2)
        pos += 8 * n
        recs.append((n, m, pts))
    check(pos == len(data), "%s: %d trailing bytes" % (path, len(data) - pos))
    return recs


def sphere_area(pts):
    """Area [deg * sin] enclosed by a ring whose edges are straight in
    (lon, lat): the line integral of sin(lat) dlon, exact per edge."""
    lon = pts[:, 0].astype(np.float64)
    lat = np.radians(pts[:, 1].astype(np.float64))
    dl = np.diff(lon)
    a, b = lat[:-1], lat[1:]
    d = b - a
    flat = np.abs(d) < 1e-12
    with np.errstate(divide="ignore", invalid="ignore"):
        curved = dl * (np.cos(a) - np.cos(b)) / d
    term = np.where(flat, dl * np.sin(a), curved)
    return -float(term.sum())  # counter-clockwise rings come out positive


def rasterise(rings, nx, ny, lon0):
    """Even-odd fill of all rings at the centres of an nx x ny global grid
    starting at lon0 (rows from the north)."""
    xa = np.concatenate([r[:-1, 0] for r in rings]).astype(np.float64)
    ya = np.concatenate([r[:-1, 1] for r in rings]).astype(np.float64)
    xb = np.concatenate([r[1:, 0] for r in rings]).astype(np.float64)
    yb = np.concatenate([r[1:, 1] for r in rings]).astype(np.float64)
    d = 360.0 / nx
    centres = lon0 + (np.arange(nx) + 0.5) * d
    mask = np.zeros((ny, nx), dtype=bool)
    lo, hi = np.minimum(ya, yb), np.maximum(ya, yb)
    order = np.argsort(lo)
    lo_s = lo[order]
    for row in range(ny):
        y = 90.0 - (row + 0.5) * d
        k = np.searchsorted(lo_s, y, side="right")
        idx = order[:k]
        idx = idx[hi[idx] > y]
        sel = (ya[idx] > y) != (yb[idx] > y)
        idx = idx[sel]
        if len(idx) == 0:
            continue
        x = xa[idx] + (y - ya[idx]) * (xb[idx] - xa[idx]) / (yb[idx] - ya[idx])
        x.sort()
        mask[row] = (np.searchsorted(x, centres) % 2) == 1
    return mask


def gmt_mask(res, lon0, tmp):
    grd = os.path.join(tmp, "mask_%s.nc" % res)
    subprocess.run(["gmt", "grdlandmask", "-R%g/%g/-90/90" % (lon0, lon0 + 360), "-I%dm" % INC_MIN, "-r",
                    "-D" + res, "-A0/1/4", "-N0/1/0/1/0", "-G" + grd], check=True)
    raw = subprocess.run(["gmt", "grd2xyz", grd, "-ZTLf"], check=True, stdout=subprocess.PIPE).stdout
    nx, ny = 360 * 60 // INC_MIN, 180 * 60 // INC_MIN
    return np.frombuffer(raw, dtype="<f4").reshape(ny, nx) > 0.5


def check_file(path, res, seam, mask):
    recs = read_cst(path)
    closed = []
    # Edges stroked by open records may run in a closed record's tail.
    drawn = set()
    for n, m, pts in recs:
        if pts is not None and pts[0].tobytes() != pts[-1].tobytes():
            for k in range(len(pts) - 1):
                drawn.add((pts[k].tobytes(), pts[k + 1].tobytes()))
    for i, (n, m, pts) in enumerate(recs):
        where = "%s record %d" % (os.path.basename(path), i)
        check(2 <= n <= 1500, "%s: n = %d" % (where, n))
        if pts is None:
            continue
        check(0 <= m <= n, "%s: m = %d of %d" % (where, m, n))
        lon, lat = pts[:, 0], pts[:, 1]
        check(bool(np.all((lon >= seam) & (lon <= seam + 360) & (lat >= -90) & (lat <= 90))),
              "%s: coordinates out of range" % where)
        is_closed = pts[0].tobytes() == pts[-1].tobytes()
        if not is_closed:
            check(m == n, "%s: open record with m %d != n %d" % (where, m, n))
            continue
        closed.append(pts)
        tail = pts[max(m - 1, 0):]
        if len(tail) >= 2:
            along = (tail[1:, 0] == tail[:-1, 0]) | (tail[1:, 1] == tail[:-1, 1])
            for k in np.flatnonzero(~along):
                check((tail[k].tobytes(), tail[k + 1].tobytes()) in drawn,
                      "%s: an undrawn edge off every cut, at %s" % (where, tail[k]))
    ours = sum(sphere_area(p) for p in closed)
    nx, ny = mask.shape[1], mask.shape[0]
    d = 360.0 / nx
    lat_top = 90.0 - np.arange(ny) * d
    band = d * (np.sin(np.radians(lat_top)) - np.sin(np.radians(lat_top - d)))
    theirs = float((mask.sum(axis=1) * band).sum())
    rel = abs(ours - theirs) / theirs
    raster = rasterise(closed, nx, ny, seam)
    differ = int((raster != mask).sum())
    land = int(mask.sum())
    print("%s (-D%s, %g..%g): %d records, %d closed; land area %.4f vs GMT mask %.4f (%.4f %%); "
          "%d of %d land pixels differ (%.4f %%)"
          % (os.path.basename(path), res, seam, seam + 360, len(recs), len(closed), ours, theirs, 100 * rel,
             differ, land, 100.0 * differ / land))
    check(rel < 0.001, "%s: land area differs from GMT's by %.4f %%" % (path, 100 * rel))
    check(differ <= 0.001 * land, "%s: %d pixels differ from GMT's mask" % (path, differ))


def main():
    resolutions = sys.argv[1:] or ["c", "l"]
    if not shutil.which("gmt"):
        print("SKIP: gmt is not installed (Debian gmt, gmt-gshhg-low)")
        return 77
    tmp = tempfile.mkdtemp(prefix="kestrel-cst-")
    try:
        for res in resolutions:
            for seam in (0.0, -180.0):
                out = os.path.join(tmp, "coast_%s_%d.cst" % (res, seam))
                r = subprocess.run([sys.executable, CONVERTER, "-r", res, "--seam", str(seam), out])
                if r.returncode != 0:
                    print("SKIP: the converter could not run GMT for resolution %s" % res)
                    return 77
                check_file(out, res, seam, gmt_mask(res, seam, tmp))
    finally:
        shutil.rmtree(tmp, ignore_errors=True)
    print("%d passed, %d failed" % (1 if not failures else 0, 1 if failures else 0))
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
