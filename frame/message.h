// Message boxes of the library: shown by the host's window system, or, where
// the host has no way to show one, written to the error log with the answer
// taken (the first button: OK, or Yes for a yes/no box).
#ifndef KESTREL_FRAME_MESSAGE_H
#define KESTREL_FRAME_MESSAGE_H

namespace kestrel {

// type: the platform's MbOk, MbYesNo, ... bits. Returns IdOk, IdYes, IdNo, ...
int showMessage(const char *text, const char *caption, unsigned type);

}  // namespace kestrel

#endif
