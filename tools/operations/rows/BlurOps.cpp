#include <DibEffect.h>

#include "tools/operations/Call.h"

namespace tool {

namespace {

constexpr Parameter kBlur[] = {integer("radius", "pixels on each side", {0, kAnyInteger.max}, {}, "px"),
                               wrap()};

constexpr Parameter kLittle[] = {wrap()};

constexpr Parameter kGaussian[] = {
    number("radius", "three standard deviations; below 1 changes nothing, above 255 counts as 255",
           {0, kAnyNumber.max}, {}, "px"),
    wrap()};

constexpr Operation kOperations[] = {
    {"blur",
     "Takes the mean of a square around each pixel; at 8, 16, 24 and 32 bits.",
     "blur:2,wrap=x",
     {"blur:2", "blur:8", "blur:24,wrap=xy"},
     kBlur,
     "DibEffectBlur(nullptr, nullptr, &image, {radius}, {wrap})",
     Effect<int, unsigned int>::run<DibEffectBlur>},
    {"soften",
     "Takes the mean of the four neighbours; at 8, 24 and 32 bits.",
     "soften",
     {"soften", "soften soften soften", "soften:wrap=xy"},
     kLittle,
     "DibEffectBlurLittle(nullptr, nullptr, &image, {wrap})",
     Effect<unsigned int>::run<DibEffectBlurLittle>},
    {"sharpen",
     "Stresses each pixel against its four neighbours; at 8, 24 and 32 bits.",
     "sharpen",
     {"sharpen", "sharpen sharpen", "sharpen:wrap=xy"},
     kLittle,
     "DibEffectSharpLittle(nullptr, nullptr, &image, {wrap})",
     Effect<unsigned int>::run<DibEffectSharpLittle>},
    {"gaussian",
     "Blurs with a Gaussian; at 8, 24 and 32 bits.",
     "gaussian:4.5",
     {"gaussian:4.5", "gaussian:12", "gaussian:36,wrap=xy"},
     kGaussian,
     "DibEffectGaussianBlur(nullptr, nullptr, &image, {radius}, {wrap})",
     Effect<float, unsigned int>::run<DibEffectGaussianBlur>},
};

}  // namespace

std::span<const Operation> blurOps() { return kOperations; }

}  // namespace tool
