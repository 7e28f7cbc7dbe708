// Which format a file has.
#ifndef FORMATS_DOOR_DETECTION_H
#define FORMATS_DOOR_DETECTION_H

#include <DibFile.h>

#include "formats/Formats.h"

namespace formats {

// By the option, else by the first bytes, else by the extension of a name, which may be null; null when no
// format is like that.
const FileFormat* detectFormat(FirstBytes bytes, const char* path, const DibLoadOptions& options);
// Whether the options accept the format.
bool accepts(const DibLoadOptions& options, const FileFormat& format);

}  // namespace formats

#endif
