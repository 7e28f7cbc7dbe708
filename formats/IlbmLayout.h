// The layout of ILBM files, for reader and writer.
#ifndef FORMATS_ILBM_LAYOUT_H
#define FORMATS_ILBM_LAYOUT_H

#include <array>
#include <cstddef>
#include <cstdint>

#include "dib/Bytes.h"
#include "dib/Numbers.h"

namespace formats {

constexpr int kMostPlanes = 24;      // of the classic loader
constexpr int kMostWidePlanes = 32;  // red, green, blue and alpha

// Bytes of one plane of one row: planes are padded to words.
constexpr std::size_t planeRowBytes(std::size_t width) { return (width + 15) / 16 * 2; }
// Groups of eight pixels; the last one may have fewer.
constexpr std::size_t pixelGroups(std::size_t width) { return (width + 7) / 8; }

// The content of a BMHD chunk. Positions, the shape of pixels and the size of the page are not read.
struct BitmapHeader {
    static constexpr std::size_t kBytes = 20;

    int width = 0;
    int height = 0;
    int planes = 0;
    bool hasMask = false;
    unsigned compression = 0;  // 0 none, 1 PackBits
    bool isChunky = false;     // a byte a pixel in rows of even length, as in FORMs of type PBM
    int transparent = -1;      // index; negative when there is none

    static BitmapHeader parse(const unsigned char* bytes) {
        enum Masking : unsigned { kMaskPlane = 1, kTransparentColor = 2 };
        return {.width = dib::readBe16(bytes),
                .height = dib::readBe16(bytes + 2),
                .planes = bytes[8],
                .hasMask = bytes[9] == kMaskPlane,
                .compression = bytes[10],
                .transparent = bytes[9] == kTransparentColor ? dib::readBe16(bytes + 12) : -1};
    }
    // Sizes keep their low 16 bits.
    std::array<unsigned char, kBytes> bytes() const {
        std::array<unsigned char, kBytes> bytes{};
        for (const std::size_t size : {std::size_t{0}, std::size_t{16}}) {  // of the picture and of the page
            dib::writeBe16(&bytes[size], width);
            dib::writeBe16(&bytes[size + 2], height);
        }
        bytes[8] = dib::byteOf(planes);
        bytes[9] = hasMask ? 1 : 0;
        bytes[10] = dib::byteOf(compression);
        bytes[14] = bytes[15] = 1;  // square pixels
        return bytes;
    }

    std::size_t planeBytes() const { return planeRowBytes(dib::asSize(width)); }
    std::size_t colorBytes() const {
        return isChunky ? (dib::asSize(width) + 1) / 2 * 2 : planeBytes() * dib::asSize(planes);
    }
    std::size_t maskBytes() const { return hasMask ? planeBytes() : 0; }
    // Of all rows in the file. A packet of two bytes holds at most 128 bytes of a plane.
    std::uint64_t fewestBytes() const {
        const std::uint64_t bytes = (colorBytes() + maskBytes()) * static_cast<std::uint64_t>(height);
        return compression == 1 ? (bytes + 63) / 64 : bytes;
    }
    int bitCount() const { return planes == 1 ? 1 : planes <= 4 ? 4 : planes <= 8 ? 8 : 24; }
};

// Sets the bits after the last pixel of a row to 0.
inline void clearBehind(unsigned char* bits, std::size_t width) {
    if (width % 8 != 0) bits[width / 8] = dib::byteOf(bits[width / 8] & (0xFF00 >> width % 8));
}

}  // namespace formats

#endif
