// Tone curves: bytes through a table of 256 entries.
#ifndef DIB_TONE_LOOKUP_H
#define DIB_TONE_LOOKUP_H

#include <DibStream.h>

#include <array>
#include <cstddef>
#include <cstdint>

namespace dib {

using ToneTable = std::array<unsigned char, 256>;

// The table of a curve: the low bytes of its values at 0 to 255.
template <class Curve>
ToneTable toneTable(const Curve& curve) {
    ToneTable table;
    int value = 0;
    for (unsigned char& entry : table) entry = static_cast<unsigned char>(curve(value++));
    return table;
}

// A straight line with clamped ends in whole numbers, and the values at which a table lies one above it. Any
// rounded, clamped rising line is such a line plus 0 or 1, and computing it is faster than looking it up.
class ToneLine {
public:
    // Whether the table is one.
    bool fit(const unsigned char* table);

    static constexpr int kFractionBits = 5;
    std::int16_t slope = 0;   // in 2^-13
    std::int16_t offset = 0;  // in 2^-kFractionBits
    // One more: bit (v >> 4) % 8 of the element v % 16, first of the values below 128.
    std::array<std::uint8_t, 32> oneMore{};

private:
    int of(int value) const;
};

// Refers to the table, which must live as long.
class ToneLookup {
public:
    explicit ToneLookup(const unsigned char* table) : table_(table), isLine_(line_.fit(table)) {}

    // Replaces every byte by its table entry.
    void mapBytes(unsigned char* bytes, std::size_t count) const;
    // Replaces the first three bytes of every four.
    void mapColors(unsigned char* pixels, std::size_t count) const;
    // Replaces the colours of all entries that a header announces, also of those that no pixel can name. The
    // count is a signed number to callers: below 1 nothing changes.
    void mapColorTable(BITMAPINFOHEADER* header) const;

private:
    template <bool KeepFourth>
    std::size_t mapVectors(unsigned char* bytes, std::size_t count) const;

    const unsigned char* table_;
    ToneLine line_;
    bool isLine_;
};

// Replaces every byte by its complement, which needs no table.
void invertBytes(unsigned char* bytes, std::size_t count);

}  // namespace dib

#endif
