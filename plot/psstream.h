// The one way the library writes PostScript: a bounded buffer in front of a
// file handle. Text is appended in pieces (strings, numbers formatted as
// printf's "%g" and "%d" would) and reaches the file in whole lines, many
// lines to a write call and never a line split between two (a single line
// longer than the buffer excepted), so a reader of a file being written
// never sees half a line, and a long picture costs few system calls.
#ifndef KESTREL_PLOT_PSSTREAM_H
#define KESTREL_PLOT_PSSTREAM_H

#include <cstddef>
#include <cstdint>
#include <cstdio>

#include "kestrel/types.h"

namespace kestrel {

// v as printf's "%g" writes it in the "C" locale; out needs 32 bytes.
// Returns the number of characters written (a terminating zero follows).
int formatG(char *out, double v);

class PsStream {
public:
    explicit PsStream(KFILE file) : file_(file) {}
    ~PsStream() { flush(); }
    PsStream(const PsStream &) = delete;
    PsStream &operator=(const PsStream &) = delete;

    PsStream &put(const char *text);
    PsStream &put(const char *text, size_t n);
    PsStream &ch(char c) {
        room(1);
        buf_[used_++] = c;
        return *this;
    }
    PsStream &putG(double v) {
        room(32);
        used_ += static_cast<size_t>(formatG(buf_ + used_, v));
        return *this;
    }
    PsStream &putInt(int64_t v);
    // printf into the stream; one call writes at most 1024 characters.
    template <class... A>
    PsStream &printf(const char *format, A... args) {
        room(kMaxFormatted);
        const int n = std::snprintf(buf_ + used_, kMaxFormatted + 1, format, args...);
        if (n > 0) used_ += n < static_cast<int>(kMaxFormatted) ? static_cast<size_t>(n) : kMaxFormatted;
        return *this;
    }
    // Writes everything held, the last line too even if it is not finished.
    void flush();
    // The result of the last write call: bytes written, or -1 on failure.
    long lastWrite() const { return lastWrite_; }

private:
    static constexpr size_t kCapacity = 1 << 16;
    static constexpr size_t kMaxFormatted = 1024;
    // Makes room for n more characters, writing out the complete lines.
    void room(size_t n) {
        if (used_ + n > kCapacity) spill(n);
    }
    void spill(size_t n);
    KFILE file_;
    size_t used_ = 0;
    long lastWrite_ = 0;
    char buf_[kCapacity + kMaxFormatted + 1];
};

// A finished piece of text through a stream of its own: the bytes written
// (-1 on failure), as the write call reports them.
long psWrite(KFILE file, const char *text);
long psWrite(KFILE file, const char *text, size_t n);

}  // namespace kestrel

#endif
