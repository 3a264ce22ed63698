// The LZW encoder and GIF file writer, fed with palette indices.
#include <gtest/gtest.h>

#include <cstdlib>
#include <algorithm>
#include <cstring>
#include <map>
#include <tuple>
#include <utility>
#include <string>
#include <vector>

#include "common/testing.h"
#include "decoders.h"
#include "images.h"
#include "kestrel/gif.h"
#include "platform/platform.h"
#include "plot/gif.h"

using namespace kestrel;

namespace {

std::string writeGif(const std::string &path, const std::vector<uint8_t> &px, int w, int h) {
    KFILE f = plat::fileCreate(path.c_str());
    EXPECT_NE(f, nullptr) << path;
    EXPECT_TRUE(gif::writeIndexedImage(f, px.data(), static_cast<size_t>(w), static_cast<uint16_t>(w),
                                       static_cast<uint16_t>(h)));
    plat::fileClose(f);
    return kt::readFile(path);
}

// Decodes path with giflib and compares all pixels and the colour table
// with what was written. (Skipped on Windows, where giflib is not at hand.)
void expectDecodesTo(const std::string &path, const std::vector<uint8_t> &px, int w, int h) {
    if (!gt::haveGiflib()) {
#if !defined(_WIN32)
        GTEST_SKIP() << "giflib (libgif7) is not installed";
#endif
        return;
    }
    gt::DecodedGif d = gt::decodeWithGiflib(path);
    ASSERT_TRUE(d.ok) << d.error;
    ASSERT_EQ(d.width, w);
    ASSERT_EQ(d.height, h);
    EXPECT_EQ(d.screenWidth, w);
    EXPECT_EQ(d.screenHeight, h);
    size_t bad = 0, first = 0;
    for (size_t i = 0; i < px.size(); ++i)
        if (d.pixels[i] != px[i] && bad++ == 0) first = i;
    EXPECT_EQ(bad, 0u) << "first difference at x " << first % static_cast<size_t>(w) << " y "
                       << first / static_cast<size_t>(w) << ": decoded " << int(d.pixels[first]) << ", written "
                       << int(px[first]);
    ASSERT_EQ(d.colours.size(), 768u);
    const int n = mCGS.paletteSize;
    for (int i = 0; i < 256; ++i)
        for (int c = 0; c < 3; ++c) ASSERT_EQ(d.colours[3 * i + c], Vcolor[i < n ? i : 0][c]) << "colour " << i;
}

}  // namespace

TEST(GifEncoder, CodeLengthIsSetByTheHighestOfBits3To11) {
    const uint32_t n[] = {0, 7, 8, 15, 16, 257, 258, 511, 512, 1023, 1024, 2047, 2048, 4095, 4096, 4096 + 8, 0x1FFFF};
    const uint32_t bits[] = {3, 3, 4, 4, 5, 9, 9, 9, 10, 10, 11, 11, 12, 12, 3, 4, 12};
    for (size_t i = 0; i < sizeof n / sizeof n[0]; ++i) EXPECT_EQ(GetCodeLength(n[i]), bits[i]) << n[i];
}

// 3 x 2 pixels 1 1 1 / 1 1 0 with a two-colour palette. Worked by hand:
//   clear 256; 1 (adds 258 = 1 1); 258 (adds 259 = 258 1); 258 (adds
//   260 = 258 0); 0; end 257 -- six 9-bit codes, 54 bits, set at bit
//   positions 8 9 19 26 28 35 45 53, so the seven data bytes are
//   00 03 08 14 08 20 20.
TEST(GifEncoder, TinyImageMatchesHandWorkedBytes) {
    gt::setPalette(2);
    Vcolor[0][0] = 255, Vcolor[0][1] = 0, Vcolor[0][2] = 0;
    Vcolor[1][0] = 0, Vcolor[1][1] = 0, Vcolor[1][2] = 255;
    const std::vector<uint8_t> px = {1, 1, 1, 1, 1, 0};
    const std::string path = kt::scratchDir("GifTiny") + "/tiny.gif";
    const std::string got = writeGif(path, px, 3, 2);

    std::string want("GIF89a\x03\x00\x02\x00\xF7\x00\x00", 13);
    want += std::string("\xFF\x00\x00\x00\x00\xFF", 6);
    for (int i = 2; i < 256; ++i) want += std::string("\xFF\x00\x00", 3);
    want += std::string("\x2C\x00\x00\x00\x00\x03\x00\x02\x00\x07\x08", 11);
    want += std::string("\x07\x00\x03\x08\x14\x08\x20\x20\x00\x3B", 10);
    EXPECT_EQ(got, want);
    // Exported state after the export: the encoder's constants stay, the file
    // and the child table are gone.
    EXPECT_EQ(std::make_tuple(uClear, uEOI, uDataSize, uAvail), std::make_tuple(256u, 257u, 8u, 261u));
    EXPECT_TRUE(hGIF == nullptr && lpPrefixTable == nullptr);
    expectDecodesTo(path, px, 3, 2);
    // A short palette is padded with the first colour (expectDecodesTo checks the table).
    gt::setPalette(5);
    const std::vector<uint8_t> five = gt::randomImage(61, 17, 5, 3);
    writeGif(path, five, 61, 17);
    expectDecodesTo(path, five, 61, 17);
}

// 1200 x 900 pixels: colour bands, lines, glyphs and a quarter of noise that
// fills the string table many times, so codes pass 4095, a clear code goes
// out at 12 bits and coding restarts at 9 bits.
TEST(GifEncoder, LargeVariedImageRoundTrips) {
    gt::setPalette(256);
    const std::vector<uint8_t> px = gt::variedImage(1200, 900, 11);
    const std::string path = kt::scratchDir("GifLarge") + "/varied.gif";
    const std::string bytes = writeGif(path, px, 1200, 900);
    const gt::Blocks blocks = gt::imageBlocks(bytes);
    ASSERT_GT(blocks.lengths.size(), 100u);
    for (size_t i = 0; i + 1 < blocks.lengths.size(); ++i) ASSERT_EQ(blocks.lengths[i], 255) << i;
    EXPECT_EQ(blocks.end + 1, bytes.size());
    EXPECT_EQ(bytes.back(), ';');
    expectDecodesTo(path, px, 1200, 900);
}

// Driving the exported encoder one value at a time gives the same data as
// the whole-image writer; on the way the exported child table is as
// documented (each code's first 12 continuations in its slots, in code
// order) and the full table is reset to 258 codes of 9 bits.
TEST(GifEncoder, EncodeLZWOneValueAtATimeMatchesTheImageWriter) {
    gt::setPalette(256);
    const int w = 300, h = 200;
    std::vector<uint8_t> px = gt::randomImage(w, h, 40, 5);
    for (int y = 0; y < 60; ++y)
        for (int x = 0; x < w; ++x) px[static_cast<size_t>(y) * w + x] = static_cast<uint8_t>(x / 50);
    const std::string dir = kt::scratchDir("GifOneByOne");
    const std::string whole = writeGif(dir + "/whole.gif", px, w, h);

    const std::string path = dir + "/values.lzw";
    hGIF = plat::fileCreate(path.c_str());
    ASSERT_NE(hGIF, nullptr);
    std::vector<uint32_t> table(4096 * 12, 4096);
    lpPrefixTable = table.data();
    uClear = 256, uEOI = 257, uDataSize = 8, uAvail = 258;
    for (uint32_t c = 0; c < 258; ++c) uPrefix[c] = 4096, cSuffix[c] = static_cast<uint8_t>(c);

    int resets = 0;
    bool checkedSlots = false;
    EncodeLZW(uClear);
    EXPECT_EQ(uCodeSize, 9u);
    for (uint8_t p : px) {
        const uint32_t before = uAvail, widthBefore = uCodeSize;
        EncodeLZW(p);
        if (before == 4096 && uAvail != 4096) {
            ++resets;
            EXPECT_EQ(widthBefore, 12u);
            EXPECT_EQ(uAvail, 258u);
            EXPECT_EQ(uCodeSize, 9u);
        }
        if (uAvail == 4096 && !checkedSlots) {
            checkedSlots = true;
            std::vector<std::vector<uint32_t>> kids(4096);
            for (uint32_t c = 258; c < 4096; ++c) kids[uPrefix[c]].push_back(c);
            for (uint32_t c = 0; c < 4096; ++c)
                for (uint32_t s = 0; s < 12; ++s)
                    ASSERT_EQ(table[c * 12 + s], s < kids[c].size() ? kids[c][s] : 4096u) << c << " slot " << s;
        }
    }
    EncodeLZW(uEOI);
    plat::fileClose(hGIF);
    hGIF = nullptr;
    lpPrefixTable = nullptr;
    EXPECT_TRUE(checkedSlots);
    EXPECT_GE(resets, 2);
    const size_t start = 6 + 7 + 768 + 10 + 1;
    EXPECT_TRUE(kt::readFile(path) == whole.substr(start, whole.size() - start - 1));
}

// Plain LZW as documented: a string table of (prefix, pixel) pairs, codes
// packed least significant bit first, 9 bits wide at first and one more
// whenever the next free code needs it, a clear code when all 4096 codes are
// taken, and 255-byte sub-blocks. Returns the image data as it follows the
// code-size byte.
std::string documentedLzw(const std::vector<uint8_t> &px) {
    std::map<std::pair<uint32_t, uint8_t>, uint32_t> table;
    std::string data;
    uint64_t acc = 0;
    int nbits = 0;
    uint32_t avail = 258, size = 9, cur = px.empty() ? 0 : px[0];
    auto emit = [&](uint32_t code) {
        acc |= uint64_t{code} << nbits;
        for (nbits += static_cast<int>(size); nbits >= 8; nbits -= 8, acc >>= 8) data += static_cast<char>(acc & 0xFF);
    };
    emit(256);
    for (size_t i = 1; i < px.size(); ++i) {
        const auto it = table.find({cur, px[i]});
        if (it != table.end()) {
            cur = it->second;
            continue;
        }
        emit(cur);
        if (avail < 4096) {
            table[{cur, px[i]}] = avail;
            while ((1u << size) <= avail && size < 12) ++size;
            ++avail;
        } else {
            emit(256);
            table.clear();
            avail = 258;
            size = 9;
        }
        cur = px[i];
    }
    emit(cur);
    emit(257);
    if (nbits) data += static_cast<char>(acc & 0xFF);
    std::string blocks;
    for (size_t i = 0; i < data.size(); i += 255) {
        const size_t n = std::min<size_t>(255, data.size() - i);
        blocks += static_cast<char>(n) + data.substr(i, n);
    }
    return blocks + std::string(1, '\0');
}

// The image writer's hashed lookups and its shortcut over runs of one value
// find the codes the documented search finds: noise (strings with more than
// 12 continuations), a plot-like picture, and long runs that outgrow the
// run shortcut's reach.
TEST(GifEncoder, ImageWriterMatchesTheDocumentedSearch) {
    gt::setPalette(256);
    std::vector<std::pair<std::vector<uint8_t>, int>> images;  // pixels, width
    images.emplace_back(gt::randomImage(200, 150, 40, 9), 200);
    images.emplace_back(gt::variedImage(400, 300, 4), 400);
    std::vector<uint8_t> runs(1100 * 1000, 7);
    for (size_t i = 0; i < runs.size(); i += 9973) runs[i] = 3;
    for (size_t i = 600000; i < 700000; ++i) runs[i] = static_cast<uint8_t>((i / 300) % 5);
    images.emplace_back(std::move(runs), 1100);
    const std::string dir = kt::scratchDir("GifDocumented");
    const size_t start = 6 + 7 + 768 + 10 + 1;
    for (const auto &[px, w] : images) {
        const int h = static_cast<int>(px.size()) / w;
        const std::string bytes = writeGif(dir + "/image.gif", px, w, h);
        const std::string want = documentedLzw(px);
        const std::string got = bytes.substr(start, bytes.size() - start - 1);
        ASSERT_EQ(got.size(), want.size()) << w << " x " << h;
        EXPECT_TRUE(got == want) << w << " x " << h;
    }
}

// A code stream that ends exactly at the end of a 255-byte sub-block is
// followed by the terminator only: an empty block there would be a second
// terminator in front of the trailer.
TEST(GifEncoder, StreamEndingOnABlockBoundaryHasNoEmptyBlock) {
    const std::string dir = kt::scratchDir("GifBoundary");
    const std::string path = dir + "/codes.bin";
    hGIF = plat::fileCreate(path.c_str());
    uEOI = 257;
    WriteCode(4096, 0);
    for (int i = 0; i < 254; ++i) WriteCode(0x5A, 8);
    WriteCode(257, 8);  // bits 2032..2039 complete the block
    plat::fileClose(hGIF);
    hGIF = nullptr;
    const std::string got = kt::readFile(path);
    ASSERT_EQ(got.size(), 257u);
    EXPECT_EQ(static_cast<uint8_t>(got[0]), 255);
    EXPECT_EQ(static_cast<uint8_t>(got[255]), 257 & 0xFF);
    EXPECT_EQ(got[256], '\0');

    // The same with whole images: one row of noise gains one or two bytes of
    // data per pixel, so some length near 255 or 510 bytes fills the last
    // block exactly.
    gt::setPalette(256);
    const std::vector<uint8_t> noise = gt::randomImage(600, 1, 200, 7);
    for (int w = 150; w <= 600; ++w) {
        const std::vector<uint8_t> px(noise.begin(), noise.begin() + w);
        const std::string file = dir + "/image.gif";
        const std::string bytes = writeGif(file, px, w, 1);
        const gt::Blocks b = gt::imageBlocks(bytes);
        ASSERT_FALSE(b.lengths.empty());
        if (b.lengths.back() != 255) continue;
        EXPECT_EQ(b.end + 1, bytes.size());
        expectDecodesTo(file, px, w, 1);
        return;
    }
    ADD_FAILURE() << "no image filled its last block exactly";
}

// Values that are not pixels, and pixels fed to a table that was never set
// up, change nothing and write nothing.
TEST(GifEncoder, ValuesThatAreNotPixelsAreIgnored) {
    const std::string path = kt::scratchDir("GifIgnored") + "/none.bin";
    hGIF = plat::fileCreate(path.c_str());
    uClear = 256, uEOI = 257, uDataSize = 8;
    uAvail = 0;
    EncodeLZW(3);
    EXPECT_EQ(uAvail, 0u);
    uAvail = 258;
    for (uint32_t v : {300u, 4096u, 0xFFFFFFFFu}) EncodeLZW(v);
    EXPECT_EQ(uAvail, 258u);
    plat::fileClose(hGIF);
    hGIF = nullptr;
    EXPECT_TRUE(kt::readFile(path).empty());
}
