#!/usr/bin/env python3
"""The oblique Mollweide map of `kestrel map -p oblique` as PROJ draws it: GMT's
GSHHG shorelines, a 30 degree graticule and station positions, each point
projected by PROJ (`cs2cs`, Debian package proj-bin) with

    +proj=ob_tran +o_proj=moll +o_lat_p=0 +o_lon_p=-90 +lon_0=LON0 +R=1

and the map axes turned as Kestrel's oblique Mollweide turns them
(x = y_PROJ, y = -x_PROJ: a standing ellipse, the centre (LON0, 0) at its
left tip, the seam along the equator west of the centre at its top and
bottom). Drawn with matplotlib, so that Kestrel's picture of the same centre
can be set beside it: GMT itself has no oblique Mollweide.

    python3 tools/oblique_reference.py --centre -110 --stations st.txt -o ref.png
    python3 tools/oblique_reference.py --centre -110 --stations st.txt \
        --overlay kestrel.png --ps kestrel.ps -o overlay.png
    python3 tools/oblique_reference.py --centre -110 --points st.txt > xy.txt

--overlay draws PROJ's shorelines (blue) and stations (cyan rings) over
Kestrel's picture of the same centre instead, placed by the map's user
system that Kestrel's PostScript of the picture declares (the SetupUsrSys
after its clip path): where Kestrel's land and symbols are right, the blue
runs along its black coastline and the rings hold its red dots.
--points prints the turned PROJ map coordinates of the "lon lat" lines of a
file instead (for checking a picture's stations by hand).
Needs proj-bin, matplotlib (python3-matplotlib) or, for --overlay, PIL
(python3-pil), and for the shorelines GMT with gmt-gshhg-low
(`gmt coast -Rg -W -M -Dl`).
"""
import argparse
import math
import re
import subprocess
import sys


def oblique(lon0, pts):
    """PROJ's oblique Mollweide of (lon, lat) points, axes turned; None where
    PROJ gives no value."""
    if not pts:
        return []
    cmd = ["cs2cs", "-f", "%.9f", "+proj=longlat", "+R=1", "+to", "+proj=ob_tran", "+o_proj=moll",
           "+o_lat_p=0", "+o_lon_p=-90", "+lon_0=%r" % lon0, "+R=1"]
    text = "".join("%r %r\n" % p for p in pts)
    out = subprocess.run(cmd, input=text, capture_output=True, text=True, check=True).stdout.splitlines()
    if len(out) != len(pts):
        sys.exit("cs2cs returned %d rows for %d points" % (len(out), len(pts)))
    res = []
    for line in out:
        f = line.split()
        res.append(None if f[0] == "*" else (float(f[1]), -float(f[0])))
    return res


def split_at_seam(xy):
    """Pieces of a projected line, cut where it jumps across the seam."""
    pieces, cur = [], []
    for p in xy:
        if p is None or (cur and abs(p[1] - cur[-1][1]) > 1.0):
            if len(cur) > 1:
                pieces.append(cur)
            cur = [] if p is None else [p]
            continue
        cur.append(p)
    if len(cur) > 1:
        pieces.append(cur)
    return pieces


def project_lines(lon0, lines):
    flat = [p for line in lines for p in line]
    xy = oblique(lon0, flat)
    out, k = [], 0
    for line in lines:
        out.extend(split_at_seam(xy[k:k + len(line)]))
        k += len(line)
    return out


def shorelines(resolution):
    dump = subprocess.run(["gmt", "coast", "-Rg", "-W", "-M", "-D" + resolution], capture_output=True,
                          text=True, check=True).stdout
    lines, cur = [], []
    for row in dump.splitlines():
        if row.startswith(">"):
            if cur:
                lines.append(cur)
            cur = []
        elif row.strip():
            a, b = row.split()[:2]
            cur.append((float(a), float(b)))
    if cur:
        lines.append(cur)
    return lines


def graticule(step):
    lines = [[(lon, lat * 0.5) for lat in range(-180, 181)] for lon in range(-180, 180, step)]
    lines += [[(lon * 0.5, lat) for lon in range(-360, 361)] for lat in range(-90 + step, 90, step)]
    return lines


def read_points(path):
    pts = []
    for line in open(path):
        line = line.split("#")[0].replace(",", " ").split()
        try:
            pts.append((float(line[0]), float(line[1])))
        except (IndexError, ValueError):
            pass
    return pts


def map_placement(ps_path, png_size):
    """Map coordinates -> pixels of Kestrel's picture, from its PostScript."""
    text = open(ps_path, encoding="latin-1").read()
    media = re.search(r"%%DocumentMedia: \S+ (\d+) (\d+)", text)
    clip = text.find("%%PS-OBJECT: MapClipPath begin")
    m = re.compile(r"clip\n(\S+) (\S+) (\S+) (\S+) (\S+) (\S+) (\S+) (\S+) SetupUsrSys").search(text, clip)
    if not media or clip < 0 or not m:
        sys.exit("%s: no page size or map clip path" % ps_path)
    x0, x1, w, left, y0, y1, h, bottom = (float(v) for v in m.groups())
    per_cm = png_size[0] / (float(media.group(1)) / 72.0 * 2.54)
    height = png_size[1]
    return lambda x, y: ((left + (x - x0) / (x1 - x0) * w) * per_cm,
                         height - (bottom + (y - y0) / (y1 - y0) * h) * per_cm)


def overlay(a):
    from PIL import Image, ImageDraw
    im = Image.open(a.overlay).convert("RGB")
    to_px = map_placement(a.ps, im.size)
    draw = ImageDraw.Draw(im)
    for piece in project_lines(a.centre, shorelines(a.resolution)):
        draw.line([to_px(*p) for p in piece], fill=(0, 90, 255), width=1)
    if a.stations:
        for p in oblique(a.centre, read_points(a.stations)):
            if p is not None:
                x, y = to_px(*p)
                draw.ellipse((x - 7, y - 7, x + 7, y + 7), outline=(0, 200, 220))
    im.save(a.output)
    print("wrote", a.output)


def main():
    ap = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    ap.add_argument("--centre", type=float, default=0.0, help="centre longitude (default 0)")
    ap.add_argument("--stations", help="lon lat per line, drawn as red dots")
    ap.add_argument("--points", help="print the map coordinates of these lon lat lines and stop")
    ap.add_argument("-r", "--resolution", default="l", choices=list("clihf"))
    ap.add_argument("--title")
    ap.add_argument("--overlay", help="Kestrel's PNG of the same centre, to draw PROJ's shorelines over")
    ap.add_argument("--ps", help="Kestrel's PostScript of that picture (its map placement)")
    ap.add_argument("-o", "--output", default="oblique-proj.png")
    a = ap.parse_args()
    if a.points:
        pts = read_points(a.points)
        for p, r in zip(pts, oblique(a.centre, pts)):
            print("%r %r %s" % (p[0], p[1], "* *" if r is None else "%.6f %.6f" % r))
        return
    if a.overlay:
        if not a.ps:
            sys.exit("--overlay needs --ps")
        overlay(a)
        return
    import matplotlib
    matplotlib.use("Agg")
    import matplotlib.pyplot as plt
    fig, ax = plt.subplots(figsize=(10, 8))
    ax.set_aspect("equal")
    ax.axis("off")
    # The exact ellipse: semi-axes sqrt 2 across and 2 sqrt 2 along.
    t = [i * math.pi / 180 for i in range(361)]
    ax.plot([math.sqrt(2) * math.cos(v) for v in t], [2 * math.sqrt(2) * math.sin(v) for v in t], "k", lw=1.2)
    for piece in project_lines(a.centre, graticule(30)):
        ax.plot(*zip(*piece), color="0.5", lw=0.4)
    for piece in project_lines(a.centre, shorelines(a.resolution)):
        ax.plot(*zip(*piece), color="k", lw=0.5)
    if a.stations:
        xy = [p for p in oblique(a.centre, read_points(a.stations)) if p is not None]
        if xy:
            ax.plot(*zip(*xy), "o", color="red", ms=3)
    # The centre, where the rotated north pole lies.
    ax.plot(*oblique(a.centre, [(a.centre, 0.0)])[0], "+", color="blue", ms=10)
    ax.set_title(a.title or "PROJ ob_tran +o_proj=moll, lon_0 = %g (axes turned)" % a.centre)
    fig.savefig(a.output, dpi=100, bbox_inches="tight")
    print("wrote", a.output)


if __name__ == "__main__":
    main()
