// Library state that is not shared with the host.
#ifndef KESTREL_FRAME_STATE_H
#define KESTREL_FRAME_STATE_H

namespace kestrel {

// Text layout: extra line spacing as a fraction of the font height, and the
// factor applied to the width of the trailing space ("I") of a string.
// Set once per process by initKestrel; the host may not change them.
extern double gTextLineSpacing;
extern double gTextSpaceFactor;

}  // namespace kestrel

#endif
