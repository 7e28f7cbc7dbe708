#include "dib/ByteTone.h"

#include <cstdint>

#include "dib/Kernels.h"

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace dib {

namespace {

DIB_ALWAYS_INLINE void invertBody(unsigned char* bytes, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) bytes[i] = static_cast<unsigned char>(~bytes[i]);
}

void lookUpPlain(unsigned char* bytes, std::size_t count, const unsigned char* table) {
    for (std::size_t i = 0; i < count; ++i) bytes[i] = table[bytes[i]];
}

#if defined(__x86_64__)

// No loop of look-ups vectorises by itself. Here the table lies in sixteen registers of sixteen entries; each of them
// answers for the bytes whose high nibble is its number, and gives 0 for the others.
template <bool KeepFourth>
DIB_TARGET_AVX2 std::size_t lookUpVectors(unsigned char* bytes, std::size_t count,
                                          const unsigned char* table) {
    __m256i parts[16];
    for (int i = 0; i < 16; ++i) {
        const __m128i part = _mm_loadu_si128(reinterpret_cast<const __m128i*>(table + 16 * i));
        parts[i] = _mm256_broadcastsi128_si256(part);
    }
    const __m256i fourth = _mm256_set1_epi32(static_cast<int>(0xFF000000U));
    const __m256i outOfPart = _mm256_set1_epi8(0x70);
    std::size_t done = 0;
    for (; done + 32 <= count; done += 32) {
        auto* at = reinterpret_cast<__m256i*>(bytes + done);
        const __m256i values = _mm256_loadu_si256(at);
        __m256i result = _mm256_setzero_si256();
        for (int i = 0; i < 16; ++i) {
            const __m256i inPart = _mm256_xor_si256(values, _mm256_set1_epi8(static_cast<char>(i << 4)));
            const __m256i entry = _mm256_adds_epu8(inPart, outOfPart);
            result = _mm256_or_si256(result, _mm256_shuffle_epi8(parts[i], entry));
        }
        if (KeepFourth) result = _mm256_blendv_epi8(result, values, fourth);
        _mm256_storeu_si256(at, result);
    }
    return done;
}

#endif

template <bool KeepFourth>
std::size_t lookUpFast(unsigned char* bytes, std::size_t count, const unsigned char* table) {
#if defined(__x86_64__)
    if (kernelLevel() == KernelLevel::kAvx2) return lookUpVectors<KeepFourth>(bytes, count, table);
#endif
    return 0;
}

}  // namespace

void invertBytes(unsigned char* bytes, std::size_t count) { runKernel<invertBody>(bytes, count); }

void lookUpBytes(unsigned char* bytes, std::size_t count, const unsigned char* table) {
    const std::size_t done = lookUpFast<false>(bytes, count, table);
    lookUpPlain(bytes + done, count - done, table);
}

void lookUpColors(unsigned char* pixels, std::size_t count, const unsigned char* table) {
    const std::size_t done = lookUpFast<true>(pixels, 4 * count, table);
    for (std::size_t i = done; i < 4 * count; i += 4) lookUpPlain(pixels + i, 3, table);
}

}  // namespace dib
