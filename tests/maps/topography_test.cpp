// Topography lookups against the ETOPO5 grid's own bytes and the check
// values of its README (cell interiors, where truncation is unambiguous),
// the 20-minute headered grid (every node is a 5-minute node), the kept
// longitude-0 rule, and headers that are not ours.
#include <cmath>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <vector>

#include "common/testing.h"
#include "kestrel/canvas.h"
#include "kestrel/topography.h"
#include "platform/platform.h"

namespace {

// The grid opened as a host opens it: exclusively (CreateFile without
// sharing on Windows, KFileOpenRead elsewhere).
KFILE openGrid(const std::string &path) {
#ifdef _WIN32
    return kestrel::plat::fileOpenReadExclusive(path.c_str());
#else
    return KFileOpenRead(path.c_str());
#endif
}
void closeGrid(KFILE f) { kestrel::plat::fileClose(f); }

std::string grid5() { return kt::dataPath("topography/etopo5.bin"); }
std::string grid20() { return kt::dataPath("topography/etopo20.grd"); }

// The grids' bytes, read once before any exclusive open holds the files.
const std::vector<char> &bytesOf(const std::string &path) {
    static std::map<std::string, std::vector<char>> cache;
    auto it = cache.find(path);
    if (it == cache.end()) {
        std::ifstream in(path, std::ios::binary);
        it = cache.emplace(path, std::vector<char>(std::istreambuf_iterator<char>(in), {})).first;
    }
    return it->second;
}

int16_t valueAt(const std::string &path, int64_t offset) {
    const std::vector<char> &b = bytesOf(path);
    if (offset < 0 || static_cast<size_t>(offset) + 2 > b.size()) return 0;
    return static_cast<int16_t>(static_cast<unsigned char>(b[static_cast<size_t>(offset)]) |
                                static_cast<unsigned char>(b[static_cast<size_t>(offset) + 1]) << 8);
}

TEST(Topography, HeaderlessGridCellsAndTheirEdges) {
    KT_REQUIRE_FILE(grid5());
    bytesOf(grid5());
    KFILE f = openGrid(grid5());
    ASSERT_NE(f, nullptr);
    // Between nodes: the cell containing the point (README: -9905 at row 1215, column 1706).
    EXPECT_EQ(GetEtopoHeight(f, 142.2f, 11.35f), -9905);
    // The deepest and highest nodes, asked for inside their cells.
    EXPECT_EQ(GetEtopoHeight(f, 142.34f, 11.34f), -10376);
    EXPECT_EQ(GetEtopoHeight(f, 75.09f, 36.34f), 7833);
    EXPECT_EQ(GetEtopoHeight(f, -69.99f, -14.99f), 4038);  // the Altiplano, west longitudes wrap
    // Edges as documented: -180 is column 2160; 0 is column 4320, the first
    // value of the next row (kept as hosts expect it).
    const int64_t r0 = static_cast<int64_t>(12.0 * (0.5 + 89.91666412353516));
    EXPECT_EQ(GetEtopoHeight(f, -180.0f, 0.5f), valueAt(grid5(), 2 * (4320 * r0 + 2160)));
    EXPECT_EQ(GetEtopoHeight(f, 0.0f, 0.5f), valueAt(grid5(), 2 * (4320 * r0 + 4320)));
    EXPECT_EQ(GetEtopoHeight(f, 360.0f, 0.5f), GetEtopoHeight(f, 0.0f, 0.5f));
    // Latitude -90 reads row 0, 90 reads row 2158.
    EXPECT_EQ(GetEtopoHeight(f, 10.01f, -90.0f), valueAt(grid5(), 2 * 120));
    EXPECT_EQ(GetEtopoHeight(f, 10.01f, 90.0f), valueAt(grid5(), 2 * (4320 * 2158 + 120)));
    EXPECT_EQ(GetEtopoHeight(f, 10.01f, 95.0f), GetEtopoHeight(f, 10.01f, 90.0f));
    closeGrid(f);
    // Exclusive: a second open while the first is held fails, and works after.
    KFILE a = openGrid(grid5());
    ASSERT_NE(a, nullptr);
    EXPECT_EQ(openGrid(grid5()), nullptr);
    closeGrid(a);
    KFILE b = openGrid(grid5());
    EXPECT_NE(b, nullptr);
    closeGrid(b);
    EXPECT_EQ(openGrid("/no/such/grid.bin"), nullptr);
#ifndef _WIN32
    EXPECT_EQ(KFileOpenRead(nullptr), nullptr);
#endif
}

TEST(Topography, HeaderedGridAgreesWithTheFiveMinuteOne) {
    KT_REQUIRE_FILE(grid20());
    KT_REQUIRE_FILE(grid5());
    bytesOf(grid5());
    bytesOf(grid20());
    EtopoHeader h;
    KFILE f = OpenEtopoFileEx(grid20().c_str(), &h);
    ASSERT_NE(f, nullptr);
    EXPECT_EQ(h.rowLength, 1080);
    EXPECT_EQ(h.columnsPerDegree, 3.0f);
    KFILE g = openGrid(grid5());
    ASSERT_NE(g, nullptr);
    // Node (r, c) of the 20' grid is node (3 + 4r, 4c) of the 5' grid: ask
    // both a little inside the 20' cell, where the 5' cell is the node's.
    int checked = 0;
    for (int r = 10; r < 530; r += 37)
        for (int c = 5; c < 1080; c += 61) {
            const float lat = static_cast<float>(-89.666667 + r / 3.0 + 0.01), lon = static_cast<float>(c / 3.0 + 0.01);
            EXPECT_EQ(GetEtopoHeightEx(f, h, lon, lat), valueAt(grid20(), 32 + 2 * (1080 * r + c))) << r << " " << c;
            EXPECT_EQ(GetEtopoHeightEx(f, h, lon, lat), GetEtopoHeight(g, lon, lat)) << r << " " << c;
            ++checked;
        }
    EXPECT_GT(checked, 200);
    // The README's checks of the 20' grid at cell interiors.
    EXPECT_EQ(GetEtopoHeightEx(f, h, 142.34f, 11.34f), -10376);
    EXPECT_EQ(GetEtopoHeightEx(f, h, -29.99f, -29.99f), -3435);
    // A header describing the 5' grid addresses the same cells 32 bytes on.
    EtopoHeader five = h;
    five.columnsPerDegree = 12;
    five.rowsPerDegree = 12;
    five.rowLength = 4320;
    five.south90 = 0.083336f;
    const float lon = 200.5f, lat = -20.5f;
    const int64_t r = static_cast<int64_t>((lat - (0.083336f - 90.0)) * 12), c = static_cast<int64_t>(12 * lon);
    EXPECT_EQ(GetEtopoHeightEx(f, five, lon, lat), valueAt(grid20(), 32 + 2 * (4320 * r + c)));
    closeGrid(g);
    closeGrid(f);
}

TEST(Topography, HeadersThatAreNotOursOpenNothing) {
    const std::string dir = kt::scratchDir("topo_headers");
    const struct {
        const char *name;
        std::string bytes;
    } files[] = {
        {"v2.grd", std::string("ETOPO02\0", 8) + std::string(40, '\0')},
        {"noterm.grd", std::string("ETOPO01X", 8) + std::string(40, '\0')},
        {"short.grd", std::string("ETOPO01\0", 8) + std::string(10, '\0')},
        {"empty.grd", ""},
    };
    EtopoHeader h;
    for (const auto &f : files) {
        kt::writeFile(dir + "/" + f.name, f.bytes);
        EXPECT_EQ(OpenEtopoFileEx((dir + "/" + f.name).c_str(), &h), nullptr) << f.name;
        // Nothing was left open: an exclusive open succeeds.
        KFILE again = openGrid(dir + "/" + f.name);
        EXPECT_NE(again, nullptr) << f.name;
        closeGrid(again);
    }
    EXPECT_EQ(OpenEtopoFileEx((dir + "/none.grd").c_str(), &h), nullptr);
    EXPECT_EQ(OpenEtopoFileEx(nullptr, &h), nullptr);
    // A header claiming rows past the file's end reads nothing harmful.
    kt::writeFile(dir + "/tiny.grd", std::string("ETOPO01\0", 8) + std::string(24, '\0') + std::string(4, '\x01'));
    KFILE t = OpenEtopoFileEx((dir + "/tiny.grd").c_str(), &h);
    ASSERT_NE(t, nullptr);
    h.rowLength = 2000000000;
    h.rowsPerDegree = 1e30f;
    h.columnsPerDegree = std::nanf("");
    EXPECT_EQ(GetEtopoHeightEx(t, h, 10, 10), 0);
    EXPECT_EQ(GetEtopoHeight(t, std::nanf(""), 1e30f), 0);
    EXPECT_EQ(GetEtopoHeight(nullptr, 1, 1), 0);
    closeGrid(t);
}

}  // namespace
