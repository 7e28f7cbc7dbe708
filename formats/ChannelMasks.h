// Pixels whose channels are anywhere in a word.
#ifndef FORMATS_CHANNEL_MASKS_H
#define FORMATS_CHANNEL_MASKS_H

#include <cstddef>
#include <cstdint>

namespace formats {

// The bits of each channel; 0 for one that is missing.
struct ChannelMasks {
    std::uint32_t red = 0;
    std::uint32_t green = 0;
    std::uint32_t blue = 0;
    std::uint32_t alpha = 0;

    bool operator==(const ChannelMasks&) const = default;
};
constexpr ChannelMasks k555 = {0x7C00, 0x03E0, 0x001F, 0};
constexpr ChannelMasks k888 = {0xFF0000, 0x00FF00, 0x0000FF, 0};
constexpr ChannelMasks k8888 = {0xFF0000, 0x00FF00, 0x0000FF, 0xFF000000};

// The most bits that a channel has.
int deepestChannel(const ChannelMasks& masks);

// Spreads words of 2, 3 or 4 bytes to pixels of 3 or 4 bytes: the largest value of a channel becomes 255, the
// others are scaled and rounded, and missing alpha is 255. `from` and `to` may be the same when words are as
// long as pixels.
void spreadChannels(const unsigned char* from, int wordBytes, unsigned char* to, int pixelBytes,
                    std::size_t count, const ChannelMasks& masks);

}  // namespace formats

#endif
