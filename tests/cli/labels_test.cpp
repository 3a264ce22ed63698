// The contour labels of real sections, drawn by the section command in this
// process so that the placed boxes can be read back: on GO-SHIP P18 (oxygen,
// temperature and salinity over latitude and depth) and on WCOA 2013 line 2
// (temperature over longitude and depth) no label leaves the frame, overlaps
// another or any other text, lies under the erased cells or the seafloor, or
// stands upside down; and the PostScript places the very same labels.
#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

#include "cli/section.h"
#include "common/label_check.h"
#include "common/testing.h"
#include "kestrel/kestrel.h"

namespace {

std::string samples(const std::string &name) { return std::string(KESTREL_TEST_DATA) + "/samples/" + name; }

// The rows of line 2 of the WCOA table, with its header.
std::string wcoaLine2(const std::string &dir) {
    std::istringstream in(kt::readFile(samples("wcoa2013.tsv")));
    std::string header, line, out;
    std::getline(in, header);
    size_t col = 0;
    {
        std::istringstream h(header);
        std::string name;
        for (size_t k = 0; std::getline(h, name, '\t'); ++k)
            if (name == "Line") col = k;
    }
    out = header + "\n";
    while (std::getline(in, line)) {
        std::istringstream r(line);
        std::string field;
        for (size_t k = 0; k <= col && std::getline(r, field, '\t'); ++k) {}
        if (field == "2") out += line + "\n";
    }
    const std::string path = dir + "/wcoa_line2.tsv";
    std::FILE *f = std::fopen(path.c_str(), "wb");
    if (f) {
        std::fwrite(out.data(), 1, out.size(), f);
        std::fclose(f);
    }
    return path;
}

struct Drawn {
    int status = -1;
    kestrel::LabelLayout layout;
    std::vector<kestrel::PlacedChar> text;
    std::string ps;
};

Drawn section(const std::string &dir, std::vector<std::string> args) {
    static bool started = false;
    if (!started) initKestrel();
    started = true;
    Drawn d;
    kestrel::gTextTrace = &d.text;
    args.insert(args.end(), {"-q", "-o", dir + "/section"});
    std::vector<char *> argv;
    for (std::string &a : args) argv.push_back(&a[0]);
    const std::string preamble = kt::sourcePath("data/preamble/kestrel.ps");
    d.status = sectionMain(static_cast<int>(argv.size()), argv.data(), [&](const std::string &) { return preamble; });
    kestrel::gTextTrace = nullptr;
    d.layout = kestrel::lastLabelLayout();
    d.ps = kt::readFile(dir + "/section.ps");
    return d;
}

// The labels written between "ContourLabels begin" and its end.
std::vector<std::vector<double>> psLabels(const std::string &ps) {
    std::vector<std::vector<double>> out;
    const size_t a = ps.find("%%PS-OBJECT: ContourLabels begin"), b = ps.find("%%PS-OBJECT: ContourLabels end");
    if (a == std::string::npos || b == std::string::npos) return out;
    std::istringstream in(ps.substr(a, b - a));
    std::string line;
    while (std::getline(in, line)) {
        double v[4];
        if (std::sscanf(line.c_str(), "(%lf) %lf %lf %lf rotatedText", &v[0], &v[1], &v[2], &v[3]) == 4)
            out.push_back({v[0], v[1], v[2], v[3]});
    }
    return out;
}

void checkSection(const std::string &what, const std::string &table, const std::string &x, const std::string &y,
                  const std::string &value, size_t atLeast) {
    SCOPED_TRACE(what);
    const std::string dir = kt::scratchDir("labels_" + what);
    const Drawn d = section(dir, {table, "--x", x, "--y", y, "--value", value});
    ASSERT_EQ(d.status, 0);
    const kestrel::LabelLayout &l = d.layout;
    // The section's frame: 17 x 12 units at 40 pixels each, 3.5 units from
    // the left of the 1000 x 700 page and 3 from its bottom.
    EXPECT_EQ(l.left, 140);
    EXPECT_EQ(l.right, 820);
    EXPECT_EQ(l.bottom, 580);
    EXPECT_EQ(l.top, 100);
    EXPECT_GE(l.labels.size(), atLeast);
    const std::vector<std::string> faults = kt::checkLabelLayout(l, &d.text);
    EXPECT_TRUE(faults.empty()) << kt::joinFaults(faults) << "picture: " << dir << "/section.png";
    // The PostScript holds the same labels, at the same places and angles.
    const auto fromPs = psLabels(d.ps);
    ASSERT_EQ(fromPs.size(), l.labels.size());
    for (size_t k = 0; k < fromPs.size(); ++k) {
        EXPECT_NEAR(fromPs[k][0], l.labels[k].level, 1e-4 * (1 + std::abs(fromPs[k][0])));
        EXPECT_NEAR(fromPs[k][1], l.labels[k].angle, 1e-3);
        EXPECT_NEAR(fromPs[k][2], l.labels[k].x, 1e-4 * (1 + std::abs(fromPs[k][2])));
        EXPECT_NEAR(fromPs[k][3], l.labels[k].y, 1e-4 * (1 + std::abs(fromPs[k][3])));
    }
}

}  // namespace

TEST(SectionLabels, P18) {
    KT_REQUIRE_FILE(samples("go-ship_p18_2016.tsv"));
    const std::string p18 = samples("go-ship_p18_2016.tsv");
    checkSection("p18_oxygen", p18, "Latitude", "Depth", "Oxygen", 8);
    checkSection("p18_temperature", p18, "Latitude", "Depth", "Temperature", 4);
    checkSection("p18_salinity", p18, "Latitude", "Depth", "Salinity", 3);
}

TEST(SectionLabels, WcoaLine2) {
    KT_REQUIRE_FILE(samples("wcoa2013.tsv"));
    const std::string dir = kt::scratchDir("labels_wcoa_rows");
    checkSection("wcoa_line2_temperature", wcoaLine2(dir), "Longitude", "Depth", "Temperature", 6);
}
