#include "tools/Layers.h"

#include <DibPSDLoader.h>

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

#include "formats/diagnosis/PsdLayers.h"
#include "tools/Cancel.h"
#include "tools/Chain.h"
#include "tools/Failure.h"
#include "tools/ImagePtr.h"
#include "tools/JsonText.h"
#include "tools/Printable.h"
#include "tools/Sides.h"

namespace tool {

namespace {

using Json = nlohmann::ordered_json;

constexpr const char* kColorModes[] = {"bitmap", "grey", "indexed", "RGB", "CMYK"};
constexpr int kGreyMode = 1;

constexpr const char* kBlendModes[] = {
    "normal",    "darken",      "lighten",      "hue",          "saturation",   "color",       "luminosity",
    "multiply",  "screen",      "dissolve",     "overlay",      "hard-light",   "soft-light",  "difference",
    "exclusion", "color-dodge", "color-burn",   "unknown",      "linear-dodge", "vivid-light", "linear-light",
    "pin-light", "hard-mix",    "pass-through", "darker-color", "lighter-color"};

std::string blendModeName(int mode) {
    return mode >= 0 && mode < static_cast<int>(std::size(kBlendModes)) ? kBlendModes[mode] : "unknown";
}

Json rectangle(std::int32_t left, std::int32_t top, std::int32_t right, std::int32_t bottom) {
    return {{"left", left}, {"top", top}, {"right", right}, {"bottom", bottom}};
}

// The bit that the query tells is set for layers that are switched off.
bool isShown(const DibPSDLoader& loader, int index) { return loader.GetLayerVisible(index) == 0; }

Json describeLayer(const DibPSDLoader& loader, int index) {
    const PSDLayerInfo& layer = *loader.GetLayerInfo(index);
    return {
        {"name", layer.name != nullptr ? layer.name : ""},
        {"rectangle", rectangle(layer.left, layer.top, layer.right, layer.bottom)},
        {"blendMode", blendModeName(layer.blendMode)},
        {"opacity", layer.opacity},
        {"visible", isShown(loader, index)},
        {"mask", layer.hasMask ? rectangle(layer.maskLeft, layer.maskTop, layer.maskRight, layer.maskBottom)
                               : Json()}};
}

Json describeLayers(const DibPSDLoader& loader) {
    Json layers = Json::array();
    for (int i = 0; i < loader.GetLayerNum(); ++i) layers.push_back(describeLayer(loader, i));
    return layers;
}

void describeHeader(DibPSDLoader& loader, Json& json) {
    const int mode = loader.GetColorMode();
    json["colorMode"] = mode < static_cast<int>(std::size(kColorModes)) ? kColorModes[mode] : "unknown";
    json["bitsPerChannel"] = loader.GetDepth();
    json["channels"] = loader.GetChannelNum();
}

std::string rectangleText(const Json& json) {
    const std::int64_t left = json["left"];
    const std::int64_t top = json["top"];
    const std::int64_t width = json["right"].get<std::int64_t>() - left;
    const std::int64_t height = json["bottom"].get<std::int64_t>() - top;
    return std::to_string(width) + "x" + std::to_string(height) + " at " + std::to_string(left) + "," +
           std::to_string(top);
}

// A file name made of a layer's number, which makes it unique, and the harmless part of its name: whatever
// the document says, it is no path, hidden file, device or option.
std::string fileNameOf(int index, const std::string& layerName, const Format& format) {
    constexpr std::size_t kLongest = 40;
    std::string number = std::to_string(index);
    number.insert(0, number.size() < 3 ? 3 - number.size() : 0, '0');
    std::string name;
    for (const char c : layerName) {
        if (name.size() == kLongest) break;
        const auto byte = static_cast<unsigned char>(c);
        name += byte < 128 && (std::isalnum(byte) != 0 || c == '-') ? c : '_';
    }
    if (name.find_first_not_of('_') == std::string::npos) name = "layer";
    return number + "-" + name + "." + std::string(format.extensions.front());
}

const Format& pictureFormat(const Format* chosen) {
    const Format& format = chosen != nullptr ? *chosen : formatNamed("png");
    if (format.save == nullptr) throw usageFailure(std::string(format.name) + " is not written");
    return format;
}

std::string diagnoseDocument(const formats::RefusedFile& file) {
    const std::string problem = formats::diagnosePsd(file);
    return problem.empty() ? formats::diagnosePsdLayers(file) : problem;
}

// Layers of grey documents come with their grey in blue alone.
void spreadGrey(DibStream& image) {
    for (int y = 0; y < height(image); ++y) {
        auto* row = reinterpret_cast<DibBGRA*>(image.ScanLine(y));
        for (int x = 0; x < width(image); ++x) row[x].red = row[x].green = row[x].blue;
    }
}

std::string within(const std::string& folder, const std::string& name) {
    return (std::filesystem::path(folder) / name).string();
}

}  // namespace

void exportLayers(const LayerExport& job) {
    const Format& format = pictureFormat(job.format);
    const InputFile file(job.input);
    if (!inputFormatOf(file, job.input, job.inputFormat).hasLayers) {
        throw Failure(kExitBadInput, file.title() + ": " + DibStream::GetErrorString(DIB_ERROR_UNSUPPORTED) +
                                         " (pictures of this format have no layers)");
    }
    Progress progress(2, job.showsProgress);
    const ImagePtr merged(new DibStream);
    DibPSDLoader loader(merged.get());
    loader.SetCallback(&Progress::report, &progress);
    loader.EnableLayer(true);
    progress.beginStep("load");
    const bool loaded = loader.Load(file.path());
    stopIfCancelled();
    const int announced = formats::inspectPsdLayers(formats::RefusedFile(file.path())).count;
    if (!loaded || loader.GetLayerNum() < announced) {
        throw Failure(kExitBadInput,
                      file.title() +
                          ": load: " + formats::whyRefused(file.path(), diagnoseDocument, merged->ErrorCode));
    }
    progress.endStep();

    makeFolder(job.folder);
    progress.beginStep("save");
    Json manifest = {{"document", file.title()}, {"width", width(*merged)}, {"height", height(*merged)}};
    describeHeader(loader, manifest);
    manifest["layers"] = describeLayers(loader);
    for (int i = 0; i < loader.GetLayerNum(); ++i) {
        int left = 0;
        int top = 0;
        const ImagePtr image(loader.GetLayerImage(i, left, top));
        Json& layer = manifest["layers"][static_cast<std::size_t>(i)];
        layer["file"] = nullptr;
        if (image == nullptr) continue;
        if (loader.GetColorMode() == kGreyMode) spreadGrey(*image);
        const char* layerName = loader.GetLayerInfo(i)->name;
        const std::string name = fileNameOf(i, layerName != nullptr ? layerName : "", format);
        OutputFile picture(within(job.folder, name));
        savePicture(picture, format, *image, progress);
        picture.commit();
        layer["file"] = name;
    }
    writeText(within(job.folder, "manifest.json"), jsonText(manifest));
    progress.endStep();
}

namespace {

// How the merged picture is packed, which a word behind three sections of any length tells.
std::string mergedCompression(const char* path) {
    constexpr std::streamoff kHeaderBytes = 26;
    std::ifstream in(path, std::ios::binary);
    in.seekg(kHeaderBytes);
    const auto number = [&in](int bytes) {
        std::uint32_t value = 0;
        for (; bytes > 0; --bytes) value = value << 8 | static_cast<std::uint32_t>(in.get() & 255);
        return value;
    };
    for (int section = 0; section < 3; ++section) in.seekg(std::streamoff{number(4)}, std::ios::cur);
    const std::uint32_t compression = number(2);
    if (!in) return "unknown";
    return compression == 0 ? "none" : "packbits";
}

}  // namespace

void describeDocument(const InputFile& file, Json& info) {
    Progress progress(1, false);
    DibPSDLoader loader;
    loader.SetCallback(&Progress::report, &progress);
    loader.EnableLayer(true);
    // Layers that cannot be decoded still have records, which tell as much as is asked for here.
    const bool whole = loader.Load(file.path());
    stopIfCancelled();
    describeHeader(loader, info);
    info["compression"] = mergedCompression(file.path());
    info["layers"] = describeLayers(loader);
    const int announced = formats::inspectPsdLayers(formats::RefusedFile(file.path())).count;
    info["layerCount"] = std::max(announced, loader.GetLayerNum());
    info["layersReadable"] = whole && announced <= loader.GetLayerNum();
}

std::string documentLines(const Json& info) {
    if (!info.contains("layers")) return {};
    std::string lines = "  " + info["colorMode"].get<std::string>() + ", " + info["bitsPerChannel"].dump() +
                        " bits per channel, " + info["channels"].dump() + " channels, " +
                        info["layerCount"].dump() + (info["layerCount"] == 1 ? " layer" : " layers") +
                        (info["layersReadable"] ? "" : " (their pixels cannot be read)") + "\n";
    for (std::size_t i = 0; i < info["layers"].size(); ++i) {
        const Json& layer = info["layers"][i];
        lines += "  layer " + std::to_string(i) + " \"" + printable(layer["name"].get<std::string>()) +
                 "\": " + rectangleText(layer["rectangle"]) + ", " + layer["blendMode"].get<std::string>() +
                 ", opacity " + layer["opacity"].dump() + ", " + (layer["visible"] ? "visible" : "hidden") +
                 (layer["mask"].is_null() ? "" : ", mask " + rectangleText(layer["mask"])) + "\n";
    }
    return lines;
}

}  // namespace tool
