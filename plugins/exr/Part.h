// What the header of an EXR file says of its first part.
#ifndef PLUGINS_EXR_PART_H
#define PLUGINS_EXR_PART_H

#include <array>
#include <cstdint>
#include <cstdio>
#include <string>

namespace plugins::exr {

// The channels that a picture can be made of, in the order of a pixel's bytes; then luminance.
enum Channel : unsigned { kBlue, kGreen, kRed, kAlpha, kLuminance, kChannels };
constexpr const char* kChannelNames[kChannels] = {"B", "G", "R", "A", "Y"};

struct Part {
    // The data window: the picture is as large as what the file holds of it.
    std::int64_t left = 0;
    std::int64_t top = 0;
    std::int64_t width = 0;
    std::int64_t height = 0;
    // What stands before the names of the channels: nothing, or a layer and a point.
    std::string layer;
    std::array<bool, kChannels> has{};
    bool hasChroma = false;  // beside luminance, for every second pixel of every second line

    bool hasColors() const { return has[kBlue] || has[kGreen] || has[kRed]; }
    // Luminance is shown when there is no colour.
    bool isShown(unsigned channel) const { return has[channel] && (channel != kLuminance || !hasColors()); }
    bool isGrey() const { return isShown(kLuminance) && !has[kAlpha] && !hasChroma; }
};

// False when the file is none, when its sizes cannot be true or are too large to decode, and when the part
// holds several samples per pixel, none of the channels, or one of them as whole numbers, which count things
// rather than light, or at a resolution of its own. A part without any of the channels is read by those of
// its first layer that has red, green and blue. Throws std::bad_alloc.
bool readPart(std::FILE* file, Part& part);

}  // namespace plugins::exr

#endif
