// Internal interface of the GIF writer, for BMPtoGIF and for the tests and
// benchmarks that feed it pictures that are already palette indices.
#ifndef KESTREL_PLOT_GIF_H
#define KESTREL_PLOT_GIF_H

#include <cstddef>
#include <cstdint>

#include "kestrel/types.h"

namespace kestrel::gif {

// Writes a whole GIF89a file to file, from its current position: header,
// the 256-entry colour table built from Vcolor and mCGS.paletteSize, one
// width x height image whose rows start stride bytes apart at pixels, and the
// trailer. Runs the exported encoder exactly as BMPtoGIF does (its state
// globals are set up first; hGIF is file during the call and lpPrefixTable
// the child table, both null again afterwards). Returns false, having
// written nothing, when the child table cannot be allocated.
bool writeIndexedImage(KFILE file, const uint8_t *pixels, size_t stride, uint16_t width, uint16_t height);

}  // namespace kestrel::gif

#endif  // KESTREL_PLOT_GIF_H
