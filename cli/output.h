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

// Finishes the PostScript file ps (null: none) with trailer and the
// bounding box of the ink on dc (pixels at ppl per centimetre, widened a
// little for the PostScript's own fonts) and closes it, writes the w x h
// picture dc as NAME.png and NAME.gif, and says on stdout what it wrote (on
// stderr what it could not). False when a file could not be written.
bool writePicture(KDC dc, KFILE ps, const char *trailer, const std::string &name, int w, int h, float ppl = 40.0f);

#endif
