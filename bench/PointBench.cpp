#include <DibEffect.h>
#include <benchmark/benchmark.h>

#include "bench/Bench.h"

namespace {

void addInPlace(const char* name, int channels, bool (*effect)(DibStream*)) {
    pb::add(name, pb::W, pb::H, channels * 8, "ours", "", [=] {
        const bench::DibRef image = bench::dibOf(pb::img(pb::W, pb::H, channels));
        return pb::Op([=] { pb::need(effect(image.get()), "refused"); },
                      [=] {
                          const bench::DibRef fresh = bench::dibOf(pb::img(pb::W, pb::H, channels));
                          pb::need(effect(fresh.get()), "refused");
                          return bench::outOf(*fresh);
                      });
    });
}

const bench::Registrar registrar([] {
    for (const int channels : {1, 3}) {
        addInPlace("noise20", channels,
                   [](DibStream* d) { return DibEffectNoise(nullptr, nullptr, d, pb::kNoise); });
    }
    addInPlace("color_noise", 3,
               [](DibStream* d) { return DibEffectColorNoise(nullptr, nullptr, d, 0xFF8000U, 0.5F); });
    addInPlace("diffuse_r3", 3,
               [](DibStream* d) { return DibEffectDiffuse(nullptr, nullptr, d, pb::kDiffuse, 0); });
    for (const int channels : {3, 4}) {
        addInPlace("gamma_lut", channels, [](DibStream* d) {
            return DibEffectGammaCorrect(nullptr, nullptr, d, 0, 255, static_cast<float>(pb::kGamma));
        });
        addInPlace("contrast", channels, [](DibStream* d) {
            return DibEffectContrast(nullptr, nullptr, d, static_cast<float>(pb::kBrightness),
                                     static_cast<float>(pb::kContrast));
        });
    }
    // The random numbers alone, a lower limit for the effects above.
    pb::add("noise20", pb::W, pb::H, 24, "ours.rand", "one rand() a pixel", [] {
        return pb::Op([] {
            for (int i = 0; i < pb::W * pb::H; ++i) benchmark::DoNotOptimize(std::rand());
        });
    });
});

}  // namespace
