#include "operations/pixels/BestPalette.h"

#include <algorithm>
#include <array>

#include "dib/Bytes.h"
#include "dib/Kernels.h"
#include "dib/Numbers.h"

namespace operations {

namespace {

using Mean = std::array<std::int32_t, 3>;

// Cells of one box, and the cut that lowers the sum of squared distances to the means most.
struct Box {
    CountedCell* begin;
    CountedCell* end;
    double gain = 0;  // 0: nothing to cut
    int axis = 0;
    std::int32_t cut = 0;  // cells from this value on belong to the second half
};

// The sums over one of the planes of an axis.
struct Plane {
    double pixels = 0;
    double sum[3] = {};
};

constexpr int kPlanes = 64;
constexpr int kPlaneWidth = 256 * kMeanScale / kPlanes;

double squaresOf(const Plane& plane) {
    if (plane.pixels <= 0) return 0;
    return (plane.sum[0] * plane.sum[0] + plane.sum[1] * plane.sum[1] + plane.sum[2] * plane.sum[2]) /
           plane.pixels;
}

// The variance of a part is the sum of squares less the square of its sum over its pixels, so the gain of a
// cut is how much the latter grow.
void findCut(Box& box) {
    std::array<std::array<Plane, kPlanes>, 3> planes{};
    Plane whole;
    for (const CountedCell* cell = box.begin; cell != box.end; ++cell) {
        const double pixels = cell->pixels;
        const double sum[3] = {pixels * cell->mean[0], pixels * cell->mean[1], pixels * cell->mean[2]};
        for (std::size_t axis = 0; axis < 3; ++axis) {
            Plane& plane = planes[axis][dib::asSize(cell->mean[axis] / kPlaneWidth)];
            plane.pixels += pixels;
            for (int i = 0; i < 3; ++i) plane.sum[i] += sum[i];
        }
        whole.pixels += pixels;
        for (int i = 0; i < 3; ++i) whole.sum[i] += sum[i];
    }
    const double before = squaresOf(whole);
    box.gain = 0;
    for (int axis = 0; axis < 3; ++axis) {
        Plane low;
        for (int i = 0; i + 1 < kPlanes; ++i) {
            const Plane& plane = planes[dib::asSize(axis)][dib::asSize(i)];
            if (plane.pixels <= 0) continue;
            low.pixels += plane.pixels;
            Plane high = whole;
            high.pixels -= low.pixels;
            if (high.pixels <= 0) break;
            for (int k = 0; k < 3; ++k) {
                low.sum[k] += plane.sum[k];
                high.sum[k] -= low.sum[k];
            }
            const double gain = squaresOf(low) + squaresOf(high) - before;
            if (gain <= box.gain) continue;
            box.gain = gain;
            box.axis = axis;
            box.cut = (i + 1) * kPlaneWidth;
        }
    }
}

// Sums of pixels, and their mean.
struct Sums {
    std::uint64_t pixels = 0;
    std::array<std::uint64_t, 3> sum{};

    void add(const CountedCell& cell) {
        pixels += cell.pixels;
        for (std::size_t i = 0; i < 3; ++i) sum[i] += static_cast<std::uint64_t>(cell.mean[i]) * cell.pixels;
    }
    // Black for no pixels.
    Mean mean() const {
        Mean result{};
        const std::uint64_t count = std::max<std::uint64_t>(pixels, 1);
        for (std::size_t i = 0; i < 3; ++i)
            result[i] = static_cast<std::int32_t>((sum[i] + count / 2) / count);
        return result;
    }
};

// Nothing when the caller cancels.
std::optional<std::vector<Box>> cutIntoBoxes(std::vector<CountedCell>& cells, std::size_t most,
                                             const dib::PartProgress& progress) {
    std::vector<Box> boxes;
    boxes.reserve(most);
    boxes.push_back({cells.data(), cells.data() + cells.size()});
    findCut(boxes.front());
    while (boxes.size() < most) {
        Box& box = *std::max_element(boxes.begin(), boxes.end(),
                                     [](const Box& a, const Box& b) { return a.gain < b.gain; });
        if (box.gain <= 0) break;
        const auto axis = dib::asSize(box.axis);
        CountedCell* const middle = std::stable_partition(
            box.begin, box.end, [&](const CountedCell& cell) { return cell.mean[axis] < box.cut; });
        Box second{middle, box.end};
        box.end = middle;
        findCut(box);
        findCut(second);
        boxes.push_back(second);
        if (!progress.report(dib::asOffset(boxes.size()), dib::asOffset(most))) return std::nullopt;
    }
    return boxes;
}

// The means in three rows, so that distances to several are computed at once.
struct Means {
    std::int32_t channel[3][256];
    int count;
};

// The nearest of the means, the first among equals. Squared distances in eighths take 24 bits, which leaves 8
// for the number.
DIB_ALWAYS_INLINE void findNearest(const CountedCell* cells, std::size_t count, const Means* means,
                                   std::uint8_t* nearest) {
    for (std::size_t i = 0; i < count; ++i) {
        const Mean& mean = cells[i].mean;
        std::uint32_t best = UINT32_MAX;
        for (int k = 0; k < means->count; ++k) {
            const std::int32_t blue = means->channel[0][k] - mean[0];
            const std::int32_t green = means->channel[1][k] - mean[1];
            const std::int32_t red = means->channel[2][k] - mean[2];
            const auto distance = dib::dwordOf(blue * blue + green * green + red * red);
            best = std::min(best, distance << 8 | dib::dwordOf(k));
        }
        nearest[i] = dib::byteOf(best);
    }
}

// Moves each mean to that of the cells nearest to it. Whether any moved.
bool moveMeans(const std::vector<CountedCell>& cells, Means& means, std::vector<std::uint8_t>& nearest) {
    const Means* const from = &means;
    dib::runKernel<findNearest>(cells.data(), cells.size(), from, nearest.data());
    std::array<Sums, 256> sums{};
    for (std::size_t i = 0; i < cells.size(); ++i) sums[nearest[i]].add(cells[i]);
    bool haveMoved = false;
    for (std::size_t k = 0; k < dib::asSize(means.count); ++k) {
        if (sums[k].pixels == 0) continue;
        const Mean mean = sums[k].mean();
        for (std::size_t i = 0; i < 3; ++i) {
            haveMoved = haveMoved || means.channel[i][k] != mean[i];
            means.channel[i][k] = mean[i];
        }
    }
    return haveMoved;
}

}  // namespace

std::optional<std::vector<DibBGRA>> bestPalette(std::vector<CountedCell>& cells, std::size_t most,
                                                const dib::PartProgress& progress) {
    if (cells.empty()) return std::vector<DibBGRA>();
    const auto boxes = cutIntoBoxes(cells, most, progress.part(0, 2));
    if (!boxes) return std::nullopt;
    Means means{};
    for (const Box& box : *boxes) {
        Sums sums;
        for (const CountedCell* cell = box.begin; cell != box.end; ++cell) sums.add(*cell);
        const Mean mean = sums.mean();
        for (std::size_t i = 0; i < 3; ++i) means.channel[i][means.count] = mean[i];
        ++means.count;
    }
    // More steps gain less than 0.05 dB on photographs.
    constexpr int kSteps = 10;
    std::vector<std::uint8_t> nearest(cells.size());
    const dib::PartProgress moving = progress.part(1, 2);
    for (int step = 0; step < kSteps && moveMeans(cells, means, nearest); ++step) {
        if (!moving.report(step + 1, kSteps)) return std::nullopt;
    }
    std::vector<DibBGRA> palette;
    for (int k = 0; k < means.count; ++k) {
        const auto byte = [&](int channel) {
            return dib::byteOf(std::min((means.channel[channel][k] + kMeanScale / 2) / kMeanScale, 255));
        };
        palette.push_back({byte(0), byte(1), byte(2), 0});
    }
    const auto light = [](const DibBGRA& entry) {
        return 11 * entry.blue + 59 * entry.green + 30 * entry.red;
    };
    std::stable_sort(palette.begin(), palette.end(),
                     [&](const DibBGRA& a, const DibBGRA& b) { return light(a) < light(b); });
    return palette;
}

}  // namespace operations
