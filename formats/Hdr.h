// Radiance HDR on an open file.
#ifndef FORMATS_HDR_H
#define FORMATS_HDR_H

#include <DibCodec.h>

#include <cstdio>

DIB_LOCAL bool LoadHDR(std::FILE* file, DibStream* image, DibProgressCallback callback, void* user);

namespace formats {

// The byte of a mantissa with an exponent: the value raised to 1 / 2.2, scaled to 255 and clamped.
unsigned char hdrByte(unsigned char mantissa, unsigned char exponent);

}  // namespace formats

#endif
