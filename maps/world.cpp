// Coastline drawing.
//
// A coastline file is a plain sequence of records, little-endian, no header:
//   int32 n, int32 m, then n float32 (lon, lat) pairs [deg], n <= 1500.
// A record whose first and last points are identical is a closed polygon
// (land, or lake water) and may be filled; its first m points are real
// shoreline and form the drawn outline, the rest runs along artificial cut
// edges that are filled but never stroked. Files stored in 0..360 are drawn
// a second time shifted by -360 when the map reaches west of the prime
// meridian.
//
// Cost: visibility is decided on the raw coordinates before anything is
// projected, so records off the map cost only the scan; the file is read in
// large blocks and a record's PostScript is formatted into one buffer and
// written with one call, with no allocation per record.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <new>

#include "base/bytes.h"
#include "base/guard.h"
#include "kestrel/colour.h"
#include "kestrel/draw.h"
#include "kestrel/maps.h"
#include "kestrel/projection.h"
#include "kestrel/util.h"
#include "maps/map_internal.h"
#include "projection/projections.h"
#include "platform/platform.h"
#include "plot/psstream.h"
#include "plot/pstext.h"
#include "plot/transform.h"

using namespace kestrel;

namespace {

constexpr int32_t kMaxRecordPoints = 1500;

// Reads the file in blocks; records are taken from the block in place.
class RecordReader {
public:
    // Reads no more than the file's size at the start: a device or a file
    // that keeps growing (/dev/zero holds endless empty records) must end.
    explicit RecordReader(KFILE f) : f_(f), buf_(new (std::nothrow) unsigned char[kSize]) {
        const int64_t size = plat::fileSeek(f, 0, 2);
        left_ = size > 0 && plat::fileSeek(f, 0, 0) == 0 ? static_cast<uint64_t>(size) : 0;
    }
    ~RecordReader() { delete[] buf_; }
    RecordReader(const RecordReader &) = delete;
    RecordReader &operator=(const RecordReader &) = delete;
    bool ok() const { return buf_ != nullptr; }

    // Makes `bytes` (at most kSize) contiguous at the read position; false
    // at the end of the file.
    bool need(size_t bytes) {
        if (end_ - pos_ >= bytes) return true;
        std::memmove(buf_, buf_ + pos_, end_ - pos_);
        end_ -= pos_;
        pos_ = 0;
        while (end_ < bytes) {
            const size_t want = static_cast<size_t>(std::min<uint64_t>(kSize - end_, left_));
            if (want == 0) return false;
            const long k = plat::fileRead(f_, buf_ + end_, want);
            if (k <= 0) return false;
            end_ += static_cast<size_t>(k);
            left_ -= static_cast<uint64_t>(k);
        }
        return true;
    }
    const unsigned char *take(size_t bytes) {
        const unsigned char *p = buf_ + pos_;
        pos_ += bytes;
        return p;
    }
    // Skips bytes; false when the file ends first.
    bool skip(size_t bytes) {
        while (bytes > 0) {
            if (!need(1)) return false;
            const size_t k = bytes < end_ - pos_ ? bytes : end_ - pos_;
            pos_ += k;
            bytes -= k;
        }
        return true;
    }

private:
    static constexpr size_t kSize = 1 << 18;
    KFILE f_;
    unsigned char *buf_;
    size_t pos_ = 0, end_ = 0;
    uint64_t left_ = 0;  // bytes of the file not yet read
};

int32_t readInt32(const unsigned char *p) { return kestrel::readInt32LE(p); }

void readFloats(const unsigned char *p, float *out, int32_t count) {
    const uint32_t probe = 1;
    unsigned char first;
    std::memcpy(&first, &probe, 1);
    if (first == 1) {  // a little-endian machine reads the file as it is
        std::memcpy(out, p, static_cast<size_t>(count) * 4);
        return;
    }
    for (int32_t i = 0; i < count; ++i, p += 4) {
        const uint32_t v = static_cast<uint32_t>(p[0]) | static_cast<uint32_t>(p[1]) << 8 |
                           static_cast<uint32_t>(p[2]) << 16 | static_cast<uint32_t>(p[3]) << 24;
        std::memcpy(&out[i], &v, 4);
    }
}

// The text DrawPoly writes for a path ("\nnp\nX Y M\n", then "dX dY R\n"
// for every step that moves). The coordinates are whole numbers of the
// 0..5000 system, printed as "%g" prints them.
void putPath(PsStream &out, const float *x, const float *y, int32_t n) {
    out.put("\nnp\n").putG(x[0]).ch(' ').putG(y[0]).put(" M\n");
    for (int32_t i = 1; i < n; ++i) {
        const float dx = x[i] - x[i - 1], dy = y[i] - y[i - 1];
        if (dx == 0.0f && dy == 0.0f) continue;
        out.putG(dx).ch(' ').putG(dy).put(" R\n");
    }
}

// Work arrays of one pass; the library draws on one thread.
struct PassWork {
    float x[kMaxRecordPoints], y[kMaxRecordPoints];
};
PassWork gWork;

}  // namespace

extern "C" {

KESTREL_API void KESTREL_CALL DrawWorldPass(KDC dc, KFILE psFile, float lonMin, float lonMax, float uxMin,
                                            float uxMax, float latMin, float latMax, float uyMin, float uyMax,
                                            int32_t fill, int32_t outline, float shift, const float *points,
                                            int32_t n, int32_t m) {
    return kestrel::guarded<void>("DrawWorldPass", [&]() -> void {
        if (!points || n <= 0) return;
        if (n > kMaxRecordPoints) n = kMaxRecordPoints;
        if (m > n) m = n;
        const float *last = points + 2 * (n - 1);
        const bool fillable = fill && n >= 3 && points[0] == last[0] && points[1] == last[1];
        const float refLon = shift >= 0 ? (lonMin > 0 ? lonMin : 0.0f) : (lonMin < 0 ? lonMin : 0.0f);
        float *x = gWork.x, *y = gWork.y;
        bool visible = false;
        if (proj == 5) {
            const double c = gProj.centreLon;
            for (int32_t i = 0; i < n; ++i) {
                double lon = static_cast<double>(points[2 * i]) - shift;
                const float lat = points[2 * i + 1];
                const double h = visibleLonRange(gProj, lat);
                if (lat >= latMin && lat <= latMax && std::fabs(lon - c) < h) visible = true;
                // Only the eastern horizon is clamped here; points beyond the
                // western one are pushed onto the rim by the projection.
                if (h < 180.0 && lon > c + h) lon = c + h;
                x[i] = static_cast<float>(lon);
                y[i] = lat;
            }
        } else {
            for (int32_t i = 0; i < n; ++i) {
                const float lon = points[2 * i] - shift, lat = points[2 * i + 1];
                visible = visible || (lat >= latMin && lat <= latMax && lon >= lonMin && lon <= lonMax);
                x[i] = lon;
                y[i] = lat;
            }
        }
        if (!visible) {
            // Land all round a small map still fills it.
            if (!fillable || proj == 5 || !MyPtInPolygon(x, y, n, refLon, latMin)) return;
            for (int32_t i = 0; i < n; ++i) y[i] = points[2 * i + 1];  // undo the test's nudges
        }
        for (int32_t i = 0; i < n; ++i) Project(&x[i], &y[i]);
        if (dc) {
            if (fillable) DrawPoly(dc, nullptr, x, y, n, 0, 2);
            if (outline && m > 0) DrawPoly(dc, nullptr, x, y, m, 0, 1);
        }
        if (psFile) {
            const MapUserSys u{uxMin, uxMax, 0, 0, uyMin, uyMax, 0, 0};
            toMapPSUnits(u, x, y, n);
            PsStream out(psFile);
            if (fillable) {
                putPath(out, x, y, n);
                out.put("Fill\n");
            }
            if (outline && m > 0) {
                putPath(out, x, y, m);
                out.put("stroke\n");
            }
        }
    });
}

KESTREL_API int32_t KESTREL_CALL DrawWorld(KDC dc, KFILE psFile, const char *path, float lonMin, float lonMax,
                                           float latMin, float latMax, float uxMin, float uxMax, float pxMin,
                                           float pxMax, float uyMin, float uyMax, float pyMin, float pyMax,
                                           int32_t fill, int32_t outline) {
    return kestrel::guarded<int32_t>("DrawWorld", [&]() -> int32_t {
        if (!path) return 0;
        KFILE in = plat::fileOpenRead(path);
        if (!in) return 0;
        const OnExit closeInput([&] { plat::fileClose(in); });
        RecordReader reader(in);
        if (!reader.ok()) return 0;
        const MapUserSys u{uxMin, uxMax, pxMin, pxMax, uyMin, uyMax, pyMin, pyMax};
        KPALETTE previous = nullptr;
        if (dc) {
            previous = ActivateMyPalette(dc);
            plat::selectObject(dc, plat::createPen(plat::PenSolid, mCGS.penWidth, mCGS.color));
            plat::selectObject(dc, plat::createSolidBrush(mCGS.color));
        }
        const OnExit restoreDC([&] {
            if (!dc) return;
            RestorePen(dc, "DrawWorld");
            RestoreBrush(dc, "DrawWorld");
            RestorePalette(dc, previous, "DrawWorld");
        });
        long result = 1;
        if (psFile) {
            PsStream(psFile).printf("\n%%%%PS-OBJECT: CDT=%.1000s begin\n\n", psCommentText(path).c_str());
            writeTempUsrSys(psFile, u);
        }
        float pts[2 * kMaxRecordPoints];
        while (reader.need(8)) {
            const unsigned char *h = reader.take(8);
            const int32_t n = readInt32(h), m = readInt32(h + 4);
            if (n <= 0) continue;
            const int32_t keep = n > kMaxRecordPoints ? kMaxRecordPoints : n;
            if (!reader.need(static_cast<size_t>(keep) * 8)) break;
            readFloats(reader.take(static_cast<size_t>(keep) * 8), pts, 2 * keep);
            // Records beyond the format's limit keep their first points only.
            if (keep < n && !reader.skip(static_cast<size_t>(n - keep) * 8)) break;
            DrawWorldPass(dc, psFile, lonMin, lonMax, uxMin, uxMax, latMin, latMax, uyMin, uyMax, fill, outline, 0.0f,
                          pts, keep, m);
            if (lonMin < 0)
                DrawWorldPass(dc, psFile, lonMin, lonMax, uxMin, uxMax, latMin, latMax, uyMin, uyMax, fill, outline,
                              360.0f, pts, keep, m);
        }
        if (psFile) {
            writeMapUsrSys(psFile, u, "");
            PsStream out(psFile);
            out.printf("\n%%%%PS-OBJECT: CDT=%.1000s end\n", psCommentText(path).c_str());
            out.flush();
            result = out.lastWrite();
        }
        return static_cast<int32_t>(result);
    });
}

}  // extern "C"
