#include "dib/MedianLookup.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "dib/PixelKernels.h"
#include "dib/PixelReader.h"

namespace dib {

namespace {

constexpr int kTableBytes = kColorsPerCell;
constexpr int kSlots = MedianLookup::kSlots;

// The entry whose colour has the smallest sum of squared channel differences; the first among equals, because
// the low bits of the compared values are the entry's number.
DIB_ALWAYS_INLINE std::uint8_t nearestEntry(const MedianLookup::Palette* palette, std::int32_t blue,
                                            std::int32_t green, std::int32_t red) {
    std::int32_t nearest = INT32_MAX;
    for (std::int32_t i = 0; i < kSlots; ++i) {
        const std::int32_t db = palette->blue[i] - blue;
        const std::int32_t dg = palette->green[i] - green;
        const std::int32_t dr = palette->red[i] - red;
        nearest = std::min(nearest, (db * db + dg * dg + dr * dr) << 8 | i);
    }
    return static_cast<std::uint8_t>(nearest);
}

}  // namespace

DibBGRA boxCentre(const dibmedian::colinfo& box) {
    const auto middle = [](int low, int extent) { return static_cast<std::uint8_t>(low + extent / 2); };
    return {middle(box.blueLow, box.blueExtent), middle(box.greenLow, box.greenExtent),
            middle(box.redLow, box.redExtent), 0};
}

MedianLookup::MedianLookup(const dibmedian::mediancut& quantizer, std::size_t pixels)
    : root_(quantizer.root),
      tableOf_(allocateZeroed<int>(kColorCells)),
      tables_(allocateArray<std::uint8_t>((kSlots + std::min(pixels, kColorCells)) * kTableBytes)) {
    if (!ready()) return;
    for (int i = 0; i < std::min(quantizer.boxCount, kSlots); ++i) {
        const DibBGRA centre = boxCentre(quantizer.boxes[i].info);
        palette_.blue[i] = centre.blue;
        palette_.green[i] = centre.green;
        palette_.red[i] = centre.red;
    }
    for (int i = 0; i < kSlots; ++i) std::memset(&tables_[i * kTableBytes], i, kTableBytes);
}

void MedianLookup::map(const std::uint8_t* bgr, std::uint8_t* to, std::size_t count) {
    std::uint16_t cells[kStripPixels];
    std::uint16_t lows[kStripPixels];
    forEachStrip(count, [&](std::size_t start, std::size_t length) {
        runKernel<bgrToWords>(bgr + 3 * start, cells, length);
        runKernel<bgrToLowBits>(bgr + 3 * start, lows, length);
        for (std::size_t i = 0; i < length; ++i) {
            int table = tableOf_[cells[i]];
            if (table == 0) table = makeTable(cells[i]);
            to[start + i] = tables_[table - 1 + lows[i]];
        }
    });
}

// Descends while the whole cell is on one side of the cut. Only a cell that a cut divides, or in a box
// without an entry, needs its own table.
int MedianLookup::makeTable(int cell) {
    const int low[3] = {(cell & 31) << 3, (cell >> 5 & 31) << 3, (cell >> 10) << 3};
    const Block block = {{low[0], low[1], low[2]}, {low[0] | 7, low[1] | 7, low[2] | 7}};
    const dibmedian::coltree* node = root_;
    while (node->axis >= 0) {
        const int cut = node->cut;
        if (block.high[node->axis] < cut) {
            node = node->left;
        } else if (block.low[node->axis] >= cut) {
            node = node->right;
        } else {
            break;
        }
    }
    int table = node->index;
    if (node->axis >= 0 || node->index >= kSlots) {
        table = tableCount_++;
        fill(node, block, &tables_[table * kTableBytes]);
    }
    return tableOf_[cell] = table * kTableBytes + 1;
}

void MedianLookup::fill(const dibmedian::coltree* node, Block block, std::uint8_t* table) const {
    for (int axis = 0; axis < 3; ++axis) {
        if (block.low[axis] > block.high[axis]) return;
    }
    if (node->axis >= 0) {
        const int cut = node->cut;
        Block below = block;
        Block above = block;
        below.high[node->axis] = std::min(block.high[node->axis], cut - 1);
        above.low[node->axis] = std::max(block.low[node->axis], cut);
        fill(node->left, below, table);
        fill(node->right, above, table);
        return;
    }
    for (int red = block.low[2]; red <= block.high[2]; ++red) {
        for (int green = block.low[1]; green <= block.high[1]; ++green) {
            fillBlues(node->index, block, green, red, table);
        }
    }
}

void MedianLookup::fillBlues(int box, const Block& block, int green, int red, std::uint8_t* table) const {
    std::uint8_t* entries = table + ((red & 7) << 6 | (green & 7) << 3);
    const int first = block.low[0];
    const int last = block.high[0];
    if (box < kSlots) {
        std::fill_n(entries + (first & 7), last - first + 1, static_cast<std::uint8_t>(box));
        return;
    }
    for (int blue = first; blue <= last; ++blue) {
        entries[blue & 7] = runKernel<nearestEntry>(&palette_, blue, green, red);
    }
}

}  // namespace dib
