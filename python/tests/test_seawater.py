"""Seawater and gas formulas through Python: the published check values of
the 1983 UNESCO algorithms, and gsw (TEOS-10) as an independent peer."""
import numpy as np
import pytest

import kestrel


def test_unesco_1983_check_values():
    assert kestrel.density_anomaly(10000, 40, 40) == pytest.approx(59.82037, abs=1e-5)
    assert kestrel.specific_volume(10000, 40, 40) == pytest.approx(1000 / 1059.82037, rel=1e-8)
    assert kestrel.potential_temperature(10000, 40, 40, 0) == pytest.approx(36.89073, abs=1e-5)
    assert kestrel.sound_speed(10000, 40, 40) == pytest.approx(1731.995, abs=1e-3)
    assert kestrel.heat_capacity(10000, 40, 40) == pytest.approx(3849.500, abs=1e-3)
    assert kestrel.freezing_point(500, 40) == pytest.approx(-2.588567, abs=1e-6)
    assert kestrel.depth(10000, 30) == pytest.approx(9712.653, abs=1e-3)
    assert kestrel.adiabatic_gradient(10000, 40, 40) == pytest.approx(0.3255976, abs=1e-7)


def test_arrays_broadcast_and_keep_their_shape():
    p = np.array([[0.0], [1000.0], [4000.0]])
    t = np.array([2.0, 10.0, 20.0])
    out = kestrel.density_anomaly(p, t, 35)
    assert out.shape == (3, 3)
    assert out[0, 0] == pytest.approx(kestrel.density_anomaly(0, 2, 35))
    assert np.ndim(kestrel.gravity(45)) == 0
    assert np.isnan(kestrel.sound_speed(np.nan, 10, 35))


def test_against_gsw():
    gsw = pytest.importorskip("gsw")
    rng = np.random.default_rng(2)
    sp = rng.uniform(33, 37, 200)
    t = rng.uniform(0, 28, 200)
    p = rng.uniform(0, 5000, 200)
    lat = rng.uniform(-60, 60, 200)
    lon = rng.uniform(-180, 180, 200)
    sa = gsw.SA_from_SP(sp, p, lon, lat)
    # potential temperature: the 1983 algorithm against TEOS-10 (IPTS-68 vs
    # ITS-90 and the two equations of state differ by millikelvins)
    pt_gsw = gsw.pt_from_t(sa, t, p, 0)
    np.testing.assert_allclose(kestrel.potential_temperature(p, t * 1.00024, sp, 0) / 1.00024, pt_gsw, atol=0.01)
    # Chen and Millero run up to 1 m/s above TEOS-10 at depth (the known
    # excess of their high-pressure terms)
    np.testing.assert_allclose(kestrel.sound_speed(p, t * 1.00024, sp), gsw.sound_speed(sa, gsw.CT_from_t(sa, t, p), p), atol=1.2)
    np.testing.assert_allclose(kestrel.depth(p, lat), -gsw.z_from_p(p, lat), rtol=2e-3)
    # oxygen solubility: Weiss (1970) against Garcia and Gordon (1992)
    np.testing.assert_allclose(kestrel.o2sat(t, sp), gsw.O2sol_SP_pt(sp, t), rtol=0.012)
    # distance between neighbouring stations (within a degree or so), in km
    # against gsw's great circle in metres
    lons = np.cumsum(rng.uniform(-1, 1, 50))
    lats = np.cumsum(rng.uniform(-1, 1, 50)) + rng.uniform(-50, 50)
    ours = kestrel.distance(lons[:-1], lats[:-1], lons[1:], lats[1:])
    theirs = np.array([gsw.distance(lons[k:k + 2], lats[k:k + 2])[0] for k in range(49)]) / 1000
    np.testing.assert_allclose(ours, theirs, rtol=5e-3)


def test_aou_and_saturation():
    assert kestrel.aou(200, 10, 35) == pytest.approx(kestrel.o2sat(10, 35) - 200)
    cfc = kestrel.cfc_saturation([5, 15], 35, 250e-12, 1)
    assert cfc[0] > cfc[1] > 0  # colder water holds more gas
    assert np.isnan(kestrel.cfc_saturation(5, 35, 1, 99))


def test_carbonate_system_closes_the_balance():
    out = kestrel.carbonate([10, 25, np.nan], 35, 2000, 2300)
    assert 7.9 < out["pH"][0] < 8.4 and 7.9 < out["pH"][1] < 8.3
    np.testing.assert_allclose((out["co2"] + out["hco3"] + out["co3"])[:2], 2000, rtol=1e-4)
    assert np.isnan(out["pH"][2])
    k = kestrel.co2_constants([0, 25], 35)
    assert set(k) == {"k1", "k2", "kw", "ks", "kf", "kb", "k0", "tk"}
    # Dickson, Sabine and Christian (2007), SOP: pK1 = 5.847 at 25 C, S 35 (Mehrbach, refitted)
    assert -np.log10(k["k1"][1]) == pytest.approx(5.847, abs=0.01)


def test_gamma_n_reproduces_the_published_example():
    import os
    from conftest import DATA
    folder = DATA / "neutral-density"
    if not (folder / "stga.fdt").is_file():
        pytest.skip("no neutral density reference data")
    rows = np.genfromtxt(folder / "example.tsv", comments="#", delimiter="\t", usecols=range(11))
    lon, lat, s, t, p, g_ref, lo_ref, hi_ref = (rows[:, k] for k in range(8))
    g, lo, hi = kestrel.gamma_n(s, t, p, lon, lat, folder)
    np.testing.assert_allclose(g, g_ref, atol=1e-6, rtol=0)
    np.testing.assert_allclose(lo, lo_ref, atol=1e-6, rtol=0)
    np.testing.assert_allclose(hi, hi_ref, atol=1e-6, rtol=0)
    # one cast given by a scalar position; a bottle out of range is NaN
    g1, _, _ = kestrel.gamma_n([35.0, 43.0], [10.0, 10.0], [100.0, 100.0], 187.317, -41.6667, folder)
    assert np.isfinite(g1[0]) and np.isnan(g1[1])
    with pytest.raises(RuntimeError):
        kestrel.gamma_n(35, 10, 100, 187, -41, "/no/such/folder")
    with pytest.raises(ValueError):
        kestrel.gamma_n([35, 35], [10], [100, 100, 100], 187, -41, folder)
