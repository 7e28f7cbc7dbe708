// `dib layers`: the layers of a document as pictures.
#include <CLI/CLI.hpp>
#include <cctype>
#include <filesystem>

#include "tools/cli/Cancel.h"
#include "tools/cli/Options.h"
#include "tools/commands/Documents.h"
#include "tools/commands/Pictures.h"
#include "tools/io/Formats.h"

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
std::string fileNameOf(int index, const std::string& layerName, const std::string& extension) {
    constexpr std::size_t kLongest = 40;
    std::string number = std::to_string(index);
    number.insert(0, number.size() < 3 ? 3 - number.size() : 0, '0');
    std::string name;
    for (const char c : layerName.substr(0, kLongest)) {
        const auto byte = static_cast<unsigned char>(c);
        name += byte < 128 && (std::isalnum(byte) != 0 || c == '-') ? c : '_';
    }
    if (name.find_first_not_of('_') == std::string::npos) name = "layer";
    return number + "-" + name + "." + extension;
}

// For layers of grey documents, where the loader stores grey in blue only.
void spreadGrey(DibStream& image) {
    for (int y = 0; y < height(image); ++y) {
        auto* row = reinterpret_cast<DibBGRA*>(image.ScanLine(y));
        for (int x = 0; x < width(image); ++x) row[x].red = row[x].green = row[x].blue;
    }
}

// Why the library cannot read the layers of a document that announces so many.
std::string layersProblem(const InputFile& file, DibLoadOptions options, int count) {
    for (options.layer = 0; options.layer < count; ++options.layer) {
        DibStream image;
        DibFileResult result;
        const bool isRead = file.load(image, options, result, nullptr, nullptr);
        if (!isRead && result.code != DIB_ERROR_MISMATCH) return result.reason;  // else it has no pixels
    }
    return "the layers cannot be read";
}

// Writes the pictures of the layers and stores the names of their files in the manifest.
void writeLayers(const LayersJob& job, const DibFormat& format, DibPSDLoader& loader, Json& manifest,
                 Progress& progress, Notes& notes) {
    for (int i = 0; i < loader.GetLayerNum(); ++i) {
        int left = 0;
        int top = 0;
        const ImagePtr image(loader.GetLayerImage(i, left, top));
        Json& entry = manifest["layers"][static_cast<std::size_t>(i)];
        entry["file"] = nullptr;
        if (image == nullptr) continue;
        if (manifest["colorMode"] == "grey") spreadGrey(*image);
        const char* chosen = job.pictures.save.format;
        const std::string name = fileNameOf(i, loader.GetLayerInfo(i)->name,
                                            extensionFor(chosen != nullptr ? chosen : format.name));
        savePicture(std::filesystem::path(job.folder) / name, format, *image, job.pictures, progress, notes);
        entry["file"] = name;
    }
}

void exportLayers(const LayersJob& job) {
    const char* chosen = job.pictures.save.format;
    const DibFormat& format = *DibFindFormat(chosen != nullptr ? chosen : "png");
    requireSaver(format, job.folder);
    Notes notes(job.pictures);
    Progress progress(3, job.showsProgress);
    const InputFile file(job.document, InputFile::kReadTwice);
    DibFileInfo header;
    DibFileResult probed;
    file.probe(header, job.pictures.load, probed);
    DibStream merged;
    const DibFormat& inputFormat = *loadPicture(file, merged, job.pictures, progress, notes).format;
    if (!inputFormat.hasLayers || inputFormat.plugin != nullptr) {
        throw Failure(kExitBadInput,
                      file.title() + ": load: " + std::string(inputFormat.name) + " files have no layers");
    }
    DibPSDLoader loader;
    loader.SetCallback(&Progress::report, &progress);
    loader.EnableLayer(true);
    progress.beginStep("load");
    const bool isLoaded = loader.Load(file.open().get());
    stopIfCancelled();
    const DocumentInfo document = documentInfo(loader, header.layers);
    if (!isLoaded || loader.GetLayerNum() < document.layerCount)
        throw Failure(kExitBadInput,
                      file.title() + ": load: " + layersProblem(file, job.pictures.load, header.layers));
    progress.endStep();

    makeFolder(job.folder);
    progress.beginStep("save");
    Json manifest = {{"document", file.title()}, {"width", width(merged)}, {"height", height(merged)}};
    manifest.update(jsonOf(document));
    manifest.erase("layerCount");
    writeLayers(job, format, loader, manifest, progress, notes);
    writeText(std::filesystem::path(job.folder) / "manifest.json", jsonText(manifest));
    progress.endStep();
}

}  // namespace

void declareLayers(CLI::App& command) {
    const auto job = std::make_shared<LayersJob>();
    addOperand(command, "FILE", job->document, "A document; '-' is standard input");
    addOperand(command, "FOLDER", job->folder, "Folder for the pictures; created if missing");
    addOpening(command, job->pictures.load);
    addSaving(command, job->pictures, "Format of the pictures");
    addProgress(command, job->showsProgress);
    command.callback([job] { exportLayers(*job); });
}

}  // namespace tool
