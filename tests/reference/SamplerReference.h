// The colour samplers as plain arithmetic per channel, every case spelled out.
#ifndef TESTS_REFERENCE_SAMPLER_REFERENCE_H
#define TESTS_REFERENCE_SAMPLER_REFERENCE_H

#include <DibStream.h>

#include <cstdint>

namespace reference {

// What DibGetColor1 to DibGetColor32 give for the depth of the image.
std::uint32_t colorAt(DibStream& image, float x, float y, unsigned int flags);

// The same by plain arithmetic, for any coordinates and an image with at least one pixel.
std::uint32_t sampleColor(DibStream& image, float x, float y, unsigned int flags);

}  // namespace reference

#endif
