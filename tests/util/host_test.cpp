// The host's housekeeping: document paths by hand-worked cases, Julian days
// against the published calendar values, the time stamp's form, settings
// from the store (and the default when there is none), file lists through
// the host's message callback, old-file deletion and started programs with
// quoted words and exit codes.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <algorithm>
#include <ctime>
#include <regex>
#include <string>
#include <vector>

#include "common/testing.h"
#include "kestrel/kestrel.h"
#include "platform/platform.h"

#ifndef _WIN32
#include <sys/time.h>
#include <utime.h>
#endif

namespace {

std::string rel2full(const char *rel, const char *ref) {
    char out[KESTREL_MAX_PATH];
    const int32_t n = PathRel2Full(rel, out, ref);
    EXPECT_EQ(n, static_cast<int32_t>(std::strlen(out)));
    return out;
}

TEST(Host, DocumentPaths) {
    EXPECT_EQ(rel2full("sub\\file.dat", "C:\\base\\doc.ext"), "C:\\base\\sub\\file.dat");
    EXPECT_EQ(rel2full("\\x\\y.dat", "C:\\base\\doc.ext"), "C:\\x\\y.dat");
    EXPECT_EQ(rel2full("D:\\z\\w.txt", "C:\\base\\doc.ext"), "D:\\z\\w.txt");
    EXPECT_EQ(rel2full("D:q.txt", "C:\\base\\doc.ext"), "D:\\base\\q.txt");  // kept as the host expects
    EXPECT_EQ(rel2full("..\\up.dat", "C:\\base\\doc.ext"), "C:\\base\\..\\up.dat");
    EXPECT_EQ(rel2full("name.dat", ""), "name.dat");
    const std::string huge(5000, 'a');
    EXPECT_EQ(rel2full(huge.c_str(), "C:\\b\\"), "C:\\b\\" + std::string(KESTREL_MAX_PATH - 1 - 5, 'a'));

    char out[KESTREL_MAX_PATH];
    EXPECT_EQ(GetParentDirectory(out, "C:\\data\\run1\\"), 7);
    EXPECT_STREQ(out, "C:\\data\\");
    GetParentDirectory(out, "C:\\data\\run1");
    EXPECT_STREQ(out, "C:\\data\\");
    GetParentDirectory(out, "name");
    EXPECT_STREQ(out, "n");
    GetParentDirectory(out, "");
    EXPECT_STREQ(out, "");

    char dir[300] = "  D:\\data  ";
    CleanDirString(dir);
    EXPECT_STREQ(dir, "D:\\data\\");
    CleanDirString(dir);
    EXPECT_STREQ(dir, "D:\\data\\");
    char name[] = "a b/c:d\\e";
    ValidateFileName(name);
    EXPECT_STREQ(name, "a_b_c_d_e");
}

TEST(Host, JulianDaysAndTheTimeStamp) {
    EXPECT_EQ(julday(1, 1, 2000), 2451545);
    EXPECT_EQ(julday(10, 15, 1582), 2299161);
    EXPECT_EQ(julday(10, 4, 1582), 2299160);
    EXPECT_EQ(julday(1, 1, -4713), 0);  // the epoch, 1 January 4713 BC (Julian)
    EXPECT_EQ(julday(3, 1, 0), -1);
    EXPECT_EQ(julday(2, 28, 2024) + 2, julday(3, 1, 2024));  // a leap year
    EXPECT_EQ(julday(INT32_MAX, INT32_MAX, INT32_MAX), -1);  // beyond any calendar, not a wrapped number
    char text[64];
    const int32_t n = GetDateTime(text);
    EXPECT_EQ(n, static_cast<int32_t>(std::strlen(text)));
    EXPECT_TRUE(std::regex_match(text, std::regex("[A-Z][a-z][a-z]/[0-3][0-9]/[0-9]{4}  [0-2][0-9]:[0-5][0-9]:[0-6][0-9]")))
        << text;
}

// Every day from the epoch to 2200, counted by walking the calendar: the
// Julian calendar (a leap year every fourth year, counted across the missing
// year 0: 1 BC, 5 BC, ... are leap years) until 4 October 1582, which is
// followed by 15 October, and the Gregorian calendar after.
TEST(Host, JulianDaysAgreeWithAWalkThroughTheCalendar) {
    auto leap = [](int year, bool gregorian) {
        const int astronomical = year < 0 ? year + 1 : year;
        if (!gregorian) return astronomical % 4 == 0;
        return (astronomical % 4 == 0 && astronomical % 100 != 0) || astronomical % 400 == 0;
    };
    static const int kDays[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    int64_t jd = 0;
    int mismatches = 0;
    for (int year = -4713; year <= 2200; ++year) {
        if (year == 0) continue;
        for (int month = 1; month <= 12; ++month) {
            const bool gregorian = year > 1582 || (year == 1582 && month > 10);
            const int days = kDays[month - 1] + (month == 2 && leap(year, gregorian) ? 1 : 0);
            for (int day = 1; day <= days; ++day) {
                if (year == 1582 && month == 10 && day > 4 && day < 15) continue;  // never happened
                if (julday(month, day, year) != jd && ++mismatches <= 5)
                    ADD_FAILURE() << year << "-" << month << "-" << day << ": " << julday(month, day, year)
                                  << ", counted " << jd;
                ++jd;
            }
        }
    }
    EXPECT_EQ(mismatches, 0);
    EXPECT_EQ(jd - 1, julday(12, 31, 2200));
}

TEST(Host, SettingsAndTheirDefault) {
    char out[16];
    // A key nobody has: the default, cut to the buffer.
    EXPECT_EQ(GetRegValue(reinterpret_cast<KHKEY>(static_cast<intptr_t>(0x80000001)), "Software\\KestrelNoSuchKey", "",
                          "Value", out, sizeof out, "fallback"),
              8);
    EXPECT_STREQ(out, "fallback");
    EXPECT_EQ(GetRegValue(nullptr, "A", "B", "C", out, 4, "toolong"), 3);
    EXPECT_STREQ(out, "too");
    EXPECT_EQ(GetRegValue(nullptr, "A", "B", "C", out, 0, "x"), 0);
#ifndef _WIN32
    const std::string store = kt::scratchDir("host_settings") + "/registry";
    kt::writeFile(store, "# the host's settings\n[Software\\Kestrel\\Paths]\nData = /srv/ocean\n"
                         "[software/kestrel]\nLanguage=en\n");
    setenv("KESTREL_REGISTRY", store.c_str(), 1);
    char v[64];
    EXPECT_EQ(GetRegValue(nullptr, "Software\\Kestrel", "Paths", "data", v, sizeof v, "none"), 10);
    EXPECT_STREQ(v, "/srv/ocean");
    GetRegValue(nullptr, "Software\\Kestrel", "", "Language", v, sizeof v, "none");
    EXPECT_STREQ(v, "en");
    GetRegValue(nullptr, "Software\\Kestrel", "", "Missing", v, sizeof v, "none");
    EXPECT_STREQ(v, "none");
    unsetenv("KESTREL_REGISTRY");
#endif
}

#ifndef _WIN32
std::vector<std::string> g_sent;
long collect(void *, KWND, uint32_t message, uintptr_t, const char *text) {
    g_sent.push_back(std::to_string(message) + ":" + text);
    return 0;
}

TEST(Host, FileListsGoToTheHostsWindow) {
    const std::string dir = kt::scratchDir("host_lists");
    kt::writeFile(dir + "/station.txt", "a");
    kt::writeFile(dir + "/cast.txt", "b");
    kt::writeFile(dir + "/notes.dat", "c");
    std::system(("mkdir -p '" + dir + "/deep/er' && echo d > '" + dir + "/deep/er/bottle.txt'").c_str());
    KUICallbacks cb{};
    cb.sendMessage = collect;
    KestrelSetUICallbacks(&cb);
    const std::string before = kestrel::plat::currentDirectory();
    ASSERT_TRUE(kestrel::plat::setCurrentDirectory(dir));
    g_sent.clear();
    EXPECT_EQ(GenerateFileList("*.txt", nullptr, 1234, 1), 2);
    std::sort(g_sent.begin(), g_sent.end());
    EXPECT_EQ(g_sent, (std::vector<std::string>{"1234:cast", "1234:station"}));
    kestrel::plat::setCurrentDirectory(before);
    g_sent.clear();
    GenerateFileListEx(dir.c_str(), "*.txt", 1, nullptr, 7, 0);
    std::sort(g_sent.begin(), g_sent.end());
    ASSERT_EQ(g_sent.size(), 3u);
    EXPECT_EQ(g_sent[0], "7:" + dir + "/deep/er\\bottle.txt");
    EXPECT_EQ(kestrel::plat::currentDirectory(), before);  // put back
    KFindData d;
    void *h = FindFirstChildDir((dir + "/*").c_str(), &d);
    ASSERT_NE(h, K_INVALID_SEARCH);
    EXPECT_STREQ(d.name, "deep");
    EXPECT_EQ(IsChildDir(&d), 1);
    EXPECT_EQ(FindNextChildDir(h, &d), 0);
    KFindClose(h);
    EXPECT_EQ(FindFirstChildDir((dir + "/*.txt").c_str(), &d), K_INVALID_SEARCH);
    KestrelSetUICallbacks(nullptr);
}

TEST(Host, OldFilesAndStartedPrograms) {
    const std::string dir = kt::scratchDir("host_old");
    for (const char *f : {"old.log", "new.log", "keep.txt"}) kt::writeFile(dir + "/" + f, "x");
    utimbuf t{std::time(nullptr) - 10 * 86400, std::time(nullptr) - 10 * 86400};
    utime((dir + "/old.log").c_str(), &t);
    DeleteOldFiles((dir + "/*.log").c_str(), 5);
    EXPECT_FALSE(kt::fileExists(dir + "/old.log"));
    EXPECT_TRUE(kt::fileExists(dir + "/new.log"));
    DeleteOldFiles((dir + "/*.log").c_str(), -1);  // a negative limit: every match
    EXPECT_FALSE(kt::fileExists(dir + "/new.log"));
    EXPECT_TRUE(kt::fileExists(dir + "/keep.txt"));

    EXPECT_EQ(SpawnDetachedProcess("/bin/sh -c \"exit 3\"", dir.c_str(), 1), 3);
    EXPECT_EQ(SpawnDetachedProcess("/bin/sh -c \"echo $# > words.txt\" x \"a b\" c", dir.c_str(), 1), 0);
    EXPECT_EQ(kt::readFile(dir + "/words.txt"), "2\n");  // "a b" stayed one word
    EXPECT_EQ(SpawnDetachedProcess("/no/such/program", dir.c_str(), 1), 1);
    EXPECT_EQ(SpawnDetachedProcess("/bin/sh -c \"sleep 0.2; echo done > later.txt\"", dir.c_str(), 0), 0);
    EXPECT_EQ(SpawnDetachedProcess("", nullptr, 1), 1);
    EXPECT_EQ(SpawnDetachedProcess(nullptr, nullptr, 1), 1);
}
#else
TEST(Host, StartedProgramsOnWindows) {
    EXPECT_EQ(SpawnDetachedProcess("cmd /c exit 3", nullptr, 1), 3);
    EXPECT_EQ(SpawnDetachedProcess("no_such_program_anywhere.exe", nullptr, 1), 1);
}
#endif

}  // namespace
