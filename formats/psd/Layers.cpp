// The layer and mask section of a PSD document: the records of all layers, then their channels' planes.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

#include "dib/Numbers.h"
#include "formats/CodecFrame.h"
#include "formats/psd/BlendMode.h"
#include "formats/psd/Document.h"
#include "formats/psd/LayerMasks.h"
#include "formats/psd/Pixels.h"

namespace formats::psd {

namespace {

using ChannelLengths = std::vector<std::uint32_t>;

// In the functions below a number that the end of the file cuts off keeps its value. No check is needed: the
// length of the additional data, which must be met exactly, finds most records that are cut off.

void readChannelList(Document& document, PSDLayerInfo& layer, int index, ChannelLengths& lengths) {
    Reader& file = document.file;
    std::uint16_t count = 0;
    file.readNumber(count);
    layer.channelCount = count;
    document.log("Layer[%d].NumChannel: %d\n", index, layer.channelCount);
    bool ended = false;
    for (int channel = 0; channel < count && !ended; ++channel) {
        ended = file.remaining() == 0;
        std::int16_t id = 0;
        std::uint32_t length = 0;
        file.readNumbers(id, length);
        layer.channelIDs.push_back(static_cast<PSD_CHANNEL_ID>(id));
        lengths.push_back(length);
        document.log("Layer[%d].Channel[%d].ID: %d\n", index, channel, id);
    }
}

void readBlending(Document& document, PSDLayerInfo& layer, int index) {
    Reader& file = document.file;
    char signature[4] = {};
    char key[4] = {};
    file.copy(signature, sizeof signature);
    file.copy(key, sizeof key);
    if (std::memcmp(signature, "8BIM", 4) == 0) {
        document.log("Layer[%d].BlendMode: %c%c%c%c\n", index, key[0], key[1], key[2], key[3]);
        layer.blendMode = blendModeOf(key);
    }
    std::uint8_t filler = 0;
    file.readNumbers(layer.opacity, layer.clipping, layer.flags, filler);
    document.log("Layer[%d].Opacity: %u\n", index, unsigned{layer.opacity});
    document.log("Layer[%d].Clipping: %u\n", index, unsigned{layer.clipping});
    document.log("Layer[%d].Flags: %u\n", index, unsigned{layer.flags});
}

void readBlendRange(Reader& file, PSDLayerInfo::BLEND_RANGE& range) {
    file.readNumbers(range.sourceLow, range.sourceHigh, range.destinationLow, range.destinationHigh);
}

void readBlendRanges(Document& document, PSDLayerInfo& layer, int index) {
    Reader& file = document.file;
    std::uint32_t length = 0;
    file.readNumber(length);
    if (length == 0) return;
    const std::int64_t end = file.position() + length;
    PSDLayerInfo::BLEND_RANGE& gray = layer.grayBlendRange;
    readBlendRange(file, gray);
    document.log("Layer[%d].GrayBlendSource: %u, %u\n", index, unsigned{gray.sourceLow},
                 unsigned{gray.sourceHigh});
    document.log("Layer[%d].GrayBlendDest: %u, %u\n", index, unsigned{gray.destinationLow},
                 unsigned{gray.destinationHigh});
    // The file held the list of all channels, so their number is in proportion to it.
    layer.channelBlendRanges.resize(dib::asSize(layer.channelCount));
    int channel = 0;
    for (PSDLayerInfo::BLEND_RANGE& range : layer.channelBlendRanges) {
        readBlendRange(file, range);
        document.log("Layer[%d].Channel[%d].BlendSource: %u, %u\n", index, channel, unsigned{range.sourceLow},
                     unsigned{range.sourceHigh});
        document.log("Layer[%d].Channel[%d].BlendDest: %u, %u\n", index, channel,
                     unsigned{range.destinationLow}, unsigned{range.destinationHigh});
        ++channel;
    }
    file.seek(end);
}

bool readRecord(Document& document, PSDLayerInfo& layer, int index, ChannelLengths& lengths) {
    Reader& file = document.file;
    file.readNumbers(layer.top, layer.left, layer.bottom, layer.right);
    readChannelList(document, layer, index, lengths);
    readBlending(document, layer, index);

    std::uint32_t extraLength = 0;
    file.readNumber(extraLength);
    const std::int64_t extraEnd = file.position() + extraLength;
    readLayerMask(file, layer);
    readBlendRanges(document, layer, index);
    if (!readText(file, layer.name, 4) && file.remaining() > 0) return false;
    while (file.position() < extraEnd) {
        unsigned char signatureAndKey[8];
        std::uint32_t length = 0;
        if (!file.read(signatureAndKey, sizeof signatureAndKey) || !file.readNumber(length)) break;
        file.seek(file.position() + length);
    }
    return file.position() == extraEnd;
}

bool readPixels(Document& document, std::size_t index, const ChannelLengths& lengths) {
    Reader& file = document.file;
    const PSDLayerInfo& layer = document.layers[index];
    const std::int64_t width = extent(layer.left, layer.right);
    const std::int64_t height = extent(layer.top, layer.bottom);
    ImagePtr image;
    if (width > 0 && height > 0) {
        image.reset(new DibStream);
        if (!createWhitePicture(file, *image, width, height, 32)) return false;
    }
    for (std::size_t channel = 0; channel < lengths.size(); ++channel) {
        const std::int64_t channelEnd = file.position() + lengths[channel];
        const PSD_CHANNEL_ID id = layer.channelIDs[channel];
        if (id <= PSD_CHANNEL_MASK && document.wantsMasks() && hasMaskPixels(layer)) {
            // The channel's length is not consulted after a mask: the next channel begins where it ended.
            if (!checkMaskPixels(document, layer, dib::asInt(index))) return false;
            continue;
        }
        if (id > PSD_CHANNEL_MASK && image != nullptr &&
            !readImageData(document, image.get(), nullptr, {&id, 1})) {
            document.log("Failed load Layer[%d].Channel[%d]\n", dib::asInt(index), dib::asInt(channel));
            return false;
        }
        file.seek(channelEnd);
    }
    document.layerImages[index].image = image.release();
    return true;
}

bool readAllLayers(Document& document, int count) {
    // Records are created as they are read: a count beyond the end of the file costs no memory.
    std::vector<ChannelLengths> channelLengths;
    for (int i = 0; i < count && document.file.remaining() > 0; ++i) {
        PSDLayerInfo& layer = document.layers.emplace_back();
        if (!document.report() || !readRecord(document, layer, i, channelLengths.emplace_back()))
            return false;
    }
    document.layerImages.resize(document.layers.size());
    for (std::size_t i = 0; i < channelLengths.size(); ++i) {
        if (!readPixels(document, i, channelLengths[i])) return false;
    }
    return true;
}

}  // namespace

bool readLayers(Document& document) {
    Reader& file = document.file;
    std::uint32_t sectionLength = 0;
    if (document.isReadingLayers || !document.report() || !file.readNumber(sectionLength)) return false;
    const std::int64_t sectionEnd = file.position() + sectionLength;
    // A section too short for the length of its layer list has no layers; the bytes after it are picture.
    std::uint32_t listLength = 0;
    if (document.wantsLayers() && sectionLength >= 4 && !file.readNumber(listLength)) return false;
    if (listLength == 0) {
        file.seek(sectionEnd);
        return true;
    }
    std::int16_t signedCount = 0;
    if (!file.readNumber(signedCount)) return false;
    // A negative count says that the first alpha channel of the merged picture is its transparency.
    const int count = std::abs(signedCount);
    document.log("NumLayer: %d\n", count);
    document.log("HasAlpha: %d\n", (count >> 15) & 1);

    document.layers.clear();
    document.layerImages.clear();
    document.isReadingLayers = true;
    bool whole = false;
    try {
        whole = readAllLayers(document, count);
    } catch (const std::bad_alloc&) {
        // The lists of layers and channels grow with the file.
    }
    document.isReadingLayers = false;
    if (whole) file.seek(sectionEnd);
    return whole;
}

}  // namespace formats::psd
