// Numbers of BMP files that the readers and writers share.
#ifndef DIB_BMP_CODES_H
#define DIB_BMP_CODES_H

#include <cstdint>

namespace dib::bmp {

constexpr std::uint32_t kFileHeaderBytes = 14;

enum Compression : std::uint32_t {
    kUncompressed = 0,
    kRunLength8 = 1,
    kRunLength4 = 2,
    kChannelMasks = 3,  // with an OS/2 header: a fax code
    kJpeg = 4,          // with an OS/2 header: 24-bit run lengths
    kPng = 5,
    kMasksWithAlpha = 6
};

// The byte after a 0 in run-length data; larger ones count literals.
enum Escape : unsigned char { kEndOfLine = 0, kEndOfBitmap = 1, kDelta = 2 };

}  // namespace dib::bmp

#endif
