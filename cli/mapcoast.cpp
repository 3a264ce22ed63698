// Coastline files as the command draws them.
//
// The file is read and checked whole before anything is drawn, so that a
// file of some other kind is refused with a message instead of being drawn
// as noise. Each record then goes to the library's one-record pass
// (DrawWorldPass), which lets the command choose per record:
//   * the fill colour: records run with land on their left, so a closed
//     record of positive area is land and one of negative area is water
//     (a lake, or a pond on an island in a lake); filled in file order, each
//     lake lands on its land and each island on its lake;
//   * whether to draw it at all: a record whose whole outline is shoreline
//     is a complete polygon, and one smaller than the minimum area is left
//     out (the pieces of a split polygon are always drawn: their own area
//     says nothing about the polygon's);
//   * the seams: large polygons are stored as pieces cut along meridians and
//     parallels, and two fills that meet on a cut leave a hairline of the
//     background between them (pixel rounding on the screen, antialiasing in
//     PostScript viewers). The cut edges of each piece are painted over in
//     its own fill colour right after it is filled.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "base/bytes.h"
#include "cli/commands.h"
#include "cli/section.h"
#include "maps/map_internal.h"
#include "platform/platform.h"
#include "plot/pstext.h"

namespace {

constexpr int32_t kMaxRecordPoints = 1500;
constexpr double kEarthRadiusKm = 6371.0;
constexpr double kRadPerDeg = 3.14159265358979323846 / 180;

int32_t readInt32(const unsigned char *p) { return kestrel::readInt32LE(p); }

float readFloat(const unsigned char *p) { return kestrel::readFloatLE(p); }

// The screen's pen and brush of one fill colour: the fill itself goes
// without an outline (a polygon's outline would also trace the stretches of
// a cut that cross water), the cut edges with a solid pen.
class FillTools {
public:
    explicit FillTools(KDC dc) : dc_(dc) {
        if (!dc_) return;
        oldPen_ = kestrel::plat::selectObject(dc_, kestrel::plat::getStockObject(kestrel::plat::StockNullPen));
        oldBrush_ = kestrel::plat::selectObject(dc_, kestrel::plat::getStockObject(kestrel::plat::StockNullBrush));
    }
    ~FillTools() {
        if (!dc_) return;
        kestrel::plat::selectObject(dc_, oldPen_);
        kestrel::plat::selectObject(dc_, oldBrush_);
        release();
    }
    FillTools(const FillTools &) = delete;
    FillTools &operator=(const FillTools &) = delete;
    void colour(int32_t c, int px) {
        SetColor(c);
        if (!dc_) return;
        kestrel::plat::selectObject(dc_, kestrel::plat::getStockObject(kestrel::plat::StockNullPen));
        kestrel::plat::selectObject(dc_, kestrel::plat::getStockObject(kestrel::plat::StockNullBrush));
        release();
        pen_ = kestrel::plat::createPen(kestrel::plat::PenSolid, px, mCGS.color);
        brush_ = kestrel::plat::createSolidBrush(mCGS.color);
    }
    void forFill() {
        if (!dc_) return;
        kestrel::plat::selectObject(dc_, kestrel::plat::getStockObject(kestrel::plat::StockNullPen));
        kestrel::plat::selectObject(dc_, brush_);
    }
    void forSeams() {
        if (dc_) kestrel::plat::selectObject(dc_, pen_);
    }

private:
    void release() {
        if (pen_) kestrel::plat::deleteObject(pen_);
        if (brush_) kestrel::plat::deleteObject(brush_);
        pen_ = nullptr;
        brush_ = nullptr;
    }
    KDC dc_;
    kestrel::plat::GdiObj oldPen_ = nullptr, oldBrush_ = nullptr;
    KPEN pen_ = nullptr;
    KBRUSH brush_ = nullptr;
};

// A solid pen of width px and a solid brush of colour index c on the screen,
// the pair selected before deleted (none the first time).
void selectPenAndBrush(KDC dc, int32_t c, int px, bool *own) {
    if (!dc) return;
    SetColor(c);
    KPEN pen = kestrel::plat::createPen(kestrel::plat::PenSolid, px, mCGS.color);
    KBRUSH brush = kestrel::plat::createSolidBrush(mCGS.color);
    kestrel::plat::GdiObj oldPen = kestrel::plat::selectObject(dc, pen);
    kestrel::plat::GdiObj oldBrush = kestrel::plat::selectObject(dc, brush);
    if (*own) {
        kestrel::plat::deleteObject(oldPen);
        kestrel::plat::deleteObject(oldBrush);
    }
    *own = true;
}

void beginObject(KFILE ps, const std::string &path, const MapGeometry &g) {
    if (!ps) return;
    std::string line = "\n%%PS-OBJECT: CDT=" + kestrel::psCommentText(path.c_str()) + " begin\n\n";
    kestrel::plat::fileWriteText(ps, line.c_str());
    kestrel::writeTempUsrSys(ps, kestrel::MapUserSys{g.xMin, g.xMax, g.w, g.xOff, g.yMin, g.yMax, g.h, g.yOff});
}

void endObject(KFILE ps, const std::string &path, const MapGeometry &g) {
    if (!ps) return;
    kestrel::writeMapUsrSys(ps, kestrel::MapUserSys{g.xMin, g.xMax, g.w, g.xOff, g.yMin, g.yMax, g.h, g.yOff}, "");
    std::string line = "\n%%PS-OBJECT: CDT=" + kestrel::psCommentText(path.c_str()) + " end\n";
    kestrel::plat::fileWriteText(ps, line.c_str());
}

// The cut edges of a closed record worth painting over: its points from
// the end of the shoreline on run along meridians and parallels where the
// polygon was cut. Where a cut crossed water as well (a concave polygon cut
// by a straight line), the ring runs along that stretch of the line once
// each way and encloses nothing there; painting it would draw a line of
// land across the water. So the edges are gathered per line, and only the
// stretches that the ring runs along more often one way than the other,
// which have land on one side, are kept.
void findSeams(CoastFile *f, CoastRecord *r) {
    r->seamFirst = f->seamLines.size();
    if (!r->closed || r->m >= r->n) return;
    struct Piece {
        bool vertical;
        float value;
        double a, b;
        int dir;
    };
    std::vector<Piece> pieces;
    const float *q = f->points.data() + 2 * r->first;
    for (int32_t i = r->m >= 1 ? r->m - 1 : 0; i + 1 < r->n; ++i) {
        const float x0 = q[2 * i], y0 = q[2 * i + 1], x1 = q[2 * i + 2], y1 = q[2 * i + 3];
        if (x0 == x1 && y0 != y1) pieces.push_back(Piece{true, x0, std::min(y0, y1), std::max(y0, y1), y1 > y0 ? 1 : -1});
        else if (y0 == y1 && x0 != x1)
            pieces.push_back(Piece{false, y0, std::min(x0, x1), std::max(x0, x1), x1 > x0 ? 1 : -1});
    }
    std::sort(pieces.begin(), pieces.end(), [](const Piece &a, const Piece &b) {
        return a.vertical != b.vertical ? a.vertical : a.value < b.value;
    });
    for (size_t g0 = 0; g0 < pieces.size();) {
        size_t g1 = g0;
        while (g1 < pieces.size() && pieces[g1].vertical == pieces[g0].vertical && pieces[g1].value == pieces[g0].value)
            ++g1;
        std::vector<double> ends;
        for (size_t k = g0; k < g1; ++k) ends.push_back(pieces[k].a), ends.push_back(pieces[k].b);
        std::sort(ends.begin(), ends.end());
        ends.erase(std::unique(ends.begin(), ends.end()), ends.end());
        // Runs of elementary stretches with a net direction.
        double runStart = 0;
        bool inRun = false;
        auto emit = [&](double a, double b) {
            const int steps = std::max(1, static_cast<int>(std::ceil((b - a) / 1.0)));
            CoastLine line{f->seamPoints.size() / 2, steps + 1};
            for (int s = 0; s <= steps; ++s) {
                const float t = static_cast<float>(a + (b - a) * s / steps);
                f->seamPoints.push_back(pieces[g0].vertical ? pieces[g0].value : t);
                f->seamPoints.push_back(pieces[g0].vertical ? t : pieces[g0].value);
            }
            f->seamLines.push_back(line);
        };
        for (size_t e = 0; e + 1 < ends.size(); ++e) {
            int net = 0;
            for (size_t k = g0; k < g1; ++k)
                if (pieces[k].a <= ends[e] && pieces[k].b >= ends[e + 1]) net += pieces[k].dir;
            if (net != 0 && !inRun) runStart = ends[e], inRun = true;
            if (net == 0 && inRun) emit(runStart, ends[e]), inRun = false;
        }
        if (inRun) emit(runStart, ends.back());
        g0 = g1;
    }
    r->seamCount = f->seamLines.size() - r->seamFirst;
}

}  // namespace

double polygonAreaKm2(const float *lonLat, int32_t n) {
    // The ring integral of -sin(lat) dlon with the trapezoid rule: exact
    // enough for rings whose edges are short, which shorelines are.
    double sum = 0;
    for (int32_t i = 0; i + 1 < n; ++i) {
        const double l0 = lonLat[2 * i] * kRadPerDeg, l1 = lonLat[2 * i + 2] * kRadPerDeg;
        const double s0 = std::sin(lonLat[2 * i + 1] * kRadPerDeg),
                     s1 = std::sin(lonLat[2 * i + 3] * kRadPerDeg);
        sum += (l1 - l0) * (s0 + s1) * 0.5;
    }
    return -sum * kEarthRadiusKm * kEarthRadiusKm;
}

bool readCoastFile(const std::string &path, CoastFile *out, std::string *why) {
    std::string bytes;
    if (!readTextFile(path, &bytes)) {
        *why = "cannot be read";
        return false;
    }
    out->path = path;
    out->points.clear();
    out->records.clear();
    out->seamPoints.clear();
    out->seamLines.clear();
    const auto *p = reinterpret_cast<const unsigned char *>(bytes.data());
    const size_t size = bytes.size();
    size_t at = 0;
    char text[200];
    auto refuse = [&](const char *format, long long a, long long b) {
        std::snprintf(text, sizeof text, format, a, b);
        *why = std::string("is not a coastline file (") + text + ")";
        return false;
    };
    while (at < size) {
        const long long record = static_cast<long long>(out->records.size()) + 1;
        if (size - at < 8) return refuse("%lld bytes after record %lld", static_cast<long long>(size - at), record - 1);
        const int32_t n = readInt32(p + at), m = readInt32(p + at + 4);
        if (n < 0 || n > kMaxRecordPoints) return refuse("record %lld claims %lld points", record, n);
        if (m < 0 || m > n) return refuse("record %lld draws %lld points of fewer", record, m);
        at += 8;
        if (static_cast<size_t>(n) * 8 > size - at)
            return refuse("record %lld of %lld points runs past the end", record, n);
        CoastRecord r;
        r.first = out->points.size() / 2;
        r.n = n;
        r.m = m;
        for (int32_t i = 0; i < n; ++i, at += 8) {
            const float lon = readFloat(p + at), lat = readFloat(p + at + 4);
            if (!(std::fabs(lon) <= 360.0f) || !(std::fabs(lat) <= 90.0f))
                return refuse("record %lld, point %lld lies off the globe", record, i + 1);
            out->points.push_back(lon);
            out->points.push_back(lat);
        }
        if (n == 0) continue;
        const float *q = out->points.data() + 2 * r.first;
        r.closed = n >= 3 && q[0] == q[2 * n - 2] && q[1] == q[2 * n - 1];
        r.areaKm2 = r.closed ? polygonAreaKm2(q, n) : 0.0;
        findSeams(out, &r);
        out->records.push_back(r);
    }
    if (out->records.empty()) {
        *why = "holds no coastline records";
        return false;
    }
    return true;
}

bool coastRecordShown(const CoastRecord &r, const CoastDrawing &d) {
    if (!r.closed || r.m < r.n) return true;  // pieces and stretches of larger polygons
    const double a = std::fabs(r.areaKm2);
    if (a < d.minAreaKm2) return false;
    return r.areaKm2 > 0 || a >= d.minLakeAreaKm2;
}

void drawCoastFill(KDC dc, KFILE ps, const CoastFile &f, const MapGeometry &g, const CoastDrawing &d) {
    KPALETTE previous = dc ? ActivateMyPalette(dc) : nullptr;
    {
        FillTools tools(dc);
        int32_t current = -1;
        beginObject(ps, f.path, g);
        if (ps) kestrel::plat::fileWriteText(ps, "thin_line\n");
        for (const CoastRecord &r : f.records) {
            if (!r.closed || !coastRecordShown(r, d)) continue;
            const int32_t colour = r.areaKm2 < 0 && !d.allLand ? d.water : d.land;
            if (colour < 0) continue;
            if (colour != current) {
                tools.colour(colour, d.seamPixels);
                PSSetColor(ps, colour);
                current = colour;
            }
            const float *q = f.points.data() + 2 * r.first;
            for (int pass = 0; pass < (g.lonMin < 0 ? 2 : 1); ++pass) {
                const float shift = pass ? 360.0f : 0.0f;
                tools.forFill();
                DrawWorldPass(dc, ps, g.lonMin, g.lonMax, g.xMin, g.xMax, g.latMin, g.latMax, g.yMin, g.yMax, 1, 0,
                              shift, q, r.n, r.m);
                tools.forSeams();
                for (size_t k = r.seamFirst; k < r.seamFirst + r.seamCount; ++k) {
                    const CoastLine &l = f.seamLines[k];
                    DrawWorldPass(dc, ps, g.lonMin, g.lonMax, g.xMin, g.xMax, g.latMin, g.latMax, g.yMin, g.yMax, 0,
                                  1, shift, f.seamPoints.data() + 2 * l.first, l.n, l.n);
                }
            }
        }
        endObject(ps, f.path, g);
    }
    if (dc) RestorePalette(dc, previous, "drawCoastFill");
}

void drawCoastOutline(KDC dc, KFILE ps, const CoastFile &f, const MapGeometry &g, const CoastDrawing &d,
                      int32_t colour) {
    KPALETTE previous = dc ? ActivateMyPalette(dc) : nullptr;
    bool own = false;
    selectPenAndBrush(dc, colour, mCGS.penWidth, &own);
    SetColor(colour);
    PSSetColor(ps, colour);
    beginObject(ps, f.path, g);
    for (const CoastRecord &r : f.records) {
        if (r.m < 2 || !coastRecordShown(r, d)) continue;
        const float *q = f.points.data() + 2 * r.first;
        for (int pass = 0; pass < (g.lonMin < 0 ? 2 : 1); ++pass)
            DrawWorldPass(dc, ps, g.lonMin, g.lonMax, g.xMin, g.xMax, g.latMin, g.latMax, g.yMin, g.yMax, 0, 1,
                          pass ? 360.0f : 0.0f, q, r.n, r.m);
    }
    endObject(ps, f.path, g);
    if (dc) {
        RestorePen(dc, "drawCoastOutline");
        RestoreBrush(dc, "drawCoastOutline");
        RestorePalette(dc, previous, "drawCoastOutline");
    }
}
