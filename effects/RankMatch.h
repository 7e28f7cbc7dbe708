// Finding the pixels of one class of brightness.
#ifndef EFFECTS_RANK_MATCH_H
#define EFFECTS_RANK_MATCH_H

#include <cstddef>
#include <cstdint>

#if defined(__SSE2__)
#include <immintrin.h>
#endif

#include "effects/RankHistogram.h"

namespace dib {

// Pixels that matchClass looks at.
constexpr int kMatchReach = 16;

// Bit i is set when brightness[i] is of the class, for i = 0 ... kMatchReach - 1. All of these must be
// readable.
inline std::uint32_t matchClass(const std::uint16_t* brightness, std::uint32_t brightnessClass) {
#if defined(__SSE2__)
    // Compilers do not turn the loop below into compare and move-mask, and this is where the filter spends
    // its time.
    const __m128i wanted = _mm_set1_epi16(static_cast<short>(brightnessClass));
    const auto* at = reinterpret_cast<const __m128i*>(brightness);
    const __m128i low = _mm_srli_epi16(_mm_loadu_si128(at), RankHistogram::kClassShift);
    const __m128i high = _mm_srli_epi16(_mm_loadu_si128(at + 1), RankHistogram::kClassShift);
    const __m128i equal = _mm_packs_epi16(_mm_cmpeq_epi16(low, wanted), _mm_cmpeq_epi16(high, wanted));
    return static_cast<std::uint32_t>(_mm_movemask_epi8(equal));
#else
    std::uint32_t matches = 0;
    for (int i = 0; i < kMatchReach; ++i) {
        matches |= std::uint32_t{(brightness[i] >> RankHistogram::kClassShift) == brightnessClass} << i;
    }
    return matches;
#endif
}

}  // namespace dib

#endif
