// The packed samples of TIFF pictures, row by row, however the file cuts them into pieces.
#ifndef FORMATS_LINUX_TIFF_ROWS_H
#define FORMATS_LINUX_TIFF_ROWS_H

#include <tiffio.h>

#include <cstddef>
#include <cstdint>

#include "dib/Memory.h"
#include "formats/linux/TiffDeflate.h"
#include "formats/linux/TiffHandle.h"

namespace formats {

// What decides how the samples of a picture lie.
struct TiffLayout {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint16_t bits = 1;      // of a sample
    std::uint16_t perPixel = 1;  // samples
    bool isPlanar = false;       // a plane for each sample of the pixels, instead of all in one
};

// What becomes of pieces that cannot be decoded whole.
enum class TiffDamage {
    kTolerated,  // they end the rows, but for JPEG pieces that only break rules
    kRefused,    // they end the rows
    kKept,       // their rows are decoded as far as possible
};

class TiffRows {
public:
    // Prepares to read the rows from the top. Of a file in planes it reads those numbered in `planes`.
    bool start(TIFF* tiff, TiffSource& source, const TiffLayout& layout, TiffDamage damage,
               const std::size_t* planes, std::size_t planeCount);
    bool next();
    // Whether `start` or `next` failed because memory is short.
    bool isShortOfMemory() const { return isShortOfMemory_; }
    // The samples that were read last: those of a whole pixel together, or of plane number i of `planes`.
    const unsigned char* row(std::size_t i) const {
        return band_.get() + (i * bandRows_ + inBand_) * rowBytes_;
    }

    // Whether nothing of the row is there.
    bool isLost() const { return inBand_ >= begunRows_; }
    // Rows so far of which something is missing.
    std::size_t rowsLost() const { return rowsLost_; }
    // What was wrong first; empty when nothing was.
    const char* damage() const { return damage_; }

private:
    static constexpr std::size_t kMostPlanes = 5;  // four inks and alpha

    bool startTiles();
    bool readBand();
    bool readPiece(std::uint32_t number, unsigned char* to, std::size_t rows, std::size_t rowBytes);
    bool isBrokenJpeg() const;
    bool endsWhole(std::uint32_t strip, const unsigned char* row);
    bool isWhole(std::uint32_t number, const unsigned char* rows, std::size_t count, std::size_t rowBytes,
                 bool isFirst, bool isLast);
    void noteDamage(std::uint32_t number, bool isCut);
    std::size_t salvage(std::uint32_t number, std::uint64_t start, std::uint64_t bytes, unsigned char* to,
                        std::size_t rows, std::size_t rowBytes);
    bool readTiles(std::size_t plane, std::size_t rows);

    TIFF* tiff_ = nullptr;
    TiffSource* source_ = nullptr;
    TiffLayout layout_;
    TiffDamage onDamage_ = TiffDamage::kTolerated;
    std::size_t planes_[kMostPlanes] = {};
    std::size_t planeCount_ = 1;
    std::size_t rowBytes_ = 0;
    // Rows that are read together: those of a tile or strip, or a single one of a large strip.
    std::size_t bandRows_ = 1;
    bool isByStrip_ = false;
    std::size_t stripRows_ = 1;
    TiffDeflate deflate_;
    dib::MallocPtr<unsigned char> band_;  // one plane after the other
    std::size_t inBand_ = 0;
    std::size_t y_ = 0;          // of the next row
    std::size_t wholeRows_ = 0;  // of the band: of which nothing is missing
    std::size_t begunRows_ = 0;  // and of which anything is there
    std::size_t rowsLost_ = 0;
    char damage_[64] = "";
    bool isShortOfMemory_ = false;
    bool isTiled_ = false;
    std::uint32_t tileWidth_ = 0;
    std::size_t tileRowBytes_ = 0;
    std::size_t tileRows_ = 0;
    dib::MallocPtr<unsigned char> tile_;
};

}  // namespace formats

#endif
