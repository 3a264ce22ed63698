// A host window for the interactive tools that is driven by a script: each
// message the tool waits for is the next step, which moves the mouse,
// presses a button or a key (as a host's window procedure would: the mouse
// globals and the key queue) and returns the message number. The window is
// a canvas of its own; the off-screen picture hdcMem is another.
#ifndef KESTREL_TESTS_SCRIPTED_HOST_H
#define KESTREL_TESTS_SCRIPTED_HOST_H

#include <cstdint>
#include <deque>
#include <functional>
#include <string>
#include <vector>

#include "kestrel/kestrel.h"

namespace kt {

class ScriptedHost {
public:
    // A picture of width x height pixels at ppl pixels per length unit with
    // a window of the same size (or windowW x windowH) over it.
    ScriptedHost(int width, int height, float ppl = 40.0f, int windowW = 0, int windowH = 0);
    ~ScriptedHost();
    ScriptedHost(const ScriptedHost &) = delete;
    ScriptedHost &operator=(const ScriptedHost &) = delete;

    KDC picture() const { return picture_; }
    KDC window() const { return window_; }
    int windowWidth() const { return windowW_; }
    int windowHeight() const { return windowH_; }

    // Shows the picture in the window at the current scroll position (the
    // host's paint); UpdateView does not do this, so that a test sees what
    // the tool itself left on the window.
    void paint();
    std::vector<uint32_t> windowPixels() const;

    // Script steps: each is one message.
    void move(int x, int y);              // 512
    void press(int button);               // 513 / 516 (KB_LEFT / KB_RIGHT)
    void release(int button);             // 514
    void key(int code);                   // 256
    void outsideClick();                  // 161
    void idle();                          // 0, nothing changes
    void then(std::function<void()> check);  // runs check, then is an idle message
    void click(int x, int y, int button) { move(x, y); press(button); release(button); }

    // What the tools did to the host.
    std::string part[4];
    std::vector<std::string> part1History;
    int captures = 0, releases = 0, shows = 0, repaints = 0, cursor = 0, waits = 0;
    std::vector<int> cursors;
    struct Scroll {
        uint32_t message, wParam;
    };
    std::vector<Scroll> scrolls;
    bool ranOut = false;  // the tool waited after the script had ended

private:
    static KDC clientDC(void *user, KWND);
    static void showDC(void *user, KWND, KDC) { ++static_cast<ScriptedHost *>(user)->shows; }
    static void capture(void *user, KWND w);
    static void statusPart(void *user, int32_t part, const char *text);
    static int32_t getStatusPart(void *user, int32_t part, char *buf, int32_t size);
    static int32_t wait(void *user);
    static void setCursor(void *user, int32_t kind);
    static int32_t windowRect(void *user, KWND, int32_t rect[4]);
    static void updateView(void *user, KWND);
    static long sendMessage(void *user, KWND, uint32_t message, uintptr_t wParam, const char *text);

    KDC picture_ = nullptr, window_ = nullptr;
    int windowW_, windowH_;
    std::deque<std::function<uint32_t()>> steps_;
    int clientTag_ = 0, statusTag_ = 0;
};

}  // namespace kt

#endif
