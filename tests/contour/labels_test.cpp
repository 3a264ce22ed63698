// Held contour labels (the command's tidy placement): every label inside the
// frame, apart from the others, clear of later fills, upright and on its
// own line, drawn the same on the canvas and in PostScript; and ContourField
// left exactly as hosts know it when no labels are held.
#include <cmath>
#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

#include "common/label_check.h"
#include "common/picture.h"
#include "contour/helpers.h"
#include "contour/labels.h"
#include "kestrel/kestrel.h"

namespace {

constexpr int W = 640, H = 480;

// x 0..100, y 0..60 on 81 x 49 nodes: two rings (a peak and a hollow),
// a band of close parallel lines near the top, and a front whose lines run
// straight up and down.
ct::Grid busyField() {
    ct::Grid g = ct::makeGrid(81, 49);
    for (int32_t i = 0; i < 81; ++i) g.x[static_cast<size_t>(i)] = 100.0f * i / 80;
    for (int32_t j = 0; j < 49; ++j) g.y[static_cast<size_t>(j)] = 60.0f * j / 48;
    for (int32_t j = 0; j < 49; ++j)
        for (int32_t i = 0; i < 81; ++i) {
            const double x = g.x[static_cast<size_t>(i)], y = g.y[static_cast<size_t>(j)];
            g.at(i, j) = static_cast<float>(8 * std::exp(-((x - 25) * (x - 25) + (y - 30) * (y - 30)) / 150) -
                                            6 * std::exp(-((x - 60) * (x - 60) + (y - 20) * (y - 20)) / 80) +
                                            10 * std::tanh((y - 50) / 4) + 4 * std::tanh((x - 85) / 3));
        }
    return g;
}

std::vector<KContourLevel> levelsEvery(float from, float step, int n, int32_t fill = 1) {
    std::vector<KContourLevel> v;
    for (int k = 0; k < n; ++k) v.push_back({from + step * k, 0, 0, k % 2 ? 0 : 2, 1, 0, 9, fill});
    return v;
}

// The (level, angle, x, y) of every "rotatedText" line of a PostScript text.
struct PsLabel {
    double level, angle, x, y;
};
std::vector<PsLabel> psLabels(const std::string &ps) {
    std::vector<PsLabel> out;
    std::istringstream in(ps);
    std::string line;
    while (std::getline(in, line)) {
        PsLabel l{};
        if (std::sscanf(line.c_str(), "(%lf) %lf %lf %lf rotatedText", &l.level, &l.angle, &l.x, &l.y) == 4)
            out.push_back(l);
    }
    return out;
}

class HeldLabels : public ::testing::Test {
protected:
    void SetUp() override {
        dc = kt::openPage(W, H, 40.0f);
        ASSERT_NE(dc, nullptr);
        SetColorMode(1);
        CToutpthFormat = 0;
    }
    void TearDown() override {
        kestrel::gTextTrace = nullptr;
        kt::closePage(dc);
    }
    // x 0..100 over 13 units, y downwards (0 at the top) over 9.5 units.
    void system() { SetupUsrSys(0, 100, 13.0f, 1.5f, 60, 0, 9.5f, 1.0f); }
    KDC dc = nullptr;
};

}  // namespace

// The busy field with an erased corner and a filled "seafloor" drawn over
// the lines: the checker finds no fault, and the labels are many.
TEST_F(HeldLabels, KeepEveryRuleOnABusyField) {
    system();
    ct::Grid g = busyField();
    const std::vector<KContourLevel> levels = levelsEvery(-14, 1, 29);
    ct::Grid err = g;
    for (int32_t j = 0; j < 49; ++j)
        for (int32_t i = 0; i < 81; ++i) err.at(i, j) = static_cast<float>(i < 20 && j > 30 ? 1 : 0);
    std::vector<kestrel::PlacedChar> text;
    kestrel::gTextTrace = &text;
    std::string ps = kt::capture("held", [&](KFILE f) {
        kestrel::holdContourLabels();
        ContourField(g.z.data(), g.x.data(), 81, g.y.data(), 49, levels.data(), 29, dc, f);
        EraseField(err.z.data(), 0.5f, err.x.data(), 81, err.y.data(), 49, FindClosestColor(1, 1, 1), dc, f);
        float fx[] = {50, 70, 90, 100, 100, 50}, fy[] = {60, 45, 52, 40, 60, 60};
        DrawPoly(dc, f, fx, fy, 6, 0, 3);
        EXPECT_GT(kestrel::drawHeldContourLabels(dc, f), 10);
    });
    kestrel::gTextTrace = nullptr;
    kt::savePNG(kt::scratchDir("held_labels_busy") + "/busy.png", kt::pictureImage(dc));
    const kestrel::LabelLayout &l = kestrel::lastLabelLayout();
    EXPECT_EQ(l.covers.size(), 18u + 1u);  // 18 rows of erased runs and the polygon
    const std::vector<std::string> faults = kt::checkLabelLayout(l, &text);
    EXPECT_TRUE(faults.empty()) << kt::joinFaults(faults);
    // Every labelled level that reaches a long stretch in the open gets a
    // label: the rings' levels as well as the band's.
    int rings = 0;
    for (const auto &b : l.labels) rings += b.level >= 2 && b.level <= 6;
    EXPECT_GE(rings, 2);

    // The PostScript writes the same labels where the canvas drew them.
    const std::vector<PsLabel> fromPs = psLabels(ps);
    ASSERT_EQ(fromPs.size(), l.labels.size());
    for (size_t k = 0; k < fromPs.size(); ++k) {
        EXPECT_NEAR(fromPs[k].level, l.labels[k].level, 1e-4);
        EXPECT_NEAR(fromPs[k].angle, l.labels[k].angle, 1e-3);
        EXPECT_NEAR(fromPs[k].x, l.labels[k].x, 1e-3);
        EXPECT_NEAR(fromPs[k].y, l.labels[k].y, 1e-3);
    }
    EXPECT_EQ(ps.find("%%PS-OBJECT: ContourLabels begin"), ps.rfind("%%PS-OBJECT: ContourLabels begin"));
    EXPECT_GT(ps.find("%%PS-OBJECT: ContourLabels begin"), ps.find("%%PS-OBJECT: ErasedField end"));
}

// Lines that run straight down the page: the host's placement keeps their
// labels at 270 degrees (reading downwards); held labels read upwards.
TEST_F(HeldLabels, UprightWhereTheHostPlacementIsNot) {
    system();
    ct::Grid g = ct::makeGrid(41, 31);
    for (int32_t i = 0; i < 41; ++i) g.x[static_cast<size_t>(i)] = 2.5f * i;
    for (int32_t j = 0; j < 31; ++j) g.y[static_cast<size_t>(j)] = 2.0f * j;
    for (int32_t j = 0; j < 31; ++j)
        for (int32_t i = 0; i < 41; ++i) g.at(i, j) = -0.5f - static_cast<float>(i);  // higher to the left: lines run down
    const std::vector<KContourLevel> levels = levelsEvery(-35, 10, 4);
    ct::Grid h = g;
    const std::string host = kt::capture("host", [&](KFILE f) {
        ContourField(h.z.data(), h.x.data(), 41, h.y.data(), 31, levels.data(), 4, nullptr, f);
    });
    int down = 0;
    for (const PsLabel &l : psLabels(host)) down += std::fabs(l.angle - 270) < 1e-6;
    EXPECT_GT(down, 0) << host;

    kestrel::holdContourLabels();
    ContourField(g.z.data(), g.x.data(), 41, g.y.data(), 31, levels.data(), 4, dc, nullptr);
    EXPECT_GE(kestrel::drawHeldContourLabels(dc, nullptr), 2);
    for (const auto &b : kestrel::lastLabelLayout().labels) EXPECT_NEAR(b.angle, 90.0, 1e-6) << b.level;
    const std::vector<std::string> faults = kt::checkLabelLayout(kestrel::lastLabelLayout());
    EXPECT_TRUE(faults.empty()) << kt::joinFaults(faults);
}

// Holding is asked for one ContourField at a time; without it the output is
// that of a host's call, byte for byte, lines and labels.
TEST_F(HeldLabels, HostCallsUnchanged) {
    system();
    const std::vector<KContourLevel> levels = levelsEvery(-14, 2, 15);
    auto draw = [&](bool hold) {
        ct::Grid g = busyField();
        return kt::capture(hold ? "held" : "plain", [&](KFILE f) {
            if (hold) kestrel::holdContourLabels();
            ContourField(g.z.data(), g.x.data(), 81, g.y.data(), 49, levels.data(), 15, nullptr, f);
            if (hold) kestrel::drawHeldContourLabels(nullptr, f);
        });
    };
    const std::string before = draw(false);
    const std::string held = draw(true);
    const std::string after = draw(false);
    EXPECT_EQ(before, after);
    // The lines are the same either way; only the labels moved.
    const std::string linesEnd = "%%PS-OBJECT: ContourLines end\n";
    ASSERT_NE(before.find(linesEnd), std::string::npos);
    EXPECT_EQ(before.substr(0, before.find(linesEnd)), held.substr(0, held.find(linesEnd)));
    EXPECT_NE(before, held);
    // Nothing held: nothing drawn, nothing written.
    EXPECT_EQ(kt::capture("none", [&](KFILE f) { EXPECT_EQ(kestrel::drawHeldContourLabels(dc, f), 0); }), "");
}

// Odd input: no levels, no labelled level, a field of huge values, a frame
// of no size; nothing breaks and no label leaves the frame.
TEST_F(HeldLabels, OddInput) {
    system();
    ct::Grid g = busyField();
    kestrel::holdContourLabels();
    ContourField(g.z.data(), g.x.data(), 81, g.y.data(), 49, nullptr, 3, dc, nullptr);
    EXPECT_EQ(kestrel::drawHeldContourLabels(dc, nullptr), 0);

    std::vector<KContourLevel> unlabelled = levelsEvery(-4, 2, 5);
    for (auto &l : unlabelled) l.labelFactor = 0;
    kestrel::holdContourLabels();
    ContourField(g.z.data(), g.x.data(), 81, g.y.data(), 49, unlabelled.data(), 5, dc, nullptr);
    EXPECT_EQ(kestrel::drawHeldContourLabels(dc, nullptr), 0);

    ct::Grid big = busyField();
    for (float &v : big.z) v *= 1e37f;
    for (float &x : big.x) x *= 1e30f;
    const std::vector<KContourLevel> levels = levelsEvery(-4e37f, 2e37f, 5);
    kestrel::holdContourLabels();
    ContourField(big.z.data(), big.x.data(), 81, big.y.data(), 49, levels.data(), 5, dc, nullptr);
    kestrel::drawHeldContourLabels(dc, nullptr);
    EXPECT_TRUE(kt::checkLabelLayout(kestrel::lastLabelLayout()).empty());

    SetupUsrSys(0, 100, 0.0f, 1.5f, 60, 0, 0.0f, 1.0f);  // a viewport of no size
    ct::Grid g2 = busyField();
    const std::vector<KContourLevel> l2 = levelsEvery(-4, 2, 5);
    kestrel::holdContourLabels();
    ContourField(g2.z.data(), g2.x.data(), 81, g2.y.data(), 49, l2.data(), 5, dc, nullptr);
    EXPECT_EQ(kestrel::drawHeldContourLabels(dc, nullptr), 0);
}

// The checker is not blind: on the host's own placement of the busy field
// (three labels per started 250 vertices, anywhere along the lines) it
// finds labels over each other and across the frame, and labels reading
// downwards.
TEST_F(HeldLabels, CheckerFindsTheHostPlacementFaults) {
    system();
    ct::Grid g = busyField();
    std::vector<KContourLevel> levels = levelsEvery(-14, 1, 29);
    for (auto &l : levels) l.labelFactor = l.labelFactor ? 3 : 0;
    std::vector<kestrel::PlacedLabelBox> boxes;
    kestrel::gLabelBoxTrace = &boxes;
    ContourField(g.z.data(), g.x.data(), 81, g.y.data(), 49, levels.data(), 29, dc, nullptr);
    kestrel::gLabelBoxTrace = nullptr;
    kestrel::LabelLayout l;
    l.left = VX.lowPix;
    l.right = VX.highPix;
    l.top = VY.highPix;
    l.bottom = VY.lowPix;
    l.labels = boxes;
    ASSERT_GT(boxes.size(), 20u);
    int overlaps = 0, frame = 0;
    for (const std::string &f : kt::checkLabelLayout(l)) {
        overlaps += f.find("overlaps") != std::string::npos;
        frame += f.find("leaves the frame") != std::string::npos;
    }
    EXPECT_GT(overlaps, 0);
    EXPECT_GT(frame, 0);
}
