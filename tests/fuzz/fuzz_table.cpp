// libFuzzer target: the kestrel command's readers, a tab-separated table
// with a header line and a station list of "lon lat" lines, on one input.
#include "cli/section.h"
#include "tests/fuzz/fuzz_common.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const std::string file = kfuzz::path(".tsv");
    if (!kfuzz::write(file, data, size)) return 0;
    Table t;
    if (readTable(file, &t))
        for (const auto &row : t.rows)
            if (row.size() != t.names.size()) __builtin_trap();
    return 0;
}
