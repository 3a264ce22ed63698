// The kestrel program, run as a user runs it: the demo and a real section
// end to end (exit status, the three files, the GIF decoded by giflib and
// the PostScript rendered by Ghostscript against the PNG, where the colours
// lie), and bad invocations (one line on stderr, a non-zero status).
#include <sys/wait.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "../gif/decoders.h"
#include "common/picture.h"
#include "common/render.h"
#include "common/testing.h"
#include "run.h"

namespace {

using Outcome = kt::CliRun;

Outcome kestrel(const std::string &dir, const std::string &args) { return kt::runKestrel(dir, args); }

kt::Image gifImage(const gt::DecodedGif &g) {
    kt::Image im;
    im.w = g.width;
    im.h = g.height;
    for (uint8_t i : g.pixels)
        im.px.push_back(g.colours[3u * i] | g.colours[3u * i + 1] << 8 | static_cast<uint32_t>(g.colours[3u * i + 2]) << 16);
    return im;
}

int luminance(uint32_t c) { return ((c & 255) * 3 + (c >> 8 & 255) * 6 + (c >> 16 & 255)) / 10; }

// The three files of NAME: the PNG is the 1000 x 700 page, the GIF holds
// the same picture in palette colours, the PostScript draws it again.
void checkOutputs(const std::string &dir, const std::string &name, kt::Image *png) {
    ASSERT_TRUE(kt::loadPNG(dir + "/" + name + ".png", png));
    ASSERT_EQ(png->w, 1000);
    ASSERT_EQ(png->h, 700);
    if (gt::haveGiflib()) {
        const gt::DecodedGif g = gt::decodeWithGiflib(dir + "/" + name + ".gif");
        ASSERT_TRUE(g.ok) << g.error;
        EXPECT_EQ(g.width, 1000);
        EXPECT_EQ(g.height, 700);
        // The PNG is smoothed, the GIF keeps the pixel rules: edges may move by a pixel.
        EXPECT_LT(kt::compareImages(gifImage(g), *png, 1, 40).share, 0.03) << name << ".gif";
    }
    const std::string ps = kt::readFile(dir + "/" + name + ".ps");
    for (const char *object : {"ShadedField", "ContourLines", "ErasedField", "ColorBar", "Axes"})
        EXPECT_NE(ps.find(std::string("%%PS-OBJECT: ") + object + " begin"), std::string::npos) << object;
    if (kt::ghostscript().empty()) return;
    std::string log;
    const std::string rendered = dir + "/" + name + "-ps.png";
    ASSERT_TRUE(kt::renderPostScript(dir + "/" + name + ".ps", 1000, 700, 2.54 * 40, rendered, &log)) << log;
    kt::Image fromPs;
    ASSERT_TRUE(kt::loadPNG(rendered, &fromPs));
    // Fonts differ between the canvas and Ghostscript; everything else lines up.
    EXPECT_LT(kt::compareImages(*png, fromPs, 2, 40).share, 0.03) << name << ".ps against the PNG";
}

// Pixel of user point (x, y) of a plot over [x0, x1] x [ytop, ybottom]:
// the section's viewport is 680 x 480 pixels from (140, 100).
uint32_t at(const kt::Image &im, double x, double y, double x0, double x1, double ytop, double ybottom) {
    return im.at(140 + static_cast<int>((x - x0) / (x1 - x0) * 680), 100 + static_cast<int>((y - ytop) / (ybottom - ytop) * 480));
}

TEST(Cli, DemoRunsEndToEndAndRepeatsItself) {
    const std::string dir = kt::scratchDir("cli_demo");
    const Outcome r = kestrel(dir, "demo -o demo");
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.out.find("wrote demo.gif"), std::string::npos) << r.out;
    EXPECT_NE(r.err.find("gridding"), std::string::npos) << "progress on stderr";
    kt::Image png;
    checkOutputs(dir, "demo", &png);
    // Warm surface water in the gyre over cold deep water, the ridge in grey.
    const uint32_t surface = at(png, 5500, 50, 0, 5800, 0, 5360), deep = at(png, 5500, 3000, 0, 5800, 0, 5360);
    EXPECT_GT(luminance(surface), luminance(deep) + 80);
    EXPECT_EQ(at(png, 3100, 5000, 0, 5800, 0, 5360), at(png, 3000, 4500, 0, 5800, 0, 5360));
    // The same seed, the same picture; another seed, another.
    ASSERT_EQ(kestrel(dir, "demo -q -o again").status, 0);
    EXPECT_EQ(kt::readFile(dir + "/again.ps"), kt::readFile(dir + "/demo.ps"));
    ASSERT_EQ(kestrel(dir, "demo -q --seed 7 -o other").status, 0);
    EXPECT_NE(kt::readFile(dir + "/other.ps"), kt::readFile(dir + "/demo.ps"));
}

TEST(Cli, GoShipSectionOfThreeProperties) {
    const std::string data = kt::dataPath("samples/go-ship_p18_2016.tsv");
    KT_REQUIRE_FILE(data);
    const std::string dir = kt::scratchDir("cli_p18");
    for (const char *value : {"Temperature", "Salinity", "Oxygen"}) {
        SCOPED_TRACE(value);
        const Outcome r = kestrel(dir, "section '" + data + "' --x Latitude --y Depth --value " + value + " -q -o " + value);
        ASSERT_EQ(r.status, 0) << r.err;
        EXPECT_EQ(r.err, "");
        // About 20 levels at a 1-2-5 step.
        const size_t p = r.out.find(" levels from ");
        ASSERT_NE(p, std::string::npos) << r.out;
        const int count = std::atoi(r.out.c_str() + r.out.rfind(' ', p - 1) + 1);
        const double step = std::atof(r.out.c_str() + r.out.find(" by ", p) + 4);
        EXPECT_TRUE(count >= 15 && count <= 25) << r.out;
        double mantissa = step;
        while (mantissa >= 10) mantissa /= 10;
        while (mantissa < 1) mantissa *= 10;
        EXPECT_TRUE(std::abs(mantissa - 1) < 1e-6 || std::abs(mantissa - 2) < 1e-6 || std::abs(mantissa - 5) < 1e-6)
            << step;
        kt::Image png;
        checkOutputs(dir, value, &png);
        if (std::string(value) == "Temperature") {  // warm at the surface at 20 S, depth down
            const uint32_t surface = at(png, -20, 30, -70.0012, 22.8696, 0, 5365),
                           deep = at(png, -20, 3000, -70.0012, 22.8696, 0, 5365);
            EXPECT_GT(luminance(surface), luminance(deep) + 100);
        }
    }
}

TEST(Cli, BadInvocationsSayWhatIsWrongInOneLine) {
    const std::string dir = kt::scratchDir("cli_bad");
    kt::writeFile(dir + "/words.tsv", "Latitude\tDepth [m]\tTemperature\nnorth\tdeep\twarm\n1\t2\t\n");
    kt::writeFile(dir + "/binary.tsv", std::string("a\tb\tc\n\x01\x02\0\x7f\x80\x1b[31m", 14));
    const struct {
        const char *args, *says;
    } cases[] = {
        {"section nothere.tsv --x a --y b --value c", "nothere.tsv cannot be read"},
        {"section binary.tsv --x a --y b --value c", "binary.tsv is not a text table"},
        {"section words.tsv --x Latitude --y Depth --value Oxygen", "has no column 'Oxygen'"},
        {"section words.tsv --x Latitude --y Depth --value Temperature", "has 0 rows with numbers"},
        {"section words.tsv --x Latitude --y Depth --value Temperature --bogus", "unknown option '--bogus'"},
        {"section words.tsv --x Latitude", "needs a table and --x, --y and --value"},
        {"section words.tsv --x Latitude --y Depth --value Temperature --lines many", "bad value for --lines"},
        {"demo --seed -3", "--seed needs a whole number"},
        {"frobnicate", "unknown command 'frobnicate'"},
        {"section words.tsv --x Latitude --y Depth --value Temperature -o nowhere/p",
         "the output folder 'nowhere' does not exist"},
        {"map -o nowhere/m", "the output folder 'nowhere' does not exist"},
        {"", "no command"},
    };
    for (const auto &c : cases) {
        const Outcome r = kestrel(dir, c.args);
        EXPECT_NE(r.status, 0) << c.args;
        EXPECT_EQ(r.err.find('\n'), r.err.size() - 1) << c.args << ": " << r.err;
        EXPECT_NE(r.err.find(c.says), std::string::npos) << c.args << ": " << r.err;
    }
    EXPECT_FALSE(kt::fileExists(dir + "/kestrel-section.png"));
    const Outcome v = kestrel(dir, "--version");
    EXPECT_EQ(v.status, 0);
    EXPECT_EQ(v.out.rfind("kestrel ", 0), 0u) << v.out;
    for (const char *help : {"--help", "section --help", "demo -h"}) {
        const Outcome r = kestrel(dir, help);
        EXPECT_EQ(r.status, 0) << help;
        for (const char *word : {"kestrel demo", "kestrel section", "--seed"})
            EXPECT_NE(r.out.find(word), std::string::npos) << help << " lacks " << word;
    }
}

}  // namespace

namespace {

// Column names are the table's text, and they land in PostScript strings
// (axis titles, the colour-bar title): Ghostscript must draw them, not run
// them.
TEST(Cli, ColumnNamesCannotRunPostScript) {
    KT_REQUIRE_GHOSTSCRIPT();
    const std::string dir = kt::scratchDir("cli_injection");
    const std::string hostile = "Temp [a) (INJECTED) print flush (b]";
    const std::string across = "Lat \\", down = "Depth (m))) (DOWN) print (";
    std::string table = across + "\t" + down + "\t" + hostile + "\n";
    for (int i = 0; i < 60; ++i)
        table += std::to_string(i % 10) + "\t" + std::to_string((i / 10) * 100) + "\t" + std::to_string(i % 7) + "\n";
    kt::writeFile(dir + "/hostile.tsv", table);
    const Outcome r = kestrel(dir, "section hostile.tsv --x 'Lat \\' --y '" + down + "' --value '" + hostile +
                                       "' --title '" + hostile + "' -q -o hostile");
    ASSERT_EQ(r.status, 0) << r.err;
    const std::string cmd = "cd '" + dir + "' && " + kt::ghostscript() +
                            " -q -dSAFER -dNOPAUSE -dBATCH -sDEVICE=nullpage hostile.ps >gs.txt 2>&1";
    EXPECT_EQ(std::system(cmd.c_str()), 0) << kt::readFile(dir + "/gs.txt");
    const std::string said = kt::readFile(dir + "/gs.txt");
    EXPECT_EQ(said.find("INJECTED"), std::string::npos) << said;
    EXPECT_EQ(said.find("DOWN"), std::string::npos) << said;
}

// Comma-separated (with quoted fields) and blank-separated tables draw the
// same section as the tab-separated one; fields with text where a number
// belongs are counted in one line and left out.
TEST(Cli, CommaAndBlankSeparatedTables) {
    const std::string dir = kt::scratchDir("cli_formats");
    std::string tsv = "x\ty\tv\n", csv = "\"x\", y ,\"v\"\n", txt = "x   y v\n";
    for (int i = 0; i < 80; ++i) {
        const std::string x = std::to_string(i % 10), y = std::to_string((i / 10) * 50),
                          v = std::to_string(0.5 * (i % 10) + 0.01 * (i / 10) * 50);
        tsv += x + "\t" + y + "\t" + v + "\n";
        csv += x + ", " + y + "," + v + "\n";
        txt += "  " + x + "  " + y + "\t " + v + "\n";
    }
    csv += "3,100,n/a\n4,120,bad\n";
    kt::writeFile(dir + "/t.tsv", tsv);
    kt::writeFile(dir + "/t.csv", csv);
    kt::writeFile(dir + "/t.txt", txt);
    for (const char *name : {"t.tsv", "t.csv", "t.txt"}) {
        const Outcome r = kestrel(dir, std::string("section ") + name + " --x x --y y --value v -q -o " + name + "-out");
        EXPECT_EQ(r.status, 0) << name << ": " << r.err;
        EXPECT_NE(r.out.find("80 samples"), std::string::npos) << name << ": " << r.out;
    }
    const Outcome r = kestrel(dir, "section t.csv --x x --y y --value v -q -o again");
    EXPECT_NE(r.err.find("rows with text where a number belongs (2 in v) are left out"), std::string::npos) << r.err;
    EXPECT_EQ(r.err.find('\n'), r.err.size() - 1) << r.err;
    EXPECT_EQ(kt::readFile(dir + "/t.tsv-out.ps"), kt::readFile(dir + "/t.txt-out.ps"));
}

// The contour levels and the colour range as the user sets them: a step,
// a list, every n-th labelled, and one colour range for two sections whose
// data span different values.
TEST(Cli, LevelsIntervalsAndAColourRangeSharedBySections) {
    const std::string dir = kt::scratchDir("cli_levels");
    auto table = [&](const std::string &name, double offset) {
        std::string t = "x\ty\tv\n";
        for (int i = 0; i < 120; ++i)
            t += std::to_string(i % 12) + "\t" + std::to_string((i / 12) * 40) + "\t" +
                 std::to_string(offset + 0.4 * (i % 12) + 0.01 * (i / 12) * 40) + "\n";
        kt::writeFile(dir + "/" + name, t);
    };
    table("low.tsv", 0.0);   // 0 .. 8.0
    table("high.tsv", 5.0);  // 5 .. 13.0
    const std::string common = " --x x --y y --value v -q";
    Outcome r = kestrel(dir, "section low.tsv" + common + " --interval 0.5 -o a");
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.out.find("16 levels from 0 by 0.5"), std::string::npos) << r.out;
    r = kestrel(dir, "section low.tsv" + common + " --levels 1,2,4.5 --label-every 3 -o b");
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.out.find("3 levels from 1 by 1"), std::string::npos) << r.out;
    const std::string ps = kt::readFile(dir + "/b.ps");
    EXPECT_NE(ps.find("%labl: (4.5)"), std::string::npos);
    for (const char *t : {"low.tsv", "high.tsv"}) {
        r = kestrel(dir, std::string("section ") + t + common + " --range 0/14 -o " + t);
        ASSERT_EQ(r.status, 0) << r.err;
        EXPECT_NE(r.out.find("colours from 0 to 14"), std::string::npos) << t << ": " << r.out;
    }
    for (const char *bad : {"--range 5/1", "--range 3", "--levels 3,2", "--levels 1,,2", "--label-every 0",
                            "--interval -1"}) {
        r = kestrel(dir, std::string("section low.tsv") + common + " " + bad + " -o c");
        EXPECT_EQ(r.status, 2) << bad;
        EXPECT_NE(r.err.find("bad value for --"), std::string::npos) << bad << ": " << r.err;
    }
}

// The section's and the map's PostScript declare a page the size of the
// picture and a bounding box: Ghostscript's bbox device finds all the ink
// inside the declared box, and the box is tight (within a centimetre).
TEST(Cli, PostScriptDeclaresItsPageAndABoundingBoxAroundAllItsInk) {
    KT_REQUIRE_GHOSTSCRIPT();
    const std::string data = kt::dataPath("samples/go-ship_p18_2016.tsv");
    if (!kt::fileExists(data)) GTEST_SKIP() << "no " << data;
    const std::string dir = kt::scratchDir("cli_bbox");
    ASSERT_EQ(kestrel(dir, "section '" + data + "' --x Latitude --y Depth --value Oxygen -q -o p18").status, 0);
    ASSERT_EQ(kestrel(dir, "map -p mollweide --title World -o world").status, 0);
    for (const char *name : {"p18", "world"}) {
        const std::string ps = kt::readFile(dir + "/" + name + ".ps");
        int pw = 0, ph = 0, a[4] = {0, 0, 0, 0}, b[4] = {0, 0, 0, 0};
        const size_t media = ps.find("%%DocumentMedia: Kestrel ");
        ASSERT_NE(media, std::string::npos) << name;
        ASSERT_EQ(std::sscanf(ps.c_str() + media, "%%%%DocumentMedia: Kestrel %d %d", &pw, &ph), 2);
        EXPECT_EQ(pw, 709) << name << ": a 25 cm wide picture";
        EXPECT_NE(ps.find("/PageSize [" + std::to_string(pw) + " " + std::to_string(ph) + "]"), std::string::npos);
        const size_t declared = ps.rfind("%%BoundingBox: ");
        ASSERT_NE(declared, std::string::npos);
        ASSERT_EQ(std::sscanf(ps.c_str() + declared, "%%%%BoundingBox: %d %d %d %d", &a[0], &a[1], &a[2], &a[3]), 4)
            << name;
        const std::string cmd = "cd '" + dir + "' && " + kt::ghostscript() + " -q -dSAFER -dNOPAUSE -dBATCH " +
                                "-sDEVICE=bbox " + name + ".ps >bbox.txt 2>&1";
        ASSERT_EQ(std::system(cmd.c_str()), 0);
        const std::string found = kt::readFile(dir + "/bbox.txt");
        ASSERT_EQ(std::sscanf(found.c_str(), "%%%%BoundingBox: %d %d %d %d", &b[0], &b[1], &b[2], &b[3]), 4) << found;
        EXPECT_LE(a[0], b[0]) << name << " ink " << found;
        EXPECT_LE(a[1], b[1]) << name << " ink " << found;
        EXPECT_GE(a[2], b[2]) << name << " ink " << found;
        EXPECT_GE(a[3], b[3]) << name << " ink " << found;
        for (int k = 0; k < 4; ++k) EXPECT_LE(std::abs(a[k] - b[k]), 28) << name << " edge " << k << ": " << found;
        EXPECT_LE(a[2], pw);
        EXPECT_LE(a[3], ph);
    }
}

// Mean absolute difference per channel of two pictures of one size; -1
// when the sizes differ.
double meanDifference(const kt::Image &a, const kt::Image &b) {
    if (a.w != b.w || a.h != b.h || a.px.empty()) return -1;
    double sum = 0;
    for (size_t i = 0; i < a.px.size(); ++i)
        for (int s = 0; s < 24; s += 8) sum += std::abs(int(a.px[i] >> s & 255) - int(b.px[i] >> s & 255));
    return sum / (3.0 * a.px.size());
}

// Share of the plot's pixels that are lighter than both neighbours across
// or both along by more than 12 levels: the light lines a viewer that
// smooths edges shows between shapes painted edge to edge.
double seamShare(const kt::Image &im) {
    long seams = 0, all = 0;
    auto lum = [&](int x, int y) { return luminance(im.at(x, y)); };
    for (int y = 106; y < 574; ++y)
        for (int x = 146; x < 814; ++x, ++all) {
            const int c = lum(x, y);
            if ((c - lum(x - 1, y) > 12 && c - lum(x + 1, y) > 12) || (c - lum(x, y - 1) > 12 && c - lum(x, y + 1) > 12))
                ++seams;
        }
    return static_cast<double>(seams) / all;
}

bool runQuiet(const std::string &cmd) { return std::system((cmd + " >/dev/null 2>&1").c_str()) == 0; }

// One drawing, every format: the PDF and the SVG are the PNG's picture,
// the EPS is encapsulated, the PostScript and the PDF show no seams
// between the shaded cells when rendered smoothly, --no-antialias keeps
// the screen's pixels and --dpi the picture at a finer resolution.
TEST(Cli, EveryFormatDrawsTheSamePicture) {
    KT_REQUIRE_GHOSTSCRIPT();
    const std::string data = kt::dataPath("samples/go-ship_p18_2016.tsv");
    if (!kt::fileExists(data)) GTEST_SKIP() << "no " << data;
    const std::string dir = kt::scratchDir("cli_formats");
    const std::string section = "section '" + data + "' --x Latitude --y Depth --value Oxygen -q ";
    const Outcome all = kestrel(dir, section + "--formats png,gif,ps,eps,pdf,svg -o p18");
    ASSERT_EQ(all.status, 0) << all.err;
    for (const char *ext : {"png", "gif", "ps", "eps", "pdf", "svg"})
        EXPECT_NE(all.out.find(std::string("wrote p18.") + ext), std::string::npos) << ext << ": " << all.out;
    kt::Image png, pdf, ps;
    ASSERT_TRUE(kt::loadPNG(dir + "/p18.png", &png));
    const std::string gs = kt::ghostscript() + " -q -dSAFER -dNOPAUSE -dBATCH -sDEVICE=png16m -r101.6 "
                                               "-dTextAlphaBits=4 -dGraphicsAlphaBits=4 ";
    ASSERT_TRUE(runQuiet("cd '" + dir + "' && " + gs + "-sOutputFile=pdf.png p18.pdf"));
    ASSERT_TRUE(kt::loadPNG(dir + "/pdf.png", &pdf));
    EXPECT_LT(meanDifference(png, pdf), 3.0) << "the PDF is the PNG's picture";
    EXPECT_GE(meanDifference(png, pdf), 0.0) << pdf.w << " x " << pdf.h;
    EXPECT_LT(seamShare(pdf), 0.01);

    ASSERT_TRUE(runQuiet("cd '" + dir + "' && " + gs + "-sOutputFile=ps.png p18.ps"));
    ASSERT_TRUE(kt::loadPNG(dir + "/ps.png", &ps));
    EXPECT_LT(seamShare(ps), 0.01) << "seams between the shaded cells of the PostScript";
    EXPECT_LT(meanDifference(png, ps), 8.0) << "the PostScript looks like the PNG";

    const std::string svg = kt::readFile(dir + "/p18.svg");
    EXPECT_EQ(svg.rfind("<?xml", 0), 0u);
    EXPECT_NE(svg.find("</svg>"), std::string::npos);
    if (runQuiet("command -v rsvg-convert")) {
        kt::Image fromSvg;
        ASSERT_TRUE(runQuiet("cd '" + dir + "' && rsvg-convert -b white -w 1000 -h 700 p18.svg -o svg.png"));
        ASSERT_TRUE(kt::loadPNG(dir + "/svg.png", &fromSvg));
        EXPECT_LT(meanDifference(png, fromSvg), 3.0) << "the SVG is the PNG's picture";
    }

    const std::string eps = kt::readFile(dir + "/p18.eps");
    EXPECT_EQ(eps.rfind("%!PS-Adobe-3.0 EPSF-3.0\n", 0), 0u);
    EXPECT_EQ(eps.find("setpagedevice"), std::string::npos) << "an EPS leaves the page to its host";
    EXPECT_EQ(eps.find("(atend)"), std::string::npos);
    int box[4] = {0, 0, 0, 0};
    const size_t at = eps.find("%%BoundingBox: ");
    ASSERT_NE(at, std::string::npos);
    ASSERT_EQ(std::sscanf(eps.c_str() + at, "%%%%BoundingBox: %d %d %d %d", &box[0], &box[1], &box[2], &box[3]), 4);
    EXPECT_NE(kt::readFile(dir + "/p18.ps").find("%%BoundingBox: " + std::to_string(box[0]) + " " +
                                                  std::to_string(box[1]) + " " + std::to_string(box[2])),
              std::string::npos)
        << "the EPS and the PostScript declare one box";

    // Only what is asked for, and the screen's pixels without smoothing.
    const std::string only = kt::scratchDir("cli_formats_only");
    ASSERT_EQ(kestrel(only, section + "--formats pdf -o a").status, 0);
    EXPECT_TRUE(kt::fileExists(only + "/a.pdf"));
    for (const char *ext : {"png", "gif", "ps", "eps", "svg"}) EXPECT_FALSE(kt::fileExists(only + "/a." + ext)) << ext;
    ASSERT_EQ(kestrel(only, section + "--formats png,gif --no-antialias -o raw").status, 0);
    kt::Image raw;
    ASSERT_TRUE(kt::loadPNG(only + "/raw.png", &raw));
    if (gt::haveGiflib()) {
        const gt::DecodedGif g = gt::decodeWithGiflib(only + "/raw.gif");
        ASSERT_TRUE(g.ok) << g.error;
        EXPECT_LT(kt::compareImages(gifImage(g), raw, 0, 8).share, 0.002) << "unsmoothed, the PNG is the GIF's picture";
    }
    ASSERT_EQ(kestrel(only, section + "--formats png --dpi 300 -o fine").status, 0);
    kt::Image fine;
    ASSERT_TRUE(kt::loadPNG(only + "/fine.png", &fine));
    EXPECT_EQ(fine.w, 2953);
    EXPECT_EQ(fine.h, 2067);

    for (const char *bad : {"--formats png,tiff", "--formats ''", "--dpi 0", "--dpi lots", "--formats"}) {
        const Outcome r = kestrel(only, section + bad);
        EXPECT_EQ(r.status, 2) << bad;
        EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << bad << ": " << r.err;
    }
}

// The section options a user reaches for first, on the WCOA and P18
// tables: row filters, the along-track distance, the plot's range and size,
// shipped palettes reversed, sample dots and the colour-bar title.
TEST(Cli, SectionOptionsOfEverydayWork) {
    const std::string wcoa = kt::dataPath("samples/wcoa2013.tsv"), p18 = kt::dataPath("samples/go-ship_p18_2016.tsv");
    if (!kt::fileExists(wcoa) || !kt::fileExists(p18)) GTEST_SKIP() << "no sample tables";
    const std::string dir = kt::scratchDir("cli_section_options");
    const std::string line2 = "section '" + wcoa + "' --where Line=2 --y Depth --value Temperature -q ";
    Outcome r = kestrel(dir, line2 + "--x distance --samples --bar-title 'In situ' --formats ps,png -o line2");
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.out.find("175 samples, 12 stations"), std::string::npos) << r.out;
    std::string ps = kt::readFile(dir + "/line2.ps");
    EXPECT_NE(ps.find("(Distance [km])"), std::string::npos);
    EXPECT_NE(ps.find("(In situ)"), std::string::npos);
    EXPECT_NE(ps.find("(80)"), std::string::npos) << "the line runs about 85 km along its stations";
    EXPECT_EQ(ps.find("(120)"), std::string::npos);
    // By default the scale lengths and the erasing follow the casts: the
    // deep bottles of the western casts, 240 m apart, leave no white holes
    // between 500 and 990 m (a fixed 3 % of the axes and an erase threshold
    // of 16 did).
    r = kestrel(dir, line2 + "--x Longitude --formats png,ps -o holes");
    ASSERT_EQ(r.status, 0) << r.err;
    ASSERT_NE(kt::readFile(dir + "/holes.ps").find("-126.61 -125.47 17 3.5 990.3 0 12 3 UsrSys"), std::string::npos);
    kt::Image holes;
    ASSERT_TRUE(kt::loadPNG(dir + "/holes.png", &holes));
    for (double lon : {-126.58, -126.5, -126.45})
        for (double depth = 520; depth < 990; depth += 40)
            EXPECT_NE(at(holes, lon, depth, -126.61, -125.47, 0, 990.3) & 0xFFFFFFu, 0xFFFFFFu)
                << "erased at " << lon << ", " << depth << " m";
    // A range of numbers: lines 2 and 3 (not "3a", which is text).
    r = kestrel(dir, "section '" + wcoa + "' --where Line=2/3 --x Longitude --y Depth --value Temperature -q --formats png -o l23");
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.out.find("261 samples"), std::string::npos) << r.out;

    // The plot's range and the picture's size.
    const std::string oxygen = "section '" + p18 + "' --x Latitude --y Depth --value Oxygen -q ";
    r = kestrel(dir, oxygen + "-R -20/10/0/1000 --size 1400x900 --formats png,ps -o zoom");
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_NE(kt::readFile(dir + "/zoom.ps").find("-20 10 27 3.5 1000 0 17 3 UsrSys"), std::string::npos);
    kt::Image zoom;
    ASSERT_TRUE(kt::loadPNG(dir + "/zoom.png", &zoom));
    EXPECT_EQ(zoom.w, 1400);
    EXPECT_EQ(zoom.h, 900);

    // A shipped palette by name, and turned around: warm water light in one,
    // dark in the other.
    kt::Image grey, reversed;
    ASSERT_EQ(kestrel(dir, oxygen + "--palette greys --formats png -o grey").status, 0);
    ASSERT_EQ(kestrel(dir, oxygen + "--palette greys_r --formats png -o greyr").status, 0);
    ASSERT_TRUE(kt::loadPNG(dir + "/grey.png", &grey));
    ASSERT_TRUE(kt::loadPNG(dir + "/greyr.png", &reversed));
    const int a = luminance(grey.at(480, 110)), b = luminance(reversed.at(480, 110));
    EXPECT_GT(std::abs(a - b), 100) << a << " against " << b;

    // Bad values: one line each, and nothing drawn.
    for (const char *bad : {"-R 10/-20/0/1000", "-R 1/2/3", "--size 10x10", "--size wide", "--palette nosuch",
                            "--where Line", "--where =2"}) {
        r = kestrel(dir, oxygen + bad + " -o bad");
        EXPECT_EQ(r.status, 2) << bad;
        EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << bad << ": " << r.err;
    }
    EXPECT_NE(kestrel(dir, oxygen + "--palette nosuch").err.find("shipped: "), std::string::npos);
    r = kestrel(dir, oxygen + "--where Nope=1 -o bad");
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(r.err.find("no column 'Nope'"), std::string::npos) << r.err;
    r = kestrel(dir, line2 + "--x Longitude --where Line=99 -o bad");
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(r.err.find("no row"), std::string::npos) << r.err;
    EXPECT_FALSE(kt::fileExists(dir + "/bad.png"));
}

}  // namespace

namespace {

// kestrel gamma on the published example casts written as a bottle table:
// every label to the six published decimals, the table copied as it was,
// rows without a label left empty; derived variables drawn as sections.
TEST(Cli, NeutralDensityOfATableAndDerivedSections) {
    const std::string nd = kt::dataPath("neutral-density/");
    KT_REQUIRE_FILE(nd + "example.tsv");
    const std::string dir = kt::scratchDir("cli_gamma");
    std::ifstream in(nd + "example.tsv");
    std::string line, table = "Cast\tLongitude [degrees_east]\tLatitude\tSalinity [PSS-78]\tTemperature [degC]\tPressure [dbar]\r\n";
    std::vector<std::string> expected;
    while (std::getline(in, line)) {
        if (line.empty() || line[0] == '#') continue;
        std::istringstream f(line);
        std::vector<std::string> w;
        for (std::string x; std::getline(f, x, '\t');) w.push_back(x);
        table += w[14] + "\t" + w[0] + "\t" + w[1] + "\t" + w[2] + "\t" + w[3] + "\t" + w[4] + "\r\n";
        expected.push_back(w[8] + "\t" + w[9] + "\t" + w[10]);
    }
    table += "3\t186.8833\t-28.1833\t\t2.0\t3000\r\n";  // no salinity: no label
    kt::writeFile(dir + "/bottles.tsv", table);
    Outcome r = kestrel(dir, "gamma bottles.tsv -o labelled.tsv --nd-data '" + nd + "'");
    ASSERT_EQ(r.status, 0) << r.err;
    const std::string out = kt::readFile(dir + "/labelled.tsv");
    std::istringstream lines(out), original(table);
    std::string a, b;
    std::getline(lines, a);
    std::getline(original, b);
    EXPECT_EQ(a, b.substr(0, b.size() - 1) + "\tgamma_n\tgamma_n_err_lo\tgamma_n_err_hi\r");
    for (size_t k = 0; k <= expected.size(); ++k) {
        std::getline(lines, a);
        std::getline(original, b);
        ASSERT_EQ(a.substr(0, b.size() - 1), b.substr(0, b.size() - 1));  // the row as it was
        ASSERT_EQ(a.back(), '\r');
        const std::string added = a.substr(b.size() - 1, a.size() - b.size());
        if (k < expected.size()) {
            // Published values drop trailing zeros; compare as numbers.
            std::istringstream got(added), want(expected[k]);
            for (int q = 0; q < 3; ++q) {
                double x, y;
                got >> x;
                want >> y;
                EXPECT_NEAR(x, y, 1e-9) << "row " << k;
            }
        } else {
            EXPECT_EQ(added, "\t\t\t");
        }
    }
    // Without the reference data it says where to get it.
    r = kestrel(dir, "gamma bottles.tsv -o x.tsv");
    EXPECT_NE(r.status, 0);
    EXPECT_NE(r.err.find("--nd-data"), std::string::npos) << r.err;

    const std::string p18 = kt::dataPath("samples/go-ship_p18_2016.tsv");
    KT_REQUIRE_FILE(p18);
    for (const auto &[value, unit] : {std::make_pair("gamma_n", "kg/m3"), std::make_pair("theta", "[\\312C]"),
                                      std::make_pair("sigma0", "kg/m3"), std::make_pair("aou", "mol/kg")}) {
        SCOPED_TRACE(value);
        r = kestrel(dir, std::string("section '") + p18 + "' --x Latitude --y Depth -q --value " + value +
                             " --nd-data '" + nd + "' -o " + value);
        ASSERT_EQ(r.status, 0) << r.err;
        kt::Image png;
        checkOutputs(dir, value, &png);
        const std::string ps = kt::readFile(dir + "/" + value + ".ps");
        EXPECT_NE(ps.find(unit), std::string::npos) << "no unit " << unit;
        // Rows without oxygen are left out of the AOU, and counted in one line.
        if (std::string(value) == "aou") {
            EXPECT_NE(r.err.find("rows left out of aou"), std::string::npos) << r.err;
        }
    }
    r = kestrel(dir, "section '" + p18 + "' --x Latitude --y Depth --value aou --oxygen Nothing");
    EXPECT_NE(r.status, 0);
    EXPECT_NE(r.err.find("no column 'Nothing'"), std::string::npos) << r.err;
}

}  // namespace

namespace {

// The faces of the 3-D analysis, topography and the gazetteer: a WCOA
// survey gridded in three dimensions (its spreadsheet, one station of
// type B per grid column, and a slice map), a map over topography with
// the named seas, and a section whose floor comes from the grid.
TEST(Cli, SurveyInThreeDimensionsTopographyAndGazetteer) {
    const std::string wcoa = kt::dataPath("samples/wcoa2013.tsv");
    const std::string topo = kt::dataPath("topography/etopo20.grd");
    const std::string features = kt::dataPath("gazetteer/ocean_features.tsv");
    KT_REQUIRE_FILE(wcoa);
    KT_REQUIRE_FILE(topo);
    KT_REQUIRE_FILE(features);
    const std::string dir = kt::scratchDir("cli_3d");
    Outcome r = kestrel(dir, "grid3d '" + wcoa + "' --x Longitude --y Latitude --z Depth --value Oxygen --nx 12 --ny 30 "
                                 "--nz 8 --slice 150 -q -o wcoa");
    ASSERT_EQ(r.status, 0) << r.err;
    const std::string sheet = kt::readFile(dir + "/wcoa.txt");
    EXPECT_EQ(sheet.substr(0, sheet.find('\n')),
              "Cruise\tStation\tType\tmon/day/yr\tLon (\xB0" "E)\tLat (\xB0N)\tBot. Depth [m]\tDepth [m]\t"
              "Oxygen [umol/kg]\tError Oxygen  [rel. units]");
    size_t rows = 0;
    for (char c : sheet) rows += c == '\n';
    EXPECT_EQ(rows, 1u + 12 * 30 * 8);
    EXPECT_EQ(sheet.find("\nwcoa2013\t1\tB\t\t"), sheet.find('\n'));  // cruise from the table's name
    EXPECT_EQ(sheet.find("\t-12"), std::string::npos);  // longitudes west of 0 written plus 360
    kt::Image png;
    ASSERT_TRUE(kt::loadPNG(dir + "/wcoa-150.png", &png));
    EXPECT_TRUE(kt::fileExists(dir + "/wcoa-150.ps"));

    r = kestrel(dir, "gamma nothing");  // keeps the gamma usage honest too
    EXPECT_NE(r.status, 0);

    const std::string gzt = dir + "/ocean.gzt";
    ASSERT_EQ(std::system(("/usr/bin/python3 '" + kt::sourcePath("tools/make_gazetteer.py") + "' '" + features + "' '" +
                           gzt + "' > /dev/null")
                              .c_str()),
              0);
    r = kestrel(dir, "map -p mollweide --topo '" + topo + "' --gazetteer '" + gzt + "' --features sea -o seas");
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.out.find("features named on the map"), std::string::npos) << r.out;
    ASSERT_TRUE(kt::loadPNG(dir + "/seas.png", &png));
    r = kestrel(dir, "map --topo /no/such/grid -o x");
    EXPECT_NE(r.status, 0);
    EXPECT_NE(r.err.find("topography grid"), std::string::npos) << r.err;

    const std::string p18 = kt::dataPath("samples/go-ship_p18_2016.tsv");
    KT_REQUIRE_FILE(p18);
    r = kestrel(dir, "section '" + p18 + "' --x Latitude --y Depth --value Oxygen --topo '" + topo + "' -q -o floor");
    ASSERT_EQ(r.status, 0) << r.err;
    ASSERT_TRUE(kt::loadPNG(dir + "/floor.png", &png));
}

}  // namespace
