// `dib layers`: the layers of a document as pictures.
#include <DibHandle.h>

#include <CLI/CLI.hpp>
#include <cctype>
#include <utility>
#include <vector>

#include "tools/cli/Cancel.h"
#include "tools/cli/Options.h"
#include "tools/commands/Documents.h"
#include "tools/commands/Pictures.h"
#include "tools/io/Formats.h"
#include "tools/io/OutputFolder.h"

namespace tool {

namespace {

struct LayersJob {
    std::string document;
    std::string folder;
    PictureOptions pictures;  // where no format is chosen, the pictures are PNG files
    bool showsProgress = false;
};

// A file name from the number of a layer, which makes it unique, and the letters of its name: never a path,
// a hidden file, a device or an option.
std::string fileNameOf(std::size_t index, const std::string& layerName, const std::string& part,
                       const std::string& extension) {
    constexpr std::size_t kLongest = 40;
    std::string number = std::to_string(index);
    number.insert(0, number.size() < 3 ? 3 - number.size() : 0, '0');
    std::string name;
    for (const char c : layerName) {
        const auto byte = static_cast<unsigned char>(c);
        const bool isRest = (byte & 0xC0) == 0x80;  // of a letter of several bytes
        if (isRest || name.size() == kLongest) continue;
        name += byte < 128 && (std::isalnum(byte) != 0 || c == '-') ? c : '_';
    }
    if (name.find_first_not_of('_') == std::string::npos) name = "layer";
    return number + "-" + name + part + "." + extension;
}

struct Part {
    DibLayerPart part;
    const char* key;     // in the manifest
    const char* suffix;  // of the file name
};
constexpr Part kParts[] = {{DIB_LAYER_PIXELS, "file", ""},
                           {DIB_LAYER_MASK, "maskFile", "-mask"},
                           {DIB_LAYER_SECOND_MASK, "secondMaskFile", "-mask2"}};

// A picture of a layer and what it is.
struct LayerPicture {
    std::size_t layer;
    const Part* part;
    DibHandle image;
};

bool hasPixels(const DibLayer& layer, DibLayerPart part) {
    if (part == DIB_LAYER_PIXELS) return layer.width > 0;
    return layer.masks[part == DIB_LAYER_MASK ? 0 : 1].width > 0;
}

// Loads the pictures of a layer that have pixels.
void loadLayer(const InputFile& file, std::size_t number, const DibLayer& layer, const LayersJob& job,
               Progress& progress, Notes& notes, std::vector<LayerPicture>& pictures) {
    DibLoadOptions options = job.pictures.load;
    options.layer = static_cast<int>(number);
    const std::string title = file.title() + ": layer " + std::to_string(number);
    for (const Part& part : kParts) {
        if (!hasPixels(layer, part.part)) continue;
        options.part = part.part;
        DibHandle image(new DibStream);
        DibFileResult result;
        const bool isLoaded = file.load(*image, options, result, &Progress::report, &progress);
        stopIfCancelled();
        if (!isLoaded) throw loadFailure(title, result);
        notes.add(title, result);
        pictures.push_back({number, &part, std::move(image)});
    }
}

void exportLayers(const LayersJob& job) {
    const char* chosen = job.pictures.save.format != nullptr ? job.pictures.save.format : "png";
    const DibFormat& format = *formatForOutput(job.folder, chosen);
    Notes notes(job.pictures);
    const InputFile file(job.document, InputFile::kReadTwice, job.pictures.load);
    DibFileInfo header;
    DibFileResult probed;
    if (!file.probe(header, job.pictures.load, probed)) throw loadFailure(file.title(), probed);
    if (!isDocument(header)) {
        throw Failure(kExitBadInput,
                      file.title() + ": load: " + std::string(header.format->name) + " files have no layers");
    }
    const DibLayers layers = readLayers(file, job.pictures.load);
    if (layers.count < static_cast<std::size_t>(header.layers))
        throw Failure(kExitBadInput, file.title() + ": load: the layers are damaged or end too early");

    OutputFolder folder(job.folder);
    Progress progress(layers.count + 1, job.showsProgress);
    std::vector<LayerPicture> pictures;
    for (std::size_t layer = 0; layer < layers.count; ++layer) {
        progress.beginStep("load");
        loadLayer(file, layer, layers.items[layer], job, progress, notes, pictures);
        progress.endStep();
    }
    progress.beginStep("save");
    Json manifest = {{"document", file.title()}, {"width", header.width}, {"height", header.height}};
    manifest.update(documentJson(header, layers));
    manifest.erase("layerCount");
    for (Json& entry : manifest["layers"]) {
        for (const Part& part : kParts) entry[part.key] = nullptr;
    }
    for (const LayerPicture& picture : pictures) {
        const std::string name = fileNameOf(picture.layer, layers.items[picture.layer].name,
                                            picture.part->suffix, extensionFor(chosen));
        savePicture(folder / name, format, *picture.image, job.pictures, progress, notes,
                    job.folder + "/" + name);
        manifest["layers"][picture.layer][picture.part->key] = name;
    }
    writeText(folder / "manifest.json", jsonText(manifest));
    folder.finish();
    progress.endStep();
}

}  // namespace

void declareLayers(CLI::App& command) {
    const auto job = std::make_shared<LayersJob>();
    addOperand(command, "FILE", job->document, "A document; '-' is standard input");
    addOperand(command, "FOLDER", job->folder, "Folder for the pictures; a new or an empty one");
    addOpening(command, job->pictures.load);
    addSaving(command, job->pictures, "Format of the pictures");
    addProgress(command, job->showsProgress);
    command.callback([job] { exportLayers(*job); });
}

}  // namespace tool
