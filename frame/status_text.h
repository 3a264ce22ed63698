// A status-bar text for the length of a scope: the earlier text (up to 200
// characters) comes back on every exit path. For the library's own long
// operations (loading, sorting, estimating) in any layer above the frame.
#ifndef KESTREL_FRAME_STATUS_TEXT_H
#define KESTREL_FRAME_STATUS_TEXT_H

#include <cstddef>
#include <cstring>

#include "kestrel/frame.h"
#include "kestrel/globals.h"

namespace kestrel {

class StatusText {
public:
    explicit StatusText(const char *text) {
        std::size_t n = 0;
        while (n < sizeof saved_ - 1 && VStatusLine[n]) ++n;
        std::memcpy(saved_, VStatusLine, n);
        saved_[n] = '\0';
        UpdateStatusBar(text);
    }
    ~StatusText() { UpdateStatusBar(saved_); }
    StatusText(const StatusText &) = delete;
    StatusText &operator=(const StatusText &) = delete;

private:
    char saved_[201];
};

}  // namespace kestrel

#endif
