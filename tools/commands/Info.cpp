// `dib info`: what the headers of picture files say.
#include <CLI/CLI.hpp>
#include <cmath>

#include "tools/cli/Cancel.h"
#include "tools/cli/Options.h"
#include "tools/commands/Documents.h"

namespace tool {

namespace {

struct PictureInfo {
    std::string file;
    DibFileInfo header;
    DibFileResult result;
    std::optional<DocumentInfo> document;
};

PictureInfo readInfo(const std::string& name, const DibLoadOptions& options) {
    const InputFile file(name, InputFile::kReadTwice);
    PictureInfo info{name, {}, {}, {}};
    const bool isRead = file.probe(info.header, options, info.result);
    stopIfCancelled();
    if (!isRead) throw loadFailure(file.title(), info.result);
    if (info.header.bitCount <= 8 && info.header.paletteSize == 0)
        info.header.paletteSize = 1 << info.header.bitCount;
    if (info.header.format->hasLayers) info.document = readDocument(file, info.header.layers);
    return info;
}

std::string compressionOf(const DibFileInfo& header) {
    return header.compression[0] != '\0' ? header.compression : "unknown";
}

Json jsonOf(const PictureInfo& info) {
    const DibFileInfo& header = info.header;
    const DibMetadata& metadata = info.result.metadata;
    Json json = {{"file", info.file},
                 {"format", header.format->name},
                 {"width", header.width},
                 {"height", header.height},
                 {"bitsPerPixel", header.bitCount},
                 {"storedBitsPerPixel", header.storedBits},
                 {"alpha", header.hasAlpha},
                 {"rowOrder", header.isTopDown ? "top-down" : "bottom-up"},
                 {"paletteSize", header.paletteSize},
                 {"compression", compressionOf(header)},
                 {"pages", header.pages},
                 {"levels", header.levels},
                 {"orientation", metadata.orientation},
                 {"resolution", Json()}};
    if (metadata.xResolution != 0) json["resolution"] = {metadata.xResolution, metadata.yResolution};
    if (info.document) json.update(jsonOf(*info.document));
    return json;
}

std::string count(int number, const std::string& thing) {
    return std::to_string(number) + " " + thing + (number == 1 ? "" : "s");
}

std::string textOf(const PictureInfo& info) {
    const DibFileInfo& header = info.header;
    const DibMetadata& metadata = info.result.metadata;
    std::string text = printable(info.file) + ": " + header.format->name + ", " +
                       std::to_string(header.width) + "x" + std::to_string(header.height) + " pixels, " +
                       count(header.bitCount, "bit") + ", " + (header.isTopDown ? "top-down" : "bottom-up");
    if (header.paletteSize != 0) text += ", palette of " + std::to_string(header.paletteSize);
    text += ", compression " + compressionOf(header);
    if (header.pages > 1) text += ", " + count(header.pages, "page");
    if (header.levels > 1) text += ", " + count(header.levels, "level");
    if (metadata.xResolution != 0) text += ", " + std::to_string(std::lround(metadata.xResolution)) + " dpi";
    text += "\n";
    return info.document ? text + textOf(*info.document) : text;
}

struct InfoJob {
    std::vector<std::string> files;
    DibLoadOptions options;
    bool asJson = false;
};

// Continues after a file that cannot be read.
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
