// Four neighbouring pixels mixed into one, the inner step of bilinear sampling: per channel
// ((c00 (256 - x) + c01 x) (256 - y) + (c10 (256 - x) + c11 x) y) >> 16, exact in integers.
#ifndef EFFECTS_BILINEAR_MIX_H
#define EFFECTS_BILINEAR_MIX_H

#include <cstdint>
#include <cstring>

#include "geometry/Sampler.h"

#if defined(__SSE2__)
#include <immintrin.h>
#endif

namespace dib {

// The weights of two neighbours in 1/256, the first in the low half; they total 256.
using MixWeight = std::int32_t;
DIB_ALWAYS_INLINE MixWeight mixWeight(int ofSecond) { return 256 + ofSecond * 0xFFFF; }

// The upper left pixels of up to kMixTaps mixes, as offsets in bytes from the first pixel of the picture, and
// the weights.
constexpr int kMixTaps = 64;
struct MixTaps {
    int offset[kMixTaps];
    MixWeight weightX[kMixTaps];
    MixWeight weightY[kMixTaps];
};

// The mixed colours; at 24 bits the high byte of each is undefined. For processors without SSE2, and for
// tests.
template <class Depth>
DIB_ALWAYS_INLINE void mixRunPlain(const unsigned char* top, std::ptrdiff_t rowStep, const MixTaps& taps,
                                   int count, std::uint32_t* colors) {
    for (int i = 0; i < count; ++i) {
        const unsigned char* upper = top + taps.offset[i];
        const unsigned char* lower = upper + rowStep;
        const std::uint64_t left = taps.weightX[i] & 0xFFFF;
        const std::uint64_t right = 256 - left;
        const std::uint32_t below = 256U - (taps.weightY[i] & 0xFFFF);
        colors[i] =
            mixRows(readChannels<Depth>(upper, 0) * left + readChannels<Depth>(upper, 1) * right,
                    readChannels<Depth>(lower, 0) * left + readChannels<Depth>(lower, 1) * right, below);
    }
}

#if defined(__SSE2__)

// A pixel and its right neighbour. `Roomy`: two more bytes may be read at 24 bits.
template <class Depth, bool Roomy>
DIB_ALWAYS_INLINE __m128i loadTwo(const unsigned char* pixels) {
    if constexpr (Depth::kBits == 24 && !Roomy) {
        std::int64_t both = 0;
        std::memcpy(&both, pixels, 6);
        return _mm_set_epi64x(0, both);
    } else {
        return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(pixels));
    }
}

// The channels of the mixed pixel in 32-bit lanes.
template <class Depth, bool Roomy>
DIB_ALWAYS_INLINE __m128i mixChannels(const unsigned char* upper, const unsigned char* lower,
                                      MixWeight weightX, MixWeight weightY) {
    const __m128i zero = _mm_setzero_si128();
    const __m128i columns = _mm_set1_epi32(weightX);
    const __m128i lines = _mm_set1_epi32(weightY);
    // Each byte beside the one below it: first those of the left pixel, then those of the right one.
    const __m128i bytes = _mm_unpacklo_epi8(loadTwo<Depth, Roomy>(upper), loadTwo<Depth, Roomy>(lower));
    const __m128i rightBytes = _mm_srli_si128(bytes, Depth::kBits / 4);
    const __m128i left = _mm_madd_epi16(_mm_unpacklo_epi8(bytes, zero), lines);
    const __m128i right = _mm_madd_epi16(_mm_unpacklo_epi8(rightBytes, zero), lines);
    // The multiplication is signed, so 2^15 is subtracted from the unsigned 16-bit sums before it. The
    // weights total 256, so 2^23 is added after it.
    const __m128i pairs = _mm_or_si128(left, _mm_slli_epi32(right, 16));
    const __m128i centered = _mm_xor_si128(pairs, _mm_set1_epi16(INT16_MIN));
    const __m128i sums = _mm_add_epi32(_mm_madd_epi16(centered, columns), _mm_set1_epi32(1 << 23));
    return _mm_srli_epi32(sums, 16);
}

#if DIB_HAS_AVX2

// Two pixels with their right neighbours as words, a pair in each half.
DIB_TARGET_AVX2 DIB_ALWAYS_INLINE __m256i loadPairs(const unsigned char* first, const unsigned char* second) {
    std::int64_t pairs[2];
    std::memcpy(&pairs[0], first, 8);
    std::memcpy(&pairs[1], second, 8);
    return _mm256_cvtepu8_epi16(_mm_set_epi64x(pairs[1], pairs[0]));
}

// The channels of mix `k` and of mix `k + 4` in 32-bit lanes. The weights are those of eight mixes.
template <class Depth, int k>
DIB_TARGET_AVX2 DIB_ALWAYS_INLINE __m256i mixTwo(const unsigned char* top, std::ptrdiff_t rowStep,
                                                 const int* offset, __m256i weightsX, __m256i weightsY) {
    // The weight of the lower pixel is the high half of each weight.
    const __m256i down = _mm256_set1_epi16(4 * k + 2 + (4 * k + 3) * 256);
    // Each channel of the left pixel beside that of the right one.
    const __m256i columns =
        Depth::kBits == 24
            ? _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 1, 6, 7, 2, 3, 8, 9, 4, 5, 10, 11, -1, -1, -1, -1))
            : _mm256_broadcastsi128_si256(
                  _mm_setr_epi8(0, 1, 8, 9, 2, 3, 10, 11, 4, 5, 12, 13, 6, 7, 14, 15));

    const unsigned char* first = top + offset[k];
    const unsigned char* second = top + offset[k + 4];
    const __m256i upper = loadPairs(first, second);
    const __m256i lower = loadPairs(first + rowStep, second + rowStep);
    // Products and sums keep their low 16 bits, which hold the unsigned result.
    const __m256i lowered =
        _mm256_mullo_epi16(_mm256_sub_epi16(lower, upper), _mm256_shuffle_epi8(weightsY, down));
    const __m256i mixed = _mm256_add_epi16(_mm256_slli_epi16(upper, 8), lowered);
    // As in mixChannels.
    const __m256i centered =
        _mm256_xor_si256(_mm256_shuffle_epi8(mixed, columns), _mm256_set1_epi16(INT16_MIN));
    const __m256i across = _mm256_madd_epi16(centered, _mm256_shuffle_epi32(weightsX, k * 0x55));
    return _mm256_srli_epi32(_mm256_add_epi32(across, _mm256_set1_epi32(1 << 23)), 16);
}

// Eight mixes at a time: the mixes done. Reads two more bytes at 24 bits.
template <class Depth>
DIB_TARGET_AVX2 inline int mixEights(const unsigned char* top, std::ptrdiff_t rowStep, const MixTaps* taps,
                                     int count, std::uint32_t* colors) {
    int i = 0;
    for (; i + 8 <= count; i += 8) {
        const int* offset = taps->offset + i;
        const __m256i x = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(taps->weightX + i));
        const __m256i y = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(taps->weightY + i));
        const __m256i firstTwo = _mm256_packs_epi32(mixTwo<Depth, 0>(top, rowStep, offset, x, y),
                                                    mixTwo<Depth, 1>(top, rowStep, offset, x, y));
        const __m256i lastTwo = _mm256_packs_epi32(mixTwo<Depth, 2>(top, rowStep, offset, x, y),
                                                   mixTwo<Depth, 3>(top, rowStep, offset, x, y));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(colors + i), _mm256_packus_epi16(firstTwo, lastTwo));
    }
    return i;
}

#endif

template <class Depth, bool Roomy>
DIB_ALWAYS_INLINE void mixRun(const unsigned char* top, std::ptrdiff_t rowStep, const MixTaps& taps,
                              int count, std::uint32_t* colors) {
    int i = 0;
#if DIB_HAS_AVX2
    if constexpr (Roomy || Depth::kBits == 32)
        i = runVectors<mixEights<Depth>>(top, rowStep, &taps, count, colors);
#endif
    const auto channels = [&](int mix) {
        const unsigned char* upper = top + taps.offset[mix];
        return mixChannels<Depth, Roomy>(upper, upper + rowStep, taps.weightX[mix], taps.weightY[mix]);
    };
    for (; i + 4 <= count; i += 4) {
        const __m128i firstTwo = _mm_packs_epi32(channels(i), channels(i + 1));
        const __m128i lastTwo = _mm_packs_epi32(channels(i + 2), channels(i + 3));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(colors + i), _mm_packus_epi16(firstTwo, lastTwo));
    }
    for (; i < count; ++i) {
        const __m128i words = _mm_packs_epi32(channels(i), channels(i));
        colors[i] = static_cast<std::uint32_t>(_mm_cvtsi128_si32(_mm_packus_epi16(words, words)));
    }
}

#else

template <class Depth, bool Roomy>
DIB_ALWAYS_INLINE void mixRun(const unsigned char* top, std::ptrdiff_t rowStep, const MixTaps& taps,
                              int count, std::uint32_t* colors) {
    mixRunPlain<Depth>(top, rowStep, taps, count, colors);
}

#endif

}  // namespace dib

#endif
