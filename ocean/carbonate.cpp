// The carbonate system: equilibrium constants, and the speciation of total
// inorganic carbon from total alkalinity.
//
// Notation: T temperature in kelvin, S salinity, [H] hydrogen-ion
// concentration, constants K in mol/kg-seawater. ST and FT are the total
// sulfate and fluoride (mol/kg) from their ratios to chlorinity
// (S = 1.80655 Cl): sulfate 0.14/96.062 (Morris and Riley 1966), fluoride
// 0.000067/18.998 (Riley 1965). Scale conversions use
// [H]total = [H]free (1 + ST/KS) and [H]seawater = [H]free (1 + ST/KS + FT/KF).
#include <algorithm>
#include <cmath>

#include "base/guard.h"
#include "kestrel/gas.h"
#include "kestrel/rootsearch.h"
#include "ocean/carbonate.h"

namespace kestrel {

CarbonateConstants carbonateConstants(int32_t set, double t, double s) {
    CarbonateConstants c{};
    const double tk = t + 273.15;
    const double lnT = std::log(tk);
    const double sr = std::sqrt(std::fabs(s));
    const double ionic = 19.924 * s / (1000.0 - 1.005 * s);  // ionic strength (DOE handbook)
    const double ir = std::sqrt(std::fabs(ionic));
    const double st = (0.14 / 96.062) * (s / 1.80655);
    const double ft = (0.000067 / 18.998) * (s / 1.80655);
    const double salt = std::log(1.0 - 0.001005 * s);  // mol/kg-H2O to mol/kg-seawater

    // Bisulfate, Dickson (1990), J. Chem. Thermodyn. 22, 113-127; free scale.
    const double lnKS = -4276.1 / tk + 141.328 - 23.093 * lnT +
                        (-13856.0 / tk + 324.57 - 47.986 * lnT) * ir +
                        (35474.0 / tk - 771.54 + 114.723 * lnT) * ionic - 2698.0 / tk * ionic * ir +
                        1776.0 / tk * ionic * ionic + salt;
    c.ks = std::exp(lnKS);
    // Hydrogen fluoride, Dickson and Riley (1979), Mar. Chem. 7, 89-99; free scale.
    const double lnKFfree = 1590.2 / tk - 12.641 + 1.525 * ir + salt;
    // Boric acid, Dickson (1990), Deep-Sea Res. 37, 755-766; total scale.
    const double lnKB = (-8966.90 - 2890.53 * sr - 77.942 * s + 1.728 * s * sr - 0.0996 * s * s) / tk + 148.0248 +
                        137.1942 * sr + 1.62142 * s + (-24.4344 - 25.085 * sr - 0.2474 * s) * lnT +
                        0.053105 * sr * tk;
    // Water, Millero (1995), Geochim. Cosmochim. Acta 59, 661-677; the salinity
    // terms are common to both scales.
    const double lnKWsalt = (118.67 / tk - 5.977 + 1.0495 * lnT) * sr - 0.01615 * s;

    if (set == 1) {
        // Mehrbach et al. (1973) refitted by Dickson and Millero (1987),
        // Deep-Sea Res. 34, 1733-1743; seawater scale.
        const double pK1 = 3670.7 / tk - 62.008 + 9.7944 * lnT - 0.0118 * s + 0.000116 * s * s;
        const double pK2 = 1394.7 / tk + 4.777 - 0.0184 * s + 0.000118 * s * s;
        c.k1 = std::pow(10.0, -pK1);
        c.k2 = std::pow(10.0, -pK2);
        // Total-scale form of the DOE handbook (Dickson, Sabine and Christian 2007).
        c.kw = std::exp(148.9652 - 13847.26 / tk - 23.6521 * lnT + lnKWsalt);
        c.kf = std::exp(lnKFfree + std::log(1.0 + st / c.ks));  // total scale
        c.kb = std::exp(lnKB);
    } else {
        // Millero (1995): the pure-water fits of Millero (1979) to Harned and
        // Davis (1943) and Harned and Scholes (1941) with salinity terms
        // fitted to seawater measurements; seawater scale.
        const double pK1 = 6320.18 / tk - 126.3405 + 19.568 * lnT +
                           (19.894 - 840.39 / tk - 3.0189 * lnT) * sr + 0.00679 * s;
        const double pK2 = 5143.69 / tk - 90.1833 + 14.613 * lnT +
                           (17.176 - 690.59 / tk - 2.6719 * lnT) * sr + 0.02169 * s;
        c.k1 = std::pow(10.0, -pK1);
        c.k2 = std::pow(10.0, -pK2);
        c.kw = std::exp(148.9802 - 13847.26 / tk - 23.6521 * lnT + lnKWsalt);  // seawater scale
        c.kf = std::exp(lnKFfree);                                            // free scale
        // Total to seawater scale: K_sws = K_total (1 + ST/KS + FT/KF) / (1 + ST/KS).
        c.kb = std::exp(lnKB) * (1.0 + st / c.ks + ft / c.kf) / (1.0 + st / c.ks);
    }
    // CO2 solubility, Weiss (1974), Mar. Chem. 2, 203-215; mol kg-1 atm-1.
    c.k0 = std::exp(9345.17 / tk - 60.2409 + 23.3585 * std::log(tk / 100.0) +
                    s * (0.023517 + (-0.00023656 + 4.7036e-7 * tk) * tk));
    c.tk = tk * 5.457956677468874e-12;
    return c;
}

}  // namespace kestrel

namespace {

// Alkalinity balance at pH x: carbonate + borate + water alkalinity minus the
// given total alkalinity (mol/kg).
struct Balance {
    double tc, ta, tb, k1, k2, kw, kb;
    double operator()(double pH) const {
        const double h = std::pow(10.0, -pH);
        const double carbonate = tc * k1 * (h + 2.0 * k2) / ((h + k1) * h + k1 * k2);
        return carbonate + tb * kb / (kb + h) + kw / h - h - ta;
    }
};

}  // namespace

extern "C" {

KESTREL_API void KESTREL_CALL CO2EquConst(int32_t constantSet, float temperature, float salinity, double *k1,
                                          double *k2, double *kw, double *ks, double *kf, double *kb, double *k0,
                                          double *tk) {
    return kestrel::guarded<void>("CO2EquConst", [&]() -> void {
        const kestrel::CarbonateConstants c = kestrel::carbonateConstants(constantSet, temperature, salinity);
        if (k1) *k1 = c.k1;
        if (k2) *k2 = c.k2;
        if (kw) *kw = c.kw;
        if (ks) *ks = c.ks;
        if (kf) *kf = c.kf;
        if (kb) *kb = c.kb;
        if (k0) *k0 = c.k0;
        if (tk) *tk = c.tk;
    });
}

KESTREL_API int32_t KESTREL_CALL CComp1(int32_t constantSet, float temperature, float salinity, float totalCarbon,
                                        float alkalinity, float missingValue, float *pH, float *pCO2, float *co2,
                                        float *hco3, float *co3) {
    return kestrel::guarded<int32_t>("CComp1", [&]() -> int32_t {
        float *outputs[] = {pH, pCO2, co2, hco3, co3};
        for (float *o : outputs)
            if (o) *o = missingValue;
        // The negated ranges also reject NaN.
        if (!(temperature >= -2.5f && temperature <= 45.0f) || !(salinity >= 0.0f && salinity <= 42.0f) ||
            !(totalCarbon >= 0.0f && totalCarbon <= 4000.0f) || !(alkalinity >= 0.0f && alkalinity <= 4000.0f))
            return 0;

        const double s = salinity;
        const kestrel::CarbonateConstants c = kestrel::carbonateConstants(constantSet, temperature, s);
        // Total borate: 0.0004106 S/35 mol/kg (Uppström 1974).
        const Balance balance{totalCarbon * 1e-6, alkalinity * 1e-6, s * 1.1731428571428571e-5, c.k1, c.k2, c.kw,
                              c.kb};

        int32_t status = 0;
        double x = 0.0, f = 0.0;
        IterateTowardsZero(&status, 6.0, 10.0, 1e-16, &x, &f, 100);
        while (status == 1) {
            f = balance(x);
            IterateTowardsZero(&status, 6.0, 10.0, 1e-16, &x, &f, 100);
        }
        // 2: a zero; 4: bracketed but not within 1e-16 after the iteration limit,
        // x is then the best iterate (within a few ulp of the root in practice).
        // 3: no sign change between pH 6 and 10.
        if (status != 2 && status != 4) return 0;

        const double h = std::pow(10.0, -x);
        const double d = (h + c.k1) * h + c.k1 * c.k2;
        const double tc = totalCarbon;  // umol/kg
        const double co2Star = tc * h * h / d;
        // Fugacity coefficient of CO2 in air at 1 atm, Weiss (1974): exp((B + 2 delta) P / (R T)),
        // B and delta in cm3/mol, R = 82.05746 cm3 atm/(mol K).
        const double tk = temperature + 273.15;
        const double virial = -1636.75 + (12.0408 + (-3.27957e-2 + 3.16528e-5 * tk) * tk) * tk;
        const double delta = 57.7 - 0.118 * tk;
        const double fugacityCoefficient = std::exp((virial + 2.0 * delta) / (82.05746 * tk));
        const double fco2 = co2Star / c.k0;  // umol/kg over mol/(kg atm): uatm

        const double values[] = {x, fco2 / fugacityCoefficient, co2Star, tc * c.k1 * h / d, tc * c.k1 * c.k2 / d};
        for (int i = 0; i < 5; ++i)
            if (outputs[i]) *outputs[i] = static_cast<float>(values[i]);
        return 1;
    });
}

}  // extern "C"
