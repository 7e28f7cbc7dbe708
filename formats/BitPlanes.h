// Pixels kept as bit planes: a plane holds one bit of every pixel of a row, the leftmost in the top bit.
#ifndef FORMATS_BIT_PLANES_H
#define FORMATS_BIT_PLANES_H

#include <cstddef>

namespace formats {

// Planes are handled eight at a time.
constexpr int kPlaneGroup = 8;

// Turns eight planes, `stride` bytes apart, into a byte per pixel, plane k into bit k, for 8 x `groups` pixels.
void planesToBytes(const unsigned char* planes, std::size_t stride, unsigned char* pixels,
                   std::size_t groups);

// The reverse.
void bytesToPlanes(const unsigned char* pixels, std::size_t groups, unsigned char* planes,
                   std::size_t stride);

// Three channels of a byte per pixel, `stride` bytes apart, become pixels of three bytes, the last channel first.
void joinChannels(const unsigned char* channels, std::size_t stride, unsigned char* pixels,
                  std::size_t count);

// The reverse.
void splitChannels(const unsigned char* pixels, std::size_t count, unsigned char* channels,
                   std::size_t stride);

}  // namespace formats

#endif
