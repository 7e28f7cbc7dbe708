#include "plugins/exr/Channels.h"

#include <algorithm>

#include "dib/Numbers.h"

namespace plugins::exr {

namespace {

std::int64_t sampleBytes(const exr_attr_chlist_entry_t& channel) {
    return channel.pixel_type == EXR_PIXEL_HALF ? 2 : 4;
}

const exr_attr_chlist_entry_t* channelOf(const exr_attr_chlist_t& channels, const std::string& name) {
    for (int i = 0; i < channels.num_channels; ++i) {
        if (name == channels.entries[i].name.str) return &channels.entries[i];
    }
    return nullptr;
}

std::string layerOf(const exr_attr_chlist_entry_t& channel) {
    const std::string name = channel.name.str;
    return name.substr(0, name.rfind('.') + 1);
}

// Whether a channel holds light, as the channels of a picture must: floats, one sample for every `sampling`
// pixels of a line and of a column.
bool isLight(const exr_attr_chlist_entry_t& channel, int sampling) {
    return channel.pixel_type != EXR_PIXEL_UINT && channel.x_sampling == sampling &&
           channel.y_sampling == sampling;
}

// The layer whose channels are shown: none if any channel has no layer, otherwise the first layer with all
// three colours.
std::string shownLayer(const exr_attr_chlist_t& channels) {
    for (const unsigned channel : {kBlue, kGreen, kRed, kAlpha, kLuminance}) {
        if (channelOf(channels, kChannelNames[channel]) != nullptr) return {};
    }
    for (int i = 0; i < channels.num_channels; ++i) {
        std::string layer = layerOf(channels.entries[i]);
        if (channelOf(channels, layer + "R") != nullptr && channelOf(channels, layer + "G") != nullptr &&
            channelOf(channels, layer + "B") != nullptr) {
            return layer;
        }
    }
    return {};
}

void use(const exr_attr_chlist_entry_t& entry, Samples& samples) {
    samples = {entry.name.str, std::max(entry.x_sampling, 1), std::max(entry.y_sampling, 1),
               entry.pixel_type == EXR_PIXEL_UINT};
}

// False when the classic dialect refuses one of them.
bool useNamed(const exr_attr_chlist_t& channels, const std::string& layer, const Dialect& dialect,
              Part& part) {
    for (const unsigned channel : {kBlue, kGreen, kRed, kAlpha, kLuminance}) {
        const exr_attr_chlist_entry_t* entry = channelOf(channels, layer + kChannelNames[channel]);
        if (entry == nullptr) continue;
        if (!dialect.showsAnyChannels && !isLight(*entry, 1)) return false;
        use(*entry, part.channels[channel]);
    }
    return true;
}

// Luminance may come with both chroma channels or with neither. The classic dialect refuses one alone, and
// chroma at another resolution than half; the wide one shows luminance where chroma is not complete.
bool useChroma(const exr_attr_chlist_t& channels, const std::string& layer, const Dialect& dialect,
               Part& part) {
    const std::string prefix = dialect.showsAnyChannels ? layer : std::string();
    const exr_attr_chlist_entry_t* red = channelOf(channels, prefix + kChannelNames[kRedness]);
    const exr_attr_chlist_entry_t* blue = channelOf(channels, prefix + kChannelNames[kBlueness]);
    if (!part.isShown(kLuminance) || (red == nullptr && blue == nullptr)) return true;
    const bool areBoth = red != nullptr && blue != nullptr;
    const bool areHalf = areBoth && isLight(*red, 2) && isLight(*blue, 2);
    if (!dialect.showsAnyChannels && !areHalf) return false;
    if (!areBoth) return true;
    use(*red, part.channels[kRedness]);
    use(*blue, part.channels[kBlueness]);
    part.isFilteredChroma = areHalf && prefix.empty() && part.number == 0 && part.level == 0;
    return true;
}

// A layer without the names of colours: three channels are red, green and blue in their order, of fewer the
// first is a grey.
bool useOthers(const exr_attr_chlist_t& channels, const std::string& layer, Part& part) {
    std::vector<const exr_attr_chlist_entry_t*> of;
    for (int i = 0; i < channels.num_channels; ++i) {
        if (layerOf(channels.entries[i]) == layer) of.push_back(&channels.entries[i]);
    }
    if (of.empty()) return false;
    if (of.size() < 3) {
        use(*of[0], part.channels[kLuminance]);
        return true;
    }
    use(*of[0], part.channels[kRed]);
    use(*of[1], part.channels[kGreen]);
    use(*of[2], part.channels[kBlue]);
    return true;
}

bool hasAny(const Part& part) {
    return std::any_of(part.channels.begin(), part.channels.end(),
                       [](const Samples& samples) { return !samples.name.empty(); });
}

}  // namespace

std::vector<std::string> layersOf(const exr_attr_chlist_t& channels) {
    std::vector<std::string> layers;
    for (int i = 0; i < channels.num_channels; ++i) {
        std::string layer = layerOf(channels.entries[i]);
        if (!layer.empty() && std::find(layers.begin(), layers.end(), layer) == layers.end())
            layers.push_back(std::move(layer));
    }
    return layers;
}

bool chooseChannels(const exr_attr_chlist_t& channels, const Dialect& dialect, int layer, Part& part) {
    std::string prefix;
    if (layer >= 0) {
        const std::vector<std::string> layers = layersOf(channels);
        if (dib::asSize(layer) >= layers.size()) return false;
        prefix = layers[dib::asSize(layer)];
    } else {
        prefix = shownLayer(channels);
    }
    if (!useNamed(channels, prefix, dialect, part) || !useChroma(channels, prefix, dialect, part))
        return false;
    if (hasAny(part)) return true;
    if (!dialect.showsAnyChannels || channels.num_channels == 0) return false;
    if (useOthers(channels, prefix, part)) return true;
    prefix = layerOf(channels.entries[0]);
    return (useNamed(channels, prefix, dialect, part) && hasAny(part)) || useOthers(channels, prefix, part);
}

std::int64_t pixelBytes(const exr_attr_chlist_t& channels) {
    std::int64_t bytes = 0;
    for (int i = 0; i < channels.num_channels; ++i) bytes += sampleBytes(channels.entries[i]);
    return bytes;
}

std::int64_t shownBytes(const exr_attr_chlist_t& channels, const Part& part) {
    std::int64_t bytes = 0;
    for (const unsigned channel : {kBlue, kGreen, kRed, kAlpha, kLuminance}) {
        const Samples& samples = part.channels[channel];
        if (samples.name.empty() || samples.xSampling != 1 || samples.ySampling != 1) continue;
        bytes += sampleBytes(*channelOf(channels, samples.name));
    }
    return bytes;
}

}  // namespace plugins::exr
