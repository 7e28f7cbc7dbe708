// What the header of a DDS file says of its first picture.
#ifndef FORMATS_DIAGNOSIS_DDS_HEADER_H
#define FORMATS_DIAGNOSIS_DDS_HEADER_H

#include <string>

#include "formats/diagnosis/RefusedFile.h"

namespace formats {

struct DdsHeader {
    std::int64_t width = 0;
    std::int64_t height = 0;
    std::string pixelFormat;       // as it is named in reasons
    int bitsPerPixel = 0;          // in the file; 0 for a format that is not read
    const char* packing = "none";  // "bc1" to "bc7" for blocks
    bool isGrey = false;
    bool hasAlpha = false;
};

// The file must have the 128 bytes of a header.
DdsHeader readDdsHeader(const RefusedFile& file);

}  // namespace formats

#endif
