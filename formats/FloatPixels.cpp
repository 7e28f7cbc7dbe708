#include "formats/FloatPixels.h"

#include <cstring>

#include "dib/LightCurve.h"

namespace formats {

void floatsToBgra(const unsigned char* from, unsigned char* to, std::size_t pixels) {
    const dib::LightCurve& curve = dib::lightCurve();
    for (std::size_t i = 0; i < pixels; ++i) {
        float sample[4];
        std::memcpy(sample, from + sizeof sample * i, sizeof sample);
        to[4 * i] = curve(sample[2]);
        to[4 * i + 1] = curve(sample[1]);
        to[4 * i + 2] = curve(sample[0]);
        to[4 * i + 3] = curve(sample[3]);
    }
}

}  // namespace formats
