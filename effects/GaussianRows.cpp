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

DIB_ALWAYS_INLINE void addProductsPlain(const std::uint32_t* __restrict row, std::ptrdiff_t step,
                                        const std::uint32_t* __restrict weights, std::ptrdiff_t count,
                                        std::uint32_t* __restrict sums, std::ptrdiff_t samples) {
    for (std::ptrdiff_t x = 0; x < samples; ++x) sums[x] += product(row[x], weights[0]);
    for (std::ptrdiff_t i = 1; i < count; ++i) {
        for (std::ptrdiff_t x = 0; x < samples; ++x) {
            sums[x] += product(row[x - i * step] + row[x + i * step], weights[i]);
        }
    }
}

#if defined(__x86_64__)

DIB_TARGET_AVX2 DIB_ALWAYS_INLINE __m256i loadEight(const std::uint32_t* from) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from));
}

// Both products of eight pairs in one instruction, which no compiler finds; the sums of a block stay in
// registers.
DIB_TARGET_AVX2 void addProductsAvx2(const std::uint32_t* row, std::ptrdiff_t step,
                                     const std::uint32_t* weights, std::ptrdiff_t count, std::uint32_t* sums,
                                     std::size_t samples) {
    constexpr std::size_t kVectors = 4;
    for (std::size_t x = 0; x < samples; x += 8 * kVectors) {
        __m256i sum[kVectors];
        const __m256i middleWeight = _mm256_set1_epi32(static_cast<int>(weights[0]));
        for (std::size_t k = 0; k < kVectors; ++k) {
            sum[k] = _mm256_add_epi32(loadEight(sums + x + 8 * k),
                                      _mm256_madd_epi16(loadEight(row + x + 8 * k), middleWeight));
        }
        const std::uint32_t* left = row + x;
        const std::uint32_t* right = row + x;
        for (std::ptrdiff_t i = 1; i < count; ++i) {
            left -= step;
            right += step;
            const __m256i weight = _mm256_set1_epi32(static_cast<int>(weights[i]));
            for (std::size_t k = 0; k < kVectors; ++k) {
                const __m256i both = _mm256_add_epi16(loadEight(left + 8 * k), loadEight(right + 8 * k));
                sum[k] = _mm256_add_epi32(sum[k], _mm256_madd_epi16(both, weight));
            }
        }
        for (std::size_t k = 0; k < kVectors; ++k) {
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(sums + x + 8 * k), sum[k]);
        }
    }
}

#endif

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

void addProducts(const std::uint32_t* row, std::ptrdiff_t step, const std::uint32_t* weights,
                 std::ptrdiff_t count, bool smallWeights, std::uint32_t* sums, std::size_t samples) {
#if defined(__x86_64__)
    if (smallWeights && kernelLevel() == KernelLevel::kAvx2) {
        addProductsAvx2(row, step, weights, count, sums, samples);
        return;
    }
#else
    (void)smallWeights;
#endif
    runKernel<addProductsPlain>(row, step, weights, count, sums, static_cast<std::ptrdiff_t>(samples));
}

void addRunSteps(const std::uint16_t* row, std::ptrdiff_t step, const std::uint8_t* halves, std::size_t count,
                 std::uint32_t* steps, std::size_t samples) {
    runKernel<addRunStepsInBlocks>(row, step, halves, count, steps, samples);
}

}  // namespace dib
