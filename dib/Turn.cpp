#include "dib/Turn.h"

#include <algorithm>
#include <cstring>

#include "dib/ColorTable.h"
#include "dib/Depths.h"

namespace dib {

namespace {

// Rows of the result between two reports, and columns that are turned together: where x and y are exchanged,
// the stored pixels of a tile lie together.
constexpr int kTile = 32;

template <class Depth>
void turnTile(const Raster& stored, const Turn& turn, const Raster& turned, int left, int top) {
    const int right = std::min(left + kTile, turned.width);
    const int bottom = std::min(top + kTile, turned.height);
    for (int y = top; y < bottom; ++y) {
        for (int x = left; x < right; ++x) {
            const int acrossX = turn.isExchanged ? y : x;
            const int acrossY = turn.isExchanged ? x : y;
            const int fromX = turn.isMirroredX ? stored.width - 1 - acrossX : acrossX;
            const int fromY = turn.isMirroredY ? stored.height - 1 - acrossY : acrossY;
            Depth::put(turned.row(y), x, Depth::get(stored.row(fromY), fromX));
        }
    }
}

// Rows that stay whole are copied.
bool copiesRows(const Turn& turn) { return !turn.isExchanged && !turn.isMirroredX; }

bool turnRows(const Raster& stored, const Turn& turn, const Raster& turned, DibProgressCallback callback,
              void* user) {
    for (int top = 0; top < turned.height; top += kTile) {
        const int bottom = std::min(top + kTile, turned.height);
        if (copiesRows(turn)) {
            for (int y = top; y < bottom; ++y)
                std::memcpy(turned.row(y), stored.row(turn.isMirroredY ? stored.height - 1 - y : y),
                            stored.rowBytes);
        } else {
            withAnyDepth(stored.bitCount, [&](auto depth) {
                for (int left = 0; left < turned.width; left += kTile)
                    turnTile<decltype(depth)>(stored, turn, turned, left, top);
                return true;
            });
        }
        if (callback == nullptr) continue;
        if (!callback(static_cast<float>(bottom) / static_cast<float>(turned.height), user)) return false;
    }
    return true;
}

}  // namespace

bool turnInto(const DibStream& stored, const Turn& turn, int heightSign, DibStream& turned,
              DibProgressCallback callback, void* user) {
    Raster from;
    Raster to;
    if (!viewRows(stored, from)) return false;
    const int width = turn.isExchanged ? from.height : from.width;
    const int height = turn.isExchanged ? from.width : from.height;
    if (!turned.Create(width, heightSign * height, from.bitCount) || !viewRows(turned, to)) return false;
    if (from.bitCount <= 8) copyColorTable(stored, turned);
    // Indices of less than a byte are put beside each other.
    if (from.bitCount < 8) std::memset(turned.Buffer, 0, admitSize(*turned.Header).imageBytes);
    return turnRows(from, turn, to, callback, user);
}

}  // namespace dib
