// Reproducible benchmark fields for contouring and shading: a sum of
// Gaussian bumps and dips and of plane waves (which make saddles), with
// parameters from a fixed-seed linear congruential generator. The peer script
// bench/contour_peer.py builds the same fields with the same formula.
#ifndef KESTREL_BENCH_CONTOUR_FIELDS_H
#define KESTREL_BENCH_CONTOUR_FIELDS_H

#include <cmath>
#include <cstdint>
#include <vector>

namespace kbench {

struct Field {
    int32_t nx, ny;
    std::vector<float> x, y, z;
    std::vector<float> levels;  // 20 levels spread over the value range
};

class Lcg {
public:
    explicit Lcg(uint32_t seed) : s_(seed) {}
    // Uniform in [0, 1).
    double next() {
        s_ = s_ * 1664525u + 1013904223u;
        return (s_ >> 8) * (1.0 / 16777216.0);
    }

private:
    uint32_t s_;
};

inline Field makeField(int32_t nx, int32_t ny) {
    Field f{nx, ny, {}, {}, {}, {}};
    Lcg r(20240601u);
    struct Bump { double cx, cy, w, a; };
    struct Wave { double kx, ky, ph, a; };
    std::vector<Bump> bumps;
    std::vector<Wave> waves;
    for (int k = 0; k < 16; ++k) {
        const double cx = r.next(), cy = r.next(), w = 0.03 + 0.12 * r.next(), a = 2.0 * r.next() - 1.0;
        bumps.push_back({cx, cy, w, a});
    }
    for (int k = 0; k < 6; ++k) {
        const double kx = 2.0 + 10.0 * r.next(), ky = 2.0 + 10.0 * r.next(), ph = 6.283185307179586 * r.next();
        waves.push_back({kx, ky, ph, 0.15 + 0.2 * r.next()});
    }
    f.x.resize(static_cast<size_t>(nx));
    f.y.resize(static_cast<size_t>(ny));
    for (int32_t i = 0; i < nx; ++i) f.x[static_cast<size_t>(i)] = static_cast<float>(i) / static_cast<float>(nx - 1);
    for (int32_t j = 0; j < ny; ++j) f.y[static_cast<size_t>(j)] = static_cast<float>(j) / static_cast<float>(ny - 1);
    f.z.resize(static_cast<size_t>(nx) * static_cast<size_t>(ny));
    float lo = 1e30f, hi = -1e30f;
    for (int32_t j = 0; j < ny; ++j) {
        const double y = f.y[static_cast<size_t>(j)];
        for (int32_t i = 0; i < nx; ++i) {
            const double x = f.x[static_cast<size_t>(i)];
            double v = 0;
            for (const Bump &b : bumps) {
                const double dx = x - b.cx, dy = y - b.cy;
                v += b.a * std::exp(-(dx * dx + dy * dy) / (2 * b.w * b.w));
            }
            for (const Wave &w : waves) v += w.a * std::sin(w.kx * x + w.ky * y + w.ph) * std::cos(w.ky * x - w.kx * y);
            const float fv = static_cast<float>(v);
            f.z[static_cast<size_t>(j) * static_cast<size_t>(nx) + static_cast<size_t>(i)] = fv;
            lo = fv < lo ? fv : lo;
            hi = fv > hi ? fv : hi;
        }
    }
    for (int k = 0; k < 20; ++k) f.levels.push_back(static_cast<float>(lo + (hi - lo) * (k + 0.5) / 20.0));
    return f;
}

}  // namespace kbench

#endif
