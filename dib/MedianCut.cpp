#include "dib/MedianCut.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <memory>
#include <new>

#include "dib/ColorCloud.h"
#include "dib/Numbers.h"

namespace dibmedian {

namespace {

// Counts from 2^31 on are negative in the record.
std::uint32_t pixelsOf(const colinfo& box) { return static_cast<std::uint32_t>(box.count); }

// The sides of a box by axis number.
std::int32_t& lowOf(colinfo& box, int axis) {
    return axis == 0 ? box.blueLow : axis == 1 ? box.greenLow : box.redLow;
}
std::int32_t& extentOf(colinfo& box, int axis) {
    return axis == 0 ? box.blueExtent : axis == 1 ? box.greenExtent : box.redExtent;
}

std::int32_t longestExtent(const colinfo& box) {
    return std::max({box.redExtent, box.greenExtent, box.blueExtent});
}

// Ties go to red, then green, then blue.
int longestAxis(const colinfo& box) {
    if (box.redExtent >= box.greenExtent && box.redExtent >= box.blueExtent) return 2;
    return box.greenExtent >= box.blueExtent ? 1 : 0;
}

// Shrinks a box to its colours: the components that occur bound it. Every box has pixels.
void shrink(colinfo& box, const dib::ColorRange& range) {
    for (int axis = 0; axis < 3; ++axis) {
        std::int32_t low = 0;
        std::int32_t high = 255;
        while (low < high && range.pixels[axis][low] == 0) ++low;
        while (high > low && range.pixels[axis][high] == 0) --high;
        lowOf(box, axis) = low;
        extentOf(box, axis) = high - low + 1;
    }
}

// The first component of the upper half, and the pixels below it. Both halves keep at least one component of
// the axis, and since a box is as tight as its pixels, at least one pixel.
struct Median {
    std::int32_t cut;
    std::uint32_t below;
};
Median findMedian(colinfo box, int axis, const dib::ColorRange& range) {
    const std::int32_t low = lowOf(box, axis);
    const std::int32_t high = low + extentOf(box, axis) - 1;
    const std::uint32_t total = pixelsOf(box);
    Median median{low + 1, range.pixels[axis][low]};
    while (median.cut < high && 2 * std::uint64_t{median.below} < total) {
        median.below += range.pixels[axis][median.cut++];
    }
    return median;
}

}  // namespace

int mediancut::add(const colinfo& info) {
    if (boxCount == kMaxBoxes) return -1;
    auto* leaf = new (std::nothrow) coltree;
    if (leaf == nullptr) return -1;
    if (root == nullptr) root = leaf;
    boxes[boxCount] = {info, leaf};
    return boxCount++;
}

int mediancut::get_index() const {
    int best = -1;
    int bestScore = 0;
    for (int i = 0; i < boxCount; ++i) {
        const colinfo& box = boxes[i].info;
        const int bits = dib::asInt(std::bit_width(pixelsOf(box)));
        const int score = bits * longestExtent(box);
        if (score > bestScore) {
            best = i;
            bestScore = score;
        }
    }
    return best;
}

bool mediancut::slice(int box, int axis, int cut, int& lowBox, int& highBox) {
    colinfo low = boxes[box].info;
    coltree* const node = boxes[box].leaf;
    boxes[box] = boxes[--boxCount];

    colinfo high = low;
    low.count = high.count = 0;
    extentOf(low, axis) = cut - lowOf(low, axis);
    lowOf(high, axis) = cut;
    extentOf(high, axis) -= extentOf(low, axis);

    // The node owns each half as soon as it exists.
    lowBox = add(low);
    if (lowBox < 0) return false;
    node->left = boxes[lowBox].leaf;
    highBox = add(high);
    if (highBox < 0) return false;
    node->right = boxes[highBox].leaf;
    node->axis = axis;
    node->cut = cut;
    return true;
}

bool divideColors(mediancut& quantizer, const std::uint8_t* bgr, std::size_t pixels, int maxColours,
                  const dib::PartProgress& progress) {
    constexpr int kMaxBoxes = mediancut::kMaxBoxes;
    dib::ColorCloud cloud;
    if (!cloud.collect(bgr, pixels, kMaxBoxes, progress.part(0, 2))) return false;
    int rangeOf[kMaxBoxes] = {};

    colinfo whole{0, 0, 0, 1, 1, 1, static_cast<std::int32_t>(pixels)};
    if (pixels > 0) shrink(whole, cloud.range(0));
    if (quantizer.add(whole) < 0) return false;

    const int most = std::min(maxColours, kMaxBoxes);
    const dib::PartProgress cutting = progress.part(1, 2);
    while (quantizer.boxCount < most) {
        // A box with a score has pixels, so no split gives an empty box.
        const int chosen = quantizer.get_index();
        if (chosen < 0 || longestExtent(quantizer.boxes[chosen].info) < 2) break;
        const colinfo box = quantizer.boxes[chosen].info;
        const int axis = longestAxis(box);
        const int range = rangeOf[chosen];
        const Median median = findMedian(box, axis, cloud.range(range));

        rangeOf[chosen] = rangeOf[quantizer.boxCount - 1];
        int low = -1;
        int high = -1;
        if (!quantizer.slice(chosen, axis, median.cut, low, high)) return false;
        rangeOf[low] = range;
        rangeOf[high] = cloud.split(range, axis, median.cut);
        quantizer.boxes[low].info.count = static_cast<std::int32_t>(median.below);
        quantizer.boxes[high].info.count = static_cast<std::int32_t>(pixelsOf(box) - median.below);
        shrink(quantizer.boxes[low].info, cloud.range(rangeOf[low]));
        shrink(quantizer.boxes[high].info, cloud.range(rangeOf[high]));
        if (!cutting.report(quantizer.boxCount, most)) return false;
    }

    for (int i = 0; i < quantizer.boxCount; ++i) quantizer.boxes[i].leaf->index = i;
    return true;
}

bool mediancut::execute(DibBGR* pixels, int width, int height, int maxColours) {
    const std::size_t pixelCount = width > 0 && height > 0 ? dib::asSize(std::int64_t{width} * height) : 0;
    return divideColors(*this, reinterpret_cast<const std::uint8_t*>(pixels), pixelCount, maxColours, {});
}

}  // namespace dibmedian
