#include "effects/gaussian/ProductRows.h"

#include <cstring>

#include "dib/Depths.h"
#include "dib/Kernels.h"
#include "effects/gaussian/GaussianWindow.h"

#if defined(__SSE2__)
#include <immintrin.h>
#endif

namespace dib {

namespace {

DIB_ALWAYS_INLINE std::uint32_t product(std::uint32_t pair, std::uint32_t weights) {
    return (pair & 0xFFFFU) * (weights & 0xFFFFU) + (pair >> 16) * (weights >> 16);
}

DIB_ALWAYS_INLINE void weighPairsPlain(const std::uint32_t* __restrict pairs, std::ptrdiff_t stride,
                                       const std::uint32_t* __restrict weights, std::ptrdiff_t count,
                                       std::uint32_t* __restrict sums, std::ptrdiff_t samples) {
    for (std::ptrdiff_t x = 0; x < samples; ++x) sums[x] = product(pairs[x], weights[0]);
    for (std::ptrdiff_t j = 1; j < count; ++j) {
        const std::uint32_t* row = pairs + j * stride;
        for (std::ptrdiff_t x = 0; x < samples; ++x) sums[x] += product(row[x], weights[j]);
    }
}

// The compiler's own vectors, of the 16 bytes that every processor has.
using Bytes __attribute__((vector_size(16))) = std::uint8_t;
using Words __attribute__((vector_size(16))) = std::uint16_t;
using Pairs __attribute__((vector_size(16))) = std::uint32_t;

template <class Vector>
DIB_ALWAYS_INLINE Vector loadNarrow(const void* from) {
    Vector vector;
    std::memcpy(&vector, from, sizeof vector);
    return vector;
}

// Sums of the first eight bytes of two rows, and of the last eight.
DIB_ALWAYS_INLINE Words lowSums(Bytes a, Bytes b) {
    const auto wide = [](Bytes bytes) {
        return reinterpret_cast<Words>(
            __builtin_shufflevector(bytes, Bytes{}, 0, 16, 1, 17, 2, 18, 3, 19, 4, 20, 5, 21, 6, 22, 7, 23));
    };
    return wide(a) + wide(b);
}
DIB_ALWAYS_INLINE Words highSums(Bytes a, Bytes b) {
    const auto wide = [](Bytes bytes) {
        return reinterpret_cast<Words>(__builtin_shufflevector(bytes, Bytes{}, 8, 24, 9, 25, 10, 26, 11, 27,
                                                               12, 28, 13, 29, 14, 30, 15, 31));
    };
    return wide(a) + wide(b);
}

DIB_ALWAYS_INLINE void storePairs(std::uint32_t* to, Words sums, Words nextSums) {
    const Words low = __builtin_shufflevector(sums, nextSums, 0, 8, 1, 9, 2, 10, 3, 11);
    const Words high = __builtin_shufflevector(sums, nextSums, 4, 12, 5, 13, 6, 14, 7, 15);
    std::memcpy(to, &low, sizeof low);
    std::memcpy(to + 4, &high, sizeof high);
}

DIB_ALWAYS_INLINE void addRowPairsNarrow(const unsigned char* above, const unsigned char* below,
                                         const unsigned char* nextAbove, const unsigned char* nextBelow,
                                         std::uint32_t* out, std::ptrdiff_t count) {
    for (std::ptrdiff_t x = 0; x < count; x += 16) {
        const auto a = loadNarrow<Bytes>(above + x);
        const auto b = loadNarrow<Bytes>(below + x);
        const auto c = loadNarrow<Bytes>(nextAbove + x);
        const auto d = loadNarrow<Bytes>(nextBelow + x);
        storePairs(out + x, lowSums(a, b), lowSums(c, d));
        storePairs(out + x + 8, highSums(a, b), highSums(c, d));
    }
}

// Both products of four pairs. That of SSE2 is signed.
DIB_ALWAYS_INLINE Pairs products(Pairs pairs, std::uint32_t weights) {
#if defined(__SSE2__)
    const __m128i both = _mm_set1_epi32(static_cast<int>(weights));
    return reinterpret_cast<Pairs>(_mm_madd_epi16(reinterpret_cast<__m128i>(pairs), both));
#else
    return (pairs & 0xFFFFU) * (weights & 0xFFFFU) + (pairs >> 16) * (weights >> 16);
#endif
}

// The sums of half a block stay in registers.
DIB_ALWAYS_INLINE void weighPairsNarrow(const std::uint32_t* pairs, std::ptrdiff_t stride,
                                        const std::uint32_t* weights, std::ptrdiff_t count,
                                        std::uint32_t* sums, std::ptrdiff_t samples) {
    constexpr std::ptrdiff_t kVectors = kGaussianBlock / 8;
    for (std::ptrdiff_t x = 0; x < samples; x += 4 * kVectors) {
        Pairs sum[kVectors] = {};
        for (std::ptrdiff_t j = 0; j < count; ++j) {
            const std::uint32_t* row = pairs + j * stride + x;
            for (std::ptrdiff_t k = 0; k < kVectors; ++k)
                sum[k] += products(loadNarrow<Pairs>(row + 4 * k), weights[j]);
        }
        std::memcpy(sums + x, sum, sizeof sum);
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

// Bytes of the four rows side by side become two sums in one instruction, where compilers widen each byte
// first.
DIB_TARGET_AVX2 void addRowPairsAvx2(const unsigned char* above, const unsigned char* below,
                                     const unsigned char* nextAbove, const unsigned char* nextBelow,
                                     std::uint32_t* out, std::ptrdiff_t count) {
    const __m256i ones = _mm256_set1_epi8(1);
    for (std::ptrdiff_t x = 0; x < count; x += 32, out += 32) {
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

// Both products of eight pairs in one instruction; the sums of a block stay in registers.
DIB_TARGET_AVX2 void weighPairsAvx2(const std::uint32_t* pairs, std::ptrdiff_t stride,
                                    const std::uint32_t* weights, std::ptrdiff_t count, std::uint32_t* sums,
                                    std::ptrdiff_t samples) {
    constexpr std::ptrdiff_t kVectors = kGaussianBlock / 8;
    for (std::ptrdiff_t x = 0; x < samples; x += kGaussianBlock) {
        __m256i sum[kVectors];
        const auto* nearest = reinterpret_cast<const __m256i*>(pairs + x);
        const __m256i nearestWeight = _mm256_set1_epi32(static_cast<int>(weights[0]));
        for (std::ptrdiff_t k = 0; k < kVectors; ++k) {
            sum[k] = _mm256_madd_epi16(_mm256_loadu_si256(nearest + k), nearestWeight);
        }
        for (std::ptrdiff_t j = 1; j < count; ++j) {
            const auto* row = reinterpret_cast<const __m256i*>(pairs + j * stride + x);
            const __m256i weight = _mm256_set1_epi32(static_cast<int>(weights[j]));
            for (std::ptrdiff_t k = 0; k < kVectors; ++k) {
                sum[k] = _mm256_add_epi32(sum[k], _mm256_madd_epi16(_mm256_loadu_si256(row + k), weight));
            }
        }
        auto* to = reinterpret_cast<__m256i*>(sums + x);
        for (std::ptrdiff_t k = 0; k < kVectors; ++k) _mm256_storeu_si256(to + k, sum[k]);
    }
}

DIB_TARGET_AVX512 DIB_ALWAYS_INLINE __m512i loadSpread(const unsigned char* from, __m512i order) {
    // The mask selects every element. Without one GCC 12 warns of an unused operand.
    return _mm512_maskz_permutexvar_epi32(0xFFFF, order, _mm512_loadu_si512(from));
}

DIB_TARGET_AVX512 DIB_ALWAYS_INLINE void storeSums(std::uint32_t* to, __m512i bytes) {
    _mm512_storeu_si512(to, _mm512_maddubs_epi16(bytes, _mm512_set1_epi8(1)));
}

// The bytes of each row are spread over the quarters of a vector, so that the interleaved sums come out in
// order.
DIB_TARGET_AVX512 void addRowPairsAvx512(const unsigned char* above, const unsigned char* below,
                                         const unsigned char* nextAbove, const unsigned char* nextBelow,
                                         std::uint32_t* out, std::ptrdiff_t count) {
    const __m512i order = _mm512_setr_epi32(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15);
    for (std::ptrdiff_t x = 0; x < count; x += 64, out += 64) {
        const __m512i a = loadSpread(above + x, order);
        const __m512i b = loadSpread(below + x, order);
        const __m512i c = loadSpread(nextAbove + x, order);
        const __m512i d = loadSpread(nextBelow + x, order);
        const __m512i nearLow = _mm512_unpacklo_epi8(a, b);
        const __m512i nearHigh = _mm512_unpackhi_epi8(a, b);
        const __m512i nextLow = _mm512_unpacklo_epi8(c, d);
        const __m512i nextHigh = _mm512_unpackhi_epi8(c, d);
        storeSums(out, _mm512_unpacklo_epi16(nearLow, nextLow));
        storeSums(out + 16, _mm512_unpackhi_epi16(nearLow, nextLow));
        storeSums(out + 32, _mm512_unpacklo_epi16(nearHigh, nextHigh));
        storeSums(out + 48, _mm512_unpackhi_epi16(nearHigh, nextHigh));
    }
}

// Products of sixteen pairs and their addition in one instruction; as many blocks side by side as cover its
// delay.
template <std::ptrdiff_t Vectors>
DIB_TARGET_AVX512 DIB_ALWAYS_INLINE void weighVectorsAvx512(const std::uint32_t* pairs, std::ptrdiff_t stride,
                                                            const std::uint32_t* weights,
                                                            std::ptrdiff_t count, std::uint32_t* sums) {
    __m512i sum[Vectors];
    for (__m512i& vector : sum) vector = _mm512_setzero_si512();
    for (std::ptrdiff_t j = 0; j < count; ++j) {
        const std::uint32_t* row = pairs + j * stride;
        const __m512i weight = _mm512_set1_epi32(static_cast<int>(weights[j]));
        for (std::ptrdiff_t k = 0; k < Vectors; ++k) {
            sum[k] = _mm512_dpwssd_epi32(sum[k], _mm512_loadu_si512(row + 16 * k), weight);
        }
    }
    for (std::ptrdiff_t k = 0; k < Vectors; ++k) _mm512_storeu_si512(sums + 16 * k, sum[k]);
}

DIB_TARGET_AVX512 void weighPairsAvx512(const std::uint32_t* pairs, std::ptrdiff_t stride,
                                        const std::uint32_t* weights, std::ptrdiff_t count,
                                        std::uint32_t* sums, std::ptrdiff_t samples) {
    constexpr std::ptrdiff_t kVectors = kGaussianBlock / 16;
    std::ptrdiff_t x = 0;
    for (; x + 3 * kGaussianBlock < samples; x += 4 * kGaussianBlock) {
        weighVectorsAvx512<4 * kVectors>(pairs + x, stride, weights, count, sums + x);
    }
    for (; x < samples; x += kGaussianBlock) {
        weighVectorsAvx512<kVectors>(pairs + x, stride, weights, count, sums + x);
    }
}

#else

constexpr auto addRowPairsAvx2 = addRowPairsNarrow;
constexpr auto addRowPairsAvx512 = addRowPairsNarrow;
constexpr auto weighPairsAvx2 = weighPairsNarrow;
constexpr auto weighPairsAvx512 = weighPairsNarrow;

#endif

// Bytes of the vectors: of every processor, of AVX2, and of AVX-512.
constexpr std::ptrdiff_t kNarrowWidth = 16;
constexpr std::ptrdiff_t kWidth = 32;
constexpr std::ptrdiff_t kWideWidth = 64;

template <std::ptrdiff_t Width>
DIB_ALWAYS_INLINE void gatherBlocks(const std::uint32_t* __restrict columns, std::ptrdiff_t stride,
                                    std::ptrdiff_t step, std::ptrdiff_t reach, unsigned char* __restrict out,
                                    std::ptrdiff_t samples) {
    using Sums __attribute__((vector_size(Width))) = std::uint32_t;
    constexpr std::ptrdiff_t kLanes = Width / sizeof(std::uint32_t);
    constexpr std::ptrdiff_t kVectors = kGaussianBlock / kLanes;
    const auto addTo = [](Sums* sum, const std::uint32_t* from) {
        for (std::ptrdiff_t k = 0; k < kVectors; ++k) {
            Sums add;
            std::memcpy(&add, from + kLanes * k, sizeof add);
            sum[k] += add;
        }
    };
    for (std::ptrdiff_t x = 0; x < samples; x += kGaussianBlock) {
        Sums sum[kVectors] = {};
        addTo(sum, columns + x);
        for (std::ptrdiff_t i = 1; i <= reach; ++i) {
            const std::uint32_t* column = columns + std::ptrdiff_t{i} * stride + x;
            addTo(sum, column - i * step);
            addTo(sum, column + i * step);
        }
        std::uint32_t sums[kGaussianBlock];
        std::memcpy(sums, sum, sizeof sums);
        const std::ptrdiff_t count = samples - x < kGaussianBlock ? samples - x : kGaussianBlock;
        for (std::ptrdiff_t k = 0; k < count; ++k) Depth8::put(out, x + k, sums[k] >> 16);
    }
}

}  // namespace

void addRowPairs(const unsigned char* above, const unsigned char* below, const unsigned char* nextAbove,
                 const unsigned char* nextBelow, std::uint32_t* out, std::ptrdiff_t count) {
    runHandWritten<addRowPairsNarrow, addRowPairsAvx2, addRowPairsAvx512>(above, below, nextAbove, nextBelow,
                                                                          out, count);
}

void weighPairs(const std::uint32_t* pairs, std::ptrdiff_t stride, const std::uint32_t* weights,
                std::ptrdiff_t count, bool smallWeights, std::uint32_t* sums, std::ptrdiff_t samples) {
    // The others may multiply signed halves.
    if (!smallWeights) return runKernel<weighPairsPlain>(pairs, stride, weights, count, sums, samples);
    runHandWritten<weighPairsNarrow, weighPairsAvx2, weighPairsAvx512>(pairs, stride, weights, count, sums,
                                                                       samples);
}

void gatherColumns(const std::uint32_t* columns, std::ptrdiff_t stride, std::ptrdiff_t step,
                   std::ptrdiff_t reach, unsigned char* out, std::ptrdiff_t samples) {
    runWidestKernel<gatherBlocks<kWidth>, gatherBlocks<kWideWidth>, gatherBlocks<kNarrowWidth>>(
        columns, stride, step, reach, out, samples);
}

}  // namespace dib
