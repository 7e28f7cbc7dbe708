// Pictures that the Windows Imaging Component decodes.
#ifndef FORMATS_WINDOWS_WINDOWS_DECODER_H
#define FORMATS_WINDOWS_WINDOWS_DECODER_H

#include <memory>

#include "formats/PlatformImages.h"

namespace formats {

// Null when the file cannot be opened or is of no known kind.
std::unique_ptr<BitmapDecoder> openByImagingComponent(const char* path);

}  // namespace formats

#endif
