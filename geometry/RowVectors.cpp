#include "geometry/RowVectors.h"

#if defined(__x86_64__)

#include <immintrin.h>

#include <cstring>

#include "dib/Bytes.h"
#include "dib/Kernels.h"

namespace dib {

namespace {

constexpr char kNone = -1;  // a zero byte in a shuffle

// Two neighbouring pixels as pairs of 16-bit values, one pair per channel, ready for multiply-and-add with a
// pair of weights: from 24 bits (the fourth pair is zero) and from 32 bits.
DIB_TARGET_AVX2 inline __m128i pairMask(int channels, int firstPixel) {
    const auto at = [&](int pixel, int channel) -> char {
        return channel < channels ? charOf((firstPixel + pixel) * channels + channel) : kNone;
    };
    return _mm_setr_epi8(at(0, 0), kNone, at(1, 0), kNone, at(0, 1), kNone, at(1, 1), kNone, at(0, 2), kNone,
                         at(1, 2), kNone, at(0, 3), kNone, at(1, 3), kNone);
}

DIB_TARGET_AVX2 inline __m256i joinLanes(__m128i low, __m128i high) {
    return _mm256_inserti128_si256(_mm256_castsi128_si256(low), high, 1);
}

DIB_TARGET_AVX2 inline __m128i load16(const void* at) {
    return _mm_loadu_si128(static_cast<const __m128i*>(at));
}
DIB_TARGET_AVX2 inline __m256i load32(const void* at) {
    return _mm256_loadu_si256(static_cast<const __m256i*>(at));
}

// 16 values of mixDown: the high halves of both products and the carry out of their low halves, which is
// there when saturation makes a difference.
DIB_TARGET_AVX2 inline __m256i mixDown16(const std::uint16_t* upper, const std::uint16_t* lower, __m256i w0,
                                         __m256i w1) {
    const __m256i a = load32(upper);
    const __m256i b = load32(lower);
    const __m256i high = _mm256_add_epi16(_mm256_mulhi_epu16(a, w0), _mm256_mulhi_epu16(b, w1));
    const __m256i lowA = _mm256_mullo_epi16(a, w0);
    const __m256i lowB = _mm256_mullo_epi16(b, w1);
    const __m256i noCarry =
        _mm256_cmpeq_epi16(_mm256_add_epi16(lowA, lowB), _mm256_adds_epu16(lowA, lowB));  // -1 or 0
    return _mm256_add_epi16(_mm256_add_epi16(high, _mm256_set1_epi16(1)), noCarry);
}

// The weighted sums of one span: pixels 0 and 1 of each group of four in the low lane, 2 and 3 in the high.
template <int Channels>
DIB_TARGET_AVX2 inline __m256i spanSums(const unsigned char* pixel, const std::uint16_t* weights,
                                        std::ptrdiff_t taps, __m256i pairs) {
    const __m256i spread =
        joinLanes(_mm_set1_epi32(0x03020100), _mm_set1_epi32(0x07060504));  // both halves of four weights
    __m256i sums = _mm256_setzero_si256();
    for (std::ptrdiff_t k = 0; k < taps; k += AreaSpans::kGroup, pixel += AreaSpans::kGroup * Channels) {
        long long fourWeights;
        std::memcpy(&fourWeights, weights + k, sizeof fourWeights);
        const __m256i weight = _mm256_shuffle_epi8(_mm256_set1_epi64x(fourWeights), spread);
        const __m256i fourPixels = _mm256_broadcastsi128_si256(load16(pixel));
        sums = _mm256_add_epi32(sums, _mm256_madd_epi16(_mm256_shuffle_epi8(fourPixels, pairs), weight));
    }
    return sums;
}

// Four pixels of two rows as the sums of each pixel with its neighbour and the pixels below, in the low 12 or
// 16 bytes of each lane.
template <int Channels>
DIB_TARGET_AVX2 inline __m256i sumSquares(const unsigned char* first, const unsigned char* second,
                                          std::ptrdiff_t highOffset, __m256i neighbours) {
    const __m256i ones = _mm256_set1_epi8(1);
    const __m256i above = joinLanes(load16(first), load16(first + highOffset));
    const __m256i below = joinLanes(load16(second), load16(second + highOffset));
    return _mm256_add_epi16(_mm256_maddubs_epi16(_mm256_shuffle_epi8(above, neighbours), ones),
                            _mm256_maddubs_epi16(_mm256_shuffle_epi8(below, neighbours), ones));
}

// Which bytes of four pixels are the same channel of neighbours.
DIB_TARGET_AVX2 inline __m128i neighbourMask(int channels) {
    return channels == 3 ? _mm_setr_epi8(0, 3, 1, 4, 2, 5, 6, 9, 7, 10, 8, 11, kNone, kNone, kNone, kNone)
                         : _mm_setr_epi8(0, 4, 1, 5, 2, 6, 3, 7, 8, 12, 9, 13, 10, 14, 11, 15);
}

}  // namespace

template <int Channels>
DIB_TARGET_AVX2 int mixAcrossVectors(const unsigned char* row, const ColumnTap* taps, int count,
                                     std::uint16_t* sums) {
    const __m128i pair = pairMask(Channels, 0);
    const __m256i pairs = joinLanes(pair, pair);
    // The weights of the first and of the second tap in each half of four taps, once per channel.
    const __m256i evenWeights = _mm256_set1_epi32(0x07060504);
    const __m256i oddWeights = _mm256_set1_epi32(0x0F0E0D0C);
    // The three used sums of each pixel close together.
    const __m128i tight = _mm_setr_epi8(0, 1, 2, 3, 4, 5, 8, 9, 10, 11, 12, 13, kNone, kNone, kNone, kNone);

    for (int i = 0; i + 4 <= count; i += 4, sums += 4 * Channels) {
        const __m256i weights = load32(taps + i);
        const __m256i even = joinLanes(load16(row + taps[i].offset), load16(row + taps[i + 2].offset));
        const __m256i odd = joinLanes(load16(row + taps[i + 1].offset), load16(row + taps[i + 3].offset));
        const __m256i evenSums =
            _mm256_madd_epi16(_mm256_shuffle_epi8(even, pairs), _mm256_shuffle_epi8(weights, evenWeights));
        const __m256i oddSums =
            _mm256_madd_epi16(_mm256_shuffle_epi8(odd, pairs), _mm256_shuffle_epi8(weights, oddWeights));
        const __m256i inOrder = _mm256_packus_epi32(evenSums, oddSums);
        if constexpr (Channels == 4) {
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(sums), inOrder);
        } else {
            const __m256i packed = _mm256_shuffle_epi8(inOrder, joinLanes(tight, tight));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(sums), _mm256_castsi256_si128(packed));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(sums + 6), _mm256_extracti128_si256(packed, 1));
        }
    }
    return count / 4 * 4;
}

DIB_TARGET_AVX2 std::ptrdiff_t mixDownVectors(const std::uint16_t* upper, const std::uint16_t* lower,
                                              std::uint16_t lowerWeight, std::ptrdiff_t count,
                                              unsigned char* out) {
    const __m256i w0 = _mm256_set1_epi16(static_cast<short>(256 - lowerWeight));
    const __m256i w1 = _mm256_set1_epi16(static_cast<short>(lowerWeight));
    std::ptrdiff_t i = 0;
    for (; i + 32 <= count; i += 32) {
        const __m256i packed = _mm256_packus_epi16(mixDown16(upper + i, lower + i, w0, w1),
                                                   mixDown16(upper + i + 16, lower + i + 16, w0, w1));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + i), _mm256_permute4x64_epi64(packed, 0xD8));
    }
    return i;
}

template <int Channels>
DIB_TARGET_AVX2 int averageVectors(const unsigned char* row, const AreaSpans* spans, unsigned char* out) {
    const __m256i pairs = joinLanes(pairMask(Channels, 0), pairMask(Channels, 2));
    const std::ptrdiff_t count = spans->count();
    const std::ptrdiff_t taps = spans->taps();
    const int* firsts = spans->firsts();
    const std::uint16_t* weights = spans->weights(0);
    const float* inverses = spans->inverses();
    for (std::ptrdiff_t i = 0; i < count; i += 2) {
        // An odd last span is computed twice and stored once.
        const std::ptrdiff_t j = i + 1 < count ? i + 1 : i;
        const __m256i a =
            spanSums<Channels>(row + std::ptrdiff_t{firsts[i]} * Channels, weights + i * taps, taps, pairs);
        const __m256i b =
            spanSums<Channels>(row + std::ptrdiff_t{firsts[j]} * Channels, weights + j * taps, taps, pairs);
        const __m256i sums =
            _mm256_add_epi32(_mm256_permute2x128_si256(a, b, 0x20), _mm256_permute2x128_si256(a, b, 0x31));
        const __m256 inverse = _mm256_set_m128(_mm_set1_ps(inverses[j]), _mm_set1_ps(inverses[i]));
        const __m256 quotient =
            _mm256_mul_ps(_mm256_add_ps(_mm256_cvtepi32_ps(sums), _mm256_set1_ps(0.5F)), inverse);
        const __m256i wide = _mm256_cvttps_epi32(quotient);
        const __m256i words = _mm256_packus_epi32(wide, wide);
        const __m256i bytes = _mm256_packus_epi16(words, words);
        const int first = _mm256_extract_epi32(bytes, 0);
        std::memcpy(out + i * Channels, &first, 4);
        if (j == i) break;
        const int second = _mm256_extract_epi32(bytes, 4);
        std::memcpy(out + j * Channels, &second, 4);
    }
    return spans->count();
}

template <int Channels>
DIB_TARGET_AVX2 std::ptrdiff_t halveVectors(const unsigned char* first, const unsigned char* second,
                                            unsigned char* out, int width) {
    const __m256i neighbours = joinLanes(neighbourMask(Channels), neighbourMask(Channels));
    const __m128i tight = _mm_setr_epi8(0, 1, 2, 3, 4, 5, 8, 9, 10, 11, 12, 13, kNone, kNone, kNone, kNone);
    constexpr std::ptrdiff_t kLaneBytes = 4 * Channels;  // two pixels of the result
    // The last loads and stores of 24 bits pass the eight pixels by four bytes.
    constexpr std::ptrdiff_t kAhead = Channels == 3 ? 10 : 8;
    std::ptrdiff_t x = 0;
    for (; x + kAhead <= width; x += 8) {
        const unsigned char* above = first + x * 2 * Channels;
        const unsigned char* below = second + x * 2 * Channels;
        // The lanes hold pixels 0-1 and 4-5, and 2-3 and 6-7, so that packing puts them in order.
        const __m256i a = sumSquares<Channels>(above, below, 2 * kLaneBytes, neighbours);
        const __m256i b =
            sumSquares<Channels>(above + kLaneBytes, below + kLaneBytes, 2 * kLaneBytes, neighbours);
        const __m256i means = _mm256_packus_epi16(_mm256_srli_epi16(a, 2), _mm256_srli_epi16(b, 2));
        if constexpr (Channels == 4) {
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + x * 4), means);
        } else {
            const __m256i packed = _mm256_shuffle_epi8(means, joinLanes(tight, tight));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(out + x * 3), _mm256_castsi256_si128(packed));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(out + x * 3 + 12),
                             _mm256_extracti128_si256(packed, 1));
        }
    }
    return x;
}

template int mixAcrossVectors<3>(const unsigned char*, const ColumnTap*, int, std::uint16_t*);
template int mixAcrossVectors<4>(const unsigned char*, const ColumnTap*, int, std::uint16_t*);
template int averageVectors<3>(const unsigned char*, const AreaSpans*, unsigned char*);
template int averageVectors<4>(const unsigned char*, const AreaSpans*, unsigned char*);
template std::ptrdiff_t halveVectors<3>(const unsigned char*, const unsigned char*, unsigned char*, int);
template std::ptrdiff_t halveVectors<4>(const unsigned char*, const unsigned char*, unsigned char*, int);

}  // namespace dib

#endif
