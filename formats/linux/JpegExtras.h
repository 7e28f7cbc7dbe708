// Comments and XMP packets of JPEG files, which are kept, and markers that are left out, which are noted.
#ifndef FORMATS_LINUX_JPEG_EXTRAS_H
#define FORMATS_LINUX_JPEG_EXTRAS_H

#include <DibFile.h>

#include "formats/Texts.h"
#include "formats/linux/JpegReports.h"

namespace formats {

// Makes the library keep these markers.
void watchJpegExtras(jpeg_decompress_struct& jpeg);
// May throw std::bad_alloc.
void keepJpegExtras(const jpeg_marker_struct* markers, DibFileResult& result);

// Whether a file can have the text, as a comment.
bool isJpegComment(const Text& text);
void writeJpegExtras(jpeg_compress_struct& jpeg, const DibMetadata& metadata);

}  // namespace formats

#endif
