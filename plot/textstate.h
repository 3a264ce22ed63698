// Text layout settings of the library (not shared with the host).
#ifndef KESTREL_PLOT_TEXTSTATE_H
#define KESTREL_PLOT_TEXTSTATE_H

namespace kestrel {

// Extra line spacing as a fraction of the font height, and the factor
// applied to the width of the trailing space ("I") of a string. Set once
// per process by the start-up; the host may not change them.
struct TextLayoutSettings {
    double lineSpacing = 0.2;
    double spaceFactor = 1.0;
};
extern TextLayoutSettings gTextLayout;

}  // namespace kestrel

#endif
