// The header of a PBM, PGM, PPM, PAM or PFM file: numbers with blanks and comments between them, or lines of
// a name and a value.
#ifndef FORMATS_PNM_HEADER_H
#define FORMATS_PNM_HEADER_H

#include <cstddef>
#include <cstdint>

#include "formats/door/Request.h"

namespace formats {

struct PnmHeader {
    enum class Samples { kBits, kBytes, kWords, kFloats };

    int width = 0;
    int height = 0;
    int channels = 1;  // grey, grey and alpha, red green blue, these and alpha; inks, inks and alpha
    bool isText = false;
    bool isCmyk = false;
    bool isBitmap = false;        // two values: black and white
    bool isZeroWhite = false;     // of a bitmap
    bool isLittleEndian = false;  // of floats
    bool hasComments = false;
    std::uint32_t largest = 1;  // sample: 255 in the image
    double scale = 1;           // of floats: this value is 255 in the image
    Samples samples = Samples::kBits;

    bool hasAlpha() const;  // in the last channel
    // Depth of the image.
    int imageBits() const;
    // Bits per pixel in the file.
    int storedBits() const;
    // Bytes of a row of the file; of text the fewest.
    std::uint64_t rowBytes() const;
};

// Leaves the reader at the first sample. False with a code and a reason.
bool readPnmHeader(ByteReader& file, PnmHeader& header, DibFileResult& result);

// The next byte that is not part of a comment; negative at the end. A comment counts as its line feed, and
// `hasComments` says that there was one.
int nextPnmByte(ByteReader& file, bool* hasComments = nullptr);
// Reads the blanks before a number, its digits and the byte after them. Larger numbers saturate. False when
// something else comes first; the reader then stays at it.
bool readPnmNumber(ByteReader& file, std::uint32_t& number, bool* hasComments = nullptr);

constexpr bool isPnmBlank(int byte) { return byte == ' ' || (byte >= '\t' && byte <= '\r'); }

}  // namespace formats

#endif
