// NDgamma_n per bottle: over every cast of the GO-SHIP P18 section (the
// host labels whole cruises), and over casts of 100 bottles at random ocean
// positions (four different reference casts almost every time).
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <map>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "kestrel/neutral.h"

namespace {

const std::string kData = std::string(KESTREL_TEST_DATA) + "/";

NDData *block() {
    static std::unique_ptr<NDData> nd = [] {
        auto d = std::make_unique<NDData>();
        NDinitialize(d.get());
        if (NDopen(d.get(), (kData + "neutral-density/").c_str()) != 0) d.reset();
        return d;
    }();
    return nd.get();
}

struct Cast {
    double lon = 0, lat = 0;
    std::vector<double> s, t, p, g, lo, hi;
};

std::vector<Cast> p18() {
    std::ifstream in(kData + "samples/go-ship_p18_2016.tsv");
    std::string line;
    std::getline(in, line);
    std::map<std::string, int> col;
    std::stringstream head(line);
    int k = 0;
    for (std::string n; std::getline(head, n, '\t'); ++k) col[n.substr(0, n.find(" ["))] = k;
    std::map<std::pair<double, double>, Cast> casts;
    while (std::getline(in, line)) {
        std::vector<std::string> c;
        std::stringstream row(line);
        for (std::string x; std::getline(row, x, '\t');) c.push_back(x);
        auto num = [&](const char *name) {
            const int i = col[name];
            return i < static_cast<int>(c.size()) && !c[i].empty() ? std::atof(c[i].c_str()) : std::nan("");
        };
        const double s = num("Salinity"), t = num("Temperature") * 1.00024, p = num("Pressure");
        if (!std::isfinite(s) || !std::isfinite(t) || !std::isfinite(p)) continue;
        Cast &cast = casts[{num("Station"), num("Cast")}];
        cast.lon = num("Longitude");
        cast.lat = num("Latitude");
        cast.s.push_back(s), cast.t.push_back(t), cast.p.push_back(p);
    }
    std::vector<Cast> out;
    for (auto &[key, c] : casts) {
        c.g.resize(c.s.size()), c.lo.resize(c.s.size()), c.hi.resize(c.s.size());
        out.push_back(std::move(c));
    }
    return out;
}

void label(benchmark::State &state, std::vector<Cast> &casts) {
    NDData *nd = block();
    if (!nd || casts.empty()) {
        state.SkipWithError("the neutral density data or the P18 table is missing");
        return;
    }
    size_t bottles = 0;
    for (auto _ : state)
        for (Cast &c : casts) {
            NDgamma_n(c.s.data(), c.t.data(), c.p.data(), static_cast<int32_t>(c.s.size()), c.lon, c.lat, c.g.data(),
                      c.lo.data(), c.hi.data(), -99.0, nd);
            bottles += c.s.size();
        }
    state.counters["us_per_bottle"] = benchmark::Counter(static_cast<double>(bottles) / 1e6,
                                                         benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void GammaP18(benchmark::State &state) {
    static std::vector<Cast> casts = p18();
    label(state, casts);
}
BENCHMARK(GammaP18)->Unit(benchmark::kMillisecond);

void GammaRandomCasts100(benchmark::State &state) {
    static std::vector<Cast> casts = [] {
        std::vector<Cast> out;
        NDData *nd = block();
        std::mt19937 rng(7);
        std::uniform_real_distribution<double> lon(0, 360), lat(-70, 60);
        while (nd && out.size() < 50) {
            Cast c;
            c.lon = lon(rng);
            c.lat = lat(rng);
            for (int k = 0; k < 100; ++k) {
                const double f = k / 99.0;
                c.p.push_back(5 + 4995 * f * f);
                c.t.push_back(1.2 + 24.0 * std::exp(-c.p.back() / 600.0));
                c.s.push_back(34.7 + 0.4 * std::exp(-c.p.back() / 300.0) - 0.2 * std::exp(-std::pow(c.p.back() - 900, 2) / 1e5));
            }
            c.g.resize(100), c.lo.resize(100), c.hi.resize(100);
            double g = 0, lo = 0, hi = 0, s = 34.7, t = 2, p = 2000;
            if (NDgamma_n(&s, &t, &p, 1, c.lon, c.lat, &g, &lo, &hi, -99.0, nd) == 0 && g > 0) out.push_back(c);
        }
        return out;
    }();
    label(state, casts);
}
BENCHMARK(GammaRandomCasts100)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
