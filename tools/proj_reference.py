#!/usr/bin/env python3
"""Writes tests/golden/projection_reference.txt: check values for the map
projections, computed by PROJ (Debian package proj-bin: proj, invproj,
cs2cs) on the unit sphere (+R=1).

    python3 tools/proj_reference.py > tests/golden/projection_reference.txt

The tests read the table, so PROJ is needed only to regenerate it. Every
input is a multiple of 1/8 (longitudes, latitudes, map coordinates), which a
float holds exactly, so both sides start from the same numbers.

Line format (whitespace separated):
    kind code lon0 lat0 in1 in2 out1 out2
kinds:
    fwd  forward projection: lon lat [deg] -> x y
    inv  inverse projection: x y -> lon lat [deg] (longitude not wrapped:
         compare modulo 360)
    rot  code 6 only: lon lat -> lon' lat', the graticule rotated so that
         (lon0, 0) is the new north pole (PROJ ob_tran, o_lat_p=0,
         o_lon_p=-90, with both signs turned to the orientation used here)
For code 4 (and 6) fwd/inv give the exact Mollweide, which the polynomial
forward only approximates; for code 6 fwd is PROJ's transverse Mollweide
with the map axes turned: x = y_PROJ, y = -x_PROJ. Code 6 rows cover the
whole sphere, the quarter that Project lays on the map's edge included (the
whole-globe form of the map command is checked against all of them).
"""
import math
import subprocess
import sys


def run(cmd, lines):
    text = "".join("%r %r\n" % (a, b) for a, b in lines)
    out = subprocess.run(cmd, input=text, capture_output=True, text=True, check=True).stdout
    rows = []
    for line in out.splitlines():
        f = line.split()
        rows.append(None if f[0] == "*" else (float(f[0]), float(f[1])))
    if len(rows) != len(lines):
        sys.exit("PROJ returned %d rows for %d points" % (len(rows), len(lines)))
    return rows


def fwd(params, pts):
    return run(["proj", "-f", "%.12f"] + params, pts)


def inv(params, pts):
    return run(["invproj", "-f", "%.12f"] + params, pts)


def cs2cs(src, dst, pts):
    return run(["cs2cs", "-f", "%.12f"] + src + ["+to"] + dst, pts)


def frange(a, b, step):
    n = int(round((b - a) / step))
    return [a + i * step for i in range(n + 1)]


def angdist(lon0, lat0, lon, lat):
    p0, p, d = math.radians(lat0), math.radians(lat), math.radians(lon - lon0)
    c = math.sin(p0) * math.sin(p) + math.cos(p0) * math.cos(p) * math.cos(d)
    return math.degrees(math.acos(max(-1.0, min(1.0, c))))


def emit(kind, code, lon0, lat0, pts, res):
    for (a, b), r in zip(pts, res):
        if r is None:
            continue
        print("%s %d %r %r %r %r %.12f %.12f" % (kind, code, lon0, lat0, a, b, r[0], r[1]))


def disc_points(rmin, rmax):
    g = frange(-1.0, 1.0, 0.125)
    return [(x, y) for x in g for y in g if rmin <= math.hypot(x, y) <= rmax]


def ortho(code, lon0, lat0):
    params = ["+proj=ortho", "+R=1", "+over", "+lat_0=%r" % lat0, "+lon_0=%r" % lon0]
    if code == 2:
        pts = [(lon0 + d, lat) for d in frange(-88.0, 88.0, 8.0) for lat in frange(-88.0, 88.0, 8.0)]
    elif code in (1, 3):
        sign = 1.0 if code == 1 else -1.0
        pts = [(lon0 + d, sign * lat) for d in frange(-180.0, 180.0, 15.0) for lat in frange(0.5, 90.0, 7.5)]
    else:
        # Well inside the horizon: the horizon test of code 5 works from a
        # table sampled per degree of latitude.
        pts = [(lon0 + d, lat) for d in frange(-180.0, 175.0, 12.5) for lat in frange(-87.5, 87.5, 12.5)
               if angdist(lon0, lat0, lon0 + d, lat) < 80.0]
    emit("fwd", code, lon0, lat0, pts, fwd(params, pts))
    # The polar inverse replaces points within 0.01 of the pole; stay away
    # from it, and from the rim where points are pulled inside.
    mp = disc_points(0.05, 0.98)
    emit("inv", code, lon0, lat0, mp, inv(params, mp))


def mollweide():
    params = ["+proj=moll", "+R=1", "+over"]
    lons = frange(-175.0, 175.0, 12.5) + [-179.875, 179.875]
    pts = [(lon, lat) for lon in lons for lat in frange(-90.0, 90.0, 2.5)]
    emit("fwd", 4, 0.0, 0.0, pts, fwd(params, pts))
    g = frange(-2.75, 2.75, 0.125)
    mp = [(x, y) for x in g for y in frange(-1.375, 1.375, 0.125)
          if math.sqrt(0.125 * x * x + 0.5 * y * y) <= 0.98]
    emit("inv", 4, 0.0, 0.0, mp, inv(params, mp))


def oblique_mollweide(lon0):
    pts = [(lon0 + d, lat) for d in frange(-170.0, 170.0, 20.0) for lat in frange(-80.0, 80.0, 10.0)]
    # Either side of the seam (the equator west of the centre) and next to
    # the geographic poles, which the rotation moves onto the map's middle.
    pts += [(lon0 + d, lat) for d in frange(-170.0, -10.0, 20.0) for lat in (-0.5, 0.5)]
    pts += [(lon0 + d, lat) for d in frange(-165.0, 165.0, 30.0) for lat in (-89.5, 89.5)]
    base = ["+proj=ob_tran", "+o_lat_p=0", "+o_lon_p=-90", "+lon_0=%r" % lon0, "+R=1"]
    rot = cs2cs(["+proj=longlat", "+R=1"], base + ["+o_proj=longlat", "+to_meter=0.017453292519943295"], pts)
    emit("rot", 6, lon0, 0.0, pts, [(-a, -b) for a, b in rot])
    xy = cs2cs(["+proj=longlat", "+R=1"], base + ["+o_proj=moll"], pts)
    emit("fwd", 6, lon0, 0.0, pts, [(b, -a) for a, b in xy])


def main():
    version = subprocess.run(["proj"], capture_output=True, text=True).stderr.splitlines()[0]
    print("# Projection check values from PROJ (%s), unit sphere." % version.strip())
    print("# Generated by tools/proj_reference.py; do not edit by hand.")
    print("# kind code lon0 lat0 in1 in2 out1 out2")
    for lon0 in (0.0, 30.0, -150.0, 250.0):
        ortho(1, lon0, 90.0)
        ortho(3, lon0, -90.0)
    for lon0 in (0.0, -75.0, 200.0):
        ortho(2, lon0, 0.0)
    for lon0, lat0 in ((20.0, 40.0), (-100.0, -35.0), (200.0, 70.0), (0.0, 0.0), (-30.0, -80.0)):
        ortho(5, lon0, lat0)
    mollweide()
    # The default centre (0), a centre in the southern Pacific's longitudes
    # (-110, the P18 line; -55 as the layout used to move it), and more.
    for lon0 in (0.0, 40.0, -120.0, -110.0, -55.0, 160.0):
        oblique_mollweide(lon0)


if __name__ == "__main__":
    main()
