// Map drawing tests: a page of pixels as the library's picture (the canvas,
// or a memory DC on Windows), the built-in palette, the projection state
// saved and restored, and the layout of one map done as a host does it.
#ifndef KESTREL_TESTS_MAPS_MAP_FIXTURE_H
#define KESTREL_TESTS_MAPS_MAP_FIXTURE_H

#include <string>
#include <vector>

#include "common/picture.h"
#include "kestrel/kestrel.h"
#include "proj_fixture.h"

namespace kt {

// One map laid out in an area of the page: the outputs of AdjustMapLayout.
struct MapLayout {
    float lonMin, lonMax, latMin, latMax, cLon, cLat;
    float xMin, xMax, w, xOff, yMin, yMax, h, yOff;
    int changed;
};

// Writes coastline records (n, m, points) to path.
struct CstRecord {
    int32_t m;
    std::vector<float> lonlat;  // lon, lat pairs
};
void writeCst(const std::string &path, const std::vector<CstRecord> &records);

KFILE openFile(const std::string &path);
// Compares text with tests/golden/<name>; KESTREL_UPDATE_GOLDEN=1 rewrites it.
void expectGolden(const std::string &name, const std::string &text);
// Occurrences of needle in text.
int countOf(const std::string &text, const std::string &needle);
void closeFile(KFILE f);

}  // namespace kt

class MapTest : public kt::ProjFixture {
public:
    void SetUp() override;
    void TearDown() override;
    // Lays the map out in the area (areaX, areaY, areaW, areaH) [page units]
    // and sets the user system on the picture.
    kt::MapLayout layout(int code, float lonMin, float lonMax, float latMin, float latMax, float cLon, float cLat,
                         float areaX = 1, float areaY = 1, float areaW = 10, float areaH = 7.5f);
    std::string dir;  // this test's scratch folder
    KDC dc = nullptr;
    int width = 480, height = 380;
    float ppl = 40.0f;
};

#endif
