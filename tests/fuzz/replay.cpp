// Replays a fuzz target's corpus and crash regressions as an ordinary test:
// every file of the folders given is one input. Built with the project's own
// compiler, so the sanitizer build replays them under its sanitizers too.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

// fontconfig and FreeType keep caches for the life of the process.
extern "C" __attribute__((visibility("default"))) const char *__lsan_default_suppressions() {
    return "leak:libfontconfig.so\nleak:libfreetype.so\n";
}

int main(int argc, char **argv) {
    namespace fs = std::filesystem;
    int inputs = 0;
    for (int a = 1; a < argc; ++a) {
        std::error_code ec;
        if (!fs::is_directory(argv[a], ec)) continue;
        std::vector<fs::path> files;
        for (const auto &e : fs::directory_iterator(argv[a], ec))
            if (e.is_regular_file()) files.push_back(e.path());
        std::sort(files.begin(), files.end());
        for (const auto &f : files) {
            std::ifstream in(f, std::ios::binary);
            const std::vector<char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
            LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size());
            ++inputs;
        }
    }
    std::printf("replayed %d inputs\n", inputs);
    return inputs > 0 ? 0 : 1;
}
