// Whole fields: contour sets with labels, shading, erasing, and the choice of
// a round contour interval.
//
// Shading and erasing paint one rectangle per grid node, the node in its
// middle and its sides half-way to the neighbouring columns and rows (half
// cells at the edges). The boundaries live in the shared vertex buffers:
// x boundaries in the x slots of Vfp, y boundaries in the y slots, their
// pixels in Vip. With 1500 slots a field may have at most 1499 columns and
// 1499 rows; a larger one is not drawn.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "base/guard.h"
#include "frame/message.h"
#include "contour/colour_lookup.h"
#include "contour/internal.h"
#include "contour/labels.h"
#include "kestrel/colour.h"
#include "kestrel/contour.h"
#include "kestrel/draw.h"
#include "kestrel/frame.h"
#include "kestrel/postscript.h"
#include "kestrel/usrsys.h"
#include "platform/platform.h"
#include "plot/cover.h"
#include "plot/psstream.h"
#include "plot/transform.h"

using namespace kestrel;

namespace {

constexpr int32_t kMaxCells = 1499;

// Cell boundaries of one direction into the x (slot 0) or y (slot 1) of Vfp.
void boundaries(const float *c, int32_t n, int slot) {
    Vfp[0][slot] = c[0];
    for (int32_t k = 1; k < n; ++k) Vfp[k][slot] = static_cast<float>((c[k - 1] + c[k]) * 0.5);
    Vfp[n][slot] = c[n - 1];
}

void boundaryPixels(int32_t nx, int32_t ny) {
    for (int32_t k = 0; k <= nx; ++k) Vip[k][0] = xPixel(Vfp[k][0]);
    for (int32_t k = 0; k <= ny; ++k) Vip[k][1] = yPixel(Vfp[k][1]);
}

// The y boundaries as the PostScript array /yg.
void writeYBoundaries(PsStream &w, int32_t ny) {
    w.put("/yg [\n");
    for (int32_t k = 0; k < ny; ++k) {
        w.putG(Vfp[k][1]);
        w.put("\n");
    }
    w.putG(Vfp[ny][1]);
    w.put("\n] def\n\n");
}

void deleteBrush(KBRUSH brush, const char *error) {
    if (brush && !plat::deleteObject(brush)) LogLastError(error, 0);
}

bool cellsOk(const float *field, const float *xc, int32_t nx, const float *yc, int32_t ny) {
    return field && xc && yc && nx >= 1 && ny >= 1 && nx <= kMaxCells && ny <= kMaxCells;
}

// Paints cells: cell (i, j) is FillRect of (x(b_i), y(b_j+1)) to
// (x(b_i+1) + 1, y(b_j)) in the colour paint(i) gives (-1: not painted;
// painted(i) says the same without the colour), cells in row order. The
// picture is that of one fill per cell, made with far fewer fills:
//   - a cell whose pixels the next painted cell of its row covers completely
//     is left out (cells narrower than a pixel), and neighbours of one colour
//     are merged into one rectangle;
//   - when the boundary pixels run one way (the normal case), each rectangle
//     gives up its last column where the next one in the row starts (which
//     would paint over it), so no two rectangles overlap, and the rectangles
//     of one colour are then filled together in one call.
// Otherwise rectangles are filled one by one in order. A rectangle given
// reversed (y growing downwards in a section in depth, x to the left) covers
// the pixels between its edges, as GDI's fill of a reversed rectangle does.
class CellPainter {
public:
    CellPainter(KDC dc, int32_t nx, int32_t ny, const char *brushError)
        : dc_(dc), brushError_(brushError) {
        bool xUp = true, yUp = true, yDown = true;
        for (int32_t k = 0; k < nx; ++k) xUp = xUp && Vip[k + 1][0] >= Vip[k][0];
        for (int32_t k = 0; k < ny; ++k) {
            yUp = yUp && Vip[k + 1][1] >= Vip[k][1];
            yDown = yDown && Vip[k + 1][1] <= Vip[k][1];
        }
        batch_ = xUp && (yUp || yDown);
    }
    ~CellPainter() { finish(); }
    CellPainter(const CellPainter &) = delete;
    CellPainter &operator=(const CellPainter &) = delete;

    template <class Paint, class Painted>
    void row(int32_t j, int32_t nx, Paint &&paint, Painted &&painted) {
        top_ = Vip[j + 1][1];
        bottom_ = Vip[j][1];
        if (top_ > bottom_) std::swap(top_, bottom_);
        if (top_ == bottom_) return;  // a cell of no height paints nothing
        int32_t runColour = -1, runLeft = 0, runRight = 0;
        for (int32_t i = 0; i < nx; ++i) {
            int32_t left = Vip[i][0], right = Vip[i + 1][0] + 1;
            // Hidden under the next cell: [left, right) lies inside that
            // cell's [Vip[i+1], Vip[i+2] + 1).
            if (i + 1 < nx && left == Vip[i + 1][0] && Vip[i + 2][0] >= Vip[i + 1][0] && painted(i + 1)) continue;
            if (left > right) std::swap(left, right);
            const int32_t c = paint(i);
            if (c < 0) {
                emit(runColour, runLeft, runRight);
                runColour = -1;
                continue;
            }
            if (c == runColour && left >= runLeft && left <= runRight) {
                runRight = std::max(runRight, right);
                continue;
            }
            emit(runColour, runLeft, runRight);
            runColour = c;
            runLeft = left;
            runRight = right;
        }
        emit(runColour, runLeft, runRight);
        store(held_);
        held_.colour = -1;
    }

    // Fills what is batched and deletes the brushes.
    void finish() {
        store(held_);
        held_.colour = -1;
        for (int32_t c = 0; c < 256; ++c) {
            std::vector<plat::Rect> &v = byColour_[static_cast<size_t>(c)];
            if (v.empty()) continue;
            plat::fillRects(dc_, v.data(), static_cast<int>(v.size()), brush(c));
            v.clear();
        }
        stored_ = 0;
        if (brush_) deleteBrush(brush_, brushError_);
        brush_ = nullptr;
        brushColour_ = -1;
    }

private:
    struct Run {
        int32_t colour = -1, left = 0, right = 0, top = 0, bottom = 0;
    };
    KBRUSH brush(int32_t c) {
        if (c != brushColour_) {
            if (brush_) deleteBrush(brush_, brushError_);
            SetColor(c);
            brush_ = plat::createSolidBrush(mCGS.color);
            brushColour_ = c;
        }
        return brush_;
    }
    void emit(int32_t colour, int32_t left, int32_t right) {
        if (colour < 0) return;
        if (!batch_ || colour > 255) {
            const plat::Rect r{left, top_, right, bottom_};
            plat::fillRect(dc_, &r, brush(colour));
            return;
        }
        if (held_.colour >= 0 && held_.right > left) held_.right = left;  // painted over by this one
        store(held_);
        held_ = Run{colour, left, right, top_, bottom_};
    }
    void store(const Run &r) {
        if (r.colour < 0 || r.right <= r.left) return;
        byColour_[static_cast<size_t>(r.colour)].push_back(plat::Rect{r.left, r.top, r.right, r.bottom});
        if (++stored_ >= (1 << 20)) finish();  // disjoint: any time is right to fill them
    }

    KDC dc_;
    const char *brushError_;
    bool batch_ = false;
    int32_t top_ = 0, bottom_ = 0;
    Run held_;
    std::vector<plat::Rect> byColour_[256];
    size_t stored_ = 0;
    KBRUSH brush_ = nullptr;
    int32_t brushColour_ = -1;
};

}  // namespace

extern "C" {

KESTREL_API void KESTREL_CALL ShadeField(const float *field, int32_t /*unused1*/, int32_t /*unused2*/, const float *xc,
                                         int32_t nx, const float *yc, int32_t ny, float vmin, float vmax, float cm1,
                                         float cm2, KDC hdc, KFILE psfile) {
    return kestrel::guarded<void>("ShadeField", [&]() -> void {
        if (!cellsOk(field, xc, nx, yc, ny)) return;
        const int32_t every = std::max(ny / 10, 10) + 1;
        KWND bar = MyProgressBar(100, 1);
        CMapInitialize(cm1, cm2, vmin, vmax);
        auto value = [&](int32_t i, int32_t j) { return field[static_cast<size_t>(j) * static_cast<size_t>(nx) + static_cast<size_t>(i)]; };

        if (hdc) {
            KPALETTE previous = ActivateMyPalette(hdc);
            boundaries(xc, nx, 0);
            boundaries(yc, ny, 1);
            boundaryPixels(nx, ny);
            const ColourIndexLookup colourOf;
            {
                CellPainter painter(hdc, nx, ny, "ERROR:  Brush deletion in ShadeField failed!");
                for (int32_t j = 0; j < ny; ++j) {
                    painter.row(
                        j, nx, [&](int32_t i) { return colourOf(value(i, j)); }, [](int32_t) { return true; });
                    if (j % every == 0) plat::setProgressPos(bar, 100 * j / ny);
                }
            }
            // The current colour is the last cell's, as if every cell was set.
            SetColor(colourOf(value(nx - 1, ny - 1)));
            RestorePalette(hdc, previous, "ShadeField");
        }

        if (psfile) {
            boundaries(xc, nx, 0);
            boundaries(yc, ny, 1);
            const ColourIndexLookup colourOf;
            PsStream w(psfile);
            w.put("\n%%PS-OBJECT: ShadedField begin\n");
            writeYBoundaries(w, ny);
            for (int32_t i = 0; i < nx; ++i) {
                w.printf("/xll %f def /xur %f def 0\n", static_cast<double>(Vfp[i][0]), static_cast<double>(Vfp[i + 1][0]));
                for (int32_t j = 0; j < ny; ++j) {
                    w.putInt(colourOf(value(i, j)));
                    w.put(" G\n");
                }
                w.put("pop\n");
                if (i % every == 0) plat::setProgressPos(bar, 100 * i / nx);
            }
            w.put("%%PS-OBJECT: ShadedField end\n\n");
        }
        plat::destroyWindow(bar);
    });
}

KESTREL_API void KESTREL_CALL EraseField(const float *field, float threshold, const float *xc, int32_t nx,
                                         const float *yc, int32_t ny, int32_t colour, KDC hdc, KFILE psfile) {
    return kestrel::guarded<void>("EraseField", [&]() -> void {
        if (!field || !cellsOk(field, xc, nx, yc, ny)) return;
        auto value = [&](int32_t i, int32_t j) { return field[static_cast<size_t>(j) * static_cast<size_t>(nx) + static_cast<size_t>(i)]; };
        boundaries(xc, nx, 0);
        boundaries(yc, ny, 1);
        if (gCoverTrace && (hdc || psfile)) {  // runs of erased cells along each row
            for (int32_t j = 0; j < ny; ++j) {
                for (int32_t i = 0; i < nx; ++i) {
                    if (!(value(i, j) > threshold)) continue;
                    int32_t e = i;
                    while (e + 1 < nx && value(e + 1, j) > threshold) ++e;
                    gCoverTrace->rects.push_back({Vfp[i][0], Vfp[j][1], Vfp[e + 1][0], Vfp[j + 1][1]});
                    i = e;
                }
            }
        }
        if (hdc) {
            KPALETTE previous = ActivateMyPalette(hdc);
            boundaryPixels(nx, ny);
            {
                CellPainter painter(hdc, nx, ny, "ERROR:  Brush deletion in EraseField failed!");
                for (int32_t j = 0; j < ny; ++j)
                    painter.row(
                        j, nx, [&](int32_t i) { return value(i, j) > threshold ? colour : -1; },
                        [&](int32_t i) { return value(i, j) > threshold; });
            }
            SetColor(colour);
            RestorePalette(hdc, previous, "EraseField");
        }
        if (psfile) {
            PsStream w(psfile);
            w.put("\n%%PS-OBJECT: ErasedField begin\n\n");
            w.flush();
            PSSetColor(psfile, colour);
            w.put("\n");
            writeYBoundaries(w, ny);
            for (int32_t i = 0; i < nx; ++i) {
                w.printf("/xll %f def /xur %f def\n", static_cast<double>(Vfp[i][0]), static_cast<double>(Vfp[i + 1][0]));
                for (int32_t j = 0; j < ny; ++j) {
                    if (value(i, j) > threshold) {
                        w.putInt(j);
                        w.put(" E\n");
                    }
                }
            }
            w.put("%%PS-OBJECT: ErasedField end\n\n");
        }
    });
}

KESTREL_API int32_t KESTREL_CALL CTSelectLines(float v1, float v2, int32_t wanted, float reference, float *start,
                                               float *step, float *end) {
    return kestrel::guarded<int32_t>("CTSelectLines", [&]() -> int32_t {
        double s0 = 1.0, st = 1.0, e0 = 0.0;
        auto store = [&] {
            if (start) *start = static_cast<float>(s0);
            if (step) *step = static_cast<float>(st);
            if (end) *end = static_cast<float>(e0);
        };
        const double a = CMapCalZval(v1), b = CMapCalZval(v2);
        const double d = std::fabs(a - b);
        if (d == 0.0 || !std::isfinite(d)) {
            store();
            return 0;
        }
        const double p = std::pow(10.0, std::floor(std::log10(d) - 0.5));
        const double kd = d / p;
        const int64_t k = kd < 9e18 ? static_cast<int64_t>(kd) : INT64_MAX;
        if (k < 2)
            st = p * 0.5;
        else if (k <= int64_t{wanted} - 1)
            st = p;
        else if (k <= int64_t{wanted} + 2)
            st = 2 * p;
        else
            st = 5 * p;
        if (b > a) {
            s0 = std::floor(a / st) * st;
            e0 = std::ceil(b / st) * st;
        } else {
            s0 = std::ceil(a / st) * st;
            e0 = std::floor(b / st) * st;
        }
        if (b - a < 0) st = -st;
        const double md = (reference - s0) / st;
        int32_t m = 0;
        if (std::isfinite(md) && std::fabs(md) < 2e9) m = static_cast<int32_t>(md) + 1;
        if (m >= 1) s0 += m * st;
        store();
        return m;
    });
}

}  // extern "C"

extern "C" KESTREL_API void KESTREL_CALL ContourField(float *field, const float *xc, int32_t nx, const float *yc,
                                                      int32_t ny, const KContourLevel *levels, int32_t levelCount,
                                                      KDC hdc, KFILE psfile) {
    return kestrel::guarded<void>("ContourField", [&]() -> void {
        if (!levels || levelCount < 0) levelCount = 0;
        KWND bar = MyProgressBar(100, 1);
        labelRandomSeed(1);
        labelRandom();
        auto *labels = static_cast<KContourLabel *>(std::calloc(KESTREL_MAX_CONTOUR_LABELS, sizeof(KContourLabel)));
        if (!labels) {
            kestrel::showMessage("Could not allocate space for contour labels.", "ContourField ...",
                             plat::MbOk | plat::MbIconExclamation | plat::MbTaskModal);
            return;
        }
        int32_t count = 0;
        const int32_t entryColour = mCGS.colorState[0];
        // Held labels: the lines of the pass that would collect the labels
        // are recorded instead, for drawHeldContourLabels.
        const bool hold = takeLabelHold();
        if (hold) beginHeldLabels(levels, levelCount);
        if (psfile) PsStream(psfile).put("\n%%PS-OBJECT: ContourLines begin\n");
        auto index = [](int32_t v, int32_t n) { return v >= 0 && v < n ? v : 0; };
        for (int32_t k = 0; k < levelCount; ++k) {
            plat::setProgressPos(bar, static_cast<int>(int64_t{100} * k / levelCount));
            const KContourLevel &L = levels[k];
            if (hdc) {
                KPALETTE previous = ActivateMyPalette(hdc);
                SetColor(L.colour);
                float length = 0.0f;
                KPEN pen = plat::createPen(lStyle[index(L.style, 5)], PixelLineWidth(L.width, &length), mCGS.color);
                hOP = static_cast<KPEN>(plat::selectObject(hdc, pen));
                plat::setBkMode(hdc, plat::BkTransparent);
                if (hold) setHeldLevel(k);
                ContourLine(hdc, nullptr, field, labels, &count, xc, nx, yc, ny, L.level, L.colour, L.style, L.width,
                            hold ? 0 : L.labelFactor, L.labelColour, L.labelSize, L.labelFill);
                gPieceSink = nullptr;
                RestorePen(hdc, "ContourField");
                RestorePalette(hdc, previous, "ContourField");
            }
            if (psfile) {
                PSSetColor(psfile, L.colour);
                PsStream(psfile).printf("%s %s\n", szPSlWidth[index(L.width, 6)], szPSlStyle[index(L.style, 5)]);
                if (hold && !hdc) setHeldLevel(k);
                ContourLine(nullptr, psfile, field, labels, &count, xc, nx, yc, ny, L.level, L.colour, L.style, L.width,
                            hdc || hold ? 0 : L.labelFactor, L.labelColour, L.labelSize, L.labelFill);
                gPieceSink = nullptr;
            }
        }
        if (hdc) {
            CToutlbl(hdc, nullptr, labels, count);
            SetColor(entryColour);
            if (mCGS.frame) FrameVWP(hdc, 0);
        }
        if (psfile && hold) PsStream(psfile).put("%%PS-OBJECT: ContourLines end\n\n");
        if (psfile && !hold) {
            PsStream(psfile).put("%%PS-OBJECT: ContourLines end\n\n%%PS-OBJECT: ContourLabels begin\n");
            CToutlbl(nullptr, psfile, labels, count);
            PsStream(psfile).printf("\n0 setgray %s %s\n%%%%PS-OBJECT: ContourLabels end\n\n", szPSlStyle[0],
                                    szPSlWidth[0]);
        }
        std::free(labels);
        plat::destroyWindow(bar);
    });
}
