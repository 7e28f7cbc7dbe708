#include "formats/door/Orientation.h"

#include <algorithm>
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

// How the pixels of the upright picture lie in the stored one.
struct Walk {
    const unsigned char* first;  // of the upright picture
    std::ptrdiff_t stepX;        // bytes to the next pixel of a row, and to the next row
    std::ptrdiff_t stepY;
};

Walk walkOf(DibStream& image, const Turn& turn, std::ptrdiff_t pixelBytes) {
    const int width = image.Header->biWidth;
    const int height = static_cast<int>(dib::rowCount(image.Header->biHeight));
    const unsigned char* top = image.ScanLine(0);
    const std::ptrdiff_t row = height > 1 ? image.ScanLine(1) - top : 0;
    const unsigned char* first =
        top + (turn.isMirroredX ? (width - 1) * pixelBytes : 0) + (turn.isMirroredY ? (height - 1) * row : 0);
    const std::ptrdiff_t across = turn.isMirroredX ? -pixelBytes : pixelBytes;
    const std::ptrdiff_t down = turn.isMirroredY ? -row : row;
    return turn.isExchanged ? Walk{first, down, across} : Walk{first, across, down};
}

// In bands of rows: where x and y are exchanged, the stored pixels of a band lie together.
template <std::size_t kPixelBytes>
void turnPixels(DibStream& image, const Turn& turn, DibStream& turned) {
    constexpr int kBand = 32;
    const Walk walk = walkOf(image, turn, kPixelBytes);
    const int width = turned.Header->biWidth;
    const int height = turned.Header->biHeight;
    unsigned char* const top = turned.ScanLine(0);
    const auto pitch = static_cast<std::ptrdiff_t>(turned.GetPitch());
    for (int band = 0; band < height; band += kBand) {
        const int end = std::min(band + kBand, height);
        for (int x = 0; x < width; ++x) {
            for (int y = band; y < end; ++y) {
                std::memcpy(top - y * pitch + x * static_cast<std::ptrdiff_t>(kPixelBytes),
                            walk.first + x * walk.stepX + y * walk.stepY, kPixelBytes);
            }
        }
    }
}

// Pixels of less than a byte, the leftmost in the highest bits.
void turnIndices(DibStream& image, const Turn& turn, DibStream& turned) {
    const int bits = image.Header->biBitCount;
    const int perByte = 8 / bits;
    const int storedWidth = image.Header->biWidth;
    const int storedHeight = static_cast<int>(dib::rowCount(image.Header->biHeight));
    std::memset(turned.Buffer, 0, dib::admitSize(*turned.Header).imageBytes);
    for (int y = 0; y < turned.Header->biHeight; ++y) {
        unsigned char* row = turned.ScanLine(y);
        for (int x = 0; x < turned.Header->biWidth; ++x) {
            const int acrossX = turn.isExchanged ? y : x;
            const int acrossY = turn.isExchanged ? x : y;
            const int fromX = turn.isMirroredX ? storedWidth - 1 - acrossX : acrossX;
            const int fromY = turn.isMirroredY ? storedHeight - 1 - acrossY : acrossY;
            const unsigned index =
                image.ScanLine(fromY)[fromX / perByte] >> (8 - bits - fromX % perByte * bits) &
                ((1U << bits) - 1);
            row[x / perByte] |= static_cast<unsigned char>(index << (8 - bits - x % perByte * bits));
        }
    }
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
    switch (bits) {
        case 8: turnPixels<1>(image, turn, turned); break;
        case 16: turnPixels<2>(image, turn, turned); break;
        case 24: turnPixels<3>(image, turn, turned); break;
        case 32: turnPixels<4>(image, turn, turned); break;
        default: turnIndices(image, turn, turned);
    }
    image.SetDib(turned.Header, turned.HeaderOwner, turned.Buffer, turned.BufferOwner);
    turned.Header = nullptr;
    turned.Buffer = nullptr;
    turned.HeaderOwner = turned.BufferOwner = 0;
    return true;
}

}  // namespace formats
