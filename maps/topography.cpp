// Topography lookups straight from the grid file: one seek and one
// two-byte read per query, nothing cached.
#include <cmath>
#include <cstring>

#include "base/guard.h"
#include "kestrel/topography.h"
#include "platform/platform.h"

namespace {

// The latitude of row 0 of the 5-minute grid, as the single-precision
// constant the host's grids were laid out with.
constexpr double kSouth5 = -89.91666412353516;

double wrapLongitude(double lon) {
    // 0 becomes 360 (column past the row's end, the next row's first value):
    // hosts rely on it.
    if (lon <= 0.0) lon += 360.0;
    if (lon > 360.0) lon -= 360.0;
    return lon;
}

int16_t readValue(KFILE file, int64_t index, int64_t base) {
    if (!file || index < 0) return 0;
    unsigned char b[2] = {0, 0};
    if (kestrel::plat::fileSeek(file, base + 2 * index, 0) < 0) return 0;
    if (kestrel::plat::fileRead(file, b, 2) != 2) return 0;
    return static_cast<int16_t>(static_cast<uint16_t>(b[0] | b[1] << 8));
}

// Truncation toward zero, kept within what an index can be.
int64_t trunc64(double v) {
    if (!(v == v)) return -1;
    if (v > 4.0e15) v = 4.0e15;
    if (v < -4.0e15) v = -4.0e15;
    return static_cast<int64_t>(v);
}

}  // namespace

extern "C" {

KESTREL_API KFILE KESTREL_CALL OpenEtopoFileEx(const char *fileName, EtopoHeader *header) {
    return kestrel::guarded<KFILE>("OpenEtopoFileEx", [&]() -> KFILE {
        if (!fileName || !header) return nullptr;
        KFILE f = kestrel::plat::fileOpenReadExclusive(fileName);
        if (!f) return nullptr;
        unsigned char raw[32];
        if (kestrel::plat::fileRead(f, raw, 32) != 32 || std::memcmp(raw, "ETOPO01", 8) != 0) {
            kestrel::plat::fileClose(f);
            return nullptr;
        }
        std::memcpy(header, raw, 32);  // the record is the header's bytes in file order
        return f;
    });
}

KESTREL_API int16_t KESTREL_CALL GetEtopoHeight(KFILE file, float lon, float lat) {
    return kestrel::guarded<int16_t>("GetEtopoHeight", [&]() -> int16_t {
        const double x = wrapLongitude(lon);
        double y = lat;
        if (y <= kSouth5) y = kSouth5;
        if (y >= 90.0) y = 90.0;
        const int64_t r = -trunc64(-12.0 * (y - kSouth5));
        const int64_t c = trunc64(12.0 * x);
        return readValue(file, 4320 * r + c, 0);
    });
}

KESTREL_API int16_t KESTREL_CALL GetEtopoHeightEx(KFILE file, EtopoHeader header, float lon, float lat) {
    return kestrel::guarded<int16_t>("GetEtopoHeightEx", [&]() -> int16_t {
        const double south = static_cast<double>(header.south90) - 90.0;
        const double x = wrapLongitude(lon);
        double y = lat;
        if (y <= south) y = south;
        if (y >= 90.0) y = 90.0;
        const int64_t r = trunc64((y - south) * header.rowsPerDegree);
        const int64_t c = trunc64(static_cast<double>(header.columnsPerDegree) * x);
        const int64_t rowLength = header.rowLength;
        // An offset past 2^50 bytes is in no file; a header claiming one reads nothing.
        constexpr int64_t kFar = int64_t{1} << 50;
        if (r < 0 || c < 0 || rowLength < 0 || c > kFar || (rowLength > 0 && r > kFar / rowLength)) return 0;
        return readValue(file, rowLength * r + c, 32);
    });
}

}  // extern "C"
