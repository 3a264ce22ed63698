/*
 * Kestrel: library start-up, error log and user-interface services.
 *
 * Everything here runs on the host's user-interface thread.
 */
#ifndef KESTREL_FRAME_H
#define KESTREL_FRAME_H

#include "globals.h"

KESTREL_EXTERN_C_BEGIN

/* Start-up. Runs from the library's load notification on every process and
 * thread attach and detach (on POSIX once, from a load-time constructor):
 * re-reads the system information, resets mCGS and takes the stock black pen
 * and brush. The default font, the text-layout spacing and the emptying of
 * szErrorLogFile happen only on the first call in the process. */
KESTREL_API void KESTREL_CALL initKestrel(void);

/* Appends "Mon/DD/YYYY hh:mm:ss> text: message" to szErrorLogFile, where
 * message is the platform's text for the last error (on POSIX, errno), and,
 * when show is nonzero, shows that message in a box captioned text.
 * An empty szErrorLogFile turns off both. Returns 0. */
KESTREL_API int32_t KESTREL_CALL LogLastError(const char *text, int32_t show);

/* Shows text in the status bar and copies it to VStatusLine (keep it below
 * 400 characters). */
KESTREL_API void KESTREL_CALL UpdateStatusBar(const char *text);

/* Creates a progress bar over the status-bar part lpSBParts[0]..[1] with the
 * range 0..range and the given step; the caller advances and destroys it. */
KESTREL_API KWND KESTREL_CALL MyProgressBar(int32_t range, int32_t step);

/* Dispatches every waiting message of hWnd; never waits. Returns 0. */
KESTREL_API int32_t KESTREL_CALL PeekMessagePump(void);

/* Asks a yes/no question unless *ask is 0. Returns 1 for "Yes"; any other
 * answer clears *ask, so a loop passing the same flag is asked only until
 * the first "No". */
KESTREL_API int32_t KESTREL_CALL YesNoQuery(const char *text, const char *caption, int32_t *ask);

/* Repaints hWndClient at once, without erasing its background. */
KESTREL_API void KESTREL_CALL UpdateView(void);

/* Nonzero when the mouse cursor lies inside the window's screen rectangle. */
KESTREL_API int32_t KESTREL_CALL MouseOverWindow(KWND window);

/* The ten-entry key queue. KBInitialize empties it (it must be called before
 * first use). KBAddKey beeps and drops the event when the queue is full.
 * KBGetKey must only be called when KBEmpty is 0: on an empty queue it never
 * returns. The read position KBfirst is advanced without wrapping, as the
 * host expects; a read past slot 9 yields the event in slot KBfirst mod 10. */
KESTREL_API void KESTREL_CALL KBInitialize(void);
KESTREL_API void KESTREL_CALL KBAddKey(int32_t typ, int32_t one, int32_t two);
KESTREL_API void KESTREL_CALL KBGetKey(int32_t *typ, int32_t *one, int32_t *two);

KESTREL_EXTERN_C_END

#endif /* KESTREL_FRAME_H */
