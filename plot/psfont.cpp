// Font specifications and their PostScript names.
#include <cstring>

#include "kestrel/postscript.h"

extern "C" KESTREL_API void KESTREL_CALL SetDfltFont(KFontSpec *fs) {
    if (!fs) return;
    std::memset(fs, 0, sizeof *fs);
    fs->sizeFactor = 1.0f;
    fs->weight = 3;
    std::strcpy(fs->face[0], "Arial");
    std::strcpy(fs->face[1], "Symbol");
    std::strcpy(fs->face[2], "Helvetica");
}
