// PPM and PGM on an open file.
#ifndef FORMATS_PPM_H
#define FORMATS_PPM_H

#include <DibCodec.h>

#include <cstddef>
#include <cstdio>

DIB_LOCAL bool LoadPPM(std::FILE* file, DibStream* image, DibProgressCallback callback, void* user);
DIB_LOCAL bool SavePPM(std::FILE* file, DibStream* image, DibProgressCallback callback, void* user);

namespace formats {

// Reads a decimal number of an ASCII file: 1 when there was one, 0 otherwise. Everything before its digits is
// skipped, and the character that ends it is consumed.
int readInt(std::FILE* file, int& value);

// Exchanges the first and the last byte of every pixel of three bytes.
void swapRedBlue(const unsigned char* from, unsigned char* to, std::size_t pixels);

}  // namespace formats

#endif
