#include "formats/psd/Picture.h"

#include <algorithm>
#include <vector>

#include "dib/Numbers.h"
#include "formats/diagnosis/Diagnosis.h"
#include "formats/door/Request.h"

namespace formats::psd {

namespace {

// Reads the packing in front of a block. False with the reason when it is not known or cannot be undone.
bool beginBlock(const RefusedFile& file, const Outline& outline, Extent data, const Picture& picture,
                DibFileResult& result, PlaneBlock& block) {
    const std::uint32_t packing = file.be16(data.start);
    if (packing > kLastPacking)
        return refuse(result, DIB_ERROR_INVALID, "the compression %u of the pixels is not known", packing);
    block.packing = static_cast<Packing>(packing);
    if (isZip(block.packing) && !Inflater::isAvailable())
        return refuse(result, DIB_ERROR_UNSUPPORTED,
                      "ZIP-compressed pixels are not read by a build without zlib");
    block.data = {std::min(data.start + 2, data.end), data.end};
    block.rows = picture.height;
    block.rowBytes = (dib::asSize(picture.width) * dib::asSize(outline.depth) + 7) / 8;
    block.depth = outline.depth;
    block.isLarge = outline.isLarge;
    return true;
}

// A picture of a size that can exist.
bool sizePicture(std::int64_t width, std::int64_t height, int bitCount, DibFileResult& result,
                 Picture& picture) {
    if (const Problem problem = sizeProblem(width, height, bitCount); !problem.empty())
        return refuse(result, problem);
    picture.width = dib::asInt(width);
    picture.height = dib::asInt(height);
    picture.kind.bitCount = bitCount;
    return true;
}

bool findMerged(const RefusedFile& file, const Outline& outline, DibFileResult& result, Picture& picture) {
    picture.kind = {outline.mode,     outline.depth,     outline.colors(), outline.hasTransparency,
                    outline.isMatted, outline.bitCount()};
    if (!sizePicture(outline.width, outline.height, outline.bitCount(), result, picture)) return false;
    if (outline.picture + 2 > file.size())
        return refuse(result, DIB_ERROR_READ, "the file ends before its merged picture");
    PlaneBlock& block = picture.blocks[0];
    picture.isOneBlock = true;
    if (!beginBlock(file, outline, {outline.picture, file.size()}, picture, result, block)) return false;
    block.planes = outline.channels;
    // A damaged header may announce fewer channels than its colours need.
    for (int plane = 0; plane < outline.channels && plane < dib::asInt(picture.planes()); ++plane)
        picture.exists[dib::asSize(plane)] = true;
    return true;
}

bool findPlane(const RefusedFile& file, const Outline& outline, const LayerRecord& layer, int id,
               std::size_t plane, DibFileResult& result, Picture& picture) {
    const ChannelRecord* channel = layer.channel(id);
    const bool exists = channel != nullptr && channel->data.end - channel->data.start > 2;
    picture.exists[plane] = exists;
    return !exists || beginBlock(file, outline, channel->data, picture, result, picture.blocks[plane]);
}

bool findLayer(const RefusedFile& file, const Outline& outline, const LayerRecord& layer, int number,
               DibFileResult& result, Picture& picture) {
    if (layer.rectangle.isEmpty())
        return refuse(result, DIB_ERROR_MISMATCH, "layer %d has no pixels", number);
    picture.kind = {outline.mode, outline.depth, outline.colors(), true, false, 32};
    if (!sizePicture(layer.rectangle.width(), layer.rectangle.height(), 32, result, picture)) return false;
    for (int color = 0; color < outline.colors(); ++color) {
        if (!findPlane(file, outline, layer, color, dib::asSize(color), result, picture)) return false;
    }
    return findPlane(file, outline, layer, kTransparency, dib::asSize(outline.colors()), result, picture);
}

bool findMask(const RefusedFile& file, const Outline& outline, const LayerRecord& layer, int number,
              int which, DibFileResult& result, Picture& picture) {
    const MaskRecord& mask = layer.masks[which];
    const int id = which == 0 ? kMask : kSecondMask;
    if (!mask.exists || mask.rectangle.isEmpty() || layer.channel(id) == nullptr) {
        return refuse(result, DIB_ERROR_MISMATCH, "layer %d has no %smask with pixels", number,
                      which == 0 ? "" : "second ");
    }
    picture.kind = {kMultichannel, outline.depth, 1, false, false, 8, false};
    return sizePicture(mask.rectangle.width(), mask.rectangle.height(), 8, result, picture) &&
           findPlane(file, outline, layer, id, 0, result, picture);
}

}  // namespace

bool findPicture(const RefusedFile& file, const Outline& outline, const DibLoadOptions& options,
                 DibFileResult& result, Picture& picture) {
    if (options.layer < 0) return findMerged(file, outline, result, picture);
    const std::vector<LayerRecord> layers = layersOf(file, outline);
    if (dib::asSize(options.layer) >= layers.size())
        return refuse(result, DIB_ERROR_INVALID, "the layers are damaged or end too early");
    const LayerRecord& layer = layers[dib::asSize(options.layer)];
    if (options.part == DIB_LAYER_PIXELS)
        return findLayer(file, outline, layer, options.layer, result, picture);
    const int mask = options.part == DIB_LAYER_MASK ? 0 : 1;
    return findMask(file, outline, layer, options.layer, mask, result, picture);
}

}  // namespace formats::psd
