import csv
import os
from pathlib import Path

import numpy as np
import pytest

DATA = Path(os.environ.get("KESTREL_TEST_DATA", Path(__file__).resolve().parents[2].parent / "shared" / "data"))
BIN = Path(os.environ.get("KESTREL_BIN", ""))


def read_table(path):
    """Column name (without unit) -> float array, NaN for empty fields."""
    with open(path, encoding="latin-1") as f:
        rows = list(csv.reader(f, delimiter="\t"))
    names = [n.split(" [")[0] for n in rows[0]]
    cols = {}
    for k, n in enumerate(names):
        vals = []
        for r in rows[1:]:
            try:
                vals.append(float(r[k]) if k < len(r) and r[k] != "" else np.nan)
            except ValueError:
                vals.append(np.nan)
        cols[n] = np.array(vals)
    return cols


@pytest.fixture(scope="session")
def p18():
    path = DATA / "samples" / "go-ship_p18_2016.tsv"
    if not path.is_file():
        pytest.skip(f"{path} is missing")
    return path, read_table(path)
