#include "tools/commands/Documents.h"

#include <utility>

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

DocumentInfo readDocument(const InputFile& file, const DibFileInfo& header, const DibLoadOptions& options) {
    DocumentInfo document{header, {}};
    DibFileResult result;
    const bool isRead = file.listLayers(document.layers, options, result);
    stopIfCancelled();
    if (!isRead) throw loadFailure(file.title(), result);
    return document;
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

Json jsonOf(const DocumentInfo& document) {
    Json layers = Json::array();
    for (std::size_t i = 0; i < document.layers.count; ++i)
        layers.push_back(jsonOf(document.layers.items[i]));
    Json json = Json::object();
    if (document.header.channels > 0) {
        json["colorMode"] = document.header.colors;
        json["bitsPerChannel"] = document.header.channelBits;
        json["channels"] = document.header.channels;
    }
    json["layers"] = std::move(layers);
    json["layerCount"] = document.header.layers;
    return json;
}

std::string textOf(const DocumentInfo& document) {
    const DibFileInfo& header = document.header;
    std::string text = "  ";
    if (header.channels > 0) {
        text += std::string(header.colors) + ", " + std::to_string(header.channelBits) +
                " bits per channel, " + std::to_string(header.channels) + " channels, ";
    }
    text += std::to_string(header.layers) + (header.layers == 1 ? " layer\n" : " layers\n");
    for (std::size_t i = 0; i < document.layers.count; ++i)
        text += "  layer " + std::to_string(i) + " " + textOf(document.layers.items[i]) + "\n";
    return text;
}

}  // namespace tool
