// The planes of a picture of 8 bits per channel, row by row together: each pixel is written once and whole
// instead of once per channel.
#ifndef FORMATS_PSD_SIDE_BY_SIDE_H
#define FORMATS_PSD_SIDE_BY_SIDE_H

#include <DibStream.h>

#include <cstddef>
#include <cstdint>

#include "formats/psd/ImageData.h"

namespace formats::psd {

// Stores the rows of the first `channels` planes: 1 (into 8 bits), 3 (red, green, blue into 24 bits) or 4
// (with alpha into 32 bits). The bytes after each row become 0xFF. Stops at the first row that cannot be
// read or does not unpack, and returns how many rows are stored; none when the file or memory is too short
// for it. The reader stays at the first row of the first plane.
std::int64_t storeSideBySide(Reader& file, DibStream& image, std::size_t channels, const Planes& planes);

}  // namespace formats::psd

#endif
