/*
 * Kestrel: export and calling-convention macros.
 *
 * KESTREL_API  marks every exported function and data global.
 * KESTREL_CALL is the calling convention of exported functions: __stdcall on
 *              32-bit Windows (the host imports the decorated names), plain
 *              elsewhere. The neutral-density family uses KESTREL_CDECL.
 *
 * Define KESTREL_BUILD when compiling the library itself; define KESTREL_STATIC
 * when linking the library statically (the unit tests do).
 */
#ifndef KESTREL_EXPORT_H
#define KESTREL_EXPORT_H

#if defined(_WIN32) || defined(__CYGWIN__)
#  if defined(KESTREL_STATIC)
#    define KESTREL_API
#  elif defined(KESTREL_BUILD)
#    define KESTREL_API __declspec(dllexport)
#  else
#    define KESTREL_API __declspec(dllimport)
#  endif
#  if defined(_WIN64)
#    define KESTREL_CALL
#  else
#    define KESTREL_CALL __stdcall
#  endif
#  define KESTREL_CDECL __cdecl
#else
#  if defined(KESTREL_BUILD) || defined(KESTREL_STATIC)
#    define KESTREL_API __attribute__((visibility("default")))
#  else
#    define KESTREL_API
#  endif
#  define KESTREL_CALL
#  define KESTREL_CDECL
#endif

#ifdef __cplusplus
#  define KESTREL_EXTERN_C_BEGIN extern "C" {
#  define KESTREL_EXTERN_C_END }
#else
#  define KESTREL_EXTERN_C_BEGIN
#  define KESTREL_EXTERN_C_END
#endif

#endif /* KESTREL_EXPORT_H */
