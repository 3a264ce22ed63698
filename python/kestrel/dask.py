"""Three-dimensional gridding of surveys larger than one machine, on Dask.

The target grid is cut into tiles of nodes. Every tile is estimated on a
worker through the same C entry points as :func:`kestrel.grid3d`, from the
points that can reach it, and the tiles are put together into one result
that equals the single-machine one node for node.

Why the tiles agree exactly with the whole: the grid lines, scale lengths,
coordinate stretching and sort cells depend on the survey only through a
ten-bin histogram of each coordinate and the axis ranges, which are reduced
on the cluster first and shared by every tile. An estimate at a node uses
only points whose stretched distance on every axis is below the reach of
the estimator's last (widest) pass, and visits them in the order of the sort
cells and, within a cell, of the input; each tile receives every point
within that reach, in input order, and sorts them into the same cells.

Memory: a worker holds one partition of the points at a time while
selecting, then the points of its tile; never the whole survey.

Running on a real cluster: create a ``distributed.Client`` for it (for
example ``Client("tcp://scheduler:8786")``) before calling, or pass
``client=``; the workers need the kestrel package importable.
"""
from __future__ import annotations

import itertools

import numpy as np

from . import _kestrel, _real, Grid3D

# Stretched distance (in reference scale lengths, per axis) beyond which no
# pass of the estimator takes a point: the third pass halves the weight
# factor twice, and points with 10 or more in the squared weight argument
# are skipped; a little more than sqrt(10) * 2 for safety.
REACH = 6.5


def _as_dask_points(points):
    import dask.array as da
    if isinstance(points, dict):
        cols = [points[k] for k in ("x", "y", "z", "value")]
        cols = [c if isinstance(c, da.Array) else da.from_array(np.asarray(c), chunks=1_000_000) for c in cols]
        chunks = cols[0].chunks
        cols = [c.rechunk(chunks) for c in cols]
        return da.stack(cols, axis=1).rechunk({1: 4})
    arr = points if isinstance(points, da.Array) else da.from_array(np.asarray(points), chunks=(1_000_000, 4))
    if arr.ndim != 2 or arr.shape[1] != 4:
        raise ValueError(f"points must be an (n, 4) array of x, y, z, value, not of shape {arr.shape}")
    return arr.rechunk({1: 4})


def _histograms(block, ranges):
    """Ten-bin counts per axis exactly as the axis grid set-up counts."""
    out = np.zeros((3, 10))
    for k in range(3):
        a, b = ranges[2 * k], ranges[2 * k + 1]
        c = block[:, k].astype(np.float32).astype(np.float64)
        u = ((c - np.float32(a)) / (np.float32(b) - np.float32(a))).astype(np.float32).astype(np.float64)
        ok = (u >= 0) & (u <= 1)
        idx = np.minimum((10.0 * u[ok]).astype(np.int64), 9)
        out[k] = np.bincount(idx, minlength=10)[:10]
    return out


def _surrogate(counts, a, b):
    """Coordinates with the same ten-bin histogram as the survey's."""
    centres = (a + (np.arange(10) + 0.5) * 0.1 * (b - a)).astype(np.float32)
    return np.repeat(centres, counts.astype(np.int64))


def _select(block, lo, hi, geometry):
    """The rows of block whose stretched coordinates lie within [lo, hi] on
    every axis (float32 x, y, z, value)."""
    b = np.ascontiguousarray(block, dtype=np.float32)
    t = _kestrel.grid3d_transform(geometry, b[:, 0], b[:, 1], b[:, 2])
    keep = np.all((t >= lo[:, None]) & (t <= hi[:, None]), axis=0)
    return b[keep]


def _tile(geometry, box, *parts):
    pts = np.concatenate(parts) if parts else np.zeros((0, 4), np.float32)
    return _kestrel.grid3d_tile(geometry, pts[:, 0], pts[:, 1], pts[:, 2], pts[:, 3], *box)


def grid3d(points, grid, chunks=(64, 64, 8), client=None):
    """Grid a three-dimensional survey on Dask.

    points : (n, 4) array of x (longitude), y (latitude), z (up, depths
        negative), value, as a dask or numpy array, or a dict of the four
        columns x, y, z, value. Rows must be finite.
    grid : dict with nx, ny, nz and optionally x_range, y_range, z_range
        (default: the data's) and scale (per cent per axis, default 3).
    chunks : tile size in nodes along x, y, z.
    Returns the same :class:`kestrel.Grid3D` as :func:`kestrel.grid3d`.
    """
    import dask
    import dask.array as da

    pts = _as_dask_points(points)
    nx, ny, nz = (int(grid[k]) for k in ("nx", "ny", "nz"))
    scale = grid.get("scale", 3.0)
    scale = tuple(float(s) for s in (scale if np.ndim(scale) else (scale,) * 3))
    cx, cy, cz = (max(1, int(c)) for c in chunks)
    compute = client.compute if client is not None else None

    def run(*things):
        if compute is not None:
            futures = compute(list(things))
            return [f.result() for f in futures]
        return dask.compute(*things)

    ranges = []
    wanted = [grid.get(k) for k in ("x_range", "y_range", "z_range")]
    if any(r is None for r in wanted):
        lo, hi, finite = run(pts.min(axis=0), pts.max(axis=0), da.isfinite(pts).all())
        if not finite:
            raise ValueError("points hold NaN or infinite values; leave those rows out first")
    for k, r in enumerate(wanted):
        r = (float(lo[k]), float(hi[k])) if r is None else tuple(map(float, r))
        if len(r) != 2 or r[0] == r[1] or not np.all(np.isfinite(r)):
            raise ValueError(f"axis {k} range must be two different finite numbers, got {r}")
        ranges += list(r)

    parts = pts.to_delayed().ravel()
    counts = sum(run(*[dask.delayed(_histograms)(p, ranges) for p in parts]))
    # Stand-in coordinates with the survey's ten-bin histograms, all the grid
    # lines depend on (4 bytes a point and axis on the client, nothing more).
    geometry = _kestrel.grid3d_geometry(*(_surrogate(counts[k], ranges[2 * k], ranges[2 * k + 1]) for k in range(3)),
                                        nx, ny, nz, ranges, list(scale))

    tiles, boxes = [], []
    gt = (geometry["xgt"], geometry["ygt"], geometry["zgt"])
    ref = np.array([geometry["xlen_max"], geometry["ylen_max"], geometry["zlen_max"]])
    for iz0, iy0, ix0 in itertools.product(range(0, nz, cz), range(0, ny, cy), range(0, nx, cx)):
        box = (ix0, min(ix0 + cx, nx), iy0, min(iy0 + cy, ny), iz0, min(iz0 + cz, nz))
        edges = [(g[box[2 * k]], g[box[2 * k + 1] - 1]) for k, g in enumerate(gt)]
        lo = np.array([min(e) for e in edges]) - REACH * ref
        hi = np.array([max(e) for e in edges]) + REACH * ref
        selected = [dask.delayed(_select)(p, lo, hi, geometry) for p in parts]
        tiles.append(dask.delayed(_tile)(geometry, box, *selected))
        boxes.append(box)
    results = run(*tiles)

    est = np.empty((nz, ny, nx), np.float32)
    spread = np.empty_like(est)
    dist = np.empty_like(est)
    for box, r in zip(boxes, results):
        sl = (slice(box[4], box[5]), slice(box[2], box[3]), slice(box[0], box[1]))
        est[sl], spread[sl], dist[sl] = r["estimate"], r["spread"], r["distance"]
    return Grid3D(est, spread, dist, geometry["xg"], geometry["yg"], geometry["zg"])
