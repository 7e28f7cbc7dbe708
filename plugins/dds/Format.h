// How the texels of a DDS file are stored, by the names and numbers that its headers give.
#ifndef PLUGINS_DDS_FORMAT_H
#define PLUGINS_DDS_FORMAT_H

#include <bit>
#include <cstddef>
#include <cstdint>

#include "dib/Bytes.h"
#include "dib/Numbers.h"
#include "plugins/dds/Blocks.h"

namespace plugins::dds {

// Where the reading of `LoadDDS`, which never changes, differs from what other programs show.
struct Dialect {
    bool readsMore;   // samples of 16 and 32 bits, signed ones, chroma, palettes, wrong bit counts and sizes
    bool showsAlpha;  // as grey where there is nothing else
    bool showsLight;  // BC6H through the gamma curve of linear light
    bool dividesByAlpha;  // colours that were multiplied by it
    bool keepsRows;       // of files that end early
};
inline constexpr Dialect kClassic = {
    .readsMore = false, .showsAlpha = false, .showsLight = true, .dividesByAlpha = false, .keepsRows = false};
inline constexpr Dialect kWide = {
    .readsMore = true, .showsAlpha = true, .showsLight = false, .dividesByAlpha = true, .keepsRows = true};

// One channel of an uncompressed texel: the bits of a mask without gaps.
class Channel {
public:
    constexpr Channel() = default;
    constexpr explicit Channel(std::uint32_t mask)
        : mask_(mask), shift_(mask != 0 ? static_cast<unsigned>(std::countr_zero(mask)) : 0) {}
    bool hasGaps() const { return (highest() & (highest() + 1)) != 0; }
    bool fits(std::uint32_t bits) const { return bits == 32 || mask_ >> bits == 0; }
    int bits() const { return std::popcount(mask_); }
    // To the nearest byte; `absent` without a mask.
    unsigned char byte(std::uint32_t texel, unsigned char absent) const {
        if (mask_ == 0) return absent;
        const std::uint64_t value = (texel & mask_) >> shift_;
        return dib::byteOf((value * 255 + highest() / 2) / highest());
    }

private:
    std::uint64_t highest() const { return std::uint64_t{mask_} >> shift_; }
    std::uint32_t mask_ = 0;
    unsigned shift_ = 0;
};

struct Format {
    // Units of columns x rows texels, or texels one by one under masks when there is no decoder.
    BlockDecoder decode = nullptr;
    std::size_t unitBytes = 0;
    unsigned columns = 1;
    unsigned rows = 1;
    const char* packing = "none";
    bool isGrey = false;
    bool hasAlpha = false;
    bool isPremultiplied = false;
    bool isIndexed = false;  // bytes into a palette before the pixels
    int sampleBits = 8;
    Channel red{}, green{}, blue{}, alpha{};

    int bitsPerPixel() const { return dib::asInt(unitBytes * 8 / (std::size_t{columns} * rows)); }
};

struct Masks {
    std::uint32_t bits;
    std::uint32_t red;
    std::uint32_t green;
    std::uint32_t blue;
    std::uint32_t alpha;
};

constexpr std::uint32_t fourCc(const char (&text)[5]) {
    std::uint32_t code = 0;
    for (int i = 3; i >= 0; --i) code = code << 8 | dib::byteOf(text[i]);
    return code;
}

// Each returns false for formats that are not read.
bool useFourCc(std::uint32_t code, const Dialect& dialect, Format& format);
// A number of the second header.
bool useNumber(std::uint32_t number, const Dialect& dialect, Format& format);
// The flags of the first header select the masks that count.
bool useMasks(std::uint32_t flags, const Masks& masks, const Dialect& dialect, Format& format);

}  // namespace plugins::dds

#endif
