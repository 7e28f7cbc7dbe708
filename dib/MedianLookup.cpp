#include "dib/MedianLookup.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "dib/PixelKernels.h"
#include "dib/PixelReader.h"

namespace dib {

namespace {

constexpr std::size_t kCells = 32768;
constexpr std::size_t kTableBytes = 512;
constexpr int kSlots = 256;

// The entry whose colour has the smallest sum of squared channel differences; the first among equals.
int nearestSlot(const dibmedian::mediancut& quantizer, DibBGRA color) {
    int nearest = 0;
    int smallest = std::numeric_limits<int>::max();
    for (int i = 0; i < kSlots; ++i) {
        const DibBGRA entry = boxCentre(quantizer.boxes[i].info);
        const int blue = entry.blue - color.blue;
        const int green = entry.green - color.green;
        const int red = entry.red - color.red;
        const int distance = blue * blue + green * green + red * red;
        if (distance < smallest) {
            nearest = i;
            smallest = distance;
        }
    }
    return nearest;
}

}  // namespace

DibBGRA boxCentre(const dibmedian::colinfo& box) {
    return {static_cast<std::uint8_t>(box.blueLow + box.blueExtent / 2),
            static_cast<std::uint8_t>(box.greenLow + box.greenExtent / 2),
            static_cast<std::uint8_t>(box.redLow + box.redExtent / 2), 0};
}

MedianLookup::MedianLookup(const dibmedian::mediancut& quantizer, std::size_t pixels)
    : root_(quantizer.root),
      tableOf_(allocateZeroed<std::uint32_t>(kCells)),
      tables_(allocateArray<std::uint8_t>((kSlots + std::min(pixels, kCells)) * kTableBytes)) {
    if (!ready()) return;
    for (int i = 0; i < quantizer.boxCount; ++i) {
        const int slot = i < kSlots ? i : nearestSlot(quantizer, boxCentre(quantizer.boxes[i].info));
        slotOf_[i] = static_cast<std::uint8_t>(slot);
    }
    for (std::size_t i = 0; i < kSlots; ++i)
        std::memset(&tables_[i * kTableBytes], static_cast<int>(i), kTableBytes);
}

void MedianLookup::map(const std::uint8_t* bgr, std::uint8_t* to, std::size_t count) {
    std::uint16_t cells[kStripPixels];
    std::uint16_t lows[kStripPixels];
    forEachStrip(count, [&](std::size_t start, std::size_t length) {
        runKernel<bgrToWords>(bgr + 3 * start, static_cast<std::uint16_t*>(cells), length);
        runKernel<bgrToLowBits>(bgr + 3 * start, static_cast<std::uint16_t*>(lows), length);
        for (std::size_t i = 0; i < length; ++i) {
            std::uint32_t table = tableOf_[cells[i]];
            if (table == 0) table = makeTable(cells[i]);
            to[start + i] = tables_[table - 1 + lows[i]];
        }
    });
}

// Descends as long as the whole cell goes one way; only a cell that a cut divides needs a table of its own.
std::uint32_t MedianLookup::makeTable(std::uint32_t cell) {
    const std::uint32_t low[3] = {(cell & 31) << 3, (cell >> 5 & 31) << 3, (cell >> 10) << 3};
    const Block block = {{low[0], low[1], low[2]}, {low[0] | 7, low[1] | 7, low[2] | 7}};
    const dibmedian::coltree* node = root_;
    while (node->axis >= 0) {
        const auto cut = static_cast<std::uint32_t>(node->cut);
        if (block.high[node->axis] < cut) {
            node = node->left;
        } else if (block.low[node->axis] >= cut) {
            node = node->right;
        } else {
            break;
        }
    }
    std::size_t table = slotOf_[node->index];
    if (node->axis >= 0) {
        table = tableCount_++;
        fill(node, block, &tables_[table * kTableBytes]);
    }
    return tableOf_[cell] = static_cast<std::uint32_t>(table * kTableBytes + 1);
}

void MedianLookup::fill(const dibmedian::coltree* node, Block block, std::uint8_t* table) const {
    for (int axis = 0; axis < 3; ++axis) {
        if (block.low[axis] > block.high[axis]) return;
    }
    if (node->axis >= 0) {
        const auto cut = static_cast<std::uint32_t>(node->cut);
        Block below = block;
        Block above = block;
        below.high[node->axis] = std::min(block.high[node->axis], cut - 1);
        above.low[node->axis] = std::max(block.low[node->axis], cut);
        fill(node->left, below, table);
        fill(node->right, above, table);
        return;
    }
    const std::size_t blues = block.high[0] - block.low[0] + 1;
    for (std::uint32_t red = block.low[2]; red <= block.high[2]; ++red) {
        for (std::uint32_t green = block.low[1]; green <= block.high[1]; ++green) {
            std::memset(table + ((red & 7) << 6 | (green & 7) << 3 | (block.low[0] & 7)),
                        slotOf_[node->index], blues);
        }
    }
}

}  // namespace dib
