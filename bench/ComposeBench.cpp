#include <DibEffect.h>

#include "bench/EffectBench.h"

namespace {

// Both pictures have one depth and size, so that nothing is converted or stretched.
const bench::Registrar registrar([] {
    for (const int depth : {8, 24, 32}) {
        const auto second = std::make_shared<bench::DibRef>();
        bench::addEffect("compose_half", depth, [=](DibProgressCallback callback, DibStream* image) {
            if (*second == nullptr) *second = bench::dibOf(pb::img2(pb::W, pb::H, depth / 8));
            return DibEffectCompose(callback, nullptr, image, second->get(), 0.5F, 0);
        });
    }
});

}  // namespace
