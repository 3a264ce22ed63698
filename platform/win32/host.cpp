// Windows side of the host's housekeeping: directory searches, times,
// messages to the host's windows, the registry and CreateProcess.
#include <windows.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "platform/platform.h"

namespace kestrel::plat {

namespace {

int64_t unixTime(const FILETIME &ft) {
    const uint64_t t = (static_cast<uint64_t>(ft.dwHighDateTime) << 32) | ft.dwLowDateTime;
    return static_cast<int64_t>(t / 10000000ULL) - 11644473600LL;
}

}  // namespace

bool listDirectory(const std::string &dir, const std::string &pattern, std::vector<DirEntry> *out) {
    out->clear();
    std::string spec = dir;
    if (!spec.empty() && spec.back() != '\\' && spec.back() != '/') spec += '\\';
    spec += pattern.empty() ? "*" : pattern;
    WIN32_FIND_DATAA d;
    HANDLE h = FindFirstFileA(spec.c_str(), &d);
    if (h == INVALID_HANDLE_VALUE) return GetLastError() == ERROR_FILE_NOT_FOUND;
    do {
        DirEntry e;
        e.name = d.cFileName;
        e.directory = (d.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
        e.writeTime = unixTime(d.ftLastWriteTime);
        out->push_back(e);
    } while (FindNextFileA(h, &d));
    FindClose(h);
    return true;
}

std::string currentDirectory() {
    char buf[MAX_PATH + 1];
    const DWORD n = GetCurrentDirectoryA(sizeof buf, buf);
    return n > 0 && n < sizeof buf ? std::string(buf, n) : std::string();
}

bool setCurrentDirectory(const std::string &dir) { return SetCurrentDirectoryA(dir.c_str()) != 0; }

bool removeFile(const std::string &path) { return DeleteFileA(path.c_str()) != 0; }

int64_t timeNow() {
    FILETIME ft;
    GetSystemTimeAsFileTime(&ft);
    return unixTime(ft);
}

void utcDate(int64_t t, int *year, int *month, int *day) {
    const uint64_t v = (static_cast<uint64_t>(t) + 11644473600ULL) * 10000000ULL;
    FILETIME ft{static_cast<DWORD>(v), static_cast<DWORD>(v >> 32)};
    SYSTEMTIME st{};
    FileTimeToSystemTime(&ft, &st);
    *year = st.wYear;
    *month = st.wMonth;
    *day = st.wDay;
}

long sendTextMessage(KWND window, unsigned message, const char *text) {
    return static_cast<long>(
        SendMessageA(static_cast<HWND>(window), message, 0, reinterpret_cast<LPARAM>(text)));
}

bool readSetting(void *root, const std::string &key, const std::string &name, std::string *value) {
    HKEY h = nullptr;
    if (RegOpenKeyExA(static_cast<HKEY>(root), key.c_str(), 0, KEY_READ, &h) != ERROR_SUCCESS) return false;
    char buf[4096];
    DWORD size = sizeof buf - 1, type = 0;
    const LONG r = RegQueryValueExA(h, name.c_str(), nullptr, &type, reinterpret_cast<BYTE *>(buf), &size);
    RegCloseKey(h);
    if (r != ERROR_SUCCESS) return false;
    buf[size < sizeof buf ? size : sizeof buf - 1] = '\0';
    *value = buf;
    return true;
}

int spawnProcess(const char *commandLine, const std::vector<std::string> &, const char *directory, bool wait) {
    std::vector<char> line(commandLine, commandLine + std::strlen(commandLine) + 1);
    STARTUPINFOA si{};
    si.cb = sizeof si;
    PROCESS_INFORMATION pi{};
    if (!CreateProcessA(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr,
                        directory && *directory ? directory : nullptr, &si, &pi))
        return -1;
    CloseHandle(pi.hThread);
    DWORD code = 0;
    if (wait) {
        WaitForSingleObject(pi.hProcess, INFINITE);
        GetExitCodeProcess(pi.hProcess, &code);
    }
    CloseHandle(pi.hProcess);
    return static_cast<int>(code);
}

void *findFirstEntry(const char *pattern, void *findData) {
    HANDLE h = FindFirstFileA(pattern, static_cast<WIN32_FIND_DATAA *>(findData));
    return h == INVALID_HANDLE_VALUE ? nullptr : h;
}

bool findNextEntry(void *search, void *findData) {
    return search && FindNextFileA(static_cast<HANDLE>(search), static_cast<WIN32_FIND_DATAA *>(findData)) != 0;
}

void findClose(void *search) {
    if (search) FindClose(static_cast<HANDLE>(search));
}

}  // namespace kestrel::plat
