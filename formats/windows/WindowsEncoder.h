// Pictures that the Windows Imaging Component encodes.
#ifndef FORMATS_WINDOWS_WINDOWS_ENCODER_H
#define FORMATS_WINDOWS_WINDOWS_ENCODER_H

#include <DibCocoaUtil.h>

#include <cstddef>

#include "formats/windows/Com.h"

namespace formats {

// Where the pixels come from.
class OutgoingRows {
public:
    virtual ~OutgoingRows() = default;
    // Row y from the top: blue, green, red and perhaps alpha bytes, valid until the next call. Null stops the
    // encoding.
    virtual const unsigned char* row(std::size_t y) = 0;
};

struct Encoding {
    DibCocoaUtil::DibCocoaFileType type = DibCocoaUtil::DIB_COCOA_PNG;
    std::size_t width = 0;
    std::size_t height = 0;
    bool hasAlpha = true;  // JPEG files never have
    float quality = 0.9F;  // of JPEG files, up to 1
    WICTiffCompressionOption packing = WICTiffCompressionNone;
    double xResolution = 0;  // pixels per inch; 0 leaves what the encoder writes
    double yResolution = 0;
};

// The file in memory; null when it cannot be made. May throw std::bad_alloc.
ComPtr<IStream> encodeByImagingComponent(const Encoding& encoding, OutgoingRows& rows);

// Passes the bytes of such a file to `use(bytes, size)`, whose answer it returns.
template <class Use>
bool useBytes(IStream& file, const Use& use) {
    HGLOBAL block = nullptr;
    STATSTG status = {};
    if (FAILED(GetHGlobalFromStream(&file, &block)) || FAILED(file.Stat(&status, STATFLAG_NONAME)))
        return false;
    const void* bytes = GlobalLock(block);
    if (bytes == nullptr) return false;
    const bool answer = use(bytes, static_cast<std::size_t>(status.cbSize.QuadPart));
    GlobalUnlock(block);
    return answer;
}

}  // namespace formats

#endif
