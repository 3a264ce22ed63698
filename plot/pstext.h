// Caller and data text on its way into PostScript.
#ifndef KESTREL_PLOT_PSTEXT_H
#define KESTREL_PLOT_PSTEXT_H

#include <cstddef>
#include <string>

namespace kestrel {

// Text made safe for the inside of a PostScript string literal "(...)".
// Every parenthesis that does not already follow a backslash is escaped, a
// backslash with nothing (or a line end) after it is doubled, and control
// characters become blanks. A backslash pair is kept as it is, so the
// escapes MkePSString writes (the dieresis "~\"a", the octal "\312") still
// render. No text, whatever it holds, can close the literal early and run as
// code, and none can start a new line (the host finds objects by their
// comment lines). At most maxIn bytes of the input are read.
std::string psStringLiteral(const char *text, std::size_t maxIn = 4096);

// Text for a comment line ("%%PS-OBJECT: CDT=<name> begin"): control
// characters become blanks so that the text cannot end the comment.
std::string psCommentText(const char *text, std::size_t maxIn = 1000);

}  // namespace kestrel

#endif
