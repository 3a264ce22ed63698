// libFuzzer target: palette files ("index red green blue" lines). The
// palette is loaded on a small canvas under alternating names (the loader
// skips a file already loaded), then used.
#include "kestrel/kestrel.h"
#include "tests/fuzz/fuzz_common.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static KDC dc = [] {
        initKestrel();  // a static link runs no load-time start-up
        return KCanvasCreate(16, 16);
    }();
    static int turn = 0;
    const std::string file = kfuzz::path(turn++ % 2 ? "a.pal" : "b.pal");
    if (!kfuzz::write(file, data, size)) return 0;
    LoadPaletteFile(dc, file.c_str());
    SetColor(200);
    CMapCalColor(0.5f);
    return 0;
}
