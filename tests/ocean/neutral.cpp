// Neutral density against the published example casts (six published
// decimals, and the published program's full-precision output), the
// published check values of its equation of state, hand-worked steps, and
// reference files that are missing, truncated or carry numbers where only
// fill may be.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <iterator>
#include <cstdio>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "common/testing.h"
#include "kestrel/neutral.h"

namespace {

struct Bottle {
    double lon, lat, s, t, p, gamma, lo, hi, gamma6, lo6, hi6;
    int cast;
};

std::vector<Bottle> readExample() {
    std::vector<Bottle> out;
    std::ifstream in(kt::dataPath("neutral-density/example.tsv"));
    std::string line;
    while (std::getline(in, line)) {
        if (line.empty() || line[0] == '#') continue;
        std::istringstream f(line);
        Bottle b;
        std::string pub4[3];
        f >> b.lon >> b.lat >> b.s >> b.t >> b.p >> b.gamma >> b.lo >> b.hi >> b.gamma6 >> b.lo6 >> b.hi6;
        // Columns 12-14 are empty for casts 2 and 3; the cast number is last.
        std::vector<std::string> rest;
        for (std::string w; f >> w;) rest.push_back(w);
        b.cast = std::stoi(rest.back());
        out.push_back(b);
    }
    return out;
}

std::string dataDir() { return kt::dataPath("neutral-density/"); }

class Neutral : public ::testing::Test {
protected:
    void SetUp() override {
        KT_REQUIRE_FILE(dataDir() + "stga.fdt");
        NDinitialize(&nd);
        ASSERT_EQ(NDopen(&nd, dataDir().c_str()), 0);
    }
    void TearDown() override { NDclose(&nd); }

    // gamma, lower and upper error of one bottle.
    std::array<double, 3> label(double lon, double lat, double s, double t, double p, int32_t *status = nullptr) {
        std::array<double, 3> r{-1, -1, -1};
        const int32_t st = NDgamma_n(&s, &t, &p, 1, lon, lat, &r[0], &r[1], &r[2], -99.0, &nd);
        if (status) *status = st;
        return r;
    }

    NDData nd{};
};

TEST_F(Neutral, PublishedExampleCastsToSixDecimalsAndFullPrecision) {
    const std::vector<Bottle> rows = readExample();
    ASSERT_EQ(rows.size(), 89u);
    std::map<int, std::vector<Bottle>> casts;
    for (const Bottle &b : rows) casts[b.cast].push_back(b);
    double worst = 0;
    for (const auto &[id, cast] : casts) {
        std::vector<double> s, t, p;
        for (const Bottle &b : cast) s.push_back(b.s), t.push_back(b.t), p.push_back(b.p);
        const size_t n = cast.size();
        std::vector<double> g(n), lo(n), hi(n);
        ASSERT_EQ(NDgamma_n(s.data(), t.data(), p.data(), static_cast<int32_t>(n), cast[0].lon, cast[0].lat, g.data(),
                            lo.data(), hi.data(), -99.0, &nd),
                  0);
        for (size_t k = 0; k < n; ++k) {
            SCOPED_TRACE("cast " + std::to_string(id) + " p " + std::to_string(cast[k].p));
            EXPECT_NEAR(g[k], cast[k].gamma, 1e-6);
            EXPECT_NEAR(lo[k], cast[k].lo, 1e-6);
            EXPECT_NEAR(hi[k], cast[k].hi, 1e-6);
            // Rounded to six decimals, the published values.
            EXPECT_NEAR(std::round(g[k] * 1e6) / 1e6, cast[k].gamma6, 1e-9);
            EXPECT_NEAR(std::round(lo[k] * 1e6) / 1e6, cast[k].lo6, 1e-9);
            EXPECT_NEAR(std::round(hi[k] * 1e6) / 1e6, cast[k].hi6, 1e-9);
            worst = std::max({worst, std::fabs(g[k] - cast[k].gamma), std::fabs(lo[k] - cast[k].lo),
                              std::fabs(hi[k] - cast[k].hi)});
        }
        // Labelling bottle by bottle gives the same as the whole cast.
        for (size_t k = 0; k < n; k += 7) EXPECT_EQ(label(cast[0].lon, cast[0].lat, s[k], t[k], p[k])[0], g[k]);
    }
    std::printf("largest difference from the published program: %.3g\n", worst);
}

TEST_F(Neutral, PositionsAtAndBeyondTheRangeOfTheData) {
    int32_t st = 0;
    const double s = 34.7, t = 3.0, p = 1500.0;
    label(190, 64, s, t, p, &st);
    EXPECT_EQ(st, 0);
    label(190, 64.01, s, t, p, &st);
    EXPECT_EQ(st, 1);
    label(190, -80.01, s, t, p, &st);
    EXPECT_EQ(st, 1);
    // At -80 the southern corners are empty: the two casts at -76 get equal
    // weight whatever the longitude inside the box.
    const auto a = label(201, -80, s, t, p, &st);
    EXPECT_EQ(st, 0);
    EXPECT_EQ(a[0], label(203, -80, s, t, p)[0]);
    // Longitudes wrap: -10 is 350 and 360 is 0.
    EXPECT_EQ(label(-10, -50, s, t, p)[0], label(350, -50, s, t, p)[0]);
    EXPECT_EQ(label(360, -50, s, t, p)[0], label(0, -50, s, t, p)[0]);
    label(360.5, -50, s, t, p, &st);
    EXPECT_EQ(st, 1);
    label(std::nan(""), -50, s, t, p, &st);
    EXPECT_EQ(st, 1);
    // The last column (356..360) wraps its eastern casts round to 0 degrees.
    const auto w = label(358, -50, s, t, p, &st);
    EXPECT_EQ(st, 0);
    EXPECT_GT(w[0], 27.0);
    EXPECT_LT(w[0], 28.5);
    // Land all round (the middle of Asia): no label.
    label(90, 45, s, t, p, &st);
    EXPECT_EQ(st, 1);
}

TEST_F(Neutral, BottlesOutsideTheEquationOfStateGetTheMissingValue) {
    const double s[4] = {34.7, 42.01, 34.7, 34.7}, t[4] = {3, 3, -2.6, 3}, p[4] = {1500, 1500, 1500, 10000.1};
    double g[4], lo[4], hi[4];
    ASSERT_EQ(NDgamma_n(s, t, p, 4, 187.3, -41.7, g, lo, hi, -1.0e10, &nd), 0);
    EXPECT_EQ(g[0], label(187.3, -41.7, 34.7, 3, 1500)[0]);
    for (int k = 1; k < 4; ++k) EXPECT_TRUE(g[k] == -1.0e10 && lo[k] == -1.0e10 && hi[k] == -1.0e10) << k;
    // NaN is outside every range too.
    const double nan = std::nan("");
    double gn = 0, ln = 0, hn = 0;
    ASSERT_EQ(NDgamma_n(&nan, &t[0], &p[0], 1, 187.3, -41.7, &gn, &ln, &hn, -99.0, &nd), 0);
    EXPECT_EQ(gn, -99.0);
    // Bottles far denser and far lighter than any cast around are labelled
    // by extending the casts, or not at all; never anything but a number.
    for (double tt : {-2.5, 35.0})
        for (double pp : {0.0, 6000.0, 10000.0}) {
            const auto r = label(187.3, -41.7, tt < 0 ? 35.0 : 34.0, tt, pp);
            EXPECT_TRUE(r[0] == -99.0 || (r[0] > 15 && r[0] < 33)) << tt << " " << pp << " " << r[0];
            EXPECT_TRUE(r[1] >= 0.0005 || r[1] == -99.0);
        }
    // Bad calls touch no output.
    EXPECT_EQ(NDgamma_n(s, t, p, -1, 187.3, -41.7, g, lo, hi, -99.0, &nd), 1);
    EXPECT_EQ(NDgamma_n(nullptr, t, p, 1, 187.3, -41.7, g, lo, hi, -99.0, &nd), 1);
    EXPECT_EQ(NDgamma_n(s, t, p, 0, 187.3, -41.7, nullptr, nullptr, nullptr, -99.0, &nd), 0);
}

TEST_F(Neutral, SecondOpenDoesNotReadAgain) {
    EXPECT_EQ(NDopen(&nd, "/no/such/folder/"), 0);
    EXPECT_EQ(nd.loaded, 1);
}

// Copies of the reference files with some bytes changed.
struct Copy {
    std::string dir;
    std::vector<char> llp, stga;
    explicit Copy(const std::string &name) : dir(kt::scratchDir(name) + "/") {
        auto read = [](const std::string &path) {
            std::ifstream in(path, std::ios::binary);
            return std::vector<char>(std::istreambuf_iterator<char>(in), {});
        };
        llp = read(dataDir() + "llp.fdt");
        stga = read(dataDir() + "stga.fdt");
    }
    void write(size_t llpBytes, size_t stgaBytes) const {
        std::ofstream(dir + "llp.fdt", std::ios::binary).write(llp.data(), static_cast<std::streamsize>(llpBytes));
        std::ofstream(dir + "stga.fdt", std::ios::binary).write(stga.data(), static_cast<std::streamsize>(stgaBytes));
    }
    void write() const { write(llp.size(), stga.size()); }
    int32_t level(int cast) const {
        int32_t n;
        std::memcpy(&n, &llp[672 + 4 * static_cast<size_t>(cast)], 4);
        return n;
    }
};

TEST(NeutralFiles, MissingShortAndMalformedFilesLeaveTheBlockUnloaded) {
    KT_REQUIRE_FILE(dataDir() + "stga.fdt");
    Copy c("neutral_files");
    NDData nd;
    NDinitialize(&nd);
    EXPECT_EQ(NDopen(&nd, (c.dir + "none/").c_str()), 1);
    for (const auto &[llp, stga] : {std::make_pair(c.llp.size() - 1, c.stga.size()),
                                    std::make_pair(c.llp.size(), c.stga.size() - 528), std::make_pair(size_t{0}, size_t{0}),
                                    std::make_pair(size_t{100}, c.stga.size())}) {
        c.write(llp, stga);
        EXPECT_EQ(NDopen(&nd, c.dir.c_str()), 1) << llp << " " << stga;
        EXPECT_EQ(nd.loaded, 0);
        EXPECT_EQ(nd.casts, nullptr);
        double s = 34.7, t = 3, p = 1500, g = 0, lo = 0, hi = 0;
        EXPECT_EQ(NDgamma_n(&s, &t, &p, 1, 187.3, -41.7, &g, &lo, &hi, -99, &nd), 1);
        EXPECT_EQ(NDread(187.3, -41.7, &nd), 1);
    }
    // A level count beyond the 33 standard levels is no file of this kind.
    Copy bad("neutral_levels");
    const int32_t huge = 1 << 30;
    std::memcpy(&bad.llp[672 + 4 * 1000], &huge, 4);
    bad.write();
    EXPECT_EQ(NDopen(&nd, bad.dir.c_str()), 1);
    EXPECT_EQ(nd.loaded, 0);
    NDclose(&nd);
    NDclose(&nd);  // closing an unloaded block is harmless
}

TEST(NeutralFiles, LevelsBeyondACastsCountAreNeverRead) {
    KT_REQUIRE_FILE(dataDir() + "stga.fdt");
    // Fill every level at or beyond each cast's count with numbers that
    // would change any label they entered (26 casts of the published set
    // carry real-looking numbers there).
    Copy c("neutral_fill");
    for (int cast = 0; cast < ND_NCAST; ++cast)
        for (int field = 0; field < 4; ++field)
            for (int k = c.level(cast); k < ND_NLEV; ++k) {
                const float v = field == 3 ? 1.0e6f : 1.0e3f;
                std::memcpy(&c.stga[528 * static_cast<size_t>(cast) + 4 * (33 * field + k)], &v, 4);
            }
    c.write();
    NDData orig, filled;
    NDinitialize(&orig);
    NDinitialize(&filled);
    ASSERT_EQ(NDopen(&orig, dataDir().c_str()), 0);
    ASSERT_EQ(NDopen(&filled, c.dir.c_str()), 0);
    // Around lon 172, lat -68 (n = 28 with values to 5500 dbar) and the
    // example casts, bottles from the surface to the deep.
    for (const auto &[lon, lat] : {std::make_pair(173.0, -67.0), std::make_pair(171.0, -63.0),
                                   std::make_pair(306.0, 45.0), std::make_pair(187.317, -41.6667)})
        for (double p : {10.0, 500.0, 2000.0, 3500.0, 4800.0}) {
            const double s = 34.7, t = p < 1000 ? 1.0 : 0.2;
            double g1, l1, h1, g2, l2, h2;
            const int32_t a = NDgamma_n(&s, &t, &p, 1, lon, lat, &g1, &l1, &h1, -99, &orig);
            const int32_t b = NDgamma_n(&s, &t, &p, 1, lon, lat, &g2, &l2, &h2, -99, &filled);
            EXPECT_EQ(a, b);
            EXPECT_EQ(g1, g2) << lon << " " << lat << " " << p;
            EXPECT_EQ(l1, l2);
            EXPECT_EQ(h1, h2);
        }
    NDclose(&orig);
    NDclose(&filled);
}

TEST(NeutralSteps, EquationOfStateCheckValues) {
    // UNESCO 1983 and the published routines' own check values, S 40, t 40, p 10000.
    double sigma = 0;
    EXPECT_NEAR(NDsvan(40, 40, 10000, &sigma), 981.3021, 5e-4);
    EXPECT_NEAR(sigma, 59.82037, 5e-5);
    EXPECT_NEAR(NDtheta(40, 40, 10000, 0), 36.89073, 5e-5);
    EXPECT_NEAR(NDatg(40, 40, 10000), 3.255976e-4, 5e-10);
    double drv[24];
    NDeos8d(40, 40, 10000, drv);
    EXPECT_NEAR(drv[6 * 3 + 0], 3.46969238e-3, 1e-9);  // DR/DP, DRV(1,7)
    // DR/DT, DRV(2,3), against a centred difference of the density (the
    // check value printed with the published routine reads -.43311722, a
    // slip of one digit: the difference gives -0.44311722)
    double up, down;
    NDsvan(40, 40.001, 10000, &up);
    NDsvan(40, 39.999, 10000, &down);
    EXPECT_NEAR(drv[2 * 3 + 1], (up - down) / 0.002, 1e-6);
    EXPECT_NEAR(drv[7 * 3 + 0], 0.705110777, 1e-6);    // DR/DS, DRV(1,8)
    double th, st, alf, bet, gam, c;
    NDeosall(40, 40, 10000, &th, &st, &alf, &bet, &gam, &c);
    EXPECT_NEAR(th, 36.8907, 1e-4);
    EXPECT_NEAR(alf, 4395.6e-7, 1e-7);
    EXPECT_NEAR(bet, 6646.9e-7, 1e-7);
    EXPECT_NEAR(gam, 31.4e-7, 1e-7);
    EXPECT_NEAR(c, 1734.8, 0.1);
    // derthe's dtheta/dt against a centred difference of theta.
    double dt, ds, dp;
    NDderthe(35, 10, 4000, &dt, &ds, &dp);
    EXPECT_NEAR(dt, (NDtheta(35, 10.01, 4000, 0) - NDtheta(35, 9.99, 4000, 0)) / 0.02, 2e-4);
}

TEST(NeutralSteps, IndexInterpolationAndOceans) {
    const double x[5] = {0, 10, 20, 30, 50};
    EXPECT_EQ(NDindx(x, 5, 0), 0);
    EXPECT_EQ(NDindx(x, 5, 10), 1);
    EXPECT_EQ(NDindx(x, 5, 15), 1);
    EXPECT_EQ(NDindx(x, 5, 49.9), 3);
    EXPECT_EQ(NDindx(x, 5, 50), 3);
    EXPECT_EQ(NDindx(x, 5, -1), -1);
    EXPECT_EQ(NDindx(x, 5, 51), -1);
    EXPECT_EQ(NDindx(x, 0, 1), -1);
    EXPECT_EQ(NDindx(nullptr, 5, 1), -1);
    // The quadratic label profile by hand: halfway, a = 0.4 bends it down by a/4.
    EXPECT_DOUBLE_EQ(NDgamma_qdr(100, 27.0, 0.4, 200, 27.2, 150), 27.1 - 0.1);
    EXPECT_DOUBLE_EQ(NDgamma_qdr(100, 27.0, 0.4, 200, 27.2, 200), 27.2);
    // Salinity linear, temperature linear in potential temperature.
    const double s[2] = {34.0, 35.0}, t[2] = {10.0, 2.0}, p[2] = {1000, 3000};
    double si, ti;
    NDstp_interp(s, t, p, 2, &si, &ti, 2000);
    EXPECT_DOUBLE_EQ(si, 34.5);
    const double thMid = (NDtheta(34, 10, 1000, 0) + NDtheta(35, 2, 3000, 0)) / 2;
    EXPECT_NEAR(NDtheta(34.5, ti, 2000, 0), thMid, 1e-7);  // theta there and back
    // Oceans: 1 N Pacific, 2 S Pacific, 4 S Indian, 6 S Atlantic.
    EXPECT_EQ(NDocean_test(200, 10, 1, 204, 10, 1, 100), 1);
    EXPECT_EQ(NDocean_test(290, -30, 2, 294, -30, 6, 100), 0);   // across South America
    EXPECT_EQ(NDocean_test(290, -50, 2, 294, -50, 6, 100), 1);   // Drake Passage
    EXPECT_EQ(NDocean_test(296, -62, 2, 300, -62, 6, 100), 0);   // round the Antarctic Peninsula
    EXPECT_EQ(NDocean_test(128, -10, 2, 128, -14, 4, 1000), 1);  // Indonesian throughflow
    EXPECT_EQ(NDocean_test(128, -10, 2, 128, -14, 4, 1500), 0);  // but not below the sills
    EXPECT_EQ(NDocean_test(100, 10, 3, 110, 10, 5, 100), 0);
    EXPECT_EQ(NDocean_test(135, 40, 1, 145, 40, 2, 100), 0);     // the Japan Sea keeps to itself
}

TEST(NeutralSteps, CrossingsOnAHandMadeCast) {
    // A cast from 0 to 3000 dbar; a bottle taken from its own 1500 dbar level
    // meets it there.
    const double p[4] = {0, 1000, 2000, 3000}, s[4] = {34.5, 34.6, 34.7, 34.72}, t[4] = {15, 5, 2.5, 1.8};
    double sns, tns, pns;
    double sb, tb;
    NDstp_interp(s, t, p, 4, &sb, &tb, 1500);
    NDdepth_ns(s, t, p, 4, sb, tb, 1500, &sns, &tns, &pns);
    EXPECT_NEAR(pns, 1500, 0.05);
    EXPECT_NEAR(sns, sb, 1e-5);
    // Denser than the whole cast: below it (-99), and goor extends it.
    NDdepth_ns(s, t, p, 4, 34.9, 0.0, 3000, &sns, &tns, &pns);
    EXPECT_EQ(pns, -99.0);
    const double g[4] = {25.0, 27.5, 27.9, 28.0};
    double gb, e1, e2l, e2h;
    NDgoor(s, t, p, g, 4, 34.9, 0.0, 3000, &gb, &e1, &e2l, &e2h);
    EXPECT_GT(gb, 28.0);
    EXPECT_LT(gb, 28.5);
    // Bad casts give markers, never a read past the arrays.
    NDdepth_ns(s, t, p, 0, 34.9, 0.0, 3000, &sns, &tns, &pns);
    EXPECT_EQ(pns, -99.0);
    NDgoor(s, t, p, g, 1, 34.9, 0.0, 3000, &gb, &e1, &e2l, &e2h);
    EXPECT_EQ(gb, -99.0);
    double ss[50], ts[50], ps[50];
    int32_t nscv = -1;
    NDdepth_scv(s, t, p, 4, sb, tb, 1500, ss, ts, ps, &nscv);
    EXPECT_GE(nscv, 1);
    int32_t iter = 0;
    double e[4];
    for (int k = 0; k < 4; ++k) {
        double a, b;
        NDsig_vals(sb, tb, 1500, s[k], t[k], p[k], &a, &b);
        e[k] = b - a;
    }
    NDe_solve(s, t, p, e, 4, 2, sb, tb, 1500, &sns, &tns, &pns, &iter);
    EXPECT_NEAR(pns, 1500, 0.05);
    EXPECT_LE(iter, 21);
    NDe_solve(s, t, p, e, 4, 0, sb, tb, 1500, &sns, &tns, &pns, &iter);  // k must be 1..n-1
    EXPECT_EQ(pns, -99.0);
}

}  // namespace

namespace {

// Columns of the P18 table by name without unit; NaN for empty fields.
std::map<std::string, std::vector<double>> readColumns(const std::string &path) {
    std::ifstream in(path);
    std::string line;
    std::getline(in, line);
    std::vector<std::string> names;
    std::stringstream head(line);
    for (std::string n; std::getline(head, n, '\t');) names.push_back(n.substr(0, n.find(" [")));
    std::map<std::string, std::vector<double>> cols;
    while (std::getline(in, line)) {
        std::stringstream row(line);
        std::string c;
        for (size_t k = 0; k < names.size(); ++k) {
            if (!std::getline(row, c, '\t')) c.clear();
            char *end = nullptr;
            const double v = std::strtod(c.c_str(), &end);
            cols[names[k]].push_back(c.empty() || *end ? std::nan("") : v);
        }
    }
    return cols;
}

}  // namespace

TEST_F(Neutral, P18LabelsIncreaseDownwardWhereverTheWaterIsStable) {
    const std::string path = kt::dataPath("samples/go-ship_p18_2016.tsv");
    KT_REQUIRE_FILE(path);
    auto c = readColumns(path);
    std::map<std::pair<double, double>, std::vector<size_t>> casts;
    for (size_t r = 0; r < c["Station"].size(); ++r) casts[{c["Station"][r], c["Cast"][r]}].push_back(r);
    size_t pairs = 0, labelled = 0;
    for (auto &[key, rows] : casts) {
        std::vector<double> s, t, p;
        for (size_t r : rows) {
            if (std::isnan(c["Salinity"][r]) || std::isnan(c["Temperature"][r]) || std::isnan(c["Pressure"][r])) continue;
            s.push_back(c["Salinity"][r]);
            t.push_back(c["Temperature"][r] * 1.00024);  // ITS-90 to the 1968 scale
            p.push_back(c["Pressure"][r]);
        }
        const size_t n = s.size();
        std::vector<size_t> order(n);
        for (size_t k = 0; k < n; ++k) order[k] = k;
        std::sort(order.begin(), order.end(), [&](size_t a, size_t b) { return p[a] < p[b]; });
        std::vector<double> g(n), lo(n), hi(n);
        ASSERT_EQ(NDgamma_n(s.data(), t.data(), p.data(), static_cast<int32_t>(n), c["Longitude"][rows[0]],
                            c["Latitude"][rows[0]], g.data(), lo.data(), hi.data(), -99.0, &nd),
                  0);
        for (size_t k = 0; k + 1 < n; ++k) {
            const size_t a = order[k], b = order[k + 1];
            if (g[a] == -99.0 || g[b] == -99.0) continue;
            double sa, sb;
            NDsig_vals(s[a], t[a], p[a], s[b], t[b], p[b], &sa, &sb);
            if (!(sb > sa)) continue;  // the bottles themselves are inverted
            ++pairs;
            EXPECT_GE(g[b] - g[a], -(hi[a] + lo[b])) << "station " << key.first << " at " << p[a] << " and " << p[b];
        }
        for (double x : g) labelled += x != -99.0;
    }
    EXPECT_GT(pairs, 4500u);
    EXPECT_GT(labelled, 5000u);
}
