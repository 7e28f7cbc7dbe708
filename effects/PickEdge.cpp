// Edge detection: each channel becomes the length of its gradient.
#include <cmath>

#include "effects/CrossRows.h"

namespace {

struct Gradient {
    static DIB_ALWAYS_INLINE unsigned char channel(const dib::Cross& c) {
        const int dx = c.left - c.right;
        const int dy = c.above - c.below;
        // Up to 2 x 255^2 the root in single precision never rounds up to the next whole number.
        const auto length = static_cast<int>(std::sqrt(static_cast<float>(dx * dx + dy * dy)));
        // Lengths of 256 to 360 wrap to 0 to 104, which callers use to recognise strong corners.
        return static_cast<unsigned char>(length);
    }
};

}  // namespace

bool DibEffectPickEdge(DibProgressCallback callback, void* user, DibStream* image, unsigned int flags) {
    return dib::filterCross<Gradient>({callback, user}, image, flags);
}

bool DibEffectPickEdge(DibProgressCallback callback, void* user, DibStream* image, DEPickEdgeInfo* info) {
    return DibEffectPickEdge(callback, user, image, info->flags);
}
