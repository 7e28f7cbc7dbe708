#include "formats/psd/ChannelBytes.h"

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace formats::psd {

namespace {

DIB_ALWAYS_INLINE void placeInFour(const unsigned char* __restrict bytes, unsigned char* __restrict pixels,
                                   std::size_t shift, std::size_t count) {
    const std::uint32_t others = ~(0xFFU << shift);
    for (std::size_t x = 0; x < count; ++x) {
        std::uint32_t pixel = 0;
        std::memcpy(&pixel, pixels + 4 * x, sizeof pixel);
        pixel = (pixel & others) | std::uint32_t{bytes[x]} << shift;
        std::memcpy(pixels + 4 * x, &pixel, sizeof pixel);
    }
}

#if defined(__x86_64__)

// Compilers do not vectorise this. Each 48-byte store keeps the image's other channels.
DIB_TARGET_AVX2 std::size_t placeSixteens(const unsigned char* bytes, unsigned char* pixels, std::size_t byte,
                                          std::size_t count) {
    alignas(16) signed char from[48];
    for (std::size_t i = 0; i < sizeof from; ++i)
        from[i] = i % 3 == byte ? static_cast<signed char>(i / 3) : -1;
    const auto* spread = reinterpret_cast<const __m128i*>(from);
    std::size_t x = 0;
    for (; x + 16 <= count; x += 16) {
        const __m128i sixteen = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes + x));
        auto* at = reinterpret_cast<__m128i*>(pixels + 3 * x);
        for (int part = 0; part < 3; ++part) {
            const __m128i order = _mm_load_si128(spread + part);
            const __m128i placed = _mm_shuffle_epi8(sixteen, order);
            _mm_storeu_si128(at + part, _mm_blendv_epi8(placed, _mm_loadu_si128(at + part), order));
        }
    }
    return x;
}

#else

std::size_t placeSixteens(const unsigned char*, unsigned char*, std::size_t, std::size_t) { return 0; }

#endif

}  // namespace

void placeBytes(const unsigned char* bytes, unsigned char* pixels, std::size_t pixelBytes, std::size_t byte,
                std::size_t count) {
    if (pixelBytes == 4) {
        dib::runKernel<placeInFour>(bytes, pixels, 8 * byte, count);
    } else {
        std::size_t x = dib::runVectors<placeSixteens>(bytes, pixels, byte, count);
        for (; x < count; ++x) pixels[3 * x + byte] = bytes[x];
    }
}

}  // namespace formats::psd
