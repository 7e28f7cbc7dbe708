#include "tools/commands/Documents.h"

#include <algorithm>
#include <utility>

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
                   // The query returns the flag of hidden layers.
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

Json jsonOf(const LayerInfo& layer) {
    return {{"name", layer.name},           {"rectangle", jsonOf(layer.rectangle)},
            {"blendMode", layer.blendMode}, {"opacity", layer.opacity},
            {"visible", layer.isVisible},   {"mask", layer.mask ? jsonOf(*layer.mask) : Json()}};
}

std::string textOf(const LayerInfo& layer) {
    return "\"" + printable(layer.name) + "\": " + textOf(layer.rectangle) + ", " + layer.blendMode +
           ", opacity " + std::to_string(layer.opacity) + ", " + (layer.isVisible ? "visible" : "hidden") +
           (layer.mask ? ", mask " + textOf(*layer.mask) : "");
}

// Ends a load before the pixels of layers: the loader reports once for each of four sections, then once for
// each record, then for pixels.
class RecordReader {
public:
    explicit RecordReader(const DibPSDLoader& loader) : loader_(loader) {}
    static bool report(float, void* user) { return static_cast<RecordReader*>(user)->isWanted(); }

private:
    bool isWanted() {
        constexpr int kSections = 4;
        const bool isRecord = std::exchange(records_, loader_.GetLayerNum()) != loader_.GetLayerNum();
        return !isCancelled() && (isRecord || ++sections_ <= kSections);
    }

    const DibPSDLoader& loader_;
    int records_ = 0;
    int sections_ = 0;
};

}  // namespace

DocumentInfo documentInfo(DibPSDLoader& loader, int layerCount) {
    DocumentInfo info{nameOf(kColorModes, loader.GetColorMode()),
                      loader.GetDepth(),
                      loader.GetChannelNum(),
                      std::max(layerCount, loader.GetLayerNum()),
                      {}};
    for (int i = 0; i < loader.GetLayerNum(); ++i) info.layers.push_back(layerInfo(loader, i));
    return info;
}

DocumentInfo readDocument(const InputFile& file, int layerCount) {
    DibPSDLoader loader;
    RecordReader reader(loader);
    loader.SetCallback(&RecordReader::report, &reader);
    loader.EnableLayer(true);
    loader.Load(file.open().get());
    stopIfCancelled();
    return documentInfo(loader, layerCount);
}

Json jsonOf(const DocumentInfo& document) {
    return {{"colorMode", document.colorMode},
            {"bitsPerChannel", document.bitsPerChannel},
            {"channels", document.channels},
            {"layers", jsonList(document.layers, [](const LayerInfo& layer) { return jsonOf(layer); })},
            {"layerCount", document.layerCount}};
}

std::string textOf(const DocumentInfo& document) {
    std::string text = "  " + document.colorMode + ", " + std::to_string(document.bitsPerChannel) +
                       " bits per channel, " + std::to_string(document.channels) + " channels, " +
                       std::to_string(document.layerCount) +
                       (document.layerCount == 1 ? " layer\n" : " layers\n");
    int number = 0;
    for (const LayerInfo& layer : document.layers)
        text += "  layer " + std::to_string(number++) + " " + textOf(layer) + "\n";
    return text;
}

}  // namespace tool
