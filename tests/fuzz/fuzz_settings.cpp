// libFuzzer target: the settings text store read by GetRegValue where
// there is no registry: sections "[key\path]" and "name=value" lines.
#include <cstdlib>
#include <cstring>
#include <string>

#include "kestrel/kestrel.h"
#include "tests/fuzz/fuzz_common.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const std::string file = kfuzz::path(".registry");
    if (!kfuzz::write(file, data, size)) return 0;
    setenv("KESTREL_REGISTRY", file.c_str(), 1);
    char out[64];
    GetRegValue(nullptr, "Software\\Kestrel", "Paths", "Data", out, sizeof out, "default");
    GetRegValue(nullptr, "a", "", "b", out, 1, nullptr);
    kfuzz::touch(out, 64);
    return 0;
}
