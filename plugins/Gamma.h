// Samples of linear light as bytes.
#ifndef PLUGINS_GAMMA_H
#define PLUGINS_GAMMA_H

#include <cstdint>

namespace plugins {

// floor(sample^0.45454543828964233 * 255 + 0.5) from 0 to 255; 0 for NaN and what is negative, 255 for
// infinity.
unsigned char gammaByte(float sample);

float floatOfHalf(std::uint16_t bits);

}  // namespace plugins

#endif
