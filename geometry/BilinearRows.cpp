#include "geometry/BilinearRows.h"

#include "dib/Kernels.h"
#include "geometry/RowVectors.h"

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

// With the sums split into high and low bytes every step fits 16 bits: the low bytes only matter through what
// they carry into the high ones.
DIB_ALWAYS_INLINE void mixDownBody(const std::uint16_t* __restrict upper,
                                   const std::uint16_t* __restrict lower, std::uint32_t lowerWeight,
                                   std::size_t count, unsigned char* __restrict out) {
    const auto w1 = static_cast<std::uint16_t>(lowerWeight);
    const auto w0 = static_cast<std::uint16_t>(256U - lowerWeight);
    for (std::size_t i = 0; i < count; ++i) {
        const auto high = static_cast<std::uint16_t>((upper[i] >> 8) * w0 + (lower[i] >> 8) * w1);
        const auto low = static_cast<std::uint16_t>((upper[i] & 255) * w0 + (lower[i] & 255) * w1);
        const auto sum = static_cast<std::uint16_t>(high + (low >> 8));
        out[i] = static_cast<unsigned char>(sum >> 8);
    }
}

}  // namespace

void mixAcross(const unsigned char* row, const ColumnTap* taps, std::size_t count, int channels,
               std::uint16_t* sums) {
    const std::size_t done = mixAcrossVectors(row, taps, count, channels, sums);
    sums += done * static_cast<std::size_t>(channels);
    if (channels == 3) {
        mixAcrossBody<3>(row, taps + done, count - done, sums);
    } else {
        mixAcrossBody<4>(row, taps + done, count - done, sums);
    }
}

void mixDown(const std::uint16_t* upper, const std::uint16_t* lower, std::uint32_t lowerWeight,
             std::size_t count, unsigned char* out) {
    const std::size_t done = mixDownVectors(upper, lower, lowerWeight, count, out);
    mixDownBody(upper + done, lower + done, lowerWeight, count - done, out + done);
}

}  // namespace dib
