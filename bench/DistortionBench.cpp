#include <DibEffect.h>

#include "bench/EffectBench.h"

namespace {

const bench::Registrar kDistortions([] {
    using bench::addEffect;
    constexpr auto kAngle = static_cast<float>(pb::kRotateDeg * 3.14159265358979323846 / 180.0);
    constexpr float kCenterX = (pb::W - 1) * 0.5F;
    constexpr float kCenterY = (pb::H - 1) * 0.5F;

    const bench::Effect invert = [](DibProgressCallback callback, DibStream* image) {
        return DibEffectReverse(callback, nullptr, image);
    };
    const bench::Effect mosaic = [](DibProgressCallback callback, DibStream* image) {
        return DibEffectMozaic(callback, nullptr, image, pb::kMosaic);
    };
    const bench::Effect rotate = [](DibProgressCallback callback, DibStream* image) {
        return DibEffectRotate(callback, nullptr, image, kAngle, 0);
    };
    const bench::Effect rotateTiled = [](DibProgressCallback callback, DibStream* image) {
        return DibEffectRotate(callback, nullptr, image, kAngle, DIB_WRAP_X | DIB_WRAP_Y);
    };
    const bench::Effect whirl = [](DibProgressCallback callback, DibStream* image) {
        return DibEffectWhirl(callback, nullptr, image, kCenterX, kCenterY, pb::kWhirlTwist, 0);
    };
    const bench::Effect ripple = [](DibProgressCallback callback, DibStream* image) {
        return DibEffectRipple(callback, nullptr, image, kCenterX, kCenterY, pb::kRippleLen, pb::kRippleAmp,
                               0, 0);
    };
    const bench::Effect wave = [](DibProgressCallback callback, DibStream* image) {
        return DibEffectWave(callback, nullptr, image, pb::kWaveLen, pb::kWaveAmp, 0, 0, 0);
    };

    for (const int depth : {8, 24, 32}) {
        addEffect("invert", depth, invert);
        addEffect("mosaic10", depth, mosaic);
        addEffect("rotate30", depth, rotate);
        addEffect("rotate30_tiled", depth, rotateTiled);
        addEffect("whirl", depth, whirl);
        addEffect("ripple", depth, ripple);
        addEffect("wave", depth, wave);
    }
    addEffect("invert", 24, invert, pb::W4, pb::H4);
    addEffect("rotate30", 24, rotate, pb::W4, pb::H4);
});

}  // namespace
