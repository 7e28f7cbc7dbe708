// PPM and PGM on an open file.
#ifndef FORMATS_PPM_H
#define FORMATS_PPM_H

#include <DibCodec.h>

#include <cstdio>

#include "formats/ByteReader.h"

DIB_LOCAL bool LoadPPM(std::FILE* file, DibStream* image, DibProgressCallback callback, void* user);
DIB_LOCAL bool SavePPM(std::FILE* file, DibStream* image, DibProgressCallback callback, void* user);

namespace formats {

// Reads a decimal number of an ASCII file: 1 on success, 0 when there is none. Skips everything before the
// digits and consumes the character after them.
int readInt(ByteReader& file, int& value);

}  // namespace formats

#endif
