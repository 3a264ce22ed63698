// The steps of contour tracing on the list of crossed grid edges.
//
// Notation: node (i, j) is field[j*nx + i]; a kind-1 edge joins (i, j) and
// (i+1, j), a kind-2 edge joins (i, j) and (i, j+1). The segment list holds
// the crossed edges in scan order, which is the order of the edge number
//     e = 2*(j*nx + i) + kind - 1,
// and used records (kind 0) stay in place until CTpackgs removes them. Every
// search below relies on that order: records are unique per (column, row,
// kind) and sorted by (row, column), so a record can be found by bisection.
//
// ContourLine does not walk this list: it traces on a per-node table of the
// same edges (see tracer.cpp), which gives the same paths in the same order.
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "base/guard.h"
#include "frame/message.h"
#include "contour/internal.h"
#include "kestrel/contour.h"
#include "platform/platform.h"
#include "plot/transform.h"

using namespace kestrel;

namespace {

constexpr int32_t kBlockRecords = 10000;

inline float node(const float *f, int32_t nx, int32_t i, int32_t j) {
    return f[static_cast<size_t>(j) * static_cast<size_t>(nx) + static_cast<size_t>(i)];
}

inline int32_t cellColumn(int32_t cell) { return static_cast<int16_t>(static_cast<uint32_t>(cell) & 0xffffu); }
inline int32_t cellRow(int32_t cell) { return static_cast<int16_t>(static_cast<uint32_t>(cell) >> 16); }

// Crossing of an edge whose end values are a and b: the product of their
// distances from the level, in double, is negative. Equivalent to the two
// values lying strictly on opposite sides (the product of two nonzero float
// differences never underflows in double; NaN is never crossed).
inline bool crossed(float a, float b, float level) {
    return (static_cast<double>(a) - level) * (static_cast<double>(b) - level) < 0.0;
}

// Position of (row, column) in scan order, for bisection.
inline bool before(const GRIDSEGMENT &s, int32_t row, int32_t column) {
    return s.row < row || (s.row == row && s.column < column);
}

}  // namespace

void kestrel::segmentAllocationFailed() {
    kestrel::showMessage("Could not allocate GRIDSEGMENT memory!", "CTsetgs ...",
                     plat::MbOk | plat::MbIconExclamation | plat::MbTaskModal);
}

extern "C" {

KESTREL_API GRIDSEGMENT *KESTREL_CALL CTsetgs(float *field, float level, int32_t nx, int32_t ny, int32_t *count) {
    return kestrel::guarded<GRIDSEGMENT *>("CTsetgs", [&]() -> GRIDSEGMENT * {
        if (count) *count = 0;
        if (!field || !count || nx < 1 || ny < 1 || nx > kMaxGridLines || ny > kMaxGridLines) return nullptr;
        const size_t n = static_cast<size_t>(nx) * static_cast<size_t>(ny);
        for (size_t k = 0; k < n; ++k)
            if (field[k] == level) field[k] = nudgedValue(field[k]);

        size_t room = kBlockRecords;
        auto *seg = static_cast<GRIDSEGMENT *>(std::malloc(room * sizeof(GRIDSEGMENT)));
        if (!seg) {
            segmentAllocationFailed();
            return nullptr;
        }
        size_t used = 0;
        auto append = [&](int32_t i, int32_t j, uint8_t kind) -> bool {
            if (used == room) {
                auto *grown = static_cast<GRIDSEGMENT *>(std::realloc(seg, (room + kBlockRecords) * sizeof(GRIDSEGMENT)));
                if (!grown) return false;
                seg = grown;
                room += kBlockRecords;
            }
            seg[used].column = static_cast<int16_t>(i);
            seg[used].row = static_cast<int16_t>(j);
            seg[used].kind = kind;
            ++used;
            return true;
        };
        for (int32_t j = 0; j < ny; ++j) {
            for (int32_t i = 0; i < nx; ++i) {
                const float f = node(field, nx, i, j);
                bool ok = true;
                if (i < nx - 1 && crossed(node(field, nx, i + 1, j), f, level)) ok = append(i, j, 1);
                if (ok && j < ny - 1 && crossed(node(field, nx, i, j + 1), f, level)) ok = append(i, j, 2);
                if (!ok) {
                    std::free(seg);
                    segmentAllocationFailed();
                    return nullptr;
                }
            }
        }
        // The count is at most 2 * 32767 * 32767 < 2^31.
        *count = static_cast<int32_t>(used);
        return seg;
    });
}

KESTREL_API int32_t KESTREL_CALL CTstapth(const float *field, int32_t nx, int32_t ny, const GRIDSEGMENT *seg,
                                          int32_t count, int32_t notfound) {
    return kestrel::guarded<int32_t>("CTstapth", [&]() -> int32_t {
        if (!field || !seg || count < 1 || nx < 1 || ny < 1) return notfound;
        for (int32_t k = 0; k < count; ++k) {
            const GRIDSEGMENT &s = seg[k];
            const int32_t i = s.column, j = s.row;
            if (i < 0 || j < 0 || i >= nx || j >= ny) continue;
            if (s.kind == 1 && i + 1 < nx) {
                const float a = node(field, nx, i, j), b = node(field, nx, i + 1, j);
                if (j == 0 && a > b) return k;
                if (j == ny - 1 && a < b) return k;
            } else if (s.kind == 2 && j + 1 < ny) {
                const float a = node(field, nx, i, j), b = node(field, nx, i, j + 1);
                if (i == 0 && a < b) return k;
                if (i == nx - 1 && a > b) return k;
            }
        }
        for (int32_t k = 0; k < count; ++k)
            if (seg[k].kind != 0) return k;
        return notfound;
    });
}

KESTREL_API int32_t KESTREL_CALL CTfindi(int32_t column, int32_t row, int32_t kind, const GRIDSEGMENT *seg,
                                         int32_t count, int32_t low, int32_t high, int32_t notfound) {
    return kestrel::guarded<int32_t>("CTfindi", [&]() -> int32_t {
        if (!seg || count < 1) return notfound;
        if (column == notfound || row == notfound || kind == 0) return notfound;
        if (low < 0) low = 0;
        if (high > count - 1) high = count - 1;
        if (low > high) return notfound;
        // The list is sorted by (row, column): bisect to the first record not
        // before (row, column), then look at the (at most two) records of that
        // node. This finds exactly the first match of an upward scan.
        int32_t lo = low, hi = high + 1;
        while (lo < hi) {
            const int32_t mid = lo + (hi - lo) / 2;
            if (before(seg[mid], row, column))
                lo = mid + 1;
            else
                hi = mid;
        }
        for (int32_t k = lo; k <= high && seg[k].row == row && seg[k].column == column; ++k)
            if (seg[k].kind == kind) return k;
        return notfound;
    });
}

KESTREL_API int32_t KESTREL_CALL CTconpth(const float *field, int32_t nx, int32_t ny, const GRIDSEGMENT *seg,
                                          int32_t count, int32_t cell, int32_t kind, int32_t current,
                                          int32_t notfound) {
    return kestrel::guarded<int32_t>("CTconpth", [&]() -> int32_t {
        // Grids of the segment list's 16-bit columns and rows only; the index
        // windows are worked out in 64 bits, so a current index near INT32_MAX
        // cannot wrap (CTfindi clamps them to the list).
        if (!field || !seg || nx < 1 || ny < 1 || nx > 32767 || ny > 32767) return notfound;
        const int32_t i = cellColumn(cell), j = cellRow(cell);
        const int64_t k = current;
        if (i < 0 || j < 0 || i >= nx || j >= ny) return notfound;
        struct Try {
            int32_t column, row, kind;
            int64_t low, high;
        };
        Try tries[3];
        const int64_t w = 2 * static_cast<int64_t>(nx);
        if (kind == 1) {
            if (i + 1 >= nx) return notfound;
            if (node(field, nx, i, j) > node(field, nx, i + 1, j)) {  // the cell above
                tries[0] = {i, j, 2, k + 1, k + 1};
                tries[1] = {i, j + 1, 1, k + 1, k + 1 + w};
                tries[2] = {i + 1, j, 2, k + 1, k + 4};
            } else {  // the cell below
                tries[0] = {i + 1, j - 1, 2, k - 1 - w, k - 1};
                tries[1] = {i, j - 1, 1, k - 1 - w, k - 1};
                tries[2] = {i, j - 1, 2, k - 1 - w - 6, k - 1};
            }
        } else if (kind == 2) {
            if (j + 1 >= ny) return notfound;
            if (node(field, nx, i, j) > node(field, nx, i, j + 1)) {  // the cell to the left
                tries[0] = {i - 1, j, 1, k - 3, k - 1};
                tries[1] = {i - 1, j, 2, k - 2, k - 1};
                tries[2] = {i - 1, j + 1, 1, k + 1, k + 1 + w};
            } else {  // the cell to the right
                tries[0] = {i, j + 1, 1, k + 1, k + 1 + w};
                tries[1] = {i + 1, j, 2, k + 1, k + 2};
                tries[2] = {i, j, 1, k - 1, k - 1};
            }
        } else {
            return notfound;
        }
        auto index = [](int64_t v) {
            return static_cast<int32_t>(v < INT32_MIN ? INT32_MIN : v > INT32_MAX ? INT32_MAX : v);
        };
        for (const Try &t : tries) {
            const int32_t r = CTfindi(t.column, t.row, t.kind, seg, count, index(t.low), index(t.high), notfound);
            if (r != notfound) return r;
        }
        return notfound;
    });
}

KESTREL_API void KESTREL_CALL CTaddpoi(const float *field, float level, const float *xc, int32_t nx, const float *yc,
                                       int32_t ny, int32_t cell, int32_t kind) {
    return kestrel::guarded<void>("CTaddpoi", [&]() -> void {
        if (!field || !xc || !yc || nVp < 0 || nVp >= kMaxPathVertices) return;
        const int32_t i = cellColumn(cell), j = cellRow(cell);
        if (i < 0 || j < 0 || i >= nx || j >= ny) return;
        const double f0 = node(field, nx, i, j);
        double x, y;
        if (kind == 1 && i + 1 < nx) {
            const double f1 = node(field, nx, i + 1, j);
            x = xc[i] + (level - f0) / (f1 - f0) * (static_cast<double>(xc[i + 1]) - xc[i]);
            y = yc[j];
        } else if (kind == 2 && j + 1 < ny) {
            const double f1 = node(field, nx, i, j + 1);
            x = xc[i];
            y = yc[j] + (level - f0) / (f1 - f0) * (static_cast<double>(yc[j + 1]) - yc[j]);
        } else {
            return;
        }
        appendVertex(x, y);
    });
}

KESTREL_API int32_t KESTREL_CALL CTpackgs(GRIDSEGMENT *seg, int32_t count) {
    return kestrel::guarded<int32_t>("CTpackgs", [&]() -> int32_t {
        if (!seg || count < 1) return 0;
        int32_t out = 0;
        for (int32_t k = 0; k < count; ++k)
            if (seg[k].kind != 0) seg[out++] = seg[k];
        return out;
    });
}

}  // extern "C"
