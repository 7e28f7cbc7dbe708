// The blurs and the light sharpening as plain nested loops that look up every neighbour.
#ifndef TESTS_REFERENCE_BLUR_REFERENCE_H
#define TESTS_REFERENCE_BLUR_REFERENCE_H

#include <DibStream.h>

#include <cstdint>
#include <vector>

namespace reference {

bool blur(DibStream& image, int radius, unsigned int flags);
bool blurLittle(DibStream& image, unsigned int flags);
bool sharpLittle(DibStream& image, unsigned int flags);

// The weights of the Gaussian blur, row by row; empty when they total 0.
std::vector<std::int32_t> gaussianWeights(int half, float spread);
bool gaussianBlur(DibStream& image, float radius, unsigned int flags);

}  // namespace reference

#endif
