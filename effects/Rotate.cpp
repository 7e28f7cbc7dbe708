#include "effects/SinCos.h"
#include "effects/WarpFrame.h"

namespace {

// Turns the picture about its middle.
struct Rotation {
    float sine;
    float cosine;

    DIB_ALWAYS_INLINE void operator()(const dib::WarpRow& row) const {
        const float centerX = dib::middleOf(row.width);
        const float centerY = dib::middleOf(row.height);
        const float dy = row.y - centerY;
        const float sineDy = sine * dy;
        const float cosineDy = dy * cosine;
        for (int x = 0; x < row.width; ++x) {
            const float dx = dib::positionOf(x) - centerX;
            row.sourceX[x] = (cosine * dx - sineDy) + centerX;
            row.sourceY[x] = (dx * sine + cosineDy) + centerY;
        }
    }
};

}  // namespace

bool DibEffectRotate(DibProgressCallback callback, void* user, DibStream* image, float angle,
                     unsigned int flags) {
    if (image == nullptr) return false;
    if (angle == 0.0F) return true;
    const dib::SinCos turn = dib::sinCos(angle);
    return dib::warpImage({callback, user}, image, flags, Rotation{turn.sine, turn.cosine});
}

bool DibEffectRotate(DibProgressCallback callback, void* user, DibStream* image, DERotateInfo* info) {
    return DibEffectRotate(callback, user, image, info->angle, info->flags);
}
