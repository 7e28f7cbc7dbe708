#include <DibEffect.h>

#include "operations/Call.h"
#include "operations/pixels/Gaussian.h"
#include "operations/pixels/Resample.h"

namespace operations {

namespace {

constexpr const char* kArea = "Blur and sharpen";

// The sums of larger windows leave 31 bits.
constexpr double kLargestRadius = 1450;

constexpr Parameters kBlur({integer("radius", "pixels on each side", {0, kLargestRadius}, {}, "px"), wrap(),
                            classic()});

constexpr Parameters kLittle({wrap(), classic()});

constexpr Parameters kGaussian({number("radius", "three standard deviations; below 1 changes nothing",
                                       {0, 255}, {}, "px"),
                                wrap(), classic()});

bool wraps(const Job& job, std::uint32_t axis) { return (job.arguments.word("wrap") & axis) != 0; }

// The classic weights are cut to whole 65536ths: wide ones darken the picture.
bool runGaussian(const Job& job) {
    const float radius = job.arguments.number("radius");
    if (radius < 1) return true;
    return blurGaussian(
        job, {radius / 3.0, static_cast<int>(radius), wraps(job, DIB_WRAP_X), wraps(job, DIB_WRAP_Y)});
}

// Beyond the picture all pixels are those of its edge.
bool runWeightedBlur(const Job& job) {
    const int radius = job.arguments.integer("radius");
    constexpr int kWidest = 1 << 14;
    if (radius > kWidest) throw Refusal{DIB_ERROR_MISMATCH, "radius: at most 16384 for a picture with alpha"};
    return resample(job, boxTaps(width(job.image), radius, wraps(job, DIB_WRAP_X)),
                    boxTaps(height(job.image), radius, wraps(job, DIB_WRAP_Y)));
}

constexpr Treatment kMixesWords = {.classicDepths = depths({8, 16, 24, 32}),
                                   .alpha = Alpha::kWeights,
                                   .weighted = replacing(runWeightedBlur)};
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
      {"soften", "canvas:25% soften", "canvas:15% soften:wrap=xy"},
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
      {"sharpen", "canvas:25% sharpen", "canvas:15% sharpen:wrap=xy"},
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
     {.classicDepths = depths({8, 24, 32}), .right = replacing(runGaussian)}},
};

}  // namespace

Area blurOps() { return kOperations; }

}  // namespace operations
