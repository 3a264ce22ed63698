// Map layout, domain tests and the clip outline: hand-worked layout numbers,
// and the outline checked against what each projection can show.
#include <cmath>
#include <string>
#include <vector>

#include "map_fixture.h"
#include "platform/platform.h"

namespace {

using Layout = MapTest;

struct Pt {
    double x, y;
};

bool insidePolygon(const std::vector<Pt> &p, double x, double y) {
    bool in = false;
    for (size_t i = 0, j = p.size() - 1; i < p.size(); j = i++) {
        if ((p[i].y > y) != (p[j].y > y) && x < p[j].x + (y - p[j].y) * (p[i].x - p[j].x) / (p[i].y - p[j].y))
            in = !in;
    }
    return in;
}

double distanceToPolyline(const std::vector<Pt> &p, double x, double y) {
    double best = 1e300;
    for (size_t i = 1; i < p.size(); ++i) {
        const double ax = p[i - 1].x, ay = p[i - 1].y, dx = p[i].x - ax, dy = p[i].y - ay;
        const double l2 = dx * dx + dy * dy;
        double t = l2 > 0 ? ((x - ax) * dx + (y - ay) * dy) / l2 : 0;
        t = t < 0 ? 0 : t > 1 ? 1 : t;
        best = std::fmin(best, std::hypot(x - ax - t * dx, y - ay - t * dy));
    }
    return best;
}

std::vector<Pt> outline(int code, const kt::MapLayout &m, int maxPoints = 361) {
    std::vector<float> x(static_cast<size_t>(maxPoints)), y(static_cast<size_t>(maxPoints));
    const int n = ConstructMapClipPath(x.data(), y.data(), maxPoints, code, m.lonMin, m.lonMax, m.latMin, m.latMax);
    std::vector<Pt> p;
    for (int i = 0; i < n; ++i) p.push_back({x[static_cast<size_t>(i)], y[static_cast<size_t>(i)]});
    return p;
}

}  // namespace

TEST_F(Layout, UnprojectedMapKeepsItsMiddleLatitudeTrue) {
    // 0..60 E, 60..70 N in an area of 100 x 100: the aspect width is
    // 60 cos 65 deg = 25.357, so the map is 100 wide and 100 * 10 / 25.357
    // high, centred vertically.
    const kt::MapLayout m = layout(0, 0, 60, 60, 70, 0, 65, 0, 0, 100, 100);
    EXPECT_EQ(m.changed, 0);
    EXPECT_FLOAT_EQ(m.xMax, 60);
    EXPECT_FLOAT_EQ(m.yMin, 60);
    EXPECT_NEAR(m.w, 100, 1e-4);
    EXPECT_NEAR(m.h, 39.437, 1e-3);
    EXPECT_NEAR(m.xOff, 0, 1e-4);
    EXPECT_NEAR(m.yOff, (100 - m.h) / 2, 1e-4);
    EXPECT_FLOAT_EQ(m.cLon, 30);
}

TEST_F(Layout, PolarMapsKeepTheirHemisphereAndTakeTheWholeCapWhenNothingIsLeft) {
    kt::MapLayout m = layout(1, -20, 60, -10, -5, 30, 90);
    EXPECT_EQ(m.changed, 1);
    EXPECT_FLOAT_EQ(m.latMin, 0.1f);
    EXPECT_FLOAT_EQ(m.latMax, 90);
    EXPECT_FLOAT_EQ(m.lonMin, -150);
    EXPECT_FLOAT_EQ(m.lonMax, 210);
    EXPECT_FLOAT_EQ(m.cLon, 30);
    // The whole cap is a disc of radius cos 0.1 deg about the pole.
    EXPECT_NEAR(m.xMax - m.xMin, 2 * std::cos(0.1 * kestrel::kDegToRad), 2e-3);
    EXPECT_NEAR(m.w, m.h, 1e-2);

    m = layout(3, 0, 90, 5, 10, 45, -90);
    EXPECT_FLOAT_EQ(m.latMax, -0.1f);
    EXPECT_FLOAT_EQ(m.lonMin, -135);

    // A sector that fits is left alone.
    m = layout(1, 0, 90, 30, 80, 45, 90);
    EXPECT_EQ(m.changed, 0);
    EXPECT_FLOAT_EQ(m.cLon, 45);
}

TEST_F(Layout, DomainsAreTrimmedToWhatTheProjectionShows) {
    kt::MapLayout m = layout(2, -120, 120, -60, 60, 0, 0);
    EXPECT_EQ(m.changed, 1);
    EXPECT_FLOAT_EQ(m.lonMin, -89.99f);
    EXPECT_FLOAT_EQ(m.lonMax, 89.99f);

    m = layout(4, -200, 170, -90, 90, 0, 0);
    EXPECT_EQ(m.changed, 1);
    EXPECT_FLOAT_EQ(m.lonMin, -179.99f);
    EXPECT_FLOAT_EQ(m.cLon, (-179.99f + 170.0f) / 2);
    // Equal scale in x and y: the placement has the box's aspect.
    EXPECT_NEAR(m.w / m.h, (m.xMax - m.xMin) / (m.yMax - m.yMin), 1e-4);

    // Normalisation (CheckMapDomain's cases in domain_test) is applied.
    m = layout(0, 200, -20, -95, 95, 0, 0);
    EXPECT_EQ(m.changed, 1);
    EXPECT_FLOAT_EQ(m.lonMin, -20);

    // A general orthographic map round the pole is drawn polar.
    m = layout(5, 0, 360, 60, 90, 0, 89);
    EXPECT_EQ(proj, 1);
}

TEST_F(Layout, EmptyAreaOrDomainGivesNoPlacementAndNoCrash) {
    const kt::MapLayout m = layout(0, 10, 10, 20, 20, 10, 20, 0, 0, 100, 100);
    EXPECT_EQ(m.w, 0);
    EXPECT_EQ(m.h, 0);
    EXPECT_FLOAT_EQ(m.xOff, 50);
    float a = 0;
    EXPECT_EQ(AdjustMapLayout(nullptr, &a, &a, &a, &a, &a, &a, &a, &a, &a, &a, &a, &a, &a, 0, 1, 0, 1, 0), 0);
}

TEST_F(Layout, DomainTests) {
    layout(0, 0, 60, 60, 70, 30, 65);
    EXPECT_EQ(IsInsideMapDomain(30, 65), 1);
    EXPECT_EQ(IsInsideMapDomain(60, 70), 1);  // bounds belong to the domain
    EXPECT_EQ(IsInsideMapDomain(-330, 65), 0);  // no wrapping
    EXPECT_EQ(IsInsideGlobalMapDomain(180, 0), 1);  // only code 5 has a horizon

    useGeneral(0, 0);
    EXPECT_EQ(IsInsideGlobalMapDomain(80, 0), 1);
    EXPECT_EQ(IsInsideGlobalMapDomain(100, 0), 0);
    EXPECT_EQ(IsInsideGlobalMapDomain(0, NAN), 0);
    EXPECT_EQ(IsInsideGlobalMapDomain(0, 95), 0);
}

TEST_F(Layout, OutlinePointCounts) {
    float x[361], y[361];
    layout(4, -180, 180, -90, 90, 0, 0);
    EXPECT_EQ(ConstructMapClipPath(x, y, 361, 4, -179.99f, 179.99f, -90, 90), 357);
    EXPECT_EQ(ConstructMapClipPath(x, y, 7, 4, -179.99f, 179.99f, -90, 90), 1);  // m = 1: the first point only
    EXPECT_EQ(ConstructMapClipPath(nullptr, y, 361, 4, 0, 1, 0, 1), 0);
    layout(1, -180, 180, 0, 90, 0, 90);
    EXPECT_EQ(ConstructMapClipPath(x, y, 361, 1, -180, 180, 20, 90), 361);
    EXPECT_NEAR(x[0], x[360], 1e-6);
    EXPECT_NEAR(y[0], y[360], 1e-6);
    EXPECT_EQ(ConstructMapClipPath(x, y, 361, 0, -10, 20, 30, 40), 5);
    EXPECT_FLOAT_EQ(x[2], 20);
    EXPECT_FLOAT_EQ(y[2], 40);
}

// The outline encloses exactly what the projection can show: every
// projected point of the domain lies inside it, and every map point inside
// it lies on the projection's disc or ellipse and (where the inverse is
// exact) comes from the domain. Points within a small band of the outline
// are not judged: the outline is a polygon through the true curve.
TEST_F(Layout, OutlineEnclosesExactlyWhatTheProjectionShows) {
    struct Case {
        int code;
        float lonMin, lonMax, latMin, latMax, cLon, cLat;
    };
    const Case cases[] = {
        {0, -60, 40, -30, 50, 0, 0},      {1, -180, 180, 20, 90, 0, 90},   {1, 0, 90, 30, 80, 45, 90},
        {2, -60, 60, -70, 70, 0, 0},      {3, -180, 180, -90, -20, 0, -90}, {3, -40, 100, -80, -10, 30, -90},
        {4, -180, 180, -90, 90, 0, 0},    {4, 0, 100, -40, 60, 50, 0},      {5, -120, 60, -60, 90, -30, 20},
        {5, -180, 180, -90, 90, 150, -40}, {6, -80, 20, 0, 80, -30, 0},
    };
    for (const Case &c : cases) {
        const kt::MapLayout m = layout(c.code, c.lonMin, c.lonMax, c.latMin, c.latMax, c.cLon, c.cLat);
        SCOPED_TRACE("code " + std::to_string(c.code) + " domain " + std::to_string(m.lonMin) + ".." +
                     std::to_string(m.lonMax) + ", " + std::to_string(m.latMin) + ".." + std::to_string(m.latMax));
        const std::vector<Pt> p = outline(proj, m);
        ASSERT_GE(p.size(), 5u);
        const double tol = 0.01 * std::fmax(m.xMax - m.xMin, m.yMax - m.yMin);
        int outside = 0, offMap = 0, offDomain = 0;
        for (int i = 0; i <= 60; ++i) {
            for (int j = 0; j <= 60; ++j) {
                float x = m.lonMin + (m.lonMax - m.lonMin) * static_cast<float>(i) / 60;
                float y = m.latMin + (m.latMax - m.latMin) * static_cast<float>(j) / 60;
                if (proj == 5 && !IsInsideGlobalMapDomain(x, y)) continue;  // behind the horizon
                Project(&x, &y);
                if (!insidePolygon(p, x, y) && distanceToPolyline(p, x, y) > tol) ++outside;
            }
        }
        const bool exactInverse = proj == 0 || proj == 1 || proj == 2 || proj == 3 || proj == 5;
        for (int i = 0; i <= 100; ++i) {
            for (int j = 0; j <= 100; ++j) {
                const double x = m.xMin + (m.xMax - m.xMin) * i / 100.0, y = m.yMin + (m.yMax - m.yMin) * j / 100.0;
                if (!insidePolygon(p, x, y) || distanceToPolyline(p, x, y) <= tol) continue;
                if (!IsProjMapCoord(static_cast<float>(x), static_cast<float>(y))) ++offMap;
                if (!exactInverse) continue;
                float lon = static_cast<float>(x), lat = static_cast<float>(y);
                UnProject(&lon, &lat);
                const double mid = (m.lonMin + m.lonMax) / 2.0;
                const double l = mid + kt::lonDiff(lon, mid);
                if (l < m.lonMin - 0.5 || l > m.lonMax + 0.5 || lat < m.latMin - 0.5 || lat > m.latMax + 0.5)
                    ++offDomain;
            }
        }
        EXPECT_EQ(outside, 0);
        EXPECT_EQ(offMap, 0);
        EXPECT_EQ(offDomain, 0);
    }
}

// On the screen the clip region is the outline: a fill over the whole
// picture colours exactly the pixels inside it (one pixel of slack at the
// edge, where the region's pixel rule decides).
TEST_F(Layout, ScreenClipIsTheOutline) {
    for (int code : {4, 1, 0}) {
        SCOPED_TRACE(code);
        kt::MapLayout m = code == 4   ? layout(4, 0, 100, -40, 60, 50, 0)
                          : code == 1 ? layout(1, -180, 180, 20, 90, 0, 90)
                                      : layout(0, -60, 40, -30, 50, 0, 0);
        ClipVWP(dc, 0);
        float bx[] = {m.xMin - 10 * (m.xMax - m.xMin), m.xMax + 10 * (m.xMax - m.xMin), 0, 0, 0};
        bx[2] = bx[1];
        bx[3] = bx[0];
        bx[4] = bx[0];
        float by[] = {m.yMin - 10 * (m.yMax - m.yMin), 0, 0, m.yMax + 10 * (m.yMax - m.yMin), 0};
        by[1] = by[0];
        by[2] = by[3];
        by[4] = by[0];
        EXPECT_EQ(ClipMapWindow(dc, nullptr, m.lonMin, m.lonMax, m.latMin, m.latMax, m.xMin, m.xMax, m.w, m.xOff, m.yMin,
                                m.yMax, m.h, m.yOff, 0),
                  1);
        kestrel::plat::selectObject(dc, kestrel::plat::getStockObject(kestrel::plat::StockBlackBrush));
        DrawPoly(dc, nullptr, bx, by, 5, 0, 2);
        std::vector<Pt> p;
        for (const Pt &q : outline(proj, m, VX.pixPerLength < 90 ? 181 : 361))
            p.push_back({static_cast<double>(VX.lowPix) + (q.x - m.xMin) * VX.pixPerUser,
                         static_cast<double>(VY.lowPix) + (q.y - m.yMin) * VY.pixPerUser});
        int wrong = 0;
        for (int y = 0; y < height; y += 3) {
            for (int x = 0; x < width; x += 3) {
                if (distanceToPolyline(p, x + 0.5, y + 0.5) < 1.5) continue;
                const bool black = kt::picturePixel(dc, x, y) == 0;
                if (black != insidePolygon(p, x + 0.5, y + 0.5)) ++wrong;
            }
        }
        EXPECT_EQ(wrong, 0);
        // Next case on a clean page.
        ClipVWP(dc, 0);
        InitmemDC();
    }
}

TEST_F(Layout, ClipObjectInPostScript) {
    const kt::MapLayout m = layout(4, 0, 100, -40, 60, 50, 0);
    const std::string path = dir + "/clip.ps";
    KFILE f = kt::openFile(path);
    ASSERT_NE(f, nullptr);
    EXPECT_GT(ClipMapWindow(nullptr, f, m.lonMin, m.lonMax, m.latMin, m.latMax, m.xMin, m.xMax, m.w, m.xOff, m.yMin,
                            m.yMax, m.h, m.yOff, 1),
              0);
    SetColor(0);
    StrokeMapClippingPath(nullptr, f, 3, m.lonMin, m.lonMax, m.latMin, m.latMax, m.xMin, m.xMax, m.w, m.xOff, m.yMin,
                          m.yMax, m.h, m.yOff);
    // Without either target nothing happens.
    EXPECT_EQ(ClipMapWindow(nullptr, nullptr, m.lonMin, m.lonMax, m.latMin, m.latMax, m.xMin, m.xMax, m.w, m.xOff,
                            m.yMin, m.yMax, m.h, m.yOff, 1),
              0);
    kt::closeFile(f);
    const std::string text = kt::readFile(path);
    EXPECT_EQ(text.rfind("\n%%PS-OBJECT: MapClipPath begin\n0 5000 ", 0), 0u);
    EXPECT_EQ(kt::countOf(text, "gsave thick_line stroke grestore\n"), 1);
    kt::expectGolden("maps/clip_mollweide.ps", text);
}
