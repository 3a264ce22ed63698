// The host's housekeeping: document paths, file lists, dates, settings,
// old files and other programs. The string work is the same everywhere;
// what touches the system goes through the platform layer.
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "base/guard.h"
#include "kestrel/host.h"
#include "kestrel/util.h"
#include "platform/platform.h"

namespace {

bool isSeparator(char c) { return c == '\\' || c == '/'; }

struct PathParts {
    std::string drive, dir, name, ext;
};

// Drive "X:", directory up to its last separator, name, extension from the
// name's last dot: the way the platform's path splitter cuts a path.
PathParts split(const std::string &p) {
    PathParts r;
    size_t at = 0;
    if (p.size() >= 2 && p[1] == ':') {
        r.drive = p.substr(0, 2);
        at = 2;
    }
    size_t lastSep = std::string::npos;
    for (size_t i = at; i < p.size(); ++i)
        if (isSeparator(p[i])) lastSep = i;
    if (lastSep != std::string::npos) {
        r.dir = p.substr(at, lastSep + 1 - at);
        at = lastSep + 1;
    }
    const std::string rest = p.substr(at);
    const size_t dot = rest.rfind('.');
    r.name = dot == std::string::npos ? rest : rest.substr(0, dot);
    r.ext = dot == std::string::npos ? "" : rest.substr(dot);
    return r;
}

size_t copyOut(char *out, const std::string &s, size_t room) {
    if (!out || room == 0) return 0;
    const size_t n = s.size() < room - 1 ? s.size() : room - 1;
    std::memcpy(out, s.data(), n);
    out[n] = '\0';
    return n;
}

std::string withoutExtension(const std::string &name, bool strip) {
    if (!strip) return name;
    std::vector<char> b(name.begin(), name.end());
    b.push_back('\0');
    rmext(b.data());
    return b.data();
}

void walk(const std::string &pattern, KWND window, uint32_t message, bool strip, bool recurse, int depth) {
    const std::string dir = kestrel::plat::currentDirectory();
    std::vector<kestrel::plat::DirEntry> entries;
    if (kestrel::plat::listDirectory("", pattern, &entries))
        for (const auto &e : entries) {
            if (e.directory) continue;
            const std::string text = dir + "\\" + withoutExtension(e.name, strip);
            kestrel::plat::sendTextMessage(window, message, text.c_str());
        }
    // Deeper than any real tree: a loop of links ends here.
    if (!recurse || depth > 64 || !kestrel::plat::listDirectory("", "*.*", &entries)) return;
    for (const auto &e : entries) {
        if (!e.directory || e.name == "." || e.name == "..") continue;
        if (!kestrel::plat::setCurrentDirectory(e.name)) continue;  // can't be entered: passed over
        walk(pattern, window, message, strip, recurse, depth + 1);
        kestrel::plat::setCurrentDirectory("..");
    }
}

// A command line split as Windows splits it: blanks separate words, double
// quotes keep blanks inside a word and are removed.
std::vector<std::string> words(const char *line) {
    std::vector<std::string> out;
    std::string w;
    bool quoted = false, inWord = false;
    for (const char *p = line; *p; ++p) {
        if (*p == '"') {
            quoted = !quoted;
            inWord = true;
        } else if ((*p == ' ' || *p == '\t') && !quoted) {
            if (inWord) out.push_back(w), w.clear(), inWord = false;
        } else {
            w += *p;
            inWord = true;
        }
    }
    if (inWord) out.push_back(w);
    return out;
}

}  // namespace

extern "C" {

KESTREL_API int32_t KESTREL_CALL PathRel2Full(const char *rel, char *full, const char *ref) {
    return kestrel::guarded<int32_t>("PathRel2Full", [&]() -> int32_t {
        if (!full) return 0;
        const PathParts r = split(rel ? rel : ""), b = split(ref ? ref : "");
        PathParts out = r;
        if (out.drive.empty()) out.drive = b.drive;
        if (out.dir.empty() || !isSeparator(out.dir[0])) out.dir = b.dir + out.dir;
        return static_cast<int32_t>(copyOut(full, out.drive + out.dir + out.name + out.ext, KESTREL_MAX_PATH));
    });
}

KESTREL_API int32_t KESTREL_CALL GetParentDirectory(char *out, const char *path) {
    return kestrel::guarded<int32_t>("GetParentDirectory", [&]() -> int32_t {
        if (!out) return 0;
        const size_t n = copyOut(out, path ? path : "", KESTREL_MAX_PATH);
        if (n <= 1) return 0;
        size_t i = n - 1;
        out[i--] = '\0';
        while (i > 0 && out[i] != '\\') out[i--] = '\0';
        return static_cast<int32_t>(i);
    });
}

KESTREL_API int32_t KESTREL_CALL CleanDirString(char *dir) {
    return kestrel::guarded<int32_t>("CleanDirString", [&]() -> int32_t {
        if (!dir) return 0;
        char buf[257];
        copyOut(buf, dir, 256);
        const char *stripped = Tstrip(buf);
        if (stripped != buf) std::memmove(buf, stripped, std::strlen(stripped) + 1);
        size_t n = std::strlen(buf);
        if (n == 0 || buf[n - 1] != '\\') {
            if (n < 255) buf[n++] = '\\';
            buf[n] = '\0';
        }
        std::memcpy(dir, buf, n + 1);
        return 0;
    });
}

KESTREL_API void KESTREL_CALL ValidateFileName(char *name) {
    return kestrel::guarded<void>("ValidateFileName", [&]() -> void {
        if (!name) return;
        for (char *p = name; *p; ++p)
            if (*p == ' ' || *p == '/' || *p == '\\' || *p == ':') *p = '_';
    });
}

KESTREL_API int32_t KESTREL_CALL GenerateFileList(const char *pattern, KWND window, uint32_t message, int32_t strip) {
    return kestrel::guarded<int32_t>("GenerateFileList", [&]() -> int32_t {
        std::vector<kestrel::plat::DirEntry> entries;
        if (!pattern || !kestrel::plat::listDirectory("", pattern, &entries)) return 0;
        int32_t sent = 0;
        for (const auto &e : entries) {
            if (e.directory) continue;
            kestrel::plat::sendTextMessage(window, message, withoutExtension(e.name, strip != 0).c_str());
            ++sent;
        }
        return sent;
    });
}

KESTREL_API int32_t KESTREL_CALL GenerateFileListEx(const char *start, const char *pattern, int32_t recurse, KWND window,
                                                    uint32_t message, int32_t strip) {
    return kestrel::guarded<int32_t>("GenerateFileListEx", [&]() -> int32_t {
        if (!start || !pattern) return 0;
        const std::string before = kestrel::plat::currentDirectory();
        if (!kestrel::plat::setCurrentDirectory(start)) return 0;
        walk(pattern, window, message, strip != 0, recurse != 0, 0);
        kestrel::plat::setCurrentDirectory(before);
        return 0;
    });
}

KESTREL_API int32_t KESTREL_CALL IsChildDir(const KFindData *data) {
    return kestrel::guarded<int32_t>("IsChildDir", [&]() -> int32_t {
        if (!data || !(data->attributes & K_FILE_ATTRIBUTE_DIRECTORY)) return 0;
        return std::strcmp(data->name, ".") != 0 && std::strcmp(data->name, "..") != 0;
    });
}

KESTREL_API int32_t KESTREL_CALL FindNextChildDir(void *search, KFindData *data) {
    return kestrel::guarded<int32_t>("FindNextChildDir", [&]() -> int32_t {
        if (!search || search == K_INVALID_SEARCH || !data) return 0;
        while (kestrel::plat::findNextEntry(search, data))
            if (IsChildDir(data)) return 1;
        return 0;
    });
}

KESTREL_API void *KESTREL_CALL FindFirstChildDir(const char *pattern, KFindData *data) {
    return kestrel::guardedOr<void *>("FindFirstChildDir", K_INVALID_SEARCH, [&]() -> void * {
        if (!pattern || !data) return K_INVALID_SEARCH;
        void *h = kestrel::plat::findFirstEntry(pattern, data);
        if (!h) return K_INVALID_SEARCH;
        if (IsChildDir(data) || FindNextChildDir(h, data)) return h;
        kestrel::plat::findClose(h);
        return K_INVALID_SEARCH;
    });
}

#ifndef _WIN32
KESTREL_API void KESTREL_CALL KFindClose(void *search) {
    return kestrel::guarded<void>("KFindClose", [&]() -> void {
        if (search && search != K_INVALID_SEARCH) kestrel::plat::findClose(search);
    });
}
#endif

KESTREL_API int32_t KESTREL_CALL julday(int32_t month, int32_t day, int32_t year) {
    return kestrel::guardedOr<int32_t>("julday", -1, [&]() -> int32_t {
        if (year == 0) return -1;
        int64_t y = year;
        if (y < 0) ++y;  // there is no year 0
        int64_t jy, jm;
        if (month > 2) {
            jy = y;
            jm = static_cast<int64_t>(month) + 1;
        } else {
            jy = y - 1;
            jm = static_cast<int64_t>(month) + 13;
        }
        double jd = std::floor(365.25 * static_cast<double>(jy)) + std::floor(30.6001 * static_cast<double>(jm)) + day +
                    1720995.0;
        if (static_cast<double>(day) + 31.0 * (static_cast<double>(month) + 12.0 * static_cast<double>(y)) >= 588829.0) {
            const double ja = std::trunc(0.01 * static_cast<double>(jy));
            jd += 2 - ja + std::trunc(0.25 * ja);
        }
        jd = std::trunc(jd);
        return jd > 2147483647.0 || jd < -2147483648.0 ? -1 : static_cast<int32_t>(jd);
    });
}

KESTREL_API int32_t KESTREL_CALL GetRegValue(KHKEY root, const char *key, const char *sub, const char *name, char *out,
                                             int32_t size, const char *defaultValue) {
    return kestrel::guarded<int32_t>("GetRegValue", [&]() -> int32_t {
        if (!out || size <= 0) return 0;
        std::string path = key ? key : "";
        if (sub && *sub) path += std::string("\\") + sub;
        std::string value;
        if (!key || !name || !kestrel::plat::readSetting(root, path, name, &value)) value = defaultValue ? defaultValue : "";
        return static_cast<int32_t>(copyOut(out, value, static_cast<size_t>(size)));
    });
}

KESTREL_API int32_t KESTREL_CALL DeleteOldFiles(const char *pattern, int32_t days) {
    return kestrel::guarded<int32_t>("DeleteOldFiles", [&]() -> int32_t {
        if (!pattern) return 0;
        const std::string p = pattern;
        size_t cut = 0;
        for (size_t i = 0; i < p.size(); ++i)
            if (isSeparator(p[i])) cut = i + 1;
        const std::string dir = p.substr(0, cut), name = p.substr(cut);
        int y, m, d;
        kestrel::plat::utcDate(kestrel::plat::timeNow(), &y, &m, &d);
        const int64_t today = julday(m, d, y);
        std::vector<kestrel::plat::DirEntry> entries;
        if (!kestrel::plat::listDirectory(dir, name, &entries)) return 0;
        for (const auto &e : entries) {
            if (e.directory || e.name == "." || e.name == "..") continue;
            kestrel::plat::utcDate(e.writeTime, &y, &m, &d);
            if (today - julday(m, d, y) > static_cast<int64_t>(days)) kestrel::plat::removeFile(dir + e.name);
        }
        return 0;
    });
}

KESTREL_API int32_t KESTREL_CALL SpawnDetachedProcess(const char *command, const char *directory, int32_t wait) {
    return kestrel::guarded<int32_t>("SpawnDetachedProcess", [&]() -> int32_t {
        if (!command) return 1;
        const int r = kestrel::plat::spawnProcess(command, words(command), directory, wait != 0);
        return r < 0 ? 1 : r;
    });
}

}  // extern "C"
