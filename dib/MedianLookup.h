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

// Boxes may outnumber the entries of an 8-bit palette: pixels of the boxes from 256 on get the entry nearest
// to them.
class MedianLookup {
public:
    static constexpr int kSlots = 256;

    // The entries channel by channel, for the search of the nearest. There are as many as boxes.
    struct Palette {
        std::int32_t blue[kSlots];
        std::int32_t green[kSlots];
        std::int32_t red[kSlots];
    };

    // The quantizer must outlive the lookup. `pixels` bounds how many different cells will be looked up.
    // Check `ready` before use: false when memory is short.
    MedianLookup(const dibmedian::mediancut& quantizer, std::size_t pixels);
    bool ready() const { return tables_ != nullptr && tableOf_ != nullptr; }

    // Palette indices of packed 24-bit pixels.
    void map(const std::uint8_t* bgr, std::uint8_t* to, std::size_t count);

private:
    // Inclusive bounds of a block of colours, by axis.
    struct Block {
        int low[3];
        int high[3];
    };

    int makeTable(int cell);
    void fill(const dibmedian::coltree* node, Block block, std::uint8_t* table) const;
    // The part of a fill that lies in one box and differs in blue alone.
    void fillBlues(int box, const Block& block, int green, int red, std::uint8_t* table) const;

    const dibmedian::coltree* root_;
    Palette palette_{};
    // A cell's table gives the index for the nine low bits of a colour. Cells that lie in one box with an
    // entry share one of the first 256 tables.
    MallocPtr<int> tableOf_;  // start of a cell's table plus 1; 0 while unknown
    MallocPtr<std::uint8_t> tables_;
    int tableCount_ = kSlots;
};

}  // namespace dib

#endif
