// TGA on an open file.
#ifndef FORMATS_TGA_H
#define FORMATS_TGA_H

#include <DibCodec.h>

#include <cstdio>

DIB_LOCAL bool LoadTGA(std::FILE* file, DibStream* image, DibProgressCallback callback, void* user);
DIB_LOCAL bool SaveTGA(std::FILE* file, DibStream* image, DibProgressCallback callback, void* user);

#endif
