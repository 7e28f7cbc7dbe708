// The header of a TGA file, and the mark at the end of newer ones.
#ifndef FORMATS_TGA_HEADER_H
#define FORMATS_TGA_HEADER_H

#include <array>
#include <cstddef>
#include <cstdint>

#include "dib/Numbers.h"

namespace formats {

enum TgaImageType : unsigned {
    kMapped = 1,
    kTrueColor = 2,
    kGrey = 3,
    kRunLength = 8,  // added to the others
    kRunLengthMapped = kRunLength | kMapped,
    kRunLengthTrueColor = kRunLength | kTrueColor,
    kRunLengthGrey = kRunLength | kGrey
};

inline constexpr char kTgaSignature[] = "TRUEVISION-XFILE.";  // stored with its NUL

// Sizes have a sign in the classic reader.
struct TgaHeader {
    static constexpr std::size_t kBytes = 18;

    unsigned idBytes = 0;
    unsigned colorMapType = 0;
    unsigned imageType = 0;
    unsigned mapFirst = 0;  // index of the first entry
    std::int16_t mapEntries = 0;
    unsigned mapEntryBits = 0;
    std::int16_t width = 0;
    std::int16_t height = 0;
    int bitCount = 0;
    unsigned descriptor = 0;

    bool hasMap() const { return colorMapType != 0; }
    bool isRightToLeft() const { return (descriptor & 0x10) != 0; }
    bool topRowFirst() const { return (descriptor & 0x20) != 0; }
    std::size_t rowBytes() const { return columns() * dib::asSize(bitCount) / 8; }
    // Sizes that are not negative, as numbers of things.
    std::size_t columns() const { return dib::asSize(width); }
    std::size_t rows() const { return dib::asSize(height); }
    std::size_t entries() const { return dib::asSize(mapEntries); }

    static TgaHeader parse(const unsigned char* bytes);
    std::array<unsigned char, kBytes> bytes() const;
};

}  // namespace formats

#endif
