// The last step of every command that draws: the picture written out.
#ifndef KESTREL_CLI_OUTPUT_H
#define KESTREL_CLI_OUTPUT_H

#include <string>

#include "kestrel/types.h"

// The PostScript preamble: the one asked for, else one installed beside
// the program argv0, else the source tree's.
std::string findPreamble(const std::string &asked, const char *argv0);

// True when the folder that NAME.png and the others go to exists; else says
// so in one line on stderr, before any work is done.
bool outputFolderExists(const std::string &name);

// The PostScript header of a w x h pixel picture at ppl pixels per
// centimetre (the preamble's length unit): the title, a page exactly the
// picture's size (so nothing is cut, whatever paper the viewer assumes) and
// the bounding box, given at the end when the drawing is known.
std::string postscriptHeader(const std::string &title, int w, int h, float ppl);

// What a drawing command writes: the formats of --formats, and how.
struct OutputOptions {
    bool png = true, gif = true, ps = true, eps = false, pdf = false, svg = false;
    bool antialias = true;  // PNG smoothed (--no-antialias: the screen's pixel rules)
    float dpi = 0;          // PNG resolution; 0: the canvas's own (40 pixels per cm)
    bool postscript() const { return ps || eps; }
    bool vector() const { return (png && antialias) || pdf || svg; }
};

// The output options at argv[*i] (--formats LIST, --no-antialias, --dpi N):
// 1 when one was read (*i then at its last word), 0 when argv[*i] is none
// of them, -1 after one line on stderr for a bad value.
int parseOutputOption(int argc, char **argv, int *i, OutputOptions *o);
extern const char *const kOutputUsage;

// The canvases one drawing fills: the pixel canvas (the GIF, the PNG
// without antialiasing, the ink's box) and, when a smooth PNG, a PDF or an
// SVG is wanted, a vector canvas that repeats every call made on it.
struct Picture {
    KDC canvas = nullptr, vector = nullptr;
    int w = 0, h = 0;
};
// False (after one line on stderr) when a canvas cannot be made.
bool createPicture(int w, int h, const OutputOptions &o, Picture *p);
void destroyPicture(Picture *p);

// Finishes the PostScript file ps (null: none) as writePicture below does,
// writes NAME.eps from it when asked, and writes each format of o from the
// picture. False when a file could not be written.
bool writePicture(const Picture &p, KFILE ps, const char *trailer, const std::string &name, const OutputOptions &o,
                  float ppl = 40.0f);

// Finishes the PostScript file ps (null: none) with trailer and the
// bounding box of the ink on dc (pixels at ppl per centimetre, widened a
// little for the PostScript's own fonts) and closes it, writes the w x h
// picture dc as NAME.png and NAME.gif, and says on stdout what it wrote (on
// stderr what it could not). False when a file could not be written.
bool writePicture(KDC dc, KFILE ps, const char *trailer, const std::string &name, int w, int h, float ppl = 40.0f);

#endif
