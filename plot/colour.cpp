// Colour selection, the colour scale and the library palette.
//
// Every colour of the library is an index into Vcolor. The colour scale maps
// a data value a in a0..a1 onto the stretch interval s0..s1 and through tanh:
//   g = (tanh(s0 + (a - a0) / (a1 - a0) * (s1 - s0)) - tanh(s0)) / (tanh(s1) - tanh(s0)),
// so that a short stretch interval around 0 is nearly linear and a long one
// concentrates the contrast where tanh is steep. g in 0..1 becomes one of the
// 111 scale indices 33..143; 32 and 144 mark values below and above.
#include <cmath>
#include <cstdio>
#include <cstring>

#include "base/guard.h"
#include "kestrel/colour.h"
#include "kestrel/frame.h"
#include "platform/platform.h"

using namespace kestrel;

namespace {

// Kestrel's own palette, used when no palette file can be opened (see
// scripts/make_palettes.py, which also writes data/palettes/kestrel.pal).
const uint8_t kBuiltinPalette[177][3] = {
#include "plot/palette_builtin.inc"
};

void logf(const char *format, const char *caller) {
    char text[300];
    std::snprintf(text, sizeof text, format, caller ? caller : "");
    LogLastError(text, 0);
}

}  // namespace

extern "C" {

KESTREL_API void KESTREL_CALL CMapInitialize(float a0, float a1, float z0, float z1) {
    return kestrel::guarded<void>("CMapInitialize", [&]() -> void {
        const float s0 = z0 < z1 ? z0 : z1;
        const float s1 = z0 < z1 ? z1 : z0;
        Vcmap.s0 = s0;
        Vcmap.s1 = s1;
        Vcmap.span = s1 - s0;
        Vcmap.tanhS0 = std::tanh(s0);
        Vcmap.tanhS1 = std::tanh(s1);
        Vcmap.invTanhSpan = 1.0f / (Vcmap.tanhS1 - Vcmap.tanhS0);
        Vcmap.a0 = a0;
        Vcmap.a1 = a1;
        Vcmap.invDataSpan = 1.0f / (a1 - a0);
    });
}

KESTREL_API float KESTREL_CALL CMapCalGray(float value) {
    return kestrel::guarded<float>("CMapCalGray", [&]() -> float {
        // Worked in double from the four defining values (not the stored float
        // reciprocals), so that a0 and a1 land exactly on 0 and 1.
        const double s0 = Vcmap.s0, s1 = Vcmap.s1;
        const double u = s0 + (static_cast<double>(value) - Vcmap.a0) / (static_cast<double>(Vcmap.a1) - Vcmap.a0) * (s1 - s0);
        double g = (std::tanh(u) - std::tanh(s0)) / (std::tanh(s1) - std::tanh(s0));
        // Rounding noise at the ends of the range still belongs to the range.
        if (g > -0.001 && g < 0.0) g = 0.0;
        if (g > 1.0 && g < 1.001) g = 1.0;
        return static_cast<float>(g);
    });
}

KESTREL_API int32_t KESTREL_CALL CMapCalColor(float value) {
    return kestrel::guarded<int32_t>("CMapCalColor", [&]() -> int32_t {
        const float g = CMapCalGray(value);
        if (g < 0.0f) return 32;
        if (g > 1.0f) return 144;
        if (!(g == g)) return 32;  // an empty range gives no fraction at all
        return 33 + static_cast<int32_t>(110.0f * g);
    });
}

KESTREL_API float KESTREL_CALL CMapCalZval(float fraction) {
    return kestrel::guarded<float>("CMapCalZval", [&]() -> float {
        const double t0 = std::tanh(static_cast<double>(Vcmap.s0)), t1 = std::tanh(static_cast<double>(Vcmap.s1));
        double v = t0 + static_cast<double>(fraction) * (t1 - t0);
        const double lim = 0.99999999999999;
        if (v > lim) v = lim;
        if (v < -lim) v = -lim;
        const double u = 0.5 * std::log((1.0 + v) / (1.0 - v));
        return static_cast<float>((u - Vcmap.s0) / (static_cast<double>(Vcmap.s1) - Vcmap.s0) *
                                      (static_cast<double>(Vcmap.a1) - Vcmap.a0) +
                                  Vcmap.a0);
    });
}

KESTREL_API void KESTREL_CALL SetColor(int32_t index) {
    return kestrel::guarded<void>("SetColor", [&]() -> void {
        for (int32_t &w : mCGS.colorState) w = index;
        const uint32_t i = static_cast<uint32_t>(index) & 0xFFu;  // never index outside the tables
        if (mCGS.colorMode == 0)
            mCGS.color = VCR[i];
        else if (mCGS.colorMode == 1)
            mCGS.color = plat::rgb(Vcolor[i][0], Vcolor[i][1], Vcolor[i][2]);
    });
}

KESTREL_API void KESTREL_CALL SetZColor(float value) {
    return kestrel::guarded<void>("SetZColor", [&]() -> void { SetColor(CMapCalColor(value)); });
}

KESTREL_API void KESTREL_CALL SetColorMode(int32_t mode) {
    return kestrel::guarded<void>("SetColorMode", [&]() -> void { mCGS.colorMode = mode; });
}

KESTREL_API int32_t KESTREL_CALL FindClosestColor(float r, float g, float b) {
    return kestrel::guarded<int32_t>("FindClosestColor", [&]() -> int32_t {
        const float rr = r * 255.0f, gg = g * 255.0f, bb = b * 255.0f;
        const int32_t n = mCGS.paletteSize > 256 ? 256 : mCGS.paletteSize;
        float best = 100000.0f;
        int32_t found = 0;
        for (int32_t i = 0; i < n; ++i) {
            const float dr = Vcolor[i][0] - rr, dg = Vcolor[i][1] - gg, db = Vcolor[i][2] - bb;
            const float d = dr * dr + dg * dg + db * db;
            if (d < best) {  // strictly nearer: the first of equally near entries wins
                best = d;
                found = i;
            }
        }
        return found;
    });
}

KESTREL_API int32_t KESTREL_CALL FindClosestColorCR(KCOLORREF colour) {
    return kestrel::guarded<int32_t>("FindClosestColorCR", [&]() -> int32_t {
        // The reference components are reduced by every visited entry and never
        // reset: entry i is compared against the colour minus the sum of entries
        // 0..i. Hosts depend on the indices this gives, so it stays as it is.
        double r = colour & 0xFF, g = (colour >> 8) & 0xFF, b = (colour >> 16) & 0xFF;
        const int32_t n = mCGS.paletteSize > 256 ? 256 : mCGS.paletteSize;
        double best = 100000.0;
        int32_t found = 0;
        for (int32_t i = 0; i < n; ++i) {
            r -= Vcolor[i][0];
            g -= Vcolor[i][1];
            b -= Vcolor[i][2];
            const double d = r * r + g * g + b * b;
            if (d < best) {
                best = d;
                found = i;
            }
        }
        return found;
    });
}

KESTREL_API void KESTREL_CALL DeleteMYPalette(void) {
    return kestrel::guarded<void>("DeleteMYPalette", [&]() -> void {
        if (!hMYpal) return;
        if (!plat::deleteObject(hMYpal)) LogLastError("ERROR:  Palette deletion in DeleteMYPalette failed!", 0);
        hMYpal = nullptr;
    });
}

KESTREL_API int32_t KESTREL_CALL CreateMYPalette(KDC dc) {
    return kestrel::guarded<int32_t>("CreateMYPalette", [&]() -> int32_t {
        DeleteMYPalette();
        int32_t n = mCGS.paletteSize;
        if (n < 1 || n > 256) return 0;
        plat::PaletteEntry entries[256];
        for (int32_t i = 0; i < n; ++i) entries[i] = plat::PaletteEntry{Vcolor[i][0], Vcolor[i][1], Vcolor[i][2], 0};
        hMYpal = plat::createPalette(entries, n);
        if (!hMYpal) return 0;
        KPALETTE previous = dc ? plat::selectPalette(dc, hMYpal, false) : nullptr;
        if (dc) plat::realizePalette(dc);
        for (int32_t i = 0; i < n; ++i) VCR[i] = plat::paletteIndex(i);
        if (dc && previous) plat::selectPalette(dc, previous, false);
        return 1;
    });
}

KESTREL_API int32_t KESTREL_CALL LoadPaletteFile(KDC dc, const char *fileName) {
    return kestrel::guarded<int32_t>("LoadPaletteFile", [&]() -> int32_t {
        if (fileName && std::strcmp(fileName, mCGS.paletteFile) == 0) return 0;  // already loaded
        std::FILE *f = fileName ? std::fopen(fileName, "r") : nullptr;
        bool loaded = false;
        if (f) {
            int32_t n = 0;
            int index = 0;
            float rgb[3];
            while (n < 256 && std::fscanf(f, "%d%f%f%f", &index, &rgb[0], &rgb[1], &rgb[2]) == 4) {
                for (int k = 0; k < 3; ++k) {
                    const float v = rgb[k] * 255.0f;  // truncated, then limited to 0..255
                    Vcolor[n][k] = static_cast<uint8_t>(v >= 255.0f ? 255 : v > 0.0f ? static_cast<int>(v) : 0);
                }
                ++n;
            }
            std::fclose(f);
            if (n > 0) {
                mCGS.paletteSize = n;
                std::snprintf(mCGS.paletteFile, sizeof mCGS.paletteFile, "%s", fileName);
            }
            loaded = n > 0;
        }
        if (!loaded) {  // missing, unreadable or empty: Kestrel's own palette
            std::memcpy(Vcolor, kBuiltinPalette, sizeof kBuiltinPalette);
            mCGS.paletteSize = 177;
            std::strcpy(mCGS.paletteFile, "DUMMY");
        }
        if (!CreateMYPalette(dc)) LogLastError("ERROR: CreateMYPalette failed!", 0);
        return 1;
    });
}

KESTREL_API KPALETTE KESTREL_CALL ActivateMyPalette(KDC dc) {
    return kestrel::guarded<KPALETTE>("ActivateMyPalette", [&]() -> KPALETTE {
        if (!hMYpal || !dc) return nullptr;
        KPALETTE previous = plat::selectPalette(dc, hMYpal, false);
        plat::realizePalette(dc);
        if (!previous) LogLastError("ERROR:  No previous palette in ActivateMyPalette!", 0);
        return previous;
    });
}

KESTREL_API void KESTREL_CALL RestorePalette(KDC dc, KPALETTE previous, const char *caller) {
    return kestrel::guarded<void>("RestorePalette", [&]() -> void {
        if (!previous || !dc) return;
        if (!plat::selectPalette(dc, previous, false)) logf("ERROR:  Restoring palette in %s failed!", caller);
    });
}

}  // extern "C"
