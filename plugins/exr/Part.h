// What a part of an EXR file shows, as its header describes it.
#ifndef PLUGINS_EXR_PART_H
#define PLUGINS_EXR_PART_H

#include <array>
#include <cstdint>
#include <string>

#include "plugins/Job.h"

namespace plugins::exr {

// Where the reading of `LoadEXR`, which never changes, differs from what other programs show.
struct Dialect {
    bool showsAnyChannels;  // whole numbers, every resolution, and channels by other names
};
inline constexpr Dialect kClassic = {.showsAnyChannels = false};
inline constexpr Dialect kWide = {.showsAnyChannels = true};

// The channels that a picture can be made of: the bytes of a pixel in their order, luminance, and chroma.
enum Channel : unsigned { kBlue, kGreen, kRed, kAlpha, kLuminance, kRedness, kBlueness, kChannels };
constexpr const char* kChannelNames[kChannels] = {"B", "G", "R", "A", "Y", "RY", "BY"};

// One channel of the file; its samples are for every `xSampling` pixels of a line, and `ySampling` of a
// column.
struct Samples {
    std::string name;  // empty when the file has none
    int xSampling = 1;
    int ySampling = 1;
    bool isWhole = false;  // numbers from 0 to 4294967295
};

struct Part {
    int number = 0;
    int level = 0;
    // The data window: the pixels that the file holds of the level.
    std::int64_t left = 0;
    std::int64_t top = 0;
    std::int64_t width = 0;
    std::int64_t height = 0;
    std::array<Samples, kChannels> channels;
    // OpenEXR turns chroma at half the resolution into colours, of the first part.
    bool isFilteredChroma = false;

    bool has(unsigned channel) const { return !channels[channel].name.empty(); }
    bool hasColors() const { return has(kBlue) || has(kGreen) || has(kRed); }
    bool hasChroma() const { return has(kRedness); }
    // Luminance is shown when there is no colour.
    bool isShown(unsigned channel) const { return has(channel) && (channel < kLuminance || !hasColors()); }
    bool isGrey() const { return isShown(kLuminance) && !has(kAlpha) && !hasChroma(); }
};

// Reads the header for the page, layer and level of the job. False with a reason when the file is not EXR,
// when its sizes are impossible or too large to decode, when the part holds several samples per pixel, and
// when it holds nothing that is shown. Without a layer, channels without a layer are read, or those of the
// first layer with red, green and blue. The classic dialect refuses whole numbers, which count things rather
// than light. Throws std::bad_alloc.
bool readPart(Job& job, const Dialect& dialect, Part& part);

// The same from the headers alone, without a check of the sizes of its chunks.
bool probePart(Job& job, DibPluginInfo& info);

// The number of the first part of that name, or -1.
int findPart(Job& job, const char* name);

// Calls `add` for each layer of the page until it returns false. Throws std::bad_alloc.
bool listLayers(Job& job, void* list, bool (*add)(void* list, const DibPluginLayer* layer));

}  // namespace plugins::exr

#endif
