// POSIX side of the host's housekeeping: directories, times, the settings
// text store, messages through the host's callback and starting programs.
#include <dirent.h>
#include <fcntl.h>
#include <fnmatch.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <string>
#include <vector>

#include "kestrel/canvas.h"
#include "kestrel/types.h"
#include "platform/platform.h"

namespace kestrel::plat {

extern KUICallbacks gCallbacks;  // platform/posix/ui.cpp

namespace {

// The host's paths may use backslashes; the system wants slashes.
std::string systemPath(std::string p) {
    for (char &c : p)
        if (c == '\\') c = '/';
    return p;
}

bool matches(const std::string &pattern, const char *name) {
    if (pattern.empty() || pattern == "*.*" || pattern == "*") return true;
    return fnmatch(pattern.c_str(), name, 0) == 0;
}

struct Search {
    std::vector<DirEntry> entries;
    std::string dir;
    size_t next = 0;
};

void fill(const DirEntry &e, void *findData) {
    auto *d = static_cast<KFindData *>(findData);
    std::memset(d, 0, sizeof *d);
    d->attributes = e.directory ? K_FILE_ATTRIBUTE_DIRECTORY : 0x80;
    // FILETIME: 100 ns since 1601-01-01.
    const uint64_t ft = (static_cast<uint64_t>(e.writeTime) + 11644473600ULL) * 10000000ULL;
    d->lastWriteTime[0] = static_cast<uint32_t>(ft);
    d->lastWriteTime[1] = static_cast<uint32_t>(ft >> 32);
    std::snprintf(d->name, sizeof d->name, "%s", e.name.c_str());
}

std::string settingsFile() {
    if (const char *p = std::getenv("KESTREL_REGISTRY")) return p;
    if (const char *x = std::getenv("XDG_CONFIG_HOME"); x && *x) return std::string(x) + "/kestrel/registry";
    if (const char *h = std::getenv("HOME")) return std::string(h) + "/.config/kestrel/registry";
    return "";
}

}  // namespace

bool listDirectory(const std::string &dir, const std::string &pattern, std::vector<DirEntry> *out) {
    out->clear();
    const std::string d = dir.empty() ? "." : systemPath(dir);
    DIR *h = ::opendir(d.c_str());
    if (!h) return false;
    while (const dirent *e = ::readdir(h)) {
        if (!matches(pattern, e->d_name)) continue;
        DirEntry entry;
        entry.name = e->d_name;
        struct stat st {};
        if (::stat((d + "/" + entry.name).c_str(), &st) == 0) {
            entry.directory = S_ISDIR(st.st_mode);
            entry.writeTime = static_cast<int64_t>(st.st_mtime);
        }
        out->push_back(entry);
    }
    ::closedir(h);
    return true;
}

std::string currentDirectory() {
    std::vector<char> buf(4096);
    while (!::getcwd(buf.data(), buf.size())) {
        if (errno != ERANGE || buf.size() > (1u << 20)) return "";
        buf.resize(buf.size() * 2);
    }
    return buf.data();
}

bool setCurrentDirectory(const std::string &dir) { return ::chdir(systemPath(dir).c_str()) == 0; }

bool removeFile(const std::string &path) { return ::unlink(systemPath(path).c_str()) == 0; }

int64_t timeNow() { return static_cast<int64_t>(std::time(nullptr)); }

void utcDate(int64_t t, int *year, int *month, int *day) {
    const std::time_t tt = static_cast<std::time_t>(t);
    std::tm tm {};
    ::gmtime_r(&tt, &tm);
    *year = tm.tm_year + 1900;
    *month = tm.tm_mon + 1;
    *day = tm.tm_mday;
}

long sendTextMessage(KWND window, unsigned message, const char *text) {
    return gCallbacks.sendMessage ? gCallbacks.sendMessage(gCallbacks.user, window, message, 0, text) : 0;
}

bool readSetting(void *, const std::string &key, const std::string &name, std::string *value) {
    const std::string file = settingsFile();
    if (file.empty()) return false;
    std::ifstream in(file);
    if (!in) return false;
    std::string line, section;
    auto trim = [](std::string s) {
        const size_t a = s.find_first_not_of(" \t\r"), b = s.find_last_not_of(" \t\r");
        return a == std::string::npos ? std::string() : s.substr(a, b - a + 1);
    };
    auto same = [](const std::string &a, const std::string &b) {  // keys are case-insensitive, as in the registry
        if (a.size() != b.size()) return false;
        for (size_t i = 0; i < a.size(); ++i) {
            char x = a[i], y = b[i];
            if (x == '/') x = '\\';
            if (y == '/') y = '\\';
            if (std::tolower(static_cast<unsigned char>(x)) != std::tolower(static_cast<unsigned char>(y))) return false;
        }
        return true;
    };
    while (std::getline(in, line)) {
        line = trim(line);
        if (line.empty() || line[0] == '#' || line[0] == ';') continue;
        if (line.front() == '[' && line.back() == ']') {
            section = trim(line.substr(1, line.size() - 2));
            continue;
        }
        const size_t eq = line.find('=');
        if (eq == std::string::npos || !same(section, key)) continue;
        if (same(trim(line.substr(0, eq)), name)) {
            *value = trim(line.substr(eq + 1));
            return true;
        }
    }
    return false;
}

int spawnProcess(const char *, const std::vector<std::string> &words, const char *directory, bool wait) {
    if (words.empty()) return -1;
    std::vector<char *> argv;
    std::vector<std::string> w = words;
    for (auto &s : w) argv.push_back(&s[0]);
    argv.push_back(nullptr);
    const std::string dir = directory && *directory ? systemPath(directory) : "";
    // A pipe closed on exec tells the parent whether the program started.
    int fds[2];
    if (::pipe2(fds, O_CLOEXEC) != 0) return -1;
    const pid_t pid = ::fork();
    if (pid < 0) {
        ::close(fds[0]), ::close(fds[1]);
        return -1;
    }
    if (pid == 0) {
        ::close(fds[0]);
        if (!wait) {
            // Detached: a grandchild of its own session runs the program, so
            // nobody has to wait for it.
            ::setsid();
            const pid_t again = ::fork();
            if (again != 0) ::_exit(again < 0 ? 127 : 0);
        }
        if (!dir.empty() && ::chdir(dir.c_str()) != 0) {
            const char failed = 1;
            (void)!::write(fds[1], &failed, 1);
            ::_exit(127);
        }
        ::execvp(argv[0], argv.data());
        const char failed = 1;
        (void)!::write(fds[1], &failed, 1);
        ::_exit(127);
    }
    ::close(fds[1]);
    char failed = 0;
    ssize_t got;
    while ((got = ::read(fds[0], &failed, 1)) < 0 && errno == EINTR) {
    }
    ::close(fds[0]);
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    if (got == 1 && failed) return -1;
    if (!wait) return 0;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + (WIFSIGNALED(status) ? WTERMSIG(status) : 0);
}

void *findFirstEntry(const char *pattern, void *findData) {
    const std::string p = systemPath(pattern ? pattern : "*");
    const size_t slash = p.rfind('/');
    auto *s = new Search;
    s->dir = slash == std::string::npos ? "" : p.substr(0, slash);
    if (!listDirectory(s->dir, slash == std::string::npos ? p : p.substr(slash + 1), &s->entries) ||
        s->entries.empty()) {
        delete s;
        return nullptr;
    }
    fill(s->entries[0], findData);
    s->next = 1;
    return s;
}

bool findNextEntry(void *search, void *findData) {
    auto *s = static_cast<Search *>(search);
    if (!s || s->next >= s->entries.size()) return false;
    fill(s->entries[s->next++], findData);
    return true;
}

void findClose(void *search) { delete static_cast<Search *>(search); }

}  // namespace kestrel::plat
