// IFF ILBM on an open file and in memory.
#ifndef FORMATS_ILBM_H
#define FORMATS_ILBM_H

#include <DibCodec.h>

#include <cstdio>

#include "formats/ByteWriter.h"
#include "formats/Iff.h"
#include "formats/door/Request.h"

DIB_LOCAL bool LoadIFF(std::FILE* file, DibStream* image, DibProgressCallback callback, void* user);
// Builds the content of the FORM chunk. The callback is not called.
DIB_LOCAL bool SaveIFF(formats::iff_outstream& out, DibStream* image, DibProgressCallback callback,
                       void* user);

namespace formats {

// The classic saver on a file, and the parts of the format's row that write.
bool saveIlbmWhole(ByteWriter& file, DibStream* image, DibProgressCallback callback, void* user);
bool noteIlbmLosses(LossRequest& request);
bool writeIlbm(WriteRequest& request);

}  // namespace formats

#endif
