// String utilities. Every routine works in place within the caller's buffer.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>

#include "base/guard.h"
#include "kestrel/util.h"

namespace {

struct PathParts {
    std::string drive, dir, name, ext;
};

// Drive ("C:"), directory (up to the last separator, "/" or "\"), file name
// and extension (from the last "." of the file name).
PathParts splitPath(const char *path) {
    PathParts p;
    std::string s = path ? path : "";
    size_t start = 0;
    if (s.size() >= 2 && s[1] == ':') {
        p.drive = s.substr(0, 2);
        start = 2;
    }
    size_t lastSep = s.find_last_of("/\\");
    size_t nameStart = start;
    if (lastSep != std::string::npos && lastSep >= start) {
        p.dir = s.substr(start, lastSep + 1 - start);
        nameStart = lastSep + 1;
    }
    std::string file = s.substr(nameStart);
    size_t dot = file.find_last_of('.');
    if (dot != std::string::npos) {
        p.name = file.substr(0, dot);
        p.ext = file.substr(dot);
    } else {
        p.name = file;
    }
    return p;
}

bool isBlank(unsigned char c) { return c < 33 || c == 127 || (c & 0x80); }

}  // namespace

extern "C" {

KESTREL_API char *KESTREL_CALL rmNL(char *s) {
    return kestrel::guarded<char *>("rmNL", [&]() -> char * {
        if (!s) return nullptr;
        char *p = std::strchr(s, '\n');
        if (p) *p = '\0';
        return p;
    });
}

KESTREL_API char *KESTREL_CALL Tstrip(char *s) {
    return kestrel::guarded<char *>("Tstrip", [&]() -> char * {
        if (!s || !*s) return s;
        char *first = nullptr;
        char *dot = nullptr;
        bool numeric = true;
        size_t len = 0;
        for (char *p = s; *p; ++p, ++len) {
            const unsigned char c = static_cast<unsigned char>(*p);
            if (isBlank(c)) continue;
            if (!first) first = p;
            if (c < 43 || c > 57) numeric = false;
            if (c == '.') dot = p;
        }
        for (char *p = s + len; p > s;) {
            --p;
            if (*p == ' ') {
                *p = '\0';
            } else if (numeric && dot && *p == '0' && p > dot) {
                *p = '\0';
            } else {
                break;
            }
        }
        const size_t left = std::strlen(s);
        if (numeric && left > 0 && s[left - 1] == '.') s[left - 1] = '\0';
        return first ? first : s;
    });
}

KESTREL_API void KESTREL_CALL rmext(char *path) {
    return kestrel::guarded<void>("rmext", [&]() -> void {
        if (!path || !*path) return;
        PathParts p = splitPath(path);
        std::string rebuilt = p.drive + p.dir + p.name;  // never longer than path
        std::memcpy(path, rebuilt.c_str(), rebuilt.size() + 1);
    });
}

KESTREL_API int32_t KESTREL_CALL ReplaceInString(char *s, const char *find, const char *repl, int32_t capacity) {
    return kestrel::guarded<int32_t>("ReplaceInString", [&]() -> int32_t {
        if (!s || !find || !*find || capacity < 1 || !std::strstr(s, find)) return 0;
        if (!repl) repl = "";
        const std::string copy = s;
        const size_t cap = static_cast<size_t>(capacity);
        const size_t findLen = std::strlen(find), replLen = std::strlen(repl);
        size_t len = 0, pos = 0;
        s[0] = '\0';
        for (size_t at = copy.find(find, pos); at != std::string::npos; at = copy.find(find, pos)) {
            const size_t pieceLen = at - pos;
            if (len + pieceLen + replLen < cap) {  // pieces that would not fit are dropped
                std::memcpy(s + len, copy.data() + pos, pieceLen);
                std::memcpy(s + len + pieceLen, repl, replLen);
                len += pieceLen + replLen;
                s[len] = '\0';
            }
            pos = at + findLen;
        }
        const size_t restLen = copy.size() - pos;
        if (restLen > 0 && len + restLen < cap) {
            std::memcpy(s + len, copy.data() + pos, restLen);
            len += restLen;
            s[len] = '\0';
        }
        return 1;
    });
}

KESTREL_API int32_t KESTREL_CALL ReplaceSeparator(char *path, int32_t capacity, const char *system) {
    return kestrel::guarded<int32_t>("ReplaceSeparator", [&]() -> int32_t {
        if (!system) return 1;
        if (std::strcmp(system, "UNIX") == 0) return ReplaceInString(path, "\\", "/", capacity);
        if (std::strcmp(system, "WIN32") == 0) return ReplaceInString(path, "/", "\\", capacity);
        return 1;
    });
}

KESTREL_API int32_t KESTREL_CALL BreakLine(char *line, const char *sep, char **fields, int32_t maxFields) {
    return kestrel::guarded<int32_t>("BreakLine", [&]() -> int32_t {
        if (!line || !fields || maxFields < 1) return 0;
        if (char *p = std::strchr(line, '\n')) *p = '\0';
        if (char *p = std::strchr(line, '\r')) *p = '\0';
        if (!sep || !*sep) {
            fields[0] = line;
            return 1;
        }
        if (std::strcmp(sep, " ") != 0) {
            int32_t n = 1;
            fields[0] = line;
            char *p = line;
            while (n < maxFields) {
                char *q = std::strstr(p, sep);
                if (!q) break;
                *q = '\0';  // a longer separator leaves its rest at the next field's start
                fields[n++] = q + 1;
                p = q + 1;
            }
            return n;
        }
        // Runs of spaces separate tokens. The field array holds maxFields
        // pointers: tokens beyond it are left unsplit after the last one.
        int32_t n = 0;
        char *p = line;
        while (n < maxFields) {
            while (*p == ' ') ++p;
            if (!*p) break;
            fields[n++] = p;
            while (*p && *p != ' ') ++p;
            if (!*p) break;
            if (n < maxFields) *p++ = '\0';
        }
        return n;
    });
}

KESTREL_API void KESTREL_CALL dcmpnam(const char *path, char *dir, char *name) {
    return kestrel::guarded<void>("dcmpnam", [&]() -> void {
        PathParts p = splitPath(path);
        if (dir) std::snprintf(dir, KESTREL_MAX_PATH, "%s%s", p.drive.c_str(), p.dir.c_str());
        if (name) std::snprintf(name, KESTREL_MAX_PATH, "%s%s", p.name.c_str(), p.ext.c_str());
    });
}

KESTREL_API char *KESTREL_CALL ExtractRHS(char *out, const char *line) {
    return kestrel::guarded<char *>("ExtractRHS", [&]() -> char * {
        if (!out) return nullptr;
        out[0] = '\0';
        if (line) {
            if (const char *eq = std::strchr(line, '=')) std::snprintf(out, KESTREL_MAX_PATH, "%s", eq + 1);
        }
        return rmNL(out);
    });
}

KESTREL_API int32_t KESTREL_CALL SetStrRandom(char *out) {
    return kestrel::guarded<int32_t>("SetStrRandom", [&]() -> int32_t {
        if (!out) return 0;
        std::srand(static_cast<unsigned>(std::time(nullptr)));
        char buf[32];
        std::snprintf(buf, sizeof buf, "%i", std::rand());
        std::strcpy(out, Tstrip(buf));
        return 0;
    });
}

// Indices run in 64 bits: last = INT32_MAX must end the loop, not wrap it.
KESTREL_API void KESTREL_CALL initf1(float *a, int32_t first, int32_t last, float value) {
    return kestrel::guarded<void>("initf1", [&]() -> void {
        if (!a || first < 0) return;
        for (int64_t i = first; i <= last; ++i) a[i] = value;
    });
}

KESTREL_API void KESTREL_CALL inits1(int16_t *a, int32_t first, int32_t last, int16_t value) {
    return kestrel::guarded<void>("inits1", [&]() -> void {
        if (!a || first < 0) return;
        for (int64_t i = first; i <= last; ++i) a[i] = value;
    });
}

}  // extern "C"
