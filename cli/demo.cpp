// kestrel demo: the section pipeline on a synthetic hydrographic section.
//
// About 35 stations, irregularly spaced over 6000 km from a polar margin
// (x = 0) to the centre of a subtropical gyre, each a bottle profile at
// standard depths (dense near the surface) down to 10 m above a seafloor
// with a mid-ocean ridge. Temperature (degrees Celsius) follows one
// subtropical profile P, lifted by a depth offset D that grows poleward:
//   T(x, z) = P(z + D(x, z)) + cold winter water and bottom water in the south + noise
//   P(s) = 0.8 + 3 exp(-s / 1300) + 22.5 exp(-(s / 550)^1.5)
//   D(x, z) = (800 (1 - f) + 900 (1 - g)) exp(-z / 3000) - a warm-core eddy
// with f and g tanh steps across a polar front at 1300 km and toward the
// gyre: the thermocline deepens toward the gyre, and where D exceeds an
// isotherm's depth in P the isotherm outcrops (2 to 6 degrees at the
// front). The random numbers come from a 32-bit Mersenne twister, converted
// here, so the same seed gives the same table everywhere.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <random>
#include <string>

#include "section.h"

namespace {

struct Random {
    std::mt19937 engine;
    explicit Random(uint32_t seed) : engine(seed) {}
    double uniform() { return (engine() >> 8) * (1.0 / 16777216.0); }  // [0, 1)
    double normal() {  // Box-Muller
        const double u = 1.0 - uniform(), v = uniform();
        return std::sqrt(-2.0 * std::log(u)) * std::cos(6.283185307179586 * v);
    }
};

double sigmoid(double t) { return 0.5 * (1.0 + std::tanh(t)); }

// Seafloor depth (m): a shelf break near the polar margin, an abyssal plain
// with gentle roughness, a ridge at 3100 km rising to about 2300 m.
double seafloor(double x) {
    const double plain = 5200.0 - 400.0 * sigmoid((x - 5200.0) / 500.0);
    const double shelf = (plain - 600.0) * sigmoid((x - 250.0) / 120.0) + 600.0;
    const double ridge = 2900.0 * std::exp(-std::pow((x - 3100.0) / 420.0, 2));
    return shelf - ridge + 120.0 * std::sin(x / 230.0) + 80.0 * std::sin(x / 97.0 + 1.0);
}

double temperature(double x, double z) {
    const double front = sigmoid((x - 1300.0) / 180.0);  // 0 south, 1 north of the polar front
    const double gyre = sigmoid((x - 3200.0) / 900.0);   // toward the gyre centre
    const double eddy = 160.0 * std::exp(-std::pow((x - 4600.0) / 170.0, 2));
    const double lift = (800.0 * (1.0 - front) + 900.0 * (1.0 - gyre)) * std::exp(-z / 3000.0) -
                        eddy * std::exp(-z / 1200.0);
    const double s = std::max(0.0, z + lift);
    double t = 0.8 + 3.0 * std::exp(-s / 1300.0) + 22.5 * std::exp(-std::pow(s / 550.0, 1.5));
    t -= 2.3 * (1.0 - front) * std::exp(-z / 120.0);                          // winter water
    t -= 0.7 * (1.0 - front) * std::exp(-(seafloor(x) - z) / 500.0);        // bottom water
    return t;
}

}  // namespace

Table demoTable(uint32_t seed) {
    Random rnd(seed);
    static const double standard[] = {5,    10,   20,   30,   50,   75,   100,  125,  150,  200,  250,
                                      300,  400,  500,  600,  700,  800,  1000, 1200, 1500, 1750, 2000,
                                      2500, 3000, 3500, 4000, 4500, 5000, 5500};
    Table t;
    t.names = {"Station", "Distance [km]", "Depth [m]", "Temperature [degC]", "Bottom [m]"};
    // Station spacing: closer across the front and near the ridge, wider in the gyre.
    std::vector<double> xs;
    for (double x = 20.0; x < 6000.0;) {
        xs.push_back(x);
        const double near = std::fabs(x - 1300.0) < 500.0 || std::fabs(x - 3100.0) < 400.0;
        x += (near ? 110.0 : 230.0) * (0.6 + 0.8 * rnd.uniform());
    }
    for (size_t s = 0; s < xs.size(); ++s) {
        const double x = xs[s], bottom = seafloor(x);
        std::vector<double> depths;
        for (double d : standard)
            if (d < bottom - 60.0) depths.push_back(d * (1.0 + 0.04 * (rnd.uniform() - 0.5)));
        depths.push_back(bottom - 10.0);
        for (double z : depths) {
            const double noise = 0.02 + 0.2 * std::exp(-z / 100.0);  // the mixed layer is noisier
            t.rows.push_back({static_cast<double>(s + 1), x, std::round(z * 10) / 10,
                              std::round((temperature(x, z) + noise * rnd.normal()) * 1e4) / 1e4,
                              std::round(bottom)});
        }
    }
    return t;
}

const char *const kDemoUsage =
    "usage: kestrel demo [options] [-o NAME] [--seed N]\n"
    "  demo    the section pipeline on a synthetic temperature section (35 stations over\n"
    "          6000 km, a polar front, a ridge, a deepening thermocline; --seed N, default 1)\n"
    "          written to NAME.png, NAME.gif and NAME.ps (default NAME kestrel-demo)\n";

int demoMain(int argc, char **argv, const std::function<std::string(const std::string &)> &findPreamble) {
    // --seed is the demo's own option; the rest are the section's.
    uint32_t seed = 1;
    std::vector<char *> rest;
    for (int i = 0; i < argc; ++i) {
        if (std::string(argv[i]) == "--seed") {
            char *end = nullptr;
            const unsigned long v = i + 1 < argc ? std::strtoul(argv[i + 1], &end, 10) : 0;
            if (i + 1 >= argc || end == argv[i + 1] || *end || argv[i + 1][0] == '-' || v > 0xFFFFFFFFul) {
                std::fprintf(stderr, "kestrel: --seed needs a whole number\n");
                return 2;
            }
            seed = static_cast<uint32_t>(v);
            ++i;
        } else {
            rest.push_back(argv[i]);
        }
    }
    SectionOptions o;
    o.name = "kestrel-demo";
    o.data = "the demo section";
    o.x = "Distance";
    o.y = "Depth";
    o.value = "Temperature";
    o.title = "Synthetic section: temperature";
    std::string preamble;
    const std::string help = std::string(kDemoUsage) + kSectionUsage + kOutputUsage;
    const int status = parseSectionOptions(static_cast<int>(rest.size()), rest.data(), false, &o, &preamble,
                                           help.c_str());
    if (status >= 0) return status;
    o.preamble = findPreamble(preamble);
    if (!resolvePalette(&o)) return 2;
    const Table table = demoTable(seed);
    if (!o.quiet) std::fprintf(stderr, "kestrel: made %zu samples (seed %u)\n", table.rows.size(), seed);
    return sectionCommand(table, o);
}
