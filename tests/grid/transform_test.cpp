// Grid lines from data density, the coordinate stretch, packing and the cell
// sort.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <tuple>
#include <vector>

#include "grid/oa_internal.h"
#include "kestrel/globals.h"
#include "kestrel/oa.h"
#include "oa_fixture.h"

namespace {

using ktoa::SetGuard;

TEST(AllocSet, GridSizeFollowsTheDeviceScale) {
    const float saved = VX.pixPerLength;
    // pixels per length unit, width, height, column limit, capacity -> nx, ny:
    // 20 * 10 / 2 columns; at most 35 pixels per unit; the column limit with
    // rows from it; a tiny width gives 1 x 1.
    const float cases[][7] = {{20, 10, 5, 500, 10, 100, 50}, {100, 10, 5, 500, 10, 175, 87},
                              {100, 10, 5, 40, 10, 40, 20}, {100, 0.01f, 5, 40, 0, 1, 1}};
    SetGuard g;
    for (const auto &c : cases) {
        VX.pixPerLength = c[0];
        ASSERT_EQ(OAAllocSet(&g.s, c[1], c[2], static_cast<int32_t>(c[3]), static_cast<int32_t>(c[4])), 1);
        EXPECT_EQ(std::make_tuple(g.s.nx, g.s.ny, g.s.capacity, g.s.nPoints),
                  std::make_tuple(int32_t(c[5]), int32_t(c[6]), int32_t(c[4]), 0));
        OAFreeSet(&g.s);
        EXPECT_EQ(g.s.x, nullptr);
    }
    // Impossible sizes fail cleanly (the message goes to the error log).
    EXPECT_EQ(OAAllocSet(&g.s, 1.0e6f, 1.0e12f, 100000, 10), 0);
    EXPECT_EQ(g.s.nx, 0);
    EXPECT_EQ(OAAllocSet(&g.s, 10.0f, 5.0f, 40, -1), 0);
    VX.pixPerLength = saved;
}

TEST(AxisGrid, EvenDataGiveEvenLinesCrowdedDataLimitTheScaleRatio) {
    std::vector<float> c;
    for (int i = 0; i < 1000; ++i) c.push_back(static_cast<float>(i) * 0.1f + 0.05f);
    std::vector<float> g(21), L(21);
    double lmax = OASetupAxisGrid(c.data(), 1000, 0.0f, 100.0f, 5.0f, g.data(), L.data(), 21);
    EXPECT_NEAR(lmax, 5.0, 0.05);
    EXPECT_EQ(g[0], 0.0f);
    EXPECT_EQ(g[20], 100.0f);
    for (int k = 0; k < 21; ++k) {
        EXPECT_NEAR(g[k], 5.0 * k, 0.1);
        EXPECT_NEAR(L[k], 5.0, 0.05);
    }
    // Nearly all data near the top of a depth axis.
    c.clear();
    for (int i = 0; i < 2000; ++i) c.push_back(5500.0f * std::pow(static_cast<float>(i) / 2000.0f, 4.0f));
    g.resize(50);
    L.resize(50);
    lmax = OASetupAxisGrid(c.data(), 2000, 0.0f, 5500.0f, 4.0f, g.data(), L.data(), 50);
    const float lmin = *std::min_element(L.begin(), L.end());
    EXPECT_LE(lmax / lmin, 6.0 + 1e-4);
    EXPECT_GT(lmax / lmin, 2.0);  // the limit of 6 applies over -0.1 .. 1.1
    EXPECT_NEAR(lmin, 0.04 * 5500.0, 1.0);  // q percent of the range at the densest node
    for (int k = 1; k < 50; ++k) EXPECT_GT(g[k], g[k - 1]);
    EXPECT_LT(g[1] - g[0], g[49] - g[48]);  // lines close together where data are dense
    // Descending axis: same spacing pattern, mirrored.
    std::vector<float> gd(50), Ld(50);
    OASetupAxisGrid(c.data(), 2000, 5500.0f, 0.0f, 4.0f, gd.data(), Ld.data(), 50);
    EXPECT_EQ(gd[0], 5500.0f);
    EXPECT_EQ(gd[49], 0.0f);
    for (int k = 1; k < 50; ++k) EXPECT_LT(gd[k], gd[k - 1]);
    // No data on the axis: uniform.
    const float none[2] = {-5.0f, 9000.0f};
    OASetupAxisGrid(none, 2, 0.0f, 100.0f, 10.0f, g.data(), L.data(), 11);
    EXPECT_NEAR(g[5], 50.0f, 1e-4);
    EXPECT_NEAR(L[3], 10.0f, 1e-4);
    EXPECT_EQ(OASetupAxisGrid(none, 2, 0.0f, 100.0f, 10.0f, g.data(), L.data(), 0), 0.0);
}

// The stretch is linear between grid lines, and beyond the outer lines it
// goes on with R / L of the nearer one; both directions of the axis.
TEST(Transform, StretchIsLinearBetweenLinesAndBeyondTheEnds) {
    for (bool descending : {false, true}) {
        SetGuard g;
        ASSERT_TRUE(ktoa::allocExact(g.s, 30, 4, 1));
        for (int i = 0; i < 30; ++i) {
            const float u = static_cast<float>(i) / 29.0f;
            g.s.xg[i] = descending ? 6000.0f * (1 - u * u) : 6000.0f * u * u;
            g.s.xlen[i] = 100.0f + 10.0f * static_cast<float>(i);
        }
        for (int j = 0; j < 4; ++j) {
            g.s.yg[j] = static_cast<float>(j);
            g.s.ylen[j] = 1.0f;
        }
        g.s.nPoints = 0;
        OAScaleTransformation(&g.s);
        EXPECT_EQ(g.s.xlenMax, 390.0f);
        EXPECT_EQ(g.s.xgt[0], 0.0f);
        // Interval k advances by its width times R / L(k-1).
        EXPECT_NEAR(g.s.xgt[1], (g.s.xg[1] - g.s.xg[0]) * 390.0 / 100.0, 1e-3);
        const float *x = g.s.xg, *t = g.s.xgt, *L = g.s.xlen;
        auto check = [&](float c, double want) {
            EXPECT_NEAR(OATransformCoord(c, 30, x, t, L, 390.0f), want, 1e-6 * (1 + std::fabs(want))) << c;
        };
        for (int i = 0; i + 1 < 30; ++i)
            for (float f : {0.1f, 0.5f, 0.9f}) {
                const float c = x[i] + f * (x[i + 1] - x[i]);
                check(c, t[i] + (static_cast<double>(c) - x[i]) * (t[i + 1] - t[i]) / (x[i + 1] - x[i]));
            }
        const float out = descending ? 300.0f : -300.0f;
        check(x[0] + out, t[0] + out * 390.0 / L[0]);
        check(x[29] - out, t[29] - out * 390.0 / L[29]);
        for (int i = 0; i < 30; ++i)
            EXPECT_NEAR(OATransformCoord(g.s.xg[i], 30, g.s.xg, g.s.xgt, g.s.xlen, 390.0f), g.s.xgt[i], 1e-3);
    }
}

TEST(Pack, KeepsUsedPointsInOrder) {
    SetGuard g;
    ASSERT_TRUE(ktoa::allocExact(g.s, 2, 2, 5));
    const float vals[5] = {1, 2, xmiss, 4, 5};
    const uint8_t use[5] = {1, 0, 1, 1, 0};
    for (int i = 0; i < 5; ++i) {
        g.s.x[i] = g.s.y[i] = static_cast<float>(10 * i);
        g.s.val[i] = vals[i];
        g.s.err[i] = g.s.errInv[i] = 1.0f;
        g.s.use[i] = use[i];
    }
    g.s.nPoints = 5;
    EXPECT_EQ(OAPackData(&g.s), 3);
    ASSERT_EQ(g.s.nPoints, 2);
    EXPECT_TRUE(g.s.x[0] == 0 && g.s.x[1] == 30 && g.s.val[1] == 4);
    for (int i = 0; i < 2; ++i) g.s.use[i] = 0;
    EXPECT_EQ(OAPackData(&g.s), 2);
    EXPECT_EQ(g.s.nPoints, 0);
    g.s.nPoints = -3;
    EXPECT_EQ(OAPackData(&g.s), 0);
    EXPECT_EQ(g.s.nPoints, 0);
}

TEST(Sort, CountingSortIsStableCoversTheGridAndDropsFarPoints) {
    std::vector<ktoa::Point> pts;
    std::mt19937 rng(4);
    std::uniform_real_distribution<float> u(-50.0f, 1050.0f);
    for (int i = 0; i < 3000; ++i) pts.push_back({u(rng), u(rng), static_cast<float>(i), 1.0f});
    pts.push_back({0.0f, 0.0f, -1.0f, 1.0f});  // exactly on the first grid lines
    SetGuard g;
    ASSERT_TRUE(ktoa::buildSet(g.s, pts, 0.0f, 1000.0f, 0.0f, 1000.0f, 50, 50, 5.0f));
    // Every point kept lies in its cell's index range, in y-then-x cell
    // order; within a cell the input order (value = input index) is kept.
    int32_t expectFirst = 0;
    for (int iy = 0; iy < 40; ++iy)
        for (int ix = 0; ix < 40; ++ix) {
            ASSERT_EQ(g.s.cellFirst[ix][iy], expectFirst);
            for (int32_t i = g.s.cellFirst[ix][iy]; i <= g.s.cellLast[ix][iy]; ++i) {
                EXPECT_EQ(static_cast<int>(std::floor((g.s.xt[i] - g.s.cellX0) * g.s.cellDxInv)), ix);
                EXPECT_EQ(static_cast<int>(std::floor((g.s.yt[i] - g.s.cellY0) * g.s.cellDyInv)), iy);
                if (i > g.s.cellFirst[ix][iy] && g.s.val[i] >= 0 && g.s.val[i - 1] >= 0) {
                    EXPECT_GT(g.s.val[i], g.s.val[i - 1]);
                }
            }
            expectFirst = g.s.cellLast[ix][iy] + 1;
        }
    EXPECT_EQ(expectFirst, g.s.nPoints);
    EXPECT_EQ(g.s.nInCells, g.s.nPoints);
    EXPECT_LT(g.s.nPoints, 3001);  // points beyond one cell past the grid went
    EXPECT_GT(g.s.nPoints, 2500);
    // The point on the first grid lines sits in cell (0, 0).
    bool found = false;
    for (int32_t i = g.s.cellFirst[0][0]; i <= g.s.cellLast[0][0]; ++i) found |= g.s.val[i] == -1.0f;
    EXPECT_TRUE(found);
}

}  // namespace
