// IFF ILBM on an open file and in memory.
#ifndef FORMATS_ILBM_H
#define FORMATS_ILBM_H

#include <DibCodec.h>

#include <cstdio>

#include "formats/Iff.h"

DIB_LOCAL bool LoadIFF(std::FILE* file, DibStream* image, DibProgressCallback callback, void* user);
// Builds the content of the FORM chunk. The callback is not called.
DIB_LOCAL bool SaveIFF(formats::iff_outstream& out, DibStream* image, DibProgressCallback callback,
                       void* user);

#endif
