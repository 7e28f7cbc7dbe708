#include <DibEffect.h>

#include "operations/Call.h"

namespace operations {

namespace {

constexpr const char* kArea = "Blur and sharpen";

constexpr Parameters kBlur({integer("radius", "pixels on each side", {0, kAnyInteger.max}, {}, "px"), wrap(),
                            classic()});

constexpr Parameters kLittle({wrap(), classic()});

constexpr Parameters kGaussian({number("radius", "three standard deviations; below 1 changes nothing",
                                       {0, 255}, {}, "px"),
                                wrap(), classic()});

constexpr Treatment kMixesWords = {.classicDepths = depths({8, 16, 24, 32}), .alpha = Alpha::kWeights};
constexpr Treatment kMixesBytes = {.classicDepths = depths({8, 24, 32}), .alpha = Alpha::kWeights};

constexpr Operation kOperations[] = {
    {{"blur",
      kArea,
      "Takes the mean of a square around each pixel.",
      "blur:2,wrap=x",
      {"blur:2", "blur:8", "blur:24,wrap=xy"},
      kBlur,
      kAllDepths},
     "DibEffectBlur(nullptr, nullptr, &image, {radius}, {wrap})",
     Effect<int, unsigned int>::run<DibEffectBlur>,
     nullptr,
     kMixesWords},
    {{"soften",
      kArea,
      "Takes the mean of the four neighbours.",
      "soften",
      {"soften", "soften soften soften", "soften:wrap=xy"},
      kLittle,
      kAllDepths},
     "DibEffectBlurLittle(nullptr, nullptr, &image, {wrap})",
     Effect<unsigned int>::run<DibEffectBlurLittle>,
     nullptr,
     kMixesBytes},
    {{"sharpen",
      kArea,
      "Stresses each pixel against its four neighbours.",
      "sharpen",
      {"sharpen", "sharpen sharpen", "sharpen:wrap=xy"},
      kLittle,
      kAllDepths},
     "DibEffectSharpLittle(nullptr, nullptr, &image, {wrap})",
     Effect<unsigned int>::run<DibEffectSharpLittle>,
     nullptr,
     kMixesBytes},
    {{"gaussian",
      kArea,
      "Blurs with a Gaussian.",
      "gaussian:4.5",
      {"gaussian:4.5", "gaussian:12", "gaussian:36,wrap=xy"},
      kGaussian,
      kAllDepths},
     "DibEffectGaussianBlur(nullptr, nullptr, &image, {radius}, {wrap})",
     Effect<float, unsigned int>::run<DibEffectGaussianBlur>,
     nullptr,
     kMixesBytes},
};

}  // namespace

Area blurOps() { return kOperations; }

}  // namespace operations
