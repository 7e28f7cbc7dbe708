// EXIF blocks: what files say about how and where a picture was taken, as a TIFF directory in memory. They
// are copied from file to file unchanged; only the entries that decide how a picture is shown are read.
#ifndef FORMATS_EXIF_H
#define FORMATS_EXIF_H

#include <DibFile.h>

#include <cstddef>
#include <span>

namespace formats {

// Longer blocks and profiles are left out.
constexpr std::size_t kMostMetadataBytes = std::size_t{1} << 24;

// Stores orientation and resolution of a block where it has them.
void applyExif(std::span<const unsigned char> block, DibMetadata& metadata);

// Exchanges the resolutions of a block that has those of columns and rows the other way round than the
// metadata, as a turned picture has.
void orderResolutions(DibBytes& block, const DibMetadata& metadata);

// Copies a block; false when memory is short.
bool copyBytes(std::span<const unsigned char> from, DibBytes& to);

// The block that a file gets: that of the metadata, with its orientation; a new one when there is none and
// the picture is not upright, or the file cannot keep that one. Empty when nothing needs to be said. False
// when memory is short.
bool exifForFile(const DibMetadata& metadata, DibBytes& block, bool keepsBlock = true);

}  // namespace formats

#endif
