// Internal interface of the contouring code.
#ifndef KESTREL_CONTOUR_INTERNAL_H
#define KESTREL_CONTOUR_INTERNAL_H

#include "plot/psstream.h"
#include <cstddef>
#include <cstdint>
#include <functional>

#include "kestrel/contour.h"
#include "kestrel/globals.h"
#include "plot/transform.h"

namespace kestrel {

// Appends a traced point to the shared vertex buffers: Vfp in user units,
// Vip in pixels. The callers keep nVp below the buffers' 1500 entries.
inline void appendVertex(double x, double y) {
    const float fx = static_cast<float>(x), fy = static_cast<float>(y);
    Vfp[nVp][0] = fx;
    Vfp[nVp][1] = fy;
    Vip[nVp][0] = xPixel(fx);
    Vip[nVp][1] = yPixel(fy);
    ++nVp;
}

// The largest grid a GRIDSEGMENT can address.
constexpr int32_t kMaxGridLines = 32767;
// Vertices beyond this many are dropped; the tracer flushes long before.
constexpr int32_t kMaxPathVertices = 1400;
// A piece is output as soon as it holds more than this many vertices.
constexpr int32_t kPieceVertices = 1000;

// The node value that a node equal to the level is moved to: the product
// with the single-precision 0.99999, formed in double and stored as a float.
inline float nudgedValue(float v) { return static_cast<float>(static_cast<double>(v) * static_cast<double>(0.99999f)); }

// ---- Label random generator ---------------------------------------------------
// A linear congruential generator, state * 214013 + 2531011 (mod 2^32),
// result (state >> 16) & 32767. Seeded with 1 at the start of every field, so
// a field's labels land at the same places each time it is drawn.
void labelRandomSeed(uint32_t seed);
int32_t labelRandom();

// Direction in degrees (0..360) of the step from (x1, y1) to (x2, y2) with the
// differences scaled by xs and ys; near-vertical steps count as exactly
// vertical and a step shorter than 0.001 in both scaled directions is 0.
double stepDirection(double x1, double y1, double x2, double y2, double xs, double ys);

// Appends the labels of the polyline held in Vfp/nVp (label placement of
// CToutpth).
void placeLabels(KContourLabel *labels, int32_t *labelCount, float level, int32_t labelFactor, int32_t labelColour,
                 int32_t labelSize, int32_t labelFill);

// formatG (printf's "%g"): plot/psstream.h.

// Traces one level (ContourLine without its output): piece() is called for
// every finished piece, held in Vfp/Vip/nVp. False when memory runs out.
bool traceLevel(float *field, const float *xcoords, int32_t nx, const float *ycoords, int32_t ny, float level,
                const std::function<void()> &piece);

// Shows the message of a failed segment-list allocation.
void segmentAllocationFailed();

}  // namespace kestrel

#endif
