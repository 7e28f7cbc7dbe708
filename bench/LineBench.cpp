#include <DibEffect.h>

#include "bench/EffectBench.h"

namespace {

const bench::Registrar kLines([] {
    for (const int depth : {8, 24, 32}) {
        bench::addEffect("motion_blur_15", depth, [](DibProgressCallback callback, DibStream* image) {
            return DibEffectMotionBlur(callback, nullptr, image, pb::kMotionLen, pb::kMotionAngle, 0);
        });
        bench::addEffect("emboss", depth, [](DibProgressCallback callback, DibStream* image) {
            return DibEffectEmboss(callback, nullptr, image, 1, 1, 0.785F, 0);
        });
        bench::addEffect("edge_mag", depth, [](DibProgressCallback callback, DibStream* image) {
            return DibEffectPickEdge(callback, nullptr, image, 0U);
        });
    }
});

}  // namespace
