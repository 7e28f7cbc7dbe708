#include <DibCodec.h>
#include <DibStream.h>
