#include "formats/door/Orientation.h"

#include <cstring>
#include <iterator>

#include "dib/ColorTable.h"
#include "dib/ImageSize.h"
#include "formats/CodecFrame.h"
#include "formats/door/Request.h"

namespace formats {

namespace {

// The pixel (x, y) of the upright picture is the stored one at: x and y exchanged, then each mirrored in the
// stored picture.
struct Turn {
    bool isExchanged;
    bool isMirroredX;
    bool isMirroredY;
};
constexpr Turn kTurns[] = {{false, false, false}, {false, true, false}, {false, true, true},
                           {false, false, true},  {true, false, false}, {true, false, true},
                           {true, true, true},    {true, true, false}};

// Pixels of less than a byte, the leftmost in the highest bits.
unsigned indexAt(const unsigned char* row, int x, int bits) {
    const int perByte = 8 / bits;
    return row[x / perByte] >> (8 - bits - x % perByte * bits) & ((1U << bits) - 1);
}

void setIndex(unsigned char* row, int x, int bits, unsigned index) {
    const int perByte = 8 / bits;
    row[x / perByte] |= static_cast<unsigned char>(index << (8 - bits - x % perByte * bits));
}

}  // namespace

bool turnUpright(DibStream& image, DibFileResult& result) {
    const int orientation = result.metadata.orientation;
    result.metadata.orientation = 1;
    if (orientation < 2 || orientation > static_cast<int>(std::size(kTurns))) return true;
    const Turn& turn = kTurns[orientation - 1];
    const int bits = image.Header->biBitCount;
    const int storedWidth = image.Header->biWidth;
    const int storedHeight = static_cast<int>(dib::rowCount(image.Header->biHeight));
    const int width = turn.isExchanged ? storedHeight : storedWidth;
    const int height = turn.isExchanged ? storedWidth : storedHeight;

    DibStream turned;
    if (!turned.Create(width, height, bits)) {
        return refuse(result, DIB_ERROR_MEMORY, "there is not enough memory to turn the picture");
    }
    if (bits <= 8) {
        const std::size_t entries = dib::announcedEntries(*image.Header);
        std::memcpy(dib::colorTable(turned.Header), dib::colorTable(image.Header),
                    entries * dib::kEntryBytes);
        turned.Header->biClrUsed = image.Header->biClrUsed;
    }
    const std::size_t pixelBytes = static_cast<std::size_t>(bits) / 8;
    if (bits < 8) std::memset(turned.Buffer, 0, dib::admitSize(*turned.Header).imageBytes);
    for (int y = 0; y < height; ++y) {
        unsigned char* row = turned.ScanLine(y);
        for (int x = 0; x < width; ++x) {
            const int acrossX = turn.isExchanged ? y : x;
            const int acrossY = turn.isExchanged ? x : y;
            const int fromX = turn.isMirroredX ? storedWidth - 1 - acrossX : acrossX;
            const int fromY = turn.isMirroredY ? storedHeight - 1 - acrossY : acrossY;
            const unsigned char* from = image.ScanLine(fromY);
            if (bits < 8) {
                setIndex(row, x, bits, indexAt(from, fromX, bits));
            } else {
                std::memcpy(row + pixelBytes * static_cast<std::size_t>(x),
                            from + pixelBytes * static_cast<std::size_t>(fromX), pixelBytes);
            }
        }
    }
    image.SetDib(turned.Header, turned.HeaderOwner, turned.Buffer, turned.BufferOwner);
    turned.Header = nullptr;
    turned.Buffer = nullptr;
    turned.HeaderOwner = turned.BufferOwner = 0;
    return true;
}

}  // namespace formats
