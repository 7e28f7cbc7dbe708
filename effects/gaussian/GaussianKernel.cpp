#include "effects/gaussian/GaussianKernel.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace dib {

bool GaussianKernel::build(float radius) {
    const bool isCut = std::floor(radius) > kMaxHalf;
    half_ = isCut ? kMaxHalf : static_cast<int>(radius);
    const float spread = isCut ? kMaxHalf : radius;
    const auto side = std::ptrdiff_t{half_} + 1;
    const std::ptrdiff_t entries = side * side;
    const MallocPtr<float> exact = allocateArray<float>(entries);
    weights_ = allocateArray<std::uint32_t>(entries);
    if (exact == nullptr || weights_ == nullptr) return false;

    // The mix of single and double precision is part of the result: the last bit decides where a weight is
    // cut.
    const auto squareOf = [spread](int distance) {
        const float u = static_cast<float>(distance) / spread * 3.0F;
        return u * u;
    };
    float* next = exact.get();
    for (int j = 0; j <= half_; ++j) {
        for (int i = 0; i <= half_; ++i) {
            const float squares = squareOf(i) + squareOf(j);
            *next++ = static_cast<float>(std::exp(-0.5 * double{squares}));
        }
    }
    // Over the whole table row by row: a sum in single precision depends on the order.
    float total = 0;
    for (int j = -half_; j <= half_; ++j) {
        const float* row = exact.get() + std::abs(j) * (half_ + 1);
        for (int i = -half_; i <= half_; ++i) total += row[std::abs(i)];
    }
    if (total == 0) return false;
    const float factor = 65536.0F / total;
    for (std::ptrdiff_t k = 0; k < entries; ++k) weights_[k] = static_cast<std::uint32_t>(exact[k] * factor);
    survey();
    return true;
}

void GaussianKernel::survey() {
    for (int j = 0; j <= half_; ++j) {
        for (int i = 0; i <= half_; ++i) {
            if (weight(i, j) == 0) continue;
            reach_ = std::max({reach_, i, j});
            if (i > 0 && weight(i, j) > weight(i - 1, j)) falls_ = false;
        }
    }
}

}  // namespace dib
