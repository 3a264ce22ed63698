// Internal hooks of the text layout, for the library's own tests and hosts.
#ifndef KESTREL_PLOT_TEXT_H
#define KESTREL_PLOT_TEXT_H

#include <vector>

namespace kestrel {

// One character as CharOut placed it in a drawing pass: the device position
// of its baseline start (after the raise), the raise in line heights and the
// font height it was drawn with.
struct PlacedChar {
    char c;
    double x, y;
    double raise;
    int fontHeight;
    int family;
};

// When set, every drawing pass appends its characters here.
extern std::vector<PlacedChar> *gTextTrace;

// Deselects and deletes the library font (before its device context goes away).
void releaseLibraryFont();

}  // namespace kestrel

#endif
