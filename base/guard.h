// The exported interface's guard: no C++ exception crosses into the host.
//
// Every exported function runs its body through guarded(): an exception
// (in practice std::bad_alloc from a standard container or a new) ends the
// call with the function's zero value (0, null, or nothing), which is the
// failure value the interface documents, and is reported once through the
// library's reporter (a message box captioned with the routine's name, or
// the error log). The happy path costs nothing: the body is inlined and the
// handler is table-driven.
#ifndef KESTREL_BASE_GUARD_H
#define KESTREL_BASE_GUARD_H

namespace kestrel {

// Reports a failed call; set by the start-up, may be null. Must not throw.
using FailureReporter = void (*)(const char *routine);
extern FailureReporter gFailureReporter;

void reportFailure(const char *routine) noexcept;

template <class R, class F>
inline R guarded(const char *routine, F &&body) noexcept {
    try {
        return body();
    } catch (...) {
        reportFailure(routine);
        return R();
    }
}

// Runs f when the scope ends, however it ends: what a routine must undo
// (a pen selected, a file opened) is undone when an exception leaves it too.
template <class F>
class OnExit {
public:
    explicit OnExit(F f) : f_(f) {}
    ~OnExit() { f_(); }
    OnExit(const OnExit &) = delete;
    OnExit &operator=(const OnExit &) = delete;

private:
    F f_;
};

// The same for a routine whose documented failure value is not zero.
template <class R, class F>
inline R guardedOr(const char *routine, R failure, F &&body) noexcept {
    try {
        return body();
    } catch (...) {
        reportFailure(routine);
        return failure;
    }
}

}  // namespace kestrel

#endif
