// The packed samples of TIFF pictures, row by row, however the file cuts them into pieces.
#ifndef FORMATS_LINUX_TIFF_ROWS_H
#define FORMATS_LINUX_TIFF_ROWS_H

#include <tiffio.h>

#include <cstddef>
#include <cstdint>

#include "dib/Memory.h"

namespace formats {

// What decides how the samples of a picture lie.
struct TiffLayout {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint16_t bits = 1;      // of a sample
    std::uint16_t perPixel = 1;  // samples
    bool isPlanar = false;       // a plane for each sample of the pixels, instead of all in one
};

class TiffRows {
public:
    // Gets ready to read the rows from the top. Of planes those numbered in `planes` are read.
    bool start(TIFF* tiff, const TiffLayout& layout, const std::size_t* planes, std::size_t planeCount);
    bool next();
    // Whether that was why rows could not be started.
    bool isShortOfMemory() const { return isShortOfMemory_; }
    // The samples that were read last: those of a whole pixel together, or of plane number i of `planes`.
    const unsigned char* row(std::size_t i) const {
        return band_.get() + (i * bandRows_ + inBand_) * rowBytes_;
    }

private:
    static constexpr std::size_t kMostPlanes = 5;  // four inks and alpha

    bool startTiles();
    bool readBand();
    bool readTiles(std::size_t plane, std::size_t rows);

    TIFF* tiff_ = nullptr;
    TiffLayout layout_;
    std::size_t planes_[kMostPlanes] = {};
    std::size_t planeCount_ = 1;
    std::size_t rowBytes_ = 0;
    // Rows that are read together: those of a tile or strip, or a single one of a large strip.
    std::size_t bandRows_ = 1;
    bool isByStrip_ = false;
    dib::MallocPtr<unsigned char> band_;  // one plane after the other
    std::size_t inBand_ = 0;
    std::size_t y_ = 0;  // of the next row
    bool isShortOfMemory_ = false;
    bool isTiled_ = false;
    std::uint32_t tileWidth_ = 0;
    std::size_t tileRowBytes_ = 0;
    std::size_t tileBytes_ = 0;
    dib::MallocPtr<unsigned char> tile_;
};

}  // namespace formats

#endif
