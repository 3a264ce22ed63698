// Echo-sounding correction tables (Carter 1980, "Echo-Sounding Correction
// Tables", 3rd edition, Hydrographic Department NP 139; corrections for
// soundings made with a nominal sound speed of 1500 m/s, 85 areas).
//
// Generated at build time by tools/carter_tables.py (see ocean/generate.cmake).
// Both tables are signed 16-bit numbers whose stored indices are one-based
// positions in the same table: position p is element [p - 1].
//
// kCarterArea: positions 1..181 hold, for latitude band b = 0..180 (band
// 90 - integer latitude), the position of the band's block; position 182 is
// one past the last number, so band b's block ends where band b + 1's begins.
// A block is the band's latitude, then pairs (western longitude boundary in
// whole degrees, area number) in increasing longitude; every block starts
// with a pair at -180.
//
// kCarterCorrection: positions 1..85 hold the position of area a's block,
// position 86 one past the last number. A block is the area number, then the
// corrected depths in metres for uncorrected 200, 300, 400, ... m, strictly
// increasing, at least two of them.
#ifndef KESTREL_OCEAN_CARTER_H
#define KESTREL_OCEAN_CARTER_H

#include <cstdint>

namespace kestrel {

extern const int16_t kCarterArea[];
extern const int32_t kCarterAreaCount;
extern const int16_t kCarterCorrection[];
extern const int32_t kCarterCorrectionCount;

}  // namespace kestrel

#endif
