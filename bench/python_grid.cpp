// The gridding the Python package does, called from C++: the P18 oxygen
// section onto 400 x 200 nodes. bench/python_overhead.py times the same call
// through Python and reports the ratio.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "grid_points.h"

namespace {

struct Samples {
    std::vector<float> x, y, v;
};

const Samples &p18() {
    static const Samples s = [] {
        Samples out;
        std::ifstream in(std::string(KESTREL_TEST_DATA) + "/samples/go-ship_p18_2016.tsv");
        std::string line;
        std::getline(in, line);
        std::vector<std::string> names;
        std::stringstream head(line);
        for (std::string n; std::getline(head, n, '\t');) names.push_back(n.substr(0, n.find(" [")));
        int cx = -1, cy = -1, cv = -1;
        for (int k = 0; k < static_cast<int>(names.size()); ++k) {
            if (names[k] == "Latitude") cx = k;
            if (names[k] == "Depth") cy = k;
            if (names[k] == "Oxygen") cv = k;
        }
        while (std::getline(in, line)) {
            std::vector<std::string> cells;
            std::stringstream row(line);
            for (std::string c; std::getline(row, c, '\t');) cells.push_back(c);
            auto num = [&](int k) {
                if (k < 0 || k >= static_cast<int>(cells.size()) || cells[k].empty()) return std::nanf("");
                return std::strtof(cells[k].c_str(), nullptr);
            };
            const float x = num(cx), y = num(cy), v = num(cv);
            if (std::isfinite(x) && std::isfinite(y) && std::isfinite(v)) {
                out.x.push_back(x);
                out.y.push_back(y);
                out.v.push_back(v);
            }
        }
        return out;
    }();
    return s;
}

void GridSection400x200(benchmark::State &state) {
    const Samples &s = p18();
    if (s.x.size() < 3) {
        state.SkipWithError("the P18 table is missing");
        return;
    }
    float range[4] = {s.x[0], s.x[0], s.y[0], s.y[0]};
    for (size_t k = 0; k < s.x.size(); ++k) {
        range[0] = std::fmin(range[0], s.x[k]);
        range[1] = std::fmax(range[1], s.x[k]);
        range[2] = std::fmin(range[2], s.y[k]);
        range[3] = std::fmax(range[3], s.y[k]);
    }
    for (auto _ : state) {
        auto r = kestrel::python::gridPoints(s.x.data(), s.y.data(), s.v.data(), nullptr,
                                             static_cast<int32_t>(s.x.size()), 400, 200, range, 3.0f, 1.0f, false);
        benchmark::DoNotOptimize(r.estimate.data());
    }
    state.counters["samples"] = static_cast<double>(s.x.size());
}
BENCHMARK(GridSection400x200)->Unit(benchmark::kMillisecond)->MinTime(2.0);

}  // namespace

BENCHMARK_MAIN();
