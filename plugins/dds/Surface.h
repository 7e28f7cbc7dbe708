// The first picture of a DDS file, as its header describes it.
#ifndef PLUGINS_DDS_SURFACE_H
#define PLUGINS_DDS_SURFACE_H

#include <cstddef>
#include <cstdint>
#include <cstdio>

#include "plugins/dds/Blocks.h"

namespace plugins::dds {

// One channel of an uncompressed texel: the bits of a mask without gaps.
class Channel {
public:
    Channel() = default;
    explicit Channel(std::uint32_t mask) : mask_(mask) {
        while (mask != 0 && (mask >> shift_ & 1) == 0) ++shift_;
    }
    bool hasGaps() const { return (highest() & (highest() + 1)) != 0; }
    bool fits(std::uint32_t bits) const { return bits == 32 || mask_ >> bits == 0; }
    // To the nearest byte; `absent` without a mask.
    unsigned char byte(std::uint32_t texel, unsigned char absent) const {
        if (mask_ == 0) return absent;
        const std::uint64_t value = (texel & mask_) >> shift_;
        return static_cast<unsigned char>((value * 255 + highest() / 2) / highest());
    }

private:
    std::uint64_t highest() const { return std::uint64_t{mask_} >> shift_; }
    std::uint32_t mask_ = 0;
    unsigned shift_ = 0;
};

struct Surface {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    bool isGrey = false;
    bool isOpaque = false;  // the alpha channel is ignored

    // Blocks of 4 x 4 texels, or texels one by one when there is no decoder.
    BlockDecoder decode = nullptr;
    std::size_t unitBytes = 0;  // of a block or a texel
    Channel red, green, blue, alpha;

    std::uint32_t unitSide() const { return decode != nullptr ? 4 : 1; }
    std::uint64_t unitsPerRow() const { return (std::uint64_t{width} + unitSide() - 1) / unitSide(); }
    std::uint64_t unitRows() const { return (std::uint64_t{height} + unitSide() - 1) / unitSide(); }
};

// Reads the header and leaves the file at the first byte of the picture. False when the header is short or
// not DDS, or names an unknown format.
bool readSurface(std::FILE* file, Surface& surface);

}  // namespace plugins::dds

#endif
