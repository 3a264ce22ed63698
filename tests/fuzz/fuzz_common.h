// Shared pieces of the fuzz targets: each target turns the fuzzer's bytes
// into the file (or files) its reader expects, under a name of this process
// only, and leaves no state behind for the next input.
#ifndef KESTREL_TESTS_FUZZ_COMMON_H
#define KESTREL_TESTS_FUZZ_COMMON_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include <unistd.h>

namespace kfuzz {

// A path of this process for the given suffix ("/tmp/kestrel_fuzz_<pid>.oai").
inline std::string path(const std::string &suffix) {
    return "/tmp/kestrel_fuzz_" + std::to_string(getpid()) + suffix;
}

inline bool write(const std::string &file, const uint8_t *data, size_t size) {
    std::FILE *f = std::fopen(file.c_str(), "wb");
    if (!f) return false;
    if (size) std::fwrite(data, 1, size, f);
    std::fclose(f);
    return true;
}

// Splits the input at lines "----" into at most n parts (missing parts are
// empty): one input can then carry the several files of one data set.
inline std::vector<std::string> parts(const uint8_t *data, size_t size, size_t n) {
    std::vector<std::string> out(n);
    const std::string all(reinterpret_cast<const char *>(data), size);
    size_t at = 0, k = 0;
    while (k < n) {
        const size_t sep = k + 1 < n ? all.find("\n----\n", at) : std::string::npos;
        if (sep == std::string::npos) {
            out[k] = all.substr(at);
            break;
        }
        out[k++] = all.substr(at, sep - at + 1);
        at = sep + 6;
    }
    return out;
}

// Reads every byte so that AddressSanitizer sees any read past an array.
template <class T> inline void touch(const T *p, int64_t n) {
    volatile T sink{};
    for (int64_t i = 0; p && i < n; ++i) sink = p[i];
    (void)sink;
}

}  // namespace kfuzz

#endif
