// The PostScript writers: their texts are the interface the preamble and
// the host's post-processing rely on, so they are checked character by
// character against golden files and the documented lines.
#include <cstring>
#include <sstream>
#include <string>

#include "plot_fixture.h"

namespace {

using PostScriptTest = PlotTest;

std::string writeWith(const std::string &name, void (*body)(KFILE)) {
    const std::string path = kt::scratchDir(name) + "/out.ps";
    KFILE f = kt::createFile(path);
    EXPECT_NE(f, nullptr);
    body(f);
    kt::closeFile(f);
    return kt::readFile(path);
}

TEST_F(PostScriptTest, WritersGiveTheDocumentedText) {
    mCGS.paletteSize = 14;
    for (int i = 0; i < 14; ++i) {
        Vcolor[i][0] = static_cast<uint8_t>(i * 18);
        Vcolor[i][1] = static_cast<uint8_t>(255 - i * 5);
        Vcolor[i][2] = static_cast<uint8_t>(i == 13 ? 255 : 0);
    }
    Vcolor[20][0] = Vcolor[20][1] = Vcolor[20][2] = 128;
    Vcolor[21][0] = 255;
    Vcolor[21][1] = Vcolor[21][2] = 0;
    const std::string text = writeWith("Writers", [](KFILE f) {
        PSOutPix(f, 1, 0x0000FF);
        PSOutPix(f, 0, 0x00FF00);  // nothing
        PSOutPix(f, -3, 0x00FF00);  // nothing
        PSOutPix(f, 17, 0x336699);
        PSSetColor(f, 20);
        PSSetColor(f, 21);
        PSSetColor(f, 13);
        PSPalette(f);
        PSUsrSys(f, "% section\n", 0, 6000, 20, 3, 5500, 0, 12, 3);
    });
    EXPECT_NE(text.find("1.000 0.000 0.000 c\n17 0.600 0.400 0.200 C\n"), std::string::npos);
    EXPECT_NE(text.find("\n0.5 setgray\n0.996094 0 0 S\n"), std::string::npos);
    // 14 entries: 13 numbers on the first line, one on the second.
    EXPECT_NE(text.find("/red [\n 0.000 0.071 0.141 0.212 0.282 0.353 0.424 0.494 0.565 0.635 0.706 0.776 0.847\n"
                        " 0.918 ] def\n"),
              std::string::npos);
    kt::expectGolden("postscript/writers.ps", text);
    EXPECT_EQ(writeWith("NullPalette", [](KFILE) { PSPalette(nullptr); }), "");
}

TEST_F(PostScriptTest, OpenFileCopiesThePreambleBetweenTheTexts) {
    const std::string dir = kt::scratchDir("OpenFile");
    kt::writeFile(dir + "/pre.ps", "/M { moveto } def\n% preamble end\n");
    for (int eps : {0, 1}) {
        KFILE f = PSOpenFile((dir + "/a.ps").c_str(), (dir + "/pre.ps").c_str(), "%%Before\n", "%%After\n", eps);
        ASSERT_NE(f, nullptr);
        kt::closeFile(f);
        const std::string head = eps ? "%!PS-Adobe-3.0 EPSF-3.0\n" : "%!PS-Adobe-3.0\n";
        EXPECT_EQ(kt::readFile(dir + "/a.ps"), head + "%%Before\n/M { moveto } def\n% preamble end\n%%After\n");
    }
    // An existing file is truncated; null texts are left out.
    KFILE f = PSOpenFile((dir + "/a.ps").c_str(), (dir + "/pre.ps").c_str(), nullptr, nullptr, 0);
    ASSERT_NE(f, nullptr);
    kt::closeFile(f);
    EXPECT_EQ(kt::readFile(dir + "/a.ps"), "%!PS-Adobe-3.0\n/M { moveto } def\n% preamble end\n");
}

#if !defined(_WIN32)
struct Box {
    std::string text, caption;
    uint32_t type = 0;
    int count = 0;
};
Box g_box;
int32_t recordBox(void *, const char *text, const char *caption, uint32_t type) {
    g_box.text = text;
    g_box.caption = caption;
    g_box.type = type;
    ++g_box.count;
    return 1;
}

TEST_F(PostScriptTest, MissingPreambleOrFolderGivesTheMessageAndNoFile) {
    KUICallbacks cb{};
    cb.messageBox = recordBox;
    KestrelSetUICallbacks(&cb);
    const std::string dir = kt::scratchDir("OpenFileFails");
    g_box = Box{};
    EXPECT_EQ(PSOpenFile((dir + "/out.ps").c_str(), "x.ps", "", "", 0), nullptr);
    EXPECT_EQ(g_box.count, 1);
    EXPECT_EQ(g_box.text, "PS-Preamble x.ps not Found!\n\nNo PostScript File will be Written.");
    EXPECT_EQ(g_box.caption, "Opening PostScript File");
    EXPECT_EQ(g_box.type, 0x2030u);  // exclamation, task-modal
    EXPECT_FALSE(kt::fileExists(dir + "/out.ps"));

    kt::writeFile(dir + "/pre.ps", "%\n");
    g_box = Box{};
    const std::string bad = dir + "/no/such/folder/out.ps";
    EXPECT_EQ(PSOpenFile(bad.c_str(), (dir + "/pre.ps").c_str(), "", "", 0), nullptr);
    EXPECT_EQ(g_box.text, "Could not Open " + bad);
    // The screen dump stops there too, before touching the status text.
    std::strcpy(VStatusLine, "Ready");
    EXPECT_EQ(PSDumpScreen(dc, "x.ps", (dir + "/dump.ps").c_str()), 0);
    EXPECT_STREQ(VStatusLine, "Ready");
    EXPECT_FALSE(kt::fileExists(dir + "/dump.ps"));
    KestrelSetUICallbacks(nullptr);
}
#endif

TEST_F(PostScriptTest, StringEscapes) {
    char text[64] = "T = 12.5\xB0 C, Stra\xDF" "e, \xE4\xC4\xF6\xD6\xFC\xDC (x\\y)";
    const int32_t length = MkePSString(text, sizeof text);
    EXPECT_EQ(length, static_cast<int32_t>(std::strlen(text)));
    EXPECT_STREQ(text, "T = 12.5\\312 C, Stra\\373e, ~\"a~\"A~\"o~\"O~\"u~\"U (x\\y)");
    // Growth is limited to the capacity: replacements that don't fit are dropped.
    char small[8] = "a\xB0\xB0\xB0";
    MkePSString(small, sizeof small);
    EXPECT_LT(std::strlen(small), sizeof small);
    EXPECT_STREQ(small, "a\\312");
}

TEST_F(PostScriptTest, FontNames) {
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
    for (const Case &c : cases) {
        KFontSpec fs;
        SetDfltFont(&fs);
        std::strcpy(fs.face[0], c.face);
        fs.weight = c.weight;
        fs.italic = c.italic;
        SetPSFontName(&fs);
        EXPECT_STREQ(fs.face[2], c.ps) << c.face << " weight " << c.weight << " italic " << c.italic;
    }
    KFontSpec full;
    SetDfltFont(&full);
    std::memset(full.face[0], 'T', sizeof full.face[0]);  // no terminator
    SetPSFontName(&full);
    EXPECT_STREQ(full.face[2], "Helvetica-Bold");
}

// Reads a screen dump's run stream back into pixels.
kt::Image decodeDump(const std::string &text, int w, int h) {
    kt::Image img;
    img.w = w;
    img.h = h;
    img.px.assign(static_cast<size_t>(w) * static_cast<size_t>(h), 0xDEADBEEF);
    const size_t start = text.find("UsrSys\n\n");
    const size_t end = text.find("\nshowpage\n");
    if (start == std::string::npos || end == std::string::npos) return img;
    std::istringstream in(text.substr(start + 8, end - start - 8));
    std::string line;
    int x = 0, y = 0;
    auto byte = [](double v) { return static_cast<uint32_t>(v * 255.0 + 0.5); };
    while (std::getline(in, line)) {
        std::istringstream l(line);
        if (line == "N") {
            x = 0;
            ++y;
            continue;
        }
        double a, b, c, d;
        std::string op;
        int n = 1;
        if (line.back() == 'c') {
            l >> a >> b >> c >> op;
        } else {
            l >> d >> a >> b >> c >> op;
            n = static_cast<int>(d);
        }
        const uint32_t colour = byte(a) | byte(b) << 8 | byte(c) << 16;
        for (int k = 0; k < n; ++k, ++x)
            if (x < w && y < h) img.at(x, y) = colour;
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
    LoadPaletteFile(dc, nullptr);
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
        for (int x = 0; x < 161; ++x) {
            const uint32_t want = (x < 160 && y < 90) ? kt::picturePixel(dc, x, y) : 0xFFFFFFu;
            if (back.at(x, y) != want) ++wrong;
        }
    EXPECT_EQ(wrong, 0);
}

}  // namespace
