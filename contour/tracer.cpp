// ContourLine: traces one contour level of a gridded field.
//
// The exported steps (segments.cpp) describe tracing on a list of crossed
// edges in scan order: pick a start, follow the path cell by cell, mark the
// records used, compact the list, pick the next start. This file traces the
// same paths in the same order without the list, on a table with one byte
// per node:
//   bit 0  the node's kind-1 edge (to (i+1, j)) is crossed and not yet used,
//   bit 1  the node's kind-2 edge (to (i, j+1)) is crossed and not yet used,
//   bits 2-3  the node's side of the level (1 above, 2 below, 0 neither).
// Why the results are identical:
//   - a continuation search of the list looks for one (column, row, kind) key
//     among the unused records in an index range that always contains that
//     key's record (the ranges follow from the scan order); keys are unique,
//     so the search succeeds exactly when the edge is crossed and unused,
//     which is what the table's bit says;
//   - the start is the first unused record in list order that passes a
//     boundary test, else the first unused record. Compaction keeps the order
//     and used records never come back, so both are found by pointers that
//     only move forward: one over the boundary candidates (collected in edge
//     number order, which is scan order), one over the table.
// The whole level thus costs one pass over the grid plus the length of its
// paths, where the list version costs a pass over the list per path.
#include <cstdint>
#include <memory>
#include <new>
#include <vector>

#include "base/guard.h"
#include "contour/internal.h"
#include "contour/labels.h"
#include "kestrel/contour.h"
#include "plot/transform.h"

using namespace kestrel;

namespace {

constexpr uint8_t kAlong = 1;    // kind-1 edge available
constexpr uint8_t kUp = 2;       // kind-2 edge available
constexpr uint8_t kAbove = 4;    // node value above the level
constexpr uint8_t kBelow = 8;    // node value below the level
constexpr uint8_t kSides = kAbove | kBelow;

// Edge number in scan order.
inline uint64_t edgeNumber(size_t nodeIndex, int kind) { return 2 * static_cast<uint64_t>(nodeIndex) + (kind - 1); }

class LevelTracer {
public:
    LevelTracer(float *field, const float *xc, int32_t nx, const float *yc, int32_t ny, float level)
        : f_(field), xc_(xc), yc_(yc), nx_(nx), ny_(ny), level_(level) {}

    // Builds the table; false when memory runs out.
    bool build();
    // Runs the tracing loop; out is called for every finished piece.
    template <class Out>
    void trace(Out &&out);

private:
    size_t at(int32_t i, int32_t j) const { return static_cast<size_t>(j) * static_cast<size_t>(nx_) + static_cast<size_t>(i); }
    uint8_t bitOf(int kind) const { return kind == 1 ? kAlong : kUp; }
    bool available(int32_t i, int32_t j, int kind) const {
        // Neighbours outside the grid are never available; bit 0 is never set
        // on the last column nor bit 1 on the last row.
        if (i < 0 || j < 0 || i >= nx_ || j >= ny_) return false;
        return (t_[at(i, j)] & bitOf(kind)) != 0;
    }
    void markUsed(int32_t i, int32_t j, int kind) { t_[at(i, j)] &= static_cast<uint8_t>(~bitOf(kind)); }
    void markFree(int32_t i, int32_t j, int kind) { t_[at(i, j)] |= bitOf(kind); }
    bool nextStart(int32_t &i, int32_t &j, int &kind);
    bool next(int32_t i, int32_t j, int kind, int32_t &ni, int32_t &nj, int &nkind) const;
    void addPoint(int32_t i, int32_t j, int kind);

    float *f_;
    const float *xc_, *yc_;
    int32_t nx_, ny_;
    float level_;
    std::unique_ptr<uint8_t[]> t_;
    std::vector<uint64_t> boundary_;  // boundary start candidates, in scan order
    size_t nextBoundary_ = 0;
    uint64_t nextAny_ = 0;            // no available edge has a smaller number
};

bool LevelTracer::build() {
    const size_t n = static_cast<size_t>(nx_) * static_cast<size_t>(ny_);
    t_.reset(new (std::nothrow) uint8_t[n]);
    if (!t_) return false;
    const float level = level_;
    const float nudged = nudgedValue(level);
    uint8_t *t = t_.get();
    // Sides, row by row, with the ties moved off the level first. Then the
    // edges of row j from the sides of rows j and j+1.
    auto sides = [&](int32_t j) {
        float *row = f_ + at(0, j);
        uint8_t *tr = t + at(0, j);
        for (int32_t i = 0; i < nx_; ++i) {
            float v = row[i];
            if (v == level) {
                v = nudged;
                row[i] = v;
            }
            tr[i] = static_cast<uint8_t>((v > level ? kAbove : 0) | (v < level ? kBelow : 0));
        }
    };
    sides(0);
    for (int32_t j = 0; j < ny_; ++j) {
        uint8_t *tr = t + at(0, j);
        if (j + 1 < ny_) {
            sides(j + 1);
            const uint8_t *up = t + at(0, j + 1);
            for (int32_t i = 0; i < nx_; ++i)
                tr[i] = static_cast<uint8_t>(tr[i] | (((tr[i] | up[i]) & kSides) == kSides ? kUp : 0));
        }
        for (int32_t i = 0; i + 1 < nx_; ++i)
            tr[i] = static_cast<uint8_t>(tr[i] | (((tr[i] | tr[i + 1]) & kSides) == kSides ? kAlong : 0));
    }
    // Boundary edges from which the contour runs into the grid, in scan order.
    auto v = [&](int32_t i, int32_t j) { return f_[at(i, j)]; };
    for (int32_t j = 0; j < ny_; ++j) {
        const bool edgeRow = (j == 0 || j == ny_ - 1);
        for (int32_t i = 0; i < nx_; ++i) {
            if (!edgeRow && i != 0 && i != nx_ - 1) {
                i = nx_ - 2;  // jump to the last column
                continue;
            }
            const uint8_t b = t[at(i, j)];
            if ((b & kAlong) && ((j == 0 && v(i, j) > v(i + 1, j)) || (j == ny_ - 1 && v(i, j) < v(i + 1, j))))
                boundary_.push_back(edgeNumber(at(i, j), 1));
            if ((b & kUp) && ((i == 0 && v(i, j) < v(i, j + 1)) || (i == nx_ - 1 && v(i, j) > v(i, j + 1))))
                boundary_.push_back(edgeNumber(at(i, j), 2));
        }
    }
    return true;
}

bool LevelTracer::nextStart(int32_t &i, int32_t &j, int &kind) {
    const uint8_t *t = t_.get();
    while (nextBoundary_ < boundary_.size()) {
        const uint64_t e = boundary_[nextBoundary_];
        const size_t nodeIndex = static_cast<size_t>(e >> 1);
        kind = static_cast<int>(e & 1) + 1;
        if (t[nodeIndex] & bitOf(kind)) {
            i = static_cast<int32_t>(nodeIndex % static_cast<size_t>(nx_));
            j = static_cast<int32_t>(nodeIndex / static_cast<size_t>(nx_));
            return true;
        }
        ++nextBoundary_;
    }
    const size_t n = static_cast<size_t>(nx_) * static_cast<size_t>(ny_);
    size_t nodeIndex = static_cast<size_t>(nextAny_ >> 1);
    if (nodeIndex < n && (nextAny_ & 1) && (t[nodeIndex] & kUp)) {
        kind = 2;
    } else {
        if (nextAny_ & 1) ++nodeIndex;
        // Skip nodes without available edges, eight at a time where possible.
        while (nodeIndex + 8 <= n) {
            uint64_t word = 0;
            for (int b = 0; b < 8; ++b) word |= static_cast<uint64_t>(t[nodeIndex + b]) << (8 * b);
            if (word & 0x0303030303030303ull) break;
            nodeIndex += 8;
        }
        while (nodeIndex < n && !(t[nodeIndex] & (kAlong | kUp))) ++nodeIndex;
        if (nodeIndex >= n) {
            nextAny_ = edgeNumber(n, 1);
            return false;
        }
        kind = (t[nodeIndex] & kAlong) ? 1 : 2;
    }
    nextAny_ = edgeNumber(nodeIndex, kind);
    i = static_cast<int32_t>(nodeIndex % static_cast<size_t>(nx_));
    j = static_cast<int32_t>(nodeIndex / static_cast<size_t>(nx_));
    return true;
}

// The continuation: the path keeps higher values on its left; in the cell it
// enters it tries left turn, straight on, right turn.
bool LevelTracer::next(int32_t i, int32_t j, int kind, int32_t &ni, int32_t &nj, int &nkind) const {
    struct Try {
        int32_t di, dj;
        int kind;
    };
    const Try *tries;
    static constexpr Try kAboveCell[3] = {{0, 0, 2}, {0, 1, 1}, {1, 0, 2}};
    static constexpr Try kBelowCell[3] = {{1, -1, 2}, {0, -1, 1}, {0, -1, 2}};
    static constexpr Try kLeftCell[3] = {{-1, 0, 1}, {-1, 0, 2}, {-1, 1, 1}};
    static constexpr Try kRightCell[3] = {{0, 1, 1}, {1, 0, 2}, {0, 0, 1}};
    const float a = f_[at(i, j)];
    if (kind == 1)
        tries = a > f_[at(i + 1, j)] ? kAboveCell : kBelowCell;
    else
        tries = a > f_[at(i, j + 1)] ? kLeftCell : kRightCell;
    for (int k = 0; k < 3; ++k) {
        const int32_t ci = i + tries[k].di, cj = j + tries[k].dj;
        if (available(ci, cj, tries[k].kind)) {
            ni = ci;
            nj = cj;
            nkind = tries[k].kind;
            return true;
        }
    }
    return false;
}

void LevelTracer::addPoint(int32_t i, int32_t j, int kind) {
    if (nVp < 0 || nVp >= kMaxPathVertices) return;
    const double f0 = f_[at(i, j)];
    double x, y;
    if (kind == 1) {
        const double f1 = f_[at(i + 1, j)];
        x = xc_[i] + (level_ - f0) / (f1 - f0) * (static_cast<double>(xc_[i + 1]) - xc_[i]);
        y = yc_[j];
    } else {
        const double f1 = f_[at(i, j + 1)];
        x = xc_[i];
        y = yc_[j] + (level_ - f0) / (f1 - f0) * (static_cast<double>(yc_[j + 1]) - yc_[j]);
    }
    appendVertex(x, y);
}

template <class Out>
void LevelTracer::trace(Out &&out) {
    int32_t si, sj;
    int skind;
    while (nextStart(si, sj, skind)) {
        nVp = 0;
        addPoint(si, sj, skind);
        markUsed(si, sj, skind);
        int32_t ci = si, cj = sj;
        int ckind = skind;
        int32_t ni, nj;
        int nkind;
        while (next(ci, cj, ckind, ni, nj, nkind)) {
            addPoint(ni, nj, nkind);
            markUsed(ni, nj, nkind);
            ci = ni;
            cj = nj;
            ckind = nkind;
            if (nVp > kPieceVertices) {
                out();
                Vfp[0][0] = Vfp[nVp - 1][0];
                Vfp[0][1] = Vfp[nVp - 1][1];
                Vip[0][0] = Vip[nVp - 1][0];
                Vip[0][1] = Vip[nVp - 1][1];
                nVp = 1;
            }
        }
        // With the start usable again, the only edge the path can reach is
        // the start itself: the path is a closed ring.
        markFree(si, sj, skind);
        if (next(ci, cj, ckind, ni, nj, nkind)) addPoint(ni, nj, nkind);
        markUsed(si, sj, skind);
        out();
    }
}

}  // namespace

bool kestrel::traceLevel(float *field, const float *xc, int32_t nx, const float *yc, int32_t ny, float level,
                         const std::function<void()> &piece) {
    LevelTracer tracer(field, xc, nx, yc, ny, level);
    try {
        if (!tracer.build()) return false;
    } catch (const std::bad_alloc &) {
        return false;
    }
    tracer.trace(piece);
    return true;
}

extern "C" KESTREL_API int32_t KESTREL_CALL ContourLine(KDC hdc, KFILE psfile, float *field, KContourLabel *labels,
                                                        int32_t *labelCount, const float *xc, int32_t nx,
                                                        const float *yc, int32_t ny, float level, int32_t colour,
                                                        int32_t style, int32_t width, int32_t labelFactor,
                                                        int32_t labelColour, int32_t labelSize, int32_t labelFill) {
    return kestrel::guarded<int32_t>("ContourLine", [&]() -> int32_t {
        if (!field || !xc || !yc || nx < 1 || ny < 1 || nx > kMaxGridLines || ny > kMaxGridLines) return 0;
        // Labels need somewhere to go.
        if (!labels || !labelCount) labelFactor = 0;
        const bool traced = traceLevel(field, xc, nx, yc, ny, level, [&] {
            CToutpth(hdc, psfile, labels, labelCount, level, colour, style, width, labelFactor, labelColour, labelSize,
                     labelFill);
            if (gPieceSink) gPieceSink();
        });
        if (!traced) segmentAllocationFailed();
        return 0;
    });
}
