// Carbonate equilibrium constants (exported as CO2EquConst in
// include/kestrel/gas.h, which documents the sets and their sources).
#ifndef KESTREL_OCEAN_CARBONATE_H
#define KESTREL_OCEAN_CARBONATE_H

#include <cstdint>

namespace kestrel {

struct CarbonateConstants {
    double k1, k2, kw, ks, kf, kb, k0, tk;
};

// t in deg C, s practical salinity; mol/kg-seawater, k0 in mol/(kg atm).
CarbonateConstants carbonateConstants(int32_t set, double t, double s);

}  // namespace kestrel

#endif
