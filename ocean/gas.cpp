// Dissolved-gas saturation: oxygen and the transient tracers.
#include <cmath>
#include <limits>

#include "base/guard.h"
#include "kestrel/gas.h"

namespace {

struct Solubility {
    double a1, a2, a3, a4, b1, b2, b3;
};

// ln F = a1 + a2 (100/T) + a3 ln(T/100) + a4 (T/100)^2 + S (b1 + b2 T/100 + b3 (T/100)^2).
// 0, 1: CFC-11 and CFC-12, Warner and Weiss (1985), Deep-Sea Res. 32,
// 1485-1497, table 5 (gravimetric, mol kg-1 atm-1). 2 to 4: the host's further
// tracer gases in the same form.
constexpr Solubility kGases[] = {
    {-232.0411, 322.5546, 120.4956, -1.39165, -0.146531, 0.093621, -0.0160693},
    {-220.212, 301.8695, 114.8533, -1.39165, -0.147718, 0.093175, -0.015734},
    {-149.163, 228.998, 63.0162, 0.0, -0.405112, 0.267558, -0.0450331},
    {-231.902, 322.915, 119.111, -1.3917, -0.02547, 0.00454, 0.0002708},
    {-68.8862, 101.4956, 28.7314, 0.0, -0.076146, 0.04397, -0.0068672},
};

}  // namespace

extern "C" {

// Weiss (1970), Deep-Sea Res. 17, 721-735, eq. 4 with the ml/l coefficients
// of table 2; 43.53 converts ml/l to umol/kg (44.66 umol/ml over 1.026 kg/l).
KESTREL_API double KESTREL_CALL o2sat(float temperature, float salinity) {
    return kestrel::guarded<double>("o2sat", [&]() -> double {
        const double tk = temperature + 273.15;
        const double t = tk / 100.0;
        const double s = salinity;
        const double lnc = -173.4292 + 249.6339 * (100.0 / tk) + 143.3483 * std::log(t) - 21.8492 * t +
                           s * (-0.033096 + (0.014259 - 0.0017 * t) * t);
        return std::exp(lnc) * 43.53;
    });
}

KESTREL_API double KESTREL_CALL CFCSaturation(float temperature, float salinity, float atmosphericLevel,
                                              int32_t gas) {
    return kestrel::guarded<double>("CFCSaturation", [&]() -> double {
        if (gas < 0 || gas >= static_cast<int32_t>(sizeof kGases / sizeof kGases[0]))
            return std::numeric_limits<double>::quiet_NaN();
        const Solubility &c = kGases[gas];
        const double tk = temperature + 273.15;
        const double t = tk / 100.0;
        const double s = salinity;
        const double lnf = c.a1 + c.a2 * (100.0 / tk) + c.a3 * std::log(t) + c.a4 * t * t +
                           s * (c.b1 + (c.b2 + c.b3 * t) * t);
        return std::exp(lnf) * atmosphericLevel;
    });
}

}  // extern "C"
