// TIM on an open file.
#ifndef FORMATS_TIM_H
#define FORMATS_TIM_H

#include <DibCodec.h>

#include <cstdio>

DIB_LOCAL bool LoadTIM(std::FILE* file, DibStream* image, DibProgressCallback callback, void* user);
DIB_LOCAL void SaveTIM(std::FILE* file, DibStream* image, DibProgressCallback callback, void* user);

#endif
