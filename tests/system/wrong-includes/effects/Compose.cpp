#include <DibCodec.h>
#include <DibStream.h>

#include "dib/Private.h"
