/*
 * Kestrel: dissolved gases and the carbonate system.
 *
 * Arguments are 32-bit floats (temperature in deg C, salinity on the
 * practical scale), results double precision unless said. Temperatures are
 * converted to kelvin as T = t + 273.15.
 */
#ifndef KESTREL_GAS_H
#define KESTREL_GAS_H

#include "types.h"

KESTREL_EXTERN_C_BEGIN

/* Oxygen saturation concentration in umol/kg (Weiss 1970, in ml/l, times
 * 43.53: ml/l to umol/l over a seawater density of about 1.026 kg/l). */
KESTREL_API double KESTREL_CALL o2sat(float temperature, float salinity);

/* Equilibrium concentration of a transient tracer: the solubility function F
 * times atmosphericLevel, so the unit follows the level (F in mol/(kg atm)
 * times a dry-air mole fraction gives mol/kg).
 * gas: 0 CFC-11, 1 CFC-12 (Warner and Weiss 1985, gravimetric F); 2, 3 and 4
 * are further gases of the host with the same form of function. NaN for any
 * other gas index. */
KESTREL_API double KESTREL_CALL CFCSaturation(float temperature, float salinity, float atmosphericLevel,
                                              int32_t gas);

/* Carbonate equilibrium constants, in mol/kg-seawater, in this order:
 *   k1, k2  first and second dissociation constants of carbonic acid
 *   kw      ion product of water
 *   ks      bisulfate dissociation constant (free hydrogen-ion scale)
 *   kf      hydrogen fluoride dissociation constant
 *   kb      boric acid dissociation constant
 *   k0      CO2 solubility in mol/(kg atm) (Weiss 1974)
 *   tk      the kelvin temperature times 5.457956677468874e-12, as the host uses it
 * constantSet 1: k1, k2 of Mehrbach et al. (1973) as refitted by Dickson and
 *   Millero (1987), seawater scale; kw Millero (1995), total-scale form;
 *   ks Dickson (1990); kf Dickson and Riley (1979) on the total scale; kb
 *   Dickson (1990), total scale.
 * Any other constantSet: a consistent seawater-scale set: k1, k2 Millero (1995)
 *   (Millero 1979 pure-water terms with salinity terms fitted to seawater
 *   measurements); kw Millero (1995), seawater scale; ks Dickson (1990);
 *   kf Dickson and Riley (1979), free scale; kb Dickson (1990) converted to the
 *   seawater scale with ks, kf and the total sulfate and fluoride of Morris and
 *   Riley (1966) and Riley (1965).
 * Null output pointers are skipped. */
KESTREL_API void KESTREL_CALL CO2EquConst(int32_t constantSet, float temperature, float salinity, double *k1,
                                          double *k2, double *kw, double *ks, double *kf, double *kb, double *k0,
                                          double *tk);

/* Carbonate system from total dissolved inorganic carbon and total alkalinity
 * (both umol/kg), with the constants of CO2EquConst(constantSet, ...) and total
 * borate 0.0004106 * S / 35 mol/kg (Uppström 1974). The hydrogen-ion
 * concentration [H] closes the alkalinity balance
 *   TA = TC (K1 [H] + 2 K1 K2) / D + TB KB / (KB + [H]) + KW / [H] - [H],
 *   D = [H]^2 + K1 [H] + K1 K2,
 * found by IterateTowardsZero on pH between 6 and 10. The outputs are then
 *   pH        -log10 [H], on the scale of the constant set's K1 and K2
 *   pCO2      partial pressure of CO2 in uatm: [CO2*] / K0 is the fugacity,
 *             divided by the fugacity coefficient of Weiss (1974) at 1 atm
 *   co2       dissolved CO2* = TC [H]^2 / D, umol/kg
 *   hco3      bicarbonate  = TC K1 [H] / D, umol/kg
 *   co3       carbonate    = TC K1 K2 / D, umol/kg
 * Every output starts as missingValue and stays so unless -2.5 <= t <= 45,
 * 0 <= S <= 42, 0 <= TC <= 4000 and 0 <= TA <= 4000 and a pH between 6 and 10
 * closes the balance. Returns 1 when the outputs were computed, else 0. Uses
 * the process-wide root-search state. Null output pointers are skipped. */
KESTREL_API int32_t KESTREL_CALL CComp1(int32_t constantSet, float temperature, float salinity, float totalCarbon,
                                        float alkalinity, float missingValue, float *pH, float *pCO2, float *co2,
                                        float *hco3, float *co3);

KESTREL_EXTERN_C_END

#endif /* KESTREL_GAS_H */
