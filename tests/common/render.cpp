#include "render.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <sstream>

#include "common/testing.h"

namespace kt {

namespace {

bool isInk(uint32_t c) { return (c & 0xFFFFFF) != 0xFFFFFF; }

bool near(uint32_t p, uint32_t q, int tol) {
    for (int s = 0; s < 24; s += 8) {
        const int d = static_cast<int>((p >> s) & 0xFF) - static_cast<int>((q >> s) & 0xFF);
        if (d > tol || d < -tol) return false;
    }
    return true;
}

bool matched(const Image &other, int x, int y, uint32_t c, int radius, int tol) {
    for (int dy = -radius; dy <= radius; ++dy)
        for (int dx = -radius; dx <= radius; ++dx) {
            const int u = x + dx, v = y + dy;
            if (u < 0 || v < 0 || u >= other.w || v >= other.h) continue;
            if (near(other.at(u, v), c, tol)) return true;
        }
    return false;
}

std::string quote(const std::string &s) { return "\"" + s + "\""; }

}  // namespace

std::string ghostscript() {
#if defined(_WIN32)
    return "";
#else
    static const std::string found = [] {
        const char *env = std::getenv("KESTREL_GS");
        const std::string gs = (env && *env) ? env : "gs";
        const std::string probe = quote(gs) + " --version >/dev/null 2>&1";
        return std::system(probe.c_str()) == 0 ? gs : std::string();
    }();
    return found;
#endif
}

bool renderPostScript(const std::string &psPath, int w, int h, double dpi, const std::string &pngPath,
                      std::string *log) {
    const std::string gs = ghostscript();
    if (gs.empty()) {
        if (log) *log = "Ghostscript not found";
        return false;
    }
    const std::string logPath = pngPath + ".log";
    std::ostringstream cmd;
    cmd << quote(gs) << " -q -dSAFER -dBATCH -dNOPAUSE -sDEVICE=png16m -dTextAlphaBits=1 -dGraphicsAlphaBits=1"
        << " -r" << dpi << " -g" << w << "x" << h << " -sOutputFile=" << quote(pngPath) << " " << quote(psPath)
        << " >" << quote(logPath) << " 2>&1";
    const int rc = std::system(cmd.str().c_str());
    const std::string messages = readFile(logPath);
    if (log) *log = messages;
    // Ghostscript reports PostScript errors on its output even when it exits 0.
    return rc == 0 && fileExists(pngPath) && messages.find("Error") == std::string::npos;
}

ImageDiff compareImages(const Image &a, const Image &b, int radius, int tol) {
    ImageDiff d;
    auto count = [&](const Image &p, const Image &q, long &ink, long &miss) {
        for (int y = 0; y < p.h; ++y)
            for (int x = 0; x < p.w; ++x)
                if (isInk(p.at(x, y))) {
                    ++ink;
                    if (!matched(q, x, y, p.at(x, y), radius, tol)) ++miss;
                }
    };
    count(a, b, d.inkA, d.missA);
    count(b, a, d.inkB, d.missB);
    const long ink = d.inkA + d.inkB;
    d.share = ink ? static_cast<double>(d.missA + d.missB) / static_cast<double>(ink) : 0.0;
    return d;
}

ImageDiff compareWithPostScript(KDC dc, const std::string &dir, double dpi, int radius, int tol) {
    const Image screen = pictureImage(dc);
    std::string log;
    Image paper;
    EXPECT_TRUE(renderPostScript(dir + "/plot.ps", screen.w, screen.h, dpi, dir + "/ps.png", &log)) << log;
    EXPECT_TRUE(loadPNG(dir + "/ps.png", &paper));
    savePNG(dir + "/screen.png", screen);
    savePNG(dir + "/diff.png", diffImage(screen, paper, radius, tol));
    const ImageDiff d = compareImages(screen, paper, radius, tol);
    ::testing::Test::RecordProperty("share", std::to_string(d.share));
    return d;
}

Image diffImage(const Image &a, const Image &b, int radius, int tol) {
    Image out;
    out.w = std::max(a.w, b.w);
    out.h = std::max(a.h, b.h);
    out.px.assign(static_cast<size_t>(out.w) * static_cast<size_t>(out.h), 0xFFFFFF);
    for (int y = 0; y < out.h; ++y)
        for (int x = 0; x < out.w; ++x) {
            const bool ia = x < a.w && y < a.h && isInk(a.at(x, y));
            const bool ib = x < b.w && y < b.h && isInk(b.at(x, y));
            if (ia && !matched(b, x, y, a.at(x, y), radius, tol))
                out.at(x, y) = 0xFF0000;  // blue: only in a
            else if (ib && !matched(a, x, y, b.at(x, y), radius, tol))
                out.at(x, y) = 0x0000FF;  // red: only in b
            else if (ia || ib)
                out.at(x, y) = 0xC0C0C0;
        }
    return out;
}

}  // namespace kt
