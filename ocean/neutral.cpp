// Neutral density gamma^n (Jackett and McDougall 1997): the steps of the
// published algorithm, the reference data set's two files, and the labelling
// of a cast.
//
// Every step follows the published routines' equations and control flow,
// so that labels agree with the published ones to rounding; where the
// published code stops the program (an iteration leaving its interval, a
// bottle inside a cast's range handed to the extrapolation) the step here
// returns a marker the caller treats as "no label from this cast". Loops
// that extend a cast are bounded, so no reference cast, however strange,
// can hang a call. Levels at or beyond a cast's level count are fill and are
// never read.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <vector>

#include "kestrel/neutral.h"
#include "ocean/neutral_impl.h"

namespace kestrel::nd {

namespace {

constexpr double kTb = 2.7e-8;           // thermobaric coefficient of the error estimates
constexpr double kEps = 5.0e-5;          // crossing function tolerance
constexpr double kPressureTol = 5.0e-3;  // dbar
constexpr int kMaxScv = 50;
constexpr int kMaxExtension = 2000;      // cast extension steps (0.1 deg C each)

// Failure marker of a crossing search (the published code stops there).
constexpr double kSearchFailed = -99.3;

}  // namespace

int32_t indx(const double *x, int32_t n, double z) {
    if (n < 1) return -1;
    if (x[0] < z && z < x[n - 1]) {
        int32_t kl = 0, ku = n - 1;
        while (ku - kl > 1) {
            const int32_t km = (ku + kl) / 2;
            if (z > x[km]) kl = km;
            else ku = km;
        }
        int32_t k = kl;
        if (z == x[k + 1]) ++k;
        return k;
    }
    if (z == x[0]) return 0;
    if (z == x[n - 1]) return n - 2;
    return -1;
}

double gammaQdr(double pl, double gl, double a, double pu, double gu, double p) {
    const double p1 = (p - pu) / (pu - pl);
    const double p2 = (p - pl) / (pu - pl);
    return (a * p1 + (gu - gl)) * p2 + gl;
}

void sigVals(double s1, double t1, double p1, double s2, double t2, double p2, double *sig1, double *sig2) {
    const double pmid = (p1 + p2) / 2.0;
    svan(s1, theta(s1, t1, p1, pmid), pmid, sig1);
    svan(s2, theta(s2, t2, p2, pmid), pmid, sig2);
}

void stpInterp(const double *s, const double *t, const double *p, int32_t n, double *s0, double *t0, double p0) {
    if (n < 2) {
        *s0 = n == 1 ? s[0] : std::nan("");
        *t0 = n == 1 ? t[0] : std::nan("");
        return;
    }
    int32_t k = indx(p, n, p0);
    if (k < 0) k = p0 < p[0] ? 0 : n - 2;  // outside the cast: extrapolate from the end interval
    const double r = (p0 - p[k]) / (p[k + 1] - p[k]);
    *s0 = s[k] + r * (s[k + 1] - s[k]);
    const double thk = theta(s[k], t[k], p[k], 0.0);
    const double th0 = thk + r * (theta(s[k + 1], t[k + 1], p[k + 1], 0.0) - thk);
    *t0 = theta(*s0, th0, 0.0, p0);
}

namespace {

// The crossing functions: neutral (bottle brought adiabatically to the mean
// pressure) and constant potential density referred to the cast's pressure.
double neutralE(double s0, double t0, double p0, double s, double t, double p) {
    double sigl, sigu;
    sigVals(s0, t0, p0, s, t, p, &sigl, &sigu);
    return sigu - sigl;
}

double scvE(double s0, double t0, double p0, double s, double t, double p) {
    double sigl, sigu;
    svan(s0, theta(s0, t0, p0, p), p, &sigl);
    svan(s, t, p, &sigu);
    return sigu - sigl;
}

using CrossingFn = double (*)(double, double, double, double, double, double);

// Bisection on the interval (k-1, k) of the cast.
void bisect(CrossingFn fn, const double *s, const double *t, const double *p, const double *e, int32_t k, double s0,
            double t0, double p0, double *sns, double *tns, double *pns, int32_t *iterations) {
    double pl = p[k - 1], el = e[k - 1], pu = p[k], eu = e[k];
    int32_t iter = 0;
    for (;;) {
        ++iter;
        const double pm = (pl + pu) / 2;
        double sm, tm;
        stpInterp(s + k - 1, t + k - 1, p + k - 1, 2, &sm, &tm, pm);
        const double em = fn(s0, t0, p0, sm, tm, pm);
        bool done = false;
        if (el * em < 0.0) {
            pu = pm;
            eu = em;
        } else if (em * eu < 0.0) {
            pl = pm;
            el = em;
        } else if (em == 0.0) {
            done = true;
        }
        if (done || (std::fabs(em) <= kEps && std::fabs(pu - pl) <= kPressureTol)) {
            *sns = sm;
            *tns = tm;
            *pns = pm;
            break;
        }
        if (iter > 20) {
            *sns = *tns = *pns = -99.0;
            break;
        }
    }
    if (iterations) *iterations = iter;
}

// Newton-Raphson on the interval (k-1, k), falling back on bisection when
// an iterate leaves the interval or after 10 steps. Returns false when the
// bisection's root lies outside the interval.
bool refineCrossing(CrossingFn fn, const double *s, const double *t, const double *p, const double *e, int32_t k,
                    double s0, double t0, double p0, double *sc, double *tc, double *pc) {
    double pc0 = p[k - 1] - e[k - 1] * (p[k] - p[k - 1]) / (e[k] - e[k - 1]);
    double pcPrev = 0, ecPrev = 0;
    for (int32_t iter = 1;; ++iter) {
        double sc0, tc0;
        stpInterp(s + k - 1, t + k - 1, p + k - 1, 2, &sc0, &tc0, pc0);
        const double ec0 = fn(s0, t0, p0, sc0, tc0, pc0);
        const double p1 = (p[k - 1] + pc0) / 2;
        const double ez1 = (e[k - 1] - ec0) / (pc0 - p[k - 1]);
        const double p2 = (pc0 + p[k]) / 2;
        const double ez2 = (ec0 - e[k]) / (p[k] - pc0);
        const double r = (pc0 - p1) / (p2 - p1);
        const double eczMid = ez1 + r * (ez2 - ez1);
        double ecz0 = eczMid;
        if (iter > 1) {
            ecz0 = -(ec0 - ecPrev) / (pc0 - pcPrev);
            if (ecz0 == 0) ecz0 = eczMid;
        }
        const double pc1 = pc0 + ec0 / ecz0;
        if (!(pc1 > p[k - 1] && pc1 < p[k])) {
            bisect(fn, s, t, p, e, k, s0, t0, p0, sc, tc, pc, nullptr);
            return *pc >= p[k - 1] && *pc <= p[k];
        }
        if (std::fabs(ec0) <= kEps && std::fabs(pc1 - pc0) <= kPressureTol) {
            *sc = sc0;
            *tc = tc0;
            *pc = pc0;
            return true;
        }
        if (iter > 10) {
            bisect(fn, s, t, p, e, k, s0, t0, p0, sc, tc, pc, nullptr);
            return true;
        }
        pcPrev = pc0;
        ecPrev = ec0;
        pc0 = pc1;
    }
}

}  // namespace

void eSolve(const double *s, const double *t, const double *p, const double *e, int32_t k, double s0, double t0,
            double p0, double *sns, double *tns, double *pns, int32_t *iter) {
    bisect(neutralE, s, t, p, e, k, s0, t0, p0, sns, tns, pns, iter);
}

void scvSolve(const double *s, const double *t, const double *p, const double *e, int32_t k, double s0, double t0,
              double p0, double *sns, double *tns, double *pns, int32_t *iter) {
    bisect(scvE, s, t, p, e, k, s0, t0, p0, sns, tns, pns, iter);
}

// e holds n values of scratch.
void depthNs(const double *s, const double *t, const double *p, int32_t n, double s0, double t0, double p0,
             double *e, double *sns, double *tns, double *pns) {
    int32_t ncr = 0;
    double rs = -99.0, rt = -99.0, rp = -99.0;
    for (int32_t k = 0; k < n; ++k) {
        e[k] = neutralE(s0, t0, p0, s[k], t[k], p[k]);
        if (k > 0) {
            if (e[k - 1] == 0.0) {
                ++ncr;
                rs = s[k - 1];
                rt = t[k - 1];
                rp = p[k - 1];
            } else if (e[k] * e[k - 1] < 0.0) {
                ++ncr;
                if (!refineCrossing(neutralE, s, t, p, e, k, s0, t0, p0, &rs, &rt, &rp)) {
                    *sns = *tns = *pns = kSearchFailed;
                    return;
                }
            }
        }
        if (k == n - 1 && e[k] == 0.0) {
            ++ncr;
            rs = s[k];
            rt = t[k];
            rp = p[k];
        }
    }
    if (ncr == 0) rs = rt = rp = -99.0;
    else if (ncr >= 2) rs = rt = rp = -99.2;
    *sns = rs;
    *tns = rt;
    *pns = rp;
}

void depthScv(const double *s, const double *t, const double *p, int32_t n, double s0, double t0, double p0,
              double *e, double *sscv, double *tscv, double *pscv, int32_t *nscv) {
    int32_t ncr = 0, found = 0;
    double ts = 0, tt = 0, tp = 0;
    for (int32_t k = 0; k < n; ++k) {
        e[k] = scvE(s0, t0, p0, s[k], t[k], p[k]);
        if (k > 0) {
            if (e[k - 1] == 0.0) {
                ++ncr;
                ts = s[k - 1];
                tt = t[k - 1];
                tp = p[k - 1];
            } else if (e[k] * e[k - 1] < 0.0) {
                ++ncr;
                if (!refineCrossing(scvE, s, t, p, e, k, s0, t0, p0, &ts, &tt, &tp)) --ncr;
            }
        }
        if (k == n - 1 && e[k] == 0.0) {
            ++ncr;
            ts = s[k];
            tt = t[k];
            tp = p[k];
        }
        if (ncr > found && found < kMaxScv) {
            sscv[found] = ts;
            tscv[found] = tt;
            pscv[found] = tp;
            ++found;
        }
    }
    if (found == 0) sscv[0] = tscv[0] = pscv[0] = -99.0;
    *nscv = found;
}

void gammaErrors(const double *s, const double *t, const double *p, const double *gamma, const double *a, int32_t n,
                 double lat, double s0, double t0, double p0, double sns, double tns, double pns, int32_t kns,
                 double gammaNs, double *pthError, double *scvL, double *scvH) {
    *pthError = *scvL = *scvH = 0.0;
    if (kns < 0 || kns >= n - 1) return;
    const double th0 = theta(s0, t0, p0, 0.0);
    const double thns = theta(sns, tns, pns, 0.0);
    double sigNs = 0;
    svan(sns, tns, pns, &sigNs);
    const double rhoNs = 1000.0 + sigNs;
    double sigL, sigH;
    sigVals(s[kns], t[kns], p[kns], s[kns + 1], t[kns + 1], p[kns + 1], &sigL, &sigH);
    const double b = (gamma[kns + 1] - gamma[kns]) / (sigH - sigL);
    const double dp = pns - p0, dth = thns - th0;
    const double pth = rhoNs * b * kTb * std::fabs(dp * dth) / 6;
    double lo = 0, hi = 0;
    if (lat <= -60.0 || gamma[0] >= 26.845) {
        const double drldp = (sigH - sigL) / (rhoNs * (p[kns + 1] - p[kns]));
        const double test = kTb * dth / drldp;
        if (std::fabs(test) <= 0.1) {
            if (dp * dth >= 0.0) hi = (3 * pth) / (1.0 - test);
            else lo = (3 * pth) / (1.0 - test);
        } else {
            double ss[kMaxScv], ts[kMaxScv], ps[kMaxScv];
            // Scratch for the crossing function: on the stack for reference
            // casts, on the heap only for a caller's longer cast.
            double small[64];
            std::vector<double> large(n > 64 ? static_cast<size_t>(n) : 0);
            int32_t nscv = 0;
            depthScv(s, t, p, n, s0, t0, p0, n > 64 ? large.data() : small, ss, ts, ps, &nscv);
            if (nscv > 0) {
                double pscv = ps[0];
                if (nscv > 1) pscv = p0 <= ps[(1 + nscv) / 2 - 1] ? ps[0] : ps[nscv - 1];
                const int32_t kscv = indx(p, n, pscv);
                if (kscv >= 0) {
                    const double gammaScv = gammaQdr(p[kscv], gamma[kscv], a[kscv], p[kscv + 1], gamma[kscv + 1], pscv);
                    if (pscv <= pns) lo = gammaNs - gammaScv;
                    else hi = gammaScv - gammaNs;
                }
            }
        }
    }
    // The published code stops on a negative error; none is kept here.
    *pthError = pth >= 0 ? pth : 0.0;
    *scvL = lo >= 0 ? lo : 0.0;
    *scvH = hi >= 0 ? hi : 0.0;
}

void goorSolve(double sl, double tl, double el, double su, double tu, double eu, double p, double s0, double t0,
               double p0, double sigb, double *sns, double *tns) {
    double rl = 0.0, ru = 1.0;
    const double pmid = (p + p0) / 2.0;
    const double thl = theta(sl, tl, p, pmid);
    const double thu = theta(su, tu, p, pmid);
    (void)t0;
    (void)s0;
    for (int32_t iter = 1;; ++iter) {
        const double rm = (rl + ru) / 2;
        const double sm = sl + rm * (su - sl);
        const double thm = thl + rm * (thu - thl);
        const double tm = theta(sm, thm, pmid, p);
        double sigma = 0;
        svan(sm, thm, pmid, &sigma);
        const double em = sigma - sigb;
        bool done = false;
        if (el * em < 0.0) {
            ru = rm;
            eu = em;
        } else if (em * eu < 0.0) {
            rl = rm;
            el = em;
        } else if (em == 0.0) {
            done = true;
        }
        if (done || (std::fabs(em) <= kEps && std::fabs(ru - rl) <= kPressureTol) || iter > 20) {
            *sns = sm;
            *tns = tm;
            return;
        }
    }
}

void goor(const double *s, const double *t, const double *p, const double *gamma, int32_t n, double sb, double tb,
          double pb, double *gammab, double *g1, double *g2l, double *g2h) {
    *gammab = -99.0;
    *g1 = *g2l = *g2h = 0.0;
    if (n < 2) return;
    constexpr double deltB = -0.1, deltT = 0.1, slope = -0.14;
    double sigma = 0, sigb = 0, sns = 0, tns = 0, pns = 0, bmid = 0, gb = 0;
    const int32_t last = n - 1;
    double pmid = (p[last] + pb) / 2.0;
    svan(s[last], theta(s[last], t[last], p[last], pmid), pmid, &sigma);
    svan(sb, theta(sb, tb, pb, pmid), pmid, &sigb);
    if (sigb > sigma) {
        // Below the cast: make it denser in steps of -0.1 deg C, +0.014 salinity.
        double sNew = s[last], tNew = t[last], eNew = sigma - sigb, sOld = sNew, tOld = tNew, eOld = eNew;
        int32_t steps = 0;
        while (sigma < sigb) {
            if (++steps > kMaxExtension) {
                *gammab = 0.0;
                return;
            }
            sOld = sNew;
            tOld = tNew;
            eOld = eNew;
            sNew = s[last] + steps * deltB * slope;
            tNew = t[last] + steps * deltB;
            svan(sNew, theta(sNew, tNew, p[last], pmid), pmid, &sigma);
            eNew = sigma - sigb;
        }
        if (sigma == sigb) {
            sns = sNew;
            tns = tNew;
        } else {
            goorSolve(sOld, tOld, eOld, sNew, tNew, eNew, p[last], sb, tb, pb, sigb, &sns, &tns);
        }
        double sigl, sigu;
        sigVals(s[last - 1], t[last - 1], p[last - 1], s[last], t[last], p[last], &sigl, &sigu);
        bmid = (gamma[last] - gamma[last - 1]) / (sigu - sigl);
        svan(s[last], t[last], p[last], &sigl);
        svan(sns, tns, p[last], &sigu);
        gb = gamma[last] + bmid * (sigu - sigl);
        pns = p[last];
    } else {
        pmid = (p[0] + pb) / 2.0;
        svan(s[0], theta(s[0], t[0], p[0], pmid), pmid, &sigma);
        svan(sb, theta(sb, tb, pb, pmid), pmid, &sigb);
        if (!(sigb < sigma)) return;  // within the cast's range: not for extrapolation
        // Above the cast: make it lighter in steps of +0.1 deg C.
        double sNew = s[0], tNew = t[0], eNew = sigma - sigb, sOld = sNew, tOld = tNew, eOld = eNew;
        int32_t steps = 0;
        while (sigma > sigb) {
            if (++steps > kMaxExtension) {
                *gammab = 0.0;
                return;
            }
            sOld = sNew;
            tOld = tNew;
            eOld = eNew;
            sNew = s[0];
            tNew = t[0] + steps * deltT;
            svan(sNew, theta(sNew, tNew, p[0], pmid), pmid, &sigma);
            eNew = sigma - sigb;
        }
        if (sigma == sigb) {
            sns = sNew;
            tns = tNew;
        } else {
            goorSolve(sNew, tNew, eNew, sOld, tOld, eOld, p[0], sb, tb, pb, sigb, &sns, &tns);
        }
        double sigl, sigu;
        sigVals(s[0], t[0], p[0], s[1], t[1], p[1], &sigl, &sigu);
        bmid = (gamma[1] - gamma[0]) / (sigu - sigl);
        svan(sns, tns, p[0], &sigl);
        svan(s[0], t[0], p[0], &sigu);
        gb = gamma[0] - bmid * (sigu - sigl);
        pns = p[0];
    }
    const double thb = theta(sb, tb, pb, 0.0);
    const double thns = theta(sns, tns, pns, 0.0);
    double sigNs = 0;
    svan(sns, tns, pns, &sigNs);
    const double rhoNs = 1000.0 + sigNs;
    const double dp = pns - pb, dth = thns - thb;
    *gammab = gb;
    *g1 = rhoNs * bmid * kTb * std::fabs(dp * dth) / 6;
    const double g2 = rhoNs * bmid * kTb * dp * dth / 2;
    if (g2 <= 0.0) {
        *g2l = -g2;
        *g2h = 0.0;
    } else {
        *g2l = 0.0;
        *g2h = g2;
    }
}

int32_t oceanTest(double x1, double y1, int32_t io1, double x2, double y2, int32_t io2, double z) {
    const double y = (y1 + y2) / 2;
    const int64_t product = static_cast<int64_t>(io1) * io2;  // codes from a file may be any number
    if (io1 == io2) return 1;
    auto both = [&](int32_t a, int32_t b) { return (io1 == a || io1 == b) && (io2 == a || io2 == b); };
    int32_t itest;
    if (y <= -20.0) {
        // South America separates the South Pacific from the South Atlantic.
        itest = (y >= -48.0 && product == 12) ? 0 : 1;
    } else if (both(1, 2) || both(3, 4) || both(5, 6)) {
        itest = 1;
    } else if (product == 8 && z <= 1200.0 && x1 >= 124.0 && x1 <= 132.0 && x2 >= 124.0 && x2 <= 132.0) {
        itest = 1;  // the Indonesian throughflow
    } else {
        itest = 0;
    }
    // The Japan Sea talks only to itself.
    static const double xjs[3] = {129.87, 140.37, 142.83}, yjs[3] = {32.75, 37.38, 53.58};
    const bool in1 = xjs[0] <= x1 && x1 <= xjs[2] && yjs[0] <= y1 && y1 <= yjs[2];
    const bool in2 = xjs[0] <= x2 && x2 <= xjs[2] && yjs[0] <= y2 && y2 <= yjs[2];
    if (in1 || in2) {
        const double em1 = (yjs[1] - yjs[0]) / (xjs[1] - xjs[0]), c1 = yjs[0] - em1 * xjs[0];
        const double em2 = (yjs[2] - yjs[1]) / (xjs[2] - xjs[1]), c2 = yjs[1] - em2 * xjs[1];
        const bool sj1 = (y1 - em1 * x1 - c1) >= 0.0 && (y1 - em2 * x1 - c2) >= 0.0;
        const bool sj2 = (y2 - em1 * x2 - c1) >= 0.0 && (y2 - em2 * x2 - c2) >= 0.0;
        itest = sj1 == sj2 ? 1 : 0;
    }
    // Nor does the Pacific to the Atlantic round the Antarctic Peninsula.
    if (product == 12 && y < -60.0) itest = 0;
    return itest;
}

}  // namespace kestrel::nd

// ---- The exported interface -----------------------------------------------------

using namespace kestrel::nd;

namespace {

constexpr size_t kLlpBytes = 33072;
constexpr size_t kStgaBytes = static_cast<size_t>(ND_NCAST) * ND_CAST_FLOATS * 4;

// Whole file, or nothing when it cannot be opened or is shorter than want.
bool readExactly(const char *prefix, const char *name, size_t want, std::vector<unsigned char> *out) {
    char path[1024];
    const int len = std::snprintf(path, sizeof path, "%s%s", prefix, name);
    if (len < 0 || static_cast<size_t>(len) >= sizeof path) return false;
    std::FILE *f = std::fopen(path, "rb");
    if (!f) return false;
    try {
        out->assign(want, 0);
    } catch (const std::bad_alloc &) {
        std::fclose(f);
        return false;
    }
    const size_t got = std::fread(out->data(), 1, want, f);
    std::fclose(f);
    return got == want;
}

uint32_t le32(const unsigned char *b) {
    return static_cast<uint32_t>(b[0]) | static_cast<uint32_t>(b[1]) << 8 | static_cast<uint32_t>(b[2]) << 16 |
           static_cast<uint32_t>(b[3]) << 24;
}

float leFloat(const unsigned char *b) {
    const uint32_t u = le32(b);
    float f;
    std::memcpy(&f, &u, 4);
    return f;
}

// Cast data as doubles, only the valid levels.
struct Cast {
    double s[ND_NLEV], t[ND_NLEV], g[ND_NLEV], a[ND_NLEV];
    int32_t n = 0;
};

void loadCorner(const NDData *d, int c, Cast *out) {
    out->n = std::clamp(d->cornerLevels[c], 0, ND_NLEV);
    for (int32_t k = 0; k < out->n; ++k) {
        out->s[k] = d->cornerS[c][k];
        out->t[k] = d->cornerT[c][k];
        out->g[k] = d->cornerGamma[c][k];
        out->a[k] = d->cornerA[c][k];
    }
}

}  // namespace

extern "C" {

KESTREL_API void KESTREL_CDECL NDinitialize(NDData *data) {
    if (!data) return;
    data->loaded = 0;
    data->casts = nullptr;
}

KESTREL_API int32_t KESTREL_CDECL NDopen(NDData *data, const char *prefix) {
    if (!data) return 1;
    if (data->loaded && data->casts) return 0;
    if (!prefix) return 1;
    std::vector<unsigned char> llp, stga;
    if (!readExactly(prefix, "llp.fdt", kLlpBytes, &llp)) return 1;
    for (int i = 0; i < ND_NLON; ++i) data->longitude[i] = leFloat(&llp[4 * i]);
    for (int j = 0; j < ND_NLAT; ++j) data->latitude[j] = leFloat(&llp[360 + 4 * j]);
    for (int k = 0; k < ND_NLEV; ++k) data->pressure[k] = leFloat(&llp[540 + 4 * k]);
    bool sane = true;
    for (int c = 0; c < ND_NCAST; ++c) {
        data->nLevels[c] = static_cast<int32_t>(le32(&llp[672 + 4 * c]));
        data->ocean[c] = static_cast<int32_t>(le32(&llp[16872 + 4 * c]));
        // A level count beyond the standard levels would send every search
        // past the cast's record.
        if (data->nLevels[c] < 0 || data->nLevels[c] > ND_NLEV) sane = false;
    }
    if (!sane) return 1;
    if (!readExactly(prefix, "stga.fdt", kStgaBytes, &stga)) return 1;
    float *casts = static_cast<float *>(std::malloc(kStgaBytes));
    if (!casts) return 1;
    for (size_t i = 0; i < kStgaBytes / 4; ++i) casts[i] = leFloat(&stga[4 * i]);
    data->casts = casts;
    for (int c = 0; c < 4; ++c) {
        data->cornerS[c] = data->cornerT[c] = data->cornerGamma[c] = data->cornerA[c] = nullptr;
        data->cornerLevels[c] = data->cornerOcean[c] = 0;
    }
    data->loaded = 1;
    return 0;
}

KESTREL_API void KESTREL_CDECL NDclose(NDData *data) {
    if (!data) return;
    if (data->loaded) std::free(data->casts);
    NDinitialize(data);
}

KESTREL_API int32_t KESTREL_CDECL NDread(double longitude, double latitude, NDData *data) {
    if (!data || !data->loaded || !data->casts) return 1;
    if (!(longitude >= 0.0 && longitude <= 360.0 && latitude >= -88.0 && latitude < 88.0)) return 1;
    int32_t i0 = static_cast<int32_t>(longitude / 4 + 1);  // 1-based box indexes
    const int32_t j0 = static_cast<int32_t>((latitude + 88) / 4 + 1);
    if (i0 == ND_NLON + 1) i0 = 1;
    if (i0 < 1 || i0 > ND_NLON || j0 < 1 || j0 >= ND_NLAT) return 1;
    const int32_t iEast = i0 < ND_NLON ? i0 + 1 : 1;  // the last column wraps round to 0 deg
    data->boxLongitude[0] = data->longitude[i0 - 1];
    data->boxLongitude[1] = i0 < ND_NLON ? data->boxLongitude[0] + 4.0f : 0.0f;
    data->boxLatitude[0] = data->latitude[j0 - 1];
    data->boxLatitude[1] = data->boxLatitude[0] + 4.0f;
    const int32_t cols[2] = {i0 - 1, iEast - 1}, rows[2] = {j0 - 1, j0};
    bool any = false;
    for (int i = 0; i < 2; ++i)
        for (int j = 0; j < 2; ++j) {
            const int c = i * 2 + j;  // (west, south), (west, north), (east, south), (east, north)
            const int32_t cast = cols[i] + ND_NLON * rows[j];
            const float *rec = data->casts + static_cast<size_t>(cast) * ND_CAST_FLOATS;
            data->cornerS[c] = rec;
            data->cornerT[c] = rec + ND_NLEV;
            data->cornerGamma[c] = rec + 2 * ND_NLEV;
            data->cornerA[c] = rec + 3 * ND_NLEV;
            data->cornerLevels[c] = data->nLevels[cast];
            data->cornerOcean[c] = data->ocean[cast];
            any = any || data->nLevels[cast] > 0;
        }
    return any ? 0 : 1;
}

KESTREL_API int32_t KESTREL_CDECL NDgamma_n(const double *s, const double *t, const double *p, int32_t n,
                                            double longitude, double latitude, double *gamma, double *lowerError,
                                            double *upperError, double missingValue, NDData *data) {
    if (n < 0 || (n > 0 && (!s || !t || !p || !gamma || !lowerError || !upperError))) return 1;
    double lon = longitude;
    if (lon < 0.0) lon += 360.0;
    else if (lon == 360.0) lon = 0.0;
    if (!(lon >= 0.0 && lon < 360.0) || !(latitude >= -80.0 && latitude <= 64.0)) return 1;
    if (NDread(lon, latitude, data)) return 1;

    Cast corner[4];
    for (int c = 0; c < 4; ++c) loadCorner(data, c, &corner[c]);
    // Corners in the published order: south row west to east, then north.
    static const int kOrder[4] = {0, 2, 1, 3};
    const double cornerLon[4] = {data->boxLongitude[0], data->boxLongitude[0], data->boxLongitude[1],
                                 data->boxLongitude[1]};
    const double cornerLat[4] = {data->boxLatitude[0], data->boxLatitude[1], data->boxLatitude[0],
                                 data->boxLatitude[1]};

    // The ocean of the bottles' position: that of the nearest cast with data.
    double best = 1.0e10;
    int nearest = -1;
    for (int c : kOrder) {
        if (corner[c].n == 0) continue;
        const double d2 = (cornerLon[c] - lon) * (cornerLon[c] - lon) + (cornerLat[c] - latitude) * (cornerLat[c] - latitude);
        if (d2 < best) {
            best = d2;
            nearest = c;
        }
    }
    if (nearest < 0) return 1;
    const int32_t ocean = data->cornerOcean[nearest];

    const double rx = std::fabs(std::fmod(lon, 4.0)) / 4.0;
    const double ry = std::fabs(std::fmod(latitude + 80.0, 4.0)) / 4.0;
    const double bilinear[4] = {(1 - rx) * (1 - ry), (1 - rx) * ry, rx * (1 - ry), rx * ry};
    double scratch[ND_NLEV], pres[ND_NLEV];
    for (int q = 0; q < ND_NLEV; ++q) pres[q] = data->pressure[q];

    for (int32_t k = 0; k < n; ++k) {
        const double sk = s[k], tk = t[k], pk = p[k];
        if (!(sk >= 0.0 && sk <= 42.0 && tk >= -2.5 && tk <= 40.0 && pk >= 0.0 && pk <= 10000.0)) {
            gamma[k] = lowerError[k] = upperError[k] = missingValue;
            continue;
        }
        double sum = 0, err1 = 0, err2Lo = 0, err2Hi = 0, wsum = 0;
        double wts[4], labels[4];
        int used = 0;
        for (int c : kOrder) {
            const Cast &cc = corner[c];
            if (cc.n == 0) continue;
            double wt = bilinear[c] + 1.0e-6;  // a bottle on a grid point still averages all four
            if (!oceanTest(lon, latitude, ocean, cornerLon[c], cornerLat[c], data->cornerOcean[c], pk)) wt = 0.0;
            double sns, tns, pns;
            depthNs(cc.s, cc.t, pres, cc.n, sk, tk, pk, scratch, &sns, &tns, &pns);
            double gw = 0, g1 = 0, g2l = 0, g2h = 0;
            if (pns > -99.0) {
                const int32_t kns = indx(pres, cc.n, pns);
                if (kns >= 0 && kns + 1 < cc.n) {
                    gw = gammaQdr(pres[kns], cc.g[kns], cc.a[kns], pres[kns + 1], cc.g[kns + 1], pns);
                    gammaErrors(cc.s, cc.t, pres, cc.g, cc.a, cc.n, cornerLat[c], sk, tk, pk, sns, tns, pns, kns, gw,
                                &g1, &g2l, &g2h);
                }
            } else if (pns == -99.0) {
                goor(cc.s, cc.t, pres, cc.g, cc.n, sk, tk, pk, &gw, &g1, &g2l, &g2h);
                const double deepest = cc.g[cc.n - 1];
                if (gw > deepest) {
                    // Fade the contribution out 0.3 units beyond the cast's densest label.
                    const double rw = std::min(0.3, gw - deepest) / 0.3;
                    wt *= 1 - rw;
                }
            }
            if (gw > 0.0) {
                sum += wt * gw;
                err1 += wt * g1;
                err2Lo = std::max(err2Lo, g2l);
                err2Hi = std::max(err2Hi, g2h);
                wsum += wt;
                wts[used] = wt;
                labels[used] = gw;
                ++used;
            }
        }
        if (wsum != 0.0) {
            const double g = sum / wsum;
            err1 /= wsum;
            double spread = 0;
            for (int u = 0; u < used; ++u) spread += wts[u] * std::fabs(labels[u] - g);
            spread /= wsum;
            gamma[k] = g;
            lowerError[k] = std::max({0.0005, err1, err2Lo, spread});
            upperError[k] = std::max({0.0005, err1, err2Hi, spread});
        } else {
            gamma[k] = lowerError[k] = upperError[k] = missingValue;
        }
    }
    return 0;
}

KESTREL_API void KESTREL_CDECL NDgamma_errors(const double *s, const double *t, const double *p, const double *gamma,
                                              const double *a, int32_t n, double longitude, double latitude,
                                              double s0, double t0, double p0, double sns, double tns, double pns,
                                              int32_t kns, double gammaNs, double *pthError, double *scvLowError,
                                              double *scvHighError) {
    (void)longitude;
    double pth = 0, lo = 0, hi = 0;
    if (s && t && p && gamma && a && n >= 2) gammaErrors(s, t, p, gamma, a, n, latitude, s0, t0, p0, sns, tns, pns, kns,
                                                        gammaNs, &pth, &lo, &hi);
    if (pthError) *pthError = pth;
    if (scvLowError) *scvLowError = lo;
    if (scvHighError) *scvHighError = hi;
}

KESTREL_API double KESTREL_CDECL NDgamma_qdr(double pl, double gl, double a, double pu, double gu, double p) {
    return gammaQdr(pl, gl, a, pu, gu, p);
}

KESTREL_API int32_t KESTREL_CDECL NDocean_test(double lon1, double lat1, int32_t ocean1, double lon2, double lat2,
                                               int32_t ocean2, double p) {
    return oceanTest(lon1, lat1, ocean1, lon2, lat2, ocean2, p);
}

KESTREL_API void KESTREL_CDECL NDdepth_ns(const double *s, const double *t, const double *p, int32_t n, double s0,
                                          double t0, double p0, double *sns, double *tns, double *pns) {
    double rs = -99.0, rt = -99.0, rp = -99.0;
    if (s && t && p && n > 0) {
        std::vector<double> e(static_cast<size_t>(n));
        depthNs(s, t, p, n, s0, t0, p0, e.data(), &rs, &rt, &rp);
    }
    if (sns) *sns = rs;
    if (tns) *tns = rt;
    if (pns) *pns = rp;
}

KESTREL_API void KESTREL_CDECL NDdepth_scv(const double *s, const double *t, const double *p, int32_t n, double s0,
                                           double t0, double p0, double *sscv, double *tscv, double *pscv,
                                           int32_t *nscv) {
    if (!sscv || !tscv || !pscv) return;
    int32_t found = 0;
    if (s && t && p && n > 0) {
        std::vector<double> e(static_cast<size_t>(n));
        depthScv(s, t, p, n, s0, t0, p0, e.data(), sscv, tscv, pscv, &found);
    } else {
        sscv[0] = tscv[0] = pscv[0] = -99.0;
    }
    if (nscv) *nscv = found;
}

KESTREL_API void KESTREL_CDECL NDe_solve(const double *s, const double *t, const double *p, const double *e, int32_t n,
                                         int32_t k, double s0, double t0, double p0, double *sns, double *tns,
                                         double *pns, int32_t *iterations) {
    double rs = -99.0, rt = -99.0, rp = -99.0;
    int32_t it = 0;
    if (s && t && p && e && k >= 1 && k < n) eSolve(s, t, p, e, k, s0, t0, p0, &rs, &rt, &rp, &it);
    if (sns) *sns = rs;
    if (tns) *tns = rt;
    if (pns) *pns = rp;
    if (iterations) *iterations = it;
}

KESTREL_API void KESTREL_CDECL NDscv_solve(const double *s, const double *t, const double *p, const double *e,
                                           int32_t n, int32_t k, double s0, double t0, double p0, double *sscv,
                                           double *tscv, double *pscv, int32_t *iterations) {
    double rs = -99.0, rt = -99.0, rp = -99.0;
    int32_t it = 0;
    if (s && t && p && e && k >= 1 && k < n) scvSolve(s, t, p, e, k, s0, t0, p0, &rs, &rt, &rp, &it);
    if (sscv) *sscv = rs;
    if (tscv) *tscv = rt;
    if (pscv) *pscv = rp;
    if (iterations) *iterations = it;
}

KESTREL_API void KESTREL_CDECL NDgoor_solve(double sl, double tl, double el, double su, double tu, double eu, double p,
                                            double s0, double t0, double p0, double sigb, double *sns, double *tns) {
    double rs = 0, rt = 0;
    goorSolve(sl, tl, el, su, tu, eu, p, s0, t0, p0, sigb, &rs, &rt);
    if (sns) *sns = rs;
    if (tns) *tns = rt;
}

KESTREL_API void KESTREL_CDECL NDgoor(const double *s, const double *t, const double *p, const double *gamma, int32_t n,
                                      double sb, double tb, double pb, double *gammab, double *g1Error,
                                      double *g2LowError, double *g2HighError) {
    double g = -99.0, e1 = 0, e2l = 0, e2h = 0;
    if (s && t && p && gamma && n >= 2) goor(s, t, p, gamma, n, sb, tb, pb, &g, &e1, &e2l, &e2h);
    if (gammab) *gammab = g;
    if (g1Error) *g1Error = e1;
    if (g2LowError) *g2LowError = e2l;
    if (g2HighError) *g2HighError = e2h;
}

KESTREL_API int32_t KESTREL_CDECL NDindx(const double *x, int32_t n, double z) { return x ? indx(x, n, z) : -1; }

KESTREL_API void KESTREL_CDECL NDsig_vals(double s1, double t1, double p1, double s2, double t2, double p2,
                                          double *sig1, double *sig2) {
    double a = 0, b = 0;
    sigVals(s1, t1, p1, s2, t2, p2, &a, &b);
    if (sig1) *sig1 = a;
    if (sig2) *sig2 = b;
}

KESTREL_API void KESTREL_CDECL NDstp_interp(const double *s, const double *t, const double *p, int32_t n, double *s0,
                                            double *t0, double p0) {
    double a = std::nan(""), b = std::nan("");
    if (s && t && p && n > 0) stpInterp(s, t, p, n, &a, &b, p0);
    if (s0) *s0 = a;
    if (t0) *t0 = b;
}

KESTREL_API double KESTREL_CDECL NDeos8d(double s, double t, double p, double *drv) { return eos8d(s, t, p, drv); }

KESTREL_API void KESTREL_CDECL NDeosall(double s, double t, double p, double *theta, double *sigmaTheta,
                                        double *alpha, double *beta, double *gamma, double *soundSpeed) {
    eosall(s, t, p, theta, sigmaTheta, alpha, beta, gamma, soundSpeed);
}

KESTREL_API void KESTREL_CDECL NDderthe(double s, double t, double p, double *dThetaDt, double *dThetaDs,
                                        double *dThetaDp) {
    derthe(s, t, p, dThetaDt, dThetaDs, dThetaDp);
}

KESTREL_API double KESTREL_CDECL NDtheta(double s, double t, double p, double pr) {
    return kestrel::nd::theta(s, t, p, pr);
}

KESTREL_API double KESTREL_CDECL NDsvan(double s, double t, double p, double *sigma) {
    return kestrel::nd::svan(s, t, p, sigma);
}

KESTREL_API double KESTREL_CDECL NDatg(double s, double t, double p) { return atg(s, t, p); }

}  // extern "C"
