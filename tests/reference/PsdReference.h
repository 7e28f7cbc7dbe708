// What a PSD document looks like in memory, sample by sample.
#ifndef TESTS_REFERENCE_PSD_REFERENCE_H
#define TESTS_REFERENCE_PSD_REFERENCE_H

#include <DibStream.h>

#include <vector>

namespace reference {

// The byte that a sample of a plane's row becomes.
unsigned char psdSample(int depth, const unsigned char* row, int x);

// Stores the planes, each with its channel id, into an image that was filled with 0xFF.
void storePsdPlanes(DibStream& image, int mode, int depth, const std::vector<int>& ids,
                    const std::vector<std::vector<unsigned char>>& planes);

// The byte of a color from 0 to `most` whose ink is divided by an alpha from 0 to `most`.
unsigned char withoutWhite(unsigned mixed, unsigned alpha, unsigned most);
// The byte of light by the curve of sRGB.
unsigned char srgbByte(float light);

}  // namespace reference

#endif
