// Pixel conventions of the drawing layer. The same expectations run against
// the Cairo canvas (POSIX) and a real GDI memory device context (Windows,
// under Wine in CI), so both backends are held to one picture.
#include <algorithm>
#include <vector>

#include "common/canvas.h"
#include "common/testing.h"
#include "platform/platform.h"

using kestrel::plat::Rect;
using kt::Pixel;
namespace plat = kestrel::plat;

namespace {

class Conventions : public ::testing::Test {
protected:
    static constexpr int W = 24, H = 16;
    void SetUp() override {
        dc = kt::makeCanvas(W, H);
        ASSERT_NE(dc, nullptr);
        pen = plat::createPen(plat::PenSolid, 1, plat::rgb(0, 0, 0));
        oldPen = plat::selectObject(dc, pen);
    }
    void TearDown() override {
        plat::selectObject(dc, oldPen);
        plat::deleteObject(pen);
        kt::freeCanvas(dc);
    }
    std::vector<Pixel> ink() { return kt::inkedPixels(dc, W, H); }
    std::vector<Pixel> sorted(std::vector<Pixel> v) {
        std::sort(v.begin(), v.end());
        return v;
    }
    void line(int x0, int y0, int x1, int y1) {
        plat::moveTo(dc, x0, y0);
        plat::lineTo(dc, x1, y1);
    }
    KDC dc = nullptr;
    KPEN pen = nullptr;
    plat::GdiObj oldPen = nullptr;
};

TEST_F(Conventions, LineLeavesOutItsLastPixelInEveryDirection) {
    line(2, 5, 8, 5);   // east
    line(20, 2, 20, 6); // south
    line(14, 9, 10, 9); // west
    std::vector<Pixel> want;
    for (int x = 2; x < 8; ++x) want.push_back({x, 5});
    for (int y = 2; y < 6; ++y) want.push_back({20, y});
    for (int x = 14; x > 10; --x) want.push_back({x, 9});
    EXPECT_EQ(ink(), sorted(want)) << kt::ascii(dc, 0, 0, W - 1, H - 1);
}

TEST_F(Conventions, DiagonalsAndShallowLinesWalkOnePixelPerColumn) {
    line(0, 0, 5, 5);
    line(0, 8, 10, 11);  // slope 0.3: one pixel per column, never two
    std::vector<Pixel> got = ink();
    std::vector<Pixel> want = {{0, 0}, {1, 1}, {2, 2}, {3, 3}, {4, 4}};
    // The rounded ideal line y = 8 + 0.3 x, ties (x = 5) going either way.
    for (int x = 0; x < 10; ++x) {
        const double y = 8 + 0.3 * x;
        const int lo = static_cast<int>(y + 0.5 - 1e-9), hi = static_cast<int>(y + 0.5);
        auto it = std::find_if(got.begin(), got.end(), [&](const Pixel &p) { return p.x == x && p.y >= 8; });
        ASSERT_NE(it, got.end()) << "column " << x << "\n" << kt::ascii(dc, 0, 0, W - 1, H - 1);
        EXPECT_TRUE(it->y == lo || it->y == hi) << "column " << x << " at row " << it->y;
    }
    EXPECT_EQ(got.size(), want.size() + 10) << kt::ascii(dc, 0, 0, W - 1, H - 1);
    for (const Pixel &p : want) EXPECT_NE(std::find(got.begin(), got.end(), p), got.end());
}

TEST_F(Conventions, FillRectIsHalfOpenAndIgnoresEmptyRectangles) {
    // A one-pixel pen paints its exact colour, no anti-aliased fringe.
    KPEN red = plat::createPen(plat::PenSolid, 1, plat::rgb(200, 30, 60));
    plat::selectObject(dc, red);
    line(1, 12, 6, 12);
    plat::selectObject(dc, pen);
    plat::deleteObject(red);
    for (int x = 1; x < 6; ++x) EXPECT_EQ(kt::pixel(dc, x, 12), plat::rgb(200, 30, 60));
    KBRUSH black = plat::createSolidBrush(plat::rgb(0, 0, 0));
    Rect r{2, 3, 6, 7};
    plat::fillRect(dc, &r, black);
    Rect empty{10, 10, 10, 14};
    plat::fillRect(dc, &empty, black);
    plat::deleteObject(black);
    std::vector<Pixel> want;
    for (int y = 3; y < 7; ++y)
        for (int x = 2; x < 6; ++x) want.push_back({x, y});
    for (int x = 1; x < 6; ++x) want.push_back({x, 12});
    EXPECT_EQ(ink(), want) << kt::ascii(dc, 0, 0, W - 1, H - 1);
}

TEST_F(Conventions, ClipRectangleLimitsLinesAndFillsUntilRemoved) {
    Rect clip{4, 2, 9, 6};
    plat::clipRect(dc, &clip);
    line(0, 3, 20, 3);
    KBRUSH black = plat::createSolidBrush(plat::rgb(0, 0, 0));
    Rect all{0, 10, W, 12};
    plat::fillRect(dc, &all, black);  // entirely outside the clip: nothing
    plat::clipRect(dc, nullptr);
    Rect row{0, 14, 3, 15};
    plat::fillRect(dc, &row, black);  // clip removed: drawn
    plat::deleteObject(black);
    std::vector<Pixel> want;
    for (int x = 4; x < 9; ++x) want.push_back({x, 3});
    for (int x = 0; x < 3; ++x) want.push_back({x, 14});
    EXPECT_EQ(ink(), want) << kt::ascii(dc, 0, 0, W - 1, H - 1);
}

TEST_F(Conventions, RectangleOutlinesInsideItsRightAndBottomEdges) {
    plat::GdiObj oldBrush = plat::selectObject(dc, plat::getStockObject(plat::StockNullBrush));
    plat::rectangle(dc, 1, 1, 6, 5);
    plat::selectObject(dc, oldBrush);
    std::vector<Pixel> want;
    for (int y = 1; y <= 4; ++y)
        for (int x = 1; x <= 5; ++x)
            if (x == 1 || x == 5 || y == 1 || y == 4) want.push_back({x, y});
    EXPECT_EQ(ink(), want) << kt::ascii(dc, 0, 0, 8, 6);
}

TEST_F(Conventions, PolygonFillCoversPixelCentresInsideWithEvenOddHoles) {
    plat::selectObject(dc, plat::getStockObject(plat::StockNullPen));
    KBRUSH black = plat::createSolidBrush(plat::rgb(0, 0, 0));
    plat::GdiObj oldBrush = plat::selectObject(dc, black);
    // Outer square 2..14 with an inner square 6..10 traced the same way:
    // even-odd leaves the inner one empty.
    const KPoint32 pts[] = {{2, 2}, {14, 2}, {14, 14}, {2, 14}, {2, 2}, {6, 6}, {10, 6}, {10, 10}, {6, 10}, {6, 6}};
    plat::setPolyFillMode(dc, plat::FillAlternate);
    plat::polygon(dc, pts, 10);
    plat::selectObject(dc, oldBrush);
    plat::deleteObject(black);
    std::vector<Pixel> got = ink();
    auto inked = [&](int x, int y) { return std::find(got.begin(), got.end(), Pixel{x, y}) != got.end(); };
    EXPECT_TRUE(inked(2, 2));
    EXPECT_TRUE(inked(13, 13));
    EXPECT_FALSE(inked(14, 8));   // right edge excluded
    EXPECT_FALSE(inked(8, 14));   // bottom edge excluded
    EXPECT_FALSE(inked(8, 8));    // the hole
    EXPECT_TRUE(inked(5, 8));
    EXPECT_EQ(got.size(), 12u * 12u - 4u * 4u) << kt::ascii(dc, 0, 0, 16, 15);
}

TEST_F(Conventions, PolygonClipRegionLimitsFills) {
    const KPoint32 tri[] = {{0, 0}, {16, 0}, {0, 16}};
    plat::clipPolygon(dc, tri, 3, plat::FillAlternate);
    KBRUSH black = plat::createSolidBrush(plat::rgb(0, 0, 0));
    Rect all{0, 0, W, H};
    plat::fillRect(dc, &all, black);
    plat::clipRect(dc, nullptr);
    plat::deleteObject(black);
    std::vector<Pixel> got = ink();
    for (const Pixel &p : got) EXPECT_LT(p.x + p.y, 16) << p.x << "," << p.y;
    EXPECT_EQ(std::count_if(got.begin(), got.end(), [](const Pixel &p) { return p.y == 0; }), 16 - 0 - 0);
    EXPECT_NEAR(static_cast<double>(got.size()), 16.0 * 16.0 / 2.0, 16.0);
}

}  // namespace
