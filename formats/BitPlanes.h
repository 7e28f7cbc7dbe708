// Rows kept as planes. A bit plane holds one bit of every pixel, the leftmost in the top bit; a plane of
// bytes holds one colour of every pixel.
#ifndef FORMATS_BIT_PLANES_H
#define FORMATS_BIT_PLANES_H

#include <cstddef>
#include <span>

namespace formats {

// Planes are handled eight at a time.
constexpr int kPlaneGroup = 8;

// Turns eight planes, `stride` bytes apart, into a byte per pixel, plane k into bit k, for 8 x `groups`
// pixels.
void planesToBytes(const unsigned char* planes, std::size_t stride, unsigned char* pixels,
                   std::size_t groups);

// The reverse.
void bytesToPlanes(const unsigned char* pixels, std::size_t groups, unsigned char* planes,
                   std::size_t stride);

// Planes of a byte per pixel, red, green, blue and, when there are four, alpha, become pixels of 3 or 4
// bytes: blue, green, red, alpha.
void joinColors(std::span<const unsigned char* const> planes, unsigned char* pixels, std::size_t count);

// The reverse, into three planes that are `stride` bytes apart.
void splitColors(const unsigned char* pixels, std::size_t count, unsigned char* planes, std::size_t stride);

}  // namespace formats

#endif
