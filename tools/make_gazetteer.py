#!/usr/bin/env python3
"""Writes a gazetteer file in Kestrel's format from a table of named
features (one feature a line: name <TAB> type <TAB> pieces, pieces separated
by " | ", each "n lon lat lon lat ..."), such as the Natural Earth ocean
features in ../shared/data/gazetteer/ocean_features.tsv.

The gazetteer format: the header "% GZT01", eight lines of description, the
column header "Feature;Type;Pieces", then one feature a line:
name;type;n;lon;lat;...;n;lon;lat;... (each piece a point count and its
longitude;latitude pairs). The reader counts features as the file's lines
minus these ten.

Usage: python3 tools/make_gazetteer.py [SOURCE.tsv] OUT.gzt [--types sea,ocean]
"""
import argparse
import sys


def convert(source, types=None):
    features = []
    with open(source, encoding="ascii") as f:
        for lineno, line in enumerate(f, 1):
            line = line.rstrip("\n")
            if not line:
                continue
            parts = line.split("\t")
            if len(parts) != 3:
                sys.exit(f"{source}:{lineno}: expected name, type and pieces separated by tabs")
            name, ftype, pieces = parts
            if ";" in name or ";" in ftype:
                sys.exit(f"{source}:{lineno}: a ';' in a name or type would split the record")
            if types and ftype not in types:
                continue
            fields = [name, ftype]
            for piece in pieces.split(" | "):
                words = piece.split()
                n = int(words[0])
                if len(words) != 1 + 2 * n:
                    sys.exit(f"{source}:{lineno}: a piece claims {n} points but holds {(len(words) - 1) / 2}")
                fields.append(str(n))
                fields.extend(words[1:])
            features.append(";".join(fields))
    return features


def main():
    ap = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    ap.add_argument("paths", nargs="+", help="[SOURCE.tsv] OUT.gzt")
    ap.add_argument("--types", help="comma-separated feature types to keep (default: all)")
    a = ap.parse_args()
    source = a.paths[0] if len(a.paths) == 2 else "../shared/data/gazetteer/ocean_features.tsv"
    out = a.paths[-1]
    types = set(a.types.split(",")) if a.types else None
    features = convert(source, types)
    kinds = sorted({f.split(";")[1] for f in features})
    preamble = [
        "% GZT01: Kestrel gazetteer",
        f"% source: {source}",
        "% data: Natural Earth (public domain) unless the source says otherwise",
        f"% features: {len(features)}",
        f"% types: {', '.join(kinds)}",
        "% coordinates: longitude and latitude in decimal degrees (WGS84)",
        "% record: name;type;then pieces, each a point count and its lon;lat pairs",
        "% made by tools/make_gazetteer.py",
        "%",
        "Feature;Type;Pieces",
    ]
    with open(out, "w", encoding="ascii", newline="\n") as f:
        f.write("\n".join(preamble + features) + "\n")
    print(f"{out}: {len(features)} features ({', '.join(kinds)})")


if __name__ == "__main__":
    main()
