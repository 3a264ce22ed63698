// Coastline drawing: the record rules on small files made here, the real
// GSHHG data on the canvas, and a full map rendered by Ghostscript against
// the canvas.
#include <cmath>
#include <string>
#include <vector>

#include "common/render.h"
#include "map_fixture.h"
#include "platform/platform.h"

namespace {

constexpr uint32_t kBlack = 0x000000, kWhite = 0xFFFFFF;

// A closed square record (counter-clockwise) or an open one.
kt::CstRecord square(float lon0, float lon1, float lat0, float lat1, bool closed = true) {
    kt::CstRecord r;
    r.lonlat = {lon0, lat0, lon1, lat0, lon1, lat1, lon0, lat1};
    if (closed) r.lonlat.insert(r.lonlat.end(), {lon0, lat0});
    r.m = static_cast<int32_t>(r.lonlat.size() / 2);
    return r;
}

struct Drawn {
    std::string ps;
    int result;
};

}  // namespace

class WorldDraw : public MapTest {
public:
    // Draws path on the picture and into a PostScript file, land filled and
    // outlined in black.
    Drawn draw(const kt::MapLayout &m, const std::string &path, int fill = 1, int outline = 1) {
        const std::string psPath = dir + "/world.ps";
        KFILE f = kt::openFile(psPath);
        EXPECT_NE(f, nullptr);
        SetColor(0);
        const int r = DrawWorld(dc, f, path.c_str(), m.lonMin, m.lonMax, m.latMin, m.latMax, m.xMin, m.xMax, m.w,
                                m.xOff, m.yMin, m.yMax, m.h, m.yOff, fill, outline);
        kt::closeFile(f);
        return {kt::readFile(psPath), r};
    }
    uint32_t at(float lon, float lat) {
        Project(&lon, &lat);
        const int px = static_cast<int>((lon - VX.umin) * VX.pixPerUser + static_cast<float>(VX.lowPix));
        const int py = static_cast<int>((lat - VY.umin) * VY.pixPerUser + static_cast<float>(VY.lowPix));
        return kt::picturePixel(dc, px, py);
    }
};

// Files stored in 0..360 show west of the prime meridian through the second,
// shifted pass; a map east of it draws each record once.
TEST_F(WorldDraw, RecordsAreDrawnAgainShiftedAcrossThePrimeMeridian) {
    const std::string path = dir + "/two.cst";
    kt::writeCst(path, {square(350, 355, 10, 20), square(5, 10, 10, 20), square(20, 340, 30, 35)});
    kt::MapLayout m = layout(0, -30, 30, 0, 40, 0, 20);
    Drawn d = draw(m, path);
    // 350..355 only as -10..-5, 5..10 only as stored, and the long band in
    // both passes (its west end at 20, its east end at 340 - 360 = -20).
    EXPECT_EQ(kt::countOf(d.ps, "Fill\n"), 4);
    EXPECT_EQ(at(-7.5f, 15), kBlack);
    EXPECT_EQ(at(7.5f, 15), kBlack);
    EXPECT_EQ(at(25, 32), kBlack);
    EXPECT_EQ(at(-25, 32), kBlack);
    EXPECT_EQ(at(0, 32), kWhite);  // the band's gap, 340..380, across the meridian
    EXPECT_EQ(at(0, 15), kWhite);

    InitmemDC();
    m = layout(0, 0, 60, 0, 40, 30, 20);
    d = draw(m, path);
    EXPECT_EQ(kt::countOf(d.ps, "Fill\n"), 2);
}

TEST_F(WorldDraw, OpenRecordsAreNeverFilled) {
    const std::string path = dir + "/open.cst";
    kt::writeCst(path, {square(5, 10, 10, 20, false)});
    const kt::MapLayout m = layout(0, 0, 20, 0, 30, 10, 15);
    const Drawn d = draw(m, path);
    EXPECT_EQ(kt::countOf(d.ps, "Fill\n"), 0);
    EXPECT_EQ(kt::countOf(d.ps, "stroke\n"), 1);
    EXPECT_EQ(at(7.5f, 15), kWhite);
    EXPECT_EQ(at(7.5f, 10), kBlack);  // its outline
}

// Land all round a small map fills it although no point of the record is on
// the map; behind a general orthographic horizon the test is not made.
TEST_F(WorldDraw, LandAroundASmallMapFillsIt) {
    const std::string path = dir + "/around.cst";
    kt::writeCst(path, {square(-10, 50, -10, 50), square(100, 120, 0, 5)});
    kt::MapLayout m = layout(4, 10, 12, 10, 12, 11, 0);
    Drawn d = draw(m, path, 1, 0);
    EXPECT_EQ(kt::countOf(d.ps, "Fill\n"), 1);
    EXPECT_EQ(at(11, 11), kBlack);
    // Outlines only: nothing to draw.
    InitmemDC();
    m = layout(4, 10, 12, 10, 12, 11, 0);
    d = draw(m, path, 0, 1);
    EXPECT_EQ(kt::countOf(d.ps, "stroke\n"), 0);
    EXPECT_EQ(at(11, 11), kWhite);
    // The same map as a general orthographic one.
    InitmemDC();
    m = layout(5, 10, 12, 10, 12, 11, 11);
    ASSERT_EQ(proj, 5) << m.lonMin << " " << m.lonMax << " " << m.latMin << " " << m.latMax;
    d = draw(m, path, 1, 0);
    EXPECT_EQ(kt::countOf(d.ps, "Fill\n"), 0);
}

TEST_F(WorldDraw, EmptyShortAndMissingFiles) {
    const kt::MapLayout m = layout(0, 0, 20, 0, 30, 10, 15);
    // An empty file still writes the object and both user systems.
    const std::string empty = dir + "/empty.cst";
    kt::writeCst(empty, {});
    Drawn d = draw(m, empty);
    EXPECT_GT(d.result, 0);
    const std::string begin = "\n%%PS-OBJECT: CDT=" + empty + " begin\n\n0 5000 ";
    EXPECT_EQ(d.ps.rfind(begin, 0), 0u) << d.ps;
    EXPECT_NE(d.ps.find(" SetupUsrSys\n\n%%PS-OBJECT: CDT=" + empty + " end\n"), std::string::npos) << d.ps;
    EXPECT_EQ(kt::countOf(d.ps, "SetupUsrSys"), 2);
    // Records with n = 0 or negative are skipped; a record cut short ends
    // the drawing without complaint; a record beyond 1500 points keeps its
    // first 1500.
    const std::string odd = dir + "/odd.cst";
    {
        std::vector<kt::CstRecord> recs = {kt::CstRecord{0, {}}, square(5, 10, 10, 20)};
        kt::writeCst(odd, recs);
        std::FILE *f = std::fopen(odd.c_str(), "ab");
        const int32_t neg[2] = {-3, 0};
        std::fwrite(neg, 4, 2, f);
        std::vector<float> big;
        for (int i = 0; i < 1600; ++i) big.insert(big.end(), {12.0f + i * 0.001f, 5.0f + (i % 2)});
        const int32_t head[2] = {1600, 1600};
        std::fwrite(head, 4, 2, f);
        std::fwrite(big.data(), 4, big.size(), f);
        std::fwrite(head, 4, 2, f);  // and a header whose points never come
        std::fwrite(big.data(), 4, 10, f);
        std::fclose(f);
    }
    d = draw(m, odd);
    EXPECT_EQ(kt::countOf(d.ps, "Fill\n"), 1);
    EXPECT_EQ(kt::countOf(d.ps, "stroke\n"), 2);
    EXPECT_NE(d.ps.find("CDT=" + odd + " end"), std::string::npos);
    // A missing file: 0, and nothing written.
    d = draw(m, dir + "/missing.cst");
    EXPECT_EQ(d.result, 0);
    EXPECT_EQ(d.ps, "");
    EXPECT_EQ(DrawWorld(dc, nullptr, nullptr, 0, 1, 0, 1, 0, 1, 1, 0, 0, 1, 1, 0, 1, 1), 0);
    DrawWorldPass(dc, nullptr, 0, 1, 0, 1, 0, 1, 0, 1, 1, 1, 0, nullptr, 5, 5);  // ignored
}

TEST_F(WorldDraw, PostScriptGolden) {
    const std::string path = dir + "/golden.cst";
    kt::CstRecord tail = square(0, 30, -20, 10);
    tail.m = 3;  // the last two edges are a cut: filled, not stroked
    kt::writeCst(path, {tail, square(40, 45, 20, 25, false)});
    const kt::MapLayout m = layout(4, -20, 60, -30, 40, 20, 0);
    std::string ps = draw(m, path).ps;
    // The file name differs per machine.
    for (size_t p; (p = ps.find(path)) != std::string::npos;) ps.replace(p, path.size(), "golden.cst");
    kt::expectGolden("maps/world_mollweide.ps", ps);
}

// Real coastlines (GSHHG, crude) on a world map: land where land is, in
// every projection the whole world fits.
TEST_F(WorldDraw, RealCoastlinesFillTheLand) {
    const std::string path = kt::dataPath("coastlines/gshhg_crude.cst");
    KT_REQUIRE_FILE(path);
    struct Probe {
        float lon, lat;
        bool land;
    };
    const Probe probes[] = {{10, 22, true},  {-60, -10, true}, {100, 60, true},  {135, -25, true}, {-100, 45, true},
                            {-150, 0, false}, {-30, 30, false}, {80, -20, false}, {0, -80, true}};
    for (int code : {4, 0}) {
        SCOPED_TRACE(code);
        InitmemDC();
        const kt::MapLayout m = layout(code, -180, 180, -90, 90, 0, 0);
        ClipMapWindow(dc, nullptr, m.lonMin, m.lonMax, m.latMin, m.latMax, m.xMin, m.xMax, m.w, m.xOff, m.yMin,
                      m.yMax, m.h, m.yOff, 0);
        draw(m, path, 1, 0);
        for (const Probe &p : probes) EXPECT_EQ(at(p.lon, p.lat) == kBlack, p.land) << p.lon << " " << p.lat;
    }
    // Iberia on a map across the prime meridian: this file is stored in
    // -180..180, so the first pass draws it.
    InitmemDC();
    const kt::MapLayout m = layout(0, -20, 20, 30, 50, 0, 0);
    draw(m, path, 1, 0);
    EXPECT_EQ(at(-4.5f, 40), kBlack);
    EXPECT_EQ(at(-15, 40), kWhite);
}

// A whole map (clip, land, coastlines, frame with graticule and labels) on
// the canvas and in PostScript rendered by Ghostscript: the same picture.
TEST_F(WorldDraw, FullMapRendersLikeTheCanvas) {
    KT_REQUIRE_GHOSTSCRIPT();
    const std::string coast = kt::dataPath("coastlines/gshhg_crude.cst");
    KT_REQUIRE_FILE(coast);
    for (int code : {4, 1, 5}) {
        SCOPED_TRACE(code);
        InitmemDC();
        SetColorMode(1);
        const std::string psPath = dir + "/map" + std::to_string(code) + ".ps";
        KFILE f = PSOpenFile(psPath.c_str(), kt::sourcePath("data/preamble/kestrel.ps").c_str(), "", "\nBeginPlot\n",
                             0);
        ASSERT_NE(f, nullptr);
        PSPalette(f);
        const kt::MapLayout m = code == 4   ? layout(4, -180, 180, -90, 90, 0, 0)
                                : code == 1 ? layout(1, -180, 180, 20, 90, 0, 90)
                                            : layout(5, -120, 60, -60, 90, -30, 20);
        PSUsrSys(f, "", m.xMin, m.xMax, m.w, m.xOff, m.yMin, m.yMax, m.h, m.yOff);
        kestrel::plat::fileWriteText(f, "gsave\n");
        ClipMapWindow(dc, f, m.lonMin, m.lonMax, m.latMin, m.latMax, m.xMin, m.xMax, m.w, m.xOff, m.yMin, m.yMax, m.h,
                      m.yOff, 0);
        const int grey = FindClosestColor(0.7f, 0.7f, 0.7f);
        SetColor(grey);
        PSSetColor(f, grey);
        DrawWorld(dc, f, coast.c_str(), m.lonMin, m.lonMax, m.latMin, m.latMax, m.xMin, m.xMax, m.w, m.xOff, m.yMin,
                  m.yMax, m.h, m.yOff, 1, 0);
        SetColor(0);
        PSSetColor(f, 0);
        kestrel::plat::fileWriteText(f, "very_thin_line\n");
        DrawWorld(dc, f, coast.c_str(), m.lonMin, m.lonMax, m.latMin, m.latMax, m.xMin, m.xMax, m.w, m.xOff, m.yMin,
                  m.yMax, m.h, m.yOff, 0, 1);
        kestrel::plat::fileWriteText(f, "grestore\n");
        ClipVWP(dc, 0);
        DrawMapFrame(dc, f, m.lonMin, m.lonMax, m.latMin, m.latMax, m.xMin, m.xMax, m.w, m.xOff, m.yMin, m.yMax, m.h,
                     m.yOff, 9, 0, 1);
        kestrel::plat::fileWriteText(f, "EndPlot\nshowpage\n");
        kt::closeFile(f);
        std::string log;
        const std::string png = dir + "/paper" + std::to_string(code) + ".png";
        ASSERT_TRUE(kt::renderPostScript(psPath, width, height, ppl * 2.54, png, &log)) << log;
        kt::Image screen = kt::pictureImage(dc), paper;
        ASSERT_TRUE(kt::loadPNG(png, &paper));
        kt::savePNG(dir + "/screen" + std::to_string(code) + ".png", screen);
        kt::savePNG(dir + "/diff" + std::to_string(code) + ".png", kt::diffImage(screen, paper, 2, 40));
        const kt::ImageDiff diff = kt::compareImages(screen, paper, 2, 40);
        EXPECT_GT(diff.inkA, 10000);
        EXPECT_LT(diff.share, 0.05) << "see " << dir;
    }
}
