#include <DibEffect.h>

#include "operations/Call.h"

namespace operations {

namespace {

constexpr const char* kArea = "Blur and sharpen";

constexpr Parameters kBlur({integer("radius", "pixels on each side", {0, kAnyInteger.max}, {}, "px"),
                            wrap()});

constexpr Parameters kLittle({wrap()});

constexpr Parameters kGaussian(
    {number("radius", "three standard deviations; below 1 changes nothing", {0, 255}, {}, "px"), wrap()});

constexpr Operation kOperations[] = {
    {{"blur",
      kArea,
      "Takes the mean of a square around each pixel; at 8, 16, 24 and 32 bits.",
      "blur:2,wrap=x",
      {"blur:2", "blur:8", "blur:24,wrap=xy"},
      kBlur,
      depths({8, 16, 24, 32})},
     "DibEffectBlur(nullptr, nullptr, &image, {radius}, {wrap})",
     Effect<int, unsigned int>::run<DibEffectBlur>},
    {{"soften",
      kArea,
      "Takes the mean of the four neighbours; at 8, 24 and 32 bits.",
      "soften",
      {"soften", "soften soften soften", "soften:wrap=xy"},
      kLittle,
      depths({8, 24, 32})},
     "DibEffectBlurLittle(nullptr, nullptr, &image, {wrap})",
     Effect<unsigned int>::run<DibEffectBlurLittle>},
    {{"sharpen",
      kArea,
      "Stresses each pixel against its four neighbours; at 8, 24 and 32 bits.",
      "sharpen",
      {"sharpen", "sharpen sharpen", "sharpen:wrap=xy"},
      kLittle,
      depths({8, 24, 32})},
     "DibEffectSharpLittle(nullptr, nullptr, &image, {wrap})",
     Effect<unsigned int>::run<DibEffectSharpLittle>},
    {{"gaussian",
      kArea,
      "Blurs with a Gaussian; at 8, 24 and 32 bits.",
      "gaussian:4.5",
      {"gaussian:4.5", "gaussian:12", "gaussian:36,wrap=xy"},
      kGaussian,
      depths({8, 24, 32})},
     "DibEffectGaussianBlur(nullptr, nullptr, &image, {radius}, {wrap})",
     Effect<float, unsigned int>::run<DibEffectGaussianBlur>},
};

}  // namespace

Area blurOps() { return kOperations; }

}  // namespace operations
