#include "operations/pixels/GaussianWords.h"

#include <cmath>
#include <cstring>

#include "dib/Kernels.h"

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace operations {

namespace {

constexpr std::ptrdiff_t kBlock = 128;  // samples whose sums stay in registers
constexpr int kOneBits = 15;
constexpr int kOne = 1 << kOneBits;  // what weights total

DIB_ALWAYS_INLINE void loadWords(const unsigned char* __restrict row, std::int16_t* __restrict words,
                                 std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; ++i)
        words[i] = static_cast<std::int16_t>(row[i] << GaussianWords::kFraction);
}

DIB_ALWAYS_INLINE void storeWords(const std::int16_t* __restrict words, unsigned char* __restrict row,
                                  std::ptrdiff_t count) {
    constexpr int kHalf = 1 << (GaussianWords::kFraction - 1);
    for (std::ptrdiff_t i = 0; i < count; ++i)
        row[i] = static_cast<unsigned char>((words[i] + kHalf) >> GaussianWords::kFraction);
}

// out[i] = (middle[i] x weights[0] + the sum of (above[k][i] + below[k][i]) x weights[k]) / kOne, rounded.
// Whole blocks.
DIB_ALWAYS_INLINE void sumPairsPlain(const std::int16_t* const* above, const std::int16_t* const* below,
                                     const std::int16_t* weights, int reach, std::int16_t* out,
                                     std::ptrdiff_t samples) {
    for (std::ptrdiff_t i = 0; i < samples; ++i) {
        int sum = above[0][i] * weights[0];
        for (int k = 1; k <= reach; ++k) sum += (above[k][i] + below[k][i]) * weights[k];
        out[i] = static_cast<std::int16_t>((sum + kOne / 2) / kOne);
    }
}

#if defined(__x86_64__)

// Both are written out: compilers inline no vectors of a target into a body that several targets share.

// The weights of two distances, for multiplications that add pairs of words.
DIB_ALWAYS_INLINE int weightPair(const std::int16_t* weights, int k, int reach) {
    const int second = k < reach ? weights[k + 1] : 0;
    return weights[k] | second << 16;
}

DIB_TARGET_AVX2 DIB_ALWAYS_INLINE __m256i load(const std::int16_t* from) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from));
}

DIB_TARGET_AVX2 void sumPairsAvx2(const std::int16_t* const* above, const std::int16_t* const* below,
                                  const std::int16_t* weights, int reach, std::int16_t* out,
                                  std::ptrdiff_t samples) {
    constexpr std::ptrdiff_t kVectors = 4;
    for (std::ptrdiff_t i = 0; i < samples; i += 16 * kVectors) {
        __m256i low[kVectors] = {};
        __m256i high[kVectors] = {};
        for (int k = 0; k <= reach; k += 2) {
            const __m256i weight = _mm256_set1_epi32(weightPair(weights, k, reach));
            const int next = k < reach ? k + 1 : k;
            for (std::ptrdiff_t j = 0; j < kVectors; ++j) {
                const std::ptrdiff_t at = i + 16 * j;
                const __m256i here =
                    k == 0 ? load(above[0] + at) : _mm256_add_epi16(load(above[k] + at), load(below[k] + at));
                const __m256i there = _mm256_add_epi16(load(above[next] + at), load(below[next] + at));
                const __m256i lows = _mm256_madd_epi16(_mm256_unpacklo_epi16(here, there), weight);
                const __m256i highs = _mm256_madd_epi16(_mm256_unpackhi_epi16(here, there), weight);
                low[j] = _mm256_add_epi32(low[j], lows);
                high[j] = _mm256_add_epi32(high[j], highs);
            }
        }
        const __m256i half = _mm256_set1_epi32(kOne / 2);
        for (std::ptrdiff_t j = 0; j < kVectors; ++j) {
            const __m256i words =
                _mm256_packs_epi32(_mm256_srai_epi32(_mm256_add_epi32(low[j], half), kOneBits),
                                   _mm256_srai_epi32(_mm256_add_epi32(high[j], half), kOneBits));
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + i + 16 * j), words);
        }
    }
}

// The plain shift warns of an operand that it does not use.
DIB_TARGET_AVX512 DIB_ALWAYS_INLINE __m512i rounded(__m512i sum) {
    return _mm512_maskz_srai_epi32(0xFFFF, _mm512_add_epi32(sum, _mm512_set1_epi32(kOne / 2)), kOneBits);
}

DIB_TARGET_AVX512 void sumPairsAvx512(const std::int16_t* const* above, const std::int16_t* const* below,
                                      const std::int16_t* weights, int reach, std::int16_t* out,
                                      std::ptrdiff_t samples) {
    constexpr std::ptrdiff_t kVectors = 4;
    for (std::ptrdiff_t i = 0; i < samples; i += 32 * kVectors) {
        __m512i low[kVectors] = {};
        __m512i high[kVectors] = {};
        for (int k = 0; k <= reach; k += 2) {
            const __m512i weight = _mm512_set1_epi32(weightPair(weights, k, reach));
            const int next = k < reach ? k + 1 : k;
            for (std::ptrdiff_t j = 0; j < kVectors; ++j) {
                const std::ptrdiff_t at = i + 32 * j;
                const __m512i first = _mm512_loadu_si512(above[k] + at);
                const __m512i here =
                    k == 0 ? first : _mm512_add_epi16(first, _mm512_loadu_si512(below[k] + at));
                const __m512i there = _mm512_add_epi16(_mm512_loadu_si512(above[next] + at),
                                                       _mm512_loadu_si512(below[next] + at));
                const __m512i lows = _mm512_madd_epi16(_mm512_unpacklo_epi16(here, there), weight);
                const __m512i highs = _mm512_madd_epi16(_mm512_unpackhi_epi16(here, there), weight);
                low[j] = _mm512_add_epi32(low[j], lows);
                high[j] = _mm512_add_epi32(high[j], highs);
            }
        }
        for (std::ptrdiff_t j = 0; j < kVectors; ++j) {
            const __m512i words = _mm512_packs_epi32(rounded(low[j]), rounded(high[j]));
            _mm512_storeu_si512(out + i + 32 * j, words);
        }
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

const std::int16_t* GaussianWords::row(int y) {
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
    return blurred_.data();
}

void GaussianWords::store(int y, unsigned char* out) { dib::runKernel<storeWords>(row(y), out, samples_); }

}  // namespace operations
