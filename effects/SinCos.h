// Sine and cosine in single precision by the C library's joint function. All effects use it, so that an angle
// gives the same results everywhere.
#ifndef EFFECTS_SIN_COS_H
#define EFFECTS_SIN_COS_H

#include <cmath>

#include "dib/Kernels.h"

namespace dib {

struct SinCos {
    float sine;
    float cosine;
};

DIB_ALWAYS_INLINE SinCos sinCos(float angle) {
    SinCos result;
#if defined(__APPLE__)
    __sincosf(angle, &result.sine, &result.cosine);
#else
    ::sincosf(angle, &result.sine, &result.cosine);
#endif
    return result;
}

}  // namespace dib

#endif
