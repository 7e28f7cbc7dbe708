// A block of picture data of a PSD document, merged or of one layer channel: a compression word, then whole
// planes, one channel after the other, as raw rows or as PackBits rows after a table of their packed
// lengths.
#ifndef FORMATS_PSD_IMAGE_DATA_H
#define FORMATS_PSD_IMAGE_DATA_H

#include <cstddef>
#include <cstdint>

#include "dib/Bytes.h"
#include "dib/Memory.h"
#include "dib/Numbers.h"
#include "formats/psd/Document.h"

namespace formats::psd {

// The planes of a block as they lie in the file, from the reader's position on.
struct Planes {
    bool packed = false;
    std::int64_t width = 0;  // in pixels
    std::int64_t rows = 0;
    std::int64_t rowBytes = 0;  // of an unpacked row
    // Big-endian, by channel and row. Null when the file is too short for it, so that the first row finds its
    // end.
    dib::MallocPtr<unsigned char> packedLengths;

    // Reads the compression word and the table; false with the code when that is not possible.
    bool begin(Document& document, DibStream* image, std::size_t channels);
    // Bytes of a row in the file.
    std::int64_t bytesInFile(std::size_t channel, std::int64_t row) const {
        if (!packed) return rowBytes;
        if (packedLengths == nullptr) return 0;
        return dib::readBe16(packedLengths.get() + 2 * (dib::asOffset(channel) * rows + row));
    }
    // Bytes of the first rows of a plane in the file.
    std::int64_t bytesInFileUpTo(std::size_t channel, std::int64_t row) const;
};

}  // namespace formats::psd

#endif
