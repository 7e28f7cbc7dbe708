#include "operations/pixels/GaussianWords.h"

#include <cmath>
#include <cstring>

#include "dib/Kernels.h"

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace operations {

namespace {

constexpr std::ptrdiff_t kBlock = 128;  // samples that the sums of stay in registers
constexpr int kFraction = 6;            // bits of a sample below 1
constexpr int kOne = 32768;             // what weights total

DIB_ALWAYS_INLINE void loadWords(const unsigned char* __restrict row, std::int16_t* __restrict words,
                                 std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; ++i) words[i] = static_cast<std::int16_t>(row[i] << kFraction);
}

DIB_ALWAYS_INLINE void storeWords(const std::int16_t* __restrict words, unsigned char* __restrict row,
                                  std::ptrdiff_t count) {
    constexpr int kHalf = 1 << (kFraction - 1);
    for (std::ptrdiff_t i = 0; i < count; ++i)
        row[i] = static_cast<unsigned char>((words[i] + kHalf) >> kFraction);
}

// The product divided by kOne, rounded.
DIB_ALWAYS_INLINE int scaled(int value, int weight) { return ((value * weight >> 14) + 1) >> 1; }

// out[i] = middle[i] x weights[0] + the sum of (above[k][i] + below[k][i]) x weights[k]. Whole blocks.
DIB_ALWAYS_INLINE void sumPairsPlain(const std::int16_t* const* above, const std::int16_t* const* below,
                                     const std::int16_t* weights, int reach, std::int16_t* out,
                                     std::ptrdiff_t samples) {
    for (std::ptrdiff_t i = 0; i < samples; ++i) {
        int sum = scaled(above[0][i], weights[0]);
        for (int k = 1; k <= reach; ++k) sum += scaled(above[k][i] + below[k][i], weights[k]);
        out[i] = static_cast<std::int16_t>(sum);
    }
}

#if defined(__x86_64__)

DIB_TARGET_AVX2 DIB_ALWAYS_INLINE __m256i load(const std::int16_t* from) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from));
}

DIB_TARGET_AVX2 void sumPairsAvx2(const std::int16_t* const* above, const std::int16_t* const* below,
                                  const std::int16_t* weights, int reach, std::int16_t* out,
                                  std::ptrdiff_t samples) {
    constexpr std::ptrdiff_t kVectors = kBlock / 16;
    for (std::ptrdiff_t i = 0; i < samples; i += kBlock) {
        __m256i sums[kVectors];
        const __m256i middle = _mm256_set1_epi16(weights[0]);
        for (std::ptrdiff_t j = 0; j < kVectors; ++j)
            sums[j] = _mm256_mulhrs_epi16(load(above[0] + i + 16 * j), middle);
        for (int k = 1; k <= reach; ++k) {
            const __m256i weight = _mm256_set1_epi16(weights[k]);
            for (std::ptrdiff_t j = 0; j < kVectors; ++j) {
                const __m256i pair =
                    _mm256_add_epi16(load(above[k] + i + 16 * j), load(below[k] + i + 16 * j));
                sums[j] = _mm256_add_epi16(sums[j], _mm256_mulhrs_epi16(pair, weight));
            }
        }
        std::memcpy(out + i, sums, sizeof sums);
    }
}

DIB_TARGET_AVX512 void sumPairsAvx512(const std::int16_t* const* above, const std::int16_t* const* below,
                                      const std::int16_t* weights, int reach, std::int16_t* out,
                                      std::ptrdiff_t samples) {
    constexpr std::ptrdiff_t kVectors = kBlock / 32;
    for (std::ptrdiff_t i = 0; i < samples; i += kBlock) {
        __m512i sums[kVectors];
        const __m512i middle = _mm512_set1_epi16(weights[0]);
        for (std::ptrdiff_t j = 0; j < kVectors; ++j)
            sums[j] = _mm512_mulhrs_epi16(_mm512_loadu_si512(above[0] + i + 32 * j), middle);
        for (int k = 1; k <= reach; ++k) {
            const __m512i weight = _mm512_set1_epi16(weights[k]);
            for (std::ptrdiff_t j = 0; j < kVectors; ++j) {
                const __m512i pair = _mm512_add_epi16(_mm512_loadu_si512(above[k] + i + 32 * j),
                                                      _mm512_loadu_si512(below[k] + i + 32 * j));
                sums[j] = _mm512_add_epi16(sums[j], _mm512_mulhrs_epi16(pair, weight));
            }
        }
        std::memcpy(out + i, sums, sizeof sums);
    }
}

#else

constexpr auto sumPairsAvx2 = sumPairsPlain;
constexpr auto sumPairsAvx512 = sumPairsPlain;

#endif

std::vector<std::int16_t> words(std::ptrdiff_t count) {
    return std::vector<std::int16_t>(static_cast<std::size_t>(count));
}

}  // namespace

GaussianWords::GaussianWords(const dib::Raster& from, const Gaussian& gaussian)
    : from_(from),
      channels_(from.bitCount / 8),
      samples_(channels_ * from.width),
      stride_((samples_ + kBlock - 1) / kBlock * kBlock),
      axisX_{from.width, gaussian.wrapsX},
      axisY_{from.height, gaussian.wrapsY},
      reach_(gaussian.reach) {
    std::vector<double> exact;
    double total = 0;
    for (int i = 0; i <= reach_; ++i) {
        exact.push_back(std::exp(-i * i / (2 * gaussian.deviation * gaussian.deviation)));
        total += i == 0 ? exact.back() : 2 * exact.back();
    }
    int rest = kOne;
    for (const double weight : exact) {
        weights_.push_back(static_cast<std::int16_t>(std::lround(weight / total * kOne)));
        rest -= weights_.back() * (weights_.size() == 1 ? 1 : 2);
    }
    weights_[0] = static_cast<std::int16_t>(weights_[0] + rest);
    const std::ptrdiff_t side = 2 * std::ptrdiff_t{reach_} + 1;
    rows_ = words(side * stride_);
    positions_.resize(static_cast<std::size_t>(side));
    column_ = words(stride_ + 2 * reach_ * channels_);
    blurred_ = words(stride_);
    above_.resize(exact.size());
    below_.resize(exact.size());
}

const std::int16_t* GaussianWords::load(int position) {
    const int side = 2 * reach_ + 1;
    const int slot = (position % side + side) % side;
    std::int16_t* row = rows_.data() + slot * stride_;
    std::optional<int>& loaded = positions_[static_cast<std::size_t>(slot)];
    if (loaded != position)
        dib::runKernel<loadWords>(static_cast<const unsigned char*>(from_.row(axisY_.at(position))), row,
                                  samples_);
    loaded = position;
    return row;
}

void GaussianWords::sum(std::int16_t* out) const {
    dib::runHandWritten<sumPairsPlain, sumPairsAvx2, sumPairsAvx512>(above_.data(), below_.data(),
                                                                     weights_.data(), reach_, out, stride_);
}

void GaussianWords::store(int y, unsigned char* out) {
    for (int k = 0; k <= reach_; ++k) {
        above_[static_cast<std::size_t>(k)] = load(y - k);
        below_[static_cast<std::size_t>(k)] = load(y + k);
    }
    std::int16_t* const column = column_.data() + reach_ * channels_;
    sum(column);
    axisX_.pad(column, reach_, reach_, channels_);
    for (int k = 0; k <= reach_; ++k) {
        above_[static_cast<std::size_t>(k)] = column - k * channels_;
        below_[static_cast<std::size_t>(k)] = column + k * channels_;
    }
    sum(blurred_.data());
    dib::runKernel<storeWords>(static_cast<const std::int16_t*>(blurred_.data()), out, samples_);
}

}  // namespace operations
