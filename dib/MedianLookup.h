// The quantizer's decision tree as a table: the same answer as a walk from the root, two loads a pixel.
#ifndef DIB_MEDIAN_LOOKUP_H
#define DIB_MEDIAN_LOOKUP_H

#include <DibMedian.h>

#include <cstddef>
#include <cstdint>

#include "dib/Memory.h"

namespace dib {

// Palette entry i: the centre of box i.
DibBGRA boxCentre(const dibmedian::colinfo& box);

class MedianLookup {
public:
    // The quantizer must outlive the lookup. `pixels` bounds how many different cells will be asked for.
    // Check `ready` before use: false when memory is short.
    MedianLookup(const dibmedian::mediancut& quantizer, std::size_t pixels);
    bool ready() const { return tables_ != nullptr && tableOf_ != nullptr; }

    // Palette indices of packed 24-bit pixels.
    void map(const std::uint8_t* bgr, std::uint8_t* to, std::size_t count);

private:
    // Inclusive bounds of a block of colours, by axis.
    struct Block {
        std::uint32_t low[3];
        std::uint32_t high[3];
    };

    std::uint32_t makeTable(std::uint32_t cell);
    void fill(const dibmedian::coltree* node, Block block, std::uint8_t* table) const;

    const dibmedian::coltree* root_;
    std::uint8_t slotOf_[dibmedian::mediancut::kMaxBoxes] = {};
    // Colours are grouped into 32768 cells by the five high bits of their channels. A cell's table gives the
    // index for the nine low bits. Cells that lie in one box share one of the first 256 tables.
    MallocPtr<std::uint32_t> tableOf_;  // start of a cell's table plus 1; 0 while unknown
    MallocPtr<std::uint8_t> tables_;
    std::size_t tableCount_ = 256;
};

}  // namespace dib

#endif
