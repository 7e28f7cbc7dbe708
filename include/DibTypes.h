/// @file
/// The types of images: header, pixels, progress callback and error codes.
#ifndef DIBSTREAM_DIBTYPES_H
#define DIBSTREAM_DIBTYPES_H

#include <cstdint>

#if defined(_WIN32)
// The system has the same record, by the same name.
#if defined(_M_AMD64) && !defined(_AMD64_)
#define _AMD64_
#endif
#include <windef.h>

#include <wingdi.h>
#undef ERROR
#else
/// The standard 40-byte header of a device-independent bitmap. The colour table follows it in the header
/// block as 4-byte entries blue, green, red, reserved.
struct BITMAPINFOHEADER {
    std::uint32_t biSize;          ///< Bytes of the header; 40 in every header that the library makes.
    std::int32_t biWidth;          ///< Pixels per row.
    std::int32_t biHeight;         ///< Rows; negative when the top row is stored first.
    std::uint16_t biPlanes;        ///< 1.
    std::uint16_t biBitCount;      ///< Bits per pixel: 1, 4, 8, 16, 24 or 32.
    std::uint32_t biCompression;   ///< 0, or 3 after loading a BMP file with channel masks.
    std::uint32_t biSizeImage;     ///< Bytes of the pixel block; 0 means pitch times rows.
    std::int32_t biXPelsPerMeter;  ///< Horizontal resolution, not interpreted.
    std::int32_t biYPelsPerMeter;  ///< Vertical resolution, not interpreted.
    std::uint32_t biClrUsed;  ///< Entries of the colour table; 0 means 2^biBitCount up to 8 bits, else none.
    std::uint32_t biClrImportant;  ///< Not interpreted.
};
#endif
static_assert(sizeof(BITMAPINFOHEADER) == 40);

/// A pixel of 24 bits, bytes in memory order.
struct DibBGR {
    std::uint8_t blue;   ///< 0 to 255.
    std::uint8_t green;  ///< 0 to 255.
    std::uint8_t red;    ///< 0 to 255.
};
static_assert(sizeof(DibBGR) == 3);

/// A pixel of 32 bits or an entry of a colour table (whose alpha is reserved), bytes in memory order.
struct DibBGRA {
    std::uint8_t blue;   ///< 0 to 255.
    std::uint8_t green;  ///< 0 to 255.
    std::uint8_t red;    ///< 0 to 255.
    std::uint8_t alpha;  ///< 0 to 255; its meaning depends on the image.
};
static_assert(sizeof(DibBGRA) == 4);

/// Called with the fraction of the work that is done, from 0 to 1, and the caller's pointer; returning false
/// cancels the operation.
using DibProgressCallback = bool (*)(float, void*);

/// The codes held in `DibStream::ErrorCode`.
enum DibErrorCode : int {
    DIB_OK = 0,                 ///< No error.
    DIB_ERROR_GENERAL = 1,      ///< Failed without a more exact code.
    DIB_ERROR_MEMORY = 2,       ///< An allocation failed, or an image cannot exist in that size or depth.
    DIB_ERROR_OPEN = 3,         ///< The file cannot be opened.
    DIB_ERROR_READ = 4,         ///< The file ends early, or reading failed.
    DIB_ERROR_WRITE = 5,        ///< Writing failed.
    DIB_ERROR_INVALID = 6,      ///< Bad header or data in a file.
    DIB_ERROR_UNSUPPORTED = 7,  ///< A variant that the codec does not handle.
    DIB_ERROR_MISMATCH = 8,     ///< The image's depth or kind does not fit the operation.
    DIB_ERROR_INTERRUPTED = 9,  ///< The progress callback cancelled a load.
};

#endif
