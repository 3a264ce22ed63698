// The four analysis-file readers, one target each (fuzz_oai ... fuzz_oal).
// The input becomes the file; the reader must give its documented result
// without touching memory outside the set's arrays, every array must be as
// long as the set's counts say, and the set must free cleanly.
#ifndef KESTREL_TESTS_FUZZ_ANALYSIS_H
#define KESTREL_TESTS_FUZZ_ANALYSIS_H

#include "kestrel/oa.h"
#include "tests/fuzz/fuzz_common.h"

namespace kfuzz {

inline int analysisFile(int kind, const uint8_t *data, size_t size) {
    static const char *const kExt[4] = {".oai", ".oag", ".oao", ".oal"};
    const std::string base = path("");
    if (!write(base + kExt[kind], data, size)) return 0;
    OASet set;
    OAInitializeSet(&set);
    switch (kind) {
    case 0: {
        const int32_t n = OALoadData(base.c_str(), &set);
        touch(set.x, n);
        touch(set.errInv, n);
        touch(set.use, n);
        break;
    }
    case 1:
        if (OALoadGrid(base.c_str(), &set) == 0) {
            touch(set.xg, set.nx);
            touch(set.xlen, set.nx);
            touch(set.ygt, set.ny);
            touch(set.ylen, set.ny);
            OAWriteGrid(base.c_str(), &set);
        }
        break;
    case 2: {
        // A set of one size first, then the field of another: every array
        // that follows nx and ny must follow them.
        OAAllocSet(&set, 3.0f, 2.0f, 5, 4);
        if (OALoadField(base.c_str(), &set) == 0) {
            OALoadField(base.c_str(), &set);
            const int64_t nodes = static_cast<int64_t>(set.nx) * set.ny;
            touch(set.gridEst, nodes);
            touch(set.gridErr, nodes);
            touch(set.gridErrOut, nodes);
            touch(set.xgt, set.nx);
            touch(set.xlen, set.nx);
            touch(set.ygt, set.ny);
            touch(set.ylen, set.ny);
            OAWriteField(base.c_str(), &set);
            OAWriteGrid(base.c_str(), &set);
        }
        break;
    }
    default:
        OALoadLayout(base.c_str(), &set);
        if (set.title[120] || set.xtitle[120] || set.ytitle[120]) __builtin_trap();
        OAWriteLayout(base.c_str(), &set);
        break;
    }
    OAFreeSet(&set);
    return 0;
}

}  // namespace kfuzz

#endif
