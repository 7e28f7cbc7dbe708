#include "effects/GaussianRows.h"

#include <cstring>

#include "dib/Kernels.h"

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace dib {

namespace {

DIB_ALWAYS_INLINE std::uint32_t product(std::uint32_t pair, std::uint32_t weights) {
    return (pair & 0xFFFFU) * (weights & 0xFFFFU) + (pair >> 16) * (weights >> 16);
}

DIB_ALWAYS_INLINE void addRowPairsPlain(const unsigned char* above, const unsigned char* below,
                                        const unsigned char* nextAbove, const unsigned char* nextBelow,
                                        std::uint32_t* __restrict out, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        out[i] = (static_cast<std::uint32_t>(nextAbove[i]) + nextBelow[i]) << 16 |
                 (static_cast<std::uint32_t>(above[i]) + below[i]);
    }
}

DIB_ALWAYS_INLINE void weighPairsPlain(const std::uint32_t* __restrict pairs, std::size_t stride,
                                       const std::uint32_t* __restrict weights, std::size_t count,
                                       std::uint32_t* __restrict sums, std::size_t samples) {
    for (std::size_t x = 0; x < samples; ++x) sums[x] = product(pairs[x], weights[0]);
    for (std::size_t j = 1; j < count; ++j) {
        const std::uint32_t* row = pairs + j * stride;
        for (std::size_t x = 0; x < samples; ++x) sums[x] += product(row[x], weights[j]);
    }
}

#if defined(__x86_64__)

DIB_TARGET_AVX2 DIB_ALWAYS_INLINE void storeHalves(std::uint32_t* low, std::uint32_t* high, __m256i pairs) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(low), _mm256_castsi256_si128(pairs));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(high), _mm256_extracti128_si256(pairs, 1));
}

DIB_TARGET_AVX2 DIB_ALWAYS_INLINE __m256i load(const unsigned char* from) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from));
}

// Bytes of the four rows side by side become two sums in one instruction, where compilers widen each byte first.
DIB_TARGET_AVX2 void addRowPairsAvx2(const unsigned char* above, const unsigned char* below,
                                     const unsigned char* nextAbove, const unsigned char* nextBelow,
                                     std::uint32_t* out, std::size_t count) {
    const __m256i ones = _mm256_set1_epi8(1);
    for (std::size_t x = 0; x < count; x += 32, out += 32) {
        const __m256i a = load(above + x);
        const __m256i b = load(below + x);
        const __m256i c = load(nextAbove + x);
        const __m256i d = load(nextBelow + x);
        const __m256i nearLow = _mm256_unpacklo_epi8(a, b);
        const __m256i nearHigh = _mm256_unpackhi_epi8(a, b);
        const __m256i nextLow = _mm256_unpacklo_epi8(c, d);
        const __m256i nextHigh = _mm256_unpackhi_epi8(c, d);
        storeHalves(out, out + 16, _mm256_maddubs_epi16(_mm256_unpacklo_epi16(nearLow, nextLow), ones));
        storeHalves(out + 4, out + 20, _mm256_maddubs_epi16(_mm256_unpackhi_epi16(nearLow, nextLow), ones));
        storeHalves(out + 8, out + 24, _mm256_maddubs_epi16(_mm256_unpacklo_epi16(nearHigh, nextHigh), ones));
        storeHalves(out + 12, out + 28,
                    _mm256_maddubs_epi16(_mm256_unpackhi_epi16(nearHigh, nextHigh), ones));
    }
}

// Both products of eight pairs in one instruction, which no compiler finds; the sums of a block stay in
// registers.
DIB_TARGET_AVX2 void weighPairsAvx2(const std::uint32_t* pairs, std::size_t stride,
                                    const std::uint32_t* weights, std::size_t count, std::uint32_t* sums,
                                    std::size_t samples) {
    constexpr std::size_t kVectors = kGaussianBlock / 8;
    for (std::size_t x = 0; x < samples; x += kGaussianBlock) {
        __m256i sum[kVectors];
        const auto* nearest = reinterpret_cast<const __m256i*>(pairs + x);
        const __m256i nearestWeight = _mm256_set1_epi32(static_cast<int>(weights[0]));
        for (std::size_t k = 0; k < kVectors; ++k) {
            sum[k] = _mm256_madd_epi16(_mm256_loadu_si256(nearest + k), nearestWeight);
        }
        for (std::size_t j = 1; j < count; ++j) {
            const auto* row = reinterpret_cast<const __m256i*>(pairs + j * stride + x);
            const __m256i weight = _mm256_set1_epi32(static_cast<int>(weights[j]));
            for (std::size_t k = 0; k < kVectors; ++k) {
                sum[k] = _mm256_add_epi32(sum[k], _mm256_madd_epi16(_mm256_loadu_si256(row + k), weight));
            }
        }
        auto* to = reinterpret_cast<__m256i*>(sums + x);
        for (std::size_t k = 0; k < kVectors; ++k) _mm256_storeu_si256(to + k, sum[k]);
    }
}

#endif

using EightWide = std::uint32_t __attribute__((vector_size(32)));

DIB_ALWAYS_INLINE void gatherBlocks(const std::uint32_t* __restrict columns, std::size_t stride,
                                    std::ptrdiff_t step, std::ptrdiff_t reach, unsigned char* __restrict out,
                                    std::size_t samples) {
    constexpr std::size_t kVectors = kGaussianBlock / 8;
    const auto addTo = [](EightWide* sum, const std::uint32_t* from) {
        for (std::size_t k = 0; k < kVectors; ++k) {
            EightWide add;
            std::memcpy(&add, from + 8 * k, sizeof add);
            sum[k] += add;
        }
    };
    for (std::size_t x = 0; x < samples; x += kGaussianBlock) {
        EightWide sum[kVectors] = {};
        addTo(sum, columns + x);
        for (std::ptrdiff_t i = 1; i <= reach; ++i) {
            const std::uint32_t* column = columns + static_cast<std::size_t>(i) * stride + x;
            addTo(sum, column - i * step);
            addTo(sum, column + i * step);
        }
        std::uint32_t sums[kGaussianBlock];
        std::memcpy(sums, sum, sizeof sums);
        const std::size_t count = samples - x < kGaussianBlock ? samples - x : kGaussianBlock;
        for (std::size_t k = 0; k < count; ++k) out[x + k] = static_cast<unsigned char>(sums[k] >> 16);
    }
}

using Sixteen = std::int16_t __attribute__((vector_size(32)));
using SixteenWide = std::int32_t __attribute__((vector_size(64)));

// Differences of samples of up to 510 that may be added up in 16 bits.
constexpr std::size_t kGroup = 32767 / 510;

DIB_ALWAYS_INLINE void addRunStepsInBlocks(const std::uint16_t* __restrict row, std::ptrdiff_t step,
                                           const std::uint8_t* __restrict halves, std::size_t count,
                                           std::uint32_t* __restrict steps, std::size_t samples) {
    constexpr std::size_t kVectors = kGaussianBlock / 16;
    for (std::size_t x = 0; x < samples; x += kGaussianBlock) {
        for (std::size_t first = 0; first < count; first += kGroup) {
            const std::size_t end = count - first < kGroup ? count : first + kGroup;
            Sixteen sum[kVectors] = {};
            for (std::size_t i = first; i < end; ++i) {
                const std::uint16_t* back = row + x - halves[i] * step;
                const std::uint16_t* ahead = row + x + (halves[i] + 1) * step;
                for (std::size_t k = 0; k < kVectors; ++k) {
                    Sixteen leaving;
                    Sixteen entering;
                    std::memcpy(&leaving, back + 16 * k, sizeof leaving);
                    std::memcpy(&entering, ahead + 16 * k, sizeof entering);
                    sum[k] += entering - leaving;
                }
            }
            for (std::size_t k = 0; k < kVectors; ++k) {
                SixteenWide total;
                std::memcpy(&total, steps + x + 16 * k, sizeof total);
                total += __builtin_convertvector(sum[k], SixteenWide);
                std::memcpy(steps + x + 16 * k, &total, sizeof total);
            }
        }
    }
}

}  // namespace

void addRowPairs(const unsigned char* above, const unsigned char* below, const unsigned char* nextAbove,
                 const unsigned char* nextBelow, std::uint32_t* out, std::size_t count) {
#if defined(__x86_64__)
    if (kernelLevel() == KernelLevel::kAvx2) {
        addRowPairsAvx2(above, below, nextAbove, nextBelow, out, count);
        return;
    }
#endif
    runKernel<addRowPairsPlain>(above, below, nextAbove, nextBelow, out, count);
}

void weighPairs(const std::uint32_t* pairs, std::size_t stride, const std::uint32_t* weights,
                std::size_t count, bool smallWeights, std::uint32_t* sums, std::size_t samples) {
#if defined(__x86_64__)
    if (smallWeights && kernelLevel() == KernelLevel::kAvx2) {
        weighPairsAvx2(pairs, stride, weights, count, sums, samples);
        return;
    }
#else
    (void)smallWeights;
#endif
    runKernel<weighPairsPlain>(pairs, stride, weights, count, sums, samples);
}

void gatherColumns(const std::uint32_t* columns, std::size_t stride, std::ptrdiff_t step,
                   std::ptrdiff_t reach, unsigned char* out, std::size_t samples) {
    runKernel<gatherBlocks>(columns, stride, step, reach, out, samples);
}

void addRunSteps(const std::uint16_t* row, std::ptrdiff_t step, const std::uint8_t* halves, std::size_t count,
                 std::uint32_t* steps, std::size_t samples) {
    runKernel<addRunStepsInBlocks>(row, step, halves, count, steps, samples);
}

}  // namespace dib
