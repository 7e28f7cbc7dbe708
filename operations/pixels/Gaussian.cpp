#include "operations/pixels/Gaussian.h"

#include <algorithm>
#include <cmath>

#include "dib/Kernels.h"
#include "dib/MoveBlocks.h"
#include "dib/Numbers.h"
#include "effects/weighted/AlphaPlane.h"
#include "operations/pixels/FloatRows.h"
#include "operations/pixels/GaussianWords.h"
#include "operations/pixels/Pixels.h"

namespace operations {

namespace {

// The deviation takes at least so many cells; the more, the more exact.
constexpr double kCellsPerDeviation = 6;

DIB_ALWAYS_INLINE void addRow(const unsigned char* __restrict row, float weight, float* __restrict sums,
                              std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; ++i) sums[i] += weight * static_cast<float>(row[i]);
}
// Colours times alpha, and alpha.
DIB_ALWAYS_INLINE void addWeighted(const unsigned char* __restrict row, float weight, float* __restrict sums,
                                   std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; i += 4) {
        const float alpha = weight * static_cast<float>(row[i + 3]);
        for (int c = 0; c < 3; ++c) sums[i + c] += static_cast<float>(row[i + c]) * alpha;
        sums[i + 3] += alpha;
    }
}

// Sums the pixels of each cell, of which there are as many as weights; a cell begins `step` pixels after the
// one before it.
template <int kChannels>
DIB_ALWAYS_INLINE void shrinkRow(const float* pixels, const std::vector<float>* weights, int step,
                                 float* __restrict cells, std::ptrdiff_t count) {
    const float* const weight = weights->data();
    const auto width = dib::asOffset(weights->size());
    for (std::ptrdiff_t i = 0; i < count; ++i, pixels += step * kChannels) {
        float sums[kChannels] = {};
        for (std::ptrdiff_t k = 0; k < width; ++k) {
            for (int c = 0; c < kChannels; ++c) sums[c] += weight[k] * pixels[k * kChannels + c];
        }
        for (int c = 0; c < kChannels; ++c) cells[i * kChannels + c] = sums[c];
    }
}

DIB_ALWAYS_INLINE float between(float a, float b, float share) { return a + share * (b - a); }

// Pixels between cells of which every `step`-th pixel has one.
template <int kChannels>
DIB_ALWAYS_INLINE void enlargeRow(const float* __restrict cells, int step, float* __restrict pixels,
                                  std::ptrdiff_t count) {
    std::ptrdiff_t x = 0;
    for (; x < count; cells += kChannels) {
        for (int i = 0; i < step && x < count; ++i, ++x) {
            const float share = static_cast<float>(i) / static_cast<float>(step);
            for (int c = 0; c < kChannels; ++c)
                pixels[x * kChannels + c] = between(cells[c], cells[c + kChannels], share);
        }
    }
}

DIB_ALWAYS_INLINE void mixRows(const float* __restrict a, const float* __restrict b, float share,
                               float* __restrict out, std::ptrdiff_t samples) {
    for (std::ptrdiff_t i = 0; i < samples; ++i) out[i] = between(a[i], b[i], share);
}

// The square of the deviation that cells of so many pixels add, and the interpolation between them.
double squareOfCells(int step) {
    const double square = static_cast<double>(step) * step;
    return (square - 1) / 6 + (square - 1) / 6;
}

template <class Visit>
void withChannels(std::ptrdiff_t channels, const Visit& visit) {
    switch (channels) {
        case 1: return visit.template operator()<1>();
        case 3: return visit.template operator()<3>();
        default: return visit.template operator()<4>();
    }
}

std::vector<float> floats(std::ptrdiff_t count) { return std::vector<float>(dib::asSize(count)); }

}  // namespace

GaussianRows::GaussianRows(const dib::Raster& from, const Gaussian& gaussian, bool isWeighted)
    : from_(from),
      isWeighted_(isWeighted),
      channels_(from.bitCount / 8),
      axisX_{from.width, gaussian.wrapsX},
      axisY_{from.height, gaussian.wrapsY},
      step_(std::max(1, static_cast<int>(gaussian.deviation / kCellsPerDeviation))) {
    makeWeights(gaussian);
    cells_ = (std::ptrdiff_t{from.width} - 1) / step_ + (step_ > 1 ? 2 : 1);
    const std::ptrdiff_t padded = cells_ + 2 * std::ptrdiff_t{half_};
    before_ = std::ptrdiff_t{half_} * step_ + step_ - 1;
    after_ = (padded + 1) * step_ - 1 - before_ - from.width;
    pixels_ = floats((before_ + from.width + after_) * channels_);
    if (step_ > 1) {
        sums_ = floats(padded * channels_);
        down_ = floats(cells_ * channels_);
        mixed_ = floats(samples());
    }
    lines_.resize(weights_.size());
    across_.resize(weights_.size());
    for (Slot& slot : across_) slot.samples = floats(cells_ * channels_);
    whole_.resize(2);
    for (Slot& slot : whole_) slot.samples = floats(samples());
}

void GaussianRows::makeWeights(const Gaussian& gaussian) {
    for (int i = 1 - step_; i < step_; ++i)
        cellWeights_.push_back(static_cast<float>(step_ - std::abs(i)) / static_cast<float>(step_ * step_));
    const double square = gaussian.deviation * gaussian.deviation - squareOfCells(step_);
    half_ = static_cast<int>(std::lround(static_cast<double>(gaussian.reach) / step_));
    std::vector<double> exact;
    double total = 0;
    for (int i = -half_; i <= half_; ++i) {
        const double distance = static_cast<double>(i) * step_;
        exact.push_back(std::exp(-distance * distance / (2 * square)));
        total += exact.back();
    }
    for (const double weight : exact) weights_.push_back(static_cast<float>(weight / total));
}

GaussianRows::Slot& GaussianRows::slotOf(std::vector<Slot>& slots, int position) {
    const auto count = dib::asInt(slots.size());
    return slots[dib::asSize((position % count + count) % count)];
}

// Sums the rows of a row of cells.
void GaussianRows::addRows(int cell) {
    float* const first = pixels_.data() + before_ * channels_;
    if (step_ > 1) std::fill_n(first, samples(), 0.0F);
    std::int64_t y = std::int64_t{cell} * step_ - (step_ - 1);
    for (const float weight : cellWeights_) {
        const unsigned char* row = from_.row(axisY_.at(y++));
        if (step_ == 1) {
            isWeighted_ ? dib::runKernel<loadWeighted>(row, first, samples())
                        : dib::runKernel<loadRow>(row, first, samples());
        } else {
            isWeighted_ ? dib::runKernel<addWeighted>(row, weight, first, samples())
                        : dib::runKernel<addRow>(row, weight, first, samples());
        }
    }
    axisX_.pad(first, before_, after_, channels_);
}

// A row of cells, summed across.
const float* GaussianRows::across(int cell) {
    Slot& slot = slotOf(across_, cell);
    if (slot.position == cell) return slot.samples.data();
    slot.position = cell;
    addRows(cell);
    const float* cells = pixels_.data();
    if (step_ > 1) {
        const std::ptrdiff_t count = cells_ + 2 * std::ptrdiff_t{half_};
        withChannels(channels_, [&]<int kChannels>() {
            dib::runKernel<shrinkRow<kChannels>>(cells, &cellWeights_, step_, sums_.data(), count);
        });
        cells = sums_.data();
    }
    for (const float*& line : lines_) {
        line = cells;
        cells += channels_;
    }
    dib::runWidestKernel<sumRows<32>, sumRows<64>>(static_cast<const float* const*>(lines_.data()),
                                                   weights_.data(), dib::asInt(weights_.size()),
                                                   slot.samples.data(), cells_ * channels_);
    return slot.samples.data();
}

// A row of cells summed across and down, at every pixel of the row.
const float* GaussianRows::whole(int cell) {
    Slot& slot = slotOf(whole_, cell);
    if (slot.position == cell) return slot.samples.data();
    slot.position = cell;
    // Each row needs `lines_` for its own sums, so all are made before.
    for (int k = -half_; k <= half_; ++k) across(cell + k);
    for (int k = -half_; k <= half_; ++k) lines_[dib::asSize(k + half_)] = across(cell + k);
    float* const sums = step_ > 1 ? down_.data() : slot.samples.data();
    dib::runWidestKernel<sumRows<32>, sumRows<64>>(static_cast<const float* const*>(lines_.data()),
                                                   weights_.data(), dib::asInt(weights_.size()), sums,
                                                   cells_ * channels_);
    if (step_ == 1) return slot.samples.data();
    withChannels(channels_, [&]<int kChannels>() {
        dib::runKernel<enlargeRow<kChannels>>(static_cast<const float*>(sums), step_, slot.samples.data(),
                                              std::ptrdiff_t{from_.width});
    });
    return slot.samples.data();
}

const float* GaussianRows::row(int y) {
    if (step_ == 1) return whole(y);
    const float* above = whole(y / step_);
    const float* below = whole(y / step_ + 1);
    const float share = static_cast<float>(y % step_) / static_cast<float>(step_);
    dib::runKernel<mixRows>(above, below, share, mixed_.data(), samples());
    return mixed_.data();
}

bool blurGaussian(const Job& job, const Gaussian& gaussian) {
    const dib::Raster from = rowsOf(job.image);
    const std::optional<std::uint8_t> alpha = dib::commonAlpha(job.image);
    const bool isWeighted = from.bitCount == 32 && !alpha;
    DibStream result;
    createLike(job.image, from.width, from.height, result);
    const dib::Raster to = rowsOf(result);
    const auto blur = [&] {
        if (!isWeighted && GaussianWords::suits(gaussian)) {
            GaussianWords rows(from, gaussian);
            return forEachRow(job, to.height, [&](int y) { rows.store(y, to.row(y)); });
        }
        GaussianRows rows(from, gaussian, isWeighted);
        return forEachRow(job, to.height, [&](int y) {
            const float* sums = rows.row(y);
            isWeighted ? dib::runKernel<storeWeighted>(sums, to.row(y), rows.samples())
                       : dib::runKernel<storeRow>(sums, to.row(y), rows.samples());
        });
    };
    if (!blur()) return false;
    if (alpha) dib::fillAlpha(result, *alpha);
    dib::moveBlocks(result, job.image);
    return true;
}

}  // namespace operations
