// What the header of an EXR file says of its first part.
#ifndef FORMATS_DIAGNOSIS_EXR_HEADER_H
#define FORMATS_DIAGNOSIS_EXR_HEADER_H

#include <cstdint>
#include <string>
#include <vector>

#include "formats/diagnosis/RefusedFile.h"

namespace formats {

struct ExrHeader {
    std::int64_t width = INT64_MIN;  // of the data window
    std::int64_t height = INT64_MIN;
    std::vector<std::string> channels;
    int sampleBits = 0;  // of a pixel over all channels
    const char* compression = "";
    double pixelsPerInch = 0;  // from left to right
    double pixelAspect = 1;    // width of a pixel by its height

    bool hasWindow() const { return width != INT64_MIN; }
    bool has(const std::string& channel) const;
};

// False when the file ends before the header does; `header` then has what came.
bool readExrHeader(const RefusedFile& file, ExrHeader& header);

}  // namespace formats

#endif
