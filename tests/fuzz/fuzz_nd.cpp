// libFuzzer target: the neutral density reference files. The first byte
// chooses how the input becomes the two files: cut short where the input
// ends (the files a truncated download leaves), or repeated to their full
// sizes so that the reader accepts them and the labelling runs on casts of
// arbitrary numbers, level counts and ocean codes. A few bottles at
// positions taken from the input are then labelled.
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "kestrel/neutral.h"
#include "tests/fuzz/fuzz_common.h"

namespace {

void writeTiled(const std::string &file, const uint8_t *data, size_t size, size_t want) {
    std::vector<uint8_t> out(want);
    for (size_t i = 0; i < want; ++i) out[i] = size ? data[i % size] : 0;
    kfuzz::write(file, out.data(), out.size());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size < 1) return 0;
    const uint8_t mode = data[0];
    ++data, --size;
    const std::string dir = kfuzz::path("_nd/");
    static const bool made = [&] {
        std::string cmd = "mkdir -p " + dir;
        return std::system(cmd.c_str()) == 0;
    }();
    if (!made) return 0;
    const size_t half = size / 2;
    if (mode & 1) {
        kfuzz::write(dir + "llp.fdt", data, half);
        kfuzz::write(dir + "stga.fdt", data + half, size - half);
    } else {
        // Level counts from the input, but mostly within 0..33 so that the
        // labelling is reached.
        std::vector<uint8_t> llp(33072);
        for (size_t i = 0; i < llp.size(); ++i) llp[i] = size ? data[i % size] : 0;
        if (mode & 2)
            for (size_t c = 0; c < 4050; ++c) {
                const uint32_t n = llp[672 + 4 * c] % 34;
                std::memcpy(&llp[672 + 4 * c], &n, 4);
            }
        kfuzz::write(dir + "llp.fdt", llp.data(), llp.size());
        writeTiled(dir + "stga.fdt", data + half, size - half, 2138400);
    }
    NDData nd;
    NDinitialize(&nd);
    if (NDopen(&nd, dir.c_str()) == 0) {
        double s[4] = {34.5, 35.0, 34.7, 30.0}, t[4] = {20.0, 10.0, 2.0, -1.0}, p[4] = {0.0, 500.0, 2000.0, 6000.0};
        double g[4], lo[4], hi[4];
        for (size_t k = 0; k + 8 <= size && k < 64; k += 8) {
            double lon, lat;
            std::memcpy(&lon, data + k, 8);
            lat = (data[k] % 145) - 80.0;
            if (!(lon == lon) || lon > 360 || lon < -360) lon = (data[k + 1] * 360.0) / 256.0;
            NDgamma_n(s, t, p, 4, lon, lat, g, lo, hi, -99.0, &nd);
        }
        NDgamma_n(s, t, p, 4, 187.3, -41.7, g, lo, hi, -99.0, &nd);
    }
    NDclose(&nd);
    return 0;
}
