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
    constexpr std::size_t kVectors = kGaussianBlock / 8;
    for (std::size_t x = 0; x < samples; x += kGaussianBlock) {
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

using Eight = std::uint32_t __attribute__((vector_size(32)));

DIB_ALWAYS_INLINE void addRunsInBlocks(const std::uint32_t* __restrict totals, std::ptrdiff_t step,
                                       const std::uint8_t* __restrict halves, std::size_t count,
                                       std::uint32_t* __restrict sums, std::size_t samples) {
    constexpr std::size_t kVectors = kGaussianBlock / 8;
    for (std::size_t x = 0; x < samples; x += kGaussianBlock) {
        Eight sum[kVectors];
        std::memcpy(sum, sums + x, sizeof sum);
        for (std::size_t i = 0; i < count; ++i) {
            const std::uint32_t* begin = totals + x - halves[i] * step;
            const std::uint32_t* end = totals + x + (halves[i] + 1) * step;
            for (std::size_t k = 0; k < kVectors; ++k) {
                Eight before;
                Eight upTo;
                std::memcpy(&before, begin + 8 * k, sizeof before);
                std::memcpy(&upTo, end + 8 * k, sizeof upTo);
                sum[k] += upTo - before;
            }
        }
        std::memcpy(sums + x, sum, sizeof sum);
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

void addRuns(const std::uint32_t* totals, std::ptrdiff_t step, const std::uint8_t* halves, std::size_t count,
             std::uint32_t* sums, std::size_t samples) {
    runKernel<addRunsInBlocks>(totals, step, halves, count, sums, samples);
}

}  // namespace dib
