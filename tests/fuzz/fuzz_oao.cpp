// libFuzzer target: the ".oao" reader.
#include "tests/fuzz/fuzz_analysis.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) { return kfuzz::analysisFile(2, data, size); }
