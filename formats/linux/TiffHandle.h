// Files of libtiff on a reader or a writer.
#ifndef FORMATS_LINUX_TIFF_HANDLE_H
#define FORMATS_LINUX_TIFF_HANDLE_H

#include <tiffio.h>

#include <memory>

#include "formats/ByteReader.h"
#include "formats/ByteWriter.h"

namespace formats {

struct CloseTiff {
    void operator()(TIFF* tiff) const { TIFFClose(tiff); }
};
using TiffPtr = std::unique_ptr<TIFF, CloseTiff>;

// A file as the library reads it.
struct TiffSource {
    ByteReader& file;
    bool isContinued;       // by bytes of 0 where it ends early, so that what came is decoded
    bool hasEnded = false;  // and the library read beyond its end
};

// Both must outlive the result, which is null when the library refuses the file or memory is short.
TiffPtr readTiff(TiffSource& source);
TiffPtr writeTiffTo(ByteWriter& file);

// Pictures in a file, by the chain of its directories; as many as 65536 are counted.
int countTiffPages(ByteReader& file);

}  // namespace formats

#endif
