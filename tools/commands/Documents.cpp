#include "tools/commands/Documents.h"

#include <algorithm>

#include "formats/diagnosis/Diagnosis.h"
#include "formats/diagnosis/PsdLayers.h"
#include "tools/cli/Cancel.h"

namespace tool {

namespace {

constexpr const char* kColorModes[] = {"bitmap", "grey", "indexed", "RGB", "CMYK"};

constexpr const char* kBlendModes[] = {
    "normal",    "darken",      "lighten",      "hue",          "saturation",   "color",       "luminosity",
    "multiply",  "screen",      "dissolve",     "overlay",      "hard-light",   "soft-light",  "difference",
    "exclusion", "color-dodge", "color-burn",   "unknown",      "linear-dodge", "vivid-light", "linear-light",
    "pin-light", "hard-mix",    "pass-through", "darker-color", "lighter-color"};

template <std::size_t kCount>
std::string nameOf(const char* const (&names)[kCount], int value) {
    return value >= 0 && value < static_cast<int>(kCount) ? names[value] : "unknown";
}

LayerInfo layerInfo(const DibPSDLoader& loader, int index) {
    const PSDLayerInfo& layer = *loader.GetLayerInfo(index);
    LayerInfo info{layer.name != nullptr ? layer.name : "",
                   {layer.left, layer.top, layer.right, layer.bottom},
                   nameOf(kBlendModes, layer.blendMode),
                   layer.opacity,
                   // The query returns the bit of layers that are switched off.
                   loader.GetLayerVisible(index) == 0,
                   {}};
    if (layer.hasMask) info.mask = {layer.maskLeft, layer.maskTop, layer.maskRight, layer.maskBottom};
    return info;
}

Json jsonOf(const Rectangle& rectangle) {
    return {{"left", rectangle.left},
            {"top", rectangle.top},
            {"right", rectangle.right},
            {"bottom", rectangle.bottom}};
}

std::string textOf(const Rectangle& rectangle) {
    return std::to_string(rectangle.right - rectangle.left) + "x" +
           std::to_string(rectangle.bottom - rectangle.top) + " at " + std::to_string(rectangle.left) + "," +
           std::to_string(rectangle.top);
}

std::string textOf(const LayerInfo& layer) {
    return "\"" + printable(layer.name) + "\": " + textOf(layer.rectangle) + ", " + layer.blendMode +
           ", opacity " + std::to_string(layer.opacity) + ", " + (layer.isVisible ? "visible" : "hidden") +
           (layer.mask ? ", mask " + textOf(*layer.mask) : "");
}

}  // namespace

DocumentInfo documentInfo(DibPSDLoader& loader, const InputFile& file) {
    DocumentInfo info{
        nameOf(kColorModes, loader.GetColorMode()), loader.GetDepth(), loader.GetChannelNum(), {}, 0};
    for (int i = 0; i < loader.GetLayerNum(); ++i) info.layers.push_back(layerInfo(loader, i));
    const FilePtr opened = file.open();
    formats::ByteReader reader(opened.get());
    const int announced = formats::inspectPsdLayers(formats::RefusedFile(reader)).count;
    info.layerCount = std::max(announced, loader.GetLayerNum());
    return info;
}

namespace {

Json jsonOf(const LayerInfo& layer) {
    return {{"name", layer.name},           {"rectangle", jsonOf(layer.rectangle)},
            {"blendMode", layer.blendMode}, {"opacity", layer.opacity},
            {"visible", layer.isVisible},   {"mask", layer.mask ? jsonOf(*layer.mask) : Json()}};
}

}  // namespace

Json jsonOf(const DocumentInfo& document) {
    return {{"colorMode", document.colorMode},
            {"bitsPerChannel", document.bitsPerChannel},
            {"channels", document.channels},
            {"layers", jsonList(document.layers, [](const LayerInfo& layer) { return jsonOf(layer); })},
            {"layerCount", document.layerCount},
            {"layersReadable", document.layersReadable}};
}

std::string textOf(const DocumentInfo& document) {
    std::string text = "  " + document.colorMode + ", " + std::to_string(document.bitsPerChannel) +
                       " bits per channel, " + std::to_string(document.channels) + " channels, " +
                       std::to_string(document.layerCount) +
                       (document.layerCount == 1 ? " layer" : " layers") +
                       (document.layersReadable ? "" : " (their pixels cannot be read)") + "\n";
    int number = 0;
    for (const LayerInfo& layer : document.layers)
        text += "  layer " + std::to_string(number++) + " " + textOf(layer) + "\n";
    return text;
}

DocumentInfo readDocument(const InputFile& file) {
    DibPSDLoader loader;
    const auto isWanted = [](float, void*) { return !isCancelled(); };
    loader.SetCallback(isWanted, nullptr);
    loader.EnableLayer(true);
    // Layers that cannot be decoded still have records, and more is not needed here.
    const bool isLoaded = loader.Load(file.open().get());
    stopIfCancelled();
    DocumentInfo info = documentInfo(loader, file);
    info.layersReadable = isLoaded && info.layerCount == loader.GetLayerNum();
    return info;
}

std::string layersProblem(const InputFile& file) {
    const FilePtr opened = file.open();
    formats::ByteReader reader(opened.get());
    return formats::whyRefused(reader, formats::diagnosePsdLayers, DIB_ERROR_INVALID);
}

// The compression word follows three sections of any length.
std::string mergedCompression(const InputFile& file) {
    const FilePtr opened = file.open();
    formats::ByteReader reader(opened.get());
    const formats::RefusedFile bytes(reader);
    std::int64_t at = 26;
    for (int section = 0; section < 3; ++section) at += 4 + std::int64_t{bytes.be32(at)};
    if (at + 2 > bytes.size()) return "unknown";
    return bytes.be16(at) == 0 ? "none" : "packbits";
}

}  // namespace tool
