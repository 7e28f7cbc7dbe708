// The first part of an EXR file, as its header describes it.
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
    // The data window: the pixels that the file holds.
    std::int64_t left = 0;
    std::int64_t top = 0;
    std::int64_t width = 0;
    std::int64_t height = 0;
    // The prefix of the channels' names: empty, or a layer and a point.
    std::string layer;
    std::array<bool, kChannels> has{};
    bool hasChroma = false;  // beside luminance, for every second pixel of every second line

    bool hasColors() const { return has[kBlue] || has[kGreen] || has[kRed]; }
    // Luminance is shown when there is no colour.
    bool isShown(unsigned channel) const { return has[channel] && (channel != kLuminance || !hasColors()); }
    bool isGrey() const { return isShown(kLuminance) && !has[kAlpha] && !hasChroma; }
};

// Reads the header. False when the file is not EXR, when its sizes are impossible or too large to decode, and
// when the part holds several samples per pixel, none of the channels, or one of them as integers (which
// count things rather than light) or at another resolution. If no channel has these names, those of the first
// layer with red, green and blue are read. Throws std::bad_alloc.
bool readPart(std::FILE* file, Part& part);

}  // namespace plugins::exr

#endif
