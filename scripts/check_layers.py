#!/usr/bin/env python3
"""Checks that every #include in the library runs downward through its layers.

The rooms, deepest first:
    base              what every room shares: the interface's exception guard
    platform          the operating and window system (platform/)
    util, numerics    file and string utilities; linear algebra, fitting
    frame             shared state, start-up services, error log, status bar
    projection        map projections (what turns positions into drawable ones)
    plot              coordinate systems, drawing, text, PostScript, GIF
    contour, grid, maps, ocean, interactive   the subsystems (peers)
    startup           the composition root: start-up that touches every layer
    cli, python, bench, tests, tools          programs on top

A file may include the headers of its own room and of rooms below it; peers
may use each other's public headers (include/kestrel/) but never each
other's internal ones; nothing outside platform/ includes a platform's own
sources (platform/posix/, platform/win32/). Each public header belongs to
the room that implements it.

Usage: check_layers.py [--root DIR] [--plant FILE:HEADER ...]
--plant adds an include that is not in the file, to prove that the check
catches it (CI runs it with an upward include and expects a failure).
"""
import argparse
import os
import re
import sys

RANK = {
    "base": 0, "platform": 1, "util": 2, "numerics": 2, "frame": 3, "projection": 4, "plot": 5,
    "contour": 6, "grid": 6, "maps": 6, "ocean": 6, "interactive": 6,
    "startup": 7, "cli": 8, "python": 9, "bench": 9, "tests": 9, "tools": 9,
}
LIBRARY = ["base", "platform", "util", "numerics", "frame", "projection", "plot", "contour", "grid", "maps", "ocean",
           "interactive", "startup", "cli"]

PUBLIC = {
    "types.h": "base", "export.h": "base", "canvas.h": "platform",
    "util.h": "util", "host.h": "util", "la.h": "numerics", "fit.h": "numerics", "rootsearch.h": "numerics",
    "globals.h": "frame", "frame.h": "frame", "projection.h": "projection",
    "usrsys.h": "plot", "colour.h": "plot", "draw.h": "plot", "postscript.h": "plot", "axes.h": "plot",
    "gif.h": "plot", "contour.h": "contour", "oa.h": "grid", "d3.h": "grid",
    "maps.h": "maps", "topography.h": "maps", "gazetteer.h": "maps",
    "seawater.h": "ocean", "gas.h": "ocean", "neutral.h": "ocean", "interactive.h": "interactive",
    "kestrel.h": "cli",
}

INCLUDE = re.compile(r'^\s*#\s*include\s+"([^"]+)"', re.M)


def room_of_header(inc):
    """(room, public) of an included path, or (None, None) for a local one."""
    if inc.startswith("kestrel/"):
        return PUBLIC.get(inc[len("kestrel/"):], "unknown"), True
    head = inc.split("/", 1)[0]
    if head in RANK and "/" in inc:
        return head, False
    return None, None


def check(root, planted):
    problems = []
    files = []
    for room in LIBRARY:
        for dirpath, _, names in os.walk(os.path.join(root, room)):
            for n in names:
                if n.endswith((".cpp", ".h", ".inc")):
                    files.append(os.path.join(dirpath, n))
    for path in sorted(files):
        rel = os.path.relpath(path, root).replace(os.sep, "/")
        room = rel.split("/", 1)[0]
        with open(path, encoding="utf-8", errors="replace") as f:
            includes = INCLUDE.findall(f.read())
        includes += [h for (p, h) in planted if p == rel]
        for inc in includes:
            target, public = room_of_header(inc)
            if target is None:
                continue
            if target == "unknown":
                problems.append(f"{rel}: includes {inc}, a public header no room owns (add it to PUBLIC)")
                continue
            if target == room:
                continue
            if inc.startswith(("platform/posix/", "platform/win32/")):
                problems.append(f"{rel}: includes {inc}, inside a platform")
            elif RANK[target] > RANK[room]:
                problems.append(f"{rel}: includes {inc} from {target}, a layer above {room}")
            elif RANK[target] == RANK[room] and not public:
                problems.append(f"{rel}: includes {inc}, an internal header of the peer {target}")
    return problems


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("--root", default=os.path.join(os.path.dirname(os.path.abspath(__file__)), ".."))
    ap.add_argument("--plant", action="append", default=[], help="FILE:HEADER, an include to pretend is there")
    a = ap.parse_args()
    planted = [tuple(p.split(":", 1)) for p in a.plant]
    problems = check(os.path.abspath(a.root), planted)
    for p in problems:
        print(p)
    print(f"{len(problems)} include(s) against the layers")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
