// Double-precision cores of the seawater formulas (exported in
// include/kestrel/seawater.h with float arguments). Units as there: pressure
// in dbar, temperature in deg C (IPTS-68), practical salinity.
#ifndef KESTREL_OCEAN_SEAWATER_IMPL_H
#define KESTREL_OCEAN_SEAWATER_IMPL_H

namespace kestrel {

double specificVolume(double p, double t, double s);       // EOS80, cm3/g
double lapseRate(double p, double t, double s);            // adtg, deg C per 1000 dbar
double potentialTemperature(double p, double t, double s, double pr);
double soundSpeed(double p, double t, double s);
double heatCapacity(double p, double t, double s);

}  // namespace kestrel

#endif
