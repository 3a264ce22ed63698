// The steps of the neutral density algorithm in double precision, shared by
// the exported ND routines (ocean/neutral.cpp) and the equation of state
// (ocean/neutral_eos.cpp). Cast arrays are 0-based here.
#ifndef KESTREL_OCEAN_NEUTRAL_IMPL_H
#define KESTREL_OCEAN_NEUTRAL_IMPL_H

#include <cstdint>

namespace kestrel::nd {

double atg(double s, double t, double p);
double theta(double s, double t0, double p0, double pr);
double svan(double s, double t, double p0, double *sigma);
double eos8d(double s, double t, double p0, double *drv);
void derthe(double s, double t, double p, double *dthedt, double *dtheds, double *dthedp);
void eosall(double s, double t, double p, double *thet, double *sigthe, double *alfnew, double *betnew,
            double *gamnew, double *soundv);

}  // namespace kestrel::nd

#endif
