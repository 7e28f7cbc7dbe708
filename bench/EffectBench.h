// Registers effects. The timed calls work on one image again and again, the exactness check on a fresh one.
#ifndef BENCH_EFFECT_BENCH_H
#define BENCH_EFFECT_BENCH_H

#include <functional>
#include <string>

#include "bench/Bench.h"

namespace bench {

using Effect = std::function<bool(DibProgressCallback, DibStream*)>;

inline void addEffectAt(const std::string& op, int width, int height, int depth, const char* peer,
                        DibProgressCallback callback, const Effect& effect) {
    pb::add(op, width, height, depth, peer, "", [=] {
        const auto fresh = [=] { return dibOf(pb::img(width, height, depth / 8)); };
        const DibRef image = fresh();
        return pb::Op([=] { pb::need(effect(callback, image.get()), "the effect ran"); },
                      [=] {
                          const DibRef result = fresh();
                          effect(callback, result.get());
                          return outOf(*result);
                      });
    });
}

// The effect without a callback, and with one that does nothing.
inline void addEffect(const std::string& op, int depth, const Effect& effect, int width = pb::W,
                      int height = pb::H) {
    addEffectAt(op, width, height, depth, "ours", nullptr, effect);
    addEffectAt(
        op, width, height, depth, "ours.cb", [](float, void*) { return true; }, effect);
}

}  // namespace bench

#endif
