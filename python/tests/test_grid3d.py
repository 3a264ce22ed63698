"""Three dimensions, topography and the Dask scale-out: the Python results
against the C library's own (the command's spreadsheet, the topography
check values) and the distributed grid against the single-machine one."""
import subprocess

import numpy as np
import pytest

import kestrel
from conftest import BIN, DATA


def survey(n, seed=3):
    rng = np.random.default_rng(seed)
    x = rng.uniform(-140, -120, n)
    y = rng.uniform(30, 40, n)
    z = rng.uniform(-3000, 0, n)
    return x, y, z, np.sin(x / 3) + y / 10 + z / 1000


def test_grid3d_equals_the_commands_spreadsheet(tmp_path):
    exe = BIN / "kestrel"
    if not exe.is_file():
        pytest.skip("the kestrel command is not built")
    x, y, z, v = survey(3000)
    table = tmp_path / "survey.tsv"
    with open(table, "w") as f:
        f.write("Longitude\tLatitude\tDepth [m]\tValue [u]\n")
        for row in zip(x.astype(np.float32), y.astype(np.float32), (-z).astype(np.float32), v.astype(np.float32)):
            f.write("\t".join(repr(float(c)) for c in row) + "\n")
    subprocess.run([str(exe), "grid3d", str(table), "--x", "Longitude", "--y", "Latitude", "--z", "Depth",
                    "--value", "Value", "--nx", "9", "--ny", "7", "--nz", "5", "-q", "-o", str(tmp_path / "g")],
                   check=True, capture_output=True)
    rows = np.loadtxt(tmp_path / "g.txt", delimiter="\t", skiprows=1, usecols=(4, 5, 7, 8, 9), encoding="latin-1")
    g = kestrel.grid3d(x, y, z, v, 9, 7, 5)
    # the spreadsheet: station after station (y outer, x inner), depths within
    est = g.estimate.transpose(1, 2, 0).reshape(-1)
    np.testing.assert_allclose(rows[:, 3], est, rtol=1e-5, atol=1e-5)
    np.testing.assert_allclose(rows[:, 0], np.repeat(np.tile(g.x + 360, 7), 5), rtol=1e-5)
    np.testing.assert_allclose(rows[:, 2], np.tile(-g.z, 63), rtol=1e-5, atol=1e-3)


def test_grid3d_recovers_a_smooth_field_and_wraps_as_xarray():
    x, y, z, v = survey(20000)
    g = kestrel.grid3d(x, y, z, v, 20, 12, 8)
    assert g.estimate.shape == (8, 12, 20)
    X, Y, Z = np.meshgrid(g.x, g.y, g.z, indexing="xy")
    truth = (np.sin(X / 3) + Y / 10 + Z / 1000).transpose(2, 0, 1)
    inner = (slice(2, -2),) * 3
    assert np.abs(g.estimate[inner] - truth[inner]).max() < 0.15
    xr = pytest.importorskip("xarray")
    ds = g.to_xarray("value")
    assert isinstance(ds, xr.Dataset) and ds["value"].dims == ("z", "lat", "lon")


def test_topography_check_values():
    grid = DATA / "topography" / "etopo5.bin"
    if not grid.is_file():
        pytest.skip("no topography grid")
    h = kestrel.topography([142.2, 142.34, 75.09, -69.99], [11.35, 11.34, 36.34, -14.99], grid)
    assert list(h) == [-9905, -10376, 7833, 4038]
    h20 = kestrel.topography(142.34, 11.34, DATA / "topography" / "etopo20.grd")
    assert int(h20) == -10376
    with pytest.raises(RuntimeError):
        kestrel.topography(0, 0, "/no/such/grid")


def test_dask_grid3d_equals_the_single_machine_grid_node_for_node():
    distributed = pytest.importorskip("distributed")
    import kestrel.dask as kd
    x, y, z, v = survey(30000, seed=5)
    whole = kestrel.grid3d(x, y, z, v, 30, 20, 10, scale=4)
    points = np.column_stack([x, y, z, v])
    with distributed.LocalCluster(n_workers=2, threads_per_worker=1, processes=True,
                                  dashboard_address=None) as cluster, distributed.Client(cluster):
        tiled = kd.grid3d(points, {"nx": 30, "ny": 20, "nz": 10, "scale": 4}, chunks=(7, 6, 3))
    # 5 x 4 x 4 = 80 tiles, every node equal
    np.testing.assert_array_equal(tiled.estimate, whole.estimate)
    np.testing.assert_array_equal(tiled.distance, whole.distance)
    np.testing.assert_array_equal(tiled.spread, whole.spread)
    np.testing.assert_array_equal(tiled.z, whole.z)


@pytest.mark.parametrize("call, error", [
    (lambda: kestrel.grid3d([1, 2, 3], [1, 2, 3], [1, 2], [1, 2, 3]), ValueError),
    (lambda: kestrel.grid3d([1, 2, np.nan], [1, 2, 3], [1, 2, 3], [1, 2, 3]), ValueError),
    (lambda: kestrel.grid3d([1, 2, 3], [1, 2, 3], [1, 2, 3], [1, 2, 3], 0, 5, 5), ValueError),
    (lambda: kestrel.grid3d([1, 2, 3], [1, 2, 3], [1, 2, 3], [1, 2, 3], 10000, 10000, 10000), ValueError),
    (lambda: kestrel.topography(["a"], [1], "x"), TypeError),
])
def test_bad_arguments_raise(call, error):
    with pytest.raises(error):
        call()
