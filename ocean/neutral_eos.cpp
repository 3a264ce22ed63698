// The equation of state as the neutral density algorithm uses it: specific
// volume anomaly with density anomaly (svan), its temperature, salinity and
// pressure derivatives (eos8d), potential temperature (theta, Runge-Kutta on
// Bryden's lapse rate) and its derivatives (derthe), and the expansion
// coefficients of potential temperature (eosall). These are the 1980
// equation of state and the UNESCO 1983 forms, arranged as anomalies from
// the standard ocean (35, 0 deg C) the way the published routines arrange
// them, so that the labels agree with the published ones to rounding.
#include <cmath>

#include "kestrel/neutral.h"
#include "ocean/neutral_impl.h"

namespace kestrel::nd {

namespace {
constexpr double kR3500 = 1028.1063;
constexpr double kR4 = 4.8314e-4;
constexpr double kDr350 = 28.106331;
}  // namespace

double atg(double s, double t, double p) {
    const double ds = s - 35.0;
    return (((-2.1687e-16 * t + 1.8676e-14) * t - 4.6206e-13) * p +
            ((2.7759e-12 * t - 1.1351e-10) * ds + ((-5.4481e-14 * t + 8.733e-12) * t - 6.7795e-10) * t + 1.8741e-8)) *
               p +
           (-4.2393e-8 * t + 1.8932e-6) * ds + ((6.6228e-10 * t - 6.836e-8) * t + 8.5258e-6) * t + 3.5803e-5;
}

double theta(double s, double t0, double p0, double pr) {
    // Fourth-order Runge-Kutta (Gill's constants), as in Fofonoff (1977).
    double p = p0, t = t0;
    const double h = pr - p;
    double xk = h * atg(s, t, p);
    t += 0.5 * xk;
    double q = xk;
    p += 0.5 * h;
    xk = h * atg(s, t, p);
    t += 0.29289322 * (xk - q);
    q = 0.58578644 * xk + 0.121320344 * q;
    xk = h * atg(s, t, p);
    t += 1.707106781 * (xk - q);
    q = 3.414213562 * xk - 4.121320344 * q;
    p += 0.5 * h;
    xk = h * atg(s, t, p);
    return t + (xk - 2.0 * q) / 6.0;
}

double svan(double s, double t, double p0, double *sigma) {
    const double p = p0 / 10.0;  // bars
    const double sr = std::sqrt(std::fabs(s));
    const double r1 =
        ((((6.536332e-9 * t - 1.120083e-6) * t + 1.001685e-4) * t - 9.095290e-3) * t + 6.793952e-2) * t - 28.263737;
    const double r2 = (((5.3875e-9 * t - 8.2467e-7) * t + 7.6438e-5) * t - 4.0899e-3) * t + 8.24493e-1;
    const double r3 = (-1.6546e-6 * t + 1.0227e-4) * t - 5.72466e-3;
    const double sig = (kR4 * s + r3 * sr + r2) * s + r1;
    double v350p = 1.0 / kR3500;
    double sva = -sig * v350p / (kR3500 + sig);
    if (p == 0.0) {
        if (sigma) *sigma = sig + kDr350;
        return sva * 1.0e8;
    }
    // Secant bulk modulus relative to the standard ocean's.
    const double e = (9.1697e-10 * t + 2.0816e-8) * t - 9.9348e-7;
    const double bw = (5.2787e-8 * t - 6.12293e-6) * t + 3.47718e-5;
    const double b = bw + e * s;
    const double d = 1.91075e-4;
    const double c = (-1.6078e-6 * t - 1.0981e-5) * t + 2.2838e-3;
    const double aw = ((-5.77905e-7 * t + 1.16092e-4) * t + 1.43713e-3) * t - 0.1194975;
    const double a = (d * sr + c) * s + aw;
    const double b1 = (-5.3009e-4 * t + 1.6483e-2) * t + 7.944e-2;
    const double a1 = ((-6.1670e-5 * t + 1.09987e-2) * t - 0.603459) * t + 54.6746;
    const double kw = (((-5.155288e-5 * t + 1.360477e-2) * t - 2.327105) * t + 148.4206) * t - 1930.06;
    const double k0 = (b1 * sr + a1) * s + kw;
    const double dk = (b * p + a) * p + k0;
    const double k35 = (5.03217e-5 * p + 3.359406) * p + 21582.27;
    const double gam = p / k35;
    const double pk = 1.0 - gam;
    sva = sva * pk + (v350p + sva) * p * dk / (k35 * (k35 + dk));
    v350p *= pk;
    if (sigma) {
        const double dr35p = gam / v350p;
        const double dvan = sva / (v350p * (v350p + sva));
        *sigma = kDr350 + dr35p - dvan;
    }
    return sva * 1.0e8;
}

double eos8d(double s, double t, double p0, double *drv) {
    double local[24];
    double *out = drv ? drv : local;
    auto D = [out](int i, int j) -> double & { return out[(j - 1) * 3 + (i - 1)]; };  // Fortran DRV(i, j)
    const double p = p0 / 10.0;
    const double sal = s;
    const double sr = std::sqrt(std::fabs(s));
    // Density at one atmosphere and its salinity and temperature derivatives.
    double r1 =
        ((((6.536332e-9 * t - 1.120083e-6) * t + 1.001685e-4) * t - 9.095290e-3) * t + 6.793952e-2) * t - 28.263737;
    double r2 = (((5.3875e-9 * t - 8.2467e-7) * t + 7.6438e-5) * t - 4.0899e-3) * t + 8.24493e-1;
    double r3 = (-1.6546e-6 * t + 1.0227e-4) * t - 5.72466e-3;
    const double sig = (kR4 * s + r3 * sr + r2) * s + r1;
    double v350p = 1.0 / kR3500;
    double sva = -sig * v350p / (kR3500 + sig);
    double sigma = sig + kDr350;
    D(1, 3) = sigma;
    const double v0 = 1.0 / (1000.0 + sigma);
    D(1, 2) = v0;
    const double rhos0 = 9.6628e-4 * sal + 1.5 * r3 * sr + r2;
    r1 = (((3.268166e-8 * t - 4.480332e-6) * t + 3.005055e-4) * t - 1.819058e-2) * t + 6.793952e-2;
    r2 = ((2.155e-8 * t - 2.47401e-6) * t + 1.52876e-4) * t - 4.0899e-3;
    r3 = -3.3092e-6 * t + 1.0227e-4;
    double rhot = (r3 * sr + r2) * sal + r1;
    D(2, 3) = rhot;
    const double rho1 = 1000.0 + sigma;
    const double rho2 = rho1 * rho1;
    const double v0t = -rhot / rho2;
    const double v0s = -rhos0 / rho2;
    D(1, 8) = rhos0;
    D(2, 2) = v0t;
    r1 = ((1.3072664e-7 * t - 1.3440996e-5) * t + 6.01011e-4) * t - 1.819058e-2;
    r2 = (6.465e-8 * t - 4.94802e-6) * t + 1.52876e-4;
    r3 = -3.3092e-6;
    const double rhott = (r3 * sr + r2) * sal + r1;
    D(3, 3) = rhott;
    const double v0tt = (2.0 * rhot * rhot / rho1 - rhott) / rho2;
    D(3, 2) = v0tt;
    // Bulk modulus terms and their derivatives.
    double e = (9.1697e-10 * t + 2.0816e-8) * t - 9.9348e-7;
    double bw = (5.2787e-8 * t - 6.12293e-6) * t + 3.47718e-5;
    const double b = bw + e * s;
    const double dbds = e;
    D(1, 6) = b + 5.03217e-5;
    bw = 1.05574e-7 * t - 6.12293e-6;
    e = 1.83394e-9 * t + 2.0816e-8;
    const double bt = bw + e * sal;
    D(2, 6) = bt;
    const double btt = 1.05574e-7 + 1.83394e-9 * sal;
    D(3, 6) = btt;
    const double d = 1.91075e-4;
    double c = (-1.6078e-6 * t - 1.0981e-5) * t + 2.2838e-3;
    double aw = ((-5.77905e-7 * t + 1.16092e-4) * t + 1.43713e-3) * t - 0.1194975;
    const double a = (d * sr + c) * s + aw;
    D(1, 5) = a + 3.3594055;
    const double dads = 2.866125e-4 * sr + c;
    c = -3.2156e-6 * t - 1.0981e-5;
    aw = (-1.733715e-6 * t + 2.32184e-4) * t + 1.43713e-3;
    const double at = c * sal + aw;
    D(2, 5) = at;
    c = -3.2156e-6;
    aw = -3.46743e-6 * t + 2.32184e-4;
    const double att = c * sal + aw;
    D(3, 5) = att;
    double b1 = (-5.3009e-4 * t + 1.6483e-2) * t + 7.944e-2;
    double a1 = ((-6.1670e-5 * t + 1.09987e-2) * t - 0.603459) * t + 54.6746;
    double kw = (((-5.155288e-5 * t + 1.360477e-2) * t - 2.327105) * t + 148.4206) * t - 1930.06;
    const double k0 = (b1 * sr + a1) * s + kw;
    D(1, 4) = k0 + 21582.27;
    const double k0s = 1.5 * b1 * sr + a1;
    const double ks = (dbds * p + dads) * p + k0s;
    b1 = -1.06018e-3 * t + 1.6483e-2;
    a1 = (-1.8501e-4 * t + 2.19974e-2) * t - 0.603459;
    kw = ((-2.0621152e-4 * t + 4.081431e-2) * t - 4.65421) * t + 148.4206;
    const double k0t = (b1 * sr + a1) * sal + kw;
    D(2, 4) = k0t;
    b1 = -1.06018e-3;
    a1 = -3.7002e-4 * t + 2.19974e-2;
    kw = (-6.1863456e-4 * t + 8.162862e-2) * t - 4.65421;
    const double k0tt = (b1 * sr + a1) * sal + kw;
    D(3, 4) = k0tt;
    // The pressure polynomial.
    const double dk = (b * p + a) * p + k0;
    const double k35 = (5.03217e-5 * p + 3.359406) * p + 21582.27;
    const double gam = p / k35;
    const double pk = 1.0 - gam;
    sva = sva * pk + (v350p + sva) * p * dk / (k35 * (k35 + dk));
    const double svanResult = sva * 1.0e8;
    v350p *= pk;
    const double dr35p = gam / v350p;
    const double dvan = sva / (v350p * (v350p + sva));
    sigma = kDr350 + dr35p - dvan;
    D(1, 3) = sigma;
    const double k = k35 + dk;
    const double vp = 1.0 - p / k;
    const double kt = (bt * p + at) * p + k0t;
    const double ktt = (btt * p + att) * p + k0tt;
    const double v = 1.0 / (sigma + 1000.0);
    D(1, 1) = v;
    const double v2 = v * v;
    const double vs = v0s * vp + v0 * p * ks / (k * k);
    D(3, 8) = vs;
    D(1, 8) = -vs / v2;
    D(2, 8) = 0.0;
    const double vt = v0t * vp + v0 * p * kt / (k * k);
    const double vtt = v0tt * vp + p * (2.0 * v0t * kt + ktt * v0 - 2.0 * kt * kt * v0 / k) / (k * k);
    D(3, 3) = (2.0 * vt * vt / v - vtt) / v2;
    D(2, 1) = vt;
    D(3, 1) = vtt;
    D(2, 3) = -vt / v2;
    const double dkdp = 2.0 * D(1, 6) * p + D(1, 5);
    const double dvdp = -0.1 * v0 * (1.0 - p * dkdp / k) / k;  // per dbar
    D(1, 7) = -dvdp / v2;
    D(2, 7) = k;
    D(3, 7) = dvdp;
    return svanResult;
}

void derthe(double s, double t, double p, double *dthedt, double *dtheds, double *dthedp) {
    constexpr double a0 = -0.36504e-4, a1 = -0.83198e-5, a2 = +0.54065e-7, a3 = -0.40274e-9, b0 = -0.17439e-5,
                     b1 = +0.29778e-7, d0 = +0.41057e-10, c0 = -0.89309e-8, c1 = +0.31628e-9, c2 = -0.21987e-11,
                     e0 = +0.16056e-12, e1 = -0.50484e-14;
    const double ds = s - 35.0, pp = p * p, ppp = pp * p, tt = t * t, ttt = tt * t;
    double part = 1.0 + p * (a1 + 2.0 * a2 * t + 3.0 * a3 * tt + ds * b1);
    if (dthedt) *dthedt = part + pp * (c1 + 2.0 * c2 * t) + ppp * e1;
    if (dtheds) *dtheds = p * (b0 + b1 * t) + pp * d0;
    part = a0 + a1 * t + a2 * tt + a3 * ttt + ds * (b0 + b1 * t);
    if (dthedp) *dthedp = part + 2.0 * p * (ds * d0 + c0 + c1 * t + c2 * tt) + 3.0 * pp * (e0 + e1 * t);
}

void eosall(double s, double t, double p, double *thet, double *sigthe, double *alfnew, double *betnew,
            double *gamnew, double *soundv) {
    const double th = theta(s, t, p, 0.0);
    double drv[24];
    eos8d(s, t, p, drv);
    auto D = [&drv](int i, int j) { return drv[(j - 1) * 3 + (i - 1)]; };
    const double rho = D(1, 3) + 1000.0;
    const double alfold = -D(2, 3) / rho, betold = D(1, 8) / rho, gamold = D(1, 7) / rho;
    double st = 0;
    svan(s, th, 0.0, &st);
    double dthedt, dtheds, dthedp;
    derthe(s, t, p, &dthedt, &dtheds, &dthedp);
    const double alf = alfold / dthedt;
    const double bet = betold + alf * dtheds;
    const double gam = gamold + alf * dthedp;
    if (thet) *thet = th;
    if (sigthe) *sigthe = st;
    if (alfnew) *alfnew = alf;
    if (betnew) *betnew = bet;
    if (gamnew) *gamnew = gam;
    if (soundv) *soundv = std::sqrt(std::fabs(1.0e4 / (gam * rho)));
}

}  // namespace kestrel::nd
