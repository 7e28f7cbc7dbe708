// Numbers in files, of fixed width and explicit byte order, at any address.
#ifndef DIB_BYTES_H
#define DIB_BYTES_H

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace dib {

// The low 8, 16 or 32 bits of a whole number, which are the number where it fits.
constexpr unsigned char byteOf(std::integral auto number) { return static_cast<unsigned char>(number); }
constexpr std::uint16_t wordOf(std::integral auto number) { return static_cast<std::uint16_t>(number); }
constexpr std::uint32_t dwordOf(std::integral auto number) { return static_cast<std::uint32_t>(number); }

// A byte of a text.
constexpr char charOf(std::integral auto byte) { return static_cast<char>(byte); }

// Bytes that are a text.
inline std::string_view textAt(const unsigned char* bytes, std::size_t count) {
    return {reinterpret_cast<const char*>(bytes), count};
}

// The bytes from one place of a block to a later one.
inline std::size_t bytesBetween(const unsigned char* from, const unsigned char* to) {
    return static_cast<std::size_t>(to - from);
}

inline std::uint16_t readLe16(const unsigned char* p) { return wordOf(p[0] | (p[1] << 8)); }
inline std::uint32_t readLe32(const unsigned char* p) {
    return std::uint32_t{p[0]} | (std::uint32_t{p[1]} << 8) | (std::uint32_t{p[2]} << 16) |
           (std::uint32_t{p[3]} << 24);
}
inline std::uint16_t readBe16(const unsigned char* p) { return wordOf((p[0] << 8) | p[1]); }
inline std::uint32_t readBe32(const unsigned char* p) {
    return (std::uint32_t{p[0]} << 24) | (std::uint32_t{p[1]} << 16) | (std::uint32_t{p[2]} << 8) |
           std::uint32_t{p[3]};
}

// The same of signed numbers.
inline std::int16_t readLeSigned16(const unsigned char* p) { return static_cast<std::int16_t>(readLe16(p)); }
inline std::int32_t readLeSigned32(const unsigned char* p) { return static_cast<std::int32_t>(readLe32(p)); }

// Store the low 16 or 32 bits.
inline void writeLe16(unsigned char* p, std::integral auto value) {
    p[0] = byteOf(value);
    p[1] = byteOf(value >> 8);
}
inline void writeLe32(unsigned char* p, std::integral auto value) {
    writeLe16(p, value);
    writeLe16(p + 2, value >> 16);
}
inline void writeBe16(unsigned char* p, std::integral auto value) {
    p[0] = byteOf(value >> 8);
    p[1] = byteOf(value);
}
inline void writeBe32(unsigned char* p, std::integral auto value) {
    writeBe16(p, value >> 16);
    writeBe16(p + 2, value);
}

}  // namespace dib

#endif
