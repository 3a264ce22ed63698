// Leak-checker suppressions, read only by sanitizer builds: fontconfig and
// FreeType keep caches for the life of the process, which the canvas's text
// goes through; they are not leaks of the program's. Visible, so that the
// sanitizer runtime finds the definition.
#if defined(__GNUC__)
#define KESTREL_CLI_VISIBLE __attribute__((visibility("default")))
#else
#define KESTREL_CLI_VISIBLE
#endif
extern "C" KESTREL_CLI_VISIBLE const char *__lsan_default_suppressions();
extern "C" KESTREL_CLI_VISIBLE const char *__lsan_default_suppressions() {
    return "leak:libfontconfig.so\nleak:libfreetype.so\n";
}
// ... and quietly: the program's stderr is its user's.
extern "C" KESTREL_CLI_VISIBLE const char *__lsan_default_options();
extern "C" KESTREL_CLI_VISIBLE const char *__lsan_default_options() { return "print_suppressions=0"; }
