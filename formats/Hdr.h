// Radiance HDR on an open file.
#ifndef FORMATS_HDR_H
#define FORMATS_HDR_H

#include <DibCodec.h>

#include <cstdio>

DIB_LOCAL bool LoadHDR(std::FILE* file, DibStream* image, DibProgressCallback callback, void* user);

namespace formats {

// The byte that a mantissa becomes with its exponent: raised to 1 / 2.2 and cut to what a byte holds.
unsigned char hdrByte(unsigned char mantissa, unsigned char exponent);

}  // namespace formats

#endif
