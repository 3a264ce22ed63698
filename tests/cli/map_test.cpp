// kestrel map as a user runs it: the labels of every projection checked
// from outside (the command writes the boxes it placed and the lines they
// avoid; this file's own geometry says whether any two overlap, any leaves
// the picture or any line runs through one, and the picture says whether
// the label is really there), lakes and the area filter, seams between the
// pieces of a split polygon on the canvas and in antialiased PostScript,
// the date line, colours, and input off the globe.
#include <sys/wait.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "common/picture.h"
#include "common/render.h"
#include "common/testing.h"
#include "run.h"

namespace {

using MapRun = kt::CliRun;

MapRun kestrelMap(const std::string &dir, const std::string &args) { return kt::runKestrel(dir, "map " + args); }

// ---- coastline files written by hand ----------------------------------------

struct Ring {
    std::vector<float> ll;  // lon, lat pairs
    int m;                  // shoreline points
};

// A lon/lat rectangle as a closed ring, counter-clockwise (land) or
// clockwise (water), every edge shoreline unless cutEast: then its east
// edge is a cut, put last (points after the shoreline run).
Ring box(float w, float e, float s, float n, bool water, bool cutEast = false, bool cutWest = false) {
    // Counter-clockwise from the north-east corner: NE, NW, SW, SE, NE. The
    // east edge (SE -> NE) is the last one.
    std::vector<float> ccw;
    auto edge = [&](float x0, float y0, float x1, float y1) {
        for (int i = 0; i < 10; ++i) {
            ccw.push_back(x0 + (x1 - x0) * static_cast<float>(i) / 10);
            ccw.push_back(y0 + (y1 - y0) * static_cast<float>(i) / 10);
        }
    };
    if (cutWest) {  // start at SW so that the west edge (NW -> SW) comes last
        edge(w, s, e, s);
        edge(e, s, e, n);
        edge(e, n, w, n);
        edge(w, n, w, s);
        ccw.push_back(w), ccw.push_back(s);
    } else {
        edge(e, n, w, n);
        edge(w, n, w, s);
        edge(w, s, e, s);
        edge(e, s, e, n);
        ccw.push_back(e), ccw.push_back(n);
    }
    const int count = static_cast<int>(ccw.size() / 2);
    Ring r{ccw, (cutEast || cutWest) ? count - 10 : count};
    if (water) {  // the same ring backwards
        std::vector<float> cw;
        for (int i = count - 1; i >= 0; --i) cw.push_back(ccw[2 * i]), cw.push_back(ccw[2 * i + 1]);
        r.ll = cw;
        r.m = count;
    }
    return r;
}

void writeCoast(const std::string &path, const std::vector<Ring> &rings) {
    std::string bytes;
    auto put = [&](const void *p, size_t k) { bytes.append(static_cast<const char *>(p), k); };
    for (const Ring &r : rings) {
        const int32_t n = static_cast<int32_t>(r.ll.size() / 2), m = r.m;
        put(&n, 4);
        put(&m, 4);
        put(r.ll.data(), r.ll.size() * 4);
    }
    kt::writeFile(path, bytes);
}

// ---- the label checker ---------------------------------------------------

struct Box {
    double x0, y0, x1, y1;
    std::string text;
};
struct Segment {
    double x0, y0, x1, y1;
};
struct Report {
    int w = 0, h = 0;
    std::vector<Box> labels, keep;
    std::vector<Segment> lines;
};

Report readReport(const std::string &path) {
    Report r;
    std::istringstream in(kt::readFile(path));
    std::string kind;
    while (in >> kind) {
        if (kind == "picture") {
            in >> r.w >> r.h;
        } else if (kind == "box" || kind == "keep") {
            Box b;
            in >> b.x0 >> b.y0 >> b.x1 >> b.y1;
            std::getline(in, b.text);
            (kind == "box" ? r.labels : r.keep).push_back(b);
        } else if (kind == "line") {
            Segment s;
            in >> s.x0 >> s.y0 >> s.x1 >> s.y1;
            r.lines.push_back(s);
        } else {
            std::string rest;
            std::getline(in, rest);
        }
    }
    return r;
}

bool overlap(const Box &a, const Box &b) { return a.x0 < b.x1 && b.x0 < a.x1 && a.y0 < b.y1 && b.y0 < a.y1; }

// Does the segment pass through the box's inside? Sampled finely: the
// segments are a few pixels long, so a step of a tenth of a pixel misses
// nothing a reader would see.
bool crosses(const Segment &s, const Box &b) {
    const double len = std::hypot(s.x1 - s.x0, s.y1 - s.y0);
    const int n = 1 + static_cast<int>(len * 10);
    for (int i = 0; i <= n; ++i) {
        const double x = s.x0 + (s.x1 - s.x0) * i / n, y = s.y0 + (s.y1 - s.y0) * i / n;
        if (x > b.x0 && x < b.x1 && y > b.y0 && y < b.y1) return true;
    }
    return false;
}

int luminance(uint32_t c) { return ((c & 255) * 3 + (c >> 8 & 255) * 6 + (c >> 16 & 255)) / 10; }

// Every fault of the placement, one line each.
std::vector<std::string> labelFaults(const Report &r, const kt::Image &png) {
    std::vector<std::string> faults;
    for (size_t i = 0; i < r.labels.size(); ++i) {
        const Box &a = r.labels[i];
        if (a.x0 < 0 || a.y0 < 0 || a.x1 > r.w || a.y1 > r.h) faults.push_back("off the picture:" + a.text);
        for (size_t j = i + 1; j < r.labels.size(); ++j)
            if (overlap(a, r.labels[j])) faults.push_back("overlap:" + a.text + " /" + r.labels[j].text);
        for (const Box &k : r.keep)
            if (overlap(a, k)) faults.push_back("over the" + k.text + ":" + a.text);
        for (const Segment &s : r.lines)
            if (crosses(s, a)) {
                faults.push_back("a line through:" + a.text);
                break;
            }
        // The label is really drawn in its box: dark pixels inside it.
        int dark = 0;
        for (int y = static_cast<int>(a.y0); y < static_cast<int>(a.y1); ++y)
            for (int x = static_cast<int>(a.x0); x < static_cast<int>(a.x1); ++x)
                if (x >= 0 && y >= 0 && x < png.w && y < png.h && luminance(png.at(x, y)) < 100) ++dark;
        if (dark < 5) faults.push_back("nothing drawn in the box of:" + a.text);
    }
    return faults;
}

int countEnding(const Report &r, std::initializer_list<const char *> ends) {
    int n = 0;
    for (const Box &b : r.labels)
        for (const char *e : ends)
            if (b.text.size() >= std::strlen(e) && b.text.compare(b.text.size() - std::strlen(e), std::string::npos, e) == 0) {
                ++n;
                break;
            }
    return n;
}

TEST(CliMap, LabelsOfEveryProjectionNeitherStackNorCrossALine) {
    const std::string dir = kt::scratchDir("cli_map_labels");
    writeCoast(dir + "/coast.cst", {box(-20, 10, 10, 40, false), box(100, 140, -40, -10, false)});
    const struct {
        const char *args;
        int lon, lat;     // at least this many labels of each kind
        bool lonOutside;  // every meridian named outside the round outline
        bool lonMiddle;   // every meridian named across the middle (not where they meet at a pole)
    } maps[] = {
        {"-p none -R -80/20/-10/70", 3, 3, false, false},
        {"-p north", 10, 1, true, false},
        {"-p equatorial", 3, 3, false, true},
        {"-p south", 10, 1, true, false},
        {"-p mollweide", 5, 3, false, true},
        {"-p ortho -C -30/20 --title 'North Atlantic'", 8, 3, true, false},
        {"-p oblique", 3, 2, false, false},
        {"-p ortho -C 0/90", 10, 1, true, false},
        {"-p ortho -C 150/-60", 4, 2, false, false},
        {"-p mollweide -R -60/60/-60/60 -B 20", 4, 4, false, false},
        {"-p north -R 0/360/50/90 -B 30/10", 10, 2, true, false},
    };
    for (const auto &m : maps) {
        const MapRun r = kestrelMap(dir, std::string(m.args) + " --coast coast.cst --labels-out labels.txt -o m");
        ASSERT_EQ(r.status, 0) << m.args << ": " << r.err;
        const Report rep = readReport(dir + "/labels.txt");
        kt::Image png;
        ASSERT_TRUE(kt::loadPNG(dir + "/m.png", &png));
        for (const std::string &f : labelFaults(rep, png)) ADD_FAILURE() << m.args << ": " << f;
        const int lat = countEnding(rep, {"312N", "312S", "EQ"});
        const int lon = static_cast<int>(rep.labels.size()) - lat;
        EXPECT_GE(lon, m.lon) << m.args;
        EXPECT_GE(lat, m.lat) << m.args;
        EXPECT_GT(rep.lines.size(), 20u) << m.args;
        // The map is the box around all lines.
        double x0 = 1e9, x1 = -1e9, y0 = 1e9, y1 = -1e9;
        for (const Segment &sg : rep.lines)
            x0 = std::min({x0, sg.x0, sg.x1}), x1 = std::max({x1, sg.x0, sg.x1}),
            y0 = std::min({y0, sg.y0, sg.y1}), y1 = std::max({y1, sg.y0, sg.y1});
        const double cx = (x0 + x1) / 2, cy = (y0 + y1) / 2, radius = (x1 - x0) / 2;
        for (const Box &b : rep.labels) {
            const bool latLabel = countEnding(Report{0, 0, {b}, {}, {}}, {"312N", "312S", "EQ"}) == 1;
            if (latLabel) continue;
            const double bx = (b.x0 + b.x1) / 2, by = (b.y0 + b.y1) / 2;
            if (m.lonOutside) {
                EXPECT_GT(std::hypot(bx - cx, by - cy), radius) << m.args << ":" << b.text;
            }
            if (m.lonMiddle) {
                EXPECT_LT(std::fabs(by - cy), 0.3 * (y1 - y0)) << m.args << ":" << b.text;
            }
        }
    }
}

// The checker itself finds what it is for.
TEST(CliMap, LabelCheckerFindsOverlapsLinesAndEscapes) {
    kt::Image png;
    png.w = png.h = 50;
    png.px.assign(2500, 0);
    Report r;
    r.w = r.h = 50;
    r.labels = {{10, 10, 20, 15, " a"}, {18, 12, 30, 16, " b"}};
    EXPECT_EQ(labelFaults(r, png).size(), 1u);
    r.labels = {{10, 10, 20, 15, " a"}, {40, 40, 55, 45, " b"}};
    EXPECT_EQ(labelFaults(r, png).size(), 1u);
    r.labels = {{10, 10, 20, 15, " a"}};
    r.lines = {{0, 12, 5, 12}, {5, 12, 30, 13}};
    EXPECT_EQ(labelFaults(r, png).size(), 1u);
    r.lines = {{0, 9, 30, 9}};
    EXPECT_TRUE(labelFaults(r, png).empty());
}

TEST(CliMap, StationNamesBesideTheirSymbols) {
    const std::string dir = kt::scratchDir("cli_map_stations");
    writeCoast(dir + "/coast.cst", {box(-20, 10, 10, 40, false)});
    kt::writeFile(dir + "/st.txt", "# lon lat name\n-30 20 Alpha\n-29 20.5 Bravo\n-28 21 Charlie Station\n"
                                   "-10 -10 Delta\n");
    const MapRun r = kestrelMap(dir, "-p ortho -C -30/20 --coast coast.cst --stations st.txt --labels-out l.txt -o s");
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.out.find("4 of 4 stations on the map"), std::string::npos) << r.out;
    const Report rep = readReport(dir + "/l.txt");
    kt::Image png;
    ASSERT_TRUE(kt::loadPNG(dir + "/s.png", &png));
    for (const std::string &f : labelFaults(rep, png)) ADD_FAILURE() << f;
    int names = 0;
    for (const Box &b : rep.labels)
        for (const char *n : {"Alpha", "Bravo", "Charlie Station", "Delta"})
            if (b.text == std::string(" ") + n) ++names;
    EXPECT_GE(names, 3) << r.out;
}

// ---- lakes, the area filter, seams, colours --------------------------------

// Pixel of (lon, lat) on the unprojected map of -R -10/50/-10/50 in a
// 1000 x 800 picture, found from the frame: the map is the largest box of
// aspect 60 cos(20 deg) : 60 centred in the area 2 cm in from the sides.
struct Frame {
    double x0, y0, sx, sy;
    int px(double lon) const { return static_cast<int>(x0 + (lon + 10) * sx); }
    int py(double lat) const { return static_cast<int>(y0 - (lat + 10) * sy); }
};
Frame unprojectedFrame() {
    const double areaW = 25 - 4, areaH = 20 - 4, aspectW = 60 * std::cos(20 * M_PI / 180), aspectH = 60;
    const double s = std::min(areaW / aspectW, areaH / aspectH);
    const double w = s * aspectW, h = s * aspectH;
    const double left = (areaW - w) / 2 + 2, bottom = (areaH - h) / 2 + 1.8;
    return Frame{left * 40, 800 - bottom * 40, w * 40 / 60, h * 40 / 60};
}

TEST(CliMap, LakesByDefaultSmallOnesLeftOutNoSeamsBetweenPieces) {
    const std::string dir = kt::scratchDir("cli_map_lakes");
    // Land 0..40 x 0..40 in two pieces cut along 21.3 E, a lake 5..15 x
    // 25..35 and a small lake 30..30.4 x 5..5.4 (about 2000 km^2).
    writeCoast(dir + "/coast.cst", {box(0, 21.3f, 0, 40, false, true), box(21.3f, 40, 0, 40, false, false, true),
                                    box(5, 15, 25, 35, true), box(30, 30.4f, 5, 5.4f, true)});
    const Frame f = unprojectedFrame();
    const std::string common = "-p none -R -10/50/-10/50 --no-grid --coast coast.cst --land 200/150/100 --lake 0/0/255 ";
    const uint32_t land = 200 | 150 << 8 | 100u << 16, lake = 255u << 16;

    MapRun r = kestrelMap(dir, common + "-o def");
    ASSERT_EQ(r.status, 0) << r.err;
    kt::Image im;
    ASSERT_TRUE(kt::loadPNG(dir + "/def.png", &im));
    EXPECT_EQ(im.at(f.px(10), f.py(30)), lake);
    EXPECT_EQ(im.at(f.px(30.2), f.py(5.2)), lake);
    EXPECT_EQ(im.at(f.px(25), f.py(15)), land);
    // Down the cut between the two pieces: land all the way, no seam.
    int seam = 0;
    for (int y = f.py(38); y <= f.py(2); ++y)
        for (int dx = -1; dx <= 1; ++dx)
            if (im.at(f.px(21.3) + dx, y) != land) ++seam;
    EXPECT_EQ(seam, 0);

    r = kestrelMap(dir, common + "-A 5000 -o big");
    ASSERT_EQ(r.status, 0) << r.err;
    ASSERT_TRUE(kt::loadPNG(dir + "/big.png", &im));
    EXPECT_EQ(im.at(f.px(10), f.py(30)), lake);
    EXPECT_EQ(im.at(f.px(30.2), f.py(5.2)), land);

    r = kestrelMap(dir, common + "--no-lakes --sea lightblue -o nolakes");
    ASSERT_EQ(r.status, 0) << r.err;
    ASSERT_TRUE(kt::loadPNG(dir + "/nolakes.png", &im));
    EXPECT_EQ(im.at(f.px(10), f.py(30)), land);
    EXPECT_EQ(im.at(f.px(-5), f.py(-5)), 173u | 216u << 8 | 230u << 16);

    // The cut seen on a globe, where it is a curve: on the canvas and in
    // PostScript rendered with antialiasing, as viewers show it, the two
    // pieces meet without a light line between them. The disc (unit
    // radius, 320 pixels) is centred on pixel (500, 408).
    r = kestrelMap(dir, "-p ortho -C 20/20 --no-grid --coast coast.cst --land 200/150/100 -o globe");
    ASSERT_EQ(r.status, 0) << r.err;
    auto lightAlongTheCut = [&](const kt::Image &pic) {
        int light = 0;
        const double lam = 1.3 * M_PI / 180, p0 = 20 * M_PI / 180;
        for (int i = 0; i < 200; ++i) {
            const double ph = (2 + 36.0 * i / 199) * M_PI / 180;
            const int x = static_cast<int>(500 + 320 * std::cos(ph) * std::sin(lam));
            const int y = static_cast<int>(408 - 320 * (std::cos(p0) * std::sin(ph) - std::sin(p0) * std::cos(ph) * std::cos(lam)));
            for (int dx = -2; dx <= 2; ++dx)
                if (luminance(pic.at(x + dx, y)) > luminance(land) + 8) ++light;
        }
        return light;
    };
    ASSERT_TRUE(kt::loadPNG(dir + "/globe.png", &im));
    EXPECT_EQ(lightAlongTheCut(im), 0);
    if (kt::ghostscript().empty()) GTEST_SKIP() << "Ghostscript (gs) not found";
    const std::string cmd = "cd '" + dir + "' && " + kt::ghostscript() +
                            " -q -dSAFER -dBATCH -dNOPAUSE -sDEVICE=png16m -dGraphicsAlphaBits=4 -r101.6 "
                            "-g1000x800 -sOutputFile=aa.png globe.ps >gs.txt 2>&1";
    ASSERT_EQ(std::system(cmd.c_str()), 0) << kt::readFile(dir + "/gs.txt");
    ASSERT_TRUE(kt::loadPNG(dir + "/aa.png", &im));
    EXPECT_EQ(lightAlongTheCut(im), 0);
}

TEST(CliMap, DomainAcrossTheDateLineReadsEastward) {
    const std::string dir = kt::scratchDir("cli_map_dateline");
    kt::writeFile(dir + "/st.txt", "-150 0\n170 10\n0 0\n-40 0\n");
    const MapRun r = kestrelMap(dir, "-p none -R 150/-60/-60/60 --stations st.txt --labels-out l.txt -o d");
    ASSERT_EQ(r.status, 0) << r.err;
    // 150 E eastward to 60 W holds -150 and 170 but not 0 nor -40.
    EXPECT_NE(r.out.find("2 of 4 stations on the map"), std::string::npos) << r.out;
    const Report rep = readReport(dir + "/l.txt");
    bool dateLine = false;
    for (const Box &b : rep.labels) dateLine = dateLine || b.text == " 180\\312E";
    EXPECT_TRUE(dateLine);
}

TEST(CliMap, InputOffTheGlobeOrNotACoastlineIsRefusedInOneLine) {
    const std::string dir = kt::scratchDir("cli_map_bad");
    writeCoast(dir + "/coast.cst", {box(0, 10, 0, 10, false)});
    kt::writeFile(dir + "/words.cst", "this is a text file, not a coastline\n");
    kt::writeFile(dir + "/empty.cst", "");
    std::string cut = kt::readFile(dir + "/coast.cst");
    kt::writeFile(dir + "/cut.cst", cut.substr(0, cut.size() - 5));
    writeCoast(dir + "/offglobe.cst", {Ring{{0, 0, 10, 0, 10, 95, 0, 0}, 4}});
    kt::writeFile(dir + "/st.txt", "10 10\n10 100\n");
    const struct {
        const char *args, *says;
    } cases[] = {
        {"-C 200/95", "-C 200/95 is off the globe"},
        {"-C -400/0", "-C -400/0 is off the globe"},
        {"-R 0/10/-95/10", "-R 0/10/-95/10 is off the globe"},
        {"-R 0/400/0/10", "-R 0/400/0/10 is off the globe"},
        {"-R 0/10/20/10", "-R 0/10/20/10 is off the globe"},
        {"-R 0/10/nan/10", "-R wants W/E/S/N"},
        {"--coast words.cst", "'words.cst' is not a coastline file"},
        {"--coast empty.cst", "'empty.cst' holds no coastline records"},
        {"--coast cut.cst", "'cut.cst' is not a coastline file (record 1 of 41 points runs past the end)"},
        {"--coast offglobe.cst", "'offglobe.cst' is not a coastline file (record 1, point 3 lies off the globe)"},
        {"--coast coast.cst --stations st.txt", "line 2: 10/100 lies off the globe"},
        {"--land purple", "--land wants R/G/B"},
        {"--sea 0/0/300", "--sea wants R/G/B"},
        {"-A -5", "-A wants an area"},
        {"-B 0", "-B wants STEP"},
    };
    for (const auto &c : cases) {
        const MapRun r = kestrelMap(dir, std::string(c.args) + " -o bad");
        EXPECT_NE(r.status, 0) << c.args;
        EXPECT_EQ(r.err.find('\n'), r.err.size() - 1) << c.args << ": " << r.err;
        EXPECT_NE(r.err.find(c.says), std::string::npos) << c.args << ": " << r.err;
    }
    EXPECT_FALSE(kt::fileExists(dir + "/bad.png"));
    const MapRun help = kestrelMap(dir, "--help");
    EXPECT_EQ(help.status, 0);
    for (const char *option : {"-A AREA", "-B STEP", "--land COLOUR", "--sea COLOUR", "--lake COLOUR", "--no-lakes",
                               "lon lat [name]", "--no-station-labels", "--labels-out", "eastward"})
        EXPECT_NE(help.out.find(option), std::string::npos) << option;
}

}  // namespace
