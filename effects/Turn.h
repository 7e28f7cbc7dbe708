// For effects that turn each pixel about a point, by an angle that depends on its distance.
#ifndef EFFECTS_TURN_H
#define EFFECTS_TURN_H

#include <cmath>

#include "effects/SinCos.h"
#include "effects/WarpFrame.h"

namespace dib {

struct TurnAbout {
    float centerX;
    float centerY;

    // Stores `angleOf(distance from the centre)` of each pixel in sourceX.
    template <class AngleOf>
    DIB_ALWAYS_INLINE void angles(const WarpRow& row, const AngleOf& angleOf) const {
        const float dy = row.y - centerY;
        const float dySquared = dy * dy;
        for (int x = 0; x < row.width; ++x) {
            const float dx = positionOf(x) - centerX;
            row.sourceX[x] = angleOf(std::sqrt(dx * dx + dySquared));
        }
    }

    // Replaces the angles in sourceX by the turned positions.
    DIB_ALWAYS_INLINE void positions(const WarpRow& row) const {
        for (int x = 0; x < row.width; ++x) {
            const SinCos turn = sinCos(row.sourceX[x]);
            row.sourceX[x] = turn.sine;
            row.sourceY[x] = turn.cosine;
        }
        const float dy = row.y - centerY;
        for (int x = 0; x < row.width; ++x) {
            const float dx = positionOf(x) - centerX;
            const float sine = row.sourceX[x];
            const float cosine = row.sourceY[x];
            row.sourceX[x] = (dx * cosine - dy * sine) + centerX;
            row.sourceY[x] = (cosine * dy + dx * sine) + centerY;
        }
    }
};

}  // namespace dib

#endif
