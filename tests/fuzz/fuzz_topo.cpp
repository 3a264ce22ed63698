// libFuzzer target: headered topography grids. The input is the file; its
// header is read by OpenEtopoFileEx and, when accepted, positions taken from
// the input are looked up through it, whatever geometry the header claims.
#include <cstring>
#include <string>

#include "kestrel/kestrel.h"
#include "tests/fuzz/fuzz_common.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const std::string file = kfuzz::path(".grd");
    // Most inputs start with the magic, so that the lookups are reached.
    std::string bytes(reinterpret_cast<const char *>(data), size);
    if (size > 0 && data[0] % 4 != 0 && size >= 8) std::memcpy(&bytes[0], "ETOPO01", 8);
    if (!kfuzz::write(file, reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size())) return 0;
    EtopoHeader h;
    KFILE f = OpenEtopoFileEx(file.c_str(), &h);
    if (!f) return 0;
    for (size_t k = 32; k + 8 <= size && k < 96; k += 8) {
        float lon, lat;
        std::memcpy(&lon, data + k, 4);
        std::memcpy(&lat, data + k + 4, 4);
        GetEtopoHeightEx(f, h, lon, lat);
        GetEtopoHeight(f, lon, lat);
    }
    GetEtopoHeightEx(f, h, 0, 0);
    GetEtopoHeightEx(f, h, -180, -90);
    KFileClose(f);
    return 0;
}
