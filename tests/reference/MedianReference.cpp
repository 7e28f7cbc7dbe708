#include "tests/reference/MedianReference.h"

#include <algorithm>

namespace reference {

namespace {

constexpr std::size_t kRows = 260;

int componentOf(DibBGR pixel, int axis) {
    return axis == 0 ? pixel.blue : axis == 1 ? pixel.green : pixel.red;
}

int significantBits(int value) {
    int bits = 0;
    for (; value > 0; value /= 2) ++bits;
    return bits;
}

}  // namespace

MedianCut::MedianCut(const std::vector<DibBGR>& pixels, int maxColours) : pixels_(pixels) {
    Box first{0, 0, 0, 1, 1, 1, static_cast<int>(pixels.size())};
    if (!pixels.empty()) {
        first = {0, 0, 0, 256, 256, 256, first.count};
        shrink(first);
    }
    append(first);
    while (static_cast<int>(boxes_.size()) < maxColours && boxes_.size() < kRows) {
        const int chosen = choose();
        if (chosen < 0) break;
        const Box& box = boxes_[static_cast<std::size_t>(chosen)];
        if (std::max({box.redExtent, box.greenExtent, box.blueExtent}) < 2) break;
        divide(chosen);
    }
    for (std::size_t i = 0; i < leaves_.size(); ++i) leaves_[i]->index = static_cast<int>(i);
}

int MedianCut::choose() const {
    int best = -1;
    int bestScore = 0;
    for (std::size_t i = 0; i < boxes_.size(); ++i) {
        const Box& box = boxes_[i];
        const int score =
            significantBits(box.count) * std::max({box.redExtent, box.greenExtent, box.blueExtent});
        if (score > bestScore) {
            best = static_cast<int>(i);
            bestScore = score;
        }
    }
    return best;
}

void MedianCut::divide(int chosen) {
    const Box box = boxes_[static_cast<std::size_t>(chosen)];
    Node* node = leaves_[static_cast<std::size_t>(chosen)];
    int axis = 0;
    if (box.redExtent >= box.greenExtent && box.redExtent >= box.blueExtent) {
        axis = 2;
    } else if (box.greenExtent >= box.blueExtent) {
        axis = 1;
    }
    const int lo = axis == 0 ? box.blueLow : axis == 1 ? box.greenLow : box.redLow;
    const int extent = axis == 0 ? box.blueExtent : axis == 1 ? box.greenExtent : box.redExtent;
    const int hi = lo + extent - 1;

    int histogram[256] = {};
    int total = 0;
    for (const DibBGR pixel : pixels_) {
        if (!inside(box, pixel)) continue;
        ++histogram[componentOf(pixel, axis)];
        ++total;
    }
    int sum = histogram[lo];
    int cut = lo + 1;
    while (cut < hi && 2 * sum < total) sum += histogram[cut++];

    remove(chosen);
    if (total == 0) return;
    Box low = box;
    Box high = box;
    (axis == 0 ? low.blueExtent : axis == 1 ? low.greenExtent : low.redExtent) = cut - lo;
    (axis == 0 ? high.blueLow : axis == 1 ? high.greenLow : high.redLow) = cut;
    (axis == 0 ? high.blueExtent : axis == 1 ? high.greenExtent : high.redExtent) = lo + extent - cut;
    low.count = sum;
    high.count = total - sum;
    shrink(low);
    shrink(high);
    const int lowIndex = append(low);
    const int highIndex = append(high);
    node->axis = axis;
    node->cut = cut;
    node->left = leaves_[static_cast<std::size_t>(lowIndex)];
    node->right = leaves_[static_cast<std::size_t>(highIndex)];
}

// The last box takes the row that becomes free.
void MedianCut::remove(int box) {
    boxes_[static_cast<std::size_t>(box)] = boxes_.back();
    leaves_[static_cast<std::size_t>(box)] = leaves_.back();
    boxes_.pop_back();
    leaves_.pop_back();
}

int MedianCut::append(const Box& box) {
    nodes_.push_back(std::make_unique<Node>());
    boxes_.push_back(box);
    leaves_.push_back(nodes_.back().get());
    return static_cast<int>(boxes_.size()) - 1;
}

void MedianCut::shrink(Box& box) const {
    int min[3] = {box.blueLow + box.blueExtent - 1, box.greenLow + box.greenExtent - 1,
                  box.redLow + box.redExtent - 1};
    int max[3] = {box.blueLow, box.greenLow, box.redLow};
    for (const DibBGR pixel : pixels_) {
        if (!inside(box, pixel)) continue;
        for (int axis = 0; axis < 3; ++axis) {
            min[axis] = std::min(min[axis], componentOf(pixel, axis));
            max[axis] = std::max(max[axis], componentOf(pixel, axis));
        }
    }
    box.blueLow = min[0];
    box.blueExtent = max[0] - min[0] + 1;
    box.greenLow = min[1];
    box.greenExtent = max[1] - min[1] + 1;
    box.redLow = min[2];
    box.redExtent = max[2] - min[2] + 1;
}

bool MedianCut::inside(const Box& box, DibBGR pixel) const {
    return pixel.red >= box.redLow && pixel.red < box.redLow + box.redExtent && pixel.green >= box.greenLow &&
           pixel.green < box.greenLow + box.greenExtent && pixel.blue >= box.blueLow &&
           pixel.blue < box.blueLow + box.blueExtent;
}

int MedianCut::indexOf(DibBGR color) const {
    const Node* node = nodes_.front().get();
    while (node->axis >= 0) node = componentOf(color, node->axis) < node->cut ? node->left : node->right;
    return node->index;
}

DibBGRA MedianCut::centre(int index) const {
    const Box& box = boxes_[static_cast<std::size_t>(index)];
    return {static_cast<std::uint8_t>(box.blueLow + box.blueExtent / 2),
            static_cast<std::uint8_t>(box.greenLow + box.greenExtent / 2),
            static_cast<std::uint8_t>(box.redLow + box.redExtent / 2), 0};
}

}  // namespace reference
