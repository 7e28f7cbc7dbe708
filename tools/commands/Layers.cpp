// `dib layers`: the layers of a document as pictures.
#include <CLI/CLI.hpp>
#include <cctype>
#include <filesystem>

#include "formats/diagnosis/PsdLayers.h"
#include "tools/cli/Cancel.h"
#include "tools/cli/Options.h"
#include "tools/commands/Documents.h"
#include "tools/commands/Pictures.h"

namespace tool {

namespace {

struct LayersJob {
    std::string document;
    std::string folder;
    const Format* inputFormat = nullptr;
    const Format* format = nullptr;  // of the pictures; null: PNG
    bool showsProgress = false;
};

// A file name from a layer's number, which makes it unique, and the harmless part of its name: whatever the document
// says, it is no path, hidden file, device or option.
std::string fileNameOf(int index, const std::string& layerName, const Format& format) {
    constexpr std::size_t kLongest = 40;
    std::string number = std::to_string(index);
    number.insert(0, number.size() < 3 ? 3 - number.size() : 0, '0');
    std::string name;
    for (const char c : layerName.substr(0, kLongest)) {
        const auto byte = static_cast<unsigned char>(c);
        name += byte < 128 && (std::isalnum(byte) != 0 || c == '-') ? c : '_';
    }
    if (name.find_first_not_of('_') == std::string::npos) name = "layer";
    return number + "-" + name + "." + std::string(format.extensions.front());
}

std::string diagnoseDocument(const formats::RefusedFile& file) {
    const std::string problem = formats::diagnosePsd(file);
    return problem.empty() ? formats::diagnosePsdLayers(file) : problem;
}

// The loader stores the grey of layers of grey documents in blue alone.
void spreadGrey(DibStream& image) {
    for (int y = 0; y < height(image); ++y) {
        auto* row = reinterpret_cast<DibBGRA*>(image.ScanLine(y));
        for (int x = 0; x < width(image); ++x) row[x].red = row[x].green = row[x].blue;
    }
}

void exportLayers(const LayersJob& job) {
    const Format& format = job.format != nullptr ? *job.format : formatNamed("png");
    requireSaver(format, job.folder);
    const InputFile file(job.document);
    const Format& inputFormat = inputFormatOf(file, job.inputFormat);
    if (!inputFormat.hasLayers) {
        throw Failure(kExitBadInput,
                      file.title() + ": load: " + std::string(inputFormat.name) + " files have no layers");
    }
    Progress progress(2, job.showsProgress);
    const ImagePtr merged(new DibStream);
    DibPSDLoader loader(merged.get());
    loader.SetCallback(&Progress::report, &progress);
    loader.EnableLayer(true);
    progress.beginStep("load");
    const bool loaded = loader.Load(file.path());
    stopIfCancelled();
    const DocumentInfo document = documentInfo(loader, file);
    if (!loaded || loader.GetLayerNum() < document.layerCount)
        throw loadFailure(file, diagnoseDocument, merged->ErrorCode);
    progress.endStep();

    makeFolder(job.folder);
    progress.beginStep("save");
    Json manifest = {{"document", file.title()}, {"width", width(*merged)}, {"height", height(*merged)}};
    manifest.update(jsonOf(document));
    manifest.erase("layerCount");
    for (int i = 0; i < loader.GetLayerNum(); ++i) {
        int left = 0;
        int top = 0;
        const ImagePtr image(loader.GetLayerImage(i, left, top));
        const auto index = static_cast<std::size_t>(i);
        Json& entry = manifest["layers"][index]["file"];
        if (image == nullptr) continue;
        if (document.colorMode == "grey") spreadGrey(*image);
        const std::string name = fileNameOf(i, document.layers[index].name, format);
        OutputFile picture(std::filesystem::path(job.folder) / name);
        savePicture(picture, format, *image, progress);
        entry = name;
    }
    writeText(std::filesystem::path(job.folder) / "manifest.json", jsonText(manifest));
    progress.endStep();
}

}  // namespace

void declareLayers(CLI::App& command) {
    const auto job = std::make_shared<LayersJob>();
    addOperand(command, "FILE", job->document, "A document; '-' is standard input");
    addOperand(command, "FOLDER", job->folder, "Folder for the pictures; created if missing");
    addFormat(command, "--from", job->inputFormat, "Format of the document; overrides detection");
    addFormat(command, "--to", job->format, "Format of the pictures");
    addProgress(command, job->showsProgress);
    command.callback([job] { exportLayers(*job); });
}

}  // namespace tool
