// A few operations of every kind on small to large pictures: does the time grow in proportion to the pixels?
// The other files measure the usual size.
#include <DibEffect.h>

#include "bench/EffectBench.h"

namespace {

struct Size {
    int width;
    int height;
};
constexpr Size kSizes[] = {{160, 90}, {480, 270}, {3840, 2160}};

const bench::Registrar registrar([] {
    constexpr auto kAngle = static_cast<float>(pb::kRotateDeg * 3.14159265358979323846 / 180.0);
    const struct {
        const char* op;
        bench::Effect effect;
    } kOperations[] = {
        {"invert", [](DibProgressCallback callback,
                      DibStream* image) { return DibEffectReverse(callback, nullptr, image); }},
        {"blur_light", [](DibProgressCallback callback,
                          DibStream* image) { return DibEffectBlurLittle(callback, nullptr, image, 0U); }},
        {"box_blur_r10", [](DibProgressCallback callback,
                            DibStream* image) { return DibEffectBlur(callback, nullptr, image, 10, 0U); }},
        {"gauss_R15",
         [](DibProgressCallback callback, DibStream* image) {
             return DibEffectGaussianBlur(callback, nullptr, image, 15, 0U);
         }},
        {"emboss",
         [](DibProgressCallback callback, DibStream* image) {
             return DibEffectEmboss(callback, nullptr, image, 1, 1, 0.785F, 0U);
         }},
        {"rotate30", [](DibProgressCallback callback,
                        DibStream* image) { return DibEffectRotate(callback, nullptr, image, kAngle, 0U); }},
        {"mosaic10", [](DibProgressCallback callback,
                        DibStream* image) { return DibEffectMozaic(callback, nullptr, image, pb::kMosaic); }},
    };
    for (const auto& operation : kOperations) {
        for (const Size& size : kSizes) {
            bench::addEffectAt(operation.op, size.width, size.height, 24, "ours", nullptr, operation.effect);
        }
    }
});

}  // namespace
