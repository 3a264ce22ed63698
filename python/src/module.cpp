// The compiled half of the Python package: thin wrappers that check array
// arguments, drop the interpreter lock and call the library.
//
// The library keeps its drawing and analysis state in process-wide globals
// (the user system, the scratch of the objective analysis, the root-search
// state), so every call that touches them runs under one mutex. Numbers go
// in and out as float32 arrays, the library's own type; the Python layer
// converts and validates shapes before calling here.
#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

#include "grid_points.h"
#include "cli/commands.h"
#include "cli/section.h"
#include "kestrel/kestrel.h"

namespace py = pybind11;

namespace {

std::mutex &libraryLock() {
    static std::mutex m;
    return m;
}

using FloatArray = py::array_t<float, py::array::c_style | py::array::forcecast>;

const float *data(const FloatArray &a) { return a.data(); }

py::array_t<float> toArray(std::vector<float> &&v, std::vector<py::ssize_t> shape) {
    auto *heap = new std::vector<float>(std::move(v));
    py::capsule owner(heap, [](void *p) { delete static_cast<std::vector<float> *>(p); });
    return py::array_t<float>(shape, heap->data(), owner);
}

py::dict grid(const FloatArray &x, const FloatArray &y, const FloatArray &v, py::object err, int32_t nx, int32_t ny,
              std::vector<float> range, float percent, float factor, bool objective) {
    const py::ssize_t n = x.size();
    if (y.size() != n || v.size() != n) throw std::invalid_argument("x, y and value differ in length");
    if (range.size() != 4) throw std::invalid_argument("range needs four numbers");
    FloatArray e;
    if (!err.is_none()) {
        e = FloatArray::ensure(err);
        if (!e || e.size() != n) throw std::invalid_argument("error differs in length from value");
    }
    kestrel::python::GridResult r;
    {
        py::gil_scoped_release free;
        std::lock_guard<std::mutex> hold(libraryLock());
        r = kestrel::python::gridPoints(data(x), data(y), data(v), err.is_none() ? nullptr : e.data(), static_cast<int32_t>(n), nx, ny,
                       range.data(), percent, factor, objective);
    }
    py::dict out;
    const std::vector<py::ssize_t> shape{ny, nx};
    out["estimate"] = toArray(std::move(r.estimate), shape);
    out["spread"] = toArray(std::move(r.spread), shape);
    out["distance"] = toArray(std::move(r.distance), shape);
    out["x"] = toArray(std::move(r.xg), {nx});
    out["y"] = toArray(std::move(r.yg), {ny});
    out["x_scale"] = toArray(std::move(r.xlen), {nx});
    out["y_scale"] = toArray(std::move(r.ylen), {ny});
    return out;
}

// Traces one level with the library's tracer steps and returns each path as
// an (n, 2) array of x, y. Closed rings repeat their first vertex.
py::list contourLines(const FloatArray &xs, const FloatArray &ys, const FloatArray &zs, float level) {
    const int32_t nx = static_cast<int32_t>(xs.size()), ny = static_cast<int32_t>(ys.size());
    std::vector<std::vector<float>> paths;
    {
        py::gil_scoped_release free;
        std::lock_guard<std::mutex> hold(libraryLock());
        std::vector<float> z(zs.data(), zs.data() + zs.size());
        int32_t n = 0;
        GRIDSEGMENT *s = CTsetgs(z.data(), level, nx, ny, &n);
        if (s) {
            const float *f = z.data();
            auto cellOf = [&](int32_t k) {
                return static_cast<int32_t>((static_cast<uint32_t>(static_cast<uint16_t>(s[k].row)) << 16) |
                                            static_cast<uint16_t>(s[k].column));
            };
            std::vector<float> path;
            // The tracer collects into the library's vertex buffer; empty it
            // into the path well before it fills.
            auto add = [&](int32_t k) {
                CTaddpoi(f, level, xs.data(), nx, ys.data(), ny, cellOf(k), s[k].kind);
                if (nVp >= 1000) {
                    for (int32_t q = 0; q < nVp; ++q) path.insert(path.end(), {Vfp[q][0], Vfp[q][1]});
                    nVp = 0;
                }
            };
            for (int32_t st = CTstapth(f, nx, ny, s, n, -1); st != -1; st = CTstapth(f, nx, ny, s, n, -1)) {
                nVp = 0;
                path.clear();
                add(st);
                const uint8_t startKind = s[st].kind;
                s[st].kind = 0;
                int32_t cur = st, cell = cellOf(st), kind = startKind;
                for (;;) {
                    const int32_t next = CTconpth(f, nx, ny, s, n, cell, kind, cur, -1);
                    if (next == -1) break;
                    add(next);
                    cur = next;
                    cell = cellOf(next);
                    kind = s[next].kind;
                    s[next].kind = 0;
                }
                s[st].kind = startKind;
                const int32_t ring = CTconpth(f, nx, ny, s, n, cell, kind, cur, -1);
                if (ring != -1) {
                    add(ring);
                    s[ring].kind = 0;
                }
                s[st].kind = 0;
                for (int32_t q = 0; q < nVp; ++q) path.insert(path.end(), {Vfp[q][0], Vfp[q][1]});
                nVp = 0;
                if (path.size() >= 4) paths.push_back(path);
                n = CTpackgs(s, n);
            }
            std::free(s);
        }
    }
    py::list out;
    for (auto &p : paths) {
        const py::ssize_t m = static_cast<py::ssize_t>(p.size() / 2);
        out.append(toArray(std::move(p), {m, 2}));
    }
    return out;
}

// Runs one of the command's subcommands with the words given, as the
// `kestrel` program would, and returns its exit status.
int runCommand(const std::string &command, const std::vector<std::string> &words, const std::string &preamble) {
    py::gil_scoped_release free;
    std::lock_guard<std::mutex> hold(libraryLock());
    std::vector<std::string> w = words;
    std::vector<char *> argv;
    for (auto &s : w) argv.push_back(&s[0]);
    argv.push_back(nullptr);
    const int argc = static_cast<int>(w.size());
    auto find = [&](const std::string &asked) { return asked.empty() ? preamble : asked; };
    if (command == "section") return sectionMain(argc, argv.data(), find);
    if (command == "map") return mapCommand(argc, argv.data());
    throw std::invalid_argument("unknown command " + command);
}

// Neutral density of bottles at positions: the reference data of a folder
// are loaded once and kept; runs of bottles at one position are one cast.
py::tuple gammaN(py::array_t<double, py::array::c_style | py::array::forcecast> s,
                 py::array_t<double, py::array::c_style | py::array::forcecast> t,
                 py::array_t<double, py::array::c_style | py::array::forcecast> p,
                 py::array_t<double, py::array::c_style | py::array::forcecast> lon,
                 py::array_t<double, py::array::c_style | py::array::forcecast> lat, std::string folder) {
    const py::ssize_t n = s.size();
    if (t.size() != n || p.size() != n || lon.size() != n || lat.size() != n)
        throw std::invalid_argument("s, t, p, lon and lat differ in size");
    if (!folder.empty() && folder.back() != '/' && folder.back() != '\\') folder += '/';
    static std::mutex cacheLock;
    static std::vector<std::pair<std::string, std::unique_ptr<NDData>>> cache;
    NDData *nd = nullptr;
    {
        std::lock_guard<std::mutex> hold(cacheLock);
        for (auto &[name, block] : cache)
            if (name == folder) nd = block.get();
        if (!nd) {
            auto block = std::make_unique<NDData>();
            NDinitialize(block.get());
            if (NDopen(block.get(), folder.c_str()) != 0)
                throw std::runtime_error("cannot read the neutral density reference data (llp.fdt, stga.fdt) in " +
                                         folder);
            nd = block.get();
            cache.emplace_back(folder, std::move(block));
        }
    }
    py::array_t<double> g(n), lo(n), hi(n);
    double *go = g.mutable_data(), *lw = lo.mutable_data(), *up = hi.mutable_data();
    {
        py::gil_scoped_release free;
        std::lock_guard<std::mutex> hold(cacheLock);  // a block holds one call's working set
        const double nan = std::nan("");
        py::ssize_t start = 0;
        while (start < n) {
            py::ssize_t end = start + 1;
            while (end < n && lon.data()[end] == lon.data()[start] && lat.data()[end] == lat.data()[start]) ++end;
            const int32_t m = static_cast<int32_t>(end - start);
            if (NDgamma_n(s.data() + start, t.data() + start, p.data() + start, m, lon.data()[start],
                          lat.data()[start], go + start, lw + start, up + start, nan, nd) != 0)
                for (py::ssize_t k = start; k < end; ++k) go[k] = lw[k] = up[k] = nan;
            start = end;
        }
    }
    return py::make_tuple(g, lo, hi);
}

}  // namespace

PYBIND11_MODULE(_kestrel, m) {
    m.doc() = "Compiled core of the kestrel package (use the functions of kestrel itself).";
    initKestrel();

    m.def("grid", &grid, py::arg("x"), py::arg("y"), py::arg("value"), py::arg("error"), py::arg("nx"),
          py::arg("ny"), py::arg("range"), py::arg("percent"), py::arg("factor"), py::arg("objective"));
    m.def("contour_lines", &contourLines, py::arg("x"), py::arg("y"), py::arg("z"), py::arg("level"));
    m.def("gamma_n", &gammaN, py::arg("s"), py::arg("t"), py::arg("p"), py::arg("lon"), py::arg("lat"),
          py::arg("folder"));
    m.def("run_command", &runCommand, py::arg("command"), py::arg("words"), py::arg("preamble"));
    m.attr("max_objective_points") = OA_MAX_OBJECTIVE_POINTS;

    // Seawater and gases: pure formulas, broadcast over arrays.
    m.def("specific_volume", py::vectorize([](float p, float t, float s) { return EOS80(p, t, s); }));
    m.def("sigma", py::vectorize([](float p, float t, float s) { return sigma(p, t, s); }));
    m.def("adiabatic_gradient", py::vectorize([](float p, float t, float s) { return adtg(p, t, s); }));
    m.def("theta", py::vectorize([](float p, float t, float s, float pr) { return theta(p, t, s, pr); }));
    m.def("sound_speed", py::vectorize([](float p, float t, float s) { return SoundVel(p, t, s); }));
    m.def("heat_capacity", py::vectorize([](float p, float t, float s) { return cpsw(p, t, s); }));
    m.def("freezing_point", py::vectorize([](float p, float s) { return tfreeze(p, s); }));
    m.def("depth", py::vectorize([](float p, float lat) { return calDepth(p, lat); }));
    m.def("pressure", py::vectorize([](float z, float lat) { return calPress(z, lat); }));
    m.def("gravity", py::vectorize([](float lat) { return gravity(lat); }));
    m.def("coriolis", py::vectorize([](float lat) { return coriolis(lat); }));
    m.def("distance", py::vectorize([](float lon1, float lat1, float lon2, float lat2) {
              return distance(lon1, lat1, lon2, lat2, nullptr);
          }));
    m.def("o2sat", py::vectorize([](float t, float s) { return o2sat(t, s); }));
    m.def("cfc_saturation",
          py::vectorize([](float t, float s, float level, int32_t gas) { return CFCSaturation(t, s, level, gas); }));
    m.def("co2_constants", [](int32_t set, const FloatArray &t, const FloatArray &s) {
        if (t.size() != s.size()) throw std::invalid_argument("temperature and salinity differ in size");
        const py::ssize_t n = t.size();
        py::array_t<double> out({py::ssize_t{8}, n});
        auto o = out.mutable_unchecked<2>();
        for (py::ssize_t k = 0; k < n; ++k)
            CO2EquConst(set, t.data()[k], s.data()[k], &o(0, k), &o(1, k), &o(2, k), &o(3, k), &o(4, k), &o(5, k),
                        &o(6, k), &o(7, k));
        return out;
    });
    m.def("carbonate", [](int32_t set, const FloatArray &t, const FloatArray &s, const FloatArray &tc,
                          const FloatArray &ta) {
        const py::ssize_t n = t.size();
        if (s.size() != n || tc.size() != n || ta.size() != n)
            throw std::invalid_argument("the carbonate inputs differ in size");
        py::array_t<float> out({py::ssize_t{5}, n});
        float *o = out.mutable_data();
        {
            py::gil_scoped_release free;
            std::lock_guard<std::mutex> hold(libraryLock());  // the root search is process-wide
            const float nan = std::nanf("");
            for (py::ssize_t k = 0; k < n; ++k)
                CComp1(set, t.data()[k], s.data()[k], tc.data()[k], ta.data()[k], nan, o + k, o + n + k,
                       o + 2 * n + k, o + 3 * n + k, o + 4 * n + k);
        }
        return out;
    });
}
