// `dib info`: what the headers of picture files say.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <filesystem>

#include "texts/Tables.h"
#include "tools/cli/Cancel.h"
#include "tools/cli/Options.h"
#include "tools/commands/Documents.h"
#include "tools/io/Formats.h"
#include "vexlibs/NativePath.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

struct PictureInfo {
    std::string file;
    DibFileInfo header;
    DibFileResult result;
    DibLayers layers = {};  // of a document
    std::vector<std::string> pageNames;
};

// The names of all pages of a file whose pages have names. Names of further ones are left out.
std::vector<std::string> readPageNames(const InputFile& file, const DibFileInfo& header,
                                       DibLoadOptions options) {
    constexpr int kMostNames = 256;
    std::vector<std::string> names;
    options.pageName = nullptr;
    for (options.page = 0; options.page < std::min(header.pages, kMostNames); ++options.page) {
        DibFileInfo page;
        DibFileResult result;
        names.emplace_back(file.probe(page, options, result) ? page.pageName : "");
        stopIfCancelled();
    }
    return names;
}

PictureInfo readInfo(const std::string& name, const DibLoadOptions& options) {
    const InputFile file(name, InputFile::kReadTwice, options);
    PictureInfo info{.file = name, .header = {}, .result = {}, .pageNames = {}};
    const bool isRead = file.probe(info.header, options, info.result);
    stopIfCancelled();
    if (!isRead) throw loadFailure(file.title(), info.result);
    if (info.header.bitCount <= 8 && info.header.paletteSize == 0)
        info.header.paletteSize = 1 << info.header.bitCount;
    if (isDocument(info.header)) info.layers = readLayers(file, options);
    if (info.header.pageName[0] != '\0') info.pageNames = readPageNames(file, info.header, options);
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
                 {"channels", header.channels},
                 {"alpha", header.hasAlpha},
                 {"rowOrder", header.isTopDown ? "top-down" : "bottom-up"},
                 {"paletteSize", header.paletteSize},
                 {"compression", compressionOf(header)},
                 {"pages", header.pages},
                 {"levels", header.levels},
                 {"orientation", metadata.orientation},
                 {"resolution", Json()},
                 {"profileBytes", metadata.colorProfile.size}};
    if (metadata.xResolution != 0) json["resolution"] = {metadata.xResolution, metadata.yResolution};
    if (!info.pageNames.empty()) json["pageNames"] = info.pageNames;
    if (header.videoX >= 0) json["videoMemory"] = {{"x", header.videoX}, {"y", header.videoY}};
    if (header.paletteX >= 0) json["paletteMemory"] = {{"x", header.paletteX}, {"y", header.paletteY}};
    if (isDocument(header)) json.update(documentJson(header, info.layers));
    return json;
}

std::string placeText(int x, int y) { return std::to_string(x) + "," + std::to_string(y); }

// "300", or "200x100" for pixels that are not square.
std::string resolutionText(const DibMetadata& metadata) {
    const std::string x = std::to_string(std::lround(metadata.xResolution));
    const std::string y = std::to_string(std::lround(metadata.yResolution));
    return metadata.yResolution == 0 || x == y ? x : x + "x" + y;
}

std::string textOf(const PictureInfo& info) {
    const DibFileInfo& header = info.header;
    const DibMetadata& metadata = info.result.metadata;
    std::string text = printable(info.file) + ": " + header.format->name + ", " +
                       std::to_string(header.width) + "x" + std::to_string(header.height) + " pixels, " +
                       texts::countText(header.bitCount, "bit");
    const bool isOther = header.storedBits != 0 && header.storedBits != header.bitCount;
    if (isOther) text += " (" + std::to_string(header.storedBits) + " in the file)";
    text += ", " + texts::countText(header.channels, "channel") +
            (header.isTopDown ? ", top-down" : ", bottom-up");
    if (header.hasAlpha) text += ", alpha";
    if (header.paletteSize != 0) text += ", palette of " + std::to_string(header.paletteSize);
    text += ", compression " + compressionOf(header);
    if (header.pages > 1) text += ", " + texts::countText(header.pages, "page");
    if (header.layers > 0 && !isDocument(header)) text += ", " + texts::countText(header.layers, "layer");
    if (header.levels > 1) text += ", " + texts::countText(header.levels, "level");
    if (header.videoX >= 0) text += ", video memory at " + placeText(header.videoX, header.videoY);
    if (header.paletteX >= 0) text += ", its palette at " + placeText(header.paletteX, header.paletteY);
    if (metadata.xResolution != 0) text += ", " + resolutionText(metadata) + " dpi";
    if (metadata.orientation != 1) text += ", orientation " + std::to_string(metadata.orientation);
    if (metadata.colorProfile.size != 0)
        text += ", colour profile of " + std::to_string(metadata.colorProfile.size) + " bytes";
    text += "\n";
    for (std::size_t i = 0; i < info.pageNames.size(); ++i)
        text += "  page " + std::to_string(i) + " \"" + printable(info.pageNames[i]) + "\"\n";
    return isDocument(header) ? text + documentText(header, info.layers) : text;
}

// The pictures of a folder. Names come last: they have any length.
std::string tableOf(const std::vector<PictureInfo>& infos) {
    const auto line = [](const std::string& format, const std::string& size, const std::string& bits,
                         const std::string& compression, const std::string& file) {
        std::string text;
        const std::pair<std::string, std::size_t> cells[] = {
            {format, 7}, {size, 13}, {bits, 6}, {compression, 13}};
        for (const auto& [cell, width] : cells)
            text += cell + std::string(std::max(width, cell.size() + 1) - cell.size(), ' ');
        return text + file + "\n";
    };
    std::string text = line("format", "size", "bits", "compression", "file");
    for (const PictureInfo& info : infos) {
        const DibFileInfo& header = info.header;
        text += line(header.format->name, std::to_string(header.width) + "x" + std::to_string(header.height),
                     std::to_string(header.bitCount), compressionOf(header), printable(info.file));
    }
    return text;
}

struct InfoJob {
    std::vector<std::string> names;
    DibLoadOptions options;
    bool asJson = false;
};

// The regular files of a folder, sorted by name.
std::vector<std::string> filesOf(const std::string& folder) {
    std::error_code error;
    std::vector<std::string> files;
    for (fs::directory_iterator entry(vexlibs::pathOf(folder), error), end; entry != end;
         entry.increment(error)) {
        std::error_code none;
        if (entry->is_regular_file(none)) files.push_back(vexlibs::textOf(entry->path()));
        stopIfCancelled();
    }
    if (error) throw Failure(kExitBadInput, folder + ": load: the folder cannot be read: " + error.message());
    std::ranges::sort(files);
    return files;
}

// Gathers what files say. Continues after one that cannot be read.
class Reader {
public:
    explicit Reader(const DibLoadOptions& options) : options_(options) {}

    std::vector<PictureInfo> read(const std::string& name) {
        std::vector<PictureInfo> infos;
        std::error_code none;
        if (!fs::is_directory(vexlibs::pathOf(name), none)) {
            complainOf([&] { infos.push_back(readInfo(name, options_)); });
            return infos;
        }
        std::vector<std::string> files;
        complainOf([&] { files = filesOf(name); });
        for (const std::string& file : files) {
            // Anything else may lie in a folder: only a name that promises a picture must hold one.
            const bool isPromised = formatOfExtension(file) != nullptr;
            complainOf([&] { infos.push_back(readInfo(file, options_)); }, isPromised);
        }
        return infos;
    }
    const std::vector<std::string>& complaints() const { return complaints_; }

private:
    template <class Work>
    void complainOf(const Work& work, bool isWanted = true) {
        try {
            work();
        } catch (const Failure& failure) {
            if (failure.exitCode() != kExitBadInput) throw;
            if (isWanted)
                complaints_.insert(complaints_.end(), failure.lines().begin(), failure.lines().end());
        }
    }

    const DibLoadOptions& options_;
    std::vector<std::string> complaints_;
};

void printInfo(const InfoJob& job) {
    Reader reader(job.options);
    Json json = {{"schema", 1}, {"files", Json::array()}};
    std::string text;
    for (const std::string& name : job.names) {
        const std::vector<PictureInfo> infos = reader.read(name);
        std::error_code none;
        const bool isTable = !infos.empty() && fs::is_directory(vexlibs::pathOf(name), none);
        if (isTable) text += tableOf(infos);
        for (const PictureInfo& info : infos) {
            if (job.asJson) json["files"].push_back(jsonOf(info));
            if (!isTable) text += textOf(info);
        }
    }
    print(job.asJson ? jsonText(json) : text);
    if (!reader.complaints().empty()) throw Failure(kExitBadInput, reader.complaints());
}

}  // namespace

void declareInfo(CLI::App& command) {
    const auto job = std::make_shared<InfoJob>();
    job->options.keepsPalette = true;  // indices are what the file has
    command.add_option("FILE...", job->names, "Pictures, and folders of pictures; '-' is standard input")
        ->type_name("")
        ->required();
    command.footer(
        "Files in a folder that are not pictures are skipped, unless they have the extension of a format.\n"
        "Folders inside it are left out, too. The exit code is 3 when a file cannot be read; what the "
        "others\nsay is printed all the same.");
    addFormat(command, "--from", job->options.format, "Format of the files; overrides detection");
    addLimit(
        command, job->options,
        "Refuses a longer standard input or pipe: bytes:N; K, M and G are powers of 1000. Limits of pixels "
        "and layers do not apply, as nothing is decoded");
    addParts(command, job->options);
    addPlugins(command);
    addJson(command, job->asJson);
    command.callback([job] { printInfo(*job); });
}

}  // namespace tool
