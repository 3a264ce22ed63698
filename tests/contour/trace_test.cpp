// Contour tracing: the tracing steps, whole levels, pieces, path lists and
// labels.
#include <cmath>
#include <cstdio>
#include <cstring>
#include <random>
#include <tuple>

#include "contour/helpers.h"
#include "contour/internal.h"

using ct::Grid;

namespace {

float gfield(int32_t i, int32_t j, double seedPhase) {
    // Sums of waves and bumps: saddles, rings and open contours.
    const double x = i * 0.37, y = j * 0.29;
    return static_cast<float>(std::sin(x + seedPhase) * std::cos(y) + 0.6 * std::exp(-((x - 4) * (x - 4) + (y - 3) * (y - 3)) / 3) +
                              0.05 * x);
}

// ContourLine (or, with reference, the step-by-step tracer of helpers.h) to
// a path list in the given format, with labels.
std::string traceText(Grid g, float level, int format, std::vector<KContourLabel> *labels = nullptr,
                      int32_t factor = 0, bool reference = false) {
    CToutpthFormat = format;
    int32_t n = 0;
    std::vector<KContourLabel> lab(KESTREL_MAX_CONTOUR_LABELS);
    kestrel::labelRandomSeed(1);
    const std::string text = kt::capture(reference ? "reference" : "trace", [&](KFILE f) {
        if (reference)
            ct::ref::contourLine(nullptr, f, g, lab.data(), &n, level, factor, 12);
        else
            ContourLine(nullptr, f, g.z.data(), lab.data(), &n, g.x.data(), g.nx, g.y.data(), g.ny, level, 1, 0, 0,
                        factor, 3, 12, 0);
    });
    if (labels) labels->assign(lab.begin(), lab.begin() + n);
    CToutpthFormat = 0;
    return text;
}

}  // namespace

// The tracer must give the same paths, in the same order, cut into the same
// pieces, with the same labels, as the exported steps of the segment list run
// one by one.
TEST(ContourTrace, SameAsSegmentListSteps) {
    std::mt19937 rng(7);
    std::uniform_real_distribution<float> u(0.0f, 1.0f);
    std::uniform_int_distribution<int> q(0, 3);
    int cases = 0;
    for (int shape = 0; shape < 12; ++shape) {
        const int32_t nx = 2 + shape * 7 % 41, ny = 2 + shape * 11 % 37;
        Grid g = ct::makeGrid(nx, ny);
        ct::setupAxes(g);
        for (int kind = 0; kind < 3; ++kind) {
            for (int32_t j = 0; j < ny; ++j)
                for (int32_t i = 0; i < nx; ++i)
                    g.at(i, j) = kind == 0 ? u(rng) : kind == 1 ? static_cast<float>(q(rng)) : gfield(i, j, shape);
            for (float level : {0.25f, 0.5f, 1.0f, 2.0f, 0.0f}) {
                std::vector<KContourLabel> la, lb;
                const std::string a = traceText(g, level, 1, &la, 2);
                const std::string b = traceText(g, level, 1, &lb, 2, true);
                ASSERT_EQ(a, b) << "grid " << nx << "x" << ny << " kind " << kind << " level " << level;
                ASSERT_EQ(la.size(), lb.size());
                for (size_t k = 0; k < la.size(); ++k) ASSERT_EQ(std::memcmp(&la[k], &lb[k], sizeof la[k]), 0);
                ++cases;
            }
        }
    }
    // A long winding contour: a 400 x 300 wave field with paths beyond 1000
    // vertices, in both file formats.
    Grid g = ct::makeGrid(400, 300);
    ct::setupAxes(g);
    for (int32_t j = 0; j < g.ny; ++j)
        for (int32_t i = 0; i < g.nx; ++i)
            g.at(i, j) = static_cast<float>(std::sin(i * 0.05) * 3 + std::sin(j * 0.07 + i * 0.01) * 2 + j * 0.01);
    for (float level : {0.1f, 1.7f}) {
        for (int format : {0, 1}) {
            const std::string a = traceText(g, level, format);
            EXPECT_EQ(a, traceText(g, level, format, nullptr, 0, true));
            EXPECT_GT(a.size(), 10000u);
        }
    }
    EXPECT_EQ(cases, 180);
}

// Every record of a real list is found at its own index and nowhere after
// it, also after some records were used and the list was compacted.
TEST(ContourTrace, FindiFindsEveryRecordOnce) {
    Grid g = ct::makeGrid(23, 19);
    for (int32_t j = 0; j < g.ny; ++j)
        for (int32_t i = 0; i < g.nx; ++i) g.at(i, j) = gfield(i, j, 0.3);
    int32_t n = 0;
    GRIDSEGMENT *s = CTsetgs(g.z.data(), 0.2f, g.nx, g.ny, &n);
    ASSERT_NE(s, nullptr);
    ASSERT_GT(n, 40);
    for (int round = 0; round < 3; ++round) {
        for (int32_t k = 0; k < n; ++k) {
            const GRIDSEGMENT r = s[k];
            if (r.kind == 0) continue;
            EXPECT_EQ(CTfindi(r.column, r.row, r.kind, s, n, 0, n - 1, -1), k);
            EXPECT_EQ(CTfindi(r.column, r.row, r.kind, s, n, k + 1, n - 1, -1), -1);
        }
        for (int32_t k = round; k < n; k += 3) s[k].kind = 0;
        n = CTpackgs(s, n);
    }
    // notfound at once for a neighbour outside the grid, kind 0, an empty range.
    EXPECT_EQ(CTfindi(-1, 0, 1, s, n, 0, n - 1, -1), -1);
    EXPECT_EQ(CTfindi(s[0].column, s[0].row, 0, s, n, 0, n - 1, -1), -1);
    EXPECT_EQ(CTfindi(s[0].column, s[0].row, s[0].kind, s, n, 5, 4, -1), -1);
    EXPECT_EQ(CTfindi(s[0].column, s[0].row, s[0].kind, s, n, -50, 0, -7), 0);
    std::free(s);
}

TEST(ContourTrace, SegmentListOrderGrowthAndTies) {
    // A checkerboard crosses every edge: 2*(nx-1)*ny-ish records, beyond
    // the first block of 10000.
    Grid g = ct::makeGrid(90, 80);
    for (int32_t j = 0; j < g.ny; ++j)
        for (int32_t i = 0; i < g.nx; ++i) g.at(i, j) = ((i + j) % 2) ? 1.0f : -1.0f;
    g.at(5, 5) = 0.5f;  // a node equal to the level
    int32_t n = 0;
    GRIDSEGMENT *s = CTsetgs(g.z.data(), 0.5f, g.nx, g.ny, &n);
    ASSERT_NE(s, nullptr);
    EXPECT_EQ(g.at(5, 5), static_cast<float>(0.5 * static_cast<double>(0.99999f)));
    EXPECT_GT(n, 10000);
    int64_t last = -1;
    for (int32_t k = 0; k < n; ++k) {
        const int64_t e = 2 * (int64_t{s[k].row} * g.nx + s[k].column) + s[k].kind - 1;
        ASSERT_GT(e, last);
        last = e;
    }
    std::free(s);

    // A level of 0 leaves zero nodes alone, and they count as crossed on
    // neither side; all values on one side give no records.
    Grid z = ct::makeGrid(4, 3);
    for (float &v : z.z) v = 1.0f;
    z.at(1, 1) = 0.0f;
    s = CTsetgs(z.z.data(), 0.0f, z.nx, z.ny, &n);
    EXPECT_EQ(n, 0);
    EXPECT_EQ(z.at(1, 1), 0.0f);
    std::free(s);
    EXPECT_EQ(traceText(z, 0.0f, 1), "");
    EXPECT_EQ(traceText(z, 5.0f, 0), "");

    // Bad arguments give null and a count of 0.
    n = 9;
    EXPECT_EQ(CTsetgs(nullptr, 0.0f, 3, 3, &n), nullptr);
    EXPECT_EQ(n, 0);
    EXPECT_EQ(CTsetgs(z.z.data(), 0.0f, 0, 3, &n), nullptr);
    EXPECT_EQ(CTsetgs(z.z.data(), 0.0f, 40000, 1, &n), nullptr);
}

// In a cell crossed on all four edges the path turns left: each contour cuts
// off one higher corner.
TEST(ContourTrace, SaddleTurnsLeft) {
    Grid g = ct::makeGrid(2, 2);
    g.z = {1, 0, 0, 1};
    const auto pieces = ct::parsePathList(traceText(g, 0.5f, 1));
    ASSERT_EQ(pieces.size(), 2u);
    using P = std::pair<float, float>;
    EXPECT_EQ(pieces[0].v, (std::vector<P>{{0.5f, 0.0f}, {0.0f, 0.5f}}));  // about (0, 0)
    EXPECT_EQ(pieces[1].v, (std::vector<P>{{0.5f, 1.0f}, {1.0f, 0.5f}}));  // about (1, 1)
}

TEST(ContourTrace, RingsRepeatTheirFirstPointOpenLinesDoNot) {
    Grid g = ct::makeGrid(5, 5);
    g.at(2, 2) = 1.0f;
    auto pieces = ct::parsePathList(traceText(g, 0.25f, 1));
    ASSERT_EQ(pieces.size(), 1u);
    ASSERT_EQ(pieces[0].v.size(), 5u);
    EXPECT_EQ(pieces[0].v.front(), pieces[0].v.back());
    // Anticlockwise around the peak (higher values on the left), starting at
    // the first crossed edge in scan order, (2, 1) to (2, 2).
    EXPECT_EQ(pieces[0].v[0], std::make_pair(2.0f, 1.25f));
    EXPECT_EQ(pieces[0].v[1], std::make_pair(2.75f, 2.0f));

    // A ridge across the grid: one open line from boundary to boundary.
    Grid r = ct::makeGrid(6, 4);
    for (int32_t i = 0; i < r.nx; ++i) r.at(i, 2) = 1.0f;
    pieces = ct::parsePathList(traceText(r, 0.5f, 1));
    ASSERT_EQ(pieces.size(), 2u);
    for (const auto &p : pieces) {
        EXPECT_EQ(p.v.size(), 6u);
        EXPECT_NE(p.v.front(), p.v.back());
    }
    // The first starts on column 0 where the value rises upwards (row 1 to 2)
    // and keeps the ridge on its left: it runs towards +x.
    EXPECT_EQ(pieces[0].v.front(), std::make_pair(0.0f, 1.5f));
    EXPECT_EQ(pieces[0].v.back(), std::make_pair(5.0f, 1.5f));
    EXPECT_EQ(pieces[1].v.front(), std::make_pair(5.0f, 2.5f));
}

TEST(ContourTrace, LongPathsComeInPiecesOfAtMost1001Vertices) {
    // A contour along x crosses all 2600 column edges between rows 0 and 1.
    Grid g = ct::makeGrid(2600, 2);
    for (int32_t i = 0; i < g.nx; ++i) g.at(i, 1) = 1.0f;
    ct::setupAxes(g);
    const std::string ps = traceText(g, 0.5f, 0);
    const std::string list = traceText(g, 0.5f, 1);
    const auto pieces = ct::parsePathList(list);
    ASSERT_EQ(pieces.size(), 3u);
    EXPECT_EQ(pieces[0].v.size(), 1001u);
    EXPECT_EQ(pieces[1].v.size(), 1001u);
    EXPECT_EQ(pieces[2].v.size(), 600u);  // 2600 crossings + 2 repeated joints
    for (size_t k = 1; k < pieces.size(); ++k) EXPECT_EQ(pieces[k].v.front(), pieces[k - 1].v.back());
    // The same pieces in PostScript: a "%labl" header, a moveto and linetos.
    size_t headers = 0;
    for (size_t at = ps.find("%labl: (0.5)\nnp\n"); at != std::string::npos; at = ps.find("%labl:", at + 1)) ++headers;
    EXPECT_EQ(headers, 3u);
    EXPECT_EQ(ps.rfind("\n\n%labl: (0.5)\nnp\n0 0.5 M\n1 0.5 L\n", 0), 0u);
    EXPECT_NE(ps.find("1000 0.5 L\nstroke\n\n\n\n%labl: (0.5)\nnp\n1000 0.5 M\n1001 0.5 L\n"), std::string::npos);
    // The list writes its count twice, then y before x.
    EXPECT_EQ(list.rfind("1001 1001\n0.5 0\n0.5 1\n", 0), 0u);
}

TEST(ContourTrace, AddPointInterpolates) {
    Grid g = ct::makeGrid(3, 3);
    g.x = {0.0f, 10.0f, 30.0f};
    g.y = {-5.0f, 5.0f, 7.0f};
    g.z = {0, 4, 8, 1, 2, 3, 0, 0, 0};
    ct::setupAxes(g);
    nVp = 0;
    CTaddpoi(g.z.data(), 1.0f, g.x.data(), 3, g.y.data(), 3, 0, 1);                   // (0,0)-(1,0)
    CTaddpoi(g.z.data(), 6.0f, g.x.data(), 3, g.y.data(), 3, 1, 1);                   // (1,0)-(2,0)
    CTaddpoi(g.z.data(), 1.5f, g.x.data(), 3, g.y.data(), 3, (1 << 16) | 2, 2);       // (2,1)-(2,2)
    CTaddpoi(g.z.data(), 0.5f, g.x.data(), 3, g.y.data(), 3, 0, 2);                   // (0,0)-(0,1)
    CTaddpoi(g.z.data(), 0.5f, g.x.data(), 3, g.y.data(), 3, 2, 1);                   // no edge beyond x
    ASSERT_EQ(nVp, 4);
    const float want[4][2] = {{2.5f, -5.0f}, {20.0f, -5.0f}, {30.0f, 6.0f}, {0.0f, 0.0f}};
    for (int k = 0; k < 4; ++k) EXPECT_TRUE(Vfp[k][0] == want[k][0] && Vfp[k][1] == want[k][1]) << k;
    // Nothing is added at or beyond 1400 vertices.
    nVp = 1400;
    CTaddpoi(g.z.data(), 1.0f, g.x.data(), 3, g.y.data(), 3, 0, 1);
    EXPECT_EQ(nVp, 1400);
    nVp = 0;
}

// Label counts: none below 21 vertices, (n/250 + 1) * factor from there;
// the same positions every time the generator starts from the same seed.
TEST(ContourLabels, CountsAndRepeatablePositions) {
    auto labelsOn = [](int32_t vertices, int32_t factor) {
        Grid g = ct::makeGrid(vertices, 2);
        for (int32_t i = 0; i < g.nx; ++i) g.at(i, 1) = 1.0f;
        ct::setupAxes(g);
        std::vector<KContourLabel> labels;
        traceText(g, 0.5f, 2, &labels, factor);
        return labels;
    };
    const int32_t cases[][3] = {{20, 5, 0}, {21, 1, 1}, {249, 1, 1}, {250, 1, 2}, {250, 3, 6}, {600, 0, 0}};
    for (const auto &c : cases) EXPECT_EQ(labelsOn(c[0], c[1]).size(), static_cast<size_t>(c[2])) << c[0] << " " << c[1];
    // 2600 vertices come as pieces of 1001, 1001, 600: 5 + 5 + 3 labels.
    const auto a = labelsOn(2600, 1);
    const auto b = labelsOn(2600, 1);
    ASSERT_EQ(a.size(), 13u);
    ASSERT_EQ(b.size(), a.size());
    for (size_t k = 0; k < a.size(); ++k) {
        EXPECT_EQ(std::memcmp(&a[k], &b[k], sizeof a[k]), 0);
        // The line runs towards +x: angle 0.
        EXPECT_EQ(std::make_tuple(a[k].level, a[k].y, a[k].angle, a[k].colour, a[k].size),
                  std::make_tuple(0.5f, 0.5f, 0.0f, 3, 12));
    }
    // Labels of one piece lie in their stretches, in order.
    for (size_t k = 1; k < 5; ++k) EXPECT_GT(a[k].x, a[k - 1].x);
}

TEST(ContourLabels, ListHoldsAtMost500) {
    Grid g = ct::makeGrid(2600, 2);
    for (int32_t i = 0; i < g.nx; ++i) g.at(i, 1) = 1.0f;
    ct::setupAxes(g);
    std::vector<KContourLabel> labels(KESTREL_MAX_CONTOUR_LABELS + 1);
    labels.back().level = 77.0f;  // a sentinel just past the list
    int32_t count = 495;
    ContourLine(nullptr, nullptr, g.z.data(), labels.data(), &count, g.x.data(), g.nx, g.y.data(), g.ny, 0.5f, 1, 0, 0,
                1, 3, 12, 0);
    EXPECT_EQ(count, 500);
    EXPECT_EQ(labels.back().level, 77.0f);
}

TEST(ContourLabels, DirectionNeverUpsideDown) {
    // A line running towards -x gives 180 degrees, turned by 180 to 360
    // (only a value above 360 is reduced); upwards is 90, downwards 270.
    EXPECT_DOUBLE_EQ(kestrel::stepDirection(0, 0, 1, 1, 1, 1), 45.0);
    EXPECT_DOUBLE_EQ(kestrel::stepDirection(0, 0, -1, 0, 1, 1), 180.0);
    EXPECT_DOUBLE_EQ(kestrel::stepDirection(0, 0, 0.0001, -1, 1, 1), 270.0);
    EXPECT_DOUBLE_EQ(kestrel::stepDirection(0, 0, 0.0005, 0.0005, 1, 1), 0.0);
    EXPECT_DOUBLE_EQ(kestrel::stepDirection(0, 0, 1, -1, 1, 1), 315.0);
    Grid g = ct::makeGrid(300, 2);
    for (int32_t i = 0; i < g.nx; ++i) g.at(i, 0) = 1.0f;  // higher below: the line runs towards -x
    ct::setupAxes(g);
    std::vector<KContourLabel> labels;
    traceText(g, 0.5f, 2, &labels, 1);
    ASSERT_EQ(labels.size(), 2u);
    for (const auto &l : labels) EXPECT_EQ(l.angle, 360.0f);
}

TEST(ContourOutput, FormatGMatchesPrintf) {
    std::mt19937 rng(3);
    std::uniform_int_distribution<uint32_t> bits;
    char a[64], b[64];
    const double fixed[] = {0.0, -0.0, 1.0, 0.5, 1e-5, 1e-4, 123456.0, 1234567.0, 999999.5, 0.0001234565, 1e300,
                            -2.5e-310, 100000.0, 3.0518509e-5};
    for (double v : fixed) {
        kestrel::formatG(a, v);
        std::snprintf(b, sizeof b, "%g", v);
        EXPECT_STREQ(a, b);
    }
    for (int k = 0; k < 200000; ++k) {
        float f;
        const uint32_t u = bits(rng);
        std::memcpy(&f, &u, sizeof f);
        if (!std::isfinite(f)) continue;
        kestrel::formatG(a, f);
        std::snprintf(b, sizeof b, "%g", static_cast<double>(f));
        ASSERT_STREQ(a, b);
        const float g = static_cast<float>(k % 2000) * 0.0625f - 50.0f;  // short decimals, exact ties
        kestrel::formatG(a, g);
        std::snprintf(b, sizeof b, "%g", static_cast<double>(g));
        ASSERT_STREQ(a, b);
    }
}
