// The four analysis files: write-read round trips, the documented
// asymmetries, and hostile files (every reader must give its documented
// result without writing past an array; the asan preset checks the latter).
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <tuple>
#include <vector>

#include "kestrel/globals.h"
#include "kestrel/oa.h"
#include "oa_fixture.h"
#include "common/testing.h"

namespace {

using ktoa::SetGuard;

// The writers use text mode: on Windows the lines end in CR LF.
std::string fileText(const std::string &path) {
    std::string t = kt::readFile(path);
    t.erase(std::remove(t.begin(), t.end(), '\r'), t.end());
    return t;
}

std::string base(const char *test) { return kt::scratchDir(test) + "/set"; }

TEST(DataFile, RoundTripKeepsUsedPointsAndUntransformedCoordinates) {
    SetGuard g;
    ASSERT_TRUE(ktoa::allocExact(g.s, 4, 3, 4));
    const float pts[4][4] = {{1.5f, -2.25f, 10.0f, 0.5f}, {3, 4, 5, 2}, {7, 8, xmiss, 1}, {100, 200, 300, 4}};
    for (int i = 0; i < 4; ++i) {
        g.s.x[i] = pts[i][0];
        g.s.xt[i] = 999.0f;  // transformed values must not be written
        g.s.y[i] = pts[i][1];
        g.s.val[i] = pts[i][2];
        g.s.err[i] = pts[i][3];
        g.s.use[i] = i == 1 ? 0 : 1;
    }
    g.s.nPoints = 4;
    const std::string b = base("DataFileRoundTrip");
    ASSERT_EQ(OAWriteData(b.c_str(), &g.s, 0), 0);
    EXPECT_EQ(fileText(b + ".oai"), "1.5 -2.25 10 0.5\n7 8 -1e+10 1\n100 200 300 4\n");
    SetGuard r;
    ASSERT_EQ(OALoadData(b.c_str(), &r.s), 3);
    EXPECT_EQ(std::make_tuple(r.s.nPoints, r.s.capacity), std::make_tuple(3, 3));
    EXPECT_EQ(std::make_tuple(r.s.x[0], r.s.xt[0], r.s.yt[0], r.s.errInv[0], r.s.use[0]),
              std::make_tuple(1.5f, 1.5f, -2.25f, 2.0f, uint8_t{1}));
    EXPECT_TRUE(r.s.val[1] == xmiss && r.s.use[1] == 0);  // missing value: kept and counted, not used
    EXPECT_EQ(r.s.err[2], 4.0f);
    // All points, whatever their flag.
    ASSERT_EQ(OAWriteData(b.c_str(), &g.s, 1), 0);
    EXPECT_EQ(fileText(b + ".oai"), "1.5 -2.25 10 0.5\n3 4 5 2\n7 8 -1e+10 1\n100 200 300 4\n");
    // No used point: an empty file and success.
    for (int i = 0; i < 4; ++i) g.s.use[i] = 0;
    ASSERT_EQ(OAWriteData(b.c_str(), &g.s, 0), 0);
    EXPECT_EQ(fileText(b + ".oai"), "");
    EXPECT_EQ(OAWriteData((kt::scratchDir("DataFileRoundTrip") + "/no/such/dir/x").c_str(), &g.s, 0), 1);
}

TEST(DataFile, CountComesFromLinesNotFromRecords) {
    const std::string b = base("DataFileHostile");
    {
        // The last line lacks its newline: not counted, and not stored.
        kt::writeFile(b + ".oai", "1 2 3 4\n5 6 7 8");
        SetGuard r;
        EXPECT_EQ(OALoadData(b.c_str(), &r.s), 1);
        EXPECT_EQ(r.s.capacity, 1);
        EXPECT_EQ(r.s.val[0], 3.0f);
    }
    {
        // A malformed line ends the parse; the count stays the line count.
        kt::writeFile(b + ".oai", "1 2 3 4\nabc def\n5 6 7 8\n\n");
        SetGuard r;
        EXPECT_EQ(OALoadData(b.c_str(), &r.s), 4);
        EXPECT_EQ(r.s.nPoints, 4);
        EXPECT_EQ(r.s.x[0], 1.0f);
        EXPECT_EQ(r.s.use[1], 0);  // never parsed: not part of the analysis
        EXPECT_EQ(r.s.use[3], 0);
    }
    {
        // Records spread over lines parse free-format; more numbers than
        // lines allow are not stored.
        kt::writeFile(b + ".oai", "1 2 3 4 5 6 7 8 9 10 11 12\n");
        SetGuard r;
        EXPECT_EQ(OALoadData(b.c_str(), &r.s), 1);
        EXPECT_EQ(r.s.err[0], 4.0f);
    }
    for (const char *content : {"", "no newline at all", "1e999 -1e999 nan 0\n"}) {
        kt::writeFile(b + ".oai", content);
        SetGuard r;
        const int32_t n = OALoadData(b.c_str(), &r.s);
        EXPECT_EQ(n, content[0] == '1' ? 1 : 0) << content;
    }
    SetGuard r;
    UpdateStatusBar("before");
    EXPECT_EQ(OALoadData((b + "-missing").c_str(), &r.s), 0);
    EXPECT_EQ(r.s.nPoints, 0);
    EXPECT_STREQ(VStatusLine, "before");  // the status text is restored
}


void fillAxes(OASet &s) {
    for (int i = 0; i < s.nx; ++i) {
        s.xg[i] = 0.5f * static_cast<float>(i);
        s.xlen[i] = 1.0f + 0.25f * static_cast<float>(i);
    }
    for (int j = 0; j < s.ny; ++j) {
        s.yg[j] = 5500.0f - 1000.0f * static_cast<float>(j);
        s.ylen[j] = 250.0f * static_cast<float>(j + 1);
    }
}

TEST(GridFile, RoundTripAndExactLayout) {
    SetGuard g;
    ASSERT_TRUE(ktoa::allocExact(g.s, 3, 2, 1));
    fillAxes(g.s);
    const std::string b = base("GridFileRoundTrip");
    ASSERT_EQ(OAWriteGrid(b.c_str(), &g.s), 0);
    EXPECT_EQ(fileText(b + ".oag"),
              "3 2\n\n0 1\n0.5 1.25\n1 1.5\n\n5500 250\n4500 500\n\n1 3  1 2 1.00 10000 1\n");
    SetGuard r;
    ASSERT_EQ(OALoadGrid(b.c_str(), &r.s), 0);
    ASSERT_EQ(r.s.nx, 3);
    ASSERT_EQ(r.s.ny, 2);
    auto v = [](const float *p, int n) { return std::vector<float>(p, p + n); };
    EXPECT_EQ(v(r.s.xg, 3), v(g.s.xg, 3));
    EXPECT_EQ(v(r.s.xgt, 3), v(g.s.xg, 3));
    EXPECT_EQ(v(r.s.xlen, 3), v(g.s.xlen, 3));
    EXPECT_EQ(v(r.s.yg, 2), v(g.s.yg, 2));
    EXPECT_EQ(v(r.s.ylen, 2), v(g.s.ylen, 2));
}

TEST(GridFile, HostileFilesFail) {
    const std::string b = base("GridFileHostile");
    const char *bad[] = {
        "3 2\n\n0 1\n0.5 1.25\n1 1.5\n\n5500 250\n4500 500\n",       // no trailer
        "3 2\n\n0 1\n0.5 1.25\n1 1.5\n\n5500 250\n4500 500\n\n\n",   // only blank lines after
        "3 2\n\n0 1\n0.5 1.25\n",                                   // truncated
        "3 2\n\n0 1\nabc\n1 1.5\n\n5500 250\n4500 500\n\n1\n",     // non-numeric
        "three two\n\n",                                            // header
        "-3 2\n\n0 1\n\n5 5\n\n1\n",                                // negative
        "0 2\n\n\n5 5\n6 6\n\n1\n",                                 // zero
        "1000000000 1000000000\n\n0 1\n\n0 1\n\n1\n",               // huge
        "3\n", "",
    };
    for (const char *content : bad) {
        kt::writeFile(b + ".oag", content);
        SetGuard r;
        EXPECT_EQ(OALoadGrid(b.c_str(), &r.s), 1) << content;
    }
    // Extra blank lines between the blocks and CR LF line ends are accepted.
    kt::writeFile(b + ".oag", "2 1\r\n\r\n0 1\r\n1 1\r\n\r\n\r\n7 2\r\n\r\n\r\n1 2  1 1 1.00 10000 1");
    SetGuard r;
    EXPECT_EQ(OALoadGrid(b.c_str(), &r.s), 0);
    EXPECT_EQ(r.s.yg[0], 7.0f);
    SetGuard m;
    EXPECT_EQ(OALoadGrid((b + "-missing").c_str(), &m.s), 1);
}

TEST(FieldFile, SecondBlockIsWrittenFromTheOutputErrorAndReadAsTheReference) {
    SetGuard g;
    ASSERT_TRUE(ktoa::allocExact(g.s, 6, 2, 1));
    fillAxes(g.s);
    for (int k = 0; k < 12; ++k) {
        g.s.gridEst[k] = static_cast<float>(k) + 0.5f;
        g.s.gridErr[k] = -1.0f;  // not written
        g.s.gridErrOut[k] = 0.25f * static_cast<float>(k);
    }
    const std::string b = base("FieldFile");
    ASSERT_EQ(OAWriteField(b.c_str(), &g.s), 0);
    // Six x values fill their line: the block ends with an empty line.
    const std::string text = fileText(b + ".oao");
    EXPECT_EQ(text.substr(0, 41), "0\n6 2\n 0 0.5 1 1.5 2 2.5\n\n 5500 4500\n 0.5");
    SetGuard r;
    ASSERT_EQ(OALoadField(b.c_str(), &r.s), 0);
    ASSERT_EQ(r.s.nx, 6);
    ASSERT_EQ(r.s.ny, 2);
    EXPECT_EQ(std::vector<float>(r.s.gridEst, r.s.gridEst + 12), std::vector<float>(g.s.gridEst, g.s.gridEst + 12));
    EXPECT_EQ(std::vector<float>(r.s.gridErr, r.s.gridErr + 12), std::vector<float>(g.s.gridErrOut, g.s.gridErrOut + 12));
    EXPECT_EQ(r.s.yg[1], 4500.0f);
    // Loading again in place (same dimensions) works and replaces the grids.
    ASSERT_EQ(OALoadField(b.c_str(), &r.s), 0);
    EXPECT_EQ(r.s.gridEst[11], 11.5f);
}

TEST(FieldFile, HeaderRecordsNegativeDimensionsAndHostileInput) {
    const std::string b = base("FieldFileHostile");
    // Two six-number records to skip, negative dimensions.
    kt::writeFile(b + ".oao", "2\n1 2 3 4 5 6\n7 8 9 10 11 12\n-2 -1\n 10 20\n 30\n 1 2\n 3 4\n");
    {
        SetGuard r;
        ASSERT_EQ(OALoadField(b.c_str(), &r.s), 0);
        EXPECT_EQ(std::make_tuple(r.s.nx, r.s.ny, r.s.xg[1], r.s.gridEst[1], r.s.gridErr[1]),
                  std::make_tuple(2, 1, 20.0f, 2.0f, 4.0f));
    }
    // Truncated values: loaded, the rest zero.
    kt::writeFile(b + ".oao", "0\n2 2\n 1 2\n 3 4\n 5");
    {
        SetGuard r;
        ASSERT_EQ(OALoadField(b.c_str(), &r.s), 0);
        EXPECT_EQ(r.s.gridEst[0], 5.0f);
        EXPECT_EQ(r.s.gridEst[3], 0.0f);
    }
    for (const char *content : {"", "x", "0\n", "0\n3 x\n", "5\n1 2 3\n", "0\n-2147483648 1\n",
                                "0\n100000 100000\n 1 2 3\n", "0\n0 5\n"}) {
        kt::writeFile(b + ".oao", content);
        SetGuard r;
        EXPECT_EQ(OALoadField(b.c_str(), &r.s), 1) << content;
    }
}

TEST(LayoutFile, OffsetsRiseByOneOnEverySave) {
    SetGuard g;
    OASet &s = g.s;
    std::strcpy(s.title, "P18 temperature");
    std::strcpy(s.xtitle, "Latitude");
    std::strcpy(s.ytitle, "Depth [m]");
    s.xmin = -70.0f, s.xmax = 23.0f, s.ymin = 5500.0f, s.ymax = 0.0f;
    s.sxmin = 0.0f, s.sxmax = 100.0f, s.symin = 5.0f, s.symax = 5.0f;
    s.xslen = 20.0f, s.xof = 3.0f, s.yslen = 12.5f, s.yof = 2.0f;
    const std::string b = base("LayoutFile");
    ASSERT_EQ(OAWriteLayout(b.c_str(), &s), 0);
    const std::string text = fileText(b + ".oal");
    EXPECT_NE(text.find("   title =P18 temperature\n  xtitle =Latitude\n"), std::string::npos);
    EXPECT_NE(text.find("   sxmin =     0.00\n   sxmax =   100.00\n sxstart =     0.00\n   sxtic =    10.00\n"
                        "  sxltic =    20.00\n"),
              std::string::npos);
    EXPECT_NE(text.find("   symin =     5.00\n   symax =     5.00\n systart =     4.00\n   sytic =     0.10\n"),
              std::string::npos);
    EXPECT_NE(text.find("     xof =     4.00\n"), std::string::npos);
    SetGuard r;
    r.s.sxmin = 42.0f;
    ASSERT_EQ(OALoadLayout(b.c_str(), &r.s), 0);
    EXPECT_STREQ(r.s.title, "P18 temperature");
    EXPECT_STREQ(r.s.ytitle, "Depth [m]");
    // Secondary ranges (sxmin) are not read back.
    EXPECT_EQ(std::make_tuple(r.s.xmin, r.s.ymin, r.s.xslen, r.s.xof, r.s.sxmin),
              std::make_tuple(-70.0f, 5500.0f, 20.0f, 4.0f, 42.0f));
    ASSERT_EQ(OAWriteLayout(b.c_str(), &r.s), 0);
    ASSERT_EQ(OALoadLayout(b.c_str(), &r.s), 0);
    EXPECT_EQ(std::make_tuple(r.s.xof, r.s.yof), std::make_tuple(5.0f, 4.0f));
    // Long titles are cut at 120 characters; a missing line fails.
    const std::string longTitle(190, 'T');
    std::string lines = "   title =" + longTitle + "\n";
    kt::writeFile(b + ".oal", lines + "short\n");
    SetGuard t;
    EXPECT_EQ(OALoadLayout(b.c_str(), &t.s), 1);
    EXPECT_EQ(std::strlen(t.s.title), 120u);
    EXPECT_STREQ(t.s.xtitle, "");
}

TEST(WholeSet, LoadSetTransformsCellsAndSorts) {
    const std::string b = base("WholeSet");
    {
        SetGuard g;
        ASSERT_TRUE(ktoa::allocExact(g.s, 5, 4, 6));
        for (int i = 0; i < 5; ++i) {
            g.s.xg[i] = 10.0f * static_cast<float>(i);
            g.s.xlen[i] = 10.0f;
        }
        for (int j = 0; j < 4; ++j) {
            g.s.yg[j] = 3.0f * static_cast<float>(j);
            g.s.ylen[j] = j < 2 ? 3.0f : 6.0f;
        }
        const float pts[6][2] = {{35, 8}, {1, 1}, {20, 5}, {39, 1}, {0, 0}, {500, 500}};
        for (int i = 0; i < 6; ++i) {
            g.s.x[i] = pts[i][0];
            g.s.y[i] = pts[i][1];
            g.s.val[i] = static_cast<float>(i);
            g.s.err[i] = 1.0f;
            g.s.use[i] = 1;
        }
        g.s.nPoints = 6;
        ASSERT_EQ(OAWriteLayout(b.c_str(), &g.s), 0);
        ASSERT_EQ(OAWriteGrid(b.c_str(), &g.s), 0);
        ASSERT_EQ(OAWriteData(b.c_str(), &g.s, 1), 0);
    }
    SetGuard r;
    ASSERT_EQ(OALoadSet(b.c_str(), &r.s), 1);
    // 3 units at scale 3 -> 6 reference units; the far point is dropped by the sort.
    EXPECT_EQ(std::make_tuple(r.s.nCellX, r.s.nCellY, r.s.xlenMax, r.s.ylenMax, r.s.ygt[1], r.s.nPoints, r.s.nInCells),
              std::make_tuple(40, 40, 10.0f, 6.0f, 6.0f, 5, 5));
    // Sorted by y cell, then x cell: (0,0) and (1,1) first, (35,8) last.
    EXPECT_EQ(r.s.x[0], 0.0f);
    EXPECT_EQ(r.s.val[r.s.nPoints - 1], 0.0f);
    SetGuard bad;
    EXPECT_EQ(OALoadSet((b + "-missing").c_str(), &bad.s), 0);
}

}  // namespace
