/*
 * Kestrel: file, string and geometry utilities.
 *
 * Strings are zero-terminated 8-bit arrays owned by the caller; routines that
 * change a string do so in place and never write beyond the capacity given.
 * The odd edges documented here are part of the interface: the host relies
 * on them.
 */
#ifndef KESTREL_UTIL_H
#define KESTREL_UTIL_H

#include "types.h"

KESTREL_EXTERN_C_BEGIN

/* Number of line feeds in the file, read in 199-character chunks (a longer
 * line counts once, a last line without a line feed not at all); 0 when the
 * file can't be opened.
 * The file is deliberately left open afterwards, as hosts have always had it
 * (on Windows an open file cannot be deleted or replaced). So that this
 * cannot use up the process's descriptors, one stream is kept per file name,
 * and at most 64 in all: the 65th file held releases the oldest one. The
 * library's own readers never call this routine. */
KESTREL_API int32_t KESTREL_CALL LinesInFile(const char *fileName);

/* 1 when the file opens for reading, else 0. */
KESTREL_API int32_t KESTREL_CALL IsFileExisting(const char *fileName);

/* Appends text and a line feed to the file. Returns 0 both on success and when
 * the file can't be opened. */
KESTREL_API int32_t KESTREL_CALL AppendRecord(const char *fileName, const char *text);

/* Copies a text file into an open platform file. Returns 0. */
KESTREL_API int32_t KESTREL_CALL InsertFile(KFILE file, const char *fileName);

/* Cuts the string at its first line feed; returns where it was, or null. */
KESTREL_API char *KESTREL_CALL rmNL(char *s);

/* Strips blanks, and for numbers trailing zeros after the decimal point (and
 * the point itself when nothing follows); returns the first non-blank. */
KESTREL_API char *KESTREL_CALL Tstrip(char *s);

/* Removes the extension of a path in place. */
KESTREL_API void KESTREL_CALL rmext(char *path);

/* Replaces every occurrence of find by repl, keeping the result below
 * capacity bytes: pieces that would not fit are dropped. Returns 0 when find
 * does not occur; otherwise a value without meaning. */
KESTREL_API int32_t KESTREL_CALL ReplaceInString(char *s, const char *find, const char *repl, int32_t capacity);

/* "UNIX": "\" becomes "/"; "WIN32": "/" becomes "\"; any other system name
 * leaves the path unchanged and returns nonzero. */
KESTREL_API int32_t KESTREL_CALL ReplaceSeparator(char *path, int32_t capacity, const char *system);

/* Splits line in place into at most maxFields fields at sep (the remainder
 * stays in the last field); sep " " splits at runs of spaces without limit.
 * Returns the number of fields. */
KESTREL_API int32_t KESTREL_CALL BreakLine(char *line, const char *sep, char **fields, int32_t maxFields);

/* Line ends of a file: 1 CR LF, 2 LF, 3 CR, -1 none or unreadable. */
KESTREL_API int32_t KESTREL_CALL GetEOLFileFormat(const char *fileName);

/* The length of the out buffers of dcmpnam and ExtractRHS, the host's path
 * buffer size: they write at most this many bytes, the terminating NUL
 * included, and cut longer results. */
#define KESTREL_MAX_PATH 260

/* Splits path into dir (drive and directory) and name (file and extension).
 * dir and name must each hold KESTREL_MAX_PATH bytes. */
KESTREL_API void KESTREL_CALL dcmpnam(const char *path, char *dir, char *name);

/* out = everything after the first "=" of line, cut at its line feed; out
 * must hold KESTREL_MAX_PATH bytes. Returns as rmNL on out. */
KESTREL_API char *KESTREL_CALL ExtractRHS(char *out, const char *line);

/* Writes a time-seeded random number as text into out (12 bytes suffice). */
KESTREL_API int32_t KESTREL_CALL SetStrRandom(char *out);

/* Set elements first..last (inclusive) to value; the array must hold
 * last + 1 elements. A negative first index writes nothing. */
KESTREL_API void KESTREL_CALL initf1(float *a, int32_t first, int32_t last, float value);
KESTREL_API void KESTREL_CALL inits1(int16_t *a, int32_t first, int32_t last, int16_t value);

/* rect = left, top, right, bottom. 1 inside or on the border. */
KESTREL_API int32_t KESTREL_CALL MyPtInRect(const int32_t *rect, int32_t x, int32_t y);

/* Even-odd test of a polygon given as n vertices (closed polygons repeat the
 * first vertex). Vertices level with the point are nudged in the caller's y
 * array by y * 1e-6. */
KESTREL_API int32_t KESTREL_CALL MyPtInPolygon(const float *x, float *y, int32_t n, float px, float py);
KESTREL_API int32_t KESTREL_CALL MyPtInPolygonI(const int32_t *x, const int32_t *y, int32_t n, int32_t px,
                                                int32_t py);

/* Intersection of the infinite lines through (x1,y1)-(x2,y2) and
 * (x3,y3)-(x4,y4). Returns 1 and the point, or 0 (parallel, degenerate). */
KESTREL_API int32_t KESTREL_CALL FindLineIntersect(float x1, float y1, float x2, float y2, float x3, float y3,
                                                   float x4, float y4, float *rx, float *ry);

/* First crossing of a segment with a rectangle's edge lines (bottom, top,
 * left, right) that lies within the segment's x and y range. */
KESTREL_API int32_t KESTREL_CALL FindRectIntersect(float x1, float y1, float x2, float y2, float left, float bottom,
                                                   float right, float top, float *rx, float *ry);

KESTREL_EXTERN_C_END

#endif /* KESTREL_UTIL_H */
