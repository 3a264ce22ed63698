// The interactive tools in a real Win32 window: a small host with a client
// window and a status bar whose window procedure feeds the mouse globals
// and the key queue as the application's does; the mouse and key messages
// are posted to the window's queue and reach the tools through their own
// message loop.
#ifdef _WIN32
#include <gtest/gtest.h>

#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#include <windows.h>
#include <commctrl.h>

#include <string>

#include "common/canvas.h"
#include "kestrel/kestrel.h"
#include "plot/transform.h"

namespace {

constexpr int kWidth = 400, kHeight = 300;

LRESULT CALLBACK hostProc(HWND w, UINT msg, WPARAM wp, LPARAM lp) {
    switch (msg) {
    case WM_MOUSEMOVE:
        // As the application stores them: the low and high words, unsigned.
        CM_Xpos = LOWORD(lp);
        CM_Ypos = HIWORD(lp);
        CM_Bstatus = (wp & MK_LBUTTON) ? 1 : 0;
        return 0;
    case WM_LBUTTONDOWN:
        CM_Xpos = LOWORD(lp);
        CM_Ypos = HIWORD(lp);
        CM_Bstatus = 1;
        KBAddKey(KB_PRESS, KB_LEFT, 0);
        return 0;
    case WM_LBUTTONUP:
        CM_Bstatus = 0;
        KBAddKey(KB_RELEASE, KB_LEFT, 0);
        return 0;
    case WM_RBUTTONDOWN:
        KBAddKey(KB_PRESS, KB_RIGHT, 0);
        return 0;
    case WM_KEYDOWN:
        KBAddKey(KB_KEY, static_cast<int32_t>(wp), 0);
        return 0;
    case WM_PAINT: {
        PAINTSTRUCT ps;
        HDC dc = BeginPaint(w, &ps);
        if (hdcMem) BitBlt(dc, 0, 0, kWidth, kHeight, reinterpret_cast<HDC>(hdcMem), iHscrollPos, iVscrollPos, SRCCOPY);
        EndPaint(w, &ps);
        return 0;
    }
    default:
        return DefWindowProcA(w, msg, wp, lp);
    }
}

class Win32Host : public ::testing::Test {
protected:
    void SetUp() override {
        INITCOMMONCONTROLSEX icc{sizeof icc, ICC_BAR_CLASSES};
        InitCommonControlsEx(&icc);
        WNDCLASSA wc{};
        wc.lpfnWndProc = hostProc;
        wc.hInstance = GetModuleHandleA(nullptr);
        wc.lpszClassName = "KestrelTestHost";
        RegisterClassA(&wc);
        frame_ = CreateWindowA("KestrelTestHost", "host", WS_OVERLAPPEDWINDOW, 0, 0, kWidth + 40, kHeight + 80,
                               nullptr, nullptr, wc.hInstance, nullptr);
        ASSERT_NE(frame_, nullptr);
        client_ = CreateWindowA("KestrelTestHost", "", WS_CHILD | WS_VISIBLE, 0, 0, kWidth, kHeight, frame_,
                                nullptr, wc.hInstance, nullptr);
        status_ = CreateWindowA(STATUSCLASSNAMEA, "Ready", WS_CHILD | WS_VISIBLE, 0, 0, 0, 0, frame_, nullptr,
                                wc.hInstance, nullptr);
        ASSERT_NE(client_, nullptr);
        ASSERT_NE(status_, nullptr);
        int parts[2] = {200, -1};
        SendMessageA(status_, SB_SETPARTS, 2, reinterpret_cast<LPARAM>(parts));
        SendMessageA(status_, SB_SETTEXTA, 0, reinterpret_cast<LPARAM>("Ready"));
        ShowWindow(frame_, SW_SHOW);
        hWnd = reinterpret_cast<KWND>(frame_);
        hWndClient = reinterpret_cast<KWND>(client_);
        hWndStatusBar = reinterpret_cast<KWND>(status_);
        picture_ = kt::makeCanvas(kWidth, kHeight);
        kt::startPicture(picture_, kWidth, kHeight, 40.0f);
        UsrSys(hdcMem, 0.0f, 100.0f, 8.0f, 1.0f, 0.0f, 50.0f, 5.5f, 1.0f);
        CM_Xpos = CM_Ypos = CM_Bstatus = 0;
        iHscrollPos = iVscrollPos = 0;
        MSG m;
        while (PeekMessageA(&m, nullptr, 0, 0, PM_REMOVE)) DispatchMessageA(&m);
    }
    void TearDown() override {
        hWnd = hWndClient = hWndStatusBar = nullptr;
        hdcMem = nullptr;
        if (picture_) kt::freeCanvas(picture_);
        if (frame_) DestroyWindow(frame_);
    }
    void post(UINT msg, WPARAM wp, int x, int y) {
        PostMessageA(client_, msg, wp, MAKELPARAM(static_cast<WORD>(x), static_cast<WORD>(y)));
    }
    void click(int x, int y) {
        post(WM_MOUSEMOVE, 0, x, y);
        post(WM_LBUTTONDOWN, MK_LBUTTON, x, y);
        post(WM_LBUTTONUP, 0, x, y);
    }
    void key(int code) { PostMessageA(client_, WM_KEYDOWN, static_cast<WPARAM>(code), 0); }
    std::string statusPart(int part) {
        char buf[300] = {0};
        SendMessageA(status_, SB_GETTEXTA, static_cast<WPARAM>(part), reinterpret_cast<LPARAM>(buf));
        return buf;
    }

    HWND frame_ = nullptr, client_ = nullptr, status_ = nullptr;
    KDC picture_ = nullptr;
};

TEST_F(Win32Host, GetPointsTakesClicksFromTheWindowsQueue) {
    float x[4], y[4];
    click(kestrel::xPixel(20.0f), kestrel::yPixel(10.0f));
    click(kestrel::xPixel(60.0f), kestrel::yPixel(40.0f));
    key(VK_RETURN);
    ASSERT_EQ(GetPoints(x, y, 4, 0, RGB(0, 0, 255)), 2);
    EXPECT_EQ(kestrel::xPixel(x[0]), kestrel::xPixel(20.0f));
    EXPECT_EQ(kestrel::yPixel(y[1]), kestrel::yPixel(40.0f));
    EXPECT_EQ(statusPart(0), "Ready");
    EXPECT_EQ(statusPart(1), "");

    click(100, 100);
    key(VK_ESCAPE);
    EXPECT_EQ(GetPoints(x, y, 4, 0, 0), 0);
}

TEST_F(Win32Host, ZoomViewPortDragsACornerAndReadsAWrappedPosition) {
    float x0 = 20.0f, x1 = 50.0f, y0 = 10.0f, y1 = 30.0f;
    const int right = kestrel::xPixel(x1), top = kestrel::yPixel(y1);
    post(WM_MOUSEMOVE, 0, right, top);                  // the upper-right handle
    post(WM_LBUTTONDOWN, MK_LBUTTON, right, top);
    post(WM_MOUSEMOVE, MK_LBUTTON, right + 32, top - 22);
    post(WM_LBUTTONUP, 0, right + 32, top - 22);
    post(WM_MOUSEMOVE, 0, 5, 5);
    key(VK_RETURN);
    ASSERT_EQ(ZoomViewPort(&x0, &x1, 1, &y0, &y1, 1), 13);
    EXPECT_EQ(x0, 20.0f);
    EXPECT_EQ(y0, 10.0f);
    EXPECT_NEAR(x1, 50.0f + 32.0f / VX.pixPerUser, 1e-3f);
    EXPECT_NEAR(y1, 30.0f - 22.0f / VY.pixPerUser, 1e-3f);
    EXPECT_EQ(statusPart(0), "Ready");

    // The left edge dragged left of the window: the window procedure
    // stores the position's low word, 65530, which reads as -5 (the
    // host's rule subtracts 65535).
    VX.lowPix = 3;
    float a0 = 0.0f, a1 = 50.0f, b0 = 10.0f, b1 = 40.0f;
    const int mid = (kestrel::yPixel(b0) + kestrel::yPixel(b1)) / 2;
    post(WM_MOUSEMOVE, 0, 3, mid);
    post(WM_LBUTTONDOWN, MK_LBUTTON, 3, mid);
    post(WM_MOUSEMOVE, MK_LBUTTON, 65530, mid);
    post(WM_LBUTTONUP, 0, 65530, mid);
    key(VK_RETURN);
    ASSERT_EQ(ZoomViewPort(&a0, &a1, 1, &b0, &b1, 1), 13);
    EXPECT_NEAR(a0, -8.0f / VX.pixPerUser, 1e-4f);
}

TEST_F(Win32Host, ARightClickOrAClickOutsideEndsTheZoom) {
    float x0 = 20.0f, x1 = 50.0f, y0 = 10.0f, y1 = 30.0f;
    PostMessageA(client_, WM_RBUTTONDOWN, 0, MAKELPARAM(50, 50));
    EXPECT_EQ(ZoomViewPort(&x0, &x1, 1, &y0, &y1, 1), 27);
    PostMessageA(frame_, WM_NCLBUTTONDOWN, HTNOWHERE, 0);
    float z0 = 0.0f, z1 = 1.0f;
    Vcmap.a0 = 0.0f;
    Vcmap.a1 = 10.0f;
    EXPECT_EQ(ZoomColorBar(&z0, &z1, 1), 27);
}

TEST(Win32Exports, RoundfIsTheDllsRoundingRoutine) {
    // The DLL's export table carries the host's name for the rounding
    // routine; inside the DLL the C library's roundf is untouched.
    HMODULE dll = LoadLibraryA("kestrel.dll");
    if (!dll) GTEST_SKIP() << "kestrel.dll not beside the test";
    using Round = float(KESTREL_CALL *)(float, int32_t);
    auto r = reinterpret_cast<Round>(reinterpret_cast<void *>(GetProcAddress(dll, "roundf")));
    ASSERT_NE(r, nullptr);
    EXPECT_FLOAT_EQ(r(2.345f, 2), 2.35f);
    EXPECT_EQ(r(-2.5f, 0), -3.0f);
    FreeLibrary(dll);
}

}  // namespace
#endif
