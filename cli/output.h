// The last step of every command that draws: the picture written out.
#ifndef KESTREL_CLI_OUTPUT_H
#define KESTREL_CLI_OUTPUT_H

#include <string>

#include "kestrel/types.h"

// Finishes the PostScript file ps (null: none) with trailer and closes it,
// writes the w x h picture dc as NAME.png and NAME.gif, and says on stdout
// what it wrote (on stderr what it could not). False when a file could not
// be written.
bool writePicture(KDC dc, KFILE ps, const char *trailer, const std::string &name, int w, int h);

#endif
