/*
 * Kestrel: the host's housekeeping services.
 *
 * Paths in the host's document convention (drive, directory ending in
 * "\\", name, extension; "/" is accepted as a separator too), file lists
 * sent to one of the host's windows, dates, settings, old-file deletion and
 * starting other programs.
 *
 * On Windows the file lists go to the window with SendMessage and settings
 * come from the registry. Elsewhere the file lists go through the host's
 * sendMessage callback (canvas.h), and settings come from a text store:
 * the file named by $KESTREL_REGISTRY, else $XDG_CONFIG_HOME/kestrel/registry
 * (~/.config/kestrel/registry), with sections "[key\path]" and lines
 * "name=value".
 */
#ifndef KESTREL_HOST_H
#define KESTREL_HOST_H

#include "types.h"

KESTREL_EXTERN_C_BEGIN

/* KFindData and K_FILE_ATTRIBUTE_DIRECTORY: types.h. */
#define K_INVALID_SEARCH ((void *)(intptr_t)-1)

typedef void *KHKEY; /* a registry root key (HKEY_CURRENT_USER, ...) */

/* full = rel completed against ref: rel's missing drive from ref, a rel
 * directory not starting with "\\" appended to ref's directory. ".." stays
 * for the system to resolve. Returns the length written; full holds at
 * least KESTREL_MAX_PATH characters (longer results are cut). */
KESTREL_API int32_t KESTREL_CALL PathRel2Full(const char *rel, char *full, const char *ref);

/* out = path cut after its last backslash ("C:\\data\\run1\\" and
 * "C:\\data\\run1" give "C:\\data\\"; a name without one keeps its first
 * character). Returns that backslash's position (0 when none). */
KESTREL_API int32_t KESTREL_CALL GetParentDirectory(char *out, const char *path);

/* Strips blanks (Tstrip) and ends the directory with "\\", in place (room
 * for one more character, at most 255 in all). Returns 0. */
KESTREL_API int32_t KESTREL_CALL CleanDirString(char *dir);

/* Replaces " ", "/", "\\" and ":" by "_", in place. */
KESTREL_API void KESTREL_CALL ValidateFileName(char *name);

/* Sends message to window for every file of the current directory matching
 * pattern (wildcards * and ?), the name (without its extension when strip
 * is set) as the second message parameter and 0 as the first. Returns the
 * number of names sent. */
KESTREL_API int32_t KESTREL_CALL GenerateFileList(const char *pattern, KWND window, uint32_t message, int32_t strip);

/* The same for start and, with recurse set, every directory below it, each
 * name sent as directory + "\\" + name. The current directory is changed
 * meanwhile and restored. Returns 0. */
KESTREL_API int32_t KESTREL_CALL GenerateFileListEx(const char *start, const char *pattern, int32_t recurse, KWND window,
                                                    uint32_t message, int32_t strip);

/* The first child directory (not "." or "..") matching pattern: its record
 * in data and a search handle for FindNextChildDir, or K_INVALID_SEARCH.
 * Close the handle with FindClose on Windows, KFindClose elsewhere. */
KESTREL_API void *KESTREL_CALL FindFirstChildDir(const char *pattern, KFindData *data);
KESTREL_API int32_t KESTREL_CALL FindNextChildDir(void *search, KFindData *data);
KESTREL_API int32_t KESTREL_CALL IsChildDir(const KFindData *data);
#ifndef _WIN32
KESTREL_API void KESTREL_CALL KFindClose(void *search);
#endif

/* Julian day number (Gregorian from 15 October 1582); -1 for year 0,
 * negative years are years BC. */
KESTREL_API int32_t KESTREL_CALL julday(int32_t month, int32_t day, int32_t year);

/* "Nov/24/2026  17:05:09", local time, into out (at least 32 bytes). Returns
 * the length. */
KESTREL_API int32_t KESTREL_CALL GetDateTime(char *out);

/* The text value name of key (and sub, when not empty, joined with "\\")
 * under root into out (size bytes), else the default; returns its length. */
KESTREL_API int32_t KESTREL_CALL GetRegValue(KHKEY root, const char *key, const char *sub, const char *name, char *out,
                                             int32_t size, const char *defaultValue);

/* Deletes the files matching pattern (a directory and a name with
 * wildcards) last written more than days days before today (UTC). */
KESTREL_API int32_t KESTREL_CALL DeleteOldFiles(const char *pattern, int32_t days);

/* Starts command (a command line: blanks separate words, double quotes keep
 * a word whole) in directory; with wait set, waits and returns its exit
 * code, else 0; 1 when it cannot be started. */
KESTREL_API int32_t KESTREL_CALL SpawnDetachedProcess(const char *command, const char *directory, int32_t wait);

KESTREL_EXTERN_C_END

#endif /* KESTREL_HOST_H */
