#include <DibStream.h>
#include <dlfcn.h>

#include "dib/Private.h"
#include "formats/Codec.h"
#include "formats/Missing.h"
