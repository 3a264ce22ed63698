// Message boxes of the library: shown by the host's window system, or, where
// the host has no way to show one, written to the error log with the answer
// taken (the first button: OK, or Yes for a yes/no box).
#ifndef KESTREL_FRAME_MESSAGE_H
#define KESTREL_FRAME_MESSAGE_H

namespace kestrel {

// type: the platform's MbOk, MbYesNo, ... bits. Returns IdOk, IdYes, IdNo, ...
int showMessage(const char *text, const char *caption, unsigned type);

// The report of an exported call that ran out of memory: a message box
// captioned with the routine's name (or the error log).
void reportOutOfMemory(const char *routine);

}  // namespace kestrel

#endif
