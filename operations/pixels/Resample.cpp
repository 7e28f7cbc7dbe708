#include "operations/pixels/Resample.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <optional>
#include <utility>

#include "dib/Depths.h"
#include "dib/EdgeAxis.h"
#include "dib/MoveBlocks.h"
#include "dib/Numbers.h"
#include "effects/weighted/AlphaPlane.h"
#include "operations/pixels/FloatRows.h"
#include "operations/pixels/Pixels.h"

namespace operations {

namespace {

using dib::EdgeAxis;
using dib::Raster;

// out[i] = sum of weights[k] x pixels[first[i] + k], for taps of which each pixel has its own.
template <int kChannels>
DIB_ALWAYS_INLINE void sumColumns(const float* row, const Taps* taps, float* __restrict out,
                                  std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const float* from = row + std::ptrdiff_t{taps->first[dib::asSize(i)]} * kChannels;
        const float* weights = taps->weightsOf(dib::asSize(i));
        float sums[kChannels] = {};
        for (int k = 0; k < taps->width; ++k) {
            for (int c = 0; c < kChannels; ++c) sums[c] += weights[k] * from[k * kChannels + c];
        }
        for (int c = 0; c < kChannels; ++c) out[i * kChannels + c] = sums[c];
    }
}

// The rows of a picture summed across, of which as many are kept as a pixel of the result needs.
class RowsAcross {
public:
    RowsAcross(const Raster& from, const Taps& across, const Taps& down, bool isWeighted)
        : from_(from),
          across_(across),
          isWeighted_(isWeighted),
          channels_(from.bitCount / 8),
          axisX_{from.width, across.wraps},
          axisY_{from.height, down.wraps},
          samples_(dib::asOffset(across.first.size()) * channels_),
          slots_(dib::asSize(down.width)) {
        const auto [least, most] = std::minmax_element(across.first.begin(), across.first.end());
        before_ = std::max(0, -*least);
        after_ = std::max(0, *most + across.width - from.width);
        padded_.resize((dib::asSize(from.width) + dib::asSize(before_) + dib::asSize(after_)) *
                       dib::asSize(channels_));
        for (Slot& slot : slots_) slot.samples.resize(dib::asSize(samples_));
        columns_.resize(dib::asSize(across.width));
    }

    std::ptrdiff_t samples() const { return samples_; }

    const float* row(int position) {
        const auto count = dib::asInt(slots_.size());
        Slot& slot = slots_[dib::asSize((position % count + count) % count)];
        if (slot.position != position) sumAcross(from_.row(axisY_.at(position)), slot.samples.data());
        slot.position = position;
        return slot.samples.data();
    }

private:
    struct Slot {
        std::optional<int> position;
        std::vector<float> samples;
    };

    void sumAcross(const unsigned char* row, float* out) {
        float* const first = padded_.data() + std::ptrdiff_t{before_} * channels_;
        const std::ptrdiff_t count = std::ptrdiff_t{from_.width} * channels_;
        isWeighted_ ? dib::runKernel<loadWeighted>(row, first, count)
                    : dib::runKernel<loadRow>(row, first, count);
        axisX_.pad(first, before_, after_, channels_);
        if (across_.isShared) {
            const float* column = first + std::ptrdiff_t{across_.first[0]} * channels_;
            for (const float*& each : columns_) each = std::exchange(column, column + channels_);
            return dib::runWidestKernel<sumRows<32>, sumRows<64>>(
                static_cast<const float* const*>(columns_.data()), across_.weights.data(), across_.width, out,
                samples_);
        }
        const std::ptrdiff_t pixels = samples_ / channels_;
        const float* from = first;
        switch (channels_) {
            case 1: return dib::runKernel<sumColumns<1>>(from, &across_, out, pixels);
            case 3: return dib::runKernel<sumColumns<3>>(from, &across_, out, pixels);
            default: return dib::runKernel<sumColumns<4>>(from, &across_, out, pixels);
        }
    }

    Raster from_;
    const Taps& across_;
    bool isWeighted_;
    int channels_;
    EdgeAxis axisX_;
    EdgeAxis axisY_;
    std::ptrdiff_t samples_;
    int before_ = 0;
    int after_ = 0;
    std::vector<float> padded_;
    std::vector<const float*> columns_;
    std::vector<Slot> slots_;
};

// The weight of a pixel at a distance, in pixels of the filter.
double weightAt(Filter filter, double distance) {
    const double x = std::fabs(distance);
    switch (filter) {
        case Filter::kArea: return 0;
        case Filter::kBilinear: return std::max(0.0, 1 - x);
        case Filter::kBicubic:
            // The cubic convolution with a slope of -1/2 at 1.
            if (x < 1) return (1.5 * x - 2.5) * x * x + 1;
            return x < 2 ? ((-0.5 * x + 2.5) * x - 4) * x + 2 : 0;
    }
    return 0;
}

// Makes the weights of a pixel total 1.
void normalize(float* weights, const std::vector<double>& exact) {
    double total = 0;
    for (const double weight : exact) total += weight;
    for (const double weight : exact) *weights++ = static_cast<float>(weight / total);
}

Taps sharedTaps(int count, const std::vector<double>& exact, bool wraps) {
    Taps taps;
    taps.isShared = true;
    taps.wraps = wraps;
    taps.width = dib::asInt(exact.size());
    for (int i = 0; i < count; ++i) taps.first.push_back(i - taps.width / 2);
    taps.weights.resize(exact.size());
    normalize(taps.weights.data(), exact);
    return taps;
}

}  // namespace

Taps resizeTaps(Filter filter, int sourceCount, int count) {
    const double step = static_cast<double>(sourceCount) / count;
    const double scale = std::max(step, 1.0);
    const double reach = filter == Filter::kArea ? step / 2 : scale * (filter == Filter::kBicubic ? 2 : 1);
    Taps taps;
    taps.width = static_cast<int>(std::ceil(2 * reach)) + 1;
    taps.weights.resize(dib::asSize(taps.width) * dib::asSize(count));
    std::vector<double> exact(dib::asSize(taps.width));
    for (int i = 0; i < count; ++i) {
        // Pixels are from whole numbers to the next ones, with their centres between.
        const double center = (i + 0.5) * step;
        const int first = static_cast<int>(std::floor(center - reach));
        for (int k = 0; k < taps.width; ++k) {
            const double left = first + k;
            exact[dib::asSize(k)] =
                filter == Filter::kArea
                    ? std::max(0.0, std::min(left + 1, center + reach) - std::max(left, center - reach))
                    : weightAt(filter, (left + 0.5 - center) / scale);
        }
        taps.first.push_back(first);
        normalize(taps.weights.data() + dib::asOffset(i) * taps.width, exact);
    }
    return taps;
}

Taps boxTaps(int count, int radius, bool wraps) {
    return sharedTaps(count, std::vector<double>(2 * dib::asSize(radius) + 1, 1.0), wraps);
}

bool resample(const Job& job, const Taps& across, const Taps& down) {
    const Raster from = rowsOf(job.image);
    const std::optional<std::uint8_t> alpha = dib::commonAlpha(job.image);
    const bool isWeighted = from.bitCount == 32 && !alpha;
    DibStream result;
    createLike(job.image, dib::asInt(across.first.size()), dib::asInt(down.first.size()), result);
    const Raster to = rowsOf(result);
    RowsAcross rows(from, across, down, isWeighted);
    std::vector<float> sums(dib::asSize(rows.samples()));
    std::vector<const float*> lines(dib::asSize(down.width));
    const bool isDone = forEachRow(job, to.height, [&](int y) {
        const auto i = dib::asSize(y);
        for (int k = 0; k < down.width; ++k) lines[dib::asSize(k)] = rows.row(down.first[i] + k);
        dib::runWidestKernel<sumRows<32>, sumRows<64>>(static_cast<const float* const*>(lines.data()),
                                                       down.weightsOf(i), down.width, sums.data(),
                                                       rows.samples());
        const float* all = sums.data();
        isWeighted ? dib::runKernel<storeWeighted>(all, to.row(y), rows.samples())
                   : dib::runKernel<storeRow>(all, to.row(y), rows.samples());
    });
    if (!isDone) return false;
    if (alpha) dib::fillAlpha(result, *alpha);
    dib::moveBlocks(result, job.image);
    return true;
}

bool resampleNearest(const Job& job, int width, int height) {
    const Raster from = rowsOf(job.image);
    DibStream result;
    createLike(job.image, width, height, result);
    const Raster to = rowsOf(result);
    const auto nearest = [](int i, int count, int sourceCount) {
        return dib::asInt((2 * std::int64_t{i} + 1) * sourceCount / (2 * std::int64_t{count}));
    };
    std::vector<int> columns;
    for (int x = 0; x < width; ++x) columns.push_back(nearest(x, width, from.width));
    const bool isDone = forEachRow(job, height, [&](int y) {
        const unsigned char* row = from.row(nearest(y, height, from.height));
        std::memset(to.row(y), 0, to.rowBytes);
        dib::withAnyDepth(from.bitCount, [&](auto depth) {
            using Depth = decltype(depth);
            for (int x = 0; x < width; ++x)
                Depth::put(to.row(y), x, Depth::get(row, columns[dib::asSize(x)]));
            return true;
        });
    });
    if (isDone) dib::moveBlocks(result, job.image);
    return isDone;
}

}  // namespace operations
