// What the public records of layers own.
#include <DibPSDLoader.h>

#include <cstdlib>
#include <tuple>
#include <utility>

PSDLayerInfo::BLEND_RANGE::BLEND_RANGE()
    : sourceLow(0), sourceHigh(65535), destinationLow(0), destinationHigh(65535) {}

PSDLayerInfo::PSDLayerInfo() = default;

PSDLayerInfo::~PSDLayerInfo() { std::free(name); }

PSDLayerInfo::PSDLayerInfo(PSDLayerInfo&& other) noexcept { *this = std::move(other); }

PSDLayerInfo& PSDLayerInfo::operator=(PSDLayerInfo&& other) noexcept {
    const auto plain = [](PSDLayerInfo& info) {
        return std::tie(info.top, info.left, info.bottom, info.right, info.channelCount, info.blendMode,
                        info.opacity, info.clipping, info.flags, info.hasMask, info.maskTop, info.maskLeft,
                        info.maskBottom, info.maskRight, info.maskDefaultColor, info.maskFlags,
                        info.grayBlendRange);
    };
    plain(*this) = plain(other);
    std::swap(channelIDs, other.channelIDs);
    std::swap(name, other.name);
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
