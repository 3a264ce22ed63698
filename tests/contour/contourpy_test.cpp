// The geometry of tracing against contourpy (a peer implementation): for the
// same fields and levels, after the same move of nodes equal to a level, the
// edges found crossed and the points interpolated on them are contourpy's,
// and every vertex of a traced path is one of contourpy's line points.
// Reference data: tests/golden/contour/contourpy_reference.txt, made by
// tools/make_contourpy_reference.py.
#include <algorithm>
#include <cmath>
#include <fstream>
#include <map>
#include <sstream>
#include <tuple>

#include "contour/helpers.h"
#include "contour/internal.h"

namespace {

struct Crossing {
    int32_t i, j, kind;
    double x, y;
};

struct Case {
    std::string name;
    ct::Grid grid;
    std::vector<std::pair<float, std::vector<Crossing>>> levels;
};

std::vector<Case> readReference() {
    std::ifstream in(kt::sourcePath("tests/golden/contour/contourpy_reference.txt"));
    std::vector<Case> cases;
    std::string line;
    while (std::getline(in, line)) {
        if (line.empty() || line[0] == '#') continue;
        std::istringstream s(line);
        std::string tag;
        s >> tag;
        if (tag == "field") {
            Case c;
            int32_t nx, ny;
            s >> c.name >> nx >> ny;
            c.grid = ct::makeGrid(nx, ny);
            c.grid.z.clear();
            cases.push_back(c);
        } else if (tag == "x" || tag == "y" || tag == "z") {
            auto &g = cases.back().grid;
            std::vector<float> &dst = tag == "x" ? g.x : tag == "y" ? g.y : g.z;
            if (tag != "z") dst.clear();
            float v;
            while (s >> v) dst.push_back(v);
        } else if (tag == "level") {
            float level;
            size_t n;
            s >> level >> n;
            std::vector<Crossing> cs(n);
            for (auto &c : cs) in >> c.i >> c.j >> c.kind >> c.x >> c.y;
            cases.back().levels.emplace_back(level, cs);
        }
    }
    return cases;
}

bool near(double a, double b, double scale) { return std::fabs(a - b) <= 2e-6 * std::max(1.0, std::fabs(scale)); }

}  // namespace

TEST(ContourGeometry, CrossingsAndPointsEqualContourpy) {
    const auto cases = readReference();
    ASSERT_EQ(cases.size(), 3u);
    size_t checked = 0;
    for (const Case &c : cases) {
        ASSERT_EQ(c.grid.z.size(), static_cast<size_t>(c.grid.nx) * static_cast<size_t>(c.grid.ny)) << c.name;
        const double xs = c.grid.x.back() - c.grid.x.front(), ys = c.grid.y.back() - c.grid.y.front();
        for (const auto &[level, expected] : c.levels) {
            SCOPED_TRACE(c.name + " level " + std::to_string(level));
            ct::Grid g = c.grid;
            ct::setupAxes(g);
            int32_t n = 0;
            GRIDSEGMENT *s = CTsetgs(g.z.data(), level, g.nx, g.ny, &n);
            ASSERT_NE(s, nullptr);
            ASSERT_EQ(static_cast<size_t>(n), expected.size());
            for (int32_t k = 0; k < n; ++k) {
                const Crossing &e = expected[static_cast<size_t>(k)];
                ASSERT_EQ(std::make_tuple(int32_t{s[k].column}, int32_t{s[k].row}, int32_t{s[k].kind}),
                          std::make_tuple(e.i, e.j, e.kind));
                nVp = 0;
                CTaddpoi(g.z.data(), level, g.x.data(), g.nx, g.y.data(), g.ny, ct::ref::cellOf(s[k]), s[k].kind);
                ASSERT_EQ(nVp, 1);
                EXPECT_TRUE(near(Vfp[0][0], e.x, xs) && near(Vfp[0][1], e.y, ys))
                    << "edge " << e.i << "," << e.j << "," << e.kind << ": " << Vfp[0][0] << " " << Vfp[0][1]
                    << " vs " << e.x << " " << e.y;
                ++checked;
            }
            std::free(s);

            // The traced paths: every vertex is a contourpy point, and every
            // contourpy point is visited.
            g = c.grid;
            std::vector<std::pair<float, float>> vertices;
            ASSERT_TRUE(kestrel::traceLevel(g.z.data(), g.x.data(), g.nx, g.y.data(), g.ny, level, [&] {
                for (int32_t k = 0; k < nVp; ++k) vertices.emplace_back(Vfp[k][0], Vfp[k][1]);
            }));
            std::vector<std::pair<double, double>> ref;
            for (const Crossing &e : expected) ref.emplace_back(e.x, e.y);
            std::sort(ref.begin(), ref.end());
            // Each vertex is matched to the nearest point; crossings that lie
            // within the tolerance of another (ties moved just off a node
            // leave several) may be matched through their neighbour.
            const double tx = 2e-6 * std::max(1.0, xs);
            std::vector<char> seen(ref.size(), 0);
            for (const auto &[x, y] : vertices) {
                auto it = std::lower_bound(ref.begin(), ref.end(), std::make_pair(x - tx, -1e300));
                long best = -1;
                double bestD = 1e300;
                for (; it != ref.end() && it->first <= x + tx; ++it) {
                    const double d = std::hypot(x - it->first, (y - it->second) * std::max(1.0, xs) / std::max(1.0, ys));
                    if (near(y, it->second, ys) && d < bestD) {
                        bestD = d;
                        best = it - ref.begin();
                    }
                }
                EXPECT_GE(best, 0) << "vertex " << x << " " << y << " is on no contourpy line";
                if (best >= 0) seen[static_cast<size_t>(best)] = 1;
            }
            long crowded = 0;
            for (size_t k = 0; k + 1 < ref.size(); ++k)
                for (size_t m = k + 1; m < ref.size() && ref[m].first <= ref[k].first + tx; ++m)
                    if (near(ref[k].second, ref[m].second, ys)) ++crowded;
            EXPECT_GE(std::count(seen.begin(), seen.end(), 1) + crowded, static_cast<long>(ref.size()));
            if (c.name != "ties") {
                EXPECT_EQ(crowded, 0);
            }
        }
    }
    EXPECT_GT(checked, 10000u);
}
