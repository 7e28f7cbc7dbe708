// A TIM file is an identifier, a word of flags, an optional block of lookup colours and a block of pixels,
// top row first. Colours are words of three times 5 bits, red lowest, and a special bit, or three bytes, red
// first.
#ifndef FORMATS_TIM_LAYOUT_H
#define FORMATS_TIM_LAYOUT_H

#include <DibStream.h>
#include <DibTypes.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#include "dib/Bytes.h"
#include "dib/ColorTable.h"
#include "dib/Numbers.h"
#include "formats/ByteReader.h"

namespace formats {

constexpr std::uint32_t kTimIdentifier = 0x10;
constexpr std::uint32_t kTimTrueColor = 3;  // 0 to 3 are pixels of 4, 8, 16 and 24 bits; others are not read
constexpr std::uint32_t kTimHasLookup = 8;
constexpr std::size_t kMostTimColors = 256;
constexpr std::size_t kMostTimWords = 65535;  // in a row; the number of rows has the same limit

// What the functions of DibFile.h do otherwise than the classic ones.
struct TimDialect {
    bool knowsTrueColor;   // pixels of 24 bits
    bool acceptsShort;     // pixels that are missing at the end of a file are 0
    bool keepsFill;        // the fill of an image's rows becomes pixels of the file
    bool scalesColors;     // 31 of 31 is 255 and not 248
    bool keepsSpecialBit;  // the highest bit of pixels of 16 bits
};
constexpr TimDialect kClassicTim = {.knowsTrueColor = false,
                                    .acceptsShort = true,
                                    .keepsFill = true,
                                    .scalesColors = false,
                                    .keepsSpecialBit = false};
constexpr TimDialect kWideTim = {.knowsTrueColor = true,
                                 .acceptsShort = false,
                                 .keepsFill = false,
                                 .scalesColors = true,
                                 .keepsSpecialBit = true};

// The start of both kinds of blocks.
struct TimBlock {
    static constexpr std::size_t kBytes = 12;
    std::uint32_t length = 0;  // bytes of the block, these included
    unsigned x = 0;            // in video memory
    unsigned y = 0;
    unsigned width = 0;  // in words
    unsigned height = 0;

    // The size of the words that follow.
    void setSize(std::size_t words, std::size_t rows) {
        length = dib::dwordOf(kBytes + 2 * words * rows);
        width = dib::dwordOf(words);
        height = dib::dwordOf(rows);
    }
    static TimBlock read(ByteReader& file);
    std::array<unsigned char, kBytes> bytes() const;
};

// Everything before the pixels.
struct TimLayout {
    int bitCount = 0;
    bool hasLookup = false;
    std::int64_t firstColor = 0;  // position of the first lookup table
    std::size_t colors = 0;       // of all lookup tables
    TimBlock lookup;
    TimBlock pixels;
    std::int64_t pixelStart = 0;

    int width() const { return dib::asInt(pixels.width) * 16 / bitCount; }
    int height() const { return dib::asInt(pixels.height); }
    std::size_t rowBytes() const { return std::size_t{pixels.width} * 2; }
    std::size_t tableColors() const { return dib::addressableEntries(bitCount); }
    // How many tables the pixels can be shown with.
    std::size_t tables() const {
        return tableColors() > 0 ? std::max<std::size_t>(colors / tableColors(), 1) : 1;
    }
    // Everything before the pixels.
    std::size_t headBytes() const { return dib::asSize(pixelStart); }
    // Whether the words of colours say what is transparent.
    bool mayHaveAlpha() const { return bitCount == 16 || (bitCount <= 8 && hasLookup); }
};

// Words of one lookup table; missing ones are 0.
using TimColors = std::array<std::uint16_t, kMostTimColors>;

// Reads up to the pixels. The code says what is wrong.
DibErrorCode readTimLayout(ByteReader& file, const TimDialect& dialect, int table, TimLayout& layout,
                           TimColors& colors);

DibBGRA timColor(unsigned word, const TimDialect& dialect);
// The same with alpha: black without the special bit is transparent, other colours with it half transparent.
DibBGRA timColorWithAlpha(unsigned word);
unsigned timWord(const DibBGRA& color);
unsigned timWordWithAlpha(const DibBGRA& color);

// Turns pixels of files into those of images of the same depth, and back.
void exchangeTimOrder(unsigned char* row, std::size_t bytes, int bitCount, bool keepsSpecialBit);

}  // namespace formats

#endif
