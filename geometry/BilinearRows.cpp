#include "geometry/BilinearRows.h"

#include "dib/Kernels.h"
#include "geometry/RowVectors.h"

namespace dib {

namespace {

// With the sums split into high and low bytes every step fits 16 bits: the low bytes only matter through what
// they carry into the high ones.
DIB_ALWAYS_INLINE void mixDownBody(const std::uint16_t* __restrict upper,
                                   const std::uint16_t* __restrict lower, std::uint16_t lowerWeight,
                                   std::ptrdiff_t count, unsigned char* __restrict out) {
    const auto upperWeight = static_cast<std::uint16_t>(256 - lowerWeight);
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const auto high =
            static_cast<std::uint16_t>((upper[i] >> 8) * upperWeight + (lower[i] >> 8) * lowerWeight);
        const auto low =
            static_cast<std::uint16_t>((upper[i] & 255) * upperWeight + (lower[i] & 255) * lowerWeight);
        const auto sum = static_cast<std::uint16_t>(high + (low >> 8));
        out[i] = static_cast<unsigned char>(sum >> 8);
    }
}

}  // namespace

template <int Channels>
void mixAcross(const unsigned char* __restrict row, const ColumnTap* __restrict taps, int count,
               std::uint16_t* __restrict sums) {
    std::ptrdiff_t i = runVectors<mixAcrossVectors<Channels>>(row, taps, count, sums);
    for (; i < count; ++i) {
        const unsigned char* at = row + taps[i].offset;
        for (int c = 0; c < Channels; ++c) {
            sums[i * Channels + c] =
                static_cast<std::uint16_t>(at[c] * taps[i].left + at[c + Channels] * taps[i].right);
        }
    }
}
template void mixAcross<3>(const unsigned char*, const ColumnTap*, int, std::uint16_t*);
template void mixAcross<4>(const unsigned char*, const ColumnTap*, int, std::uint16_t*);

void mixDown(const std::uint16_t* upper, const std::uint16_t* lower, std::uint16_t lowerWeight,
             std::ptrdiff_t count, unsigned char* out) {
    const std::ptrdiff_t done = runVectors<mixDownVectors>(upper, lower, lowerWeight, count, out);
    mixDownBody(upper + done, lower + done, lowerWeight, count - done, out + done);
}

}  // namespace dib
