// The gazetteer: the Natural Earth ocean features through the converter
// and the loader (counts, pools, filters), drawing on a map with the second
// pass across the prime meridian and the recorded screen points checked
// against the projection, and files that are short, wrong or hostile.
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <string>
#include <tuple>

#include "common/testing.h"
#include "map_fixture.h"

namespace {

using Gaz = MapTest;

std::string converted(const std::string &dir) {
    const std::string src = kt::dataPath("gazetteer/ocean_features.tsv");
    const std::string out = dir + "/ocean.gzt";
    const std::string cmd = "/usr/bin/python3 '" + kt::sourcePath("tools/make_gazetteer.py") + "' '" + src + "' '" +
                            out + "' > /dev/null";
    return std::system(cmd.c_str()) == 0 ? out : "";
}

Gazetteer fresh(const char *type = "<any>", const char *name = "") {
    Gazetteer g;
    std::memset(&g, 0, sizeof g);
    std::strcpy(g.typeFilter, type);
    std::strcpy(g.nameFilter, name);
    g.markSize = 1.0f;
    g.colour = 1;
    return g;
}

const char *nameOf(const Gazetteer &g, int f) { return g.namePool + g.nameOffset[f]; }

TEST_F(Gaz, OceanFeaturesLoadWithTheirPiecesAndFilters) {
    KT_REQUIRE_FILE(kt::dataPath("gazetteer/ocean_features.tsv"));
#ifdef _WIN32
    GTEST_SKIP() << "the converter is a Python program of the build machine";
#endif
    const std::string file = converted(dir);
    ASSERT_FALSE(file.empty());
    Gazetteer g = fresh();
    ASSERT_EQ(GazetteerLoad(file.c_str(), &g), 35);
    EXPECT_EQ(std::string(g.fileName), file);
    int selected = 0, pieces = 0, labels = 0;
    for (int f = 0; f < 35; ++f) {
        selected += g.selected[f];
        const int16_t *p = g.pieces + g.pieceEntry[f];
        pieces += p[0];
        for (int k = 1; k <= p[0]; ++k) labels += p[k] == 1;
    }
    EXPECT_EQ(selected, 35);
    EXPECT_EQ(pieces, 32 + 29 + 10);  // rings, label points, lines (the data's README)
    EXPECT_EQ(labels, 29);
    // The Black Sea's label point, as the source gives it.
    int black = -1;
    for (int f = 0; f < 35; ++f)
        if (std::string(nameOf(g, f)) == "Black Sea") black = f;
    ASSERT_GE(black, 0);
    EXPECT_EQ(std::string(g.typePool + g.typeOffset[black]), "sea");
    const int16_t *p = g.pieces + g.pieceEntry[black];
    int last = g.firstPoint[black];
    for (int k = 1; k < p[0]; ++k) last += p[k];
    EXPECT_EQ(p[p[0]], 1);
    EXPECT_FLOAT_EQ(g.lon[last], 34.158929f);
    EXPECT_FLOAT_EQ(g.lat[last], 43.251841f);
    GazetteerFree(&g);
    EXPECT_EQ(g.namePool, nullptr);
    EXPECT_EQ(g.nFeatures, 0);
    // Filters: types and names by substring, names in any case, the filter as given.
    for (const auto &[type, name, want] : {std::make_tuple("sea", "", 16), std::make_tuple("<any>", "ocean", 7),
                                           std::make_tuple("", "southern", 1), std::make_tuple("<any>", "SOUTHERN", 0),
                                           std::make_tuple("ocean", "pacific", 2)}) {
        Gazetteer h = fresh(type, name);
        ASSERT_EQ(GazetteerLoad(file.c_str(), &h), 35);
        int n = 0;
        for (int f = 0; f < 35; ++f) n += h.selected[f];
        EXPECT_EQ(n, want) << type << " / " << name;
        GazetteerFree(&h);
    }
}

TEST_F(Gaz, FeaturesEastOfTheMeridianShowWestOfIt) {
    const std::string file = dir + "/two.gzt";
    std::string text = "% GZT01: test\n";
    for (int k = 0; k < 8; ++k) text += "%\n";
    text += "Feature;Type;Pieces\n";
    text += "East;point;1;350;10\n";                          // drawn by the second pass on a -20..20 map
    text += "Line;line;3;-30;0;0;0;30;0\n";                   // crosses both edges of the domain
    text += "Nothing;point;many;1;1\n";                       // no pieces
    kt::writeFile(file, text);
    Gazetteer g = fresh();
    ASSERT_EQ(GazetteerLoad(file.c_str(), &g), 3);
    EXPECT_EQ(g.pieces[g.pieceEntry[2]], 0);
    const kt::MapLayout m = layout(0, -20, 20, -15, 15, 0, 0);
    g.colour = FindClosestColor(0, 0, 0);
    const int32_t marked = GazetteerMarkFeatures(dc, &g, m.lonMin, m.lonMax, m.latMin, m.latMax);
    ASSERT_EQ(marked, 2);  // the point at 350 (= -10) and the line's middle point
    EXPECT_EQ(g.nMarked, 2);
    EXPECT_EQ(g.markedFeature[0], 0);
    EXPECT_EQ(g.markedFeature[1], 1);
    // The recorded positions are the projected points in device pixels.
    float x = -10, y = 10;
    Project(&x, &y);
    EXPECT_NEAR(g.markedX[0], (x - VX.umin) * VX.pixPerUser + VX.lowPix, 1.0);
    EXPECT_NEAR(g.markedY[0], (y - VY.umin) * VY.pixPerUser + VY.lowPix, 1.0);
    // The line is drawn edge to edge: ink at both edges of the domain on the equator row.
    float xl = -19.5f, xr = 19.5f, ye = 0;
    Project(&xl, &ye);
    Project(&xr, &ye);
    const int row = static_cast<int>((ye - VY.umin) * VY.pixPerUser + VY.lowPix);
    auto inked = [&](float ux) {
        const int col = static_cast<int>((ux - VX.umin) * VX.pixPerUser + VX.lowPix);
        for (int d = -1; d <= 1; ++d)
            if (kt::picturePixel(dc, col, row + d) != 0xFFFFFFu) return true;
        return false;
    };
    EXPECT_EQ(kt::picturePixel(dc, g.markedX[1], g.markedY[1]), 0u);  // the point's square
    EXPECT_TRUE(inked(xl));
    EXPECT_TRUE(inked(xr));
    // Drawing one feature with the offset moves the ink, not the record.
    iHscrollPos = 5;
    EXPECT_EQ(GazetteerDrawFeature(dc, 0, &g, m.lonMin, m.lonMax, m.latMin, m.latMax, 1), 1);
    iHscrollPos = 0;
    EXPECT_EQ(GazetteerDrawFeature(dc, 99, &g, m.lonMin, m.lonMax, m.latMin, m.latMax, 0), 0);
    GazetteerFree(&g);
}

TEST_F(Gaz, ShortWrongAndHostileFilesLoadNothingOrWhatIsThere) {
    Gazetteer g = fresh();
    auto load = [&](const std::string &name, const std::string &text) {
        kt::writeFile(dir + "/" + name, text);
        return GazetteerLoad((dir + "/" + name).c_str(), &g);
    };
    std::string pre = "% GZT01\n";
    for (int k = 0; k < 8; ++k) pre += "x\n";
    pre += "Feature;Type\n";
    EXPECT_EQ(load("ten.gzt", pre), 0);  // ten lines: no feature
    EXPECT_EQ(g.namePool, nullptr);
    EXPECT_EQ(load("header.gzt", "% GZT02\n" + pre.substr(8) + "a;b;1;1;1\n"), 0);
    EXPECT_EQ(load("nofeature.gzt", "% GZT01\n" + std::string(11, '\n')), 0);
    // Counts beyond the line, negative, huge; a very long name; 5000 fields.
    std::string hostile = pre + "a;b;2147483647;1;2\n" + "c;d;-5;1;1\n" + std::string(300000, 'n') + ";t;1;1;1\n";
    std::string many = "m;t;2500";
    for (int k = 0; k < 5000; ++k) many += ";1";
    hostile += many + "\n";
    EXPECT_EQ(load("hostile.gzt", hostile), 4);
    EXPECT_EQ(g.pieces[g.pieceEntry[0]], 1);
    EXPECT_EQ(g.pieces[g.pieceEntry[0] + 1], 1);  // cut to the one pair present
    EXPECT_EQ(g.pieces[g.pieceEntry[1]], 0);
    EXPECT_EQ(std::strlen(nameOf(g, 2)), 300000u);
    EXPECT_LE(g.pieces[g.pieceEntry[3] + 1], 1549);  // at most the fields the line was split into
    const kt::MapLayout m = layout(0, -20, 20, -15, 15, 0, 0);
    GazetteerMarkFeatures(dc, &g, m.lonMin, m.lonMax, m.latMin, m.latMax);
    GazetteerFree(&g);
    EXPECT_EQ(GazetteerLoad("/no/such.gzt", &g), 0);
    EXPECT_EQ(GazetteerLoad(nullptr, &g), 0);
    EXPECT_EQ(GazetteerMarkFeatures(dc, nullptr, 0, 1, 0, 1), 0);
    // Pieces with nothing or NaN in them.
    const float lon[2] = {std::nanf(""), 1}, lat[2] = {1, std::nanf("")};
    EXPECT_EQ(GazetteerDrawFeaturePiece(dc, lon, lat, 2, GAZETTEER_MAX_POINTS - 1, 0, -20, 20, -15, 15, 0, 3), 0);
    EXPECT_EQ(GazetteerDrawFeaturePiece(dc, nullptr, lat, 2, 0, 0, -20, 20, -15, 15, 0, 3), 0);
    const float ok[1] = {1};
    EXPECT_EQ(GazetteerDrawFeaturePiece(dc, ok, ok, 1, INT32_MAX, 0, -20, 20, -15, 15, 0, 100000), 1);
}

}  // namespace
