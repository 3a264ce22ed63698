"""The pictures from Python are the command's own."""
import filecmp
import os
import subprocess

import numpy as np
import pytest

import kestrel

from conftest import BIN


def test_section_from_python_equals_the_commands(p18, tmp_path):
    path, table = p18
    exe = BIN / "kestrel"
    if not exe.is_file():
        pytest.skip("the kestrel command is not built")
    ours = kestrel.render_section(path, "Latitude", "Depth", "Oxygen", tmp_path / "py", percent=2)
    subprocess.run([str(exe), "section", str(path), "--x", "Latitude", "--y", "Depth", "--value", "Oxygen",
                    "--percent", "2", "-q", "--preamble", kestrel.preamble_path(), "-o", str(tmp_path / "cli")],
                   check=True)
    for ext in ("png", "gif", "ps"):
        assert filecmp.cmp(tmp_path / f"py.{ext}", tmp_path / f"cli.{ext}", shallow=False), ext
    assert all(os.path.getsize(f) > 1000 for f in ours)


def test_section_from_columns_in_memory(tmp_path):
    rng = np.random.default_rng(4)
    x = rng.uniform(0, 500, 400)
    d = rng.uniform(0, 3000, 400)
    files = kestrel.render_section({"Distance [km]": x, "Depth [m]": d, "Temperature [degC]": 20 * np.exp(-d / 800)},
                                   "Distance", "Depth", "Temperature", tmp_path / "mem")
    png = open(files[0], "rb").read()
    assert png[:8] == b"\x89PNG\r\n\x1a\n"


def test_failures_raise(tmp_path):
    with pytest.raises(RuntimeError):
        kestrel.render_section({"a": [1, 2, 3]}, "a", "b", "c", tmp_path / "bad")
    with pytest.raises(ValueError):
        kestrel.render_section({"a": [1, 2, 3], "b": [1]}, "a", "b", "a", tmp_path / "bad")
    with pytest.raises(RuntimeError):
        kestrel.render_map(tmp_path / "m", p="no-such-projection")


def test_map_is_drawn(tmp_path):
    files = kestrel.render_map(tmp_path / "map", p="mollweide", title="World")
    assert all(os.path.getsize(f) > 1000 for f in files)
