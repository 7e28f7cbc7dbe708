#include "tools/commands/Documents.h"

#include "texts/Tables.h"
#include "tools/cli/Cancel.h"
#include "tools/cli/Printable.h"
#include "tools/commands/Pictures.h"

namespace tool {

namespace {

constexpr const char* kBlendModes[] = {
    "normal",    "darken",      "lighten",      "hue",          "saturation",   "color",       "luminosity",
    "multiply",  "screen",      "dissolve",     "overlay",      "hard-light",   "soft-light",  "difference",
    "exclusion", "color-dodge", "color-burn",   "unknown",      "linear-dodge", "vivid-light", "linear-light",
    "pin-light", "hard-mix",    "pass-through", "darker-color", "lighter-color"};

constexpr const char* kKinds[] = {"plain", "group", "group-end"};

std::string blendModeOf(const DibLayer& layer) {
    const bool isKnown = layer.blendMode >= 0 && layer.blendMode < static_cast<int>(std::size(kBlendModes));
    return isKnown ? kBlendModes[layer.blendMode] : "unknown";
}

// A layer or a mask.
template <class Part>
Json rectangleOf(const Part& part) {
    return {{"left", part.left},
            {"top", part.top},
            {"right", std::int64_t{part.left} + part.width},
            {"bottom", std::int64_t{part.top} + part.height}};
}

template <class Part>
std::string placeOf(const Part& part) {
    return std::to_string(part.width) + "x" + std::to_string(part.height) + " at " +
           std::to_string(part.left) + "," + std::to_string(part.top);
}

Json jsonOf(const DibLayerMask& mask) { return mask.exists ? rectangleOf(mask) : Json(); }

std::string textOf(const DibLayer& layer) {
    std::string text = "\"" + printable(layer.name) + "\": ";
    if (layer.kind != DIB_LAYER_PLAIN) text += std::string(kKinds[layer.kind]) + ", ";
    text += placeOf(layer) + ", " + blendModeOf(layer) + ", opacity " + std::to_string(layer.opacity) + ", " +
            (layer.isVisible ? "visible" : "hidden");
    if (layer.group >= 0) text += ", in layer " + std::to_string(layer.group);
    if (layer.isClipped) text += ", clipped";
    if (layer.masks[0].exists) text += ", mask " + placeOf(layer.masks[0]);
    if (layer.masks[1].exists) text += ", second mask " + placeOf(layer.masks[1]);
    return text;
}

}  // namespace

bool isDocument(const DibFileInfo& header) {
    return header.format->hasLayers && (header.format->plugin == nullptr || header.layers > 0);
}

DibLayers readLayers(const InputFile& file, const DibLoadOptions& options) {
    DibLayers layers;
    DibFileResult result;
    const bool isRead = file.listLayers(layers, options, result);
    stopIfCancelled();
    if (!isRead) throw loadFailure(file.title(), result);
    return layers;
}

Json jsonOf(const DibLayer& layer) {
    return {{"name", layer.name},
            {"kind", kKinds[layer.kind]},
            {"group", layer.group >= 0 ? Json(layer.group) : Json()},
            {"rectangle", rectangleOf(layer)},
            {"blendMode", blendModeOf(layer)},
            {"opacity", layer.opacity},
            {"visible", layer.isVisible},
            {"clipped", layer.isClipped},
            {"mask", jsonOf(layer.masks[0])},
            {"secondMask", jsonOf(layer.masks[1])}};
}

Json documentJson(const DibFileInfo& header, const DibLayers& layers) {
    Json json = Json::object();
    if (header.channelBits > 0) {
        json["colorMode"] = header.colors;
        json["bitsPerChannel"] = header.channelBits;
    }
    json["layers"] = Json::array();
    for (std::size_t i = 0; i < layers.count; ++i) json["layers"].push_back(jsonOf(layers.items[i]));
    json["layerCount"] = header.layers;
    return json;
}

std::string documentText(const DibFileInfo& header, const DibLayers& layers) {
    std::string text = "  ";
    if (header.channelBits > 0) {
        text +=
            std::string(header.colors) + ", " + std::to_string(header.channelBits) + " bits per channel, ";
    }
    text += texts::countText(header.layers, "layer") + "\n";
    for (std::size_t i = 0; i < layers.count; ++i)
        text += "  layer " + std::to_string(i) + " " + textOf(layers.items[i]) + "\n";
    return text;
}

}  // namespace tool
