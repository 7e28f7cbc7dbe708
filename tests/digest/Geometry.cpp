// Sizes, positions, tone and the colours between pixels.
#include <DibColor.h>

#include "tests/digest/Digest.h"

namespace digest {

namespace {

struct Row {
    const char* name;
    bool (*method)(DibStream* image);
};

const Row kRows[] = {
    {"half", [](DibStream* image) { return image->ResizeHalf(); }},
    {"bilinear 29x31", [](DibStream* image) { return image->ResizeBilinear(29, 31); }},
    {"bilinear 100x3", [](DibStream* image) { return image->ResizeBilinear(100, 3); }},
    {"integral 29x31", [](DibStream* image) { return image->ResizeIntegral(29, 31); }},
    {"integral 5x2", [](DibStream* image) { return image->ResizeIntegral(5, 2); }},
    {"resize 32x24 bilinear",
     [](DibStream* image) { return image->Resize(32, 24, DibStream::DIB_RESIZE_BILINEAR); }},
    {"resize 70x50 integral",
     [](DibStream* image) { return image->Resize(70, 50, DibStream::DIB_RESIZE_INTEGRAL); }},
    {"canvas 20x20", [](DibStream* image) { return image->ChangeSize(20, 20, 0x5AC317E9U); }},
    {"canvas 71x-3", [](DibStream* image) { return image->ChangeSize(71, -3, 1); }},
    {"crop 1,0 2x1", [](DibStream* image) { return image->ClipCut(1, 0, 2, 1); }},
    {"crop 5,2 11x3", [](DibStream* image) { return image->ClipCut(5, 2, 11, 3); }},
    {"scroll 3,-2", [](DibStream* image) { return image->Scroll(3, -2); }},
    {"scroll -13,100", [](DibStream* image) { return image->Scroll(-13, 100); }},
    {"top-down", [](DibStream* image) { return image->UpDown(true); }},
    {"bottom-up", [](DibStream* image) { return image->UpDown(false); }},
    {"invert", [](DibStream* image) { return image->InvertTone(); }},
    {"brighten 0.4", [](DibStream* image) { return image->Brighten(0.4F); }},
    {"brighten 1.7", [](DibStream* image) { return image->Brighten(1.7F); }},
};

using Sampler = std::uint32_t (*)(DibStream*, float, float, unsigned int);

Sampler samplerOf(int bitCount) {
    switch (bitCount) {
        case 1: return DibGetColor1;
        case 4: return DibGetColor4;
        case 8: return DibGetColor8;
        case 16: return DibGetColor16;
        case 24: return DibGetColor24;
        default: return DibGetColor32;
    }
}

void printSampler(const Kind& kind, unsigned int flags) {
    Hash hash;
    const DibPtr image = picture(kind, 17, 5);
    testing_support::Random random(7);
    for (int i = 0; i < 2000; ++i) {
        const float x = random.real(-20, 49);
        const float y = random.real(-11, 24);
        hash.number(samplerOf(kind.bitCount)(image.get(), x, y, flags));
    }
    line("sampler " + nameOf(kind) + " wrap=" + std::to_string(flags), "-", hash);
}

}  // namespace

void printGeometry() {
    for (const Row& row : kRows) {
        for (const Kind& kind : kKinds) {
            const Hash hash = runOnSizes(
                kind, [&](DibProgressCallback, void*, DibStream* image) { return row.method(image); });
            line(std::string("geometry ") + row.name + " " + nameOf(kind), "-", hash);
        }
    }
    for (const Kind& kind : kKinds) {
        for (unsigned int flags = 0; flags < 4; ++flags) printSampler(kind, flags);
    }
}

}  // namespace digest
