// libFuzzer target: the ".oag" reader.
#include "tests/fuzz/fuzz_analysis.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) { return kfuzz::analysisFile(1, data, size); }
