#include <DibEffect.h>

#include "tools/operations/Operations.h"

namespace tool {

namespace {

constexpr Parameter kBlur[] = {integer("radius", "pixels on each side", {0, kAnyInteger.max}, {}, "px"),
                               wrap()};

bool runBlur(DibStream& image, const Arguments& arguments, DibProgressCallback callback, void* user) {
    return DibEffectBlur(callback, user, &image, arguments.integer("radius"), arguments.word("wrap"));
}

constexpr Parameter kLittle[] = {wrap()};

bool runSoften(DibStream& image, const Arguments& arguments, DibProgressCallback callback, void* user) {
    return DibEffectBlurLittle(callback, user, &image, arguments.word("wrap"));
}

bool runSharpen(DibStream& image, const Arguments& arguments, DibProgressCallback callback, void* user) {
    return DibEffectSharpLittle(callback, user, &image, arguments.word("wrap"));
}

constexpr Parameter kGaussian[] = {
    number("radius", "three standard deviations; below 1 changes nothing, above 255 counts as 255",
           {0, kAnyNumber.max}, {}, "px"),
    wrap()};

bool runGaussian(DibStream& image, const Arguments& arguments, DibProgressCallback callback, void* user) {
    return DibEffectGaussianBlur(callback, user, &image, arguments.number("radius"), arguments.word("wrap"));
}

constexpr Operation kOperations[] = {
    {"blur",
     "Takes the mean of a square around each pixel; at 8, 16, 24 and 32 bits.",
     "blur:2,wrap=x",
     {"blur:2", "blur:8", "blur:24,wrap=xy"},
     kBlur,
     "DibEffectBlur(nullptr, nullptr, &image, {radius}, {wrap})",
     runBlur},
    {"soften",
     "Takes the mean of the four neighbours; at 8, 24 and 32 bits.",
     "soften",
     {"soften", "soften soften soften", "soften:wrap=xy"},
     kLittle,
     "DibEffectBlurLittle(nullptr, nullptr, &image, {wrap})",
     runSoften},
    {"sharpen",
     "Stresses each pixel against its four neighbours; at 8, 24 and 32 bits.",
     "sharpen",
     {"sharpen", "sharpen sharpen", "sharpen:wrap=xy"},
     kLittle,
     "DibEffectSharpLittle(nullptr, nullptr, &image, {wrap})",
     runSharpen},
    {"gaussian",
     "Blurs with a Gaussian; at 8, 24 and 32 bits.",
     "gaussian:4.5",
     {"gaussian:4.5", "gaussian:12", "gaussian:36,wrap=xy"},
     kGaussian,
     "DibEffectGaussianBlur(nullptr, nullptr, &image, {radius}, {wrap})",
     runGaussian},
};

}  // namespace

std::span<const Operation> blurOps() { return kOperations; }

}  // namespace tool
