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
#include <cstring>
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

// ---- Three dimensions -----------------------------------------------------------

struct D3Guard {
    D3Set set;
    std::vector<float *> borrowed;  // axis arrays lent to the set, given back before it is freed
    D3Guard() { std::memset(&set, 0, sizeof set); }
    ~D3Guard() { D3FreeSet(&set); }
    D3Guard(const D3Guard &) = delete;
    D3Guard &operator=(const D3Guard &) = delete;
};

void fillPoints(D3Set &s, const FloatArray &x, const FloatArray &y, const FloatArray &z, const FloatArray &v) {
    const py::ssize_t n = x.size();
    for (py::ssize_t i = 0; i < n; ++i) {
        s.x[i] = x.data()[i], s.y[i] = y.data()[i], s.z[i] = z.data()[i], s.val[i] = v.data()[i];
        s.err[i] = s.errInv[i] = 1.0f;
        s.use[i] = 1;
    }
    s.nPoints = static_cast<int32_t>(n);
}

void setRanges(D3Set &s, const std::vector<float> &r) {
    if (r.size() != 6) throw std::invalid_argument("ranges needs six numbers");
    s.xmin = r[0], s.xmax = r[1], s.ymin = r[2], s.ymax = r[3], s.zmin = r[4], s.zmax = r[5];
}

py::array_t<float> copyOf(const float *p, py::ssize_t n) {
    py::array_t<float> a(n);
    std::memcpy(a.mutable_data(), p, static_cast<size_t>(n) * sizeof(float));
    return a;
}

py::dict grid3d(const FloatArray &x, const FloatArray &y, const FloatArray &z, const FloatArray &v, int32_t nx,
                int32_t ny, int32_t nz, std::vector<float> ranges, std::vector<float> percent) {
    const py::ssize_t n = x.size();
    if (y.size() != n || z.size() != n || v.size() != n) throw std::invalid_argument("x, y, z and value differ in length");
    if (percent.size() != 3) throw std::invalid_argument("percent needs three numbers");
    D3Guard g;
    {
        py::gil_scoped_release free;
        std::lock_guard<std::mutex> hold(libraryLock());
        if (!D3AllocSet(&g.set, nx, ny, nz, static_cast<int32_t>(n))) throw std::runtime_error("no memory for the grid");
        fillPoints(g.set, x, y, z, v);
        setRanges(g.set, ranges);
        D3GenerateGrid(&g.set, percent[0], percent[1], percent[2]);
        D3EstimateField(&g.set);
    }
    const D3Set &s = g.set;
    const std::vector<py::ssize_t> shape{s.nz, s.ny, s.nx};
    const py::ssize_t nodes = static_cast<py::ssize_t>(s.nx) * s.ny * s.nz;
    py::dict out;
    out["estimate"] = copyOf(s.gridEst, nodes).reshape(shape);
    out["spread"] = copyOf(s.gridSpread, nodes).reshape(shape);
    out["distance"] = copyOf(s.gridDist, nodes).reshape(shape);
    out["x"] = copyOf(s.xg, s.nx);
    out["y"] = copyOf(s.yg, s.ny);
    out["z"] = copyOf(s.zg, s.nz);
    return out;
}

// The grid lines, scale lengths, stretching and sort cells of a survey,
// from points with the survey's ten-bin histograms (they depend on nothing
// else), for tiles that must agree with the whole.
py::dict grid3dGeometry(const FloatArray &x, const FloatArray &y, const FloatArray &z, int32_t nx, int32_t ny,
                        int32_t nz, std::vector<float> ranges, std::vector<float> percent) {
    if (percent.size() != 3 || ranges.size() != 6) throw std::invalid_argument("bad geometry arguments");
    D3Guard g;
    {
        py::gil_scoped_release free;
        std::lock_guard<std::mutex> hold(libraryLock());
        // Axes only: no point arrays for a survey that may be far larger
        // than this process should hold.
        if (!D3AllocSet(&g.set, nx, ny, nz, 0)) throw std::runtime_error("no memory for the grid");
        D3Set &s = g.set;
        setRanges(s, ranges);
        // The same calls D3GenerateGrid makes, axis by axis.
        s.xlenLargest = static_cast<float>(OASetupAxisGrid(x.data(), static_cast<int32_t>(x.size()), s.xmin, s.xmax,
                                                           percent[0], s.xg, s.xlen, s.nx));
        s.ylenLargest = static_cast<float>(OASetupAxisGrid(y.data(), static_cast<int32_t>(y.size()), s.ymin, s.ymax,
                                                           percent[1], s.yg, s.ylen, s.ny));
        s.zlenLargest = static_cast<float>(OASetupAxisGrid(z.data(), static_cast<int32_t>(z.size()), s.zmin, s.zmax,
                                                           percent[2], s.zg, s.zlen, s.nz));
        s.nPoints = 0;
        D3ScaleTransformation(&s);
        // Cells as D3GenerateGrid sets them: twelve per axis from the
        // first transformed line.
        auto cells = [](int32_t m, const float *gt, float *t0, float *dt, float *inv) {
            *t0 = gt[0];
            *dt = static_cast<float>(gt[m - 1] - gt[0]) * 0.09090909f;
            *inv = 1.0f / *dt;
        };
        cells(s.nx, s.xgt, &s.cellX0, &s.cellDx, &s.cellDxInv);
        cells(s.ny, s.ygt, &s.cellY0, &s.cellDy, &s.cellDyInv);
        cells(s.nz, s.zgt, &s.cellZ0, &s.cellDz, &s.cellDzInv);
    }
    const D3Set &s = g.set;
    py::dict out;
    out["nx"] = s.nx, out["ny"] = s.ny, out["nz"] = s.nz;
    out["xg"] = copyOf(s.xg, s.nx), out["xgt"] = copyOf(s.xgt, s.nx), out["xlen"] = copyOf(s.xlen, s.nx);
    out["yg"] = copyOf(s.yg, s.ny), out["ygt"] = copyOf(s.ygt, s.ny), out["ylen"] = copyOf(s.ylen, s.ny);
    out["zg"] = copyOf(s.zg, s.nz), out["zgt"] = copyOf(s.zgt, s.nz), out["zlen"] = copyOf(s.zlen, s.nz);
    out["xlen_max"] = s.xlenMax, out["ylen_max"] = s.ylenMax, out["zlen_max"] = s.zlenMax;
    out["cells"] = std::vector<float>{s.cellX0, s.cellDx, s.cellDxInv, s.cellY0, s.cellDy, s.cellDyInv,
                                      s.cellZ0, s.cellDz, s.cellDzInv};
    return out;
}

std::vector<float> floats(const py::dict &g, const char *key) { return g[key].cast<std::vector<float>>(); }

py::array_t<float> grid3dTransform(const py::dict &geo, const FloatArray &x, const FloatArray &y, const FloatArray &z) {
    const auto xg = floats(geo, "xg"), xgt = floats(geo, "xgt"), xlen = floats(geo, "xlen");
    const auto yg = floats(geo, "yg"), ygt = floats(geo, "ygt"), ylen = floats(geo, "ylen");
    const auto zg = floats(geo, "zg"), zgt = floats(geo, "zgt"), zlen = floats(geo, "zlen");
    const float rx = geo["xlen_max"].cast<float>(), ry = geo["ylen_max"].cast<float>(), rz = geo["zlen_max"].cast<float>();
    const py::ssize_t n = x.size();
    py::array_t<float> out({py::ssize_t{3}, n});
    float *o = out.mutable_data();
    py::gil_scoped_release free;
    for (py::ssize_t i = 0; i < n; ++i) {
        o[i] = static_cast<float>(OATransformCoord(x.data()[i], static_cast<int32_t>(xg.size()), xg.data(), xgt.data(), xlen.data(), rx));
        o[n + i] = static_cast<float>(OATransformCoord(y.data()[i], static_cast<int32_t>(yg.size()), yg.data(), ygt.data(), ylen.data(), ry));
        o[2 * n + i] = static_cast<float>(OATransformCoord(z.data()[i], static_cast<int32_t>(zg.size()), zg.data(), zgt.data(), zlen.data(), rz));
    }
    return out;
}

// The estimate on nodes [ix0, ix1) x [iy0, iy1) x [iz0, iz1) of the survey's
// grid from the points given (those within reach of the tile, in the
// survey's order), exactly as the whole grid would give it.
py::dict grid3dTile(const py::dict &geo, const FloatArray &x, const FloatArray &y, const FloatArray &z,
                    const FloatArray &v, int32_t ix0, int32_t ix1, int32_t iy0, int32_t iy1, int32_t iz0, int32_t iz1) {
    auto xg = floats(geo, "xg"), xlen = floats(geo, "xlen"), yg = floats(geo, "yg"), ylen = floats(geo, "ylen"),
         zg = floats(geo, "zg"), zlen = floats(geo, "zlen");
    std::vector<float> xgt(xg.size()), ygt(yg.size()), zgt(zg.size());
    const auto cells = floats(geo, "cells");
    const py::ssize_t n = x.size();
    const int32_t tx = ix1 - ix0, ty = iy1 - iy0, tz = iz1 - iz0;
    if (tx < 0 || ty < 0 || tz < 0 || ix0 < 0 || iy0 < 0 || iz0 < 0 || ix1 > static_cast<int32_t>(xg.size()) ||
        iy1 > static_cast<int32_t>(yg.size()) || iz1 > static_cast<int32_t>(zg.size()) || cells.size() != 9)
        throw std::invalid_argument("the tile lies outside the grid");
    const size_t nodes = static_cast<size_t>(tx) * ty * tz;
    std::vector<float> est(nodes), spread(nodes), dist(nodes);
    {
        py::gil_scoped_release free;
        std::lock_guard<std::mutex> hold(libraryLock());
        D3Guard g;
        D3Set &s = g.set;
        if (!D3AllocSet(&s, 1, 1, 1, static_cast<int32_t>(n))) throw std::runtime_error("no memory for the tile");
        // The survey's axes instead of the set's own one-line ones.
        float *own[9] = {s.xg, s.xgt, s.xlen, s.yg, s.ygt, s.ylen, s.zg, s.zgt, s.zlen};
        s.nx = static_cast<int32_t>(xg.size()), s.ny = static_cast<int32_t>(yg.size()), s.nz = static_cast<int32_t>(zg.size());
        s.xg = xg.data(), s.xgt = xgt.data(), s.xlen = xlen.data();
        s.yg = yg.data(), s.ygt = ygt.data(), s.ylen = ylen.data();
        s.zg = zg.data(), s.zgt = zgt.data(), s.zlen = zlen.data();
        fillPoints(s, x, y, z, v);
        D3ScaleTransformation(&s);
        s.nCellX = s.nCellY = s.nCellZ = D3_NCELL;
        s.cellX0 = cells[0], s.cellDx = cells[1], s.cellDxInv = cells[2];
        s.cellY0 = cells[3], s.cellDy = cells[4], s.cellDyInv = cells[5];
        s.cellZ0 = cells[6], s.cellDz = cells[7], s.cellDzInv = cells[8];
        D3SortDataPoints(&s);
        size_t k = 0;
        for (int32_t iz = iz0; iz < iz1; ++iz)
            for (int32_t iy = iy0; iy < iy1; ++iy)
                for (int32_t ix = ix0; ix < ix1; ++ix, ++k) {
                    float sp, md;
                    int32_t used;
                    est[k] = static_cast<float>(D3EstimateValueT(s.xgt[ix], s.ygt[iy], s.zgt[iz], 1, 1, 1, &sp, &md, &used, &s));
                    spread[k] = sp;
                    dist[k] = md;
                }
        s.xg = own[0], s.xgt = own[1], s.xlen = own[2], s.yg = own[3], s.ygt = own[4], s.ylen = own[5];
        s.zg = own[6], s.zgt = own[7], s.zlen = own[8];
    }
    const std::vector<py::ssize_t> shape{tz, ty, tx};
    py::dict out;
    out["estimate"] = toArray(std::move(est), shape);
    out["spread"] = toArray(std::move(spread), shape);
    out["distance"] = toArray(std::move(dist), shape);
    return out;
}

// Heights of a topography grid at positions: the headered form when the
// file's header says so, else the headerless 5-minute grid.
py::array_t<int16_t> topographyAt(const FloatArray &lon, const FloatArray &lat, const std::string &path) {
    if (lon.size() != lat.size()) throw std::invalid_argument("lon and lat differ in size");
    EtopoHeader h;
    KFILE f = OpenEtopoFileEx(path.c_str(), &h);
    const bool headered = f != nullptr;
    if (!f) f = KFileOpenRead(path.c_str());
    if (!f) throw std::runtime_error("cannot open the topography grid " + path);
    py::array_t<int16_t> out(lon.size());
    int16_t *o = out.mutable_data();
    {
        py::gil_scoped_release free;
        for (py::ssize_t i = 0; i < lon.size(); ++i)
            o[i] = headered ? GetEtopoHeightEx(f, h, lon.data()[i], lat.data()[i])
                            : GetEtopoHeight(f, lon.data()[i], lat.data()[i]);
    }
    KFileClose(f);
    return out;
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
    m.def("grid3d", &grid3d);
    m.def("grid3d_geometry", &grid3dGeometry);
    m.def("grid3d_transform", &grid3dTransform);
    m.def("grid3d_tile", &grid3dTile);
    m.def("topography", &topographyAt);
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
