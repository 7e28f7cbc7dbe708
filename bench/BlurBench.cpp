#include <DibEffect.h>

#include "bench/EffectBench.h"

namespace {

const bench::Registrar registrar([] {
    for (const int depth : {8, 24, 32}) {
        for (const int radius : {2, 10, 50}) {
            bench::addEffect("box_blur_r" + std::to_string(radius), depth,
                             [=](DibProgressCallback callback, DibStream* image) {
                                 return DibEffectBlur(callback, nullptr, image, radius, 0U);
                             });
        }
        bench::addEffect("blur_light", depth, [](DibProgressCallback callback, DibStream* image) {
            return DibEffectBlurLittle(callback, nullptr, image, 0U);
        });
        bench::addEffect("sharpen_light", depth, [](DibProgressCallback callback, DibStream* image) {
            return DibEffectSharpLittle(callback, nullptr, image, 0U);
        });
        for (const int half : {5, 15, 50, 255}) {
            bench::addEffect(
                "gauss_R" + std::to_string(half), depth, [=](DibProgressCallback callback, DibStream* image) {
                    return DibEffectGaussianBlur(callback, nullptr, image, static_cast<float>(half), 0U);
                });
        }
    }
});

}  // namespace
