// Font specifications and their PostScript names.
#include <cstring>

#include "base/guard.h"
#include "kestrel/postscript.h"

extern "C" {

KESTREL_API void KESTREL_CALL SetDfltFont(KFontSpec *fs) {
    return kestrel::guarded<void>("SetDfltFont", [&]() -> void {
        if (!fs) return;
        std::memset(fs, 0, sizeof *fs);
        fs->sizeFactor = 1.0f;
        fs->weight = 3;
        std::strcpy(fs->face[0], "Arial");
        std::strcpy(fs->face[1], "Symbol");
        std::strcpy(fs->face[2], "Helvetica");
    });
}

KESTREL_API void KESTREL_CALL SetPSFontName(KFontSpec *fs) {
    return kestrel::guarded<void>("SetPSFontName", [&]() -> void {
        if (!fs) return;
        const bool bold = fs->weight == 3, italic = fs->italic != 0;
        char face[82];
        std::memcpy(face, fs->face[0], 81);
        face[81] = '\0';  // a full face field has no terminator of its own
        char *out = fs->face[2];
        std::strcpy(out, "Helvetica");
        // A plain Times or Courier face stays "Helvetica": the preamble sets
        // plain text in its own default face.
        if (std::strstr(face, "Times")) {
            if (bold && italic) std::strcpy(out, "Times-BoldItalic");
            else if (italic) std::strcpy(out, "Times-Italic");
            else if (bold) std::strcpy(out, "Times-Bold");
        } else if (std::strstr(face, "Courier")) {
            if (bold && italic) std::strcpy(out, "Courier-BoldOblique");
            else if (italic) std::strcpy(out, "Courier-Oblique");
            else if (bold) std::strcpy(out, "Courier-Bold");
        } else {
            if (bold && italic) std::strcat(out, "-BoldOblique");
            else if (italic) std::strcat(out, "-Oblique");
            else if (bold) std::strcat(out, "-Bold");
        }
    });
}

}  // extern "C"
