// On POSIX the library starts itself up when it is loaded, as the Windows DLL
// does from its entry point.
#include "platform/platform.h"

namespace {
__attribute__((constructor)) void kestrelOnLoad() { kestrel::plat::onLibraryLoad(); }
}  // namespace
