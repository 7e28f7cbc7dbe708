// Ripple and wave: shifts by the sine of the distance from a point or a line.
#include <cmath>

#include "effects/Turn.h"

namespace {

constexpr float kTwoPi = 6.2831855F;

// Replaces each phase in sourceX by its sine times the amplitude.
DIB_ALWAYS_INLINE void swing(const dib::WarpRow& row, float amplitude) {
    for (int x = 0; x < row.width; ++x) row.sourceX[x] = ::sinf(row.sourceX[x]) * amplitude;
}

// Turns each pixel about a point, by the sine of its distance.
struct Ripple {
    dib::TurnAbout turn;
    float wavelength;
    float amplitude;
    float phase;

    DIB_ALWAYS_INLINE void operator()(const dib::WarpRow& row) const {
        turn.angles(row, [this](float radius) { return (radius / wavelength) * kTwoPi + phase; });
        swing(row, amplitude);
        turn.positions(row);
    }
};

// Shifts each pixel across the direction, by the sine of its distance along it.
struct Wave {
    float wavelength;
    float amplitude;
    float phase;
    float sine;
    float cosine;

    // Signed distance from the line that crosses the direction in the middle of the picture: positive before
    // that line, negative after it. On the line along the direction (side = 0) it is positive on both sides.
    // Callers rely on these values, so the arithmetic must not be simplified.
    DIB_ALWAYS_INLINE float distance(float dx, float dy, float cosineDy, float dySquared) const {
        const float across = sine * dx - cosineDy;
        const float squared = (dx * dx + dySquared) - across * across;
        const float length = squared > 0.0F ? std::sqrt(squared) : 0.0F;
        const float t = std::fabs(across);
        const float side = (t * cosine - dy) * (sine * t) - (dx + sine * t) * (t * cosine);
        return side < 0.0F ? -length : length;
    }

    DIB_ALWAYS_INLINE void operator()(const dib::WarpRow& row) const {
        const float centerX = dib::middleOf(row.width);
        const float dy = row.y - dib::middleOf(row.height);
        const float cosineDy = cosine * dy;
        const float dySquared = dy * dy;
        for (int x = 0; x < row.width; ++x) {
            const float d = distance(dib::positionOf(x) - centerX, dy, cosineDy, dySquared);
            row.sourceX[x] = (d / wavelength) * kTwoPi + phase;
        }
        swing(row, amplitude);
        for (int x = 0; x < row.width; ++x) {
            const float shift = row.sourceX[x];
            row.sourceX[x] = dib::positionOf(x) - sine * shift;
            row.sourceY[x] = shift * cosine + row.y;
        }
    }
};

}  // namespace

bool DibEffectRipple(DibProgressCallback callback, void* user, DibStream* image, float centerX, float centerY,
                     float wavelength, float amplitude, float phase, unsigned int flags) {
    if (image == nullptr || wavelength == 0.0F) return false;
    if (amplitude == 0.0F) return true;
    return dib::warpImage({callback, user}, image, flags,
                          Ripple{{centerX, centerY}, wavelength, amplitude, phase});
}

bool DibEffectRipple(DibProgressCallback callback, void* user, DibStream* image, DERippleInfo* info) {
    return DibEffectRipple(callback, user, image, info->centerX, info->centerY, info->wavelength,
                           info->amplitude, info->phase, info->flags);
}

bool DibEffectWave(DibProgressCallback callback, void* user, DibStream* image, float wavelength,
                   float amplitude, float phase, float direction, unsigned int flags) {
    if (image == nullptr || wavelength == 0.0F) return false;
    if (amplitude == 0.0F) return true;
    const dib::SinCos heading = dib::sinCos(direction);
    return dib::warpImage({callback, user}, image, flags,
                          Wave{wavelength, amplitude, phase, heading.sine, heading.cosine});
}

bool DibEffectWave(DibProgressCallback callback, void* user, DibStream* image, DEWaveInfo* info) {
    return DibEffectWave(callback, user, image, info->wavelength, info->amplitude, info->phase,
                         info->direction, info->flags);
}
