// The DLL entry point: every loader notification (process and thread attach
// and detach alike) runs the library's start-up, without looking at the
// reason; a thread attach therefore resets the graphics state, which the host
// expects.
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#include <windows.h>

#include "platform/platform.h"

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD, LPVOID) {
    kestrel::plat::onLibraryLoad();
    return TRUE;
}
