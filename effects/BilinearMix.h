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
using MixWeight = std::uint32_t;
DIB_ALWAYS_INLINE MixWeight mixWeight(int ofSecond) {
    return 256U + static_cast<std::uint32_t>(ofSecond) * 0xFFFFU;
}

// On processors without SSE2, and the measure of it.
template <int Bits>
DIB_ALWAYS_INLINE std::uint32_t mixFourPlain(const unsigned char* upper, const unsigned char* lower,
                                             MixWeight weightX, MixWeight weightY) {
    const std::uint64_t left = weightX & 0xFFFFU;
    const std::uint64_t right = weightX >> 16;
    return mixRows(readChannels<Bits>(upper, 0) * left + readChannels<Bits>(upper, 1) * right,
                   readChannels<Bits>(lower, 0) * left + readChannels<Bits>(lower, 1) * right, weightY >> 16);
}

#if defined(__SSE2__)

// The channels of a pixel and of its right neighbour in pairs of 16-bit lanes. Reads these two pixels only.
template <int Bits>
DIB_ALWAYS_INLINE __m128i channelPairs(const unsigned char* pixels) {
    __m128i left;
    __m128i right;
    if constexpr (Bits == 24) {
        std::int32_t first;
        std::uint32_t second;
        std::memcpy(&first, pixels, 4);
        std::memcpy(&second, pixels + 2, 4);
        left = _mm_cvtsi32_si128(first);
        right = _mm_cvtsi32_si128(static_cast<std::int32_t>(second >> 8));
    } else {
        left = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(pixels));
        right = _mm_srli_epi64(left, 32);
    }
    return _mm_unpacklo_epi8(_mm_unpacklo_epi8(left, right), _mm_setzero_si128());
}

template <int Bits>
DIB_ALWAYS_INLINE std::uint32_t mixFour(const unsigned char* upper, const unsigned char* lower,
                                        MixWeight weightX, MixWeight weightY) {
    const __m128i columns = _mm_set1_epi32(static_cast<std::int32_t>(weightX));
    const __m128i lines = _mm_set1_epi32(static_cast<std::int32_t>(weightY));
    const __m128i upperMix = _mm_madd_epi16(channelPairs<Bits>(upper), columns);
    const __m128i lowerMix = _mm_madd_epi16(channelPairs<Bits>(lower), columns);
    // The multiplication is signed: the unsigned 16-bit sums are moved down by 2^15 before it and the result,
    // whose weights total 256, is moved up by 2^23 after it.
    const __m128i pairs = _mm_or_si128(upperMix, _mm_slli_epi32(lowerMix, 16));
    const __m128i centered = _mm_xor_si128(pairs, _mm_set1_epi16(INT16_MIN));
    const __m128i sums = _mm_add_epi32(_mm_madd_epi16(centered, lines), _mm_set1_epi32(1 << 23));
    const __m128i channels = _mm_srli_epi32(sums, 16);
    const __m128i words = _mm_packs_epi32(channels, channels);
    const auto color = static_cast<std::uint32_t>(_mm_cvtsi128_si32(_mm_packus_epi16(words, words)));
    return Bits == 24 ? color & 0x00FFFFFFU : color;
}

#else

template <int Bits>
DIB_ALWAYS_INLINE std::uint32_t mixFour(const unsigned char* upper, const unsigned char* lower,
                                        MixWeight weightX, MixWeight weightY) {
    return mixFourPlain<Bits>(upper, lower, weightX, weightY);
}

#endif

}  // namespace dib

#endif
