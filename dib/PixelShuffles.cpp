#include "dib/PixelShuffles.h"

#if defined(__x86_64__)

#include <immintrin.h>

#include "dib/Kernels.h"

namespace dib {

namespace {

// Eight pixels, four in each half of the vector. Of 3-byte pixels each half also loads four bytes that are not its
// own, up to byte 28.
template <std::size_t kBytes>
DIB_TARGET_AVX2 DIB_ALWAYS_INLINE __m256i loadEight(const std::uint8_t* from) {
    const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
    const __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from + 4 * kBytes));
    return _mm256_inserti128_si256(_mm256_castsi128_si256(low), high, 1);
}

constexpr std::size_t kPixelsBeyond = 2;  // that a load of eight 3-byte pixels may reach into

// Eight sums of 37 blue + 146 green + 73 red as two 16-bit halves each. Green goes in twice, with 91 and 55, which
// keeps its weight in a signed byte and both halves (128 x 255) in a signed word.
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

template <std::size_t kBytes>
DIB_TARGET_AVX2 DIB_ALWAYS_INLINE std::size_t shuffleToGrey(const std::uint8_t* from, std::uint8_t* to,
                                                            std::size_t count) {
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

}  // namespace

DIB_TARGET_AVX2 std::size_t shuffleBgrToBgra(const std::uint8_t* from, std::uint8_t* to, std::size_t count) {
    const __m256i spread =
        _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1));
    const __m256i opaque = _mm256_set1_epi32(static_cast<int>(0xFF000000U));
    std::size_t i = 0;
    for (; i + 8 + kPixelsBeyond <= count; i += 8) {
        const __m256i pixels = _mm256_shuffle_epi8(loadEight<3>(from + 3 * i), spread);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(to + 4 * i), _mm256_or_si256(pixels, opaque));
    }
    return i;
}

DIB_TARGET_AVX2 std::size_t shuffleBgrToRgb(const std::uint8_t* from, std::uint8_t* to, std::size_t count) {
    const __m128i exchange = _mm_setr_epi8(2, 1, 0, 5, 4, 3, 8, 7, 6, 11, 10, 9, 14, 13, 12, 15);
    std::size_t i = 0;
    // Five pixels are 15 bytes; the 16th byte belongs to the next pixel and is written again with it.
    for (; i + 6 <= count; i += 5) {
        const __m128i pixels = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from + 3 * i));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(to + 3 * i), _mm_shuffle_epi8(pixels, exchange));
    }
    return i;
}

DIB_TARGET_AVX2 std::size_t shuffleBgrToGrey(const std::uint8_t* from, std::uint8_t* to, std::size_t count) {
    return shuffleToGrey<3>(from, to, count);
}

DIB_TARGET_AVX2 std::size_t shuffleBgraToGrey(const std::uint8_t* from, std::uint8_t* to, std::size_t count) {
    return shuffleToGrey<4>(from, to, count);
}

}  // namespace dib

#else

namespace dib {

std::size_t shuffleBgrToBgra(const std::uint8_t*, std::uint8_t*, std::size_t) { return 0; }
std::size_t shuffleBgrToRgb(const std::uint8_t*, std::uint8_t*, std::size_t) { return 0; }
std::size_t shuffleBgrToGrey(const std::uint8_t*, std::uint8_t*, std::size_t) { return 0; }
std::size_t shuffleBgraToGrey(const std::uint8_t*, std::uint8_t*, std::size_t) { return 0; }

}  // namespace dib

#endif
