// Text-file utilities, built on the standard buffered file functions.
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <deque>
#include <string>
#include <utility>

#include "base/guard.h"
#include "kestrel/util.h"
#include "platform/platform.h"

namespace {

// The streams LinesInFile leaves open: the host has always relied on the
// routine not releasing the file. One per name, the oldest released beyond
// kHeldLimit, so that the rest of the library always finds descriptors.
constexpr std::size_t kHeldLimit = 64;
std::deque<std::pair<std::string, std::FILE *>> gHeld;

void holdOpen(const char *name, std::FILE *f) {
    for (auto &h : gHeld)
        if (h.first == name) {
            std::fclose(h.second);
            h.second = f;
            return;
        }
    if (gHeld.size() >= kHeldLimit) {
        std::fclose(gHeld.front().second);
        gHeld.pop_front();
    }
    gHeld.emplace_back(name, f);
}

}  // namespace

extern "C" {

KESTREL_API int32_t KESTREL_CALL LinesInFile(const char *fileName) {
    return kestrel::guarded<int32_t>("LinesInFile", [&]() -> int32_t {
        if (!fileName) return 0;
        std::FILE *f = std::fopen(fileName, "r");
        if (!f) return 0;
        char chunk[200];
        int32_t lines = 0;
        while (std::fgets(chunk, 200, f))
            if (std::strchr(chunk, '\n') && lines < INT32_MAX) ++lines;
        holdOpen(fileName, f);
        return lines;
    });
}

KESTREL_API int32_t KESTREL_CALL IsFileExisting(const char *fileName) {
    return kestrel::guarded<int32_t>("IsFileExisting", [&]() -> int32_t {
        if (!fileName) return 0;
        std::FILE *f = std::fopen(fileName, "r");
        if (!f) return 0;
        std::fclose(f);
        return 1;
    });
}

KESTREL_API int32_t KESTREL_CALL AppendRecord(const char *fileName, const char *text) {
    return kestrel::guarded<int32_t>("AppendRecord", [&]() -> int32_t {
        if (!fileName) return 0;
        std::FILE *f = std::fopen(fileName, "a+");
        if (!f) return 0;  // indistinguishable from success, as callers expect
        std::fprintf(f, "%s\n", text ? text : "");
        return std::fclose(f);
    });
}

KESTREL_API int32_t KESTREL_CALL InsertFile(KFILE file, const char *fileName) {
    return kestrel::guarded<int32_t>("InsertFile", [&]() -> int32_t {
        if (!fileName) return 0;
        std::FILE *f = std::fopen(fileName, "r");
        if (!f) return 0;
        char chunk[500];
        while (std::fgets(chunk, 500, f)) kestrel::plat::fileWrite(file, chunk, std::strlen(chunk));
        std::fclose(f);
        return 0;
    });
}

KESTREL_API int32_t KESTREL_CALL GetEOLFileFormat(const char *fileName) {
    return kestrel::guarded<int32_t>("GetEOLFileFormat", [&]() -> int32_t {
        if (!fileName) return -1;
        // Read raw, so that the three conventions are told apart the same way on
        // every platform (a text-mode stream would fold CR LF into LF on Windows).
        std::FILE *f = std::fopen(fileName, "rb");
        if (!f) return -1;
        int result = -1;
        for (int c = std::fgetc(f); c != EOF; c = std::fgetc(f)) {
            if (c == '\n') {
                result = 2;
                break;
            }
            if (c == '\r') {
                result = std::fgetc(f) == '\n' ? 1 : 3;
                break;
            }
        }
        std::fclose(f);
        return result;
    });
}

}  // extern "C"
