// Hostile calls through the C interface: every exported family is driven with
// the classes of input a careless or malicious host can produce (counts above
// capacity, negative and INT32_MAX sizes, NaN and infinities, over-long and
// code-carrying strings, destroyed handles). The program passes when nothing
// crashes, hangs or trips the sanitizers, and each call gives its documented
// failure value without writing where it must not. It runs as one program in
// CI, so that state left behind by one family meets the next.
#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <cmath>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "common/picture.h"
#include "common/testing.h"
#include "kestrel/kestrel.h"
#include "platform/platform.h"

#ifdef _WIN32
#ifndef NOMINMAX
#define NOMINMAX
#endif
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#include <windows.h>
#endif

namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();
const float kBadFloats[] = {kNaN, kInf, -kInf, 3.0e38f, -3.0e38f, 1.0e-30f, 0.0f, -0.0f};
const int32_t kBadCounts[] = {-1, INT32_MIN, INT32_MAX, 1 << 30};

class Hostile : public ::testing::Test {
protected:
    void SetUp() override {
        dc = kt::openPage(300, 200, 20.0f);
        ASSERT_NE(dc, nullptr);
        UsrSys(dc, 0, 10, 10, 2, 0, 5, 5, 2);
    }
    void TearDown() override { kt::closePage(dc); }
    KDC dc = nullptr;
};

// A small analysis set with n points in a 10 x 10 square on a 6 x 5 grid,
// transformed, celled and sorted.
void smallSet(OASet *s, int32_t n) {
    ASSERT_EQ(OAAllocSet(s, 6.0f, 5.0f, 6, n), 1);
    s->nx = 6;
    s->ny = 5;
    for (int32_t i = 0; i < 6; ++i) {
        s->xg[i] = 2.0f * static_cast<float>(i);
        s->xlen[i] = 3.0f;
    }
    for (int32_t j = 0; j < 5; ++j) {
        s->yg[j] = 2.5f * static_cast<float>(j);
        s->ylen[j] = 3.0f;
    }
    for (int32_t i = 0; i < n; ++i) {
        s->x[i] = static_cast<float>(i % 10);
        s->y[i] = static_cast<float>((i * 7) % 10);
        s->val[i] = static_cast<float>(i);
        s->err[i] = 1.0f;
        s->errInv[i] = 1.0f;
        s->use[i] = 1;
    }
    s->nPoints = n;
    OAScaleTransformation(s);
    s->nCellX = s->nCellY = OA_NCELL;
    s->cellX0 = s->xgt[0] - 1e-6f;
    s->cellY0 = s->ygt[0] - 1e-6f;
    s->cellDx = (s->xgt[5] - s->xgt[0]) / 39.0f;
    s->cellDy = (s->ygt[4] - s->ygt[0]) / 39.0f;
    s->cellDxInv = 1.0f / s->cellDx;
    s->cellDyInv = 1.0f / s->cellDy;
    OASortDataPoints(s);
}

TEST_F(Hostile, AnalysisSetWithMorePointsThanCapacityIsRefusedEverywhere) {
    OASet s;
    OAInitializeSet(&s);
    smallSet(&s, 20);
    ASSERT_EQ(s.nPoints, 20);
    const OASet before = s;
    s.nPoints = -5;  // a negative count packs to none, as documented
    EXPECT_EQ(OAPackData(&s), 0);
    EXPECT_EQ(s.nPoints, 0);
    for (int32_t bad : {21, INT32_MAX}) {
        s.nPoints = bad;
        OAScaleTransformation(&s);
        OASortDataPoints(&s);
        EXPECT_EQ(OAPackData(&s), 0);
        float spread = 0, msd = 0;
        int32_t used = -1;
        EXPECT_EQ(OAEstimateValueT(1, 1, 1, 1, &spread, &msd, &used, &s), 0.0);
        EXPECT_EQ(used, 0);
        EXPECT_EQ(OAEstimateValue(1, 1, 1, 1, &spread, &msd, &used, &s), 0.0);
        std::vector<float> matrix(40 * 40), alpha(40);
        float sigma = 0;
        EXPECT_EQ(OAObjectASetup(&s, 0, matrix.data(), alpha.data(), &sigma), 0);
        float err = 0;
        OAObjectAEstimateT(1, 1, 1, 1, &err, &msd, &s, matrix.data(), alpha.data(), 1.0f, 1);
        EXPECT_EQ(OARemoveOutliers(&s, 1.0f, 0, 10, 0, 10), 0);
        const std::string ps = kt::capture("marks", [&](KFILE f) { OAMarkDataPos(dc, f, &s, 1.0f, 3); });
        EXPECT_TRUE(ps.empty());
        EXPECT_EQ(s.nPoints, bad);
        EXPECT_EQ(std::memcmp(s.cellFirst, before.cellFirst, sizeof s.cellFirst), 0);
    }
    s.nPoints = 20;
    OAFreeSet(&s);
}

TEST_F(Hostile, EstimatorsAcceptAnyPositionAndScale) {
    OASet s;
    OAInitializeSet(&s);
    smallSet(&s, 30);
    for (float x : kBadFloats)
        for (float f : kBadFloats) {
            float spread = 0, msd = 0;
            int32_t used = 0;
            OAEstimateValueT(x, x, f, f, &spread, &msd, &used, &s);
            OAEstimateValue(x, 1.0f, 1.0f, f, &spread, &msd, &used, &s);
            EXPECT_GE(used, 0);
        }
    // Coordinates of the transformation that are not numbers.
    const float grid[4] = {0, 1, kNaN, 3}, gt[4] = {0, 1, 2, 3}, len[4] = {1, 1, 1, 1};
    const float down[4] = {3, kNaN, 1, 0};
    for (float c : kBadFloats) {
        OATransformCoord(c, 4, grid, gt, len, 1.0f);
        OATransformCoord(c, 4, down, gt, len, 1.0f);
        OATransformCoord(c, 1, grid + 2, gt, len, 1.0f);
    }
    EXPECT_TRUE(std::isnan(OATransformCoord(kNaN, 4, gt, gt, len, 1.0f)));
    OAFreeSet(&s);
}

TEST_F(Hostile, ContourTracingSurvivesBadSizesAndValues) {
    std::vector<float> field(12 * 10);
    for (size_t i = 0; i < field.size(); ++i) field[i] = static_cast<float>(i % 7) - 3.0f;
    field[5] = kNaN;
    field[17] = kInf;
    std::vector<float> xs(12), ys(10);
    for (int i = 0; i < 12; ++i) xs[static_cast<size_t>(i)] = static_cast<float>(i);
    for (int j = 0; j < 10; ++j) ys[static_cast<size_t>(j)] = static_cast<float>(j);
    int32_t count = 0;
    for (int32_t bad : kBadCounts) {
        EXPECT_EQ(CTsetgs(field.data(), 0.5f, bad, 10, &count), nullptr);
        EXPECT_EQ(CTsetgs(field.data(), 0.5f, 12, bad, &count), nullptr);
    }
    // Single tracing steps with indices and cells at the ends of int32.
    GRIDSEGMENT *seg = CTsetgs(field.data(), 0.5f, 12, 10, &count);
    ASSERT_NE(seg, nullptr);
    for (int32_t v : {INT32_MAX, INT32_MIN, -1, count, 1 << 20}) {
        for (int32_t kind : {1, 2})
            for (int32_t cell : {0, v, (3 << 16) | 4}) {
                CTconpth(field.data(), 12, 10, seg, count, cell, kind, v, -1);
                if (v < 0 || v > 32767) CTconpth(field.data(), v, v, seg, count, cell, kind, 1, -1);
                CTaddpoi(field.data(), 0.5f, xs.data(), 12, ys.data(), 10, cell, kind);
            }
        CTfindi(1, 1, 1, seg, count, v, INT32_MAX, -1);
        CTfindi(1, 1, 1, seg, count, INT32_MIN, v, -1);
        CTstapth(field.data(), 12, 10, seg, count > 0 ? count : 0, -1);
    }
    nVp = 0;
    std::free(seg);
    // Label factors up to INT32_MAX on a long line: bounded work, at most
    // the room of the label list.
    std::vector<float> ramp(200 * 3);
    std::vector<float> rx(200), ry(3);
    for (int i = 0; i < 200; ++i) {
        rx[static_cast<size_t>(i)] = static_cast<float>(i) * 0.05f;
        for (int j = 0; j < 3; ++j) ramp[static_cast<size_t>(j * 200 + i)] = static_cast<float>(j) + 0.001f * i;
    }
    for (int32_t factor : {1 << 30, INT32_MAX, INT32_MIN, -1}) {
        std::vector<KContourLabel> labels(KESTREL_MAX_CONTOUR_LABELS);
        int32_t n = 0;
        std::vector<float> f = ramp;
        ContourLine(dc, nullptr, f.data(), labels.data(), &n, rx.data(), 200, ry.data(), 3, 1.0f, 1, 0, 0, factor, 1,
                    10, 0);
        EXPECT_GE(n, 0);
        EXPECT_LE(n, KESTREL_MAX_CONTOUR_LABELS);
    }
    // Shading and erasing with coordinates far beyond any device.
    const float remote[4] = {-3e38f, 0, 1e30f, 3e38f};
    const float field4[16] = {0, 1, 2, 3, kNaN, 5, 6, 7, 8, kInf, 10, 11, 12, 13, 14, -kInf};
    for (float v : kBadFloats) {
        ShadeField(field4, 0, 0, remote, 4, remote, 4, v, 10, 0.5f, 0.5f, dc, nullptr);
        EraseField(field4, v, remote, 4, remote, 4, 0, dc, nullptr);
    }
    for (int32_t bad : kBadCounts) {
        ShadeField(field.data(), 0, 0, xs.data(), bad, ys.data(), 10, 0, 1, 0.5f, 0.5f, dc, nullptr);
        EraseField(field.data(), 0, xs.data(), 12, ys.data(), bad, 0, dc, nullptr);
    }
    float start = 0, step = 0, end = 0;
    for (float v : kBadFloats) CTSelectLines(v, 1.0f, 10, v, &start, &step, &end);
}

TEST_F(Hostile, AxesWithZeroOrTinyStepsFinishQuickly) {
    for (float tick : {0.0f, 1e-30f, -1e-30f, kNaN, kInf}) {
        XAxisLabels(dc, 0, 0, tick, tick, "below", "above", 0);
        YAxisLabels(dc, 0, 0, tick, tick, "title", 0);
        YAxisLabels(dc, 0, 1e30f, 1.0f, tick, "title", 3);
        XAxisLabels(dc, 0, -3e38f, tick, 1.0f, nullptr, nullptr, 1);
    }
    int32_t first = 0, last = 0;
    for (float step : kBadFloats) {
        float s = step;
        SetAxisAnnotationPos(&first, &last, &s, 0, 0, 10, 5);
        SetAxisAnnotationPos(&first, &last, &s, 0, kNaN, kInf, 0);
    }
    for (float v : kBadFloats) DrawColorBar(dc, nullptr, "bar", v, 0, 10, 10, 0, 5, v, 1, 0.5f, 0.5f);
}

TEST_F(Hostile, DrawingWithBadCoordinatesCountsAndSystems) {
    std::vector<float> x = {0, kNaN, 3e38f, -3e38f, kInf, 5, 1e30f}, y = {0, 1, kNaN, 3e38f, -kInf, 5, -1e30f};
    const int32_t n = static_cast<int32_t>(x.size());
    DrawDots(dc, x.data(), y.data(), n, 1.0f);
    DrawSquares(dc, x.data(), y.data(), n, 1e30f);
    DrawDiamonds(dc, x.data(), y.data(), n, kNaN);
    DrawTriangles(dc, x.data(), y.data(), n, -1e30f);
    DrawStars(dc, x.data(), y.data(), n, kInf);
    DrawCurve(dc, nullptr, x.data(), y.data(), n, xmiss, 1, 1.0f, 0);
    DrawPoly(dc, nullptr, x.data(), y.data(), n, 0, 1);
    DrawPoly(dc, nullptr, x.data(), y.data(), n, 0, 2);
    DrawClippedPolyline(dc, nullptr, x.data(), y.data(), n, xmiss, 1);
    for (int32_t bad : {-1, INT32_MIN}) {
        DrawDots(dc, x.data(), y.data(), bad, 1.0f);
        DrawPoly(dc, nullptr, x.data(), y.data(), bad, 0, 1);
    }
    const int32_t rect[4] = {INT32_MIN, INT32_MIN, INT32_MAX, INT32_MAX};
    for (int32_t index : {-1, 0, 255, 256, INT32_MAX, INT32_MIN}) ODADrawColorRect(dc, rect, index, 1);
    for (float mag : kBadFloats) {
        mCGS.mag = mag;
        DrawSymbols(dc, nullptr, x.data(), y.data(), n, 1, 1.0f);
        DrawString(dc, "Hx", 1, 1, mag, mag);
    }
    mCGS.mag = 1.0f;
    // A user system that is not a system: NaN and infinite ranges.
    for (float v : kBadFloats) {
        UsrSys(dc, v, 10, 10, 2, 0, v, 5, 2);
        DrawDots(dc, x.data(), y.data(), n, 1.0f);
        DrawPoly(dc, nullptr, x.data(), y.data(), n, 0, 2);
        FrameVWP(dc, 1);
        DrawString(dc, "text", 1, 1, 0, 1);
    }
}

TEST_F(Hostile, DestroyedCanvasesAreNotHandles) {
    // Text on one canvas, which then goes away while the library still
    // names it as the owner of its font; the next canvas draws text too.
    KDC a = kt::createPicture(100, 50);
    hdcMem = a;
    DrawString(a, "first", 1, 1, 0, 1);
    kt::destroyPicture(a);
    KDC b = kt::createPicture(100, 50);
    hdcMem = b;
    DrawString(b, "second", 1, 1, 0, 1);
    DrawString(a, "dead", 1, 1, 0, 1);
    FrameVWP(a, 1);
    kt::destroyPicture(b);
    hdcMem = dc;
    DrawString(dc, "back", 1, 1, 0, 1);
}

TEST_F(Hostile, GifExportAllocatesNoMoreThanTheRectangle) {
    const std::string dir = kt::scratchDir("HostileGif");
    const int32_t savedW = Vbmp_size_cx, savedH = Vbmp_size_cy;
    // The host claims a 60000 x 60000 picture; the rectangle is 6 x 6.
    Vbmp_size_cx = 60000;
    Vbmp_size_cy = 60000;
    int32_t rect[4] = {0, 0, 5, 5};
    EXPECT_EQ(BMPtoGIF(dc, nullptr, rect, (dir + "/small.gif").c_str()), 1);
    int32_t all[4] = {INT32_MIN, INT32_MIN, INT32_MAX, INT32_MAX};
    EXPECT_EQ(BMPtoGIF(dc, nullptr, all, (dir + "/all.gif").c_str()), 1);
    EXPECT_EQ(all[2], 299);  // clamped to the picture that exists
    Vbmp_size_cx = savedW;
    Vbmp_size_cy = savedH;
}

TEST_F(Hostile, StringsLongerThanAnyBufferAreCut) {
    const std::string longPath = "C:\\" + std::string(5000, 'd') + "\\" + std::string(5000, 'n') + ".ext";
    std::vector<char> dir(KESTREL_MAX_PATH + 64, 'X'), name(KESTREL_MAX_PATH + 64, 'X');
    dcmpnam(longPath.c_str(), dir.data(), name.data());
    EXPECT_EQ(std::strlen(dir.data()), static_cast<size_t>(KESTREL_MAX_PATH - 1));
    EXPECT_EQ(dir[KESTREL_MAX_PATH], 'X');
    EXPECT_EQ(name[KESTREL_MAX_PATH], 'X');
    const std::string line = "key=" + std::string(10000, 'v') + "\n";
    std::vector<char> out(KESTREL_MAX_PATH + 64, 'X');
    ExtractRHS(out.data(), line.c_str());
    EXPECT_EQ(out[KESTREL_MAX_PATH], 'X');
    std::vector<float> a(8, 1.0f);
    initf1(a.data(), -5, 2, 9.0f);
    EXPECT_EQ(a[0], 1.0f);
    initf1(a.data(), INT32_MAX, INT32_MAX - 1, 9.0f);  // empty range, no wrap
    std::vector<int16_t> b(8, 1);
    inits1(b.data(), INT32_MIN, 3, 9);
    EXPECT_EQ(b[0], 1);
    char small[8] = "abc";
    ReplaceInString(small, "b", std::string(100, 'x').c_str(), 8);
    EXPECT_LT(std::strlen(small), 8u);
    char tokens[] = "a;b;c;d;e;f";
    char *fields[2];
    EXPECT_EQ(BreakLine(tokens, ";", fields, 2), 2);
}

TEST_F(Hostile, LinesInFileCannotExhaustTheLibrarysDescriptors) {
    const std::string dir = kt::scratchDir("HostileLines");
    const std::string file = dir + "/three.txt";
    kt::writeFile(file, "1\n2\n3\n");
    for (int i = 0; i < 3000; ++i) ASSERT_EQ(LinesInFile(file.c_str()), 3) << i;
    for (int i = 0; i < 200; ++i) {
        const std::string other = dir + "/f" + std::to_string(i);
        kt::writeFile(other, "x\n");
        ASSERT_EQ(LinesInFile(other.c_str()), 1);
    }
    EXPECT_EQ(IsFileExisting(file.c_str()), 1);
    KFILE ps = PSOpenFile((dir + "/after.ps").c_str(), nullptr, "", "", 0);
    EXPECT_NE(ps, nullptr);
    kestrel::plat::fileClose(ps);
}

TEST_F(Hostile, CoastlinesFromDevicesAndAbsurdRecordsEnd) {
#ifndef _WIN32
    DrawWorld(dc, nullptr, "/dev/zero", -180, 180, -90, 90, 0, 10, 0, 10, 0, 5, 0, 5, 1, 1);
#endif
    const std::string dir = kt::scratchDir("HostileCoast");
    std::string rec(8, '\0');
    const int32_t n = INT32_MAX, m = -1;
    std::memcpy(&rec[0], &n, 4);
    std::memcpy(&rec[4], &m, 4);
    kt::writeFile(dir + "/huge.cst", rec + std::string(64, '\x01'));
    DrawWorld(dc, nullptr, (dir + "/huge.cst").c_str(), -180, 180, -90, 90, 0, 10, 0, 10, 0, 5, 0, 5, 1, 1);
}

TEST_F(Hostile, PostScriptTextCannotRunCode) {
    const char *title = "Temp [a) (INJECTED) print flush (b] \\";
    const std::string ps = kt::capture("bar", [&](KFILE f) {
        DrawColorBar(nullptr, f, title, 10, 0, 10, 10, 0, 5, 0, 1, 0.5f, 0.5f);
    });
    const size_t at = ps.find("INJECTED");
    ASSERT_NE(at, std::string::npos);
    // Every parenthesis of the title is escaped, and the final backslash
    // cannot swallow the closing one.
    EXPECT_NE(ps.find("(Temp [a\\) \\(INJECTED\\) print flush \\(b] \\\\)"), std::string::npos) << ps;
    const std::string comment = kt::capture("cdt", [&](KFILE f) {
        DrawWorld(nullptr, f, "/nonexistent\n(x) print", 0, 10, 0, 10, 0, 10, 0, 10, 0, 5, 0, 5, 1, 1);
    });
    EXPECT_EQ(comment.find("\n(x) print"), std::string::npos);
}

TEST_F(Hostile, FrameAndColourServicesWithOutOfRangeArguments) {
    KBInitialize();
    for (int32_t bad : kBadCounts) {
        SetColor(bad);
        KBAddKey(bad, bad, bad);
        MyProgressBar(bad, bad);
        float length = 0;
        PixelLineWidth(bad, &length);
    }
    int32_t t = 0, a = 0, b = 0;
    // An empty queue waits for ever by design: read what is there only.
    for (int i = 0; i < 50 && !KBEmpty; ++i) KBGetKey(&t, &a, &b);
    for (float v : kBadFloats) {
        CMapInitialize(v, v, v, v);
        CMapCalColor(v);
        CMapCalGray(v);
        CMapCalZval(v);
        SetZColor(v);
    }
    CMapInitialize(0.5f, 0.5f, 0.0f, 1.0f);
    const std::string text(5000, 'e');
    UpdateStatusBar(text.c_str());
    LogLastError(text.c_str(), 0);
#ifndef _WIN32
    LoadPaletteFile(dc, "/dev/zero");
#endif
    LoadPaletteFile(dc, "/nonexistent/palette.pal");
}

}  // namespace

namespace {

// A crafted field file of other dimensions than the set: every array that
// follows nx and ny follows them, so the writers and estimators that index
// them by the new counts stay inside.
TEST_F(Hostile, FieldOfOtherDimensionsResizesEveryAxisArray) {
    const std::string dir = kt::scratchDir("HostileField");
    const std::string base = dir + "/set";
    std::string field = "0\n50 2\n";
    for (int i = 0; i < 252; ++i) field += " " + std::to_string(i * 0.5);
    kt::writeFile(base + ".oao", field + "\n");
    OASet s;
    OAInitializeSet(&s);
    smallSet(&s, 10);  // 6 x 5
    const float oldXgt1 = s.xgt[1], oldXlen5 = s.xlen[5];
    ASSERT_EQ(OALoadField(base.c_str(), &s), 0);
    ASSERT_EQ(s.nx, 50);
    ASSERT_EQ(s.ny, 2);
    EXPECT_EQ(s.xgt[1], oldXgt1);           // kept where it existed
    EXPECT_EQ(s.xlen[49], oldXlen5);        // new lines take the last scale length
    EXPECT_EQ(s.xgt[49], s.xg[49]);         // ... and their untransformed place
    EXPECT_EQ(s.gridErrOut[99], xmiss);     // no error was computed for them
    EXPECT_EQ(OAWriteGrid(base.c_str(), &s), 0);
    EXPECT_EQ(OAWriteField(base.c_str(), &s), 0);
    float spread, msd;
    int32_t used;
    OAEstimateValue(s.xg[49], s.yg[1], 1, 1, &spread, &msd, &used, &s);
    // The written grid reads back with the new dimensions.
    OASet back;
    OAInitializeSet(&back);
    ASSERT_EQ(OALoadGrid(base.c_str(), &back), 0);
    EXPECT_EQ(back.nx, 50);
    EXPECT_EQ(back.xg[49], s.xg[49]);
    OAFreeSet(&back);
    OAFreeSet(&s);
}

// Grid lines that are not numbers place no line: the grid file fails to
// load, ascending or descending, instead of sending a later search before
// the first line.
TEST_F(Hostile, GridLinesThatAreNotNumbersAreRejected) {
    const std::string dir = kt::scratchDir("HostileGridNaN");
    const std::string base = dir + "/g";
    for (const char *text : {"2 2\n\nnan 1\n2 1\n\n0 1\n1 1\n\n1 2  1 2 1.00 10000 1\n",
                             "3 2\n\n5 1\nnan 1\n1 1\n\n0 1\n1 1\n\n1 3  1 2 1.00 10000 1\n",
                             "2 2\n\n0 1\n2 inf\n\n0 1\n1 1\n\n1 2  1 2 1.00 10000 1\n"}) {
        kt::writeFile(base + ".oag", text);
        OASet s;
        OAInitializeSet(&s);
        EXPECT_EQ(OALoadGrid(base.c_str(), &s), 1) << text;
        OAFreeSet(&s);
    }
    // A data point that is not a number loads (it is a line of the file) but
    // lies in no cell: it never enters an estimate.
    kt::writeFile(base + ".oag", "2 2\n\n0 5\n10 5\n\n0 5\n10 5\n\n1 2  1 2 1.00 10000 1\n");
    kt::writeFile(base + ".oai", "nan 1 5 1\n1 nan 5 1\n2 2 7 1\n");
    kt::writeFile(base + ".oal", std::string("   title =t\n  xtitle =x\n  ytitle =y\n") +
                                     "    xmin =  0\n    xmax = 10\n\n\n\n    ymin =  0\n    ymax = 10\n" +
                                     std::string(13, '\n') + "   xslen = 5\n     xof = 1\n   yslen = 5\n     yof = 1\n");
    OASet s;
    OAInitializeSet(&s);
    ASSERT_EQ(OALoadSet(base.c_str(), &s), 1);
    EXPECT_EQ(s.nPoints, 1);
    float spread, msd;
    int32_t used = 0;
    EXPECT_NEAR(OAEstimateValue(2, 2, 1, 1, &spread, &msd, &used, &s), 7.0, 1e-6);
    EXPECT_EQ(used, 1);
    OAFreeSet(&s);
}

}  // namespace

namespace {

TEST_F(Hostile, NumericsWithBadSizesAndValues) {
    std::vector<double> a(16, 1.0), p(4), b(4, 1.0);
    std::vector<float> af(16, kNaN), pf(4), bf(4);
    std::vector<int32_t> indx(4);
    double d = 0;
    float df = 0;
    for (int32_t n : {0, -1, INT32_MIN}) {
        EXPECT_EQ(LACholeskyDcmp(n, a.data(), p.data()), 1);  // an empty matrix is factorised
        LALUDcmp(n, a.data(), indx.data(), &d);
        LAMVMultiply(n, n, a.data(), b.data(), p.data());
    }
    LACholeskyDcmpF(4, af.data(), pf.data());  // NaN is not positive definite
    LALUDcmpF(4, af.data(), indx.data(), &df);
    const float xs[5] = {kNaN, 1, kInf, 3, 4}, ys[5] = {1, kNaN, 2, -kInf, 5};
    double coef[4];
    PolyFit(5, xs, ys, nullptr, 3, coef);
    for (int32_t m : {-1, INT32_MIN}) PolyFit(5, xs, ys, nullptr, m, coef);
    float centres[4], counts[4];
    BinCount(xs, 5, kNaN, kInf, 4, centres, counts);
    BinCount(xs, 5, 0, 1, -3, centres, counts);
    float lo, hi, start, end, first, tic, ltic;
    mimaex(-5, xs, xmiss, &lo, &hi);
    for (float v : kBadFloats) AutoScale(v, 1, &start, &end, &first, &tic, &ltic);
    AutoScale(kNaN, kInf, &start, &end, &first, &tic, &ltic);
    EXPECT_EQ(FindBin(xs, 5, kNaN), -1);
    int32_t status = 0;
    double x = 0, f = kNaN;
    for (int i = 0; i < 200 && IterateTowardsZero(&status, 0, 1, 1e-9, &x, &f, INT32_MAX) == 1; ++i) f = kNaN;
    const float knots[6] = {0, 0, kNaN, 1, 1, 1};
    float basis[4];
    NURBSBasisFuns(0.5f, knots, basis, NURBSFindSpan(kNaN, knots, 2, 2), 2);
    float cx[3] = {0, kNaN, 1}, cy[3] = {0, 1, kInf}, ox[10], oy[10];
    NURBSCurveEvalXYPoints(cx, cy, 3, 2, ox, oy, 10);
    for (int32_t bad : {INT32_MAX, -1}) NURBSCurveDraw(dc, nullptr, cx, cy, 3, bad, 1);
}

TEST_F(Hostile, OceanFormulasGiveNumbersOrNaNForAnyInput) {
    for (float v : kBadFloats)
        for (float w : {v, 35.0f, 10.0f}) {
            EOS80(v, w, 35);
            theta(w, v, 35, v);
            SoundVel(v, w, v);
            calDepth(v, w);
            calPress(w, v);
            float dir = 0;
            distance(v, w, 0, 0, &dir);
            crtarea(v, w);
            crtdcorr(v, w);
            o2sat(v, w);
            CFCSaturation(v, w, v, 11);
            double k[8];
            CO2EquConst(1, v, w, &k[0], &k[1], &k[2], &k[3], &k[4], &k[5], &k[6], &k[7]);
        }
    float pH, pco2, co2, hco3, co3;
    for (int32_t set : {-1, 0, 1, 99, INT32_MAX})
        for (float v : kBadFloats) CComp1(set, v, 35, v, 2300, xmiss, &pH, &pco2, &co2, &hco3, &co3);
    for (int32_t gas : {-1, 0, 12, 13, INT32_MAX}) CFCSaturation(10, 35, 100, gas);
}

TEST_F(Hostile, MapsWithBadDomainsAndPointCounts) {
    for (int32_t code : {-1, 0, 1, 4, 5, 6, 7, INT32_MAX}) {
        for (float v : kBadFloats) {
            float xMin = 0, xMax = 10, width = 10, xOff = 1, yMin = 0, yMax = 5, height = 5, yOff = 1;
            float lonMin = v, lonMax = 40, cLon = v, latMin = -10, latMax = v, cLat = 0;
            AdjustMapLayout(&xMin, &xMax, &width, &xOff, &yMin, &yMax, &height, &yOff, &lonMin, &lonMax, &cLon,
                            &latMin, &latMax, &cLat, code, 10, 1, 5, 1);
            std::vector<float> x(64), y(64);
            for (int32_t maxPoints : {0, 1, 3, 64}) ConstructMapClipPath(x.data(), y.data(), maxPoints, code, v, 40, -10, v);
            ClipMapWindow(dc, nullptr, v, 40, -10, v, 0, 10, 0, 10, 0, 5, 0, 5, 1);
            DrawMeridian(dc, nullptr, -80, 80, v, 100, 1);
            DrawParallel(dc, nullptr, -180, 180, v, INT32_MAX, 1);
            DrawParallel(dc, nullptr, -180, 180, 10, -5, 1);
            char text[64];
            MkeLatLabel(v, text, 1);
            MkeLonLabel(v, text, 0);
        }
    }
    ClipVWP(dc, 0);
    proj = 0;
}

TEST_F(Hostile, GifEncoderStateAndCanvasSizes) {
    for (uint32_t v : {0u, 255u, 256u, 4095u, 4096u, 0xFFFFFFFFu}) {
        EncodeLZW(v);
        WriteCode(v, v % 40);
        GetCodeLength(v);
    }
#ifndef _WIN32  // the canvas is the non-Windows device context
    for (int32_t w : {0, -1, INT32_MAX, 1 << 20}) EXPECT_EQ(KCanvasCreate(w, w), nullptr);
    KDC c = KCanvasCreate(3, 3);
    ASSERT_NE(c, nullptr);
    EXPECT_EQ(KCanvasGetPixel(c, INT32_MAX, INT32_MIN), 0xFFFFFFFFu);
    KCanvasSelectPen(c, INT32_MAX, INT32_MAX, 0);
    KCanvasSelectPen(c, -1, -1, 0);
    KCanvasDestroy(c);
    KCanvasDestroy(c);  // a destroyed canvas is no handle: nothing happens
    EXPECT_EQ(KCanvasWidth(c), 0);
    EXPECT_EQ(KCanvasSavePNG(c, "never.png"), 0);
#endif
}

}  // namespace

namespace {

TEST_F(Hostile, NeutralDensityWithBadBlocksSizesAndValues) {
    NDData nd;
    NDinitialize(&nd);
    EXPECT_EQ(NDopen(nullptr, "/tmp/"), 1);
    EXPECT_EQ(NDopen(&nd, nullptr), 1);
    const std::string longPrefix(5000, 'd');
    EXPECT_EQ(NDopen(&nd, longPrefix.c_str()), 1);
    EXPECT_EQ(NDread(187, -41, &nd), 1);
    EXPECT_EQ(NDread(187, -41, nullptr), 1);
    double s = 35, t = 10, p = 100, g = 0, lo = 0, hi = 0;
    EXPECT_EQ(NDgamma_n(&s, &t, &p, 1, 187, -41, &g, &lo, &hi, -99, &nd), 1);  // not loaded
    EXPECT_EQ(NDgamma_n(nullptr, nullptr, nullptr, INT32_MAX, 187, -41, nullptr, nullptr, nullptr, -99, &nd), 1);
    EXPECT_EQ(NDgamma_n(&s, &t, &p, INT32_MIN, 187, -41, &g, &lo, &hi, -99, &nd), 1);
    for (double v : {double(kNaN), double(kInf), -double(kInf), 1e300})
        EXPECT_EQ(NDgamma_n(&s, &t, &p, 1, v, v, &g, &lo, &hi, -99, &nd), 1);
    NDclose(&nd);
    NDclose(nullptr);
    // The steps with sizes that are not sizes and values that are not numbers.
    const double x[3] = {double(kNaN), 1, double(kInf)};
    for (int32_t n : {INT32_MIN, -1, 0})
        EXPECT_EQ(NDindx(x, n, 0.5), -1);
    EXPECT_EQ(NDindx(x, 3, kNaN), -1);
    double a, b, c;
    int32_t it, count = 7;
    double ss[50], ts[50], ps[50];
    for (int32_t n : {INT32_MIN, -5, 0}) {
        NDdepth_ns(x, x, x, n, 35, 10, 100, &a, &b, &c);
        EXPECT_EQ(c, -99.0);
        NDdepth_scv(x, x, x, n, 35, 10, 100, ss, ts, ps, &count);
        EXPECT_EQ(count, 0);
        NDstp_interp(x, x, x, n, &a, &b, 1);
        NDgoor(x, x, x, x, n, 35, 10, 100, &a, &b, &c, &c);
    }
    NDdepth_scv(x, x, x, 3, 35, 10, 100, nullptr, nullptr, nullptr, nullptr);
    for (int32_t k : {INT32_MIN, -1, 0, 3, INT32_MAX}) NDe_solve(x, x, x, x, 3, k, 35, 10, 100, &a, &b, &c, &it);
    for (int32_t k : {INT32_MIN, 3}) NDscv_solve(x, x, x, x, 3, k, 35, 10, 100, &a, &b, &c, &it);
    NDdepth_ns(x, x, x, 3, kNaN, kInf, -kInf, &a, &b, &c);  // NaN casts cross nowhere
    NDgoor(x, x, x, x, 3, kNaN, kNaN, kNaN, &a, &b, &c, &c);
    NDgoor_solve(kNaN, kInf, 0, 1, 1, 1, kNaN, 0, 0, 0, kNaN, &a, &b);
    NDgamma_errors(nullptr, x, x, x, x, 3, 0, 0, 35, 10, 100, 35, 10, 100, 0, 27, &a, &b, &c);
    NDgamma_errors(x, x, x, x, x, 3, 0, -70, 35, 10, 100, 35, 10, 100, INT32_MAX, 27, &a, &b, &c);
    EXPECT_EQ(a, 0.0);
    for (double v : {double(kNaN), double(kInf), -1e300}) {
        NDsvan(v, v, v, nullptr);
        NDtheta(v, v, v, v);
        NDeos8d(v, v, v, nullptr);
        NDeosall(v, v, v, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
        NDderthe(v, v, v, nullptr, nullptr, nullptr);
        NDocean_test(v, v, INT32_MAX, v, v, INT32_MIN, v);
    }
}

}  // namespace

namespace {

TEST_F(Hostile, ThreeDimensionsTopographyAndGazetteerWithBadRecords) {
    D3Set s;
    for (int32_t n : {INT32_MIN, -1, 0})
        for (int32_t cap : {-1, 0}) {
            D3AllocSet(&s, n, n, n, cap);
            D3FreeSet(&s);
        }
    ASSERT_EQ(D3AllocSet(&s, 2, 2, 2, 4), 1);
    s.nPoints = INT32_MAX;  // the host writes counts directly
    D3GenerateGrid(&s, kNaN, kInf, 0);
    D3ScaleTransformation(&s);
    D3SortDataPoints(&s);
    D3EstimateField(&s);
    float sp, md;
    int32_t nu;
    D3EstimateValue(kNaN, kInf, -kInf, 0, 0, 0, &sp, &md, &nu, &s);
    s.nPoints = 4;
    for (int i = 0; i < 4; ++i) s.x[i] = s.y[i] = s.z[i] = kBadFloats[i], s.val[i] = kNaN, s.err[i] = s.errInv[i] = 0, s.use[i] = 1;
    s.xmin = kNaN, s.xmax = kInf;
    D3GenerateGrid(&s, 5, 5, 5);
    D3EstimateField(&s);
    D3WriteFieldZep(nullptr, nullptr, nullptr, &s);
    D3WriteFieldZep("/no/such/dir/x", nullptr, nullptr, nullptr);
    D3FreeSet(&s);
    D3FreeSet(&s);

    EtopoHeader h{};
    EXPECT_EQ(OpenEtopoFileEx(nullptr, nullptr), nullptr);
    h.rowLength = INT32_MIN;
    h.rowsPerDegree = kNaN;
    EXPECT_EQ(GetEtopoHeightEx(nullptr, h, kNaN, kInf), 0);

    Gazetteer g;
    std::memset(&g, 'x', sizeof g);  // filters without terminators, garbage pointers never freed
    g.namePool = g.typePool = nullptr;
    g.markedFeature = nullptr, g.selected = nullptr, g.markedX = g.markedY = nullptr, g.pieces = nullptr;
    g.nameOffset = g.typeOffset = g.firstPoint = g.pieceEntry = nullptr, g.lon = g.lat = nullptr;
    EXPECT_EQ(GazetteerLoad("/no/such/file", &g), 0);
    g.nFeatures = INT32_MAX;
    EXPECT_EQ(GazetteerMarkFeatures(dc, &g, 0, 1, 0, 1), 0);
    EXPECT_EQ(GazetteerDrawFeature(dc, 5, &g, 0, 1, 0, 1, 0), 0);
    GazetteerFree(&g);
    for (int32_t n : {INT32_MIN, -1, 0}) EXPECT_EQ(GazetteerDrawFeaturePiece(dc, nullptr, nullptr, n, 0, 0, 0, 1, 0, 1, 0, 1), 0);
}

}  // namespace

namespace {

TEST_F(Hostile, HousekeepingWithNullsAndLongPaths) {
    const std::string huge(100000, 'p');
    char out[KESTREL_MAX_PATH];
    PathRel2Full(huge.c_str(), out, huge.c_str());
    PathRel2Full(nullptr, out, nullptr);
    EXPECT_EQ(PathRel2Full("a", nullptr, "b"), 0);
    GetParentDirectory(out, huge.c_str());
    GetParentDirectory(nullptr, "x");
    char dir[260];
    std::memset(dir, ' ', sizeof dir - 1);
    dir[sizeof dir - 1] = '\0';
    CleanDirString(dir);
    CleanDirString(nullptr);
    ValidateFileName(nullptr);
    for (int32_t v : {INT32_MIN, -1, 0, 13, INT32_MAX}) julday(v, v, v);
    GetDateTime(nullptr);
    EXPECT_EQ(GetRegValue(nullptr, nullptr, nullptr, nullptr, out, INT32_MIN, nullptr), 0);
    EXPECT_EQ(GetRegValue(nullptr, huge.c_str(), huge.c_str(), huge.c_str(), out, sizeof out, huge.c_str()),
              static_cast<int32_t>(sizeof out - 1));
    EXPECT_EQ(GenerateFileList(nullptr, nullptr, 0, 0), 0);
    GenerateFileListEx(nullptr, nullptr, 1, nullptr, 0, 0);
    GenerateFileListEx("/no/such/dir", "*", 1, nullptr, 0, 0);
    EXPECT_EQ(FindFirstChildDir(nullptr, nullptr), K_INVALID_SEARCH);
    EXPECT_EQ(FindNextChildDir(nullptr, nullptr), 0);
    EXPECT_EQ(IsChildDir(nullptr), 0);
    DeleteOldFiles(nullptr, 0);
    DeleteOldFiles("/no/such/dir/*", INT32_MIN);
    EXPECT_EQ(SpawnDetachedProcess(nullptr, nullptr, 0), 1);
    EXPECT_EQ(SpawnDetachedProcess("\"\"\"", huge.c_str(), 1), 1);
}

// The modal tools with no host window to wait on end at once (on Windows
// a quit message ends them), whatever their arguments.
TEST_F(Hostile, InteractiveToolsWithoutAWindowAndWithBadArguments) {
#ifdef _WIN32
    PostQuitMessage(0);  // handed on by every tool that meets it
#endif
    float x[4] = {0}, y[4] = {0};
    for (int32_t n : kBadCounts) {
        EXPECT_EQ(GetPoints(x, y, n, 0, 0), 0);
        EXPECT_EQ(GetPoints(x, y, 4, n < 0 ? n : 0, 0), 0);
        int32_t dx = 0, dy = 0;
        const int32_t px[2] = {0, 1}, py[2] = {0, 1};
        TrackPolygon(px, py, n < 0 ? n : 2, &dx, &dy);
    }
    EXPECT_EQ(GetPoints(nullptr, nullptr, 4, 0, 0), 0);
    TrackPolygon(nullptr, nullptr, 3, nullptr, nullptr);
    float a = kNaN, b = kInf, c = -kInf, d = 3.0e38f;
    EXPECT_EQ(ZoomViewPort(&a, &b, INT32_MAX, &c, &d, INT32_MIN), 27);
    EXPECT_EQ(ZoomViewPort(nullptr, &b, 1, &c, &d, 1), 27);
    Vcmap.a0 = Vcmap.a1 = 1.0f;  // an empty colour range
    EXPECT_EQ(ZoomColorBar(&a, &b, 2), 27);
    EXPECT_EQ(ZoomColorBar(nullptr, nullptr, 2), 27);
    CM_Bstatus = 1;
    EXPECT_EQ(MoveBitMap(), 0);
    CM_Bstatus = 0;
    for (float v : kBadFloats) {
        DrawZoomBox(v, v, -v, v, 1);
        for (int32_t dec : {INT32_MIN, -400, -1, 0, 7, 400, INT32_MAX}) KroundDecimals(v, dec);
    }
    DrawZoomBox(-1.0e10f, 0, 0, 0, 0);
#ifdef _WIN32
    MSG m;
    while (PeekMessageA(&m, nullptr, 0, 0, PM_REMOVE)) {
    }
#endif
}

}  // namespace
