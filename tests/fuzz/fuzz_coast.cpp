// libFuzzer target: coastline data files (binary records of a point count,
// an outline count and longitude, latitude pairs), drawn onto a small
// polar or Mollweide map on a canvas and into PostScript.
#include "kestrel/kestrel.h"
#include "tests/fuzz/fuzz_common.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static KDC dc = [] {
        initKestrel();  // a static link runs no load-time start-up
        KDC c = KCanvasCreate(120, 100);
        hdcMem = c;
        Vbmp_size_cx = 120;
        Vbmp_size_cy = 100;
        VX.devPixels = 120;
        VY.devPixels = 100;
        VX.devLength = 6;
        VY.devLength = 5;
        VX.pixPerLength = VY.pixPerLength = 20;
        InitmemDC();
        return c;
    }();
    const std::string file = kfuzz::path(".cst");
    if (!kfuzz::write(file, data, size)) return 0;
    proj = size % 2 ? 1 : 4;  // north polar or Mollweide
    UsrSys(dc, -1, 1, 5, 0.5f, -1, 1, 4, 0.5f);
    KFILE ps = PSOpenFile(kfuzz::path(".ps").c_str(), nullptr, "", "", 0);
    DrawWorld(dc, ps, file.c_str(), -60, 40, -20, 70, -1, 1, 0, 5, -1, 1, 0, 4, 1, 1);
    KFileClose(ps);
    return 0;
}
