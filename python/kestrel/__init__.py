"""Kestrel from Python: gridding by objective analysis, contouring, seawater
properties and the command's pictures, over the same C library as the
``kestrel`` command.

Arrays go in as anything numpy can turn into real numbers (lists, float64,
integers) and come out as float32 arrays, the library's own type. Long calls
release the interpreter lock; the library's drawing state is process-wide, so
calls into it from several threads run one at a time.

>>> import numpy as np, kestrel
>>> g = kestrel.grid_section(x, depth, oxygen, nx=200, ny=100)
>>> g.estimate.shape
(100, 200)
"""
from __future__ import annotations

import os
import tempfile
from collections import namedtuple
from pathlib import Path

import numpy as np

from . import _kestrel

__all__ = [
    "Grid", "grid_section", "grid_map", "contour_lines", "render_section", "render_map",
    "specific_volume", "density_anomaly", "potential_temperature", "sound_speed", "heat_capacity",
    "adiabatic_gradient", "freezing_point", "depth", "pressure", "gravity", "coriolis", "distance",
    "o2sat", "aou", "gamma_n", "grid3d", "Grid3D", "topography", "cfc_saturation", "co2_constants", "carbonate", "preamble_path",
]

MAX_OBJECTIVE_POINTS = _kestrel.max_objective_points


def _real(name, a, ndim=None, allow_nan=False):
    """a as a C-contiguous float32 array, or a clear exception."""
    arr = np.asarray(a)
    if arr.dtype.kind not in "biuf":
        raise TypeError(f"{name} must hold real numbers, not {arr.dtype}")
    if ndim is not None and arr.ndim != ndim:
        raise ValueError(f"{name} must be {ndim}-dimensional, not of shape {arr.shape}")
    out = np.asarray(arr, dtype=np.float32, order="C")
    if not allow_nan and not np.all(np.isfinite(out)):
        bad = int(np.count_nonzero(~np.isfinite(out)))
        raise ValueError(f"{name} holds {bad} value(s) that are NaN, infinite or beyond float32; "
                         f"leave those samples out first (np.isfinite)")
    return out


class Grid(namedtuple("Grid", "estimate spread distance x y x_scale y_scale dims")):
    """A gridded field.

    estimate, spread, distance : (ny, nx) float32 arrays; nodes with no data
        within reach are NaN. spread is the standard deviation of the data
        used (with the objective analysis: the analysis error); distance is
        the root-mean-square distance of the data used, in scale lengths.
    x, y : the grid lines (placed by the data density, not evenly).
    x_scale, y_scale : the scale length at each grid line.
    """

    def to_xarray(self, name="estimate"):
        """The estimate as an xarray.DataArray with coordinates, spread and
        distance as further arrays of a Dataset (needs xarray)."""
        import xarray as xr
        ydim, xdim = self.dims
        coords = {xdim: self.x, ydim: self.y}
        return xr.Dataset(
            {name: ((ydim, xdim), self.estimate),
             "spread": ((ydim, xdim), self.spread),
             "distance": ((ydim, xdim), self.distance)},
            coords=coords)


def _grid(x, y, value, nx, ny, error, x_range, y_range, scale, factor, method, dims):
    x = _real(dims[1], x, 1)
    y = _real(dims[0], y, 1)
    value = _real("value", value, 1)
    if not (len(x) == len(y) == len(value)):
        raise ValueError(f"{dims[1]}, {dims[0]} and value differ in length "
                         f"({len(x)}, {len(y)}, {len(value)})")
    if len(x) < 3:
        raise ValueError(f"at least 3 samples are needed, got {len(x)}")
    nx, ny = int(nx), int(ny)
    if not (2 <= nx <= 100000 and 2 <= ny <= 100000):
        raise ValueError(f"nx and ny must lie in 2..100000, got {nx} x {ny}")
    if error is not None:
        error = _real("error", error, 1)
        if len(error) != len(value):
            raise ValueError("error differs in length from value")
        if np.any(error <= 0):
            raise ValueError("every error must be positive")
    x_range = (float(x.min()), float(x.max())) if x_range is None else tuple(map(float, x_range))
    y_range = (float(y.min()), float(y.max())) if y_range is None else tuple(map(float, y_range))
    for nm, r in ((dims[1], x_range), (dims[0], y_range)):
        if len(r) != 2 or not np.all(np.isfinite(r)) or r[0] == r[1]:
            raise ValueError(f"the {nm} range must be two different finite numbers, got {r}")
    if not (0 < scale <= 100) or not (0 < factor < 1e6):
        raise ValueError("scale is a percentage of the axis (0..100] and factor a positive number")
    if method not in ("average", "objective"):
        raise ValueError(f"method is 'average' or 'objective', not {method!r}")
    objective = method == "objective"
    if objective and len(x) > MAX_OBJECTIVE_POINTS:
        raise ValueError(f"the objective analysis takes at most {MAX_OBJECTIVE_POINTS} points, "
                         f"got {len(x)}; use method='average'")
    r = _kestrel.grid(x, y, value, error, nx, ny, [*x_range, *y_range], float(scale), float(factor),
                      objective)
    return Grid(r["estimate"], r["spread"], r["distance"], r["x"], r["y"], r["x_scale"], r["y_scale"],
                dims)


def grid_section(x, y, value, nx=120, ny=60, *, error=None, x_range=None, y_range=None, scale=3.0,
                 factor=1.0, method="average"):
    """Grid scattered samples of a section (for instance distance or latitude
    against depth) onto nx x ny nodes, as ``kestrel section`` does.

    Grid lines follow the data density; the scale length is `scale` per cent
    of each axis at the densest node and grows where samples are sparse.
    method 'average' is the Gaussian-weighted averaging estimator (any number
    of points); 'objective' adds the objective analysis over it, with its
    error field in ``spread`` (at most 1500 points). error: per-sample error
    (weights are 1/error). Returns a :class:`Grid`.
    """
    return _grid(x, y, value, nx, ny, error, x_range, y_range, scale, factor, method, ("y", "x"))


def grid_map(lon, lat, value, nx=180, ny=90, *, error=None, lon_range=None, lat_range=None, scale=3.0,
             factor=1.0, method="average"):
    """Grid scattered samples at positions (degrees east, north) onto
    nx x ny nodes; otherwise as :func:`grid_section`."""
    lat_arr = _real("lat", lat, 1)
    if np.any(np.abs(lat_arr) > 90):
        raise ValueError("latitudes must lie within -90..90")
    return _grid(lon, lat_arr, value, nx, ny, error, lon_range, lat_range, scale, factor, method,
                 ("lat", "lon"))


class Grid3D(namedtuple("Grid3D", "estimate spread distance x y z")):
    """A three-dimensional field: estimate, spread and distance are (nz, ny,
    nx) float32 arrays (nodes with no data in reach: estimate 0 and distance
    1e10, as the library gives them); x, y, z the grid lines (z up)."""

    def to_xarray(self, name="estimate"):
        import xarray as xr
        dims = ("z", "lat", "lon")
        return xr.Dataset({name: (dims, self.estimate), "spread": (dims, self.spread),
                           "distance": (dims, self.distance)},
                          coords={"lon": self.x, "lat": self.y, "z": self.z})


def grid3d(x, y, z, value, nx=40, ny=40, nz=20, *, x_range=None, y_range=None, z_range=None, scale=5.0):
    """Grid a survey on nx x ny x nz nodes with the three-dimensional
    averaging estimator: x longitude, y latitude, z up (depths negative).
    scale: per cent of each axis (one number or three) for the scale length
    at the densest node. Returns a :class:`Grid3D`."""
    x, y, z, value = (_real(n, a, 1) for n, a in (("x", x), ("y", y), ("z", z), ("value", value)))
    if not (len(x) == len(y) == len(z) == len(value)):
        raise ValueError("x, y, z and value differ in length")
    if len(x) < 3:
        raise ValueError(f"at least 3 samples are needed, got {len(x)}")
    nx, ny, nz = int(nx), int(ny), int(nz)
    if min(nx, ny, nz) < 1 or nx * ny * nz > 50_000_000:
        raise ValueError(f"{nx} x {ny} x {nz} nodes: each axis needs 1 or more, 50 million in all at most")
    ranges = []
    for name, data, r in (("x", x, x_range), ("y", y, y_range), ("z", z, z_range)):
        r = (float(data.min()), float(data.max())) if r is None else tuple(map(float, r))
        if len(r) != 2 or not np.all(np.isfinite(r)):
            raise ValueError(f"the {name} range must be two finite numbers")
        ranges += list(r)
    scale = [float(s) for s in (scale if np.ndim(scale) else (scale,) * 3)]
    r = _kestrel.grid3d(x, y, z, value, nx, ny, nz, ranges, scale)
    return Grid3D(r["estimate"], r["spread"], r["distance"], r["x"], r["y"], r["z"])


def topography(lon, lat, path):
    """Heights (metres, positive up; depths negative) of a topography grid at
    positions: the cell containing each point, read straight from the file
    (the headerless 5-minute grid or one with an ETOPO01 header)."""
    lon_a, lat_a = np.broadcast_arrays(_real("lon", lon), _real("lat", lat))
    out = _kestrel.topography(np.ascontiguousarray(lon_a).ravel(), np.ascontiguousarray(lat_a).ravel(), str(path))
    return out.reshape(lon_a.shape)


def contour_lines(x, y, z, level):
    """The contour paths of z at one level, traced by the library's tracer.

    x (nx,) and y (ny,) are monotonic grid lines, z has shape (ny, nx).
    Returns a list of (n, 2) arrays of x, y vertices; closed rings repeat
    their first vertex. NaN nodes are not allowed.
    """
    x = _real("x", x, 1)
    y = _real("y", y, 1)
    z = _real("z", z, 2)
    if z.shape != (len(y), len(x)):
        raise ValueError(f"z must have shape (len(y), len(x)) = {(len(y), len(x))}, not {z.shape}")
    if len(x) < 2 or len(y) < 2 or len(x) > 32767 or len(y) > 32767:
        raise ValueError("the grid needs 2..32767 lines on each axis")
    if not np.isfinite(level):
        raise ValueError("level must be a finite number")
    return _kestrel.contour_lines(x, y, z, float(level))


# ---- Seawater and gases --------------------------------------------------------

def _vectorised(fn, names, doc):
    def call(*args):
        arrays = [_real(n, a, allow_nan=True) for n, a in zip(names, args)]
        if len(args) != len(names):
            raise TypeError(f"expected {len(names)} arguments ({', '.join(names)}), got {len(args)}")
        return fn(*arrays)
    call.__doc__ = doc
    return call


specific_volume = _vectorised(_kestrel.specific_volume, ("p", "t", "s"),
                              "Specific volume in cm3/g (EOS-80) at pressure p (dbar), temperature t "
                              "(deg C, IPTS-68) and practical salinity s; arrays broadcast.")
density_anomaly = _vectorised(_kestrel.sigma, ("p", "t", "s"),
                              "Density anomaly rho - 1000 in kg/m3 (EOS-80); with potential temperature "
                              "and p = 0 this is sigma-theta.")
potential_temperature = _vectorised(_kestrel.theta, ("p", "t", "s", "p_ref"),
                                    "Potential temperature in deg C at reference pressure p_ref (dbar).")
sound_speed = _vectorised(_kestrel.sound_speed, ("p", "t", "s"), "Speed of sound in m/s.")
heat_capacity = _vectorised(_kestrel.heat_capacity, ("p", "t", "s"), "Specific heat in J/(kg K).")
adiabatic_gradient = _vectorised(_kestrel.adiabatic_gradient, ("p", "t", "s"),
                                 "Adiabatic temperature gradient in deg C per 1000 dbar.")
freezing_point = _vectorised(_kestrel.freezing_point, ("p", "s"), "Freezing point in deg C.")
depth = _vectorised(_kestrel.depth, ("p", "lat"), "Depth in m at pressure p (dbar) and latitude.")
pressure = _vectorised(_kestrel.pressure, ("z", "lat"), "Pressure in dbar at depth z (m) and latitude.")
gravity = _vectorised(_kestrel.gravity, ("lat",), "Gravity at the sea surface in m/s2.")
coriolis = _vectorised(_kestrel.coriolis, ("lat",), "Coriolis parameter in 1/s.")
distance = _vectorised(_kestrel.distance, ("lon1", "lat1", "lon2", "lat2"),
                       "Distance in km between positions (degrees east, north).")
o2sat = _vectorised(_kestrel.o2sat, ("t", "s"), "Oxygen saturation concentration in umol/kg.")


def aou(oxygen, t, s):
    """Apparent oxygen utilisation in umol/kg: saturation at potential
    temperature t and salinity s minus the measured oxygen."""
    return o2sat(t, s) - _real("oxygen", oxygen, allow_nan=True)


def cfc_saturation(t, s, atmospheric_level, gas):
    """Equilibrium concentration of a transient tracer (gas 0 CFC-11, 1 CFC-12);
    the unit follows atmospheric_level."""
    return _kestrel.cfc_saturation(_real("t", t, allow_nan=True), _real("s", s, allow_nan=True),
                                   _real("atmospheric_level", atmospheric_level, allow_nan=True),
                                   np.asarray(gas, dtype=np.int32))


def _same_shape(names, arrays):
    b = np.broadcast_arrays(*arrays)
    return [np.ascontiguousarray(a, dtype=np.float32).ravel() for a in b], b[0].shape


def co2_constants(t, s, constant_set=1):
    """Carbonate equilibrium constants (mol/kg-seawater) as a dict of arrays:
    k1, k2, kw, ks, kf, kb, k0 and tk, for temperature t and salinity s."""
    (tt, ss), shape = _same_shape(("t", "s"), [_real("t", t, allow_nan=True), _real("s", s, allow_nan=True)])
    out = _kestrel.co2_constants(int(constant_set), tt, ss)
    return {k: out[i].reshape(shape) for i, k in enumerate(("k1", "k2", "kw", "ks", "kf", "kb", "k0", "tk"))}


def carbonate(t, s, total_carbon, alkalinity, constant_set=1):
    """The carbonate system from total carbon and alkalinity (umol/kg): a
    dict of pH, pCO2 (uatm), co2, hco3 and co3 (umol/kg) arrays; NaN where
    the inputs are out of range or the balance does not close."""
    arrays = [_real(n, a, allow_nan=True) for n, a in
              (("t", t), ("s", s), ("total_carbon", total_carbon), ("alkalinity", alkalinity))]
    flat, shape = _same_shape(("t", "s", "tc", "ta"), arrays)
    out = _kestrel.carbonate(int(constant_set), *flat)
    return {k: out[i].reshape(shape) for i, k in enumerate(("pH", "pCO2", "co2", "hco3", "co3"))}


def gamma_n(s, t, p, lon, lat, data_dir=None):
    """Neutral density gamma^n (Jackett and McDougall 1997) with its lower and
    upper error bars, as three float64 arrays (NaN where not computed).

    s, t, p : salinity (PSS-78), in-situ temperature (deg C, IPTS-68) and
        pressure (dbar) of the bottles. lon, lat : the position of a cast
        (scalars) or of every bottle (arrays); runs of bottles at one position
        are labelled as one cast. data_dir : folder of the published reference
        data set (llp.fdt, stga.fdt); default $KESTREL_ND_DATA.
    """
    folder = data_dir or os.environ.get("KESTREL_ND_DATA")
    if not folder:
        raise ValueError("gamma_n needs the reference data: pass data_dir or set KESTREL_ND_DATA")
    # double precision throughout: rounding a salinity to float32 alone moves
    # the label by up to 1.5e-6
    arrays = []
    for name, a in (("s", s), ("t", t), ("p", p), ("lon", lon), ("lat", lat)):
        arr = np.asarray(a)
        if arr.dtype.kind not in "biuf":
            raise TypeError(f"{name} must hold real numbers, not {arr.dtype}")
        arrays.append(arr.astype(np.float64))
    try:
        b = np.broadcast_arrays(*arrays)
    except ValueError as e:
        raise ValueError(f"s, t, p, lon and lat do not fit together: {e}") from None
    shape = b[0].shape
    flat = [np.ascontiguousarray(x, dtype=np.float64).ravel() for x in b]
    g, lo, hi = _kestrel.gamma_n(*flat, str(folder))
    return g.reshape(shape), lo.reshape(shape), hi.reshape(shape)


# ---- Pictures ------------------------------------------------------------------

def preamble_path():
    """The PostScript preamble the pictures use: $KESTREL_PREAMBLE, the one
    installed with the package, or the source tree's."""
    env = os.environ.get("KESTREL_PREAMBLE")
    if env:
        return env
    here = Path(__file__).resolve().parent
    for p in (here / "kestrel.ps", here.parent.parent / "data" / "preamble" / "kestrel.ps"):
        if p.is_file():
            return str(p)
    return str(here / "kestrel.ps")


def _words(options):
    out = []
    for key, val in options.items():
        flag = "--" + key.replace("_", "-")
        if val is None or val is False:
            continue
        if val is True:
            out.append(flag)
        elif isinstance(val, (list, tuple)):
            out += [flag, *map(str, val)]
        else:
            out += [flag, str(val)]
    return out


def _table_file(data, directory):
    """A tab-separated table for the command: a path as it is, or a mapping
    of column name to values (dict, pandas DataFrame) written out."""
    if isinstance(data, (str, os.PathLike)):
        return str(data)
    names = list(data.keys())
    cols = [np.asarray(data[n]) for n in names]
    if len({len(c) for c in cols}) != 1:
        raise ValueError("the columns differ in length")
    path = os.path.join(directory, "table.tsv")
    with open(path, "w", encoding="latin-1", errors="replace") as f:
        f.write("\t".join(str(n).replace("\t", " ") for n in names) + "\n")
        for row in zip(*cols):
            f.write("\t".join("" if (isinstance(v, float) and not np.isfinite(v)) else str(v)
                              for v in row) + "\n")
    return path


def render_section(data, x, y, value, output, **options):
    """Draw a section exactly as ``kestrel section`` does and return the
    paths written (output + '.png', '.gif', '.ps').

    data is a table file or a mapping of column names to values; the options
    are the command's, with dashes as underscores (percent=2, max_error=9,
    quiet=True, ...).
    """
    options.setdefault("quiet", True)
    with tempfile.TemporaryDirectory() as tmp:
        table = _table_file(data, tmp)
        words = [table, "--x", str(x), "--y", str(y), "--value", str(value), "-o", str(output),
                 *_words(options)]
        status = _kestrel.run_command("section", words, preamble_path())
    if status != 0:
        raise RuntimeError(f"kestrel section failed (status {status}); see the message above")
    return [f"{output}.{ext}" for ext in ("png", "gif", "ps")]


def render_map(output, **options):
    """Draw a map exactly as ``kestrel map`` does (options as its own, dashes
    as underscores: p='ortho', C='-30/20', coast='coast.cst', stations=...,
    title=...); returns the paths written."""
    words = ["-o", str(output)]
    for key, val in options.items():
        if len(key) == 1 and val is not None and val is not False:
            words += ["-" + key] + ([] if val is True else [str(val)])
        else:
            words += _words({key: val})
    if "preamble" not in options:
        words += ["--preamble", preamble_path()]
    status = _kestrel.run_command("map", words, preamble_path())
    if status != 0:
        raise RuntimeError(f"kestrel map failed (status {status}); see the message above")
    return [f"{output}.{ext}" for ext in ("png", "gif", "ps")]
