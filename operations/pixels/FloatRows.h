// Rows of pixels as floats: loading, weighted sums and storing.
#ifndef OPERATIONS_PIXELS_FLOAT_ROWS_H
#define OPERATIONS_PIXELS_FLOAT_ROWS_H

#include <cstddef>
#include <cstring>

#include "dib/Kernels.h"

namespace operations {

// out[i] = sum of weights[k] x rows[k][i], in the order of k, in vectors of so many bytes.
template <std::ptrdiff_t kBytes>
DIB_ALWAYS_INLINE void sumRows(const float* const* rows, const float* weights, int count,
                               float* __restrict out, std::ptrdiff_t samples) {
    using Vector __attribute__((vector_size(kBytes))) = float;
    constexpr std::ptrdiff_t kLanes = kBytes / sizeof(float);
    constexpr std::ptrdiff_t kVectors = 4;  // so many sums stay in registers
    std::ptrdiff_t i = 0;
    for (; i + kVectors * kLanes <= samples; i += kVectors * kLanes) {
        Vector sums[kVectors] = {};
        for (int k = 0; k < count; ++k) {
            for (std::ptrdiff_t j = 0; j < kVectors; ++j) {
                Vector from;
                std::memcpy(&from, rows[k] + i + j * kLanes, sizeof from);
                sums[j] += weights[k] * from;
            }
        }
        std::memcpy(out + i, sums, sizeof sums);
    }
    for (; i < samples; ++i) {
        float sum = 0;
        for (int k = 0; k < count; ++k) sum += weights[k] * rows[k][i];
        out[i] = sum;
    }
}

DIB_ALWAYS_INLINE void loadRow(const unsigned char* __restrict row, float* __restrict samples,
                               std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; ++i) samples[i] = static_cast<float>(row[i]);
}
// Colours times alpha, and alpha.
DIB_ALWAYS_INLINE void loadWeighted(const unsigned char* __restrict row, float* __restrict samples,
                                    std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; i += 4) {
        const auto alpha = static_cast<float>(row[i + 3]);
        for (int c = 0; c < 3; ++c) samples[i + c] = static_cast<float>(row[i + c]) * alpha;
        samples[i + 3] = alpha;
    }
}

// The half is added first and each bound is one comparison, as loops vectorise only so. NaN becomes 0.
DIB_ALWAYS_INLINE unsigned char byteOf(float value) {
    const float raised = value + 0.5F;
    const float positive = raised > 0.0F ? raised : 0.0F;
    return static_cast<unsigned char>(static_cast<int>(positive < 255.0F ? positive : 255.0F));
}

DIB_ALWAYS_INLINE void storeRow(const float* __restrict sums, unsigned char* __restrict row,
                                std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; ++i) row[i] = byteOf(sums[i]);
}
// Pixels that are less than half visible in the last bit of alpha are black.
DIB_ALWAYS_INLINE void storeWeighted(const float* __restrict sums, unsigned char* __restrict row,
                                     std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; i += 4) {
        const float alpha = sums[i + 3];
        const float inverse =
            1.0F / (alpha >= 0.5F ? alpha : 1.0F);  // unconditionally, so that loops vectorise
        const float scale = alpha >= 0.5F ? inverse : 0.0F;
        for (int c = 0; c < 3; ++c) row[i + c] = byteOf(sums[i + c] * scale);
        row[i + 3] = byteOf(alpha);
    }
}

}  // namespace operations

#endif
