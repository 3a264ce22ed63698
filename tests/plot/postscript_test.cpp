// The PostScript writers: their texts are the interface the preamble and
// the host's post-processing rely on, so they are checked character by
// character against golden files and the documented lines.
#include <cstring>
#include <sstream>
#include <string>
#include <vector>

#include "platform/platform.h"
#include "plot_fixture.h"

namespace {

using PostScriptTest = PlotTest;

TEST_F(PostScriptTest, WritersGiveTheDocumentedText) {
    mCGS.paletteSize = 14;  // 13 numbers on the first line of a table, one on the second
    for (int i = 0; i < 14; ++i) {
        Vcolor[i][0] = static_cast<uint8_t>(i * 18);
        Vcolor[i][1] = static_cast<uint8_t>(255 - i * 5);
        Vcolor[i][2] = static_cast<uint8_t>(i == 13 ? 255 : 0);
    }
    Vcolor[20][0] = Vcolor[20][1] = Vcolor[20][2] = 128;
    Vcolor[21][0] = 255;
    Vcolor[21][1] = Vcolor[21][2] = 0;
    kt::expectGolden("postscript/writers.ps", kt::capture("writers", [](KFILE f) {
        PSOutPix(f, 1, 0x0000FF);
        PSOutPix(f, 0, 0x00FF00);   // nothing
        PSOutPix(f, -3, 0x00FF00);  // nothing
        PSOutPix(f, 17, 0x336699);
        PSSetColor(f, 20);
        PSSetColor(f, 21);
        PSSetColor(f, 13);
        PSPalette(f);
        PSUsrSys(f, "% section\n", 0, 6000, 20, 3, 5500, 0, 12, 3);
    }));
    EXPECT_EQ(kt::capture("null", [](KFILE) {
                  PSPalette(nullptr);
                  PSUsrSys(nullptr, "ignored", 0, 1, 1, 1, 0, 1, 1, 1);
              }),
              "");
}

TEST_F(PostScriptTest, OpenFileCopiesThePreambleBetweenTheTexts) {
    const std::string dir = kt::scratchDir("OpenFile"), out = dir + "/a.ps", pre = dir + "/pre.ps";
    const std::string body = "/M { moveto } def\n% preamble end\n";
    kt::writeFile(pre, body);
    for (int eps : {0, 1}) {
        KFILE f = PSOpenFile(out.c_str(), pre.c_str(), "%%Before\n", "%%After\n", eps);
        ASSERT_NE(f, nullptr);
        kestrel::plat::fileClose(f);
        const std::string head = eps ? "%!PS-Adobe-3.0 EPSF-3.0\n" : "%!PS-Adobe-3.0\n";
        EXPECT_EQ(kt::readFile(out), head + "%%Before\n" + body + "%%After\n");
    }
    // An existing file is truncated; null texts are left out.
    KFILE f = PSOpenFile(out.c_str(), pre.c_str(), nullptr, nullptr, 0);
    ASSERT_NE(f, nullptr);
    kestrel::plat::fileClose(f);
    EXPECT_EQ(kt::readFile(out), "%!PS-Adobe-3.0\n" + body);
}

#if !defined(_WIN32)
std::vector<std::string> g_boxes;
int32_t recordBox(void *, const char *text, const char *caption, uint32_t type) {
    g_boxes.push_back(std::string(caption) + "|" + text + "|" + std::to_string(type));
    return 1;
}

TEST_F(PostScriptTest, MissingPreambleOrFolderGivesTheMessageAndNoFile) {
    KUICallbacks cb{};
    cb.messageBox = recordBox;
    KestrelSetUICallbacks(&cb);
    g_boxes.clear();
    const std::string dir = kt::scratchDir("OpenFileFails"), bad = dir + "/no/such/folder/out.ps";
    EXPECT_EQ(PSOpenFile((dir + "/out.ps").c_str(), "x.ps", "", "", 0), nullptr);
    EXPECT_FALSE(kt::fileExists(dir + "/out.ps"));
    kt::writeFile(dir + "/pre.ps", "%\n");
    EXPECT_EQ(PSOpenFile(bad.c_str(), (dir + "/pre.ps").c_str(), "", "", 0), nullptr);
    // 0x2030: exclamation, task-modal.
    EXPECT_EQ(g_boxes, (std::vector<std::string>{
                           "Opening PostScript File|PS-Preamble x.ps not Found!\n\nNo PostScript File will be Written.|8240",
                           "Opening PostScript File|Could not Open " + bad + "|8240"}));
    // The screen dump stops there too, before touching the status text.
    std::strcpy(VStatusLine, "Ready");
    EXPECT_EQ(PSDumpScreen(dc, "x.ps", (dir + "/dump.ps").c_str()), 0);
    EXPECT_STREQ(VStatusLine, "Ready");
    EXPECT_FALSE(kt::fileExists(dir + "/dump.ps"));
    KestrelSetUICallbacks(nullptr);
}
#endif

TEST_F(PostScriptTest, StringEscapesAndFontNames) {
    char text[64] = "T = 12.5\xB0 C, Stra\xDF" "e, \xE4\xC4\xF6\xD6\xFC\xDC (x\\y)";
    const int32_t length = MkePSString(text, sizeof text);
    EXPECT_EQ(length, static_cast<int32_t>(std::strlen(text)));
    EXPECT_STREQ(text, "T = 12.5\\312 C, Stra\\373e, ~\"a~\"A~\"o~\"O~\"u~\"U (x\\y)");
    // Growth is limited to the capacity: replacements that don't fit are dropped.
    char small[8] = "a\xB0\xB0\xB0";
    MkePSString(small, sizeof small);
    EXPECT_STREQ(small, "a\\312");

    struct Case {
        const char *face;
        int weight, italic;
        const char *ps;
    } cases[] = {
        {"Times New Roman", 3, 0, "Times-Bold"}, {"Times New Roman", 2, 0, "Helvetica"},
        {"Times New Roman", 3, 1, "Times-BoldItalic"}, {"Times", 0, 1, "Times-Italic"},
        {"Courier New", 3, 0, "Courier-Bold"}, {"Courier New", 1, 1, "Courier-Oblique"},
        {"Courier New", 3, 1, "Courier-BoldOblique"}, {"Courier", 1, 0, "Helvetica"},
        {"Arial", 3, 0, "Helvetica-Bold"}, {"Arial", 0, 1, "Helvetica-Oblique"},
        {"Verdana", 3, 1, "Helvetica-BoldOblique"}, {"Arial", 1, 0, "Helvetica"},
    };
    KFontSpec fs;
    for (const Case &c : cases) {
        SetDfltFont(&fs);
        std::strcpy(fs.face[0], c.face);
        fs.weight = c.weight;
        fs.italic = c.italic;
        SetPSFontName(&fs);
        EXPECT_STREQ(fs.face[2], c.ps) << c.face << " weight " << c.weight << " italic " << c.italic;
    }
    SetDfltFont(&fs);
    std::memset(fs.face[0], 'T', sizeof fs.face[0]);  // no terminator
    SetPSFontName(&fs);
    EXPECT_STREQ(fs.face[2], "Helvetica-Bold");
}

// Reads a screen dump's run stream ("r g b c" one pixel, "n r g b C" n
// pixels, "N" next row) back into pixels.
kt::Image decodeDump(const std::string &text, int w, int h) {
    kt::Image img;
    img.w = w;
    img.h = h;
    img.px.assign(static_cast<size_t>(w) * static_cast<size_t>(h), 0xDEADBEEF);
    const size_t start = text.find("UsrSys\n\n"), end = text.find("\nshowpage\n");
    if (start == std::string::npos || end == std::string::npos) return img;
    std::istringstream in(text.substr(start + 8, end - start - 8));
    auto byte = [](double v) { return static_cast<uint32_t>(v * 255.0 + 0.5); };
    int x = 0, y = 0;
    for (std::string line; std::getline(in, line);) {
        if (line == "N") {
            x = 0;
            ++y;
            continue;
        }
        std::istringstream l(line);
        double n = 1, r, g, b;
        if (line.back() == 'C') l >> n;
        l >> r >> g >> b;
        for (int k = 0; k < static_cast<int>(n); ++k, ++x)
            if (x < w && y < h) img.at(x, y) = byte(r) | byte(g) << 8 | byte(b) << 16;
    }
    return img;
}

TEST_F(PostScriptTest, ScreenDumpWritesEveryPixelAsRuns) {
    setUpPage(5, 3, 40.0f);
    const std::string dir = kt::scratchDir("Dump");
    kt::writeFile(dir + "/pre.ps", "% preamble\n");
    SetColorMode(1);
    SetColor(2);
    DrawBox(dc, 1, 0, 3, 1);  // a red two-pixel stroke along the top row
    std::strcpy(VStatusLine, "Ready");
    PSDumpScreen(dc, (dir + "/pre.ps").c_str(), (dir + "/small.ps").c_str());
    EXPECT_STREQ(VStatusLine, "Ready");
    kt::expectGolden("postscript/dump_small.ps", kt::readFile(dir + "/small.ps"));

    // A real picture: the runs decode to the canvas pixels, and the column
    // and row past the bitmap (x = Vbmp_size_cx, y = Vbmp_size_cy) are white.
    setUpPage(160, 90, 20.0f);
    for (int i = 0; i < 60; ++i) {
        SetColor(33 + i);
        DrawBox(dc, i, i / 2, 150 - i, 85 - i / 3);
    }
    PSDumpScreen(dc, (dir + "/pre.ps").c_str(), (dir + "/big.ps").c_str());
    const std::string text = kt::readFile(dir + "/big.ps");
    EXPECT_NE(text.find("%%BoundingBox: 50 50 500 700\n"), std::string::npos);
    // s = min(28/161, 19/91) = 0.173913 length units per pixel
    EXPECT_NE(text.find("0 161 28 1 91 0 15.8261 1 UsrSys\n\n"), std::string::npos);
    const kt::Image back = decodeDump(text, 161, 91);
    int wrong = 0;
    for (int y = 0; y < 91; ++y)
        for (int x = 0; x < 161; ++x)
            wrong += back.at(x, y) != ((x < 160 && y < 90) ? kt::picturePixel(dc, x, y) : 0xFFFFFFu);
    EXPECT_EQ(wrong, 0);
}

}  // namespace
