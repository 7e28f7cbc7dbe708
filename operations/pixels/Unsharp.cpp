#include "operations/pixels/Unsharp.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include "dib/Kernels.h"
#include "effects/weighted/AlphaPlane.h"
#include "operations/pixels/Pixels.h"

namespace operations {

namespace {

// The weights of a Gaussian from its middle on: their sum, with the second half, is 1, so that the mean of a
// picture stays. What lies beyond three deviations is left out.
std::vector<float> gaussianWeights(double deviation) {
    const auto reach = static_cast<std::size_t>(std::ceil(3 * deviation));
    std::vector<double> exact(reach + 1);
    double sum = 0;
    for (std::size_t i = 0; i <= reach; ++i) {
        const double x = static_cast<double>(i) / deviation;
        exact[i] = std::exp(-x * x / 2);
        sum += i == 0 ? exact[i] : 2 * exact[i];
    }
    std::vector<float> weights;
    for (const double weight : exact) weights.push_back(static_cast<float>(weight / sum));
    return weights;
}

DIB_ALWAYS_INLINE void addPair(const unsigned char* __restrict above, const unsigned char* __restrict below,
                               std::size_t count, float weight, float* __restrict sums) {
    for (std::size_t i = 0; i < count; ++i) sums[i] += weight * static_cast<float>(above[i] + below[i]);
}

// Colours times alpha, and alpha.
DIB_ALWAYS_INLINE void addWeightedPair(const unsigned char* __restrict above,
                                       const unsigned char* __restrict below, std::size_t count, float weight,
                                       float* __restrict sums) {
    for (std::size_t i = 0; i < count; i += 4) {
        for (std::size_t channel = 0; channel < 3; ++channel) {
            const int product = above[i + channel] * above[i + 3] + below[i + channel] * below[i + 3];
            sums[i + channel] += weight * static_cast<float>(product);
        }
        sums[i + 3] += weight * static_cast<float>(above[i + 3] + below[i + 3]);
    }
}

DIB_ALWAYS_INLINE void addFloats(const float* __restrict left, const float* __restrict right,
                                 std::size_t count, float weight, float* __restrict sums) {
    for (std::size_t i = 0; i < count; ++i) sums[i] += weight * (left[i] + right[i]);
}

DIB_ALWAYS_INLINE void sharpenRow(const float* __restrict blurred, std::size_t count, float amount,
                                  float threshold, unsigned char* __restrict row) {
    for (std::size_t i = 0; i < count; ++i) {
        const auto value = static_cast<float>(row[i]);
        const float difference = value - blurred[i];
        const float added = std::fabs(difference) < threshold ? 0.0F : amount * difference;
        const float sharpened = std::min(std::max(value + added, 0.0F), 255.0F);
        row[i] = static_cast<unsigned char>(sharpened + 0.5F);  // NOLINT(bugprone-incorrect-roundings)
    }
}

// The blurred rows of a picture.
class Blur {
public:
    Blur(const dib::Raster& rows, double deviation, bool isWeighted)
        : weights_(gaussianWeights(deviation)),
          reach_(static_cast<int>(weights_.size()) - 1),
          channels_(static_cast<std::size_t>(rows.bitCount / 8)),
          samples_(channels_ * static_cast<std::size_t>(rows.width)),
          height_(rows.height),
          isWeighted_(isWeighted),
          original_(samples_ * static_cast<std::size_t>(rows.height)),
          column_(samples_ + 2 * margin()),
          blurred_(samples_) {
        for (int y = 0; y < rows.height; ++y)
            std::memcpy(original_.data() + samples_ * static_cast<std::size_t>(y), rows.row(y), samples_);
    }

    // Valid until the next call. Pixels at an edge count as if they went on outside.
    const float* row(int y) {
        std::fill(column_.begin(), column_.end(), 0.0F);
        float* const sums = column_.data() + margin();
        for (int i = 0; i <= reach_; ++i) {
            const unsigned char* const above = at(y - i);
            const unsigned char* const below = at(y + i);
            if (isWeighted_) {
                dib::runKernel<addWeightedPair>(above, below, samples_, weight(i), sums);
            } else {
                dib::runKernel<addPair>(above, below, samples_, weight(i), sums);
            }
        }
        for (std::size_t i = 0; i < margin(); ++i) {
            column_[i] = sums[i % channels_];
            sums[samples_ + i] = sums[samples_ - channels_ + i % channels_];
        }
        std::fill(blurred_.begin(), blurred_.end(), 0.0F);
        for (int i = 0; i <= reach_; ++i) {
            const std::size_t offset = channels_ * static_cast<std::size_t>(i);
            const float* const left = sums - offset;
            const float* const right = sums + offset;
            dib::runKernel<addFloats>(left, right, samples_, weight(i), blurred_.data());
        }
        if (isWeighted_) divideByAlpha();
        return blurred_.data();
    }

    // Colours of transparent pixels stay, and so does alpha.
    void restoreAlpha(unsigned char* row, int y) const {
        if (channels_ != 4) return;
        const unsigned char* original = at(y);
        for (std::size_t i = 3; i < samples_; i += 4) row[i] = original[i];
    }

private:
    // The middle is a pair with itself.
    float weight(int i) const { return i == 0 ? weights_[0] / 2 : weights_[static_cast<std::size_t>(i)]; }
    std::size_t margin() const { return channels_ * static_cast<std::size_t>(reach_); }
    const unsigned char* at(int y) const {
        return original_.data() + samples_ * static_cast<std::size_t>(std::clamp(y, 0, height_ - 1));
    }
    void divideByAlpha() {
        for (std::size_t i = 0; i < samples_; i += 4) {
            const float alpha = blurred_[i + 3];
            for (std::size_t channel = 0; channel < 3; ++channel)
                blurred_[i + channel] = alpha > 0 ? blurred_[i + channel] / alpha : 0;
        }
    }

    std::vector<float> weights_;
    int reach_;
    std::size_t channels_;
    std::size_t samples_;
    int height_;
    bool isWeighted_;
    std::vector<unsigned char> original_;
    std::vector<float> column_;
    std::vector<float> blurred_;
};

}  // namespace

bool unsharp(const Job& job, const UnsharpMask& mask) {
    widen(job);
    const dib::Raster rows = rowsOf(job.image);
    const bool isOpaque = rows.bitCount != 32 || dib::commonAlpha(job.image) == 255;
    Blur blur(rows, mask.deviation, !isOpaque);
    const std::size_t samples =
        static_cast<std::size_t>(rows.width) * static_cast<std::size_t>(rows.bitCount / 8);
    return forEachRow(job, rows.height, [&](int y) {
        const float* const blurred = blur.row(y);
        dib::runKernel<sharpenRow>(blurred, samples, mask.amount, mask.threshold, rows.row(y));
        blur.restoreAlpha(rows.row(y), y);
    });
}

}  // namespace operations
