"""Gridding and contouring through Python against hand-worked truth and
contourpy, and the guard rails for bad arguments."""
import numpy as np
import pytest

import kestrel


def scattered(n, seed=3):
    rng = np.random.default_rng(seed)
    return rng.uniform(0, 100, n), rng.uniform(0, 40, n)


def test_constant_field_is_reproduced_exactly_wherever_data_reach():
    x, y = scattered(800)
    g = kestrel.grid_section(x, y, np.full(x.size, 7.25), nx=60, ny=30)
    reached = np.isfinite(g.estimate)
    assert reached.mean() > 0.95
    np.testing.assert_allclose(g.estimate[reached], 7.25, rtol=0, atol=1e-5)
    np.testing.assert_allclose(g.spread[reached], 0, atol=1e-4)


@pytest.mark.parametrize("method", ["average", "objective"])
def test_smooth_field_is_recovered_inside_the_data(method):
    x, y = scattered(1200)
    truth = lambda a, b: np.sin(a / 25.0) + 0.02 * b  # noqa: E731
    g = kestrel.grid_section(x, y, truth(x, y), nx=50, ny=20, method=method)
    inner = (g.x[None, :] > 10) & (g.x[None, :] < 90) & (g.y[:, None] > 5) & (g.y[:, None] < 35)
    err = np.abs(g.estimate - truth(g.x[None, :], g.y[:, None]))[inner]
    assert np.nanmax(err) < 0.08
    # grid lines span the data and are monotonic, scale lengths positive
    assert g.x[0] == pytest.approx(x.min(), abs=1e-3) and g.x[-1] == pytest.approx(x.max(), abs=1e-3)
    assert np.all(np.diff(g.x) > 0) and np.all(g.x_scale > 0)


def test_objective_analysis_error_grows_away_from_the_data():
    rng = np.random.default_rng(5)
    x = np.r_[rng.uniform(0, 30, 300), 100.0]
    y = np.r_[rng.uniform(0, 40, 300), 0.0]
    g = kestrel.grid_section(x, y, np.cos(x / 10), nx=40, ny=10, method="objective")
    near = np.nanmean(g.spread[:, g.x < 25])
    far = np.nanmean(g.spread[:, (g.x > 50) & (g.x < 90)])
    assert far > 1.3 * near
    assert np.nanmean(g.distance[:, (g.x > 50) & (g.x < 90)]) > 3 * np.nanmean(g.distance[:, g.x < 25])


def test_xarray_dataset_carries_coordinates():
    xr = pytest.importorskip("xarray")
    x, y = scattered(300)
    ds = kestrel.grid_map(x - 150, y - 20, x + y, nx=30, ny=12).to_xarray("temperature")
    assert isinstance(ds, xr.Dataset)
    assert ds["temperature"].dims == ("lat", "lon")
    assert ds.lon.size == 30 and ds.lat.size == 12


def test_p18_section_through_python(p18):
    _, t = p18
    ok = np.isfinite(t["Latitude"]) & np.isfinite(t["Depth"]) & np.isfinite(t["Oxygen"])
    g = kestrel.grid_section(t["Latitude"][ok], t["Depth"][ok], t["Oxygen"][ok], nx=400, ny=200)
    assert g.estimate.shape == (200, 400)
    lo, hi = np.nanmin(t["Oxygen"][ok]), np.nanmax(t["Oxygen"][ok])
    est = g.estimate[np.isfinite(g.estimate)]
    # a weighted average never leaves the range of the data
    assert est.min() >= lo - 1e-3 and est.max() <= hi + 1e-3


def test_contour_lines_lie_on_contourpys():
    contourpy = pytest.importorskip("contourpy")
    x = np.linspace(-3, 3, 61)
    y = np.linspace(-2, 2, 41)
    z = (np.exp(-(x[None, :] ** 2 + y[:, None] ** 2)) + 0.5 * np.exp(-((x[None, :] - 1.5) ** 2 + (y[:, None] + 0.5) ** 2) * 4)).astype(np.float32)
    for level in (0.1, 0.3, 0.55, 0.8):
        ours = kestrel.contour_lines(x, y, z, level)
        theirs = contourpy.contour_generator(x, y, z.astype(np.float64), line_type="Separate").lines(level)
        assert len(ours) == len(theirs), level
        ref = np.concatenate(theirs)
        for path in ours:
            d = np.min(np.hypot(path[:, None, 0] - ref[None, :, 0], path[:, None, 1] - ref[None, :, 1]), axis=1)
            assert d.max() < 1e-4, level
        # the same total length, to the interpolation's precision
        length = lambda ps: sum(np.hypot(*np.diff(p, axis=0).T).sum() for p in ps)  # noqa: E731
        assert length(ours) == pytest.approx(length(theirs), rel=1e-4)


def test_long_contours_come_back_whole():
    x = np.linspace(0, 1, 1500)
    y = np.linspace(0, 1, 3)
    z = np.tile(y[:, None], (1, 1500)).astype(np.float32)  # one straight line across 1500 columns
    (path,) = kestrel.contour_lines(x, y, z, 0.25)
    assert len(path) >= 1500
    np.testing.assert_allclose(path[:, 1], 0.25, atol=1e-6)


@pytest.mark.parametrize("call, error", [
    (lambda: kestrel.grid_section([1, 2, 3], [1, 2], [1, 2, 3]), ValueError),
    (lambda: kestrel.grid_section([1, 2, np.nan], [1, 2, 3], [1, 2, 3]), ValueError),
    (lambda: kestrel.grid_section([1, 2, 3], [1, 2, 3], ["a", "b", "c"]), TypeError),
    (lambda: kestrel.grid_section([1, 2, 3], [1, 2, 3], [1j, 2, 3]), TypeError),
    (lambda: kestrel.grid_section([[1, 2, 3]], [1, 2, 3], [1, 2, 3]), ValueError),
    (lambda: kestrel.grid_section([1, 2, 3], [1, 2, 3], [1, 2, 3], nx=-5), ValueError),
    (lambda: kestrel.grid_section([1, 2, 3], [1, 2, 3], [1, 2, 3], nx=2**40), ValueError),
    (lambda: kestrel.grid_section([1, 1, 1], [1, 2, 3], [1, 2, 3]), ValueError),
    (lambda: kestrel.grid_section([1, 2, 3], [1, 2, 3], [1, 2, 3], method="kriging"), ValueError),
    (lambda: kestrel.grid_section(*scattered(1600), np.zeros(1600), method="objective"), ValueError),
    (lambda: kestrel.grid_section([1, 2, 3], [1, 2, 3], [1, 2, 3], error=[1, 0, 1]), ValueError),
    (lambda: kestrel.grid_map([1, 2, 3], [1, 2, 95], [1, 2, 3]), ValueError),
    (lambda: kestrel.contour_lines([0, 1], [0, 1, 2], np.zeros((2, 2)), 0.5), ValueError),
    (lambda: kestrel.contour_lines([0, 1], [0, 1], np.zeros((2, 2)), np.nan), ValueError),
    (lambda: kestrel.contour_lines([0, 1], [0, 1], [[0, np.inf], [0, 0]], 0.5), ValueError),
])
def test_bad_arguments_raise(call, error):
    with pytest.raises(error):
        call()


def test_calls_run_in_threads_without_holding_the_interpreter():
    import threading
    x, y = scattered(20000)
    v = x + y
    results = []
    ts = [threading.Thread(target=lambda: results.append(kestrel.grid_section(x, y, v, nx=200, ny=100)))
          for _ in range(3)]
    for t in ts:
        t.start()
    for t in ts:
        t.join()
    assert len(results) == 3
    for r in results[1:]:
        np.testing.assert_array_equal(r.estimate, results[0].estimate)
