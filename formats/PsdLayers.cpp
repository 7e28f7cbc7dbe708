// The layer and mask section of a PSD document: the records of all layers, then their channels' planes.
#include <DibPSDLoader.h>

#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

#include "formats/CodecFrame.h"
#include "formats/PsdPixels.h"
#include "formats/PsdReader.h"

// The records' own memory.

PSDLayerInfo::BLEND_RANGE::BLEND_RANGE()
    : sourceLow(0), sourceHigh(65535), destinationLow(0), destinationHigh(65535) {}

PSDLayerInfo::PSDLayerInfo() = default;

PSDLayerInfo::~PSDLayerInfo() { std::free(name); }

PSDLayerInfo::PSDLayerInfo(PSDLayerInfo&& other) noexcept { *this = std::move(other); }

PSDLayerInfo& PSDLayerInfo::operator=(PSDLayerInfo&& other) noexcept {
    top = other.top;
    left = other.left;
    bottom = other.bottom;
    right = other.right;
    channelCount = other.channelCount;
    std::swap(channelIDs, other.channelIDs);
    blendMode = other.blendMode;
    opacity = other.opacity;
    clipping = other.clipping;
    flags = other.flags;
    std::swap(name, other.name);
    hasMask = other.hasMask;
    maskTop = other.maskTop;
    maskLeft = other.maskLeft;
    maskBottom = other.maskBottom;
    maskRight = other.maskRight;
    maskDefaultColor = other.maskDefaultColor;
    maskFlags = other.maskFlags;
    grayBlendRange = other.grayBlendRange;
    std::swap(channelBlendRanges, other.channelBlendRanges);
    return *this;
}

PSDLayerImage::PSDLayerImage() = default;

PSDLayerImage::~PSDLayerImage() {
    if (image != nullptr) image->Release();
    for (DibStream* channel : channelImages) {
        if (channel != nullptr) channel->Release();
    }
}

PSDLayerImage::PSDLayerImage(PSDLayerImage&& other) noexcept { *this = std::move(other); }

PSDLayerImage& PSDLayerImage::operator=(PSDLayerImage&& other) noexcept {
    std::swap(image, other.image);
    std::swap(channelImages, other.channelImages);
    return *this;
}

namespace {

struct BlendKey {
    char key[5];
    std::int32_t mode;
};

// The numbers are part of the interface; 17 has never been given to a mode.
constexpr BlendKey kBlendKeys[] = {
    {"norm", 0},  {"dark", 1},  {"lite", 2},  {"hue ", 3},  {"sat ", 4},  {"colr", 5},  {"lum ", 6},
    {"mul ", 7},  {"scrn", 8},  {"diss", 9},  {"over", 10}, {"hLit", 11}, {"sLit", 12}, {"diff", 13},
    {"smud", 14}, {"div ", 15}, {"idiv", 16}, {"lddg", 18}, {"vLit", 19}, {"lLit", 20}, {"pLit", 21},
    {"hMix", 22}, {"pass", 23}, {"dkCl", 24}, {"lgCl", 25},
};

std::int32_t blendModeOf(const char* key) {
    for (const BlendKey& known : kBlendKeys) {
        if (std::memcmp(known.key, key, 4) == 0) return known.mode;
    }
    return -1;
}

// Fields of a record: one that the end of the file cuts off keeps its value.

void readField(formats::PsdReader& reader, std::uint8_t& field) {
    std::uint8_t value = 0;
    if (reader.read8(value)) field = value;
}

void readField(formats::PsdReader& reader, std::uint16_t& field) {
    std::uint16_t value = 0;
    if (reader.read16(value)) field = value;
}

void readField(formats::PsdReader& reader, std::uint32_t& field) {
    std::uint32_t value = 0;
    if (reader.read32(value)) field = value;
}

void readField(formats::PsdReader& reader, std::int32_t& field) {
    std::uint32_t value = static_cast<std::uint32_t>(field);
    readField(reader, value);
    field = static_cast<std::int32_t>(value);
}

// Differences of edges are taken in 64 bits: what does not fit in an int is no size and fails as such.
std::int64_t extent(std::int32_t low, std::int32_t high) { return std::int64_t{high} - std::int64_t{low}; }

}  // namespace

bool DibPSDLoader::LoadLayerMaskInfo() try {
    if (reader_ == nullptr || !DoCallback()) return false;
    layers_.clear();
    layerImages_.clear();
    std::uint32_t sectionLength = 0;
    if (!reader_->read32(sectionLength)) return false;
    const std::int64_t sectionEnd = reader_->position() + sectionLength;
    // A section too short for the length of its layer list has no layers; the bytes behind it are picture.
    std::uint32_t listLength = 0;
    if (enableLayer_ && sectionLength >= 4 && !reader_->read32(listLength)) return false;
    if (listLength == 0) {
        reader_->seek(sectionEnd);
        return true;
    }
    std::uint16_t signedCount = 0;
    if (!reader_->read16(signedCount)) return false;
    // A negative count says that the first alpha channel of the merged picture is its transparency.
    const int count = std::abs(static_cast<std::int16_t>(signedCount));
    Log("NumLayer: %d\n", count);
    Log("HasAlpha: %d\n", (count >> 15) & 1);

    // Records are made as they are met: where the file ends, the layers that were announced end, too.
    std::vector<std::vector<std::uint32_t>> channelLengths;
    for (int i = 0; i < count && reader_->remaining() > 0; ++i) {
        layers_.emplace_back();
        channelLengths.emplace_back();
        if (!LoadLayerRecord(i, channelLengths.back())) return false;
    }
    layerImages_.resize(layers_.size());
    for (int i = 0; i < GetLayerNum(); ++i) {
        if (!LoadLayerPixels(i, channelLengths[static_cast<std::size_t>(i)])) return false;
    }
    reader_->seek(sectionEnd);
    return true;
} catch (const std::bad_alloc&) {
    return false;
}

// Missing fields are not looked for: the length of the additional data, which must be met exactly, finds most
// records that the end of the file cuts off.
bool DibPSDLoader::LoadLayerRecord(int index, std::vector<std::uint32_t>& channelLengths) {
    if (!DoCallback()) return false;
    PSDLayerInfo& layer = layers_[static_cast<std::size_t>(index)];
    readField(*reader_, layer.top);
    readField(*reader_, layer.left);
    readField(*reader_, layer.bottom);
    readField(*reader_, layer.right);

    std::uint16_t channelCount = 0;
    readField(*reader_, channelCount);
    layer.channelCount = channelCount;
    Log("Layer[%d].NumChannel: %d\n", index, layer.channelCount);
    for (int channel = 0; channel < layer.channelCount; ++channel) {
        const bool last = reader_->remaining() == 0;
        std::uint16_t unsignedId = 0;
        std::uint32_t length = 0;
        readField(*reader_, unsignedId);
        readField(*reader_, length);
        const auto id = static_cast<std::int16_t>(unsignedId);
        layer.channelIDs.push_back(static_cast<PSD_CHANNEL_ID>(id));
        channelLengths.push_back(length);
        Log("Layer[%d].Channel[%d].ID: %d\n", index, channel, id);
        if (last) break;
    }

    char signature[4] = {};
    char key[4] = {};
    reader_->readSome(signature, sizeof signature);
    reader_->readSome(key, sizeof key);
    if (std::memcmp(signature, "8BIM", 4) == 0) {
        Log("Layer[%d].BlendMode: %c%c%c%c\n", index, key[0], key[1], key[2], key[3]);
        layer.blendMode = blendModeOf(key);
    }
    std::uint8_t filler = 0;
    readField(*reader_, layer.opacity);
    readField(*reader_, layer.clipping);
    readField(*reader_, layer.flags);
    readField(*reader_, filler);
    Log("Layer[%d].Opacity: %u\n", index, static_cast<unsigned int>(layer.opacity));
    Log("Layer[%d].Clipping: %u\n", index, static_cast<unsigned int>(layer.clipping));
    Log("Layer[%d].Flags: %u\n", index, static_cast<unsigned int>(layer.flags));

    std::uint32_t extraLength = 0;
    readField(*reader_, extraLength);
    const std::int64_t extraEnd = reader_->position() + extraLength;
    LoadLayerMaskRecord(layer);
    LoadLayerBlendRanges(index, layer);
    if (!ReadPString(layer.name, 4) && reader_->remaining() > 0) return false;

    while (reader_->position() < extraEnd) {
        unsigned char signatureAndKey[8];
        std::uint32_t length = 0;
        if (!reader_->read(signatureAndKey, sizeof signatureAndKey) || !reader_->read32(length)) break;
        reader_->seek(reader_->position() + length);
    }
    return reader_->position() == extraEnd;
}

void DibPSDLoader::LoadLayerMaskRecord(PSDLayerInfo& layer) {
    std::uint32_t length = 0;
    readField(*reader_, length);
    if (length == 0) return;
    const std::int64_t end = reader_->position() + length;
    readField(*reader_, layer.maskTop);
    readField(*reader_, layer.maskLeft);
    readField(*reader_, layer.maskBottom);
    readField(*reader_, layer.maskRight);
    readField(*reader_, layer.maskDefaultColor);
    readField(*reader_, layer.maskFlags);
    layer.hasMask = true;
    reader_->seek(end);
}

void DibPSDLoader::LoadLayerBlendRanges(int index, PSDLayerInfo& layer) {
    std::uint32_t length = 0;
    readField(*reader_, length);
    if (length == 0) return;
    const std::int64_t end = reader_->position() + length;
    const auto readRange = [&](PSDLayerInfo::BLEND_RANGE& range) {
        readField(*reader_, range.sourceLow);
        readField(*reader_, range.sourceHigh);
        readField(*reader_, range.destinationLow);
        readField(*reader_, range.destinationHigh);
    };
    PSDLayerInfo::BLEND_RANGE& gray = layer.grayBlendRange;
    readRange(gray);
    Log("Layer[%d].GrayBlendSource: %u, %u\n", index, static_cast<unsigned int>(gray.sourceLow),
        static_cast<unsigned int>(gray.sourceHigh));
    Log("Layer[%d].GrayBlendDest: %u, %u\n", index, static_cast<unsigned int>(gray.destinationLow),
        static_cast<unsigned int>(gray.destinationHigh));
    // A length that was read stands behind the lists of all channels, so their count is in proportion to the file.
    layer.channelBlendRanges.resize(static_cast<std::size_t>(layer.channelCount));
    for (int channel = 0; channel < layer.channelCount; ++channel) {
        PSDLayerInfo::BLEND_RANGE& range = layer.channelBlendRanges[static_cast<std::size_t>(channel)];
        readRange(range);
        Log("Layer[%d].Channel[%d].BlendSource: %u, %u\n", index, channel,
            static_cast<unsigned int>(range.sourceLow), static_cast<unsigned int>(range.sourceHigh));
        Log("Layer[%d].Channel[%d].BlendDest: %u, %u\n", index, channel,
            static_cast<unsigned int>(range.destinationLow),
            static_cast<unsigned int>(range.destinationHigh));
    }
    reader_->seek(end);
}

bool DibPSDLoader::LoadLayerPixels(int index, const std::vector<std::uint32_t>& channelLengths) {
    const PSDLayerInfo& layer = layers_[static_cast<std::size_t>(index)];
    const std::int64_t width = extent(layer.left, layer.right);
    const std::int64_t height = extent(layer.top, layer.bottom);
    formats::ImagePtr image;
    if (width > 0 && height > 0) {
        image.reset(new DibStream);
        if (!formats::createWhite(*image, width, height, 32, *reader_)) return false;
    }
    for (std::size_t channel = 0; channel < channelLengths.size(); ++channel) {
        const std::int64_t channelEnd = reader_->position() + channelLengths[channel];
        const PSD_CHANNEL_ID id = layer.channelIDs[channel];
        if (id <= PSD_CHANNEL_MASK && enableMask_ && extent(layer.maskLeft, layer.maskRight) > 0 &&
            extent(layer.maskTop, layer.maskBottom) > 0) {
            // The channel's length is not consulted after a mask: the next channel begins where it ended.
            if (!LoadLayerMask(index)) return false;
            continue;
        }
        if (id > PSD_CHANNEL_MASK && image != nullptr && !LoadImageData(image.get(), nullptr, {id})) {
            Log("Failed load Layer[%d].Channel[%d]\n", index, static_cast<int>(channel));
            return false;
        }
        reader_->seek(channelEnd);
    }
    layerImages_[static_cast<std::size_t>(index)].image = image.release();
    return true;
}

// Decodes a mask to see that it is whole; the picture is not kept.
bool DibPSDLoader::LoadLayerMask(int index) {
    const PSDLayerInfo& layer = layers_[static_cast<std::size_t>(index)];
    const formats::ImagePtr mask(new DibStream);
    if (!formats::createWhite(*mask, extent(layer.maskLeft, layer.maskRight),
                              extent(layer.maskTop, layer.maskBottom), 8, *reader_)) {
        return false;
    }
    if (LoadImageData(mask.get(), nullptr, {PSD_CHANNEL_RED})) return true;
    Log("Failed load Layer[%d].Mask\n", index);
    return false;
}
