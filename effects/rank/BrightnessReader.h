// Pixels as the rank filters see them: the stored value of a pixel and its brightness, row by row.
#ifndef EFFECTS_RANK_BRIGHTNESS_READER_H
#define EFFECTS_RANK_BRIGHTNESS_READER_H

#include <cstddef>
#include <cstdint>

#include "dib/Raster.h"

namespace dib {

// Brightness of white at 24 and 32 bits, the highest there is: 255 x 256.
constexpr std::int32_t kWhiteBrightness = 65280;

class BrightnessReader {
public:
    // The weights of blue and red in the brightness of a colour-table entry; green always has 146 of 256.
    struct TableWeights {
        int blue;
        int red;
    };
    // Which nibble of a byte is read as the pixel of the even column.
    enum class Nibbles { kHighFirst, kLowFirst };

    BrightnessReader() = default;
    BrightnessReader(const DibStream& image, const Raster& raster, TableWeights weights, Nibbles nibbles);

    // The values of a row.
    void readValues(const unsigned char* row, std::uint32_t* values) const;
    // The values of a row and their brightness.
    void readRow(const unsigned char* row, std::uint32_t* values, std::int32_t* brightness) const;

    // A pixel by its row and column.
    struct Spot {
        const unsigned char* row;
        std::ptrdiff_t x;
    };
    void readSpots(const Spot* spots, std::uint32_t* values, std::ptrdiff_t count) const;

    // Stores the values of a row. Rows whose pixels share bytes are cleared first, row fill included.
    void writeRow(unsigned char* row, const std::uint32_t* values) const;

    std::int32_t tableBrightness(std::ptrdiff_t index) const { return tableBrightness_[index]; }

private:
    int bitCount_ = 0;
    std::ptrdiff_t width_ = 0;
    std::size_t rowBytes_ = 0;
    bool swapNibbles_ = false;
    std::int32_t tableBrightness_[256] = {};
};

}  // namespace dib

#endif
