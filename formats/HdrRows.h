// The rows of Radiance files as bytes.
#ifndef FORMATS_HDR_ROWS_H
#define FORMATS_HDR_ROWS_H

#include <cstddef>

#include "dib/Memory.h"
#include "formats/ByteReader.h"
#include "formats/Rgbe.h"

namespace formats {

// The byte of a mantissa with an exponent: the value raised to 1 / 2.2, scaled to 255 and clamped.
unsigned char hdrByte(unsigned char mantissa, unsigned char exponent);

// Reads one row, flat or in packets, and stores it as 24-bit colours.
class HdrRowReader {
public:
    // `isXyz`: pixels in CIE XYZ. `knowsOldRuns`: flat rows in which a pixel repeats the one before it.
    HdrRowReader(ByteReader& source, int width, bool isXyz, bool knowsOldRuns);
    bool ready() const { return work_ != nullptr; }
    RgbeError read(unsigned char* out);

private:
    bool storePlain(unsigned char* out);
    RgbeError readFlat(std::size_t first);

    ByteReader& source_;
    std::size_t width_;
    bool knowsOldRuns_;
    // Component k of pixel x is pixels[k * plane + x * step].
    void (*store_)(const unsigned char* pixels, std::size_t plane, std::size_t step, unsigned char* out,
                   std::size_t width);
    dib::MallocPtr<unsigned char> work_;
};

}  // namespace formats

#endif
