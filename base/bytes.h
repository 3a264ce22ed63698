// Numbers stored little-endian in data files (coastline records), read the
// same on every host whatever its own byte order.
#ifndef KESTREL_BASE_BYTES_H
#define KESTREL_BASE_BYTES_H

#include <cstdint>
#include <cstring>

namespace kestrel {

inline uint32_t readUint32LE(const unsigned char *p) {
    return static_cast<uint32_t>(p[0]) | static_cast<uint32_t>(p[1]) << 8 | static_cast<uint32_t>(p[2]) << 16 |
           static_cast<uint32_t>(p[3]) << 24;
}

inline int32_t readInt32LE(const unsigned char *p) {
    const uint32_t v = readUint32LE(p);
    int32_t r;
    std::memcpy(&r, &v, 4);
    return r;
}

inline float readFloatLE(const unsigned char *p) {
    const uint32_t v = readUint32LE(p);
    float r;
    std::memcpy(&r, &v, 4);
    return r;
}

}  // namespace kestrel

#endif
