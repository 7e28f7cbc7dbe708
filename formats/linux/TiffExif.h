// EXIF blocks in TIFF files: entries of the directory and directories of their own, instead of one block.
#ifndef FORMATS_LINUX_TIFF_EXIF_H
#define FORMATS_LINUX_TIFF_EXIF_H

#include <DibFile.h>
#include <tiffio.h>

#include "formats/ByteReader.h"
#include "formats/ByteWriter.h"
#include "formats/linux/TiffHandle.h"

namespace formats {

// The EXIF block of the directory that was read: what describes the picture, and directories of EXIF and GPS
// entries. Empty when there is none of these. False when the file has another layout, with offsets of 64
// bits.
// Throws std::bad_alloc.
bool readTiffExif(TIFF* tiff, ByteReader& file, DibBytes& block);

// Whether a tag describes the picture, and is part of the block therefore.
bool isOfTiffExif(std::uint32_t tag);

// Whether a block can be kept in a TIFF file: it has a directory.
bool isTiffExif(const DibBytes& block);
// The block that a TIFF file gets, with its directory after its header; empty when there is none to keep.
// False when memory is short; std::bad_alloc, too.
bool exifForTiff(const DibMetadata& metadata, DibBytes& block);
// Puts the block at the start of a file that the library has just begun, and what names its parts into the
// directory. The file has the order of bytes that the block has. Offsets within the
// block are offsets of the file then, those of camera makers' notes, too. Returns the most bytes that texts
// take after the directory.
std::size_t writeTiffExif(TiffTagSetter& tags, ByteWriter& file, const DibBytes& block);

}  // namespace formats

#endif
