// The conversions that the compilers do not turn into byte shuffles well enough, by hand for AVX2. Against
// the plain loops of PixelKernels.h (and of the formats), which remain their definition, they take 0.7
// (widening), 0.6 (grey) and 0.5 (exchange of red and blue) of the time.
//
// Each is the vector part of a loop, to be called by `runVectors`, and touches no byte beyond the last pixel.
#ifndef DIB_PIXEL_SHUFFLES_H
#define DIB_PIXEL_SHUFFLES_H

#include <cstddef>
#include <cstdint>

#include "dib/Kernels.h"

namespace dib {

DIB_TARGET_AVX2 std::size_t shuffleBgrToBgra(const std::uint8_t* from, std::uint8_t* to, std::size_t count);
// The fourth byte is 0.
DIB_TARGET_AVX2 std::size_t shuffleBgrToWords(const std::uint8_t* from, std::uint32_t* to, std::size_t count);
DIB_TARGET_AVX2 std::size_t shuffleBgrToRgba(const std::uint8_t* from, std::uint8_t* to, std::size_t count);
DIB_TARGET_AVX2 std::size_t shuffleBgrToRgb(const std::uint8_t* from, std::uint8_t* to, std::size_t count);
template <std::size_t kBytes>
DIB_TARGET_AVX2 std::size_t shuffleToGrey(const std::uint8_t* from, std::uint8_t* to, std::size_t count);
// The shares of blue, green and red in a grey, in parts of 65536, which they add up to: at most 32767 of
// blue and of red.
struct GreyShares {
    std::uint32_t blue;
    std::uint32_t green;
    std::uint32_t red;
};
// Greys of 3-byte pixels by such shares, rounded: (sum + 32768) >> 16.
DIB_TARGET_AVX2 std::size_t shuffleAndWeigh(const std::uint8_t* from, std::uint8_t* to, std::size_t count,
                                            const GreyShares* shares);
// Each byte three times.
DIB_TARGET_AVX2 std::size_t shuffleGreyToBgr(const std::uint8_t* from, std::uint8_t* to, std::size_t count);
// Two rows change places while red and blue do; both may be the same row.
DIB_TARGET_AVX2 std::size_t shuffleAndExchange(std::uint8_t* first, std::uint8_t* second, std::size_t count);

}  // namespace dib

#endif
