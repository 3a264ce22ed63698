// GIF export of the off-screen picture, with the library's own LZW encoder.
//
// Notation. A string is a sequence of pixel values that has a code in the
// string table. Codes 0..255 are the single pixels, uClear (256) restarts the
// table, uEOI (257) ends the data, and every code from 258 up names a string
// by its prefix code (uPrefix) and its last pixel (cSuffix). The encoder
// extends the current string one pixel K at a time while current + K has a
// code; when it has none, the current code is written, current + K gets the
// next free code uAvail, and K starts the next string. Codes are written
// least significant bit first into GIF data sub-blocks of up to 255 bytes,
// 9 bits wide at first and widening with the table up to 12; when all 4096
// codes are taken the table is cleared and a clear code tells the decoder.
//
// Lookups. The exported child table lpPrefixTable (12 slots per code, 4096
// = empty, filled in order) is kept up to date for a host that drives
// EncodeLZW itself, but strings are found through a private open-addressing
// hash keyed by prefix * 256 + K. It returns the same code as a scan of the
// child slots with a linear search of the table as fallback would: a
// (prefix, suffix) pair is entered only after a lookup failed, so each pair
// has at most one code in a table generation, and the hash, the slots and
// the codes are emptied together. The single pixel K is always code K, so
// the empty string needs no lookup.
//
// Speed. The per-pixel work runs on a local copy of the scalar encoder state
// (so that it lives in registers) and writes the exported globals back at
// the end of every call. A whole image (BMPtoGIF) also takes runs of one
// value without lookups (see encodeImage) and leaves the child table, which
// nothing can read during the export, alone. Finished sub-blocks then collect
// in a buffer that goes to the file in 64 KiB writes; the bytes are the same.
#include "base/guard.h"
#include "frame/message.h"
#include "plot/gif.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

#include "kestrel/colour.h"
#include "kestrel/gif.h"
#include "platform/platform.h"

namespace kestrel::gif {
namespace {

constexpr uint32_t kNone = 4096;  // no code: the empty string, an empty child slot, no prefix
constexpr uint32_t kCodes = 4096;
constexpr uint32_t kSlots = 12;
constexpr size_t kChildTableBytes = size_t{kCodes} * kSlots * sizeof(uint32_t);  // 196608

// The hash holds (key << 12) | code for every string code of the current
// table generation: at most 4096 - 258 entries in 16384 slots, so that with
// linear probing a lookup rarely looks at more than two. No entry equals the
// empty marker: that would take prefix 4095, and a table holding 4095 is full.
constexpr unsigned kHashBits = 14;
constexpr uint32_t kHashMask = (1u << kHashBits) - 1;
constexpr uint32_t kEmpty = 0xFFFFFFFFu;
constexpr size_t kOutputBytes = size_t{1} << 16;
constexpr uint32_t kRunCap = 1023;

// The encoder's private state, one record for the library's one encoder.
struct EncoderState {
    uint32_t hash[1u << kHashBits];
    uint8_t childCount[kCodes];  // used slots in each code's row of lpPrefixTable
    // The current string and the sub-block buffer (byte 0 the block length,
    // 1..255 data, fill the byte being filled, bits the bits already used in
    // it); eight spare bytes let a code be stored with one 8-byte write.
    uint32_t current = kNone;
    uint8_t block[256 + 8];
    uint32_t fill = 1, bits = 0;
    // Where finished blocks go: straight to hGIF, or (during an export) into
    // a buffer that is written to hGIF when full and at the end.
    uint8_t output[kOutputBytes];
    size_t outputUsed = 0;
    bool buffered = false;
    // Runs of one pixel value. While the current string is K repeated n
    // times, the table holds K repeated L times for exactly L = 1 .. top[K]
    // (the table always holds every prefix of its strings), so greedy
    // matching over m more K's ends at K repeated min(n + m, top[K]) times
    // without a lookup. Such runs are what most of a plot is made of.
    // runCode[K][L] is the code of K repeated L times, for L up to kRunCap;
    // longer runs go through the hash.
    uint16_t runTop[256];
    uint16_t runCode[256][kRunCap + 1];
};
EncoderState gEnc;

void flushOutput() {
    if (gEnc.outputUsed) plat::fileWrite(hGIF, gEnc.output, gEnc.outputUsed);
    gEnc.outputUsed = 0;
}

void emit(const uint8_t *data, size_t n) {
    if (!gEnc.buffered) {
        plat::fileWrite(hGIF, data, n);
        return;
    }
    if (gEnc.outputUsed + n > kOutputBytes) flushOutput();
    std::memcpy(gEnc.output + gEnc.outputUsed, data, n);
    gEnc.outputUsed += n;
}

// Out of line: runs once per 255 bytes of output. Bytes 1..255 are
// complete; the (at most two) bytes filled beyond them move to the front.
void emitFullBlock(uint32_t fill) {
    gEnc.block[0] = 255;
    emit(gEnc.block, 256);
    std::memmove(gEnc.block + 1, gEnc.block + 256, fill - 255 + 1);
}

void storeLittleEndian64(uint8_t *p, uint64_t v) {
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
    for (int i = 0; i < 8; ++i) p[i] = static_cast<uint8_t>(v >> (8 * i));
#else
    std::memcpy(p, &v, 8);
#endif
}

void clearIndex() {
    std::memset(gEnc.hash, 0xFF, sizeof gEnc.hash);
    std::memset(gEnc.childCount, 0, sizeof gEnc.childCount);
}

// Empties the table down to the single pixels and the two control codes.
// Only rows that got children can hold anything but 4096, so only those are
// refilled.
void resetTable(uint32_t firstFree, uint32_t *children) {
    if (children)
        for (uint32_t c = 0; c < kCodes; ++c) {
            if (!gEnc.childCount[c]) continue;
            std::fill_n(children + size_t{c} * kSlots, gEnc.childCount[c], kNone);
            gEnc.childCount[c] = 0;
        }
    std::memset(gEnc.hash, 0xFF, sizeof gEnc.hash);
    for (uint32_t c = 0; c < firstFree && c < kCodes; ++c) {
        uPrefix[c] = kNone;
        cSuffix[c] = static_cast<uint8_t>(c);
    }
}

uint32_t codeLength(uint32_t n) {
    for (uint32_t bit = 11; bit >= 3; --bit)
        if ((n >> bit) & 1u) return bit + 1;
    return 3;
}

// The encoder state, loaded from the globals and stored back after use.
struct Encoder {
    uint32_t current, avail, codeSize, clear, eoi, dataSize;
    uint32_t fill, bits;
    uint32_t *children;

    static Encoder load() {
        return Encoder{gEnc.current, uAvail, uCodeSize, uClear, uEOI, uDataSize, gEnc.fill, gEnc.bits, lpPrefixTable};
    }
    void store() const {
        gEnc.current = current;
        uAvail = avail;
        uCodeSize = codeSize;
        gEnc.fill = fill;
        gEnc.bits = bits;
    }

    // ---- Sub-blocks ----
    void resetBuffer() {
        std::memset(gEnc.block, 0, sizeof gEnc.block);
        fill = 1;
        bits = 0;
    }
    // The code goes in above the bits already in the byte being filled, all
    // at once; the byte being filled then moves on by the whole bytes done.
    // Only the bits given are stored, so the bytes past the last one written
    // are zero.
    void put(uint32_t code, uint32_t width) {
        if (width > 16) width = 16;
        const uint64_t v = (uint64_t{code & ((1u << width) - 1u)} << bits) | (gEnc.block[fill] & ((1u << bits) - 1u));
        storeLittleEndian64(gEnc.block + fill, v);
        const uint32_t total = bits + width;
        fill += total >> 3;
        bits = total & 7u;
        if (fill > 255) {
            emitFullBlock(fill);
            fill -= 255;
        }
    }
    // After the end code: the partial block (its last byte only when it holds
    // bits) and the block terminator. A stream whose length is a multiple of
    // 255 has no partial block; writing an empty one would put a second zero
    // byte before the trailer, which decoders reject.
    void endBlocks() {
        const uint32_t n = bits ? fill : fill - 1;
        if (n > 0) {
            gEnc.block[0] = static_cast<uint8_t>(n);
            emit(gEnc.block, n + 1);
        }
        static const uint8_t terminator = 0;
        emit(&terminator, 1);
        resetBuffer();
    }

    // ---- The string table ----
    // Looks up key; on a miss, slot is where the key belongs.
    static bool find(uint32_t key, uint32_t &code, uint32_t &slot) {
        uint32_t h = (key * 0x9E3779B1u) >> (32 - kHashBits);
        for (;;) {
            const uint32_t e = gEnc.hash[h];
            if (e == kEmpty) {
                slot = h;
                return false;
            }
            if ((e >> 12) == key) {
                code = e & 0xFFFu;
                return true;
            }
            h = (h + 1) & kHashMask;
        }
    }
    void add(uint32_t key, uint32_t slot, uint32_t k) {
        uPrefix[avail] = current;
        cSuffix[avail] = static_cast<uint8_t>(k);
        gEnc.hash[slot] = (key << 12) | avail;
        if (children) {
            const uint32_t n = gEnc.childCount[current];
            if (n < kSlots) {
                children[size_t{current} * kSlots + n] = avail;
                gEnc.childCount[current] = static_cast<uint8_t>(n + 1);
            }
        }
    }

    // ---- Encoding ----
    void start() {
        current = kNone;
        codeSize = dataSize + 1;
        resetBuffer();
        put(clear, codeSize);
        // A table with no string codes has an empty index: this also drops
        // what a previous stream left in it when the host set the table up
        // itself.
        if (avail == clear + 2) clearIndex();
    }
    // Extends a non-empty current string by k (< 256). Returns what happened
    // to the table: kFound (current + k had a code, now current), kAdded
    // (it got code avail - 1) or kCleared (the full table was reset).
    enum Step { kFound, kAdded, kCleared };
    Step extend(uint32_t k) {
        const uint32_t key = (current << 8) | k;
        uint32_t code, slot;
        if (find(key, code, slot)) {
            current = code;
            return kFound;
        }
        Step step;
        if (avail < kCodes) {
            add(key, slot, k);
            put(current, codeSize);
            codeSize = codeLength(avail);
            ++avail;
            step = kAdded;
        } else {
            put(current, codeSize);
            avail = clear + 2;
            resetTable(avail, children);
            put(clear, codeSize);
            codeSize = dataSize + 1;
            step = kCleared;
        }
        current = k;
        return step;
    }
    void pixel(uint32_t k) {
        if (current == kNone)
            current = k;
        else
            extend(k);
    }
    void finish() {
        if (current != kNone) put(current, codeSize);
        put(eoi, codeSize);
        endBlocks();
        current = kNone;
    }
};

// Sets up the exported state for a new export (child table already
// allocated in lpPrefixTable).
void initTables() {
    uAvail = 258;
    uDataSize = 8;
    uClear = 256;
    uEOI = 257;
    for (uint32_t c = 0; c < 258; ++c) {
        uPrefix[c] = kNone;
        cSuffix[c] = static_cast<uint8_t>(c);
    }
    std::fill_n(lpPrefixTable, size_t{kCodes} * kSlots, kNone);
    clearIndex();
}

void put16(uint8_t *p, uint16_t v) {
    p[0] = static_cast<uint8_t>(v & 0xFF);
    p[1] = static_cast<uint8_t>(v >> 8);
}

void writeHeader(uint16_t width, uint16_t height) {
    uint8_t h[6 + 7 + 768 + 10 + 1];
    std::memcpy(h, "GIF89a", 6);
    put16(h + 6, width);
    put16(h + 8, height);
    h[10] = 0xF7;  // global colour table of 256 entries, 8-bit colour resolution
    h[11] = 0;     // background colour index
    h[12] = 0;     // no aspect ratio given
    const int n = std::clamp(static_cast<int>(mCGS.paletteSize), 0, 256);
    uint8_t *table = h + 13;
    for (int i = 0; i < 256; ++i) std::memcpy(table + 3 * i, Vcolor[i < n ? i : 0], 3);
    uint8_t *image = table + 768;
    image[0] = 0x2C;
    put16(image + 1, 0);
    put16(image + 3, 0);
    put16(image + 5, width);
    put16(image + 7, height);
    image[9] = 0x07;
    image[10] = static_cast<uint8_t>(uDataSize);
    emit(h, sizeof h);
}


void encodeImage(const uint8_t *pixels, size_t stride, uint32_t width, uint32_t height) {
    Encoder e = Encoder::load();
    // Nothing can look at the child table while a whole image is encoded, and
    // the export frees it afterwards, so it is left alone here.
    e.children = nullptr;
    e.start();
    auto clearRuns = [] {
        for (uint32_t k = 0; k < 256; ++k) {
            gEnc.runTop[k] = 1;
            gEnc.runCode[k][1] = static_cast<uint16_t>(k);
        }
    };
    clearRuns();
    e.pixel(pixels[0]);
    uint32_t runChar = pixels[0], runLen = 1;  // runLen 0: current is not a pure run
    for (uint32_t y = 0; y < height; ++y) {
        const uint8_t *row = pixels + y * stride;
        uint32_t x = y == 0 ? 1 : 0;
        while (x < width) {
            const uint32_t k = row[x];
            if (k == runChar && runLen && runLen < gEnc.runTop[k]) {
                const uint32_t limit = std::min<uint32_t>(gEnc.runTop[k] - runLen, width - x);
                uint32_t m = 1;
                while (m < limit && row[x + m] == k) ++m;
                runLen += m;
                e.current = gEnc.runCode[k][runLen];
                x += m;
                continue;
            }
            switch (e.extend(k)) {
            case Encoder::kFound:
                runLen = runLen && k == runChar ? runLen + 1 : 0;
                break;
            case Encoder::kAdded:
                // The new code is before + k: one more K if before was K^top.
                if (runLen && k == runChar && runLen == gEnc.runTop[k] && runLen < kRunCap) {
                    gEnc.runTop[k] = static_cast<uint16_t>(runLen + 1);
                    gEnc.runCode[k][runLen + 1] = static_cast<uint16_t>(e.avail - 1);
                }
                runChar = k;
                runLen = 1;
                break;
            case Encoder::kCleared:
                clearRuns();
                runChar = k;
                runLen = 1;
                break;
            }
            ++x;
        }
    }
    e.finish();
    e.store();
}

void errorBox(const char *text) {
    kestrel::showMessage(text, "Error writing GIF file ...", plat::MbOk | plat::MbIconExclamation | plat::MbTaskModal);
}

}  // namespace

bool writeIndexedImage(KFILE file, const uint8_t *pixels, size_t stride, uint16_t width, uint16_t height) {
    if (!pixels || width == 0 || height == 0) return false;
    lpPrefixTable = static_cast<uint32_t *>(std::calloc(1, kChildTableBytes));
    if (!lpPrefixTable) return false;
    hGIF = file;
    initTables();
    gEnc.buffered = true;
    gEnc.outputUsed = 0;
    writeHeader(width, height);
    encodeImage(pixels, stride, width, height);
    static const uint8_t trailer = ';';
    emit(&trailer, 1);
    flushOutput();
    gEnc.buffered = false;
    std::free(lpPrefixTable);
    lpPrefixTable = nullptr;
    hGIF = nullptr;
    return true;
}

}  // namespace kestrel::gif

using namespace kestrel;

extern "C" {

KESTREL_API int32_t KESTREL_CALL BMPtoGIF(KDC hdc, KBITMAP bitmap, int32_t *rect, const char *fileName) {
    return kestrel::guarded<int32_t>("BMPtoGIF", [&]() -> int32_t {
        KPALETTE previous = ActivateMyPalette(hdc);
        auto fail = [&](const char *text) {
            gif::errorBox(text);
            RestorePalette(hdc, previous, "BMPtoGIF");
            return 0;
        };
        if (!rect) return fail("No GIF rectangle given!");
        rect[0] = std::max(rect[0], 0);
        rect[1] = std::max(rect[1], 0);
        rect[2] = static_cast<int32_t>(std::min<int64_t>(rect[2], int64_t{Vbmp_size_cx} - 1));
        rect[3] = static_cast<int32_t>(std::min<int64_t>(rect[3], int64_t{Vbmp_size_cy} - 1));
        // Nor beyond the bitmap that really exists: the host's size may claim
        // more, and the export must not allocate for pixels nobody drew.
        int realW = 0, realH = 0;
        if (plat::bitmapSize(hdc, bitmap, &realW, &realH)) {
            rect[2] = std::min(rect[2], realW - 1);
            rect[3] = std::min(rect[3], realH - 1);
        }
        const int64_t width = int64_t{rect[2]} - rect[0] + 1, height = int64_t{rect[3]} - rect[1] + 1;
        if (width < 1 || height < 1 || width > 65535 || height > 65535)
            return fail("The GIF rectangle is empty or too large!");

        KFILE file = fileName ? plat::fileOpenAlways(fileName) : nullptr;
        if (!file) return fail("Could not create GIF file!");
        const OnExit closeFile([&] { plat::fileClose(file); });

        // The rectangle of the picture, as palette indices.
        const size_t bw = static_cast<size_t>(width), bh = static_cast<size_t>(height);
        std::unique_ptr<uint8_t[]> pixels(new (std::nothrow) uint8_t[bw * bh]);
        if (!pixels) {
            return fail("Could not allocate memory for the bitmap!");
        }
        const plat::Rect part{rect[0], rect[1], rect[2] + 1, rect[3] + 1};
        if (!plat::bitmapPaletteIndices(hdc, bitmap, Vbmp_size_cx, Vbmp_size_cy, part, pixels.get(), Vcolor,
                                        mCGS.paletteSize)) {
            return fail("Could not read the bitmap!");
        }
        if (!gif::writeIndexedImage(file, pixels.get(), bw, static_cast<uint16_t>(width), static_cast<uint16_t>(height))) {
            return fail("Could not allocate memory for prefix table!");
        }
        RestorePalette(hdc, previous, "BMPtoGIF");
        return 1;
    });
}

KESTREL_API void KESTREL_CALL EncodeLZW(uint32_t value) {
    return kestrel::guarded<void>("EncodeLZW", [&]() -> void {
        gif::Encoder e = gif::Encoder::load();
        if (value == e.clear) {
            e.start();
        } else if (value == e.eoi) {
            e.finish();
        } else {
            if (value >= 256 || value >= e.clear || e.avail < e.clear + 2 || e.avail > gif::kCodes) return;
            e.pixel(value);
        }
        e.store();
    });
}

KESTREL_API void KESTREL_CALL WriteCode(uint32_t code, uint32_t width) {
    return kestrel::guarded<void>("WriteCode", [&]() -> void {
        gif::Encoder e = gif::Encoder::load();
        if (code == gif::kNone && width == 0) {
            e.resetBuffer();
        } else {
            e.put(code, width);
            if (code == uEOI) e.endBlocks();
        }
        e.store();
    });
}

KESTREL_API uint32_t KESTREL_CALL GetCodeLength(uint32_t n) {
    return kestrel::guarded<uint32_t>("GetCodeLength", [&]() -> uint32_t { return gif::codeLength(n); });
}

}  // extern "C"
