// The fixed filters of the four edge-adjacent neighbours: a light blur and a light sharpening.

#include <DibEffect.h>

#include "effects/CrossRows.h"

namespace {

// Without the pixel itself, unlike a 3 x 3 box.
struct Blur {
    static DIB_ALWAYS_INLINE unsigned char channel(const dib::Cross& c) {
        return static_cast<unsigned char>((c.above + c.left + c.right + c.below) >> 2);
    }
};

struct Sharpen {
    static DIB_ALWAYS_INLINE unsigned char channel(const dib::Cross& c) {
        const auto value = static_cast<short>(5 * c.center - c.above - c.left - c.right - c.below);
        return static_cast<unsigned char>(value < 0 ? 0 : value > 255 ? 255 : value);
    }
};

}  // namespace

bool DibEffectBlurLittle(DibProgressCallback callback, void* user, DibStream* image, unsigned int flags) {
    return dib::filterCross<Blur>({callback, user}, image, flags);
}

bool DibEffectSharpLittle(DibProgressCallback callback, void* user, DibStream* image, unsigned int flags) {
    return dib::filterCross<Sharpen>({callback, user}, image, flags);
}

bool DibEffectBlurLittle(DibProgressCallback callback, void* user, DibStream* image, DEBlurLittleInfo* info) {
    return DibEffectBlurLittle(callback, user, image, info->flags);
}

bool DibEffectSharpLittle(DibProgressCallback callback, void* user, DibStream* image,
                          DESharpLittleInfo* info) {
    return DibEffectSharpLittle(callback, user, image, info->flags);
}
