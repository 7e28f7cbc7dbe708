// Pixels as the rank filters see them: the stored value of a pixel and its brightness, row by row.
#ifndef EFFECTS_RANK_PIXELS_H
#define EFFECTS_RANK_PIXELS_H

#include <array>
#include <cstddef>
#include <cstdint>

#include "effects/EffectFrame.h"

namespace dib {

// Brightness of white at 24 and 32 bits, the highest there is: 255 x 256.
constexpr std::int32_t kWhiteBrightness = 65280;

class RankPixels {
public:
    // The weights of blue and red in the brightness of a colour-table entry; green has 146 of 256 everywhere.
    struct TableWeights {
        int blue;
        int red;
    };
    // Which nibble of a byte is read as the pixel with the even column.
    enum class Nibbles { kHighFirst, kLowFirst };

    RankPixels(const DibStream& image, const Raster& raster, TableWeights weights, Nibbles nibbles);

    // The values of a row.
    void readValues(const unsigned char* row, std::uint32_t* values) const;
    // The same and their brightness.
    void readRow(const unsigned char* row, std::uint32_t* values, std::int32_t* brightness) const;
    // A pixel by its row and column.
    struct Spot {
        const unsigned char* row;
        std::ptrdiff_t x;
    };
    void readSpots(const Spot* spots, std::uint32_t* values, std::size_t count) const;
    // Stores a row; rows whose pixels share bytes are cleared first, fill bytes included.
    void writeRow(unsigned char* row, const std::uint32_t* values) const;

    std::int32_t tableBrightness(std::uint32_t index) const { return tableBrightness_[index]; }

private:
    int bitCount_;
    std::size_t width_;
    std::size_t rowBytes_;
    bool swapNibbles_;
    std::array<std::int32_t, 256> tableBrightness_{};
};

}  // namespace dib

#endif
