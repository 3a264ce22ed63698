// Scale lengths that follow the sampling, checked against the bottles
// themselves: on the GO-SHIP P18 temperature section the gridded 14 °C
// isotherm must lie where each cast's own bottles put it, which a scale
// length of 3 % of the 6000 m depth axis (180 m at the surface) does not.
#include <algorithm>
#include <cmath>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "common/testing.h"
#include "grid/field.h"
#include "kestrel/globals.h"

namespace {

struct Bottles {
    std::vector<float> lat, depth, temp;
};

Bottles readP18(const std::string &path) {
    Bottles b;
    std::ifstream in(path);
    std::string line;
    std::getline(in, line);
    std::vector<std::string> names;
    {
        std::istringstream h(line);
        std::string f;
        while (std::getline(h, f, '\t')) names.push_back(f.substr(0, f.find(" [")));
    }
    const auto col = [&](const char *n) {
        return static_cast<size_t>(std::find(names.begin(), names.end(), n) - names.begin());
    };
    const size_t clat = col("Latitude"), cdep = col("Depth"), ctem = col("Temperature");
    while (std::getline(in, line)) {
        std::vector<std::string> f;
        std::istringstream r(line);
        std::string cell;
        while (std::getline(r, cell, '\t')) f.push_back(cell);
        if (f.size() <= std::max({clat, cdep, ctem}) || f[clat].empty() || f[cdep].empty() || f[ctem].empty()) continue;
        b.lat.push_back(std::stof(f[clat]));
        b.depth.push_back(std::stof(f[cdep]));
        b.temp.push_back(std::stof(f[ctem]));
    }
    return b;
}

// The shallowest depth where a profile (depth rising) first falls through
// `level`, linearly between its two values; NaN when it does not.
float crossing(const std::vector<std::pair<float, float>> &profile, float level) {
    for (size_t k = 1; k < profile.size(); ++k)
        if ((profile[k - 1].second - level) * (profile[k].second - level) <= 0 && profile[k - 1].second != profile[k].second)
            return profile[k - 1].first + (level - profile[k - 1].second) / (profile[k].second - profile[k - 1].second) *
                                               (profile[k].first - profile[k - 1].first);
    return std::nanf("");
}

// Median distance, over the casts that cross 14 °C, between the bottles'
// isotherm and the gridded one in the grid column nearest the cast.
float isothermMiss(const Bottles &b, float percentX, float percentY) {
    const int32_t n = static_cast<int32_t>(b.lat.size());
    const float x0 = *std::min_element(b.lat.begin(), b.lat.end()), x1 = *std::max_element(b.lat.begin(), b.lat.end());
    const float y1 = *std::max_element(b.depth.begin(), b.depth.end());
    // The command's grid: 120 x 84 nodes over a 17 x 12 cm plot at 40 pixels per cm.
    const float pixPerLength = VX.pixPerLength;
    VX.pixPerLength = 40.0f;
    OASet set;
    OAInitializeSet(&set);
    EXPECT_TRUE(OAAllocSet(&set, 17.0f, 12.0f, 120, n));
    VX.pixPerLength = pixPerLength;
    EXPECT_EQ(set.nx, 120);
    EXPECT_EQ(set.ny, 84);
    kestrel::setPoints(set, b.lat.data(), b.depth.data(), b.temp.data(), nullptr, n);
    kestrel::placeGrid(set, x0, x1, 0.0f, y1, percentX, percentY);
    double sum = 0;
    for (float t : b.temp) sum += t;
    kestrel::NodeEstimates e;
    kestrel::estimateNodes(set, 1.0f, static_cast<float>(sum / n), nullptr, &e);
    const kestrel::Casts casts = kestrel::findCasts(b.lat.data(), b.depth.data(), n, x0, x1);
    std::vector<float> misses;
    for (float cast : casts.x) {
        std::vector<std::pair<float, float>> bottles, grid;
        for (int32_t i = 0; i < n; ++i)
            if (std::fabs(b.lat[static_cast<size_t>(i)] - cast) < 1e-3f)
                bottles.emplace_back(b.depth[static_cast<size_t>(i)], b.temp[static_cast<size_t>(i)]);
        std::sort(bottles.begin(), bottles.end());
        int32_t col = 0;
        for (int32_t i = 1; i < set.nx; ++i)
            if (std::fabs(set.xg[i] - cast) < std::fabs(set.xg[col] - cast)) col = i;
        for (int32_t j = 0; j < set.ny; ++j)
            grid.emplace_back(set.yg[j], e.estimate[static_cast<size_t>(j) * static_cast<size_t>(set.nx) +
                                                    static_cast<size_t>(col)]);
        std::sort(grid.begin(), grid.end());
        const float want = crossing(bottles, 14.0f), got = crossing(grid, 14.0f);
        if (std::isfinite(want) && std::isfinite(got)) misses.push_back(std::fabs(want - got));
    }
    OAFreeSet(&set);
    EXPECT_GT(misses.size(), 100u);
    std::nth_element(misses.begin(), misses.begin() + static_cast<std::ptrdiff_t>(misses.size() / 2), misses.end());
    return misses.empty() ? 1e9f : misses[misses.size() / 2];
}

TEST(Sampling, ScaleLengthsFromTheCastsPutTheIsothermWhereTheBottlesDo) {
    const std::string path = kt::dataPath("samples/go-ship_p18_2016.tsv");
    if (!kt::fileExists(path)) GTEST_SKIP() << "no " << path;
    const Bottles b = readP18(path);
    ASSERT_GT(b.lat.size(), 4000u);
    const float x0 = *std::min_element(b.lat.begin(), b.lat.end()), x1 = *std::max_element(b.lat.begin(), b.lat.end());
    const float y1 = *std::max_element(b.depth.begin(), b.depth.end());
    const kestrel::Casts casts = kestrel::findCasts(b.lat.data(), b.depth.data(), static_cast<int32_t>(b.lat.size()), x0, x1);
    ASSERT_TRUE(casts.isCasts());
    float qx = 0, qy = 0;
    kestrel::samplingPercents(casts, x0, x1, 0.0f, y1, &qx, &qy);
    // Casts about half a degree apart over 93 degrees, bottles tens of
    // metres apart near the surface over 6000 m.
    EXPECT_GT(qx, 0.4f);
    EXPECT_LT(qx, 1.5f);
    EXPECT_GT(qy, 0.3f);
    EXPECT_LT(qy, 2.0f);
    const float fixed = isothermMiss(b, 3.0f, 3.0f), following = isothermMiss(b, qx, qy);
    EXPECT_LT(following, 15.0f) << "metres, median over the casts";
    std::printf("14 degC isotherm, median miss: %.1f m following the casts, %.1f m at 3 %%\n", following, fixed);
    EXPECT_LT(following, 0.5f * fixed) << "3 % of the axes: " << fixed << " m";
}

TEST(Sampling, CastsAndTheirFloor) {
    // Three casts, the middle one shallow; a scattered table is no casts.
    const float x[] = {0, 0, 0, 1, 1, 1, 3, 3, 3, 3}, y[] = {0, 10, 100, 0, 10, 20, 0, 10, 50, 400};
    const kestrel::Casts c = kestrel::findCasts(x, y, 10, 0, 3);
    ASSERT_EQ(c.x.size(), 3u);
    EXPECT_TRUE(c.isCasts());
    EXPECT_FLOAT_EQ(c.floorAt(-1), 100);
    EXPECT_FLOAT_EQ(c.floorAt(0.5f), 60);
    EXPECT_FLOAT_EQ(c.floorAt(2), 210);
    EXPECT_FLOAT_EQ(c.floorAt(9), 400);
    const float sx[] = {0, 1, 2, 3, 4, 5}, sy[] = {5, 1, 4, 2, 3, 0};
    const kestrel::Casts scattered = kestrel::findCasts(sx, sy, 6, 0, 5);
    EXPECT_FALSE(scattered.isCasts());
    float qx = 0, qy = 0;
    kestrel::samplingPercents(scattered, 0, 5, 0, 5, &qx, &qy);
    EXPECT_EQ(qx, 3.0f);
    EXPECT_EQ(qy, 3.0f);
    EXPECT_FALSE(kestrel::findCasts(nullptr, nullptr, 5, 0, 1).isCasts());
}

}  // namespace
