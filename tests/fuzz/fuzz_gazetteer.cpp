// libFuzzer target: gazetteer files, loaded through the filters the first
// byte chooses and drawn onto a small map on a canvas.
#include <cstring>
#include <string>

#include "kestrel/kestrel.h"
#include "tests/fuzz/fuzz_common.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static KDC dc = [] {
        initKestrel();  // a static link runs no load-time start-up
        KDC c = KCanvasCreate(120, 100);
        hdcMem = c;
        VX.devPixels = 120;
        VY.devPixels = 100;
        VX.devLength = 6;
        VY.devLength = 5;
        VX.pixPerLength = VY.pixPerLength = 20;
        InitmemDC();
        return c;
    }();
    if (size < 1) return 0;
    const std::string file = kfuzz::path(".gzt");
    if (!kfuzz::write(file, data + 1, size - 1)) return 0;
    static Gazetteer gz;
    std::strcpy(gz.typeFilter, data[0] & 1 ? "sea" : "<any>");
    std::strcpy(gz.nameFilter, data[0] & 2 ? "a" : "");
    gz.markSize = static_cast<float>(data[0] >> 2);
    gz.colour = 1;
    proj = data[0] & 4 ? 4 : 0;
    UsrSys(dc, -30, 30, 5, 0.5f, -20, 20, 4, 0.5f);
    if (GazetteerLoad(file.c_str(), &gz) > 0) {
        GazetteerMarkFeatures(dc, &gz, -30, 30, -20, 20);
        GazetteerDrawFeature(dc, gz.nFeatures - 1, &gz, -30, 30, -20, 20, 1);
        kfuzz::touch(gz.markedX, gz.nMarked);
    }
    GazetteerFree(&gz);
    return 0;
}
