// Reading single bytes, as this system does it fastest.
#ifndef DIB_NEXT_BYTE_H
#define DIB_NEXT_BYTE_H

#if defined(_WIN32)
#include "dib/windows/NextByte.h"
#else
#include "dib/posix/NextByte.h"
#endif

#endif
