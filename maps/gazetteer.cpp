// The gazetteer: loading named features through the host's filters,
// drawing them onto the current map and recording their screen points.
//
// Every array is sized from what the file holds, and grows (with a
// minimum step) when a feature would not fit, so no line, however long or
// however many pieces it claims, writes past an array. Counts that do not
// fit the piece table's 16 bits, or claim more pairs than the line has
// fields, are cut to what is there.
#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "base/guard.h"
#include "frame/status_text.h"
#include "kestrel/colour.h"
#include "kestrel/draw.h"
#include "kestrel/frame.h"
#include "kestrel/globals.h"
#include "kestrel/gazetteer.h"
#include "kestrel/projection.h"
#include "kestrel/util.h"
#include "platform/platform.h"
#include "plot/transform.h"

namespace kestrel {
namespace {

constexpr size_t kMaxLine = 400000;
constexpr int kMaxFields = 3100;

// The shared list of device positions the piece drawing fills.
uint16_t gPointX[GAZETTEER_MAX_POINTS], gPointY[GAZETTEER_MAX_POINTS];

template <class T> bool grow(T **array, size_t *capacity, size_t needed, size_t step) {
    if (needed <= *capacity) return true;
    const size_t want = std::max(needed, *capacity + step);
    T *p = static_cast<T *>(std::realloc(*array, want * sizeof(T)));
    if (!p) return false;
    *array = p;
    *capacity = want;
    return true;
}

// Both coordinate arrays, to one capacity.
bool growPoints(Gazetteer *gz, size_t *capacity, size_t needed) {
    if (needed <= *capacity) return true;
    const size_t want = std::max(needed, *capacity + 16384);
    float *lon = static_cast<float *>(std::realloc(gz->lon, want * sizeof(float)));
    if (!lon) return false;
    gz->lon = lon;
    float *lat = static_cast<float *>(std::realloc(gz->lat, want * sizeof(float)));
    if (!lat) return false;
    gz->lat = lat;
    *capacity = want;
    return true;
}

bool readsInt(const char *s, int *v) { return std::sscanf(s, "%d", v) == 1; }

float readFloat(const char *s) {
    float v = 0.0f;
    return std::sscanf(s, "%g", &v) == 1 ? v : 0.0f;
}

std::string lower(const char *s) {
    std::string out(s);
    for (char &c : out) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return out;
}

// Copies a filter field of the record, which the host may have filled to
// the last byte.
std::string field(const char *f, size_t size) {
    size_t n = 0;
    while (n < size && f[n]) ++n;
    return std::string(f, n);
}

uint16_t devicePosition(int32_t v) { return static_cast<uint16_t>(std::clamp(v, 0, 65535)); }

int32_t totalPoints(const Gazetteer &gz) {
    if (gz.nFeatures < 1 || !gz.pieces || !gz.pieceEntry || !gz.firstPoint) return 0;
    const int32_t last = gz.nFeatures - 1;
    const int16_t *p = gz.pieces + gz.pieceEntry[last];
    int32_t n = 0;
    for (int k = 1; k <= p[0]; ++k) n += p[k];
    return gz.firstPoint[last] + n;
}

struct PieceDrawer {
    KDC dc;
    int32_t markSize, offX, offY;
    std::vector<KPoint32> run;
    void point(float x, float y, int32_t *px, int32_t *py) const {
        Project(&x, &y);
        *px = xPixel(x);
        *py = yPixel(y);
    }
    void add(float x, float y) {
        int32_t px, py;
        point(x, y, &px, &py);
        run.push_back({px - offX, py - offY});
    }
    void flush() {
        if (dc && run.size() >= 2) plat::polyline(dc, run.data(), static_cast<int>(run.size()));
        run.clear();
    }
    void mark(int32_t px, int32_t py) const {
        if (!dc) return;
        const int32_t h = markSize / 2;
        for (int32_t k = 0; k < markSize; ++k) {
            plat::moveTo(dc, px - offX - h, py - offY - h + k);
            plat::lineTo(dc, px - offX - h + markSize, py - offY - h + k);
        }
    }
};

int32_t drawPiece(KDC dc, const float *lon, const float *lat, int32_t n, int32_t firstSlot, float shift, float lonMin,
                  float lonMax, float latMin, float latMax, int32_t offsetFlag, int32_t markSize) {
    if (!lon || !lat || n < 1) return 0;
    PieceDrawer d{dc, std::max(markSize, 1), offsetFlag ? iHscrollPos : 0, offsetFlag ? iVscrollPos : 0, {}};
    const double dl = static_cast<double>(lonMax) - lonMin, dp = static_cast<double>(latMax) - latMin;
    int32_t inside = 0;
    bool wasInside = false;
    float px = 0, py = 0;
    for (int32_t i = 0; i < n; ++i) {
        const float x = lon[i] - shift, y = lat[i];
        const double u = (x - lonMin) / dl, v = (y - latMin) / dp;
        const bool in = u >= 0 && u <= 1 && v >= 0 && v <= 1;
        if (in) {
            if (i > 0 && !wasInside) {
                float cx, cy;
                if (FindRectIntersect(px, py, x, y, lonMin, latMin, lonMax, latMax, &cx, &cy)) d.add(cx, cy);
            }
            d.add(x, y);
            int32_t dx, dy;
            d.point(x, y, &dx, &dy);
            d.mark(dx, dy);
            const int64_t slot = static_cast<int64_t>(firstSlot) + inside;
            if (slot >= 0 && slot < GAZETTEER_MAX_POINTS) {
                gPointX[slot] = devicePosition(dx);
                gPointY[slot] = devicePosition(dy);
            }
            ++inside;
        } else if (wasInside) {
            float cx, cy;
            if (FindRectIntersect(px, py, x, y, lonMin, latMin, lonMax, latMax, &cx, &cy)) d.add(cx, cy);
            d.flush();
        }
        wasInside = in;
        px = x;
        py = y;
    }
    d.flush();
    return inside;
}

int32_t drawFeature(KDC dc, int32_t f, const Gazetteer &gz, float lonMin, float lonMax, float latMin, float latMax,
                    int32_t offsetFlag, int32_t firstSlot) {
    if (f < 0 || f >= gz.nFeatures || !gz.pieces || !gz.lon || !gz.lat) return 0;
    const int16_t *p = gz.pieces + gz.pieceEntry[f];
    const int32_t mark = std::max(gz.markWidth, 1);
    int32_t drawn = 0;
    for (const float shift : {0.0f, 360.0f}) {
        if (shift != 0.0f && !(lonMin < 0)) break;
        int32_t at = gz.firstPoint[f];
        for (int k = 1; k <= p[0]; ++k) {
            drawn += drawPiece(dc, gz.lon + at, gz.lat + at, p[k], firstSlot + drawn, shift, lonMin, lonMax, latMin,
                               latMax, offsetFlag, mark);
            at += p[k];
        }
    }
    return drawn;
}

}  // namespace
}  // namespace kestrel

using namespace kestrel;

extern "C" {

KESTREL_API void KESTREL_CALL GazetteerFree(Gazetteer *gz) {
    return kestrel::guarded<void>("GazetteerFree", [&]() -> void {
        if (!gz) return;
        std::free(gz->namePool), gz->namePool = nullptr;
        std::free(gz->typePool), gz->typePool = nullptr;
        std::free(gz->markedFeature), gz->markedFeature = nullptr;
        std::free(gz->selected), gz->selected = nullptr;
        std::free(gz->markedX), gz->markedX = nullptr;
        std::free(gz->markedY), gz->markedY = nullptr;
        std::free(gz->pieces), gz->pieces = nullptr;
        std::free(gz->nameOffset), gz->nameOffset = nullptr;
        std::free(gz->typeOffset), gz->typeOffset = nullptr;
        std::free(gz->firstPoint), gz->firstPoint = nullptr;
        std::free(gz->pieceEntry), gz->pieceEntry = nullptr;
        std::free(gz->lon), gz->lon = nullptr;
        std::free(gz->lat), gz->lat = nullptr;
        gz->nFeatures = 0;
        gz->nMarked = 0;
    });
}

KESTREL_API int32_t KESTREL_CALL GazetteerLoad(const char *path, Gazetteer *gz) {
    return kestrel::guarded<int32_t>("GazetteerLoad", [&]() -> int32_t {
        if (!gz) return 0;
        const std::string typeFilter = field(gz->typeFilter, sizeof gz->typeFilter);
        const std::string nameFilter = field(gz->nameFilter, sizeof gz->nameFilter);
        const bool byType = !typeFilter.empty() && typeFilter != "<any>";
        const bool byName = !nameFilter.empty();
        StatusText status("Loading gazetteer ...");
        GazetteerFree(gz);
        if (!path) return 0;
        std::FILE *f = std::fopen(path, "rb");
        if (!f) return 0;
        // Lines in the file, as far as it reaches when opened.
        long lines = 0;
        for (int c; (c = std::getc(f)) != EOF;) lines += c == '\n';
        const long n = lines - 10;
        if (n < 1 || n > 100000000) {
            std::fclose(f);
            return 0;
        }
        std::rewind(f);
        const size_t cn = static_cast<size_t>(n);
        size_t nameCap = 11 * cn + 80, typeCap = 7 * cn + 40, pointCap = 4 * cn + 16, pieceCap = 3 * cn + 16;
        gz->nameOffset = static_cast<int32_t *>(std::malloc(cn * sizeof(int32_t)));
        gz->typeOffset = static_cast<int32_t *>(std::malloc(cn * sizeof(int32_t)));
        gz->firstPoint = static_cast<int32_t *>(std::malloc(cn * sizeof(int32_t)));
        gz->pieceEntry = static_cast<int32_t *>(std::malloc(cn * sizeof(int32_t)));
        gz->selected = static_cast<uint8_t *>(std::malloc(cn));
        gz->namePool = static_cast<char *>(std::malloc(nameCap));
        gz->typePool = static_cast<char *>(std::malloc(typeCap));
        gz->lon = static_cast<float *>(std::malloc(pointCap * sizeof(float)));
        gz->lat = static_cast<float *>(std::malloc(pointCap * sizeof(float)));
        gz->pieces = static_cast<int16_t *>(std::malloc(pieceCap * sizeof(int16_t)));
        char *line = static_cast<char *>(std::malloc(kMaxLine + 1));
        auto fail = [&] {
            std::free(line);
            std::fclose(f);
            GazetteerFree(gz);
            return 0;
        };
        if (!gz->nameOffset || !gz->typeOffset || !gz->firstPoint || !gz->pieceEntry || !gz->selected || !gz->namePool ||
            !gz->typePool || !gz->lon || !gz->lat || !gz->pieces || !line)
            return fail();
        // The header, then the preamble up to the column header.
        if (!std::fgets(line, static_cast<int>(kMaxLine + 1), f)) return fail();
        line[std::strcspn(line, ":\r\n")] = '\0';
        if (std::strcmp(line, "% GZT01") != 0) return fail();
        bool header = false;
        while (!header && std::fgets(line, static_cast<int>(kMaxLine + 1), f)) header = std::strstr(line, "Feature;");
        if (!header) return fail();
        size_t nameUsed = 0, typeUsed = 0, points = 0, pieceUsed = 0;
        int32_t count = 0;
        std::vector<char *> fields;
        fields.reserve(kMaxFields);
        while (count < n && std::fgets(line, static_cast<int>(kMaxLine + 1), f)) {
            // A line longer than the buffer: the rest is not a feature.
            if (!std::strchr(line, '\n') && !std::feof(f)) {
                for (int c; (c = std::getc(f)) != EOF && c != '\n';) {
                }
            }
            line[std::strcspn(line, "\r\n")] = '\0';
            fields.clear();
            for (char *p = line; fields.size() < kMaxFields;) {
                fields.push_back(p);
                char *semi = std::strchr(p, ';');
                if (!semi) break;
                *semi = '\0';
                p = semi + 1;
            }
            const char *name = fields[0];
            const char *type = fields.size() > 1 ? fields[1] : "";
            // Pieces: a count, then its pairs; the first field that is not a
            // count ends them.
            std::vector<int32_t> counts;
            size_t k = 2, featurePoints = 0;
            int c = 0;
            while (k < fields.size() && readsInt(fields[k], &c) && c >= 0 && counts.size() < 32766) {
                const size_t room = (fields.size() - k - 1) / 2;
                const size_t take = std::min<size_t>(static_cast<size_t>(c), room);
                counts.push_back(static_cast<int32_t>(take));
                featurePoints += take;
                if (take < static_cast<size_t>(c)) break;  // more pairs claimed than the line holds
                k += 1 + 2 * take;
            }
            const size_t nameLen = std::strlen(name) + 1, typeLen = std::strlen(type) + 1;
            if (!grow(&gz->namePool, &nameCap, nameUsed + nameLen, 4096) ||
                !grow(&gz->typePool, &typeCap, typeUsed + typeLen, 1024) ||
                !grow(&gz->pieces, &pieceCap, pieceUsed + counts.size() + 1, 1024) ||
                !growPoints(gz, &pointCap, points + featurePoints)) {
                return fail();
            }
            std::memcpy(gz->namePool + nameUsed, name, nameLen);
            std::memcpy(gz->typePool + typeUsed, type, typeLen);
            gz->nameOffset[count] = static_cast<int32_t>(nameUsed);
            gz->typeOffset[count] = static_cast<int32_t>(typeUsed);
            gz->firstPoint[count] = static_cast<int32_t>(points);
            gz->pieceEntry[count] = static_cast<int32_t>(pieceUsed);
            nameUsed += nameLen;
            typeUsed += typeLen;
            const std::string lname = lower(name), ltype = lower(type);
            gz->selected[count] = (!byName || lname.find(nameFilter) != std::string::npos) &&
                                  (!byType || ltype.find(typeFilter) != std::string::npos);
            gz->pieces[pieceUsed++] = static_cast<int16_t>(counts.size());
            size_t at = 2;
            for (int32_t pc : counts) {
                gz->pieces[pieceUsed++] = static_cast<int16_t>(std::min(pc, 32767));
                for (int32_t q = 0; q < pc; ++q) {
                    gz->lon[points] = readFloat(fields[at + 1 + 2 * static_cast<size_t>(q)]);
                    gz->lat[points] = readFloat(fields[at + 2 + 2 * static_cast<size_t>(q)]);
                    ++points;
                }
                at += 1 + 2 * static_cast<size_t>(pc);
            }
            ++count;
        }
        std::free(line);
        std::fclose(f);
        if (count == 0) {
            GazetteerFree(gz);
            return 0;
        }
        // The recorded screen points: each point at most twice (the second pass).
        const size_t marks = 2 * points + 1;
        gz->markedFeature = static_cast<int32_t *>(std::malloc(marks * sizeof(int32_t)));
        gz->markedX = static_cast<uint16_t *>(std::malloc(marks * sizeof(uint16_t)));
        gz->markedY = static_cast<uint16_t *>(std::malloc(marks * sizeof(uint16_t)));
        if (!gz->markedFeature || !gz->markedX || !gz->markedY) {
            GazetteerFree(gz);
            return 0;
        }
        gz->nFeatures = count;
        gz->nMarked = 0;
        std::snprintf(gz->fileName, sizeof gz->fileName, "%s", path);
        return count;
    });
}

KESTREL_API int32_t KESTREL_CALL GazetteerDrawFeaturePiece(KDC dc, const float *lon, const float *lat, int32_t n,
                                                           int32_t firstSlot, float shift, float lonMin, float lonMax,
                                                           float latMin, float latMax, int32_t offsetFlag,
                                                           int32_t markSize) {
    return kestrel::guarded<int32_t>("GazetteerDrawFeaturePiece", [&]() -> int32_t {
        return drawPiece(dc, lon, lat, n, firstSlot, shift, lonMin, lonMax, latMin, latMax, offsetFlag, markSize);
    });
}

KESTREL_API int32_t KESTREL_CALL GazetteerDrawFeature(KDC dc, int32_t feature, Gazetteer *gz, float lonMin,
                                                      float lonMax, float latMin, float latMax, int32_t offsetFlag) {
    return kestrel::guarded<int32_t>("GazetteerDrawFeature", [&]() -> int32_t {
        return gz ? drawFeature(dc, feature, *gz, lonMin, lonMax, latMin, latMax, offsetFlag, 0) : 0;
    });
}

KESTREL_API int32_t KESTREL_CALL GazetteerMarkFeatures(KDC dc, Gazetteer *gz, float lonMin, float lonMax, float latMin,
                                                       float latMax) {
    return kestrel::guarded<int32_t>("GazetteerMarkFeatures", [&]() -> int32_t {
        if (!gz) return 0;
        gz->nMarked = 0;
        if (gz->nFeatures < 1 || !gz->selected || !gz->markedX || !gz->markedY || !gz->markedFeature) return 0;
        KPALETTE previous = dc ? ActivateMyPalette(dc) : nullptr;
        StatusText status("Drawing gazetteer features ...");
        const double size = static_cast<double>(VX.pixPerLength) * gz->markSize * 0.1;
        const int32_t mark = size >= 1.0 && size < 1000.0 ? static_cast<int32_t>(size) : (size >= 1000.0 ? 1000 : 1);
        gz->markWidth = gz->markHeight = mark;
        SetColor(gz->colour);
        if (dc) plat::selectObject(dc, plat::createPen(plat::PenSolid, 1, mCGS.color));
        const int32_t capacity = 2 * totalPoints(*gz) + 1;
        int32_t marked = 0;
        for (int32_t f = 0; f < gz->nFeatures; ++f) {
            if (!gz->selected[f]) continue;
            const int32_t drawn = drawFeature(dc, f, *gz, lonMin, lonMax, latMin, latMax, 0, 0);
            for (int32_t k = 0; k < drawn && marked < capacity && k < GAZETTEER_MAX_POINTS; ++k, ++marked) {
                gz->markedX[marked] = gPointX[k];
                gz->markedY[marked] = gPointY[k];
                gz->markedFeature[marked] = f;
            }
        }
        if (dc) {
            RestorePen(dc, "GazetteerMarkFeatures");
            RestorePalette(dc, previous, "GazetteerMarkFeatures");
        }
        gz->nMarked = marked;
        return marked;
    });
}

}  // extern "C"
