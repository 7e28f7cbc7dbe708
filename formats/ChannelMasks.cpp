#include "formats/ChannelMasks.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "dib/Bytes.h"
#include "dib/Kernels.h"
#include "dib/Numbers.h"

namespace formats {

namespace {

struct Channel {
    std::uint32_t largest = 0;
    int shift = 0;
    double scale = 0;

    explicit Channel(std::uint32_t mask) {
        if (mask == 0) return;
        shift = std::countr_zero(mask);
        largest = mask >> shift;
        scale = 255.0 / largest;
    }
    // 255 value / largest is either exactly a half or far from one, so doubles round it exactly.
    DIB_ALWAYS_INLINE unsigned char in(std::uint32_t word) const {
        constexpr double kHalf = 0.5;
        return dib::byteOf(static_cast<int>((word >> shift & largest) * scale + kHalf));
    }
};

struct Channels {
    Channel blue, green, red, alpha;
    unsigned char missingAlpha;

    explicit Channels(const ChannelMasks& masks)
        : blue(masks.blue),
          green(masks.green),
          red(masks.red),
          alpha(masks.alpha),
          missingAlpha(masks.alpha == 0 ? 255 : 0) {}
};

template <int kWordBytes, int kPixelBytes>
DIB_ALWAYS_INLINE void spread(const unsigned char* from, unsigned char* to, std::size_t count,
                              const Channels& channels) {
    for (std::size_t i = 0; i < count; ++i) {
        std::uint32_t word = 0;
        std::memcpy(&word, from + kWordBytes * i, kWordBytes);
        unsigned char* pixel = to + kPixelBytes * i;
        pixel[0] = channels.blue.in(word);
        pixel[1] = channels.green.in(word);
        pixel[2] = channels.red.in(word);
        if constexpr (kPixelBytes == 4) {
            pixel[3] = dib::byteOf(channels.alpha.in(word) | channels.missingAlpha);
        }
    }
}

// Channels of eight bits, the usual case, need no scaling.
DIB_ALWAYS_INLINE void moveBytes(const unsigned char* from, unsigned char* to, std::size_t count,
                                 const Channels& channels) {
    const std::uint32_t constant = std::uint32_t{channels.missingAlpha} << 24;
    for (std::size_t i = 0; i < count; ++i) {
        std::uint32_t word;
        std::memcpy(&word, from + 4 * i, 4);
        word = (word >> channels.blue.shift & channels.blue.largest) |
               (word >> channels.green.shift & channels.green.largest) << 8 |
               (word >> channels.red.shift & channels.red.largest) << 16 |
               (word >> channels.alpha.shift & channels.alpha.largest) << 24 | constant;
        std::memcpy(to + 4 * i, &word, 4);
    }
}

bool areBytes(const Channels& channels) {
    const auto isByte = [](const Channel& channel) { return channel.largest == 255 || channel.largest == 0; };
    return isByte(channels.blue) && isByte(channels.green) && isByte(channels.red) && isByte(channels.alpha);
}

template <int kWordBytes>
void spreadWords(const unsigned char* from, unsigned char* to, int pixelBytes, std::size_t count,
                 const Channels& channels) {
    if (pixelBytes == 4) {
        spread<kWordBytes, 4>(from, to, count, channels);
    } else {
        spread<kWordBytes, 3>(from, to, count, channels);
    }
}

}  // namespace

int deepestChannel(const ChannelMasks& masks) {
    const std::uint32_t largest = std::max({Channel(masks.red).largest, Channel(masks.green).largest,
                                            Channel(masks.blue).largest, Channel(masks.alpha).largest});
    return dib::asInt(std::bit_width(largest));
}

void spreadChannels(const unsigned char* from, int wordBytes, unsigned char* to, int pixelBytes,
                    std::size_t count, const ChannelMasks& masks) {
    const Channels channels(masks);
    switch (wordBytes) {
        case 2: return spreadWords<2>(from, to, pixelBytes, count, channels);
        case 3: return spreadWords<3>(from, to, pixelBytes, count, channels);
        default:
            if (pixelBytes == 4 && areBytes(channels)) {
                return dib::runKernel<moveBytes>(from, to, count, channels);
            }
            return spreadWords<4>(from, to, pixelBytes, count, channels);
    }
}

}  // namespace formats
