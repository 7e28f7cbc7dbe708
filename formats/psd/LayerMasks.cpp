#include "formats/psd/LayerMasks.h"

#include "formats/CodecFrame.h"
#include "formats/psd/Pixels.h"

namespace formats::psd {

void readLayerMask(Reader& file, PSDLayerInfo& layer) {
    std::uint32_t length = 0;
    file.readNumber(length);
    if (length == 0) return;
    const std::int64_t end = file.position() + length;
    file.readNumbers(layer.maskTop, layer.maskLeft, layer.maskBottom, layer.maskRight);
    file.readNumbers(layer.maskDefaultColor, layer.maskFlags);
    layer.hasMask = true;
    file.seek(end);
}

bool hasMaskPixels(const PSDLayerInfo& layer) {
    return layer.maskRight > layer.maskLeft && layer.maskBottom > layer.maskTop;
}

bool checkMaskPixels(Document& document, const PSDLayerInfo& layer, int index) {
    const ImagePtr mask(new DibStream);
    const std::int64_t width = extent(layer.maskLeft, layer.maskRight);
    const std::int64_t height = extent(layer.maskTop, layer.maskBottom);
    if (!createWhitePicture(document.file, *mask, width, height, 8)) return false;
    constexpr PSD_CHANNEL_ID kPlane[] = {PSD_CHANNEL_RED};
    if (readImageData(document, mask.get(), nullptr, kPlane)) return true;
    document.log("Failed load Layer[%d].Mask\n", index);
    return false;
}

}  // namespace formats::psd
