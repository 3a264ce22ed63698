// libFuzzer target: the PostScript preamble file, copied into a new
// PostScript file by PSOpenFile; whatever it holds arrives unchanged.
#include <cstring>

#include "kestrel/kestrel.h"
#include "tests/fuzz/fuzz_common.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const std::string pre = kfuzz::path(".pre"), out = kfuzz::path(".ps");
    if (!kfuzz::write(pre, data, size)) return 0;
    KFILE ps = PSOpenFile(out.c_str(), pre.c_str(), "%%before\n", "%%after\n", static_cast<int32_t>(size % 2));
    if (!ps) return 0;
    PSPalette(ps);
    KFileClose(ps);
    return 0;
}
