// Tidy contour labels for the library's own pictures (the kestrel command).
//
// ContourField places its labels at random along each line, as hosts expect;
// in a dense or crowded field some run over the frame, over each other, or
// under what is painted afterwards. Held labels are placed instead after the
// whole picture under them is known: every label sits on a straight stretch
// of its own line, reads left to right (or bottom to top), stays inside the
// frame, keeps clear of the other labels and of the other lines where it
// can, and is never put where later painting (erased cells, a filled
// seafloor) would hide it. They are drawn by CToutlbl, so the screen and
// the PostScript show the same labels.
#ifndef KESTREL_CONTOUR_LABELS_H
#define KESTREL_CONTOUR_LABELS_H

#include <cstdint>
#include <utility>
#include <vector>

#include "kestrel/contour.h"
#include "kestrel/types.h"

namespace kestrel {

// Asks the next ContourField to hold its labels back: it draws the lines as
// always but no labels, keeping the lines' paths for drawHeldContourLabels.
// From now until drawHeldContourLabels, filled polygons and erased cells are
// noted too, so that no label is placed where they would hide it.
void holdContourLabels();

// Places the held labels and draws them on dc and as the ContourLabels
// object of the PostScript file (either may be null), with the user system
// of the ContourField call. Returns the number of labels drawn; 0 when
// nothing is held. Ends the hold.
int drawHeldContourLabels(KDC dc, KFILE ps);

// One label as drawn: its level, user position and angle, and the text box
// in device pixels as the text layout drew it (corners in order around the
// box).
struct PlacedLabelBox {
    float level = 0, x = 0, y = 0, angle = 0;
    double px[4] = {0, 0, 0, 0}, py[4] = {0, 0, 0, 0};
};

// A traced line of a labelled level, in device pixels.
struct LabelledPath {
    float level = 0;
    std::vector<std::pair<double, double>> points;
};

// What the last drawHeldContourLabels drew and had to keep clear of, in
// device pixels: the frame (left < right, top < bottom), the labels, the
// lines of the labelled levels, and the covered areas (rectangles x0, y0,
// x1, y1 and polygons).
struct LabelLayout {
    int32_t left = 0, right = 0, top = 0, bottom = 0;
    std::vector<PlacedLabelBox> labels;
    std::vector<LabelledPath> paths;
    std::vector<std::vector<std::pair<double, double>>> covers;
};
const LabelLayout &lastLabelLayout();

// When set, CToutlbl appends the box of every label it draws on a device
// context here.
extern std::vector<PlacedLabelBox> *gLabelBoxTrace;

// The hooks of ContourField (field.cpp).
bool takeLabelHold();  // true once after holdContourLabels
void beginHeldLabels(const KContourLevel *levels, int32_t count);
void setHeldLevel(int32_t index);  // the level whose pieces follow
void recordHeldPiece();            // the piece in Vfp/nVp
extern void (*gPieceSink)();       // called by ContourLine after each piece when set

}  // namespace kestrel

#endif
