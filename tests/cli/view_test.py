#!/usr/bin/env python3
"""kestrel view in a real window: a virtual X server, the mouse and keys
driven by xdotool, the window read back by screenshots.

Checks that the points picked with the mouse are the user coordinates of
the clicked pixels, that the zoom box and the colour range follow a drag,
that dragging the picture scrolls it, and that no tool leaves anything on
the window when it ends (the screenshot after a tool equals the one before).

Usage: view_test.py KESTREL DATA.tsv
"""
import os
import subprocess
import sys
import tempfile
import time

from PIL import Image, ImageChops

KESTREL, DATA = sys.argv[1], sys.argv[2]
failures = []


def check(ok, what):
    print(("ok   " if ok else "FAIL ") + what)
    if not ok:
        failures.append(what)


def xdo(*args):
    subprocess.run(["xdotool", *map(str, args)], check=True)


class View:
    def __init__(self, *extra):
        self.out = tempfile.TemporaryFile(mode="w+")
        self.proc = subprocess.Popen(
            [KESTREL, "view", DATA, "--x", "Latitude", "--y", "Depth", "--value", "Oxygen", "-q", *extra],
            stdout=self.out, stderr=subprocess.PIPE, text=True)
        self.read = 0
        self.attach()

    def attach(self):
        """Reads where the plot is and finds and focuses the (new) window."""
        line = self.wait_for("plot")
        f = line.split("\t")
        self.left, self.top, self.right, self.bottom = map(int, f[1:5])
        self.x0, self.x1, self.ylow, self.yhigh = map(float, f[5:9])  # user x at left/right, y at bottom/top
        self.z0, self.z1 = map(float, f[10:12])
        self.width, self.height = int(f[13]), int(f[14])
        self.win = subprocess.run(["xdotool", "search", "--sync", "--name", "kestrel view"], capture_output=True,
                                  text=True, check=True).stdout.split()[0]
        # Without a window manager the keyboard follows the pointer or an
        # explicit focus: give it both, once the window is on the screen.
        subprocess.run(["xdotool", "search", "--sync", "--onlyvisible", "--name", "kestrel view"],
                       capture_output=True, check=True)
        time.sleep(0.5)
        self.move(5, 5)
        xdo("windowfocus", "--sync", self.win)
        time.sleep(0.5)

    def wait_for(self, prefix, timeout=20):
        end = time.time() + timeout
        while time.time() < end:
            self.out.seek(0)
            lines = self.out.read().splitlines()
            for i in range(self.read, len(lines)):
                if lines[i].startswith(prefix):
                    self.read = i + 1
                    return lines[i]
            if self.proc.poll() is not None:
                break
            time.sleep(0.05)
        raise SystemExit(f"no '{prefix}' line from kestrel view; stderr: "
                         f"{self.proc.stderr.read() if self.proc.poll() is not None else ''}")

    def lines_until(self, prefix):
        start = self.read
        self.wait_for(prefix)
        self.out.seek(0)
        return self.out.read().splitlines()[start:self.read]

    def user_x(self, px):
        return self.x0 + (px + 0.5 - self.left) * (self.x1 - self.x0) / (self.right - self.left)

    def user_y(self, py):
        return self.ylow + (py + 0.5 - self.bottom) * (self.yhigh - self.ylow) / (self.top - self.bottom)

    def shot(self):
        time.sleep(0.3)  # let the window repaint
        with tempfile.NamedTemporaryFile(suffix=".png") as f:
            subprocess.run(["import", "-window", self.win, f.name], check=True)
            return Image.open(f.name).convert("RGB").crop((0, 0, self.width, self.height))

    def key(self, k):
        xdo("key", k)
        time.sleep(0.2)

    def move(self, x, y):
        xdo("mousemove", "--window", self.win, x, y)
        time.sleep(0.15)

    def click(self, x, y, button=1):
        self.move(x, y)
        xdo("click", button)
        time.sleep(0.15)

    def drag(self, frm, to, during=None):
        self.move(*frm)
        xdo("mousedown", 1)
        time.sleep(0.15)
        mx, my = frm
        for i in range(1, 5):  # in steps, as a hand moves
            self.move(mx + (to[0] - mx) * i // 4, my + (to[1] - my) * i // 4)
        result = during() if during else None
        xdo("mouseup", 1)
        time.sleep(0.15)
        return result

    def close(self):
        self.key("q")
        try:
            rc = self.proc.wait(10)
        except subprocess.TimeoutExpired:
            self.proc.kill()
            rc = None
        check(rc == 0, f"the window closes on q (exit status {rc})")


def same(a, b):
    return ImageChops.difference(a, b).getbbox() is None


def red_pixels(img):
    return sum(1 for p in img.getdata() if p == (255, 0, 0))


# ---- The whole picture in the window: points, zoom box, colour range ----
v = View("--window", "1000x700")
before = v.shot()

v.key("p")
v.click(200, 200)
v.click(400, 300)
v.click(402, 301, button=3)  # removes the point next to it
v.move(600, 250)
during = v.shot()
check(not same(before, during), "the rubber band shows while picking")
v.click(600, 250)
v.key("Return")
pts = [l.split("\t") for l in v.lines_until("points") if l.startswith("point\t")]
check(len(pts) == 2, f"two points after a right click removed one ({len(pts)})")
if len(pts) == 2:
    for (px, py), (_, ux, uy) in zip([(200, 200), (600, 250)], pts):
        dx = abs(float(ux) - v.user_x(px)) / abs((v.x1 - v.x0) / (v.right - v.left))
        dy = abs(float(uy) - v.user_y(py)) / abs((v.yhigh - v.ylow) / (v.top - v.bottom))
        check(dx < 1 and dy < 1, f"point at pixel ({px}, {py}) is ({ux}, {uy}), within a pixel of "
                                 f"({v.user_x(px):.4g}, {v.user_y(py):.4g})")
check(same(before, v.shot()), "nothing of the rubber band is left after Enter")

v.key("z")
box = v.drag((v.right, v.top), (v.right - 120, v.top + 100), during=v.shot)
check(red_pixels(box) > 200, f"the red zoom box shows while dragging ({red_pixels(box)} red pixels)")
v.key("Return")
z = v.wait_for("zoom").split("\t")
if len(z) == 5:
    x0, x1, y0, y1 = map(float, z[1:])
    check(abs(x0 - v.x0) < 1e-3 and abs(y0 - v.ylow) < 1e-2, "the lower-left corner stays")
    ex, ey = v.user_x(v.right - 120), v.user_y(v.top + 100)
    check(abs(x1 - ex) < 2 * abs(v.x1 - v.x0) / (v.right - v.left) and
          abs(y1 - ey) < 2 * abs(v.yhigh - v.ylow) / (v.bottom - v.top),
          f"the upper-right corner follows the drag: ({x1:.4g}, {y1:.4g}) for ({ex:.4g}, {ey:.4g})")
else:
    check(False, "zoom accepted: " + "\t".join(z))
check(same(before, v.shot()), "nothing of the zoom box is left after Enter")

v.key("c")
strip = v.right + 1 + int((v.right - v.left) * 0.03) // 2 + int((v.right - v.left) * 0.03)  # the strip's middle
v.drag((strip, v.top), (strip, v.top + 60))
v.key("Return")
c = v.wait_for("colour range").split("\t")
z0, z1 = float(c[1]), float(c[2])
expect = v.z1 - 60 * (v.z1 - v.z0) / (v.bottom - v.top)
check(abs(z0 - v.z0) < 1e-3 * abs(v.z1 - v.z0) and abs(z1 - expect) < 0.02 * abs(v.z1 - v.z0),
      f"the colour range's top follows the drag: {z0:.4g} .. {z1:.4g} (expected {v.z0:.4g} .. {expect:.4g})")
check(same(before, v.shot()), "nothing of the colour box is left after Enter")

# r: the section again, over the zoomed plot range and colour range.
v.key("r")
v.wait_for("redraw")
v.attach()
if len(z) == 5:
    check(abs(v.x0 - min(x0, x1)) < 1e-3 and abs(v.x1 - max(x0, x1)) < 1e-3,
          f"redrawn over the zoomed x range {min(x0, x1):.4g} .. {max(x0, x1):.4g}: {v.x0:.4g} .. {v.x1:.4g}")
    check(abs(min(v.ylow, v.yhigh) - min(y0, y1)) < 1e-2 and abs(max(v.ylow, v.yhigh) - max(y0, y1)) < 1e-2,
          f"and the zoomed y range {min(y0, y1):.4g} .. {max(y0, y1):.4g}: {v.ylow:.4g} .. {v.yhigh:.4g}")
check(abs(v.z0 - z0) < 1e-3 * abs(z1 - z0) and abs(v.z1 - z1) < 1e-3 * abs(z1 - z0),
      f"with the zoomed colours {z0:.4g} .. {z1:.4g}: {v.z0:.4g} .. {v.z1:.4g}")
v.close()

# ---- A window smaller than the picture: dragging scrolls -----------------------
v = View("--window", "500x400")
v.drag((300, 300), (200, 220))
m = v.wait_for("moved").split("\t")
check(int(m[1]) == 180 and (int(m[2]), int(m[3])) == (100, 80),
      f"dragging 100 left and 80 up scrolls to (100, 80): moved {m[1]}, scrolled to ({m[2]}, {m[3]})")
v.close()

print(f"{len(failures)} failure(s)")
sys.exit(1 if failures else 0)
