// Rows of Radiance pixels, shared by the routines that give floats and the loader that gives bytes.
#ifndef FORMATS_RGBE_H
#define FORMATS_RGBE_H

#include <DibRgbe.h>

#include <concepts>
#include <cstddef>
#include <cstdio>
#include <cstring>

#include "dib/Bytes.h"
#include "dib/Numbers.h"
#include "formats/ByteReader.h"

namespace formats {

constexpr std::size_t kRgbeBytes = 4;  // of a pixel: three mantissas and the exponent

enum class RgbeError { kNone, kRead, kWrite, kWidth, kPackets, kMemory, kNoFormat, kNoSize };

// Prints the reason of a failure; returns whether there was none. `file` is the one that was read or written.
bool reportRgbe(RgbeError error, std::FILE* file);

constexpr bool widthHasPackets(std::integral auto width) { return width >= 8 && width <= 32767; }

// Whether the first four bytes of a row announce packets; otherwise they are its first pixel.
inline bool startsPackets(const unsigned char* bytes) {
    return bytes[0] == 2 && bytes[1] == 2 && (bytes[2] & 0x80) == 0;
}

// Reads the lines of a header.
RgbeError readRgbeHeader(ByteReader& source, int& width, int& height, rgbe_header_info* info);

// Reads the packets of one row, after its first four bytes, into four planes of `width` bytes, red to
// exponent. `Source` has `byte()` (negative at the end) and `read()`.
template <class Source>
RgbeError readRgbePackets(Source& source, const unsigned char* start, std::size_t width,
                          unsigned char* planes) {
    if (dib::readBe16(start + 2) != width) return RgbeError::kWidth;
    for (std::size_t plane = 0; plane < kRgbeBytes; ++plane) {
        for (std::size_t left = width; left > 0;) {
            const int header = source.byte();
            if (header < 0) return RgbeError::kRead;
            const auto count = dib::asSize(header > 128 ? header - 128 : header);
            if (count == 0 || count > left) return RgbeError::kPackets;
            if (header > 128) {
                const int value = source.byte();
                if (value < 0) return RgbeError::kRead;
                std::memset(planes, value, count);
            } else if (!source.read(planes, count)) {
                return RgbeError::kRead;
            }
            planes += count;
            left -= count;
        }
    }
    return RgbeError::kNone;
}

}  // namespace formats

#endif
