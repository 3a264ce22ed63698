#include <gtest/gtest.h>

#include "kestrel/frame.h"

int main(int argc, char **argv) {
    // The tests link the library statically, so no load notification runs it.
    initKestrel();
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}

// Leak-checker suppressions (read only by sanitizer builds): caches that
// fontconfig and FreeType keep for the life of the process, which the
// canvas's text goes through, are not leaks of Kestrel's. Defined here, in
// the object that holds main, so that the linker keeps it, and visible, so
// that the sanitizer runtime finds it.
#if defined(__GNUC__)
#define KT_VISIBLE __attribute__((visibility("default")))
#else
#define KT_VISIBLE
#endif
extern "C" KT_VISIBLE const char *__lsan_default_suppressions();
// Cairo 1.16's SVG writer keeps a reference to the recording it draws
// from (a vector canvas's) for ever: its leak, not the library's; the
// canvas object itself is still checked.
extern "C" KT_VISIBLE const char *__lsan_default_suppressions() {
    return "leak:libfontconfig.so\nleak:libfreetype.so\nleak:cairo_recording_surface_create\n";
}
