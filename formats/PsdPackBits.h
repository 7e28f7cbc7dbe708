// PackBits, the run-length packing of PSD rows: a header byte n of 0 to 127 is followed by n + 1 bytes, one of
// -1 to -127 by a byte that stands 1 - n times, and -128 means nothing.
#ifndef FORMATS_PSD_PACK_BITS_H
#define FORMATS_PSD_PACK_BITS_H

#include <cstddef>

#include "formats/PackBits.h"
#include "formats/PsdReader.h"

namespace formats {

// Unpacks until `count` bytes are there or the file ends. Returns how many the packets asked for, which the
// last one may take beyond `count`; nothing is written there.
std::size_t unpackBits(PsdReader& reader, unsigned char* out, std::size_t count);

}  // namespace formats

#endif
