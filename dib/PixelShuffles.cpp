#include "dib/PixelShuffles.h"

#if defined(__x86_64__)

#include <immintrin.h>

#include "dib/Kernels.h"
#include "dib/Numbers.h"

namespace dib {

namespace {

// Eight pixels, four in each half of the vector. Of 3-byte pixels each half also loads four bytes that are
// not its own, up to byte 28.
template <std::size_t kBytes>
DIB_TARGET_AVX2 DIB_ALWAYS_INLINE __m256i loadEight(const std::uint8_t* from) {
    const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
    const __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from + 4 * kBytes));
    return _mm256_inserti128_si256(_mm256_castsi128_si256(low), high, 1);
}

constexpr std::size_t kPixelsBeyond = 2;  // that a load of eight 3-byte pixels may reach into

// Eight sums of 37 blue + 146 green + 73 red as two 16-bit halves each. Green goes in twice, with 91 and 55,
// which keeps its weight in a signed byte and both halves (128 x 255) in a signed word.
template <std::size_t kBytes>
DIB_TARGET_AVX2 DIB_ALWAYS_INLINE __m256i weighEight(const std::uint8_t* from) {
    constexpr char k = kBytes;
    const __m256i spread = _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 1, 2, 1, k, k + 1, k + 2, k + 1,
                                                                     2 * k, 2 * k + 1, 2 * k + 2, 2 * k + 1,
                                                                     3 * k, 3 * k + 1, 3 * k + 2, 3 * k + 1));
    const __m256i weights = _mm256_set1_epi32(37 | 91 << 8 | 73 << 16 | 55 << 24);
    return _mm256_maddubs_epi16(_mm256_shuffle_epi8(loadEight<kBytes>(from), spread), weights);
}

// Sixteen greys as 16-bit values: per half of the vector four of the first eight, then four of the second.
template <std::size_t kBytes>
DIB_TARGET_AVX2 DIB_ALWAYS_INLINE __m256i greySixteen(const std::uint8_t* from) {
    return _mm256_srli_epi16(
        _mm256_hadd_epi16(weighEight<kBytes>(from), weighEight<kBytes>(from + 8 * kBytes)), 8);
}

// Eight greys by shares, as 32-bit values. Green goes in twice, because its share may not fit a signed word.
DIB_TARGET_AVX2 DIB_ALWAYS_INLINE __m256i weighByShares(const std::uint8_t* from, __m256i blueShares,
                                                        __m256i redShares) {
    const __m256i spreadBlue =
        _mm256_broadcastsi128_si256(_mm_setr_epi8(0, -1, 1, -1, 3, -1, 4, -1, 6, -1, 7, -1, 9, -1, 10, -1));
    const __m256i spreadRed =
        _mm256_broadcastsi128_si256(_mm_setr_epi8(2, -1, 1, -1, 5, -1, 4, -1, 8, -1, 7, -1, 11, -1, 10, -1));
    const __m256i pixels = loadEight<3>(from);
    const __m256i sums =
        _mm256_add_epi32(_mm256_madd_epi16(_mm256_shuffle_epi8(pixels, spreadBlue), blueShares),
                         _mm256_madd_epi16(_mm256_shuffle_epi8(pixels, spreadRed), redShares));
    return _mm256_srli_epi32(_mm256_add_epi32(sums, _mm256_set1_epi32(0x8000)), 16);
}

// Sixteen 3-byte pixels as three vectors.
struct SixteenPixels {
    __m128i parts[3];
};

// Exchanges the first and last byte of each pixel; two pixels cross the end of a vector.
DIB_TARGET_AVX2 DIB_ALWAYS_INLINE SixteenPixels exchangeSixteen(const std::uint8_t* from) {
    const auto* at = reinterpret_cast<const __m128i*>(from);
    const __m128i a = _mm_loadu_si128(at);
    const __m128i b = _mm_loadu_si128(at + 1);
    const __m128i c = _mm_loadu_si128(at + 2);
    const __m128i aToA = _mm_setr_epi8(2, 1, 0, 5, 4, 3, 8, 7, 6, 11, 10, 9, 14, 13, 12, -1);
    const __m128i bToA = _mm_setr_epi8(-1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, 1);
    const __m128i aToB = _mm_setr_epi8(-1, 15, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1);
    const __m128i bToB = _mm_setr_epi8(0, -1, 4, 3, 2, 7, 6, 5, 10, 9, 8, 13, 12, 11, -1, 15);
    const __m128i cToB = _mm_setr_epi8(-1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, 0, -1);
    const __m128i bToC = _mm_setr_epi8(14, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1);
    const __m128i cToC = _mm_setr_epi8(-1, 3, 2, 1, 6, 5, 4, 9, 8, 7, 12, 11, 10, 15, 14, 13);
    return {{_mm_or_si128(_mm_shuffle_epi8(a, aToA), _mm_shuffle_epi8(b, bToA)),
             _mm_or_si128(_mm_or_si128(_mm_shuffle_epi8(a, aToB), _mm_shuffle_epi8(b, bToB)),
                          _mm_shuffle_epi8(c, cToB)),
             _mm_or_si128(_mm_shuffle_epi8(b, bToC), _mm_shuffle_epi8(c, cToC))}};
}

DIB_TARGET_AVX2 DIB_ALWAYS_INLINE void storeSixteen(std::uint8_t* to, const SixteenPixels& pixels) {
    for (int i = 0; i < 3; ++i) _mm_storeu_si128(reinterpret_cast<__m128i*>(to) + i, pixels.parts[i]);
}

constexpr std::int32_t kOpaque = ~0xFFFFFF;

// Every 3-byte pixel becomes one of four, `pattern` saying where the bytes of four pixels go. `fourth` holds
// the fourth byte.
DIB_TARGET_AVX2 DIB_ALWAYS_INLINE std::size_t widen(const std::uint8_t* from, std::uint8_t* to,
                                                    std::size_t count, __m128i pattern, std::int32_t fourth) {
    const __m256i spread = _mm256_broadcastsi128_si256(pattern);
    const __m256i fourths = _mm256_set1_epi32(fourth);
    std::size_t i = 0;
    for (; i + 8 + kPixelsBeyond <= count; i += 8) {
        const __m256i pixels = _mm256_shuffle_epi8(loadEight<3>(from + 3 * i), spread);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(to + 4 * i), _mm256_or_si256(pixels, fourths));
    }
    return i;
}

}  // namespace

DIB_TARGET_AVX2 std::size_t shuffleBgrToBgra(const std::uint8_t* from, std::uint8_t* to, std::size_t count) {
    return widen(from, to, count, _mm_setr_epi8(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1),
                 kOpaque);
}

DIB_TARGET_AVX2 std::size_t shuffleBgrToWords(const std::uint8_t* from, std::uint32_t* to,
                                              std::size_t count) {
    return widen(from, reinterpret_cast<std::uint8_t*>(to), count,
                 _mm_setr_epi8(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1), 0);
}

DIB_TARGET_AVX2 std::size_t shuffleBgrToRgba(const std::uint8_t* from, std::uint8_t* to, std::size_t count) {
    return widen(from, to, count, _mm_setr_epi8(2, 1, 0, -1, 5, 4, 3, -1, 8, 7, 6, -1, 11, 10, 9, -1),
                 kOpaque);
}

DIB_TARGET_AVX2 std::size_t shuffleBgrToRgb(const std::uint8_t* from, std::uint8_t* to, std::size_t count) {
    std::size_t i = 0;
    for (; i + 16 <= count; i += 16) storeSixteen(to + 3 * i, exchangeSixteen(from + 3 * i));
    return i;
}

DIB_TARGET_AVX2 std::size_t shuffleGreyToBgr(const std::uint8_t* from, std::uint8_t* to, std::size_t count) {
    const __m128i first = _mm_setr_epi8(0, 0, 0, 1, 1, 1, 2, 2, 2, 3, 3, 3, 4, 4, 4, 5);
    const __m128i second = _mm_setr_epi8(5, 5, 6, 6, 6, 7, 7, 7, 8, 8, 8, 9, 9, 9, 10, 10);
    const __m128i third = _mm_setr_epi8(10, 11, 11, 11, 12, 12, 12, 13, 13, 13, 14, 14, 14, 15, 15, 15);
    std::size_t i = 0;
    for (; i + 16 <= count; i += 16) {
        const __m128i greys = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from + i));
        storeSixteen(to + 3 * i, {{_mm_shuffle_epi8(greys, first), _mm_shuffle_epi8(greys, second),
                                   _mm_shuffle_epi8(greys, third)}});
    }
    return i;
}

DIB_TARGET_AVX2 std::size_t shuffleAndWeigh(const std::uint8_t* from, std::uint8_t* to, std::size_t count,
                                            const GreyShares* shares) {
    const std::uint32_t half = shares->green / 2;
    const __m256i blueShares = _mm256_set1_epi32(dib::asInt(shares->blue | half << 16));
    const __m256i redShares = _mm256_set1_epi32(dib::asInt(shares->red | (shares->green - half) << 16));
    // Packing leaves groups of four pixels in the order 0 2 4 6 1 3 5 7.
    const __m256i inOrder = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
    std::size_t i = 0;
    for (; i + 32 + kPixelsBeyond <= count; i += 32) {
        __m256i eights[4];
        for (std::size_t k = 0; k < 4; ++k)
            eights[k] = weighByShares(from + 3 * (i + 8 * k), blueShares, redShares);
        const __m256i greys = _mm256_packus_epi16(_mm256_packus_epi32(eights[0], eights[1]),
                                                  _mm256_packus_epi32(eights[2], eights[3]));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(to + i), _mm256_permutevar8x32_epi32(greys, inOrder));
    }
    return i;
}

DIB_TARGET_AVX2 std::size_t shuffleAndExchange(std::uint8_t* first, std::uint8_t* second, std::size_t count) {
    std::size_t i = 0;
    for (; i + 16 <= count; i += 16) {
        const SixteenPixels fromFirst = exchangeSixteen(first + 3 * i);
        const SixteenPixels fromSecond = exchangeSixteen(second + 3 * i);
        storeSixteen(second + 3 * i, fromFirst);
        storeSixteen(first + 3 * i, fromSecond);
    }
    return i;
}

template <std::size_t kBytes>
DIB_TARGET_AVX2 std::size_t shuffleToGrey(const std::uint8_t* from, std::uint8_t* to, std::size_t count) {
    // Packing leaves groups of four pixels in the order 0 2 4 6 1 3 5 7.
    const __m256i inOrder = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
    std::size_t i = 0;
    for (; i + 32 + kPixelsBeyond <= count; i += 32) {
        const std::uint8_t* at = from + kBytes * i;
        const __m256i greys =
            _mm256_packus_epi16(greySixteen<kBytes>(at), greySixteen<kBytes>(at + 16 * kBytes));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(to + i), _mm256_permutevar8x32_epi32(greys, inOrder));
    }
    return i;
}
template std::size_t shuffleToGrey<3>(const std::uint8_t*, std::uint8_t*, std::size_t);
template std::size_t shuffleToGrey<4>(const std::uint8_t*, std::uint8_t*, std::size_t);

}  // namespace dib

#endif
