// POSIX system services: local time, version, user and host names, errors,
// and files behind opaque KFILE handles.
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <pwd.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/utsname.h>
#include <unistd.h>

#include "base/guard.h"
#include "platform/platform.h"

struct KFile_ {
    int fd;
};

namespace kestrel::plat {

namespace {
void copyTruncated(char *dst, uint32_t len, const char *src) {
    if (len == 0) return;
    std::strncpy(dst, src, len - 1);
    dst[len - 1] = '\0';
}
}  // namespace

void localTime(LocalTime *t) {
    std::time_t now = std::time(nullptr);
    std::tm tm{};
    localtime_r(&now, &tm);
    t->year = tm.tm_year + 1900;
    t->month = tm.tm_mon + 1;
    t->day = tm.tm_mday;
    t->hour = tm.tm_hour;
    t->minute = tm.tm_min;
    t->second = tm.tm_sec;
}

void osVersion(KOSVersionInfo *v) {
    struct utsname u {};
    uint32_t size = v->dwOSVersionInfoSize;
    std::memset(v, 0, sizeof *v);
    v->dwOSVersionInfoSize = size;
    if (uname(&u) != 0) return;
    unsigned major = 0, minor = 0, build = 0;
    std::sscanf(u.release, "%u.%u.%u", &major, &minor, &build);
    v->dwMajorVersion = major;
    v->dwMinorVersion = minor;
    v->dwBuildNumber = build;
    v->dwPlatformId = 0;  // not a Windows platform
    std::string text = std::string(u.sysname) + " " + u.release;
    copyTruncated(v->szCSDVersion, sizeof v->szCSDVersion, text.c_str());
}

bool userName(char *buf, uint32_t len) {
    struct passwd pw {};
    struct passwd *res = nullptr;
    char scratch[1024];
    if (getpwuid_r(getuid(), &pw, scratch, sizeof scratch, &res) == 0 && res && res->pw_name) {
        copyTruncated(buf, len, res->pw_name);
        return true;
    }
    const char *env = std::getenv("USER");
    copyTruncated(buf, len, env ? env : "");
    return env != nullptr;
}

bool computerName(char *buf, uint32_t len) {
    char host[256] = "";
    if (gethostname(host, sizeof host - 1) != 0) {
        copyTruncated(buf, len, "");
        return false;
    }
    host[sizeof host - 1] = '\0';
    copyTruncated(buf, len, host);
    return true;
}

std::string lastErrorMessage() {
    int e = errno;
    return std::strerror(e);
}

void beep() {}  // a headless library has no speaker; the dropped event is the signal

KFILE fileCreate(const char *path) {
    int fd = ::open(path, O_RDWR | O_CREAT | O_TRUNC, 0666);
    return fd < 0 ? nullptr : new KFile_{fd};
}

KFILE fileOpenRead(const char *path) {
    int fd = ::open(path, O_RDONLY);
    return fd < 0 ? nullptr : new KFile_{fd};
}

KFILE fileOpenReadExclusive(const char *path) {
    int fd = ::open(path, O_RDONLY);
    if (fd < 0) return nullptr;
    if (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
        ::close(fd);
        return nullptr;
    }
    return new KFile_{fd};
}

KFILE fileOpenReadWrite(const char *path) {
    int fd = ::open(path, O_RDWR);
    return fd < 0 ? nullptr : new KFile_{fd};
}

long fileWrite(KFILE f, const void *data, size_t n) {
    if (!f) return -1;
    const char *p = static_cast<const char *>(data);
    size_t done = 0;
    while (done < n) {
        ssize_t k = ::write(f->fd, p + done, n - done);
        if (k < 0) {
            if (errno == EINTR) continue;
            return -1;
        }
        done += static_cast<size_t>(k);
    }
    return static_cast<long>(done);
}

long fileRead(KFILE f, void *data, size_t n) {
    if (!f) return -1;
    ssize_t k;
    do {
        k = ::read(f->fd, data, n);
    } while (k < 0 && errno == EINTR);
    return static_cast<long>(k);
}

int64_t fileSeek(KFILE f, int64_t offset, int origin) {
    if (!f) return -1;
    int whence = origin == 1 ? SEEK_CUR : origin == 2 ? SEEK_END : SEEK_SET;
    return static_cast<int64_t>(::lseek(f->fd, static_cast<off_t>(offset), whence));
}

void fileClose(KFILE f) {
    if (!f) return;
    ::close(f->fd);
    delete f;
}

KFILE fileOpenAlways(const char *path) {
    int fd = ::open(path, O_RDWR | O_CREAT, 0666);
    return fd < 0 ? nullptr : new KFile_{fd};
}

}  // namespace kestrel::plat

// ---- Exported file helpers for non-Windows hosts ------------------------------------

#include "kestrel/canvas.h"

extern "C" {

KESTREL_API int32_t KESTREL_CALL KFileWriteText(KFILE file, const char *text) {
    return kestrel::guarded<int32_t>("KFileWriteText", [&]() -> int32_t {
        if (!file || !text) return -1;
        return static_cast<int32_t>(kestrel::plat::fileWriteText(file, text));
    });
}

KESTREL_API void KESTREL_CALL KFileClose(KFILE file) {
    return kestrel::guarded<void>("KFileClose", [&]() -> void { kestrel::plat::fileClose(file); });
}

KESTREL_API KFILE KESTREL_CALL KFileOpenRead(const char *path) {
    return kestrel::guarded<KFILE>("KFileOpenRead", [&]() -> KFILE {
        return path ? kestrel::plat::fileOpenReadExclusive(path) : nullptr;
    });
}

}  // extern "C"
