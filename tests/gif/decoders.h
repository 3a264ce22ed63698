// An independent GIF decoder for the GIF tests: giflib, loaded at run time
// so that the test program builds where giflib is absent and skips there.
#ifndef KESTREL_TESTS_GIF_DECODERS_H
#define KESTREL_TESTS_GIF_DECODERS_H

#include <cstdint>
#include <string>
#include <vector>

namespace gt {

struct DecodedGif {
    bool ok = false;
    std::string error;
    int screenWidth = 0, screenHeight = 0;
    std::vector<uint8_t> colours;  // global colour table, 3 bytes per entry
    int width = 0, height = 0;     // the one image
    std::vector<uint8_t> pixels;   // width x height palette indices
};

// True when giflib can be used on this machine.
bool haveGiflib();
DecodedGif decodeWithGiflib(const std::string &path);

// The data sub-blocks of the first image of a GIF file written by the
// library (no extensions): their lengths in order, the terminator excluded,
// and the position just after the terminator. Empty on a malformed file.
struct Blocks {
    std::vector<int> lengths;
    size_t end = 0;
};
Blocks imageBlocks(const std::string &bytes);

}  // namespace gt

#endif
