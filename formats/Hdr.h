// Radiance HDR on an open file.
#ifndef FORMATS_HDR_H
#define FORMATS_HDR_H

#include <DibCodec.h>

#include <cstdio>

DIB_LOCAL bool LoadHDR(std::FILE* file, DibStream* image, DibProgressCallback callback, void* user);

#endif
