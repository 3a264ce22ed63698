// The echo-sounding correction: the generated tables against the published
// numbers, and the look-up against public check values.
#include <cmath>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "common/testing.h"
#include "kestrel/seawater.h"
#include "ocean/carter.h"

namespace {

std::vector<int> readNumbers(const std::string &path) {
    std::ifstream in(path);
    std::vector<int> v;
    for (int x; in >> x;) v.push_back(x);
    return v;
}

}  // namespace

// The build converts GMT's carter.d; carter/ holds the same numbers converted
// independently. Equal tables prove the generator's layout and index base.
TEST(EchoSounding, GeneratedTablesEqualThePublishedNumbers) {
    const std::string areaPath = kt::dataPath("carter/area.txt");
    const std::string correctionPath = kt::dataPath("carter/correction.txt");
    KT_REQUIRE_FILE(areaPath);
    KT_REQUIRE_FILE(correctionPath);
    const std::vector<int> area = readNumbers(areaPath), correction = readNumbers(correctionPath);
    ASSERT_EQ(static_cast<size_t>(kestrel::kCarterAreaCount), area.size());
    ASSERT_EQ(static_cast<size_t>(kestrel::kCarterCorrectionCount), correction.size());
    for (size_t i = 0; i < area.size(); ++i) ASSERT_EQ(kestrel::kCarterArea[i], area[i]) << "area entry " << i;
    for (size_t i = 0; i < correction.size(); ++i)
        ASSERT_EQ(kestrel::kCarterCorrection[i], correction[i]) << "correction entry " << i;
}

// Pole, band edges, boundaries, negative fractions of .50/.5078/.5156,
// longitudes beyond +-180 and at 540, depths below 200 m, at and beyond the
// end of a table, the shortest table, invalid areas.
TEST(EchoSounding, PublishedCheckValues) {
    const std::string path = kt::dataPath("carter/checks.tsv");
    KT_REQUIRE_FILE(path);
    std::ifstream in(path);
    std::string line;
    std::getline(in, line);  // header
    int rows = 0;
    while (std::getline(in, line)) {
        if (line.empty()) continue;
        std::istringstream f(line);
        std::string fn, a1, a2, expected, note;
        std::getline(f, fn, '\t');
        std::getline(f, a1, '\t');
        std::getline(f, a2, '\t');
        std::getline(f, expected, '\t');
        std::getline(f, note, '\t');
        const float x = std::stof(a1), y = std::stof(a2);
        const double got = fn == "crtarea" ? crtarea(x, y) : crtdcorr(x, y);
        EXPECT_EQ(got, std::stod(expected)) << fn << "(" << a1 << ", " << a2 << "): got " << got << ", expected "
                                            << expected << ", difference " << got - std::stod(expected) << " ("
                                            << note << ")";
        ++rows;
    }
    EXPECT_GE(rows, 29);
}

// Every 1-degree cell centre lands in a real area, and the corrected depth
// stays close to the uncorrected one (sound speed within a few per cent of
// 1500 m/s) and grows with it.
TEST(EchoSounding, EveryCellHasAnAreaAndMonotoneCorrections) {
    for (int lat = -90; lat < 90; ++lat) {
        for (int lon = -180; lon < 180; ++lon) {
            const double a = crtarea(static_cast<float>(lat) + 0.25f, static_cast<float>(lon) + 0.25f);
            ASSERT_GE(a, 1.0) << lat << " " << lon;
            ASSERT_LE(a, 85.0) << lat << " " << lon;
        }
    }
    for (int a = 1; a <= 85; ++a) {
        double previous = 0.0;
        for (int d = 200; d <= 13000; d += 37) {
            const double c = crtdcorr(static_cast<float>(d), static_cast<float>(a));
            ASSERT_GE(c, previous) << "area " << a << " depth " << d;
            ASSERT_NEAR(c, d, 0.06 * d) << "area " << a << " depth " << d;
            previous = c;
        }
    }
}

TEST(EchoSounding, BadInputGivesTheMissingValue) {
    const float nan = std::nanf("");
    const float badAreas[][2] = {{nan, 0}, {0, nan}, {-90.5f, 0}, {0, -541}, {1e30f, 1e30f}};
    for (const auto &a : badAreas) EXPECT_EQ(crtarea(a[0], a[1]), -999.0) << a[0] << " " << a[1];
    // Area 0 has no table.
    const float badDepths[][2] = {{1000, nan}, {nan, 10}, {1e30f, 10}, {1000, 0}, {1000, 85.5f}};
    for (const auto &d : badDepths) EXPECT_EQ(crtdcorr(d[0], d[1]), -999.0) << d[0] << " " << d[1];
    EXPECT_EQ(crtdcorr(150.0f, 0.0f), 150.0);    // but shallow depths pass unchanged
    EXPECT_EQ(crtdcorr(-1e30f, 10.0f), -1e30f);
    // A fractional area is truncated; just under 86 is still area 85.
    EXPECT_EQ(crtdcorr(1000.0f, 23.7f), crtdcorr(1000.0f, 23.0f));
    EXPECT_GT(crtdcorr(1000.0f, 85.0f), 900.0);
    // Deep beyond any table: extrapolated in 64-bit arithmetic, no overflow.
    const double deep = crtdcorr(9e8f, 1.0f);
    EXPECT_GT(deep, 8e8);
    EXPECT_LT(deep, 1e9);
}
