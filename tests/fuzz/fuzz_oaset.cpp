// libFuzzer target: a whole analysis set (layout, grid and data files, split
// from one input at "----" lines), loaded with OALoadSet, then estimated on
// and written back as the host would. Numbers such as nan, inf, 1e38, -0 and
// huge counts come from the dictionary tests/fuzz/dict/oaset.dict.
#include "kestrel/oa.h"
#include "tests/fuzz/fuzz_common.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const std::vector<std::string> p = kfuzz::parts(data, size, 3);
    const std::string base = kfuzz::path("set");
    const char *const ext[3] = {".oal", ".oag", ".oai"};
    for (int k = 0; k < 3; ++k)
        if (!kfuzz::write(base + ext[k], reinterpret_cast<const uint8_t *>(p[k].data()), p[k].size())) return 0;
    OASet set;
    OAInitializeSet(&set);
    if (OALoadSet(base.c_str(), &set) == 1) {
        float spread, msd;
        int32_t used;
        for (int32_t i = 0; i < set.nx; i += 1 + set.nx / 4)
            for (int32_t j = 0; j < set.ny; j += 1 + set.ny / 4)
                OAEstimateValueT(set.xgt[i], set.ygt[j], 1.0f, 1.0f, &spread, &msd, &used, &set);
        OAEstimateValue(set.xmin, set.ymax, 2.0f, 2.0f, &spread, &msd, &used, &set);
        OAPackData(&set);
        OAWriteData(base.c_str(), &set, 1);
        OAWriteGrid(base.c_str(), &set);
        OAWriteLayout(base.c_str(), &set);
    }
    OAFreeSet(&set);
    return 0;
}
