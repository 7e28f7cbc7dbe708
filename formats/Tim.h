// TIM on an open file, and the functions of the format's row.
#ifndef FORMATS_TIM_H
#define FORMATS_TIM_H

#include <DibCodec.h>

#include <cstdio>

#include "formats/ByteWriter.h"
#include "formats/door/Request.h"

DIB_LOCAL bool LoadTIM(std::FILE* file, DibStream* image, DibProgressCallback callback, void* user);
DIB_LOCAL void SaveTIM(std::FILE* file, DibStream* image, DibProgressCallback callback, void* user);

namespace formats {

// The classic saver.
bool saveTimWhole(ByteWriter& file, DibStream* image, DibProgressCallback callback, void* user);
bool probeTim(ProbeRequest& request);
bool readTim(ReadRequest& request);
bool findTimLosses(LossRequest& request);
bool writeTim(WriteRequest& request);

}  // namespace formats

#endif
