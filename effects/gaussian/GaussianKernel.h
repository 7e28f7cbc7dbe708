// The weights of the Gaussian blur, in 65536ths. They depend on the distances along the axes alone, so one
// quadrant holds them all.
#ifndef EFFECTS_GAUSSIAN_GAUSSIAN_KERNEL_H
#define EFFECTS_GAUSSIAN_GAUSSIAN_KERNEL_H

#include <cstddef>
#include <cstdint>

#include "dib/Memory.h"

namespace dib {

class GaussianKernel {
public:
    // The largest distance with a weight of its own; larger radii count as this one.
    static constexpr int kMaxHalf = 255;

    // `radius` is at least 1. False when memory is short or the weights total 0.
    bool build(float radius);

    // Of the pixel `across` columns and `down` rows away, both from 0 to half().
    std::uint32_t weight(int across, int down) const { return weights_.get()[down * (half_ + 1) + across]; }
    int half() const { return half_; }
    // The largest distance along an axis at which a weight is not 0.
    int reach() const { return reach_; }
    // Whether no weight exceeds one that is nearer along a row.
    bool falls() const { return falls_; }

private:
    void survey();

    int half_ = 0;
    int reach_ = 0;
    bool falls_ = true;
    MallocPtr<std::uint32_t> weights_;
};

}  // namespace dib

#endif
