#include "effects/Turn.h"

namespace {

// Turns each pixel about a point, by an angle in proportion to its distance.
struct Whirl {
    dib::TurnAbout turn;
    float twist;

    DIB_ALWAYS_INLINE void operator()(const dib::WarpRow& row) const {
        turn.angles(row, [this](float radius) { return radius * twist; });
        turn.positions(row);
    }
};

}  // namespace

bool DibEffectWhirl(DibProgressCallback callback, void* user, DibStream* image, float centerX, float centerY,
                    float twist, unsigned int flags) {
    if (image == nullptr) return false;
    if (twist == 0.0F) return true;
    return dib::warpImage({callback, user}, image, flags, Whirl{{centerX, centerY}, twist});
}

bool DibEffectWhirl(DibProgressCallback callback, void* user, DibStream* image, DEWhirlInfo* info) {
    return DibEffectWhirl(callback, user, image, info->centerX, info->centerY, info->twist, info->flags);
}
