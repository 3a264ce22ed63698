// libFuzzer target for the analysis-file readers. Built once per file kind
// by scripts/fuzz.sh with KESTREL_FUZZ_KIND set to 0 (.oai), 1 (.oag),
// 2 (.oao) or 3 (.oal). The input becomes the file; the reader must return
// its documented result without touching memory outside the set's arrays
// (AddressSanitizer watches) and the set must free cleanly.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

#include <unistd.h>

#include "kestrel/oa.h"

#ifndef KESTREL_FUZZ_KIND
#define KESTREL_FUZZ_KIND 0
#endif

namespace {

const char *const kExt[4] = {".oai", ".oag", ".oao", ".oal"};

const std::string &baseName() {
    static const std::string b = "/tmp/kestrel_fuzz_" + std::to_string(getpid());
    return b;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const std::string file = baseName() + kExt[KESTREL_FUZZ_KIND];
    std::FILE *f = std::fopen(file.c_str(), "wb");
    if (!f) return 0;
    std::fwrite(data, 1, size, f);
    std::fclose(f);
    OASet set;
    OAInitializeSet(&set);
    switch (KESTREL_FUZZ_KIND) {
    case 0: {
        const int32_t n = OALoadData(baseName().c_str(), &set);
        // Every counted point is readable (use flags of unparsed ones are 0).
        int32_t used = 0;
        for (int32_t i = 0; i < n; ++i) used += set.use[i];
        if (used > n) __builtin_trap();
        break;
    }
    case 1:
        if (OALoadGrid(baseName().c_str(), &set) == 0) {
            volatile float s = 0;
            for (int32_t i = 0; i < set.nx; ++i) s = s + set.xg[i] + set.xlen[i];
            for (int32_t j = 0; j < set.ny; ++j) s = s + set.yg[j] + set.ylen[j];
        }
        break;
    case 2:
        if (OALoadField(baseName().c_str(), &set) == 0) {
            // Loading again in place must also hold.
            OALoadField(baseName().c_str(), &set);
            volatile float s = 0;
            for (int64_t k = 0; k < static_cast<int64_t>(set.nx) * set.ny; ++k) s = s + set.gridEst[k] + set.gridErr[k];
        }
        break;
    default:
        OALoadLayout(baseName().c_str(), &set);
        if (set.title[120] || set.xtitle[120] || set.ytitle[120]) __builtin_trap();
        break;
    }
    OAFreeSet(&set);
    return 0;
}
