// Leak-checker suppressions, read only by sanitizer builds: fontconfig and
// FreeType keep caches for the life of the process, which the canvas's text
// goes through, and so do GTK and the libraries under it (type system,
// themes, input methods) for kestrel view's window; they are not leaks of
// the program's. Cairo 1.16's SVG writer keeps a reference to the
// recording it draws from (a vector canvas's) for ever; the canvas object
// itself is still checked. Visible, so that the
// sanitizer runtime finds the definition.
#if defined(__GNUC__)
#define KESTREL_CLI_VISIBLE __attribute__((visibility("default")))
#else
#define KESTREL_CLI_VISIBLE
#endif
extern "C" KESTREL_CLI_VISIBLE const char *__lsan_default_suppressions();
extern "C" KESTREL_CLI_VISIBLE const char *__lsan_default_suppressions() {
    return "leak:libfontconfig.so\nleak:libfreetype.so\n"
           "leak:libgtk-3.so\nleak:libgdk-3.so\nleak:libglib-2.0.so\nleak:libgobject-2.0.so\n"
           "leak:libgio-2.0.so\nleak:libpango-1.0.so\nleak:libpangoft2-1.0.so\nleak:libpangocairo-1.0.so\n"
           "leak:libharfbuzz.so\nleak:libX11.so\nleak:libatk-1.0.so\nleak:libatk-bridge-2.0.so\n"
           "leak:libdbus-1.so\nleak:libepoxy.so\nleak:libgdk_pixbuf-2.0.so\nleak:cairo_recording_surface_create\n";
}
// ... and quietly: the program's stderr is its user's.
extern "C" KESTREL_CLI_VISIBLE const char *__lsan_default_options();
extern "C" KESTREL_CLI_VISIBLE const char *__lsan_default_options() { return "print_suppressions=0"; }
