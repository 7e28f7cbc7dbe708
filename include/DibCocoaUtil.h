/// @file
/// The bridge between images and the platform's own decoders and encoders, on which `LoadJPEG`, `LoadTIFF`,
/// `LoadPNG` and their savers rest (DibCodec.h). Applications use those; this header serves callers that hold
/// a `VexString`, or a file type as a number.
#ifndef DIBSTREAM_DIBCOCOAUTIL_H
#define DIBSTREAM_DIBCOCOAUTIL_H

#include <DibStream.h>
#include <VexLibs.h>

#include <cstddef>

/// Image files through the platform's decoders and encoders.
namespace DibCocoaUtil {

/// Types of files that can be written.
enum DibCocoaFileType : int {
    DIB_COCOA_PNG = 0,   ///< PNG.
    DIB_COCOA_JPEG = 1,  ///< JPEG.
    DIB_COCOA_TIFF = 2,  ///< TIFF.
};

/// Loads a JPEG, TIFF or PNG file, whichever its content is; the same as `LoadPNG` (DibCodec.h).
DIB_EXPORT bool LoadImageFile(const VexString& path, DibStream* dib);

/// Saves a file of one of the three types; the same as `SavePNG`, `SaveJPEG` or `SaveTIFF` (DibCodec.h).
/// @return False also for any other type; no file is touched then.
DIB_EXPORT bool SaveImageFile(const VexString& path, DibStream* dib, DibCocoaFileType type);

/// Frees pixels that were lent to the platform, which calls this when it does not use them any more.
/// @param info Not used.
/// @param data A block from `malloc`, or null.
/// @param size Not used.
DIB_EXPORT void rawdata_free(void* info, const void* data, std::size_t size);

}  // namespace DibCocoaUtil

#endif
