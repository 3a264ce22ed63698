// Seawater properties: the UNESCO 1983 algorithms.
//
// Source: N.P. Fofonoff and R.C. Millard (1983), Algorithms for computation of
// fundamental properties of seawater, UNESCO Technical Papers in Marine
// Science 44. Each formula is written in the nested (Horner) form of that
// paper, with its coefficients; where the paper works in bars the pressure in
// dbar is divided by 10 first. The paper's check values (S = 40, t = 40 deg C,
// p = 10000 dbar unless noted) are in the comments; the tests reproduce them.
//
// sqrt(S) is taken of |S|, so a negative salinity gives a number, not a NaN.
#include <cmath>

#include "base/guard.h"
#include "kestrel/seawater.h"
#include "ocean/seawater_impl.h"

namespace kestrel {

// Adiabatic lapse rate (Bryden 1973; UNESCO 1983 p.38), in deg C per dbar
// there; here per 1000 dbar. Check value: 3.255976e-4 deg C/dbar.
double lapseRate(double p, double t, double s) {
    const double ds = s - 35.0;
    const double atg =
        (((-2.1687e-16 * t + 1.8676e-14) * t - 4.6206e-13) * p +
         ((2.7759e-12 * t - 1.1351e-10) * ds + ((-5.4481e-14 * t + 8.733e-12) * t - 6.7795e-10) * t + 1.8741e-8)) *
            p +
        (-4.2393e-8 * t + 1.8932e-6) * ds + ((6.6228e-10 * t - 6.836e-8) * t + 8.5258e-6) * t + 3.5803e-5;
    return atg * 1000.0;
}

// Potential temperature by the fourth-order Runge-Kutta integration of
// Fofonoff (1977), with the step constants of UNESCO 1983 p.42-44 (Gill's
// variant, 1 - 1/sqrt 2 and 1 + 1/sqrt 2). Check value: 36.89073 deg C at
// reference pressure 0.
double potentialTemperature(double p, double t, double s, double pr) {
    const double h = pr - p;
    double xk = h * lapseRate(p, t, s) * 0.001;
    t += 0.5 * xk;
    double q = xk;
    p += 0.5 * h;
    xk = h * lapseRate(p, t, s) * 0.001;
    t += 0.29289322 * (xk - q);
    q = 0.58578644 * xk + 0.121320344 * q;
    xk = h * lapseRate(p, t, s) * 0.001;
    t += 1.707106781 * (xk - q);
    q = 3.414213562 * xk - 4.121320344 * q;
    p += 0.5 * h;
    xk = h * lapseRate(p, t, s) * 0.001;
    return t + (xk - 2.0 * q) / 6.0;
}

// Speed of sound (Chen and Millero 1977; UNESCO 1983 p.46-47), p in bars.
// Check value: 1731.995 m/s.
double soundSpeed(double P, double t, double s) {
    const double p = P * 0.1;
    const double sr = std::sqrt(std::fabs(s));
    const double d = 1.727e-3 - 7.9836e-6 * p;
    const double b1 = 7.3637e-5 + 1.7945e-7 * t;
    const double b0 = -1.922e-2 - 4.42e-5 * t;
    const double b = b0 + b1 * p;
    const double a3 = (-3.389e-13 * t + 6.649e-12) * t + 1.100e-10;
    const double a2 = ((7.988e-12 * t - 1.6002e-10) * t + 9.1041e-9) * t - 3.9064e-7;
    const double a1 = (((-2.0122e-10 * t + 1.0507e-8) * t - 6.4885e-8) * t - 1.2580e-5) * t + 9.4742e-5;
    const double a0 = (((-3.21e-8 * t + 2.006e-6) * t + 7.164e-5) * t - 1.262e-2) * t + 1.389;
    const double a = ((a3 * p + a2) * p + a1) * p + a0;
    const double c3 = (-2.3643e-12 * t + 3.8504e-10) * t - 9.7729e-9;
    const double c2 = (((1.0405e-12 * t - 2.5335e-10) * t + 2.5974e-8) * t - 1.7107e-6) * t + 3.1260e-5;
    const double c1 = (((-6.1185e-10 * t + 1.3621e-7) * t - 8.1788e-6) * t + 6.8982e-4) * t + 0.153563;
    const double c0 = ((((3.1464e-9 * t - 1.47800e-6) * t + 3.3420e-4) * t - 5.80852e-2) * t + 5.03711) * t + 1402.388;
    const double cw = ((c3 * p + c2) * p + c1) * p + c0;
    return cw + (a + b * sr + d * s) * s;
}

// Specific heat (Millero et al. 1973; UNESCO 1983 p.31-34), p in bars:
// cp(S,t,0) plus the pressure terms of pure water and of the salt.
// Check values: 3849.500 J/(kg deg C); cp(40, 40, 0) = 3980.051.
double heatCapacity(double P, double t, double s) {
    const double p = P * 0.1;
    const double sr = std::sqrt(std::fabs(s));
    double a = (-1.38385e-3 * t + 0.1072763) * t - 7.643575;
    double b = (5.148e-5 * t - 4.07718e-3) * t + 0.1770383;
    double c = (((2.093236e-5 * t - 2.654387e-3) * t + 0.1412855) * t - 3.720283) * t + 4217.4;
    const double cp0 = (b * sr + a) * s + c;
    a = (((1.7168e-8 * t + 2.0357e-6) * t - 3.13885e-4) * t + 1.45747e-2) * t - 0.49592;
    b = (((2.2956e-11 * t - 4.0027e-9) * t + 2.87533e-7) * t - 1.08645e-5) * t + 2.4931e-4;
    c = ((6.136e-13 * t - 6.5637e-11) * t + 2.6380e-9) * t - 5.422e-8;
    const double cp1 = ((c * p + b) * p + a) * p;
    a = (((-2.9179e-10 * t + 2.5941e-8) * t + 9.802e-7) * t - 1.28315e-4) * t + 4.9247e-3;
    b = (3.122e-8 * t - 1.517e-6) * t - 1.2331e-4;
    a = (a + b * sr) * s;
    b = ((1.8448e-11 * t - 2.3905e-9) * t + 1.17054e-7) * t - 2.9558e-6;
    b = (b + 9.971e-8 * sr) * s;
    c = (3.513e-13 * t - 1.7682e-11) * t + 5.540e-10;
    c = (c - 1.4300e-12 * t * sr) * s;
    const double cp2 = ((c * p + b) * p + a) * p;
    return cp0 + cp1 + cp2;
}

}  // namespace kestrel

using namespace kestrel;

extern "C" {

KESTREL_API double KESTREL_CALL EOS80(float pressure, float temperature, float salinity) {
    return kestrel::guarded<double>("EOS80", [&]() -> double {
        return specificVolume(pressure, temperature, salinity);
    });
}

KESTREL_API double KESTREL_CALL sigma(float pressure, float temperature, float salinity) {
    return kestrel::guarded<double>("sigma", [&]() -> double {
        return 1000.0 / specificVolume(pressure, temperature, salinity) - 1000.0;
    });
}

// Specific volume of the standard ocean from its secant bulk modulus
// (UNESCO 1983 p.17): V(35, 0, p) = (1 - p/K(35,0,p)) V(35,0,0), p in bars.
KESTREL_API double KESTREL_CALL v350p(float pressure) {
    return kestrel::guarded<double>("v350p", [&]() -> double {
        const double p = pressure * 0.1;
        return (1.0 - p / (21582.27 + (3.359406 + 5.03217e-5 * p) * p)) * 0.000972662 * 1000.0;
    });
}

KESTREL_API double KESTREL_CALL adtg(float pressure, float temperature, float salinity) {
    return kestrel::guarded<double>("adtg", [&]() -> double {
        return lapseRate(pressure, temperature, salinity);
    });
}

KESTREL_API double KESTREL_CALL theta(float pressure, float temperature, float salinity, float referencePressure) {
    return kestrel::guarded<double>("theta", [&]() -> double {
        return potentialTemperature(pressure, temperature, salinity, referencePressure);
    });
}

KESTREL_API double KESTREL_CALL SoundVel(float pressure, float temperature, float salinity) {
    return kestrel::guarded<double>("SoundVel", [&]() -> double {
        return soundSpeed(pressure, temperature, salinity);
    });
}

KESTREL_API double KESTREL_CALL cpsw(float pressure, float temperature, float salinity) {
    return kestrel::guarded<double>("cpsw", [&]() -> double {
        return heatCapacity(pressure, temperature, salinity);
    });
}

// Freezing point (Millero 1978; UNESCO 1983 p.28). Check value: -2.588567 deg C
// at S = 40, 500 dbar.
KESTREL_API double KESTREL_CALL tfreeze(float pressure, float salinity) {
    return kestrel::guarded<double>("tfreeze", [&]() -> double {
        const double s = salinity;
        return (-0.0575 + 1.710523e-3 * std::sqrt(std::fabs(s)) - 2.154996e-4 * s) * s - 7.53e-4 * pressure;
    });
}

// Depth from pressure (Saunders and Fofonoff 1976; UNESCO 1983 p.25-26): the
// hydrostatic integral of the standard ocean over the local gravity, which
// grows with pressure by 1.092e-6 per dbar (the mean vertical gradient 2.184e-6
// per metre, halved). Check value: 9712.653 m at 10000 dbar, 30 deg.
KESTREL_API double KESTREL_CALL calDepth(float pressure, float latitude) {
    return kestrel::guarded<double>("calDepth", [&]() -> double {
        const double p = pressure;
        // The paper's single-precision degrees-to-radians factor.
        const double x = std::sin(latitude * 0.017453292);
        const double x2 = x * x;
        const double g = 9.780318 * (1.0 + (5.2788e-3 + 2.36e-5 * x2) * x2) + 1.092e-6 * p;
        return (((-1.82e-15 * p + 2.279e-10) * p - 2.2512e-5) * p + 9.72659) * p / g;
    });
}

// Pressure from depth (Saunders 1981, J. Phys. Oceanogr. 11, 573-574):
// p = ((1 - c1) - sqrt((1 - c1)^2 - 4 c2 z)) / (2 c2), c1 = 5.92e-3 +
// 5.25e-3 sin^2(lat), c2 = 2.21e-6; 226244.3 = 1/(2 c2). Check value:
// 7500.00 dbar at 7321.45 m, 30 deg.
KESTREL_API double KESTREL_CALL calPress(float depth, float latitude) {
    return kestrel::guarded<double>("calPress", [&]() -> double {
        const double x = std::sin(std::fabs(latitude) * 0.017453292);
        const double c = 1.0 - (5.92e-3 + 5.25e-3 * x * x);
        return (c - std::sqrt(c * c - 8.84e-6 * depth)) * 226244.3;
    });
}

}  // extern "C"
