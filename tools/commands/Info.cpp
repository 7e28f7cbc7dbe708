// `dib info`: what pictures are, without changing them.
#include <CLI/CLI.hpp>

#include "tools/cli/Cancel.h"
#include "tools/cli/Options.h"
#include "tools/commands/Documents.h"
#include "tools/commands/Pictures.h"

namespace tool {

namespace {

struct PictureInfo {
    std::string file;
    std::string format;
    int width;
    int height;
    int bitsPerPixel;
    std::string rowOrder;
    std::uint32_t paletteSize;
    std::string compression;
    std::optional<DocumentInfo> document;
    bool layersReadable;
};

std::uint32_t paletteSize(const BITMAPINFOHEADER& header) {
    if (header.biBitCount > 8) return 0;
    return header.biClrUsed != 0 ? header.biClrUsed : 1U << header.biBitCount;
}

void readDocument(const InputFile& file, PictureInfo& info) {
    Progress progress(1, false);
    DibPSDLoader loader;
    loader.SetCallback(&Progress::report, &progress);
    loader.EnableLayer(true);
    // Layers that cannot be decoded still have records, and more is not needed here.
    const bool loaded = loader.Load(file.path());
    stopIfCancelled();
    info.document = documentInfo(loader, file);
    info.compression = mergedCompression(file);
    info.layersReadable = loaded && info.document->layerCount == loader.GetLayerNum();
}

PictureInfo readInfo(const std::string& name, const Format* chosen) {
    const InputFile file(name);
    const Format& format = inputFormatOf(file, chosen);
    DibStream image;
    Progress progress(1, false);
    loadPicture(file, format, image, progress);
    const BITMAPINFOHEADER& header = *image.Header;
    PictureInfo info{name,
                     std::string(format.name),
                     width(image),
                     height(image),
                     header.biBitCount,
                     header.biHeight < 0 ? "top-down" : "bottom-up",
                     paletteSize(header),
                     header.biCompression == 0 ? "none" : "masks",
                     {},
                     false};
    if (format.compression != nullptr) info.compression = format.compression(file.firstBytes());
    if (format.hasLayers) readDocument(file, info);
    return info;
}

Json jsonOf(const PictureInfo& info) {
    Json json = {{"file", info.file},
                 {"format", info.format},
                 {"width", info.width},
                 {"height", info.height},
                 {"bitsPerPixel", info.bitsPerPixel},
                 {"rowOrder", info.rowOrder},
                 {"paletteSize", info.paletteSize},
                 {"compression", info.compression}};
    if (info.document) {
        json.update(jsonOf(*info.document));
        json["layersReadable"] = info.layersReadable;
    }
    return json;
}

std::string textOf(const PictureInfo& info) {
    std::string text = printable(info.file) + ": " + info.format + ", " + std::to_string(info.width) + "x" +
                       std::to_string(info.height) + " pixels, " + std::to_string(info.bitsPerPixel) +
                       (info.bitsPerPixel == 1 ? " bit, " : " bits, ") + info.rowOrder;
    if (info.paletteSize != 0) text += ", palette of " + std::to_string(info.paletteSize);
    text += ", compression " + info.compression + "\n";
    return info.document ? text + textOf(*info.document, info.layersReadable) : text;
}

struct InfoJob {
    std::vector<std::string> files;
    const Format* format = nullptr;
    bool asJson = false;
};

// A file that cannot be read does not keep the others from being shown.
void printInfo(const InfoJob& job) {
    std::vector<PictureInfo> infos;
    std::vector<std::string> complaints;
    for (const std::string& file : job.files) {
        try {
            infos.push_back(readInfo(file, job.format));
        } catch (const Failure& failure) {
            if (failure.exitCode() != kExitBadInput) throw;
            complaints.insert(complaints.end(), failure.lines().begin(), failure.lines().end());
        }
    }
    if (job.asJson) {
        print(jsonText(jsonList(infos, [](const PictureInfo& info) { return jsonOf(info); })));
    } else {
        std::string text;
        for (const PictureInfo& info : infos) text += textOf(info);
        print(text);
    }
    if (!complaints.empty()) throw Failure(kExitBadInput, complaints);
}

}  // namespace

void declareInfo(CLI::App& command) {
    const auto job = std::make_shared<InfoJob>();
    command.add_option("FILE...", job->files, "Pictures; '-' is standard input")->type_name("")->required();
    addFormat(command, "--from", job->format, "Format of the files; overrides detection");
    addPlugins(command);
    addJson(command, job->asJson);
    command.callback([job] { printInfo(*job); });
}

}  // namespace tool
