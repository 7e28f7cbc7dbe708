// `dib info`: what pictures are, without changing them.
#include <CLI/CLI.hpp>

#include "tools/cli/Cancel.h"
#include "tools/cli/Options.h"
#include "tools/commands/Documents.h"

namespace tool {

namespace {

struct PictureInfo {
    std::string file;
    DibFileInfo header;
    std::string compression;
    std::optional<DocumentInfo> document;
};

PictureInfo readInfo(const std::string& name, const DibLoadOptions& options) {
    const InputFile file(name, InputFile::kReadTwice);
    PictureInfo info{name, {}, {}, {}};
    DibFileResult result;
    file.probe(info.header, options, result);
    PictureOptions pictures;
    pictures.load = options;
    DibStream image;
    Progress progress(1, false);
    Notes notes(pictures);
    loadPicture(file, image, pictures, progress, notes);
    const BITMAPINFOHEADER& header = *image.Header;
    info.header.width = width(image);
    info.header.height = height(image);
    info.header.bitCount = header.biBitCount;
    info.header.isTopDown = header.biHeight < 0;
    if (header.biBitCount <= 8)
        info.header.paletteSize =
            static_cast<int>(header.biClrUsed != 0 ? header.biClrUsed : 1U << header.biBitCount);
    info.compression = info.header.compression[0] != '\0' ? info.header.compression : "unknown";
    if (info.header.format->hasLayers) {
        info.document = readDocument(file);
        info.compression = mergedCompression(file);
    }
    return info;
}

Json jsonOf(const PictureInfo& info) {
    Json json = {{"file", info.file},
                 {"format", info.header.format->name},
                 {"width", info.header.width},
                 {"height", info.header.height},
                 {"bitsPerPixel", info.header.bitCount},
                 {"rowOrder", info.header.isTopDown ? "top-down" : "bottom-up"},
                 {"paletteSize", info.header.paletteSize},
                 {"compression", info.compression}};
    if (info.document) json.update(jsonOf(*info.document));
    return json;
}

std::string textOf(const PictureInfo& info) {
    const DibFileInfo& header = info.header;
    std::string text = printable(info.file) + ": " + header.format->name + ", " +
                       std::to_string(header.width) + "x" + std::to_string(header.height) + " pixels, " +
                       std::to_string(header.bitCount) + (header.bitCount == 1 ? " bit, " : " bits, ") +
                       (header.isTopDown ? "top-down" : "bottom-up");
    if (header.paletteSize != 0) text += ", palette of " + std::to_string(header.paletteSize);
    text += ", compression " + info.compression + "\n";
    return info.document ? text + textOf(*info.document) : text;
}

struct InfoJob {
    std::vector<std::string> files;
    DibLoadOptions options;
    bool asJson = false;
};

// A file that cannot be read does not keep the others from being shown.
void printInfo(const InfoJob& job) {
    std::vector<PictureInfo> infos;
    std::vector<std::string> complaints;
    for (const std::string& file : job.files) {
        try {
            infos.push_back(readInfo(file, job.options));
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
    addFormat(command, "--from", job->options.format, "Format of the files; overrides detection");
    addPlugins(command);
    addJson(command, job->asJson);
    command.callback([job] { printInfo(*job); });
}

}  // namespace tool
