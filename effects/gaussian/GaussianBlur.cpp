// The Gaussian blur: the sum of every pixel of a square times its integer weight, exactly. The weights are
// cut to whole 65536ths in two dimensions, so two passes along the axes would give other results. Two
// algorithms compute the sum:
//
//   half-size                              algorithm            work for each sample
//   1 to 30 (AVX2: 39, AVX-512: 37)        GaussianByProducts   a product for each weight of a quadrant
//   31 to 255 (AVX2: 40, AVX-512: 38)      GaussianByBoxes      an addition for each box of half the rows,
//                                                               and two for each half width
//
// Wide kernels have small weights, so their boxes are fewer than their products.

#include <DibEffect.h>

#include <cmath>

#include "effects/EffectFrame.h"
#include "effects/gaussian/GaussianByBoxes.h"
#include "effects/gaussian/GaussianByProducts.h"

bool DibEffectGaussianBlur(DibProgressCallback callback, void* user, DibStream* image, float radius,
                           unsigned int flags) {
    if (image == nullptr || !(std::floor(radius) >= 0)) return false;
    if (radius < 1) return true;
    dib::GaussianKernel kernel;
    if (!kernel.build(radius)) return false;
    const auto filter = [&](auto&& algorithm) {
        return dib::filterInPlace<dib::Depth8, dib::Depth24, dib::Depth32>({callback, user}, image,
                                                                           algorithm);
    };
    return dib::boxesAreCheaper(kernel) ? filter(dib::GaussianByBoxes(kernel, flags))
                                        : filter(dib::GaussianByProducts(kernel, flags));
}
