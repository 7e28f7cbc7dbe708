// Numbers in files, of fixed width and explicit byte order, at any address.
#ifndef DIB_BYTES_H
#define DIB_BYTES_H

#include <cstdint>

namespace dib {

inline std::uint16_t readLe16(const unsigned char* p) {
    return static_cast<std::uint16_t>(p[0] | (p[1] << 8));
}
inline std::uint32_t readLe32(const unsigned char* p) {
    return std::uint32_t{p[0]} | (std::uint32_t{p[1]} << 8) | (std::uint32_t{p[2]} << 16) |
           (std::uint32_t{p[3]} << 24);
}
inline std::uint16_t readBe16(const unsigned char* p) {
    return static_cast<std::uint16_t>((p[0] << 8) | p[1]);
}
inline std::uint32_t readBe32(const unsigned char* p) {
    return (std::uint32_t{p[0]} << 24) | (std::uint32_t{p[1]} << 16) | (std::uint32_t{p[2]} << 8) |
           std::uint32_t{p[3]};
}

inline void writeLe16(unsigned char* p, std::uint32_t value) {
    p[0] = value & 255;
    p[1] = value >> 8 & 255;
}
inline void writeLe32(unsigned char* p, std::uint32_t value) {
    writeLe16(p, value);
    writeLe16(p + 2, value >> 16);
}
inline void writeBe16(unsigned char* p, std::uint32_t value) {
    p[0] = value >> 8 & 255;
    p[1] = value & 255;
}
inline void writeBe32(unsigned char* p, std::uint32_t value) {
    writeBe16(p, value >> 16);
    writeBe16(p + 2, value);
}

}  // namespace dib

#endif
