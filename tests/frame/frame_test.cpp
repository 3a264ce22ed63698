// Library start-up, the error log, the key queue and the UI services.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <regex>
#include <string>
#include <tuple>
#include <vector>

#include "common/testing.h"
#include "kestrel/frame.h"
#include "kestrel/util.h"
#ifndef _WIN32
#include "kestrel/canvas.h"
#endif

namespace {

std::vector<std::string> lines(const std::string &text) {
    std::vector<std::string> out;
    size_t pos = 0;
    while (pos < text.size()) {
        size_t nl = text.find('\n', pos);
        if (nl == std::string::npos) nl = text.size();
        std::string line = text.substr(pos, nl - pos);
        if (!line.empty() && line.back() == '\r') line.pop_back();  // text-mode files on Windows
        out.push_back(line);
        pos = nl + 1;
    }
    return out;
}

struct LogFile {
    explicit LogFile(const char *test) : path(kt::scratchDir(test) + "/error.log") {
        std::snprintf(szErrorLogFile, sizeof szErrorLogFile, "%s", path.c_str());
    }
    ~LogFile() { szErrorLogFile[0] = '\0'; }
    std::string path;
};

TEST(ErrorLog, LineCarriesTimeCallerAndOneLineMessage) {
    szErrorLogFile[0] = '\0';  // no log name: nothing logged, deliberately no box either
    EXPECT_EQ(LogLastError("PSOpenFile", 1), 0);
    LogFile log("ErrorLogLine");
    std::FILE *f = std::fopen("/no/such/folder/file.txt", "r");  // sets the last error
    ASSERT_EQ(f, nullptr);
    const std::time_t before = std::time(nullptr);
    LogLastError("PSOpenFile", 0);
    LogLastError("second", 0);
    const std::vector<std::string> got = lines(kt::readFile(log.path));
    ASSERT_EQ(got.size(), 2u);
    std::smatch m;
    ASSERT_TRUE(std::regex_match(got[0], m, std::regex(R"(([A-Z][a-z]{2})/(\d\d)/(\d{4}) \d\d:\d\d:\d\d> PSOpenFile: (.+))")))
        << got[0];
    const std::tm *now = std::localtime(&before);
    EXPECT_EQ(m[1].str(), szMonth[now->tm_mon]);
    EXPECT_EQ(std::stoi(m[3].str()), now->tm_year + 1900);
    EXPECT_EQ(m[4].str().find('\r'), std::string::npos);
    EXPECT_EQ(got[1].find("> second: "), 20u);  // "Mon/DD/YYYY hh:mm:ss" is 20 characters
}

TEST(KeyQueue, HoldsTenDropsTheEleventhAndReadsPastNine) {
    KBfirst = KBlast = KBEmpty = 0;  // the state before any KBInitialize: not the empty state
    KBInitialize();
    for (int i = 0; i < 11; ++i) KBAddKey(100 + i, i, -i);
    EXPECT_EQ(KBlast, 9);
    EXPECT_EQ(KBEntry_typ[9], 109);  // the eleventh (110) was dropped
    int32_t t, a, b;
    for (int i = 0; i < 10; ++i) {
        KBGetKey(&t, &a, &b);
        EXPECT_TRUE(t == 100 + i && a == i && b == -i) << i;
    }
    // Draining resets the queue.
    EXPECT_EQ(std::make_tuple(KBEmpty, KBfirst, KBlast), std::make_tuple(1, 0, -1));
    // The read position runs past nine without wrapping, as the host
    // expects, and without leaving the arrays: slot "10" reads slot 0.
    for (int i = 0; i < 10; ++i) KBAddKey(i, 0, 0);
    KBGetKey(&t, &a, &b);
    KBAddKey(42, 7, 7);  // the newest goes to slot 0
    EXPECT_EQ(KBlast, 0);
    for (int i = 1; i < 10; ++i) KBGetKey(&t, &a, &b);
    EXPECT_EQ(std::make_tuple(t, KBfirst), std::make_tuple(9, 10));
    KBGetKey(&t, &a, &b);
    EXPECT_EQ(std::make_tuple(t, KBfirst), std::make_tuple(42, 11));
    KBInitialize();
}

TEST(Startup, LaterCallsKeepHostSettingsButResetGraphicsState) {
    std::snprintf(szErrorLogFile, sizeof szErrorLogFile, "%s", "host.log");
    mFS.weight = 1;
    mCGS.mag = 3.0f;
    mCGS.keep = 77;
    initKestrel();  // as on a thread attach
    EXPECT_STREQ(szErrorLogFile, "host.log");
    EXPECT_EQ(mFS.weight, 1);
    EXPECT_EQ(mCGS.mag, 1.0f);
    EXPECT_EQ(mCGS.keep, 77);
    EXPECT_EQ(sysInfo.osVersion.dwOSVersionInfoSize, 148u);
    EXPECT_NE(hBP, nullptr);
    szErrorLogFile[0] = '\0';
    mFS.weight = 3;
}

#ifndef _WIN32
// The host callbacks of a non-Windows host.
struct Host {
    std::vector<std::string> status, boxes;
    int answer = 6;
    int progress[6] = {0, 0, 0, 0, 0, 0};
    int32_t cursor[2] = {0, 0};
    int32_t rect[4] = {0, 0, 0, 0};
};

KUICallbacks callbacksFor(Host &h) {
    KUICallbacks cb{};
    cb.user = &h;
    cb.statusText = [](void *u, const char *t) { static_cast<Host *>(u)->status.push_back(t); };
    cb.messageBox = [](void *u, const char *text, const char *caption, uint32_t) -> int32_t {
        auto *host = static_cast<Host *>(u);
        host->boxes.push_back(std::string(caption) + "|" + text);
        return host->answer;
    };
    cb.progressBar = [](void *u, int32_t x, int32_t y, int32_t w, int32_t hh, int32_t range, int32_t step) {
        int *p = static_cast<Host *>(u)->progress;
        p[0] = x, p[1] = y, p[2] = w, p[3] = hh, p[4] = range, p[5] = step;
        return reinterpret_cast<KWND>(u);
    };
    cb.cursorPos = [](void *u, int32_t *x, int32_t *y) -> int32_t {
        *x = static_cast<Host *>(u)->cursor[0];
        *y = static_cast<Host *>(u)->cursor[1];
        return 1;
    };
    cb.windowRect = [](void *u, KWND, int32_t r[4]) -> int32_t {
        std::memcpy(r, static_cast<Host *>(u)->rect, sizeof(int32_t) * 4);
        return 1;
    };
    return cb;
}

class HostCallbacks : public ::testing::Test {
protected:
    void SetUp() override {
        KUICallbacks cb = callbacksFor(host);
        KestrelSetUICallbacks(&cb);
        hWndStatusBar = reinterpret_cast<KWND>(&host);
    }
    void TearDown() override {
        KestrelSetUICallbacks(nullptr);
        hWndStatusBar = nullptr;
        lpSBParts = nullptr;
    }
    Host host;
};

TEST_F(HostCallbacks, YesNoQueryAsksUntilTheFirstNo) {
    int32_t ask = 1;
    host.answer = 6;  // Yes
    EXPECT_EQ(YesNoQuery("Go on?", "Gridding", &ask), 1);
    EXPECT_EQ(ask, 1);
    host.answer = 7;  // No
    EXPECT_EQ(YesNoQuery("Go on?", "Gridding", &ask), 0);
    EXPECT_EQ(ask, 0);
    EXPECT_EQ(YesNoQuery("Go on?", "Gridding", &ask), 0);
    EXPECT_EQ(host.boxes.size(), 2u);  // the third call asked nobody
}

TEST_F(HostCallbacks, StatusTextProgressBarAndMouse) {
    UpdateStatusBar("Estimating field...");
    EXPECT_EQ(host.status, std::vector<std::string>{"Estimating field..."});
    EXPECT_STREQ(VStatusLine, "Estimating field...");
    UpdateStatusBar(std::string(600, 'x').c_str());
    EXPECT_EQ(std::strlen(VStatusLine), sizeof VStatusLine - 1);
    // The progress bar sits in its status-bar part.
    int32_t parts[2] = {200, 400};
    lpSBParts = parts;
    cyStatus = 20;
    EXPECT_NE(MyProgressBar(100, 1), nullptr);
    const int *p = host.progress;  // x, y, w, h, range, step
    EXPECT_EQ(std::vector<int>({p[0], p[2], p[3], p[4], p[5]}), (std::vector<int>{203, 197, 17, 100, 1}));
    // The mouse is over a window up to and including its border.
    const int32_t r[4] = {10, 20, 110, 220};
    std::memcpy(host.rect, r, sizeof r);
    host.cursor[0] = 110, host.cursor[1] = 220;
    EXPECT_NE(MouseOverWindow(reinterpret_cast<KWND>(&host)), 0);
    host.cursor[0] = 111;
    EXPECT_EQ(MouseOverWindow(reinterpret_cast<KWND>(&host)), 0);
}

TEST(NoHost, MessageBoxesGoToTheLogWithTheirDefaultAnswer) {
    LogFile log("NoHostBoxes");
    int32_t ask = 1;
    EXPECT_EQ(YesNoQuery("Overwrite?", "Saving", &ask), 1);  // default button: Yes
    errno = ENOENT;
    LogLastError("Reader", 1);
    const std::vector<std::string> got = lines(kt::readFile(log.path));
    ASSERT_EQ(got.size(), 3u);
    EXPECT_NE(got[0].find("Saving"), std::string::npos);
    EXPECT_NE(got[1].find("> Reader: No such file or directory"), std::string::npos);
    EXPECT_NE(got[2].find("Reader"), std::string::npos);
    UpdateStatusBar("silent");  // nothing to show it on: no crash, still copied
    EXPECT_STREQ(VStatusLine, "silent");
}
#endif

}  // namespace
