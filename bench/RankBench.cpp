#include <DibEffect.h>

#include "bench/Bench.h"

namespace {

using Effect = bool (*)(DibProgressCallback, void*, DibStream*, int, unsigned int);

void addRank(const char* name, Effect effect, int radius) {
    for (const int channels : {1, 3, 4}) {
        pb::add(name + std::string("_r") + std::to_string(radius), pb::W, pb::H, channels * 8, "ours",
                "clone included", [=] {
                    const bench::DibRef source = bench::dibOf(pb::img(pb::W, pb::H, channels));
                    if (channels == 1) source->SetMonoPalette();
                    auto result = std::make_shared<bench::DibRef>();
                    return pb::Op(
                        [=] {
                            *result = bench::adopt(source->Clone());
                            pb::need(effect(nullptr, nullptr, result->get(), radius, 0), "refused");
                        },
                        [=] { return bench::outOf(**result); });
                });
    }
}

const bench::Registrar registrar([] {
    for (const int radius : {1, 5, 50}) {
        addRank("max", DibEffectBrightMax, radius);
        addRank("min", DibEffectBrightMin, radius);
    }
    for (const int radius : {1, 3, 5, 10}) addRank("median", DibEffectBrightMiddle, radius);
});

}  // namespace
