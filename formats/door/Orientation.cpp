#include "formats/door/Orientation.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "dib/ColorTable.h"
#include "dib/Depths.h"
#include "dib/ImageSize.h"
#include "dib/Raster.h"
#include "formats/CodecFrame.h"
#include "formats/Turn.h"
#include "formats/door/Request.h"

namespace formats {

namespace {

// In bands of rows: where x and y are exchanged, the stored pixels of a band lie together.
template <class Depth>
void turnPixels(const dib::Raster& stored, const Turn& turn, const dib::Raster& upright) {
    constexpr int kBand = 32;
    for (int band = 0; band < upright.height; band += kBand) {
        const int end = std::min(band + kBand, upright.height);
        for (int x = 0; x < upright.width; ++x) {
            for (int y = band; y < end; ++y) {
                const int acrossX = turn.isExchanged ? y : x;
                const int acrossY = turn.isExchanged ? x : y;
                const int fromX = turn.isMirroredX ? stored.width - 1 - acrossX : acrossX;
                const int fromY = turn.isMirroredY ? stored.height - 1 - acrossY : acrossY;
                Depth::put(upright.row(y), x, Depth::get(stored.row(fromY), fromX));
            }
        }
    }
}

}  // namespace

bool turnUpright(DibStream& image, DibFileResult& result) {
    const int orientation = result.metadata.orientation;
    result.metadata.orientation = 1;
    if (orientation < 2 || orientation > static_cast<int>(std::size(kTurns))) return true;
    const Turn& turn = kTurns[orientation - 1];
    dib::Raster stored;
    dib::viewRows(image, stored);
    const int width = turn.isExchanged ? stored.height : stored.width;
    const int height = turn.isExchanged ? stored.width : stored.height;

    DibStream turned;
    dib::Raster upright;
    if (!turned.Create(width, height, stored.bitCount) || !dib::viewRows(turned, upright)) {
        return refuse(result, DIB_ERROR_MEMORY, "there is not enough memory to turn the picture");
    }
    if (stored.bitCount <= 8) {
        const std::size_t entries = dib::announcedEntries(*image.Header);
        std::memcpy(dib::colorTable(turned.Header), dib::colorTable(image.Header),
                    entries * dib::kEntryBytes);
        turned.Header->biClrUsed = image.Header->biClrUsed;
    }
    // Indices of less than a byte are put beside each other.
    if (stored.bitCount < 8) std::memset(turned.Buffer, 0, dib::admitSize(*turned.Header).imageBytes);
    dib::withAnyDepth(stored.bitCount, [&](auto depth) {
        turnPixels<decltype(depth)>(stored, turn, upright);
        return true;
    });
    moveBlocks(turned, image);
    return true;
}

}  // namespace formats
