#include "formats/psd/LayerList.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "dib/Bytes.h"
#include "dib/Numbers.h"
#include "formats/diagnosis/Diagnosis.h"
#include "formats/psd/BlendMode.h"
#include "formats/psd/Outline.h"

namespace formats::psd {

namespace {

void describeMask(const MaskRecord& record, bool hasPlane, DibLayerMask& mask) {
    constexpr int kDisabled = 2;
    mask.exists = record.exists;
    mask.isDisabled = (record.flags & kDisabled) != 0;
    mask.left = record.rectangle.left;
    mask.top = record.rectangle.top;
    mask.outside = record.outside;
    if (!hasPlane || record.rectangle.isEmpty()) return;
    mask.width = dib::saturatedInt(record.rectangle.width());
    mask.height = dib::saturatedInt(record.rectangle.height());
}

// Copies a name as far as it fits, without a part of a letter at its end.
void copyName(const std::string& name, char* to, std::size_t room) {
    std::size_t length = std::min(name.size(), room - 1);
    while (length < name.size() && length > 0 && (dib::byteOf(name[length]) & 0xC0) == 0x80) --length;
    std::memcpy(to, name.data(), length);
    to[length] = '\0';
}

void describeLayer(const LayerRecord& record, DibLayer& layer) {
    constexpr int kHidden = 2;
    copyName(record.name, layer.name, sizeof layer.name);
    layer.kind = record.divider == 1 || record.divider == 2 ? DIB_LAYER_GROUP
                 : record.divider == 3                      ? DIB_LAYER_GROUP_END
                                                            : DIB_LAYER_PLAIN;
    layer.left = record.rectangle.left;
    layer.top = record.rectangle.top;
    if (!record.rectangle.isEmpty()) {
        layer.width = dib::saturatedInt(record.rectangle.width());
        layer.height = dib::saturatedInt(record.rectangle.height());
    }
    layer.opacity = record.opacity;
    layer.isVisible = (record.flags & kHidden) == 0;
    layer.isClipped = record.clipping != 0;
    const char key[] = {dib::charOf(record.blendKey >> 24), dib::charOf(record.blendKey >> 16 & 255),
                        dib::charOf(record.blendKey >> 8 & 255), dib::charOf(record.blendKey & 255)};
    layer.blendMode = blendModeOf(key);
    describeMask(record.masks[0], record.channel(kMask) != nullptr, layer.masks[0]);
    describeMask(record.masks[1], record.channel(kSecondMask) != nullptr, layer.masks[1]);
}

// From the highest layer down, a group comes before its layers and its end after them.
void findGroups(DibLayers& layers) {
    std::vector<int> open;
    for (std::size_t i = layers.count; i-- > 0;) {
        DibLayer& layer = layers.items[i];
        if (!open.empty()) layer.group = open.back();
        if (layer.kind == DIB_LAYER_GROUP_END && !open.empty()) open.pop_back();
        if (layer.kind == DIB_LAYER_GROUP) open.push_back(dib::asInt(i));
    }
}

}  // namespace

bool listLayers(LayersRequest& request) {
    const RefusedFile file(request.file);
    if (const Problem problem = headerProblem(file); !problem.empty()) return refuse(request.result, problem);
    const Outline outline = outlineOf(file);
    if (outline.layerCount > request.options.mostLayers) {
        return refuse(request.result, DIB_ERROR_MISMATCH,
                      "the document has %d layers; the limit of layers is %d", outline.layerCount,
                      request.options.mostLayers);
    }
    const std::vector<LayerRecord> records = layersOf(file, outline);
    if (records.size() < dib::asSize(outline.layerCount)) {
        note(request.result, DIB_NOTE_WARNING, "the layers end too early: %zu of %d were found",
             records.size(), outline.layerCount);
    }
    DibLayers layers;
    if (!records.empty()) {
        layers.items = static_cast<DibLayer*>(std::malloc(records.size() * sizeof(DibLayer)));
        if (layers.items == nullptr) return refuseForMemory(request.result, "for the layers");
    }
    for (const LayerRecord& record : records)
        describeLayer(record, *new (layers.items + layers.count++) DibLayer);
    findGroups(layers);
    request.layers = std::move(layers);
    return true;
}

}  // namespace formats::psd
