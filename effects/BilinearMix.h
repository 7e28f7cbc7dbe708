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

template <class Depth, bool Roomy>
DIB_ALWAYS_INLINE void mixRun(const unsigned char* top, std::ptrdiff_t rowStep, const MixTaps& taps,
                              int count, std::uint32_t* colors) {
    const auto channels = [&](int i) {
        const unsigned char* upper = top + taps.offset[i];
        return mixChannels<Depth, Roomy>(upper, upper + rowStep, taps.weightX[i], taps.weightY[i]);
    };
    int i = 0;
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
