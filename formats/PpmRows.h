// The rows of binary PPM and PGM files whose samples are stored as they are.
#ifndef FORMATS_PPM_ROWS_H
#define FORMATS_PPM_ROWS_H

#include <cstddef>
#include <cstdint>

#include "dib/ImageSize.h"
#include "formats/ByteReader.h"
#include "formats/NewImage.h"

namespace formats {

// Reads blocks of rows into a bottom-up image and, for colours, turns them upside down in place: reading them
// elsewhere and copying takes twice the memory traffic.
class BinaryRows {
public:
    // Reads at most `mostRows` rows at once.
    BinaryRows(ByteReader& file, NewImage& image, std::size_t mostRows = SIZE_MAX)
        : file_(file),
          image_(image),
          mostRows_(mostRows),
          rowBytes_(dib::packedBytes(image->Header->biWidth, image->Header->biBitCount)) {}

    // Fills row y, counted from the top; false when the file ends before.
    bool read(int y);

    // The end of the rows that were read, reported or not.
    int readEnd() const { return blockEnd_; }

private:
    void readBlock();
    std::size_t readColors(unsigned char* block, std::size_t rows);
    void spreadRows(unsigned char* block, std::size_t pitch, std::size_t rows) const;

    ByteReader& file_;
    NewImage& image_;
    std::size_t mostRows_;
    std::size_t rowBytes_;
    int blockEnd_ = 0;           // rows read so far, missing ones included
    int wholeRows_ = 0;          // rows that the file had
    std::size_t partBytes_ = 0;  // bytes of the row after these
};

}  // namespace formats

#endif
