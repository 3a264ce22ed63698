#include "plot/psstream.h"

#include <charconv>
#include <cmath>
#include <cstring>
#include <system_error>

#include "platform/platform.h"

namespace kestrel {

int formatG(char *out, double v) {
    // std::to_chars with a precision converts as printf does in the "C"
    // locale, and far faster; non-finite values go through printf itself.
    if (std::isfinite(v)) {
        const auto r = std::to_chars(out, out + 31, v, std::chars_format::general, 6);
        if (r.ec == std::errc()) {
            *r.ptr = '\0';
            return static_cast<int>(r.ptr - out);
        }
    }
    return std::snprintf(out, 32, "%g", v);
}

PsStream &PsStream::put(const char *text) { return text ? put(text, std::strlen(text)) : *this; }

PsStream &PsStream::put(const char *text, size_t n) {
    while (n > 0) {
        room(1);
        const size_t k = std::min(n, kCapacity - used_);
        std::memcpy(buf_ + used_, text, k);
        used_ += k;
        text += k;
        n -= k;
    }
    return *this;
}

PsStream &PsStream::putInt(int64_t v) {
    room(24);
    char tmp[24];
    int n = 0;
    uint64_t u = v < 0 ? 0u - static_cast<uint64_t>(v) : static_cast<uint64_t>(v);
    do {
        tmp[n++] = static_cast<char>('0' + u % 10);
        u /= 10;
    } while (u);
    if (v < 0) buf_[used_++] = '-';
    while (n) buf_[used_++] = tmp[--n];
    return *this;
}

void PsStream::spill(size_t n) {
    // Write the complete lines; keep the unfinished one for later.
    size_t end = used_;
    while (end > 0 && buf_[end - 1] != '\n') --end;
    if (end == 0 || used_ - end + n > kCapacity) end = used_;  // one line longer than the buffer
    if (end > 0) {
        lastWrite_ = file_ ? plat::fileWrite(file_, buf_, end) : -1;
        std::memmove(buf_, buf_ + end, used_ - end);
        used_ -= end;
    }
}

void PsStream::flush() {
    if (used_ == 0) return;
    lastWrite_ = file_ ? plat::fileWrite(file_, buf_, used_) : -1;
    used_ = 0;
}

long psWrite(KFILE file, const char *text) { return psWrite(file, text, text ? std::strlen(text) : 0); }

long psWrite(KFILE file, const char *text, size_t n) {
    if (!file || !text) return -1;
    PsStream out(file);
    out.put(text, n);
    out.flush();
    return out.lastWrite();
}

}  // namespace kestrel
