#!/usr/bin/env python3
"""Generates Kestrel's colour tables: the built-in 177-entry palette
(plot/palette_builtin.inc) and the palette files in data/palettes/.

Every table has the same layout, the one the colour scale expects:
  0..31    fixed colours (black, white, primaries and secondaries, a grey ramp)
  32       values below the colour range
  33..143  the colour scale, 111 steps from low to high
  144      values above the colour range
  145..176 a grey ramp from black to white (for masks and land fills)

The scales are built in CIELAB (D65) and resampled so that neighbouring
steps are equally far apart in Delta E (CIE76): equal data steps then look
equally large. The built-in scale follows the path of the viridis colour map
(Smith and van der Walt, 2015), given here by ten published anchor colours
that it interpolates with a Catmull-Rom spline; the others are our own
paths. Run from the repository root: python3 scripts/make_palettes.py
"""
import math
import os

RUN = 111  # steps of the colour scale, indices 33..143


def srgb_to_linear(c):
    return c / 12.92 if c <= 0.04045 else ((c + 0.055) / 1.055) ** 2.4


def linear_to_srgb(c):
    return 12.92 * c if c <= 0.0031308 else 1.055 * c ** (1 / 2.4) - 0.055


WHITE = (0.95047, 1.0, 1.08883)


def rgb_to_lab(rgb):
    r, g, b = (srgb_to_linear(v / 255.0) for v in rgb)
    x = 0.4124564 * r + 0.3575761 * g + 0.1804375 * b
    y = 0.2126729 * r + 0.7151522 * g + 0.0721750 * b
    z = 0.0193339 * r + 0.1191920 * g + 0.9503041 * b

    def f(t):
        return t ** (1 / 3) if t > 216 / 24389 else (24389 / 27 * t + 16) / 116

    fx, fy, fz = f(x / WHITE[0]), f(y / WHITE[1]), f(z / WHITE[2])
    return (116 * fy - 16, 500 * (fx - fy), 200 * (fy - fz))


def lab_to_linear(lab):
    L, a, b = lab
    fy = (L + 16) / 116
    fx, fz = fy + a / 500, fy - b / 200

    def finv(t):
        return t ** 3 if t ** 3 > 216 / 24389 else (116 * t - 16) / (24389 / 27)

    x, y, z = finv(fx) * WHITE[0], finv(fy) * WHITE[1], finv(fz) * WHITE[2]
    r = 3.2404542 * x - 1.5371385 * y - 0.4985314 * z
    g = -0.9692660 * x + 1.8760108 * y + 0.0415560 * z
    bb = 0.0556434 * x - 0.2040259 * y + 1.0572252 * z
    return (r, g, bb)


def in_gamut(lab, eps=1e-6):
    return all(-eps <= c <= 1 + eps for c in lab_to_linear(lab))


def clip_lab(lab):
    """Nearest displayable colour: chroma is reduced at constant L and hue
    until the colour fits the sRGB gamut."""
    L, a, b = lab
    if not in_gamut(lab):
        lo, hi = 0.0, 1.0
        for _ in range(40):
            mid = (lo + hi) / 2
            if in_gamut((L, a * mid, b * mid)):
                lo = mid
            else:
                hi = mid
        a, b = a * lo, b * lo
    return (L, a, b)


def lab_to_rgb(lab):
    L, a, b = clip_lab(lab)
    return tuple(max(0, min(255, int(round(linear_to_srgb(min(1.0, max(0.0, c))) * 255))))
                 for c in lab_to_linear((L, a, b)))


def lch(L, C, h):
    return (L, C * math.cos(math.radians(h)), C * math.sin(math.radians(h)))


def catmull_rom(points, t):
    """Uniform Catmull-Rom spline through points at t = 0..1."""
    n = len(points) - 1
    s = min(max(t, 0.0), 1.0) * n
    i = min(int(s), n - 1)
    u = s - i
    p0 = points[max(i - 1, 0)]
    p1, p2 = points[i], points[i + 1]
    p3 = points[min(i + 2, n)]
    return tuple(0.5 * (2 * p1[k] + (-p0[k] + p2[k]) * u + (2 * p0[k] - 5 * p1[k] + 4 * p2[k] - p3[k]) * u * u
                        + (-p0[k] + 3 * p1[k] - 3 * p2[k] + p3[k]) * u ** 3) for k in range(3))


def delta_e(p, q):
    return math.sqrt(sum((p[k] - q[k]) ** 2 for k in range(3)))


def equal_steps(path, n):
    """n points along path(t), t in 0..1, equally spaced in Delta E."""
    fine = [path(i / 4000) for i in range(4001)]
    arc = [0.0]
    for i in range(1, len(fine)):
        arc.append(arc[-1] + delta_e(fine[i - 1], fine[i]))
    out, j = [], 0
    for k in range(n):
        target = arc[-1] * k / (n - 1)
        while j < len(arc) - 2 and arc[j + 1] < target:
            j += 1
        seg = arc[j + 1] - arc[j]
        u = 0.0 if seg == 0 else (target - arc[j]) / seg
        out.append(tuple(fine[j][m] + u * (fine[j + 1][m] - fine[j][m]) for m in range(3)))
    return out


def hexrgb(h):
    return (int(h[0:2], 16), int(h[2:4], 16), int(h[4:6], 16))


# Ten colours along viridis, as published with the map (t = 0, 1/9, ..., 1).
VIRIDIS_ANCHORS = ["440154", "482878", "3E4A89", "31688E", "26828E",
                   "1F9E89", "35B779", "6DCD59", "B4DE2C", "FDE725"]


def scale_builtin():
    pts = [rgb_to_lab(hexrgb(h)) for h in VIRIDIS_ANCHORS]
    return [lab_to_rgb(p) for p in equal_steps(lambda t: catmull_rom(pts, t), RUN)]


def scale_rainbow():
    # Blue through cyan, green and yellow to red; lightness rises to the
    # yellow and falls again, chroma as high as the gamut allows.
    ctrl = [lch(36, 55, 285), lch(52, 45, 235), lch(66, 50, 185), lch(77, 70, 135),
            lch(90, 85, 100), lch(74, 80, 65), lch(54, 75, 35)]
    # Gamut-mapped before the resampling, so that the equal steps are those
    # of the colours actually shown.
    return [lab_to_rgb(p) for p in equal_steps(lambda t: clip_lab(catmull_rom(ctrl, t)), RUN)]


def scale_diverging():
    # Blue to a near-white centre to red, both halves equally long in Delta E
    # so that the centre step (index 88) is the neutral colour.
    blue, mid, red = lch(38, 55, 270), (97, 0, 0), lch(40, 62, 35)
    half = (RUN + 1) // 2  # 56 steps each, sharing the centre
    a = equal_steps(lambda t: tuple(blue[k] + t * (mid[k] - blue[k]) for k in range(3)), half)
    b = equal_steps(lambda t: tuple(mid[k] + t * (red[k] - mid[k]) for k in range(3)), half)
    return [lab_to_rgb(p) for p in a + b[1:]]


def scale_greys():
    return [lab_to_rgb((12 + (98 - 12) * k / (RUN - 1), 0, 0)) for k in range(RUN)]


FIXED = [
    (0, 0, 0), (255, 255, 255), (255, 0, 0), (0, 160, 0), (0, 0, 255), (255, 255, 0),
    (255, 0, 255), (0, 255, 255), (255, 128, 0), (128, 0, 160), (140, 80, 30), (0, 90, 0),
    (0, 0, 128), (255, 150, 190), (128, 128, 0), (0, 128, 128),
] + [(v, v, v) for v in (int(round(255 * k / 17)) for k in range(1, 17))]

TAIL = [(v, v, v) for v in (int(round(255 * k / 31)) for k in range(32))]


def table(scale, under, over):
    t = FIXED + [under] + scale + [over] + TAIL
    assert len(t) == 177, len(t)
    return t


TABLES = {
    "kestrel": (scale_builtin, (178, 190, 204), (200, 20, 60),
                "the built-in scale: dark violet through blue and green to yellow"),
    "rainbow": (scale_rainbow, (60, 60, 60), (255, 160, 220),
                "a perceptual rainbow: blue, cyan, green, yellow, red"),
    "diverging": (scale_diverging, (20, 100, 60), (110, 60, 0),
                  "a diverging map: blue, white at the centre (index 88), red"),
    "greys": (scale_greys, (40, 70, 200), (220, 40, 30),
              "greys of equal lightness steps, dark to light"),
}


def fraction(v):
    # A fraction that the palette reader's trunc(f * 255) maps back to v.
    return 1.0 if v == 255 else (v + 0.5) / 255


def write_pal(path, name, t, note):
    with open(path, "w", newline="\n") as f:
        for i, (r, g, b) in enumerate(t):
            f.write("%3d %.5f %.5f %.5f\n" % (i, fraction(r), fraction(g), fraction(b)))
    return path


def write_inc(path, t):
    with open(path, "w", newline="\n") as f:
        f.write("// Generated by scripts/make_palettes.py: do not edit.\n")
        f.write("// The built-in palette, 177 entries of red, green, blue.\n")
        for i in range(0, len(t), 4):
            f.write("    " + " ".join("{%d, %d, %d}," % c for c in t[i:i + 4]) + "\n")


def main():
    root = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
    for name, (fn, under, over, note) in TABLES.items():
        t = table(fn(), under, over)
        write_pal(os.path.join(root, "data", "palettes", name + ".pal"), name, t, note)
        if name == "kestrel":
            write_inc(os.path.join(root, "plot", "palette_builtin.inc"), t)


if __name__ == "__main__":
    main()
