// Double-precision cores of the seawater formulas (exported in
// include/kestrel/seawater.h with float arguments). Units as there: pressure
// in dbar, temperature in deg C (IPTS-68), practical salinity.
#ifndef KESTREL_OCEAN_SEAWATER_IMPL_H
#define KESTREL_OCEAN_SEAWATER_IMPL_H

#include <cmath>

namespace kestrel {

// International equation of state of seawater 1980 (UNESCO 1981, Millero and
// Poisson 1981; UNESCO 1983 p.15-19). Specific volume in cm3/g, i.e.
// (1 - p/K(S,t,p)) / rho(S,t,0) * 1000 with p in bars.
// Check value: V = 0.9435561 cm3/g, sigma = 59.82037 kg/m3.
inline double specificVolume(double P, double t, double s) {
    const double p = P * 0.1;
    const double sr = std::sqrt(std::fabs(s));
    // Density of the standard mean ocean water (Bigg 1967), then of seawater
    // at one standard atmosphere.
    const double rw =
        ((((6.536332e-9 * t - 1.120083e-6) * t + 1.001685e-4) * t - 9.095290e-3) * t + 6.793952e-2) * t +
        999.842594;
    const double r0 = rw + s * ((((5.3875e-9 * t - 8.2467e-7) * t + 7.6438e-5) * t - 4.0899e-3) * t + 0.824493 +
                                sr * ((-1.6546e-6 * t + 1.0227e-4) * t - 5.72466e-3) + 4.8314e-4 * s);
    if (std::fabs(p) < 1e-5) return 1000.0 / r0;
    // Secant bulk modulus K(S,t,p) = K(S,t,0) + A p + B p^2.
    const double kw = (((-5.155288e-5 * t + 1.360477e-2) * t - 2.327105) * t + 148.4206) * t + 19652.21;
    const double k0 = kw + s * (((-6.1670e-5 * t + 1.09987e-2) * t - 0.603459) * t + 54.6746 +
                                sr * ((-5.3009e-4 * t + 1.6483e-2) * t + 7.944e-2));
    const double aw = ((-5.77905e-7 * t + 1.16092e-4) * t + 1.43713e-3) * t + 3.239908;
    const double a = aw + s * ((-1.6078e-6 * t - 1.0981e-5) * t + 2.2838e-3 + 1.91075e-4 * sr);
    const double bw = (5.2787e-8 * t - 6.12293e-6) * t + 8.50935e-5;
    const double b = bw + s * ((9.1697e-10 * t + 2.0816e-8) * t - 9.9348e-7);
    const double k = (b * p + a) * p + k0;
    // (1 - p/K) / r0 * 1000 with a single division: this function is the hot
    // path of every density section.
    return 1000.0 * (k - p) / (k * r0);
}

double lapseRate(double p, double t, double s);            // adtg, deg C per 1000 dbar
double potentialTemperature(double p, double t, double s, double pr);
double soundSpeed(double p, double t, double s);
double heatCapacity(double p, double t, double s);

}  // namespace kestrel

#endif
