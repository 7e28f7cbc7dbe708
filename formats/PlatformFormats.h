// What the rows of the platform's formats say on every system.
#ifndef FORMATS_PLATFORM_FORMATS_H
#define FORMATS_PLATFORM_FORMATS_H

#include "formats/Formats.h"

namespace formats::platform {

inline bool isPng(FirstBytes bytes) { return startsWith(bytes, "\x89PNG\r\n\x1A\n"); }
inline bool isJpeg(FirstBytes bytes) { return startsWith(bytes, "\xFF\xD8\xFF"); }
inline bool isTiff(FirstBytes bytes) {
    return startsWith(bytes, {"II*\0", 4}) || startsWith(bytes, {"MM\0*", 4}) ||
           startsWith(bytes, {"II+\0", 4}) || startsWith(bytes, {"MM\0+", 4});
}

inline constexpr const char* kPng[] = {"png", nullptr};
inline constexpr const char* kPngCompose[] = {"png", nullptr};
inline constexpr const char* kJpeg[] = {"jpg", "jpeg", nullptr};
inline constexpr const char* kJpegCompose[] = {"jpg", nullptr};
inline constexpr const char* kTiff[] = {"tif", "tiff", nullptr};
inline constexpr const char* kPngTypes[] = {"image/png", nullptr};
inline constexpr const char* kJpegTypes[] = {"image/jpeg", nullptr};
inline constexpr const char* kTiffTypes[] = {"image/tiff", nullptr};

}  // namespace formats::platform

#endif
