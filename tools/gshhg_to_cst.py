#!/usr/bin/env python3
"""Coastline files for Kestrel's map drawing, made from GSHHG.

GSHHG (Wessel and Smith, a Global Self-consistent, Hierarchical,
High-resolution Geography) ships with GMT as binned netCDF files (Debian
packages gmt-gshhg-low, -high, -full). GMT does not write the closed land
polygons it fills with, but `gmt coast -W -M` dumps the shoreline as pieces cut
at the edges of its storage bins; consecutive pieces meet exactly (longitude
modulo 360), so they chain back into whole rings without any tolerance.

Output: Kestrel's coastline record format, little-endian, no header:
    int32 n, int32 m, then n float32 (lon, lat) pairs [deg].
  * Closed records (first point == last point, bit-exact) are polygons with
    land on their left: land (GSHHG level 1) and islands in lakes (level 3)
    run counter-clockwise, lakes (level 2) and ponds on such islands
    (level 4) clockwise, so that a reader tells water from land by the sign
    of the area. Records follow one another by level, so that filling them
    in file order puts each lake over its land and each island over its
    lake; a reader that fills every closed record with one colour (ignoring
    the orientation) gets the land without its lakes, as before lakes were
    written. Their first m points are real
    shoreline and are stroked; the rest runs along artificial cut edges
    (the seam meridian, the pole, bisection lines) that are filled only.
    Artificial edges are densified to steps of at most 1 deg, so that they
    follow the curved meridians and parallels of every projection and
    neighbouring pieces meet without gaps.
  * Open records (m == n) are further stretches of real shoreline of a
    polygon whose other cut pieces are not stroked.
  * n <= 1500 in every record: larger polygons are split by recursive
    bisection through the median vertex.
  * Longitudes lie in SEAM..SEAM+360 (default 0..360, as the map drawing
    expects: it draws the file a second time shifted by -360 for maps west of
    the prime meridian). Polygons crossing the seam, and Antarctica, which
    goes once round the pole and is closed along the seam and lat -90, are
    cut at the seam.

Usage:
    python3 tools/gshhg_to_cst.py [-r c|l|i|h|f] [--no-lakes | --lakes] [--seam S] OUTPUT
    python3 tools/gshhg_to_cst.py --input DUMP.txt OUTPUT

Needs Python 3 with numpy (Debian python3-numpy) and, unless --input is
given, GMT (Debian gmt and gmt-gshhg-low / -high / -full).
"""

import argparse
import re
import struct
import subprocess
import sys

import numpy as np

MAX_POINTS = 1500
DENSIFY_STEP = 1.0  # deg, the longest artificial edge


# ---- reading GMT's dump ------------------------------------------------------

def read_pieces(text):
    """The pieces of a `gmt coast -M` dump: a list of (n, 2) float arrays,
    and the GSHHG level of each ("Level N" in its header, else 1)."""
    found = list(re.finditer(rb"^>[^\n]*\n?", text, re.M))
    headers = [m.span() for m in found]
    levels = []
    for m in found:
        lv = re.search(rb"Level\s+(\d+)", m.group(0))
        levels.append(int(lv.group(1)) if lv else 1)
    bodies = []
    counts = []
    for k, (s, e) in enumerate(headers):
        end = headers[k + 1][0] if k + 1 < len(headers) else len(text)
        body = text[e:end]
        bodies.append(body)
        counts.append(len(body.split()) // 2)
    values = np.array(b" ".join(bodies).split(), dtype=np.float64)
    pieces = []
    pos = 0
    for c in counts:
        pieces.append(values[2 * pos:2 * (pos + c)].reshape(c, 2))
        pos += c
    return pieces, levels


def chain(pieces, levels=None):
    """Chains bin pieces into rings (arrays whose last point repeats the
    first, longitudes unwrapped so that consecutive points never jump); a
    ring joins pieces of one level only. Returns the rings and their levels."""
    if levels is None:
        levels = [1] * len(pieces)

    def key(p, level):
        return (level, round(float(p[0]) % 360.0, 9), round(float(p[1]), 9))

    starts = {}
    for i, p in enumerate(pieces):
        if len(p) >= 2:
            starts.setdefault(key(p[0], levels[i]), []).append(i)
    used = np.zeros(len(pieces), dtype=bool)
    rings = []
    ring_levels = []
    for i, p in enumerate(pieces):
        if used[i] or len(p) < 2:
            continue
        used[i] = True
        parts = [p]
        level = levels[i]
        first = key(p[0], level)
        end = p[-1]
        while key(end, level) != first:
            cands = [j for j in starts.get(key(end, level), []) if not used[j]]
            if not cands:
                break  # an open chain: cannot be filled, dropped
            j = cands[0]
            used[j] = True
            q = pieces[j]
            shift = 360.0 * round((end[0] - q[0, 0]) / 360.0)
            q = q + np.array([shift, 0.0])
            parts.append(q[1:])
            end = q[-1]
        if key(end, level) != first:
            continue
        ring = np.concatenate(parts)
        rings.append(ring)
        ring_levels.append(level)
    return rings, ring_levels


# ---- rings with edge flags -----------------------------------------------------
#
# A ring is (xy, real): xy the k distinct vertices (not repeated at the end),
# real[i] True when the edge from vertex i to vertex i+1 (cyclically) is real
# shoreline, False when it runs along a cut.

def clean(xy, real):
    """Removes repeated vertices and zero-width spikes (a -> b -> a), which
    the bin cutting leaves where a shore touches a bin edge."""
    while len(xy) >= 3:
        nxt = np.roll(xy, -1, axis=0)
        dup = np.all(xy == nxt, axis=1)
        if dup.any():
            # Vertex i equals i+1: drop i+1, keep the edge flag of i+1.
            # Vertex i equals i+1: drop i+1; the edge leaving i is now the
            # one that left i+1.
            keep = ~np.roll(dup, 1)
            real = np.where(dup, np.roll(real, -1), real)[keep]
            xy = xy[keep]
            continue
        prv = np.roll(xy, 1, axis=0)
        spike = np.all(prv == nxt, axis=1)
        if spike.any():
            i = int(np.flatnonzero(spike)[0])
            k = len(xy)
            drop = [i, (i + 1) % k]
            real = real.copy()
            real[(i - 1) % k] = real[(i + 1) % k]  # a -> (after the spike) keeps that edge's kind
            keep = np.ones(k, dtype=bool)
            keep[drop] = False
            xy, real = xy[keep], real[keep]
            continue
        break
    return xy, real


def area(xy):
    x, y = xy[:, 0], xy[:, 1]
    return 0.5 * float(np.dot(x, np.roll(y, -1)) - np.dot(np.roll(x, -1), y))


def clip_half(xy, real, axis, value, keep_below):
    """Sutherland-Hodgman clip of a ring by the half-plane coordinate[axis]
    <= value (keep_below) or >= value, carrying the edge flags: edges along
    the cut line are artificial."""
    c = xy[:, axis]
    inside = c <= value if keep_below else c >= value
    if inside.all():
        return xy, real
    if not inside.any():
        return xy[:0], real[:0]
    q = np.roll(xy, -1, axis=0)
    q_in = np.roll(inside, -1)
    rq = np.roll(real, -1)
    cq = q[:, axis]
    with np.errstate(divide="ignore", invalid="ignore"):
        t = (value - c) / (cq - c)  # used only on edges that cross, where cq != c
        cross = xy + (q - xy) * t[:, None]
    cross[:, axis] = value
    # Per edge i (vertex i -> i+1), the outputs and their flags:
    #   in -> in:   vertex i+1 (flag of edge i+1)
    #   in -> out:  exit point (artificial: the next output is on the cut)
    #   out -> in:  entry point (flag of edge i), then vertex i+1
    #   out -> out: nothing
    a = inside
    ii = a & q_in
    io = a & ~q_in
    oi = ~a & q_in
    n_out = ii * 1 + io * 1 + oi * 2
    total = int(n_out.sum())
    out = np.empty((total, 2))
    flags = np.empty(total, dtype=bool)
    pos = np.cumsum(n_out) - n_out
    # first output of each edge
    first_pt = np.where(ii[:, None], q, cross)
    first_fl = np.where(ii, rq, np.where(io, False, real))
    has = n_out > 0
    out[pos[has]] = first_pt[has]
    flags[pos[has]] = first_fl[has]
    out[pos[oi] + 1] = q[oi]
    flags[pos[oi] + 1] = rq[oi]
    return out, flags


def clip_strip(xy, real, axis, lo, hi):
    xy, real = clip_half(xy, real, axis, lo, False)
    if len(xy) >= 3:
        xy, real = clip_half(xy, real, axis, hi, True)
    return xy, real


def densify(xy, real):
    """Artificial edges get intermediate points every DENSIFY_STEP deg."""
    q = np.roll(xy, -1, axis=0)
    span = np.max(np.abs(q - xy), axis=1)
    steps = np.where(~real, np.ceil(span / DENSIFY_STEP - 1e-9).astype(int), 1)
    steps = np.maximum(steps, 1)
    if (steps == 1).all():
        return xy, real
    total = int(steps.sum())
    idx = np.repeat(np.arange(len(xy)), steps)
    frac = np.arange(total) - np.repeat(np.cumsum(steps) - steps, steps)
    frac = frac / np.repeat(steps, steps)
    out = xy[idx] + (q[idx] - xy[idx]) * frac[:, None]
    return out, real[idx]


def bisect(xy, real):
    """Splits a ring in two at the median vertex along its longer extent."""
    ext = xy.max(axis=0) - xy.min(axis=0)
    axis = 0 if ext[0] >= ext[1] else 1
    c = np.sort(xy[:, axis])
    value = float(c[len(c) // 2])
    # Nudge the line off every vertex, so that no vertex lies on a cut.
    bump = max(1e-6, 1e-9 * abs(value))
    while np.any(xy[:, axis] == value):
        value += bump
    return [clip_half(xy, real, axis, value, True), clip_half(xy, real, axis, value, False)]


def to_records(xy, real, out, water=False):
    """Appends the records of one finished ring to out (list of
    (points (n, 2) float32, m)); water rings run clockwise, land rings
    counter-clockwise (land on the left either way)."""
    xy, real = clean(xy, real)
    if len(xy) < 3 or area(xy) == 0.0:
        return
    if (area(xy) < 0) != water:
        xy = xy[::-1].copy()
        real = np.roll(real[::-1], -1)
    xy, real = densify(xy, real)
    if len(xy) + 1 > MAX_POINTS:
        for pxy, preal in bisect(xy, real):
            to_records(pxy, preal, out, water)
        return
    xy32 = xy.astype(np.float32)
    k = len(xy32)
    if real.all():
        pts = np.vstack([xy32, xy32[:1]])
        out.append((pts, k + 1))
        return
    # Runs of real edges; the longest one leads the record.
    runs = []
    start = int(np.flatnonzero(~real)[0]) + 1  # a vertex where a run may begin
    i = 0
    while i < k:
        j = (start + i) % k
        if real[j]:
            length = 0
            while i < k and real[(start + i) % k]:
                length += 1
                i += 1
            runs.append((j, length))
        else:
            i += 1
    best = max(runs, key=lambda r: r[1]) if runs else (0, -1)
    order = (np.arange(k) + best[0]) % k
    ring = xy32[order]
    out.append((np.vstack([ring, ring[:1]]), best[1] + 1))
    for s, length in runs:
        if (s, length) == best:
            continue
        idx = (np.arange(length + 1) + s) % k
        out.append((xy32[idx], length + 1))


def convert(rings, seam, levels=None):
    """The records of all rings, level by level (land, lakes, islands in
    lakes, ponds), each level in the order of its rings."""
    if levels is None:
        levels = [1] * len(rings)
    out = []
    order = sorted(range(len(rings)), key=lambda i: levels[i])
    for i in order:
        ring, water = rings[i], levels[i] % 2 == 0
        xy = ring[:-1] if np.all(ring[0] == ring[-1]) else ring
        turn = ring[-1, 0] - ring[0, 0]
        real = np.ones(len(xy), dtype=bool)
        if abs(turn) > 180.0:
            # Round the pole (Antarctica): close along the end meridian, the
            # pole and the start meridian; all three edges are cuts.
            pole = -90.0 if np.mean(ring[:, 1]) < 0 else 90.0
            xy = np.vstack([ring, [[ring[-1, 0], pole], [ring[0, 0], pole]]])
            real = np.ones(len(xy), dtype=bool)
            real[-3:] = False
        lo, hi = xy[:, 0].min(), xy[:, 0].max()
        k0 = int(np.floor((lo - seam) / 360.0))
        k1 = int(np.floor((hi - seam) / 360.0))
        for k in range(k0, k1 + 1):
            a = seam + 360.0 * k
            if k0 == k1:
                pxy, preal = xy, real
            else:
                pxy, preal = clip_strip(xy, real, 0, a, a + 360.0)
            if len(pxy) < 3:
                continue
            pxy = pxy - np.array([360.0 * k, 0.0])
            to_records(pxy, preal, out, water)
    return out


def write_records(path, records):
    with open(path, "wb") as f:
        for pts, m in records:
            f.write(struct.pack("<ii", len(pts), m))
            f.write(np.ascontiguousarray(pts, dtype="<f4").tobytes())


def gmt_dump(resolution, lakes):
    # Every level (land, lakes and river-lakes, islands in lakes, ponds), as
    # GMT draws them by default; "only" gives the lakes alone, "none" the land.
    levels = {"only": "-A0/2/2", "none": "-A0/1/1"}.get(lakes, "-A0/1/4")
    cmd = ["gmt", "coast", "-Rg", "-D" + resolution, levels, "-W", "-M"]
    try:
        return subprocess.run(cmd, check=True, stdout=subprocess.PIPE).stdout
    except FileNotFoundError:
        sys.exit("gshhg_to_cst: 'gmt' not found: apt-get install gmt gmt-gshhg-low "
                 "(or gmt-gshhg-high / gmt-gshhg-full for -r i, h, f)")
    except subprocess.CalledProcessError as e:
        sys.exit("gshhg_to_cst: %s failed (%d): is the GSHHG package of resolution '%s' installed?"
                 % (" ".join(cmd), e.returncode, resolution))


def main(argv=None):
    ap = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    ap.add_argument("output")
    ap.add_argument("-r", "--resolution", default="l", choices=list("clihf"),
                    help="GSHHG resolution: crude, low, intermediate, high, full (default l)")
    kind = ap.add_mutually_exclusive_group()
    kind.add_argument("--lakes", action="store_true",
                      help="lakes (level 2) alone instead of land with its lakes")
    kind.add_argument("--no-lakes", action="store_true", help="land (level 1) alone, without lakes")
    ap.add_argument("--seam", type=float, default=0.0,
                    help="western edge of the longitude range SEAM..SEAM+360 (default 0; -180 for -180..180)")
    ap.add_argument("--input", help="a saved `gmt coast -Rg -W -M` dump instead of running gmt")
    args = ap.parse_args(argv)
    lakes = "only" if args.lakes else "none" if args.no_lakes else "all"
    text = open(args.input, "rb").read() if args.input else gmt_dump(args.resolution, lakes)
    pieces, levels = read_pieces(text)
    rings, ring_levels = chain(pieces, levels)
    records = convert(rings, args.seam, ring_levels)
    write_records(args.output, records)
    closed = sum(1 for p, m in records if np.all(p[0] == p[-1]))
    points = sum(len(p) for p, m in records)
    print("gshhg_to_cst: %d pieces, %d rings -> %d records (%d closed, %d open), %d points, wrote %s"
          % (len(pieces), len(rings), len(records), closed, len(records) - closed, points, args.output))


if __name__ == "__main__":
    main()
