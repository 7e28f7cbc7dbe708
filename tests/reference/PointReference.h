// Noise, diffuse and the tone curves as plain loops, by the rules of EffectReference.h.
#ifndef TESTS_REFERENCE_POINT_REFERENCE_H
#define TESTS_REFERENCE_POINT_REFERENCE_H

#include <DibStream.h>

namespace reference {

bool noise(DibStream& image, int amount);
bool colorNoise(DibStream& image, DibBGRA color, float strength);
bool diffuse(DibStream& image, int radius, unsigned int flags);
bool gammaCorrect(DibStream& image, int low, int high, float gamma);
bool contrast(DibStream& image, float brightness, float contrast);

}  // namespace reference

#endif
