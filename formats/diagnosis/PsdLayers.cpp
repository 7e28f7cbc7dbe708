#include "formats/diagnosis/PsdLayers.h"

#include <algorithm>
#include <cstdlib>

namespace formats {

namespace {

constexpr std::int64_t kHeaderBytes = 26;

std::int64_t behindSection(const RefusedFile& file, std::int64_t at) { return at + 4 + file.be32(at); }

int countAt(const RefusedFile& file, std::int64_t at) { return static_cast<std::int16_t>(file.be16(at)); }

struct Section {
    std::int64_t list;
    std::int64_t end;
};
Section layerSection(const RefusedFile& file) {
    const std::int64_t section = behindSection(file, behindSection(file, kHeaderBytes));
    return {section + 4, behindSection(file, section)};
}

// Documents of 16 and 32 bits keep their layers in a block of their own behind an empty list. Another block,
// which is empty, says that the merged picture has transparency.
int countInBlocks(const RefusedFile& file, std::int64_t at, std::int64_t end) {
    constexpr std::int64_t kBlockHeader = 12;
    int count = 0;
    int sign = 1;
    for (at = behindSection(file, at); at + kBlockHeader <= std::min(end, file.size());) {
        const std::string key = file.text(at + 4, 4);
        if (key == "Lr16" || key == "Lr32") count = std::abs(countAt(file, at + kBlockHeader));
        if (key == "Mt16" || key == "Mt32") sign = -1;
        at += kBlockHeader + (std::int64_t{file.be32(at + 8)} + 3) / 4 * 4;
    }
    return sign * count;
}

// The first compression of a channel that is not known; -1 when there is none.
struct OddChannel {
    int layer = -1;
    std::uint32_t compression = 0;
};

OddChannel oddChannel(const RefusedFile& file, std::int64_t records, int layers) {
    constexpr std::int64_t kChannelEntry = 6;
    constexpr std::int64_t kToExtra = 12;
    const auto channelsOf = [](std::int64_t record) { return record + 16; };
    const auto nextRecord = [&](std::int64_t record) {
        const std::int64_t channels = channelsOf(record);
        return behindSection(file, channels + 2 + kChannelEntry * file.be16(channels) + kToExtra);
    };
    std::int64_t pixels = records;
    for (int i = 0; i < layers && pixels < file.size(); ++i) pixels = nextRecord(pixels);
    std::int64_t record = records;
    for (int i = 0; i < layers && pixels < file.size(); ++i, record = nextRecord(record)) {
        const std::int64_t channels = channelsOf(record);
        for (std::uint32_t c = 0; c < file.be16(channels) && pixels < file.size(); ++c) {
            const std::int64_t length = file.be32(channels + 2 + kChannelEntry * c + 2);
            const std::uint32_t compression = file.be16(pixels);
            if (length >= 2 && compression > 1) return {i, compression};
            pixels += length;
        }
    }
    return {};
}

}  // namespace

std::int64_t mergedPsdPicture(const RefusedFile& file) { return layerSection(file).end; }

int countPsdLayers(const RefusedFile& file) {
    const auto [list, end] = layerSection(file);
    if (end - list < 4) return 0;
    return file.be32(list) == 0 ? countInBlocks(file, list + 4, end) : countAt(file, list + 4);
}

PsdLayers inspectPsdLayers(const RefusedFile& file) {
    PsdLayers layers;
    layers.count = std::abs(countPsdLayers(file));
    if (layers.count == 0) return layers;
    const std::int64_t list = layerSection(file).list;
    if (file.be32(list) == 0) {
        layers.problem = "layers of " + std::to_string(file.be16(22)) + " bits per channel are not read";
        return layers;
    }
    const OddChannel odd = oddChannel(file, list + 6, layers.count);
    if (odd.layer < 0) return layers;
    const std::string which = "the pixels of layer " + std::to_string(odd.layer);
    layers.problem = odd.compression <= 3
                         ? which + " are ZIP-compressed, which is not read"
                         : which + " have the unknown compression " + std::to_string(odd.compression);
    return layers;
}

std::string diagnosePsdLayers(const RefusedFile& file) { return inspectPsdLayers(file).problem; }

}  // namespace formats
