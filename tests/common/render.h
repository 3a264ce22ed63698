// Rendering PostScript with Ghostscript and comparing pictures, for tests
// that prove an object's PostScript draws the same picture as its screen
// side.
//
// The measure: a pixel is "ink" when it is not white. An ink pixel of one
// picture is matched when the other picture has a pixel within `radius`
// pixels (a square neighbourhood) whose colour differs by at most `tol` in
// each channel. The share of differing pixels is
//   (unmatched ink of a + unmatched ink of b) / (ink of a + ink of b),
// so it ignores the white page and forgives the one-pixel shifts that come
// from truncating to pixels on the screen and covering pixels in
// PostScript, but not a missing, moved or miscoloured object.
#ifndef KESTREL_TESTS_RENDER_H
#define KESTREL_TESTS_RENDER_H

#include <string>

#include "common/picture.h"

namespace kt {

// The Ghostscript command ("gs", or $KESTREL_GS), or "" when there is none.
std::string ghostscript();

// Renders the first page of a PostScript file into a PNG of w x h pixels at
// dpi dots per inch, without antialiasing. A page length unit of one
// centimetre at p pixels per unit needs dpi = 2.54 p. On failure returns
// false and puts Ghostscript's messages into *log.
bool renderPostScript(const std::string &psPath, int w, int h, double dpi, const std::string &pngPath,
                      std::string *log = nullptr);

struct ImageDiff {
    long inkA = 0, inkB = 0;        // ink pixels of each picture
    long missA = 0, missB = 0;      // of those, unmatched in the other
    double share = 0;               // (missA + missB) / (inkA + inkB), 0 when both are blank
};
ImageDiff compareImages(const Image &a, const Image &b, int radius = 1, int tol = 24);

// Renders dir/plot.ps at the size of dc's picture (dpi as above), keeps
// screen.png, ps.png and diff.png in dir for a person, and compares the
// screen with the paper. A rendering failure fails the test.
ImageDiff compareWithPostScript(KDC dc, const std::string &dir, double dpi, int radius, int tol);

// A picture for a person: matched ink grey, ink only in a blue, only in b red.
Image diffImage(const Image &a, const Image &b, int radius = 1, int tol = 24);

}  // namespace kt

// Skips the current test when Ghostscript is not installed.
#define KT_REQUIRE_GHOSTSCRIPT()                                                  \
    do {                                                                          \
        if (kt::ghostscript().empty()) GTEST_SKIP() << "Ghostscript (gs) not found"; \
    } while (0)

#endif
