#!/usr/bin/env python3
"""Builds the echo-sounding correction tables (Carter's tables) into C++ source.

Input: the ASCII form of D.J.T. Carter (1980), "Echo-Sounding Correction
Tables", 3rd edition, Hydrographic Department NP 139, as distributed by NGDC
and carried by GMT (Debian package gmt-common: /usr/share/gmt/mgg/carter.d,
LGPL-3.0-or-later). Only the numbers are used. The file holds three tables,
each announced by its length:

  * corrected depths, per area, for uncorrected 0, 100, 200, ... m;
  * 86 one-based offsets into them (one per area and an end);
  * 64800 area numbers on a 1 x 1 degree grid, row = floor(latitude + 90),
    column = floor(longitude) in 0..359.

Output: two signed 16-bit tables whose stored indices are one-based positions
in the same table (the first number is position 1):

  area table        positions 1..181 give, for band b = 0..180, the position of
                    the band's block; position 182 is one past the last number.
                    A block is the band's latitude (90 - b), then pairs
                    (western longitude boundary, area number) in increasing
                    longitude from -180: a pair starts at -180 and wherever the
                    area changes from one 1-degree column to the next. Band 0
                    (latitude 90) repeats the block of latitude 89.
  correction table  positions 1..85 give the position of area a's block;
                    position 86 is one past the last number. A block is the area
                    number, then the corrected depths for uncorrected 200, 300,
                    400, ... m (the source's 0 m and 100 m entries, always 0 and
                    100, are dropped).

Usage: carter_tables.py <carter.d> <output.cpp>
"""
import sys


def read_tables(path):
    """Returns (depths, offsets, zones) as lists of ints from carter.d."""
    with open(path, encoding="ascii", errors="replace") as f:
        lines = [ln.strip() for ln in f]
    # Drop comments and the table captions; what remains are the three
    # length-prefixed runs of integers.
    numbers = []
    for ln in lines:
        if not ln or ln.startswith("#"):
            continue
        try:
            numbers.append(int(ln))
        except ValueError:
            continue  # "Carter Offset Table", "Carter Zone Table"
    tables = []
    pos = 0
    for name in ("depth", "offset", "zone"):
        if pos >= len(numbers):
            raise SystemExit(f"carter_tables: {path}: the {name} table is missing")
        n = numbers[pos]
        body = numbers[pos + 1:pos + 1 + n]
        if n <= 0 or len(body) != n:
            raise SystemExit(f"carter_tables: {path}: the {name} table is truncated")
        tables.append(body)
        pos += 1 + n
    depths, offsets, zones = tables
    if len(offsets) != 86 or len(zones) != 180 * 360:
        raise SystemExit(f"carter_tables: {path}: unexpected table sizes "
                         f"({len(offsets)} offsets, {len(zones)} zones)")
    return depths, offsets, zones


def correction_table(depths, offsets):
    areas = len(offsets) - 1
    blocks = []
    for a in range(1, areas + 1):
        first, end = offsets[a - 1] - 1, offsets[a] - 1  # 0-based [first, end)
        block = depths[first:end]
        if len(block) < 4 or block[0] != 0 or block[1] != 100:
            raise SystemExit(f"carter_tables: area {a}: table does not start at 0, 100 m")
        if any(b <= a_ for a_, b in zip(block, block[1:])):
            raise SystemExit(f"carter_tables: area {a}: corrected depths do not increase")
        blocks.append([a] + block[2:])
    index, pos = [], areas + 2  # first block follows the areas + 1 index entries
    for blk in blocks:
        index.append(pos)
        pos += len(blk)
    index.append(pos)
    return index + [v for blk in blocks for v in blk]


def area_table(zones):
    def band_block(lat):
        row = zones[(lat + 90) * 360:(lat + 91) * 360]
        block, last = [lat], None
        for lon in range(-180, 180):
            area = row[lon % 360]
            if area != last:
                block += [lon, area]
                last = area
        return block

    blocks = [band_block(89)] + [band_block(90 - b) for b in range(1, 181)]
    index, pos = [], len(blocks) + 2
    for blk in blocks:
        index.append(pos)
        pos += len(blk)
    index.append(pos)
    return index + [v for blk in blocks for v in blk]


def c_array(name, values):
    for v in values:
        if not -32768 <= v <= 32767:
            raise SystemExit(f"carter_tables: {name}: {v} does not fit in 16 bits")
    rows = []
    for i in range(0, len(values), 16):
        rows.append("    " + ", ".join(str(v) for v in values[i:i + 16]) + ",")
    return (f"const int16_t {name}[] = {{\n" + "\n".join(rows) + "\n};\n"
            f"const int32_t {name}Count = {len(values)};\n")


def main():
    if len(sys.argv) != 3:
        raise SystemExit("usage: carter_tables.py <carter.d> <output.cpp>")
    depths, offsets, zones = read_tables(sys.argv[1])
    text = ("// Generated by tools/carter_tables.py from " + sys.argv[1].replace("\\", "/") + ".\n"
            "// Echo-sounding correction tables: Carter (1980), NP 139, digital edition of NGDC.\n"
            "// Do not edit; see ocean/carter.h for the layout.\n"
            "#include \"ocean/carter.h\"\n\n"
            "namespace kestrel {\n\n"
            + c_array("kCarterArea", area_table(zones)) + "\n"
            + c_array("kCarterCorrection", correction_table(depths, offsets))
            + "\n}  // namespace kestrel\n")
    with open(sys.argv[2], "w", encoding="ascii", newline="\n") as f:
        f.write(text)


if __name__ == "__main__":
    main()
