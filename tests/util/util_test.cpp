// File, string and geometry utilities, with the edges the host relies on.
#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "common/testing.h"
#include "kestrel/util.h"
#include "platform/platform.h"

namespace {

std::string strip(const char *in) {
    char buf[64];
    std::snprintf(buf, sizeof buf, "%s", in);
    return Tstrip(buf);
}

TEST(Tstrip, NumbersLoseTrailingZerosAndBlanksOnlySpacesAtTheEnd) {
    EXPECT_EQ(strip("  12.500  "), "12.5");
    EXPECT_EQ(strip("3.000"), "3");
    EXPECT_EQ(strip("100"), "100");      // no point: zeros stay
    EXPECT_EQ(strip("1,50"), "1,50");    // a comma is numeric but not a point
    EXPECT_EQ(strip("1.50\t"), "1.50\t");  // a tab ends the walk back
    EXPECT_EQ(strip("Depth 10.0"), "Depth 10.0");  // text: zeros stay
    EXPECT_EQ(strip("\t x "), "x");
    char blanks[] = "   ";
    EXPECT_EQ(Tstrip(blanks), blanks);
    EXPECT_STREQ(blanks, "");
    char empty[] = "";
    EXPECT_EQ(Tstrip(empty), empty);
}

TEST(BreakLine, SeparatorsMaximumAndSpaces) {
    char a[] = "a;;b\r\n";
    char *f[8];
    ASSERT_EQ(BreakLine(a, ";", f, 8), 3);
    EXPECT_STREQ(f[0], "a");
    EXPECT_STREQ(f[1], "");
    EXPECT_STREQ(f[2], "b");
    char b[] = "a;;b";
    ASSERT_EQ(BreakLine(b, ";", f, 2), 2);
    EXPECT_STREQ(f[1], ";b");
    char c[] = "x::y";  // a longer separator leaves its rest at the next field
    ASSERT_EQ(BreakLine(c, "::", f, 8), 2);
    EXPECT_STREQ(f[1], ":y");
    char e[] = "   12  7.5 abc  ";
    ASSERT_EQ(BreakLine(e, " ", f, 8), 3);
    EXPECT_STREQ(f[2], "abc");
    char g[] = "    ";
    EXPECT_EQ(BreakLine(g, " ", f, 8), 0);
    char h[] = "1 2 3 4 5";  // more tokens than fields: nothing past the array
    char *two[2];
    EXPECT_EQ(BreakLine(h, " ", two, 2), 2);
    EXPECT_STREQ(two[0], "1");
}

TEST(ReplaceInString, PiecesThatDoNotFitAreDroppedLaterOnesKept) {
    char s[64] = "a/b/c";
    EXPECT_EQ(ReplaceInString(s, "x", "y", 64), 0);
    EXPECT_STREQ(s, "a/b/c");
    ReplaceInString(s, "/", "--", 64);
    EXPECT_STREQ(s, "a--b--c");
    // Capacity 5: "aaaa-" does not fit and is dropped, "b-" and "c" do fit.
    char t[16] = "aaaa/b/c";
    ReplaceInString(t, "/", "-", 5);
    EXPECT_STREQ(t, "b-c");
    char u[16] = "path\\to\\file";
    ReplaceSeparator(u, 16, "UNIX");
    EXPECT_STREQ(u, "path/to/file");
    ReplaceSeparator(u, 16, "WIN32");
    EXPECT_STREQ(u, "path\\to\\file");
    EXPECT_NE(ReplaceSeparator(u, 16, "VMS"), 0);
    EXPECT_STREQ(u, "path\\to\\file");
}

TEST(Paths, ExtensionsDirectoriesAndRightHandSides) {
    char p[] = "C:\\data\\p18.v2.oai";
    rmext(p);
    EXPECT_STREQ(p, "C:\\data\\p18.v2");
    char q[] = "/home/u/run.dir/notes";
    rmext(q);  // the dot in a directory is not an extension
    EXPECT_STREQ(q, "/home/u/run.dir/notes");
    char dir[64], name[64];
    dcmpnam("C:/data/p18.oai", dir, name);
    EXPECT_STREQ(dir, "C:/data/");
    EXPECT_STREQ(name, "p18.oai");
    char out[64];
    EXPECT_NE(ExtractRHS(out, "Palette=rainbow.pal\n"), nullptr);
    EXPECT_STREQ(out, "rainbow.pal");
    EXPECT_EQ(ExtractRHS(out, "no assignment"), nullptr);
    EXPECT_STREQ(out, "");
    char rnd[16];
    SetStrRandom(rnd);
    EXPECT_GT(std::strlen(rnd), 0u);
    EXPECT_EQ(std::strspn(rnd, "0123456789"), std::strlen(rnd));
}

TEST(Files, LineCountsEndOfLineKindsAppendAndInsert) {
    const std::string dir = kt::scratchDir("UtilFiles");
    kt::writeFile(dir + "/lf.txt", "one\ntwo\nthree");  // last line has no line feed
    EXPECT_EQ(LinesInFile((dir + "/lf.txt").c_str()), 2);
    kt::writeFile(dir + "/long.txt", std::string(450, 'x') + "\nshort\n");
    EXPECT_EQ(LinesInFile((dir + "/long.txt").c_str()), 2);  // a long line counts once
    EXPECT_EQ(LinesInFile((dir + "/missing.txt").c_str()), 0);
    EXPECT_EQ(GetEOLFileFormat((dir + "/lf.txt").c_str()), 2);
    kt::writeFile(dir + "/crlf.txt", "a\r\nb\r\n");
    EXPECT_EQ(GetEOLFileFormat((dir + "/crlf.txt").c_str()), 1);
    kt::writeFile(dir + "/cr.txt", "a\rb\r");
    EXPECT_EQ(GetEOLFileFormat((dir + "/cr.txt").c_str()), 3);
    kt::writeFile(dir + "/none.txt", "no line end");
    EXPECT_EQ(GetEOLFileFormat((dir + "/none.txt").c_str()), -1);
    EXPECT_EQ(GetEOLFileFormat((dir + "/missing.txt").c_str()), -1);

    const std::string log = dir + "/log.txt";
    EXPECT_EQ(IsFileExisting(log.c_str()), 0);
    EXPECT_EQ(AppendRecord(log.c_str(), "first"), 0);
    EXPECT_EQ(AppendRecord(log.c_str(), "second"), 0);
    EXPECT_EQ(IsFileExisting(log.c_str()), 1);
    std::string text = kt::readFile(log);
    text.erase(std::remove(text.begin(), text.end(), '\r'), text.end());  // a text file on Windows
    EXPECT_EQ(text, "first\nsecond\n");
    EXPECT_EQ(AppendRecord((dir + "/no/such/dir/x.txt").c_str(), "lost"), 0);  // same result as success

    const std::string body = std::string(1200, 'p') + "\n%% end\n";
    kt::writeFile(dir + "/pre.ps", body);
    KFILE out = kestrel::plat::fileCreate((dir + "/out.ps").c_str());
    ASSERT_NE(out, nullptr);
    kestrel::plat::fileWriteText(out, "%!PS\n");
    EXPECT_EQ(InsertFile(out, (dir + "/pre.ps").c_str()), 0);
    EXPECT_EQ(InsertFile(out, (dir + "/missing.ps").c_str()), 0);
    kestrel::plat::fileClose(out);
    EXPECT_EQ(kt::readFile(dir + "/out.ps"), "%!PS\n" + body);
}

TEST(Geometry, PointInRectangleAndPolygon) {
    const int32_t r[4] = {0, 0, 10, 5};
    EXPECT_EQ(MyPtInRect(r, 10, 5), 1);
    EXPECT_EQ(MyPtInRect(r, 11, 5), 0);

    // A closed L-shaped polygon.
    const float x[] = {0, 4, 4, 2, 2, 0, 0};
    float y[] = {0, 0, 2, 2, 4, 4, 0};
    EXPECT_EQ(MyPtInPolygon(x, y, 7, 1, 3), 1);
    EXPECT_EQ(MyPtInPolygon(x, y, 7, 3, 3), 0);  // the notch
    // Level with two vertices (y = 2): same answer as just above, and the
    // vertices are moved in the caller's array.
    EXPECT_EQ(MyPtInPolygon(x, y, 7, 1, 2), MyPtInPolygon(x, y, 7, 1, 2.00001f));
    EXPECT_FLOAT_EQ(y[2], 2.000002f);
    EXPECT_EQ(MyPtInPolygon(x, y, 1, 0, 0), 0);

    const int32_t xi[] = {0, 10, 10, 0, 0}, yi[] = {0, 0, 10, 10, 0};
    EXPECT_EQ(MyPtInPolygonI(xi, yi, 5, 5, 5), 1);
    EXPECT_EQ(MyPtInPolygonI(xi, yi, 5, 15, 5), 0);
    EXPECT_EQ(yi[0], 0);  // the integer arrays are not touched
}

TEST(Geometry, LineAndRectangleIntersections) {
    float x = 0, y = 0;
    ASSERT_EQ(FindLineIntersect(0, 0, 2, 2, 0, 2, 2, 0, &x, &y), 1);
    EXPECT_FLOAT_EQ(x, 1);
    EXPECT_FLOAT_EQ(y, 1);
    ASSERT_EQ(FindLineIntersect(3, 0, 3, 1, 0, 1, 2, 2, &x, &y), 1);  // A vertical
    EXPECT_FLOAT_EQ(x, 3);
    EXPECT_FLOAT_EQ(y, 2.5f);
    ASSERT_EQ(FindLineIntersect(0, 0, 1, 2, 5, 0, 5, 1, &x, &y), 1);  // B vertical
    EXPECT_FLOAT_EQ(y, 10);
    EXPECT_EQ(FindLineIntersect(0, 0, 1, 1, 0, 1, 1, 2, &x, &y), 0);  // parallel
    EXPECT_EQ(FindLineIntersect(0, 0, 0, 0, 0, 1, 1, 2, &x, &y), 0);  // A a point

    // Segment leaving a 0..10 box through its right edge.
    ASSERT_EQ(FindRectIntersect(5, 5, 15, 7, 0, 0, 10, 10, &x, &y), 1);
    EXPECT_FLOAT_EQ(x, 10);
    EXPECT_FLOAT_EQ(y, 6);
    // Through the bottom edge's prolongation: accepted, as documented.
    ASSERT_EQ(FindRectIntersect(20, 1, 22, -1, 0, 0, 10, 10, &x, &y), 1);
    EXPECT_FLOAT_EQ(x, 21);
    EXPECT_FLOAT_EQ(y, 0);
    EXPECT_EQ(FindRectIntersect(2, 2, 3, 3, 0, 0, 10, 10, &x, &y), 0);
}

TEST(Arrays, RangesAreInclusiveAndEmptyWhenReversed) {
    float f[5] = {0, 0, 0, 0, 0};
    initf1(f, 1, 3, 2.5f);
    initf1(f, 4, 2, 9);  // reversed: nothing
    EXPECT_EQ(std::vector<float>(f, f + 5), (std::vector<float>{0, 2.5f, 2.5f, 2.5f, 0}));
}

}  // namespace
