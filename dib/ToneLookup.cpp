#include "dib/ToneLookup.h"
#include "dib/Bytes.h"
#include "dib/Numbers.h"

#include <algorithm>

#include "dib/ColorTable.h"
#include "dib/Kernels.h"

#if defined(__x86_64__)
#include <immintrin.h>
#elif defined(__aarch64__)
#include <arm_neon.h>
#endif

namespace dib {

namespace {

// The slope of the line with the smallest squares of distances to the entries that are not clamped.
double slopeOf(const unsigned char* table) {
    double count = 0;
    double sumX = 0;
    double sumY = 0;
    double sumXX = 0;
    double sumXY = 0;
    for (int x = 0; x < 256; ++x) {
        const double y = table[x];
        if (y == 0 || y == 255) continue;
        count += 1;
        sumX += x;
        sumY += y;
        sumXX += x * x;
        sumXY += x * y;
    }
    const double spread = count * sumXX - sumX * sumX;
    return spread > 0 ? (count * sumXY - sumX * sumY) / spread : 0;
}

}  // namespace

// Never negative before the offset is added, as the slope is not.
int ToneLine::of(int value) const {
    const int sum = std::min((value * slope >> 8) + offset, INT16_MAX);
    return std::clamp(sum >> kFractionBits, 0, 255);
}

bool ToneLine::fit(const unsigned char* table) {
    const double steepness = slopeOf(table) * (1 << 13);
    if (steepness < 0 || steepness > INT16_MAX) return false;
    slope = static_cast<std::int16_t>(steepness);
    // The highest line that lies above no entry below the upper end.
    int highest = INT16_MAX;
    for (int v = 0; v < 256; ++v) {
        if (table[v] == 255) continue;
        highest = std::min(highest, ((table[v] + 1) << kFractionBits) - 1 - (v * slope >> 8));
    }
    offset = static_cast<std::int16_t>(highest);
    oneMore.fill(0);
    for (int v = 0; v < 256; ++v) {
        const int more = table[v] - of(v);
        if (more != 0 && more != 1) return false;
        oneMore[asSize((v & 15) | (v >> 7 << 4))] |= byteOf(more << ((v >> 4) & 7));
    }
    return true;
}

namespace {

void mapPlain(unsigned char* bytes, std::size_t count, const unsigned char* table) {
    for (std::size_t i = 0; i < count; ++i) bytes[i] = table[bytes[i]];
}

#if defined(__x86_64__)

// Compilers do not vectorise lookups, so both ways of mapping are written by hand.

DIB_TARGET_AVX2 DIB_ALWAYS_INLINE __m256i twice(const std::uint8_t* sixteen) {
    return _mm256_broadcastsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(sixteen)));
}

// Runs `map` over vectors of bytes.
template <bool KeepFourth, class Map>
DIB_TARGET_AVX2 DIB_ALWAYS_INLINE std::size_t mapInVectors(unsigned char* bytes, std::size_t count,
                                                           const Map& map) {
    const __m256i fourth = _mm256_set1_epi32(~0xFFFFFF);
    std::size_t done = 0;
    for (; done + 32 <= count; done += 32) {
        auto* at = reinterpret_cast<__m256i*>(bytes + done);
        const __m256i values = _mm256_loadu_si256(at);
        __m256i result = map(values);
        if (KeepFourth) result = _mm256_blendv_epi8(result, values, fourth);
        _mm256_storeu_si256(at, result);
    }
    return done;
}

// The table in sixteen registers of sixteen entries, each register but the first of either half
// exclusive-ored with the one before it. A byte selects from the registers up to its own; the exclusive-ors
// cancel all but the last. In later registers the byte, lowered by their start, is negative and selects 0.
template <bool KeepFourth>
DIB_TARGET_AVX2 std::size_t mapByTable(unsigned char* bytes, std::size_t count, const unsigned char* table) {
    __m256i parts[16];
    for (int i = 0; i < 16; ++i) {
        parts[i] = twice(table + 16 * i);
        if (i % 8 != 0) parts[i] = _mm256_xor_si256(parts[i], twice(table + 16 * (i - 1)));
    }
    const __m256i topBit = _mm256_set1_epi8(-128);
    const __m256i step = _mm256_set1_epi8(16);
    return mapInVectors<KeepFourth>(bytes, count, [&](__m256i values) DIB_TARGET_AVX2 {
        __m256i low = values;
        __m256i high = _mm256_xor_si256(values, topBit);
        __m256i result =
            _mm256_or_si256(_mm256_shuffle_epi8(parts[0], low), _mm256_shuffle_epi8(parts[8], high));
        for (int i = 1; i < 8; ++i) {
            low = _mm256_subs_epi8(low, step);
            high = _mm256_subs_epi8(high, step);
            result = _mm256_xor_si256(result, _mm256_shuffle_epi8(parts[i], low));
            result = _mm256_xor_si256(result, _mm256_shuffle_epi8(parts[8 + i], high));
        }
        return result;
    });
}

template <bool KeepFourth>
DIB_TARGET_AVX2 std::size_t mapByLine(unsigned char* bytes, std::size_t count, const ToneLine* toneLine) {
    const ToneLine& line = *toneLine;
    const __m256i slope = _mm256_set1_epi16(line.slope);
    const __m256i offset = _mm256_set1_epi16(line.offset);
    const __m256i moreBelow = twice(line.oneMore.data());
    const __m256i moreAbove = twice(line.oneMore.data() + 16);
    const __m256i bits = _mm256_set1_epi64x(static_cast<long long>(0x8040201008040201ULL));
    const __m256i topBit = _mm256_set1_epi8(-128);
    const __m256i seven = _mm256_set1_epi8(7);
    const __m256i zero = _mm256_setzero_si256();
    const auto along = [&](__m256i timesPower8) DIB_TARGET_AVX2 {
        const __m256i sum = _mm256_adds_epi16(_mm256_mulhi_epu16(timesPower8, slope), offset);
        return _mm256_srai_epi16(sum, ToneLine::kFractionBits);
    };
    return mapInVectors<KeepFourth>(bytes, count, [&](__m256i values) DIB_TARGET_AVX2 {
        const __m256i onLine = _mm256_packus_epi16(along(_mm256_unpacklo_epi8(zero, values)),
                                                   along(_mm256_unpackhi_epi8(zero, values)));
        // Indices of 128 and more select 0, so each half serves its own values.
        const __m256i more =
            _mm256_or_si256(_mm256_shuffle_epi8(moreBelow, values),
                            _mm256_shuffle_epi8(moreAbove, _mm256_xor_si256(values, topBit)));
        const __m256i bit = _mm256_shuffle_epi8(bits, _mm256_and_si256(_mm256_srli_epi16(values, 4), seven));
        return _mm256_sub_epi8(onLine, _mm256_cmpeq_epi8(_mm256_and_si256(more, bit), bit));
    });
}

#elif defined(__aarch64__)

// The table in four groups of four registers. A byte beyond a group's entries keeps what was found before.
template <bool KeepFourth>
std::size_t mapByTable(unsigned char* bytes, std::size_t count, const unsigned char* table) {
    const uint8x16x4_t parts[4] = {vld1q_u8_x4(table), vld1q_u8_x4(table + 64), vld1q_u8_x4(table + 128),
                                   vld1q_u8_x4(table + 192)};
    const uint8x16_t fourth = vreinterpretq_u8_u32(vdupq_n_u32(0xFF000000U));
    std::size_t done = 0;
    for (; done + 16 <= count; done += 16) {
        const uint8x16_t values = vld1q_u8(bytes + done);
        uint8x16_t result = vqtbl4q_u8(parts[0], values);
        result = vqtbx4q_u8(result, parts[1], vsubq_u8(values, vdupq_n_u8(64)));
        result = vqtbx4q_u8(result, parts[2], vsubq_u8(values, vdupq_n_u8(128)));
        result = vqtbx4q_u8(result, parts[3], vsubq_u8(values, vdupq_n_u8(192)));
        vst1q_u8(bytes + done, KeepFourth ? vbslq_u8(fourth, values, result) : result);
    }
    return done;
}

#endif

DIB_ALWAYS_INLINE void invertBody(unsigned char* bytes, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) bytes[i] ^= 255;
}

}  // namespace

void invertBytes(unsigned char* bytes, std::size_t count) { runKernel<invertBody>(bytes, count); }

// Bytes that whole vectors take, which are mapped.
template <bool KeepFourth>
std::size_t ToneLookup::mapVectors([[maybe_unused]] unsigned char* bytes,
                                   [[maybe_unused]] std::size_t count) const {
#if defined(__x86_64__)
    return isLine_ ? runVectors<mapByLine<KeepFourth>>(bytes, count, &line_)
                   : runVectors<mapByTable<KeepFourth>>(bytes, count, table_);
#elif defined(__aarch64__)
    return mapByTable<KeepFourth>(bytes, count, table_);
#else
    return 0;
#endif
}

void ToneLookup::mapBytes(unsigned char* bytes, std::size_t count) const {
    const std::size_t done = mapVectors<false>(bytes, count);
    mapPlain(bytes + done, count - done, table_);
}

void ToneLookup::mapColors(unsigned char* pixels, std::size_t count) const {
    const std::size_t done = mapVectors<true>(pixels, 4 * count);
    for (std::size_t i = done; i < 4 * count; i += 4) mapPlain(pixels + i, 3, table_);
}

void ToneLookup::mapColorTable(BITMAPINFOHEADER* header) const {
    const std::size_t entries = announcedEntries(*header);
    if (entries <= INT32_MAX) mapColors(reinterpret_cast<unsigned char*>(colorTable(header)), entries);
}

}  // namespace dib
