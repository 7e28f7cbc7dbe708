// A random effect with random parameters on a random picture: at every kernel level the result and every byte
// of the picture must equal those of the plain loops. A new effect is a row of the table.
#include <DibEffect.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <memory>

#include "dib/ImageSize.h"
#include "dib/Kernels.h"
#include "fuzz/FuzzSupport.h"
#include "tests/reference/BlurReference.h"
#include "tests/reference/ComposeReference.h"
#include "tests/reference/EffectReference.h"
#include "tests/reference/LineReference.h"
#include "tests/reference/PointReference.h"
#include "tests/reference/RankReference.h"

namespace {

struct Parameters {
    float real[5];
    int whole;
    unsigned int flags;
};

struct EffectCase {
    bool (*run)(DibStream*, const Parameters&);
    bool (*reference)(DibStream&, const Parameters&);
};

// A length short enough for the plain loops.
int shortOf(const Parameters& p) { return p.whole % 32; }

// The plain loops go over the square around each pixel, or sort it, so large squares go with small pictures:
// no input takes them more than about three million samples.
int pixelsOf(const DibStream& image) { return image.Header->biWidth * std::abs(image.Header->biHeight); }
int radiusLimitOf(const DibStream& image) {
    return pixelsOf(image) <= 16 ? 100 : pixelsOf(image) <= 1024 ? 12 : 6;
}
int boxRadiusOf(const DibStream& image, const Parameters& p) { return p.whole % radiusLimitOf(image); }
float gaussianRadiusOf(const DibStream& image, const Parameters& p) {
    return std::fmod(p.real[0], static_cast<float>(radiusLimitOf(image)));
}
// Radii around 8, where the median changes its algorithm.
int rankRadiusOf(const Parameters& p) { return 1 + std::abs(shortOf(p)) % 9; }
int middleRadiusOf(const DibStream& image, const Parameters& p) {
    return pixelsOf(image) <= 256 ? rankRadiusOf(p) : 1 + std::abs(shortOf(p)) % 2;
}

// A picture of any depth and row order, derived from the parameters.
std::unique_ptr<DibStream> secondImage(const Parameters& p) {
    constexpr int kDepths[] = {1, 4, 8, 16, 24, 32};
    const auto bits = static_cast<std::uint32_t>(p.whole);
    const int height = 1 + static_cast<int>(bits / 64 % 40);
    auto image = std::make_unique<DibStream>();
    fuzz::require(image->Create(1 + static_cast<int>(bits % 64), bits % 2 == 0 ? height : -height,
                                kDepths[bits / 7 % std::size(kDepths)]),
                  "a small picture can be made");
    const std::size_t bytes = dib::admitSize(*image->Header).imageBytes;
    for (std::size_t i = 0; i < bytes; ++i) image->Buffer[i] = static_cast<unsigned char>(i * 37 + bits);
    return image;
}

const EffectCase kEffects[] = {
    {[](DibStream* image, const Parameters&) { return DibEffectReverse(nullptr, nullptr, image); },
     [](DibStream& image, const Parameters&) { return reference::reverse(image); }},
    {[](DibStream* image, const Parameters& p) { return DibEffectMozaic(nullptr, nullptr, image, p.whole); },
     [](DibStream& image, const Parameters& p) { return reference::mosaic(image, p.whole); }},
    {[](DibStream* image, const Parameters& p) {
         return DibEffectRotate(nullptr, nullptr, image, p.real[0], p.flags);
     },
     [](DibStream& image, const Parameters& p) { return reference::rotate(image, p.real[0], p.flags); }},
    {[](DibStream* image, const Parameters& p) {
         return DibEffectRipple(nullptr, nullptr, image, p.real[0], p.real[1], p.real[2], p.real[3],
                                p.real[4], p.flags);
     },
     [](DibStream& image, const Parameters& p) {
         return reference::ripple(image, p.real[0], p.real[1], p.real[2], p.real[3], p.real[4], p.flags);
     }},
    {[](DibStream* image, const Parameters& p) {
         return DibEffectWave(nullptr, nullptr, image, p.real[0], p.real[1], p.real[2], p.real[3], p.flags);
     },
     [](DibStream& image, const Parameters& p) {
         return reference::wave(image, p.real[0], p.real[1], p.real[2], p.real[3], p.flags);
     }},
    {[](DibStream* image, const Parameters& p) {
         return DibEffectWhirl(nullptr, nullptr, image, p.real[0], p.real[1], p.real[2], p.flags);
     },
     [](DibStream& image, const Parameters& p) {
         return reference::whirl(image, p.real[0], p.real[1], p.real[2], p.flags);
     }},
    {[](DibStream* image, const Parameters& p) {
         return DibEffectBlur(nullptr, nullptr, image, boxRadiusOf(*image, p), p.flags);
     },
     [](DibStream& image, const Parameters& p) {
         return reference::blur(image, boxRadiusOf(image, p), p.flags);
     }},
    {[](DibStream* image, const Parameters& p) {
         return DibEffectBlurLittle(nullptr, nullptr, image, p.flags);
     },
     [](DibStream& image, const Parameters& p) { return reference::blurLittle(image, p.flags); }},
    {[](DibStream* image, const Parameters& p) {
         return DibEffectSharpLittle(nullptr, nullptr, image, p.flags);
     },
     [](DibStream& image, const Parameters& p) { return reference::sharpLittle(image, p.flags); }},
    {[](DibStream* image, const Parameters& p) {
         return DibEffectGaussianBlur(nullptr, nullptr, image, gaussianRadiusOf(*image, p), p.flags);
     },
     [](DibStream& image, const Parameters& p) {
         return reference::gaussianBlur(image, gaussianRadiusOf(image, p), p.flags);
     }},
    {[](DibStream* image, const Parameters& p) {
         return DibEffectMotionBlur(nullptr, nullptr, image, shortOf(p), p.real[0], p.flags);
     },
     [](DibStream& image, const Parameters& p) {
         return reference::motionBlur(image, shortOf(p), p.real[0], p.flags);
     }},
    {[](DibStream* image, const Parameters& p) {
         return DibEffectEmboss(nullptr, nullptr, image, p.real[1], shortOf(p), p.real[0], p.flags);
     },
     [](DibStream& image, const Parameters& p) {
         return reference::emboss(image, p.real[1], shortOf(p), p.real[0], p.flags);
     }},
    {[](DibStream* image, const Parameters& p) {
         return DibEffectPickEdge(nullptr, nullptr, image, p.flags);
     },
     [](DibStream& image, const Parameters& p) { return reference::pickEdge(image, p.flags); }},
    {[](DibStream* image, const Parameters& p) {
         return DibEffectBrightMax(nullptr, nullptr, image, rankRadiusOf(p), p.flags);
     },
     [](DibStream& image, const Parameters& p) {
         reference::brightMax(image, rankRadiusOf(p), p.flags);
         return true;
     }},
    {[](DibStream* image, const Parameters& p) {
         return DibEffectBrightMin(nullptr, nullptr, image, rankRadiusOf(p), p.flags);
     },
     [](DibStream& image, const Parameters& p) {
         reference::brightMin(image, rankRadiusOf(p), p.flags);
         return true;
     }},
    {[](DibStream* image, const Parameters& p) {
         return DibEffectBrightMiddle(nullptr, nullptr, image, middleRadiusOf(*image, p), p.flags);
     },
     [](DibStream& image, const Parameters& p) {
         reference::brightMiddle(image, middleRadiusOf(image, p), p.flags);
         return true;
     }},
    {[](DibStream* image, const Parameters& p) {
         std::srand(p.flags);
         return DibEffectNoise(nullptr, nullptr, image, p.whole);
     },
     [](DibStream& image, const Parameters& p) {
         std::srand(p.flags);
         return reference::noise(image, p.whole);
     }},
    {[](DibStream* image, const Parameters& p) {
         std::srand(p.flags);
         return DibEffectColorNoise(nullptr, nullptr, image, DibBGRA{90, 20, 250, 7}, p.real[0]);
     },
     [](DibStream& image, const Parameters& p) {
         std::srand(p.flags);
         return reference::colorNoise(image, DibBGRA{90, 20, 250, 7}, p.real[0]);
     }},
    {[](DibStream* image, const Parameters& p) {
         std::srand(p.flags);
         return DibEffectDiffuse(nullptr, nullptr, image, p.whole, p.flags);
     },
     [](DibStream& image, const Parameters& p) {
         std::srand(p.flags);
         return reference::diffuse(image, p.whole, p.flags);
     }},
    {[](DibStream* image, const Parameters& p) {
         return DibEffectGammaCorrect(nullptr, nullptr, image, p.whole, static_cast<int>(p.flags), p.real[0]);
     },
     [](DibStream& image, const Parameters& p) {
         return reference::gammaCorrect(image, p.whole, static_cast<int>(p.flags), p.real[0]);
     }},
    {[](DibStream* image, const Parameters& p) {
         return DibEffectContrast(nullptr, nullptr, image, p.real[0], p.real[1]);
     },
     [](DibStream& image, const Parameters& p) { return reference::contrast(image, p.real[0], p.real[1]); }},
    {[](DibStream* image, const Parameters& p) {
         const std::unique_ptr<DibStream> second = secondImage(p);
         return DibEffectCompose(nullptr, nullptr, image, second.get(), p.real[0], p.flags);
     },
     [](DibStream& image, const Parameters& p) {
         return reference::compose(image, *secondImage(p), p.real[0], p.flags);
     }},
};

// Mostly numbers in the range of pictures and angles, sometimes any bit pattern.
Parameters parametersFrom(fuzz::Input& input) {
    Parameters parameters{};
    for (float& real : parameters.real) {
        const std::uint8_t kind = input.byte();
        real = kind < 32 ? input.anyFloat()
                         : static_cast<float>(input.below(1 << 16) - (1 << 15)) / static_cast<float>(kind);
    }
    const bool extreme = input.byte() < 32;
    parameters.whole = extreme ? static_cast<int>(input.word()) : input.below(40) - 2;
    parameters.flags = input.byte() < 200 ? input.word() & 3U : input.word();
    return parameters;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    const EffectCase& effect = kEffects[input.below(static_cast<int>(std::size(kEffects)))];
    const Parameters parameters = parametersFrom(input);
    DibStream image;
    fuzz::randomImage(input, image, 80);
    const std::unique_ptr<DibStream> expected(image.Clone());
    const bool result = effect.reference(*expected, parameters);
    for (const dib::KernelLevel level : dib::kKernelLevels) {
        dib::limitKernelLevel(level);
        const std::unique_ptr<DibStream> actual(image.Clone());
        fuzz::require(effect.run(actual.get(), parameters) == result,
                      "the result is that of the plain loops");
        fuzz::require(
            std::memcmp(actual->Buffer, expected->Buffer, dib::admitSize(*image.Header).imageBytes) == 0,
            "every byte is that of the plain loops");
    }
    return 0;
}
