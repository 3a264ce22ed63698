// Test pictures for the GIF tests, as palette indices.
#ifndef KESTREL_TESTS_GIF_IMAGES_H
#define KESTREL_TESTS_GIF_IMAGES_H

#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

#include "kestrel/globals.h"

namespace gt {

// Fills the first n entries of Vcolor with distinct colours (and the rest
// with a colour that none of them has) and sets mCGS.paletteSize to n.
inline void setPalette(int n) {
    for (int i = 0; i < 256; ++i) {
        Vcolor[i][0] = static_cast<uint8_t>((i * 37 + 11) & 0xFF);
        Vcolor[i][1] = static_cast<uint8_t>((i * 101 + 7) & 0xFF);
        Vcolor[i][2] = static_cast<uint8_t>(i);
        if (i >= n) Vcolor[i][0] = Vcolor[i][1] = Vcolor[i][2] = 0x55;
    }
    mCGS.paletteSize = n;
}

inline std::vector<uint8_t> randomImage(int w, int h, int colours, unsigned seed) {
    std::mt19937 rng(seed);
    std::uniform_int_distribution<int> d(0, colours - 1);
    std::vector<uint8_t> px(static_cast<size_t>(w) * h);
    for (auto &p : px) p = static_cast<uint8_t>(d(rng));
    return px;
}

// A shaded field in colour bands 33..143 with black band edges, a white
// margin with a frame, and blocks of random "glyphs" in the margin; the lower
// right quarter is noise, so that long images fill the string table.
inline std::vector<uint8_t> variedImage(int w, int h, unsigned seed) {
    std::mt19937 rng(seed);
    std::vector<uint8_t> px(static_cast<size_t>(w) * h, 0);
    const int m = 40;
    auto band = [&](int x, int y) {
        const double f = 0.5 + 0.5 * std::sin(x / 97.0) * std::cos(y / 131.0 + x / 400.0);
        return static_cast<int>(f * 20);
    };
    for (int y = m; y < h - m; ++y)
        for (int x = m; x < w - m; ++x) {
            const int b = band(x, y);
            const bool edge = b != band(x + 1, y) || b != band(x, y + 1);
            px[static_cast<size_t>(y) * w + x] = static_cast<uint8_t>(edge ? 1 : 33 + b * 110 / 19);
        }
    for (int x = m - 1; x < w - m + 1; ++x) px[static_cast<size_t>(m - 1) * w + x] = px[static_cast<size_t>(h - m) * w + x] = 1;
    for (int y = m - 1; y < h - m + 1; ++y) px[static_cast<size_t>(y) * w + m - 1] = px[static_cast<size_t>(y) * w + w - m] = 1;
    std::bernoulli_distribution ink(0.4);
    for (int x0 = m; x0 + 6 < w - m; x0 += 8)
        for (int y = h - m + 10; y < h - m + 17 && y < h; ++y)
            for (int x = x0; x < x0 + 5; ++x) px[static_cast<size_t>(y) * w + x] = ink(rng) ? 1 : 0;
    std::uniform_int_distribution<int> any(0, 255);
    for (int y = h / 2; y < h - m; ++y)
        for (int x = w / 2; x < w - m; ++x) px[static_cast<size_t>(y) * w + x] = static_cast<uint8_t>(any(rng));
    return px;
}

}  // namespace gt

#endif
