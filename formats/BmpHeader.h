// The headers of a BMP file: those of OS/2 with 12 and with 16 to 64 bytes, those of Windows with 40 to 124
// bytes, with or without a file header before them.
#ifndef FORMATS_BMP_HEADER_H
#define FORMATS_BMP_HEADER_H

#include <cstddef>
#include <cstdint>

#include "formats/ChannelMasks.h"
#include "formats/door/Request.h"

namespace formats {

struct BmpHeader {
    enum class Packing { kRaw, kRuns4, kRuns8, kRuns24, kPng, kJpeg };

    std::int32_t width = 0;
    std::int32_t height = 0;  // negative when the top row comes first
    int bitCount = 0;
    Packing packing = Packing::kRaw;
    bool hasMasks = false;  // the file says where the channels are
    ChannelMasks masks;     // also where it does not
    double xPixelsPerMeter = 0;
    double yPixelsPerMeter = 0;

    // Positions count from the start of the file.
    std::int64_t tableStart = 0;
    std::size_t entryBytes = 4;
    std::size_t entries = 0;  // 256 at most
    std::int64_t pixelStart = 0;
    std::int64_t profileStart = 0;
    std::uint32_t profileBytes = 0;  // 0: no profile

    bool hasTable() const { return bitCount <= 8; }
    // Colours that the image announces: all greys where the file has no table.
    std::size_t paletteSize() const {
        return hasTable() && entries == 0 ? std::size_t{1} << imageBits() : entries;
    }
    // Depth of the image that holds the pixels without a loss, but for channels of more than 8 bits.
    int imageBits() const;
    // Whether raw rows are those of the image.
    bool isLaidOutAsImage() const;
};

// False with a code and a reason.
bool readBmpHeader(ByteReader& file, BmpHeader& header, DibFileResult& result);

}  // namespace formats

#endif
