#include "effects/BoxMean.h"

#include <cmath>

#include "dib/Depths.h"
#include "dib/Kernels.h"

namespace dib {

namespace {

// The reciprocal is too large by up to two units in the last place, so that a product never falls below a
// whole quotient. Any other quotient is at least 1 / divisor below the next whole number. Quotients are below
// 256, so the product exceeds them by less than 2^-14 in float and 2^-43 in double. This is exact for
// divisors below 2^14 and 2^43 with sums below 2^22 and 2^31.
constexpr std::int32_t kFloatDivisors = 1 << 14;
// Up to this divisor no sum reaches 2^31.
constexpr std::int32_t kPlainDivisors = 0x7FFFFFFF / 255;
constexpr int kPlainRadius = 1450;

template <class Real>
DIB_ALWAYS_INLINE void multiply(const std::uint32_t* __restrict sums, unsigned char* __restrict out,
                                std::ptrdiff_t count, Real reciprocal) {
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const Real quotient = static_cast<Real>(static_cast<std::int32_t>(sums[i])) * reciprocal;
        out[i] = static_cast<unsigned char>(static_cast<std::int32_t>(quotient));
    }
}

}  // namespace

// An odd number squared is 1 modulo 8 in two's complement too, so no radius gives a divisor of 0 or -1.
BoxMean::BoxMean(int radius) {
    const std::uint32_t side = 2 * static_cast<std::uint32_t>(radius) + 1;
    divisor_ = static_cast<std::int32_t>(side * side);
    mayWrap_ = radius > kPlainRadius;
    static_assert((2 * kPlainRadius + 1) * (2 * kPlainRadius + 1) <= kPlainDivisors);
}

void BoxMean::ofSums(const std::uint32_t* sums, unsigned char* out, std::ptrdiff_t count) const {
    if (mayWrap_) {
        for (std::ptrdiff_t i = 0; i < count; ++i) Depth8::put(out, i, of(sums[i]));
    } else if (divisor_ < kFloatDivisors) {
        runWidestKernel<multiply<float>>(sums, out, count,
                                         std::nextafter(1.0F / static_cast<float>(divisor_), 1.0F));
    } else {
        runWidestKernel<multiply<double>>(sums, out, count, std::nextafter(1.0 / divisor_, 1.0));
    }
}

}  // namespace dib
