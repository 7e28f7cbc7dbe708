#include "operations/pixels/Resample.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numbers>
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

// out[i] = sum of weights[k] x pixels[first[i] + k], for taps of which each pixel has its own. Pixels of 3
// and 4 channels are vectors of four floats: those of 3 are read and stored with a float too many, which the
// next one overwrites. `kWidth` is the number of taps where it is known.
template <int kChannels, int kWidth>
DIB_ALWAYS_INLINE void sumColumns(const float* row, const Taps* taps, float* out, std::ptrdiff_t count) {
    using Vector __attribute__((vector_size(4 * sizeof(float)))) = float;
    const int width = kWidth != 0 ? kWidth : taps->width;
    const int* const first = taps->first.data();
    const float* weights = taps->weights.data();
    for (std::ptrdiff_t i = 0; i < count; ++i, weights += width) {
        const float* from = row + std::ptrdiff_t{first[i]} * kChannels;
        if constexpr (kChannels == 1) {
            float sum = 0;
            for (int k = 0; k < width; ++k) sum += weights[k] * from[k];
            out[i] = sum;
        } else {
            Vector sum = {};
            for (int k = 0; k < width; ++k) {
                Vector pixel;
                std::memcpy(&pixel, from + k * kChannels, sizeof pixel);
                sum += weights[k] * pixel;
            }
            std::memcpy(out + i * kChannels, &sum, sizeof sum);
        }
    }
}

template <int kChannels>
void runColumns(const float* row, const Taps* taps, float* out, std::ptrdiff_t count) {
    switch (taps->width) {
        case 4: return dib::runKernel<sumColumns<kChannels, 4>>(row, taps, out, count);
        case 6: return dib::runKernel<sumColumns<kChannels, 6>>(row, taps, out, count);
        default: return dib::runKernel<sumColumns<kChannels, 0>>(row, taps, out, count);
    }
}

// Adds two rows of bytes, each times its weight.
DIB_ALWAYS_INLINE void addRows(const unsigned char* __restrict a, const unsigned char* __restrict b,
                               float weightA, float weightB, float* __restrict sums, std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; ++i)
        sums[i] += weightA * static_cast<float>(a[i]) + weightB * static_cast<float>(b[i]);
}
// The same of colours times alpha, and alpha.
DIB_ALWAYS_INLINE void addWeightedRows(const unsigned char* __restrict a, const unsigned char* __restrict b,
                                       float weightA, float weightB, float* __restrict sums,
                                       std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; i += 4) {
        const float alphaA = weightA * static_cast<float>(a[i + 3]);
        const float alphaB = weightB * static_cast<float>(b[i + 3]);
        for (int c = 0; c < 3; ++c)
            sums[i + c] += alphaA * static_cast<float>(a[i + c]) + alphaB * static_cast<float>(b[i + c]);
        sums[i + 3] += alphaA + alphaB;
    }
}

// A row of floats with the pixels beside it that taps reach, and its sums across.
class Across {
public:
    Across(const Raster& from, const Taps& taps)
        : taps_(taps),
          channels_(from.bitCount / 8),
          axis_{from.width, taps.wraps},
          samples_(dib::asOffset(taps.first.size()) * channels_),
          columns_(taps.isShared ? dib::asSize(taps.width) : 0) {
        const auto [least, most] = std::minmax_element(taps.first.begin(), taps.first.end());
        before_ = std::max(0, -*least);
        after_ = std::max(0, *most + taps.width - from.width);
        // Vectors of the last pixel read a float too many.
        padded_.resize((dib::asSize(from.width) + dib::asSize(before_) + dib::asSize(after_)) *
                           dib::asSize(channels_) +
                       1);
    }

    // What is summed.
    float* row() { return padded_.data() + std::ptrdiff_t{before_} * channels_; }
    std::ptrdiff_t samples() const { return samples_; }
    // What a row of sums needs: vectors store a float too many.
    std::size_t room() const { return dib::asSize(samples_) + 1; }

    void sum(float* out) {
        axis_.pad(row(), before_, after_, channels_);
        const float* const first = row();
        if (taps_.isShared) {
            const float* column = first + std::ptrdiff_t{taps_.first[0]} * channels_;
            for (const float*& each : columns_) each = std::exchange(column, column + channels_);
            return dib::runWidestKernel<sumRows<32>, sumRows<64>>(
                static_cast<const float* const*>(columns_.data()), taps_.weights.data(), taps_.width, out,
                samples_);
        }
        const std::ptrdiff_t pixels = samples_ / channels_;
        switch (channels_) {
            case 1: return runColumns<1>(first, &taps_, out, pixels);
            case 3: return runColumns<3>(first, &taps_, out, pixels);
            default: return runColumns<4>(first, &taps_, out, pixels);
        }
    }

private:
    const Taps& taps_;
    int channels_;
    EdgeAxis axis_;
    std::ptrdiff_t samples_;
    int before_ = 0;
    int after_ = 0;
    std::vector<float> padded_;
    std::vector<const float*> columns_;
};

// What both orders of summing hold.
class SummedRows {
public:
    std::ptrdiff_t samples() const { return across_.samples(); }

protected:
    SummedRows(const Raster& from, const Taps& across, const Taps& down, bool isWeighted)
        : from_(from),
          down_(down),
          isWeighted_(isWeighted),
          axis_{from.height, down.wraps},
          across_(from, across),
          sums_(across_.room()) {}

    Raster from_;
    const Taps& down_;
    bool isWeighted_;
    EdgeAxis axis_;
    Across across_;
    std::vector<float> sums_;
};

// Summed across first: for pictures that grow. As many summed rows are kept as a row of the result needs.
class AcrossFirst : public SummedRows {
public:
    AcrossFirst(const Raster& from, const Taps& across, const Taps& down, bool isWeighted)
        : SummedRows(from, across, down, isWeighted),
          slots_(dib::asSize(down.width)),
          lines_(dib::asSize(down.width)) {
        for (Slot& slot : slots_) slot.samples.resize(across_.room());
    }

    const float* row(int y) {
        const auto i = dib::asSize(y);
        for (int k = 0; k < down_.width; ++k) lines_[dib::asSize(k)] = summed(down_.first[i] + k);
        dib::runWidestKernel<sumRows<32>, sumRows<64>>(static_cast<const float* const*>(lines_.data()),
                                                       down_.weightsOf(i), down_.width, sums_.data(),
                                                       samples());
        return sums_.data();
    }

private:
    struct Slot {
        std::optional<int> position;
        std::vector<float> samples;
    };

    const float* summed(int position) {
        const auto count = dib::asInt(slots_.size());
        Slot& slot = slots_[dib::asSize((position % count + count) % count)];
        if (slot.position == position) return slot.samples.data();
        const unsigned char* row = from_.row(axis_.at(position));
        const std::ptrdiff_t bytes = from_.pixelBytes();
        isWeighted_ ? dib::runKernel<loadWeighted>(row, across_.row(), bytes)
                    : dib::runKernel<loadRow>(row, across_.row(), bytes);
        across_.sum(slot.samples.data());
        slot.position = position;
        return slot.samples.data();
    }

    std::vector<Slot> slots_;
    std::vector<const float*> lines_;
};

// Summed down first: for pictures that shrink, as fewer rows are then summed across.
class DownFirst : public SummedRows {
public:
    DownFirst(const Raster& from, const Taps& across, const Taps& down, bool isWeighted)
        : SummedRows(from, across, down, isWeighted) {}

    const float* row(int y) {
        const auto i = dib::asSize(y);
        const float* weights = down_.weightsOf(i);
        const std::ptrdiff_t bytes = from_.pixelBytes();
        std::fill_n(across_.row(), bytes, 0.0F);
        for (int k = 0; k < down_.width; k += 2) {
            const int last = std::min(k + 1, down_.width - 1);
            const unsigned char* a = from_.row(axis_.at(down_.first[i] + k));
            const unsigned char* b = from_.row(axis_.at(down_.first[i] + last));
            const float ofB = last > k ? weights[last] : 0.0F;
            isWeighted_ ? dib::runKernel<addWeightedRows>(a, b, weights[k], ofB, across_.row(), bytes)
                        : dib::runKernel<addRows>(a, b, weights[k], ofB, across_.row(), bytes);
        }
        across_.sum(sums_.data());
        return sums_.data();
    }
};

double sinc(double x) {
    const double angle = std::numbers::pi * x;
    return angle == 0 ? 1 : std::sin(angle) / angle;
}

// How far a filter reaches to each side, in its pixels.
int reachOf(Filter filter) {
    switch (filter) {
        case Filter::kBicubic: return 2;
        case Filter::kLanczos: return 3;
        default: return 1;
    }
}

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
        case Filter::kLanczos: return x < 3 ? sinc(x) * sinc(x / 3) : 0;
    }
    return 0;
}

// Makes the weights of a pixel total 1.
void normalize(float* weights, const std::vector<double>& exact) {
    double total = 0;
    for (const double weight : exact) total += weight;
    for (const double weight : exact) *weights++ = static_cast<float>(weight / total);
}

// A table of 256 MB: sides of some millions of pixels.
constexpr std::size_t kMostWeights = std::size_t{1} << 26;

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
    const bool isArea = filter == Filter::kArea;
    const double reach = isArea ? step / 2 : scale * reachOf(filter);
    Taps taps;
    // Pixels count that an area touches, or whose centres the filter reaches.
    taps.width = static_cast<int>(std::ceil(2 * reach)) + (isArea ? 1 : 0);
    if (dib::asSize(taps.width) > kMostWeights / dib::asSize(count))
        throw Refusal{DIB_ERROR_MEMORY, kNoMemory};
    taps.weights.resize(dib::asSize(taps.width) * dib::asSize(count));
    std::vector<double> exact(dib::asSize(taps.width));
    for (int i = 0; i < count; ++i) {
        // Pixels are from whole numbers to the next ones, with their centres between.
        const double center = (i + 0.5) * step;
        const int first =
            static_cast<int>(isArea ? std::floor(center - reach) : std::ceil(center - reach - 0.5));
        for (int k = 0; k < taps.width; ++k) {
            const double left = first + k;
            exact[dib::asSize(k)] =
                isArea ? std::max(0.0, std::min(left + 1, center + reach) - std::max(left, center - reach))
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
    const auto fill = [&](auto&& rows) {
        return forEachRow(job, to.height, [&](int y) {
            const float* sums = rows.row(y);
            isWeighted ? dib::runKernel<storeWeighted>(sums, to.row(y), rows.samples())
                       : dib::runKernel<storeRow>(sums, to.row(y), rows.samples());
        });
    };
    const bool isDone = !down.isShared && to.height <= from.height
                            ? fill(DownFirst(from, across, down, isWeighted))
                            : fill(AcrossFirst(from, across, down, isWeighted));
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
