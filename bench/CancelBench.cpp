#include <DibEffect.h>

#include "bench/Bench.h"

namespace {

// How long an effect takes to stop: the time until the callback for the first row cancels it.
void addCancel(const std::string& name, bool (*effect)(DibProgressCallback, DibStream*)) {
    pb::add("cancel_" + name, pb::W, pb::H, 24, "ours", "the callback stops at the first row", [=] {
        const bench::DibRef image = bench::dibOf(pb::img(pb::W, pb::H, 3));
        return pb::Op(
            [=] { pb::need(!effect([](float, void*) { return false; }, image.get()), "cancelled"); });
    });
}

const bench::Registrar registrar([] {
    using Callback = DibProgressCallback;
    addCancel("box_r2", [](Callback c, DibStream* d) { return DibEffectBlur(c, nullptr, d, 2, 0U); });
    addCancel("box_r1000", [](Callback c, DibStream* d) { return DibEffectBlur(c, nullptr, d, 1000, 0U); });
    addCancel("blur_light", [](Callback c, DibStream* d) { return DibEffectBlurLittle(c, nullptr, d, 0U); });
    addCancel("sharpen_light",
              [](Callback c, DibStream* d) { return DibEffectSharpLittle(c, nullptr, d, 0U); });
    addCancel("gauss_R5",
              [](Callback c, DibStream* d) { return DibEffectGaussianBlur(c, nullptr, d, 5, 0); });
    addCancel("gauss_R255",
              [](Callback c, DibStream* d) { return DibEffectGaussianBlur(c, nullptr, d, 255, 0); });
    addCancel("motion_15",
              [](Callback c, DibStream* d) { return DibEffectMotionBlur(c, nullptr, d, 15, 0.5F, 0); });
    addCancel("motion_1000",
              [](Callback c, DibStream* d) { return DibEffectMotionBlur(c, nullptr, d, 1000, 0.5F, 0); });
    addCancel("max_r1", [](Callback c, DibStream* d) { return DibEffectBrightMax(c, nullptr, d, 1, 0U); });
    addCancel("max_r1000",
              [](Callback c, DibStream* d) { return DibEffectBrightMax(c, nullptr, d, 1000, 0U); });
    addCancel("median_r1",
              [](Callback c, DibStream* d) { return DibEffectBrightMiddle(c, nullptr, d, 1, 0U); });
    addCancel("median_r100",
              [](Callback c, DibStream* d) { return DibEffectBrightMiddle(c, nullptr, d, 100, 0U); });
    addCancel("median_r1000",
              [](Callback c, DibStream* d) { return DibEffectBrightMiddle(c, nullptr, d, 1000, 0U); });
    addCancel("edge_mag", [](Callback c, DibStream* d) { return DibEffectPickEdge(c, nullptr, d, 0U); });
    addCancel("emboss_1",
              [](Callback c, DibStream* d) { return DibEffectEmboss(c, nullptr, d, 1, 1, 0.5F, 0); });
    addCancel("emboss_1000",
              [](Callback c, DibStream* d) { return DibEffectEmboss(c, nullptr, d, 1, 1000, 0.5F, 0); });
    addCancel("noise20", [](Callback c, DibStream* d) { return DibEffectNoise(c, nullptr, d, 20); });
    addCancel("color_noise",
              [](Callback c, DibStream* d) { return DibEffectColorNoise(c, nullptr, d, 0xFF8000U, 0.5F); });
    addCancel("diffuse_r1000",
              [](Callback c, DibStream* d) { return DibEffectDiffuse(c, nullptr, d, 1000, 0U); });
});

}  // namespace
