// A float and the 32 bits that store it. The conversion is the compiler's: some libraries lack std::bit_cast.
#ifndef DIB_FLOAT_BITS_H
#define DIB_FLOAT_BITS_H

#include <cstdint>

namespace dib {

constexpr float floatOfBits(std::uint32_t bits) { return __builtin_bit_cast(float, bits); }
constexpr std::uint32_t bitsOfFloat(float number) { return __builtin_bit_cast(std::uint32_t, number); }

}  // namespace dib

#endif
