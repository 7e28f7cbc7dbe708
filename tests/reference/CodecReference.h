// Pixels of files unpacked one at a time, as the formats describe them: what the codecs' fast loops must
// equal.
#ifndef TESTS_REFERENCE_CODEC_REFERENCE_H
#define TESTS_REFERENCE_CODEC_REFERENCE_H

#include <DibStream.h>

#include <cstddef>
#include <vector>

namespace reference {

// TGA packets into a bottom-up image of 8, 16, 24 or 32 bits; false when they end before the last pixel.
bool decodeTgaPackets(const std::vector<unsigned char>& packets, bool topRowFirst, DibStream& image);

// One row of `planeCount` ILBM planes into row y of an image of the depth that belongs to that count.
void storeIlbmRow(const unsigned char* planes, int planeCount, DibStream& image, int y);

// The planes of row y of an image of 1, 4, 8 or 24 bits.
std::vector<unsigned char> ilbmPlanes(DibStream& image, int y);

// The byte that a Radiance mantissa becomes with its exponent.
unsigned char hdrByte(unsigned char mantissa, unsigned char exponent);

}  // namespace reference

#endif
