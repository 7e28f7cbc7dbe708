// Every effect at every depth, row order and flag.
#include <DibEffect.h>

#include "tests/digest/Digest.h"

namespace digest {

namespace {

using Effect = bool (*)(DibProgressCallback, void*, DibStream*, unsigned int flags);

struct Row {
    const char* name;
    const char* dependsOn;
    bool wraps;
    Effect effect;
};

// The second picture of compose.
bool compose(DibProgressCallback callback, void* user, DibStream* image, float opacity, unsigned int mode) {
    const DibPtr second = picture({24, true}, 20, 12);
    return DibEffectCompose(callback, user, image, second.get(), opacity, mode);
}

#define DIB_EFFECT(call)                                                                            \
    [](DibProgressCallback cb, void* user, DibStream* image, [[maybe_unused]] unsigned int flags) { \
        return call;                                                                                \
    }

const Row kRows[] = {
    {"reverse", "-", false, DIB_EFFECT(DibEffectReverse(cb, user, image))},
    {"rotate 0.5", "libm", true, DIB_EFFECT(DibEffectRotate(cb, user, image, 0.5F, flags))},
    {"rotate -2.75", "libm", true, DIB_EFFECT(DibEffectRotate(cb, user, image, -2.75F, flags))},
    {"ripple", "libm", true,
     DIB_EFFECT(DibEffectRipple(cb, user, image, 9.5F, 4.25F, 11, 0.7F, 0.3F, flags))},
    {"wave", "libm", true, DIB_EFFECT(DibEffectWave(cb, user, image, 9, 3.5F, 0.4F, 0.9F, flags))},
    {"whirl", "libm", true, DIB_EFFECT(DibEffectWhirl(cb, user, image, 8.5F, 3, 0.05F, flags))},
    {"mozaic 3", "-", false, DIB_EFFECT(DibEffectMozaic(cb, user, image, 3))},
    {"mozaic 16", "-", false, DIB_EFFECT(DibEffectMozaic(cb, user, image, 16))},
    {"blur 1", "-", true, DIB_EFFECT(DibEffectBlur(cb, user, image, 1, flags))},
    {"blur 7", "-", true, DIB_EFFECT(DibEffectBlur(cb, user, image, 7, flags))},
    {"blur 40", "-", true, DIB_EFFECT(DibEffectBlur(cb, user, image, 40, flags))},
    {"blur-little", "-", true, DIB_EFFECT(DibEffectBlurLittle(cb, user, image, flags))},
    {"sharp-little", "-", true, DIB_EFFECT(DibEffectSharpLittle(cb, user, image, flags))},
    {"gaussian 0.5", "libm", true, DIB_EFFECT(DibEffectGaussianBlur(cb, user, image, 0.5F, flags))},
    {"gaussian 3", "libm", true, DIB_EFFECT(DibEffectGaussianBlur(cb, user, image, 3, flags))},
    {"gaussian 15", "libm", true, DIB_EFFECT(DibEffectGaussianBlur(cb, user, image, 15, flags))},
    {"gaussian 80", "libm", true, DIB_EFFECT(DibEffectGaussianBlur(cb, user, image, 80, flags))},
    {"motion-blur 5", "libm", true, DIB_EFFECT(DibEffectMotionBlur(cb, user, image, 5, 0.5F, flags))},
    {"motion-blur 23", "libm", true, DIB_EFFECT(DibEffectMotionBlur(cb, user, image, 23, 2, flags))},
    {"bright-max 1", "-", true, DIB_EFFECT(DibEffectBrightMax(cb, user, image, 1, flags))},
    {"bright-max 6", "-", true, DIB_EFFECT(DibEffectBrightMax(cb, user, image, 6, flags))},
    {"bright-min 2", "-", true, DIB_EFFECT(DibEffectBrightMin(cb, user, image, 2, flags))},
    {"bright-min 30", "-", true, DIB_EFFECT(DibEffectBrightMin(cb, user, image, 30, flags))},
    {"bright-middle 1", "-", true, DIB_EFFECT(DibEffectBrightMiddle(cb, user, image, 1, flags))},
    {"bright-middle 2", "-", true, DIB_EFFECT(DibEffectBrightMiddle(cb, user, image, 2, flags))},
    {"bright-middle 5", "-", true, DIB_EFFECT(DibEffectBrightMiddle(cb, user, image, 5, flags))},
    {"bright-middle 12", "-", true, DIB_EFFECT(DibEffectBrightMiddle(cb, user, image, 12, flags))},
    {"bright-middle 40", "-", true, DIB_EFFECT(DibEffectBrightMiddle(cb, user, image, 40, flags))},
    {"pick-edge", "-", true, DIB_EFFECT(DibEffectPickEdge(cb, user, image, flags))},
    {"emboss", "libm", true, DIB_EFFECT(DibEffectEmboss(cb, user, image, 0.6F, 2, 0.8F, flags))},
    {"noise", "rand", false, DIB_EFFECT(DibEffectNoise(cb, user, image, 40))},
    {"color-noise", "rand", false, DIB_EFFECT(DibEffectColorNoise(cb, user, image, 0x00C08020U, 0.6F))},
    {"diffuse 3", "rand", true, DIB_EFFECT(DibEffectDiffuse(cb, user, image, 3, flags))},
    {"compose stretch", "-", false, DIB_EFFECT(compose(cb, user, image, 0.4F, 0))},
    {"compose tile", "-", false, DIB_EFFECT(compose(cb, user, image, 0.7F, 1))},
    {"gamma", "libm", false, DIB_EFFECT(DibEffectGammaCorrect(cb, user, image, 10, 220, 1.8F))},
    {"contrast", "-", false, DIB_EFFECT(DibEffectContrast(cb, user, image, 12, 1.4F))},
};

#undef DIB_EFFECT

}  // namespace

void printEffects() {
    for (const Row& row : kRows) {
        for (const Kind& kind : kKinds) {
            for (unsigned int flags = 0; flags < (row.wraps ? 4U : 1U); ++flags) {
                const Hash hash =
                    runOnSizes(kind, [&](DibProgressCallback callback, void* user, DibStream* image) {
                        return row.effect(callback, user, image, flags);
                    });
                line(
                    std::string("effect ") + row.name + " " + nameOf(kind) + " wrap=" + std::to_string(flags),
                    row.dependsOn, hash);
            }
        }
    }
}

}  // namespace digest
