// TGA on an open file, and its functions for the table of formats.
#ifndef FORMATS_TGA_H
#define FORMATS_TGA_H

#include <DibCodec.h>

#include <cstdio>

#include "formats/Formats.h"

DIB_LOCAL bool LoadTGA(std::FILE* file, DibStream* image, DibProgressCallback callback, void* user);
DIB_LOCAL bool SaveTGA(std::FILE* file, DibStream* image, DibProgressCallback callback, void* user);

namespace formats {

bool resemblesTga(FirstBytes bytes);
bool probeTga(ProbeRequest& request);
bool readTga(ReadRequest& request);
bool findTgaLosses(LossRequest& request);
bool writeTga(WriteRequest& request);

}  // namespace formats

#endif
