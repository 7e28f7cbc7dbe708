#include "geometry/BilinearRows.h"

#include "dib/Kernels.h"
#include "geometry/RowsAvx2.h"

namespace dib {

namespace {

template <int Channels>
DIB_ALWAYS_INLINE void mixAcrossBody(const unsigned char* __restrict row, const ColumnTap* __restrict taps,
                                     std::size_t count, std::uint16_t* __restrict sums) {
    for (std::size_t i = 0; i < count; ++i) {
        const unsigned char* at = row + taps[i].offset;
        for (int c = 0; c < Channels; ++c) {
            sums[i * Channels + static_cast<std::size_t>(c)] =
                static_cast<std::uint16_t>(at[c] * taps[i].left + at[c + Channels] * taps[i].right);
        }
    }
}

// The high and low halves of each 32-bit product, so that every step fits 16 bits; of the low halves only the
// carry of their sum matters.
DIB_ALWAYS_INLINE void mixDownBody(const std::uint16_t* __restrict upper,
                                   const std::uint16_t* __restrict lower, std::uint32_t lowerWeight,
                                   std::size_t count, unsigned char* __restrict out) {
    const auto w1 = static_cast<std::uint16_t>(lowerWeight);
    const auto w0 = static_cast<std::uint16_t>(256U - lowerWeight);
    for (std::size_t i = 0; i < count; ++i) {
        const auto low0 = static_cast<std::uint16_t>(upper[i] * w0);
        const auto low1 = static_cast<std::uint16_t>(lower[i] * w1);
        const auto high0 = static_cast<std::uint16_t>((std::uint32_t{upper[i]} * w0) >> 16);
        const auto high1 = static_cast<std::uint16_t>((std::uint32_t{lower[i]} * w1) >> 16);
        const auto low = static_cast<std::uint16_t>(low0 + low1);
        const auto carry = static_cast<std::uint16_t>(low < low0 ? 1 : 0);
        out[i] = static_cast<unsigned char>(high0 + high1 + carry);
    }
}

}  // namespace

void mixAcross(const unsigned char* row, const ColumnTap* taps, std::size_t count, int channels,
               std::uint16_t* sums) {
    const bool wide = kernelLevel() == KernelLevel::kAvx2;
    const std::size_t done = wide ? mixAcrossAvx2(row, taps, count, channels, sums) : 0;
    sums += done * static_cast<std::size_t>(channels);
    if (channels == 3) {
        mixAcrossBody<3>(row, taps + done, count - done, sums);
    } else {
        mixAcrossBody<4>(row, taps + done, count - done, sums);
    }
}

void mixDown(const std::uint16_t* upper, const std::uint16_t* lower, std::uint32_t lowerWeight,
             std::size_t count, unsigned char* out) {
    runKernel<mixDownBody>(upper, lower, lowerWeight, count, out);
}

}  // namespace dib
