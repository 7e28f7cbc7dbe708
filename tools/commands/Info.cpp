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

bool isGrey(const DibFileInfo& header) { return std::string_view(header.colors) == "grey"; }

// Rows of other formats always begin with the top one.
bool hasRowOrder(const DibFileInfo& header) {
    constexpr std::string_view kFormats[] = {"bmp", "tga"};
    return header.isTopDown || std::ranges::find(kFormats, header.format->name) != std::end(kFormats);
}

PictureInfo readInfo(const std::string& name, const DibLoadOptions& options) {
    const InputFile file(name, InputFile::kReadTwice, options);
    PictureInfo info{.file = name, .header = {}, .result = {}, .pageNames = {}};
    const bool isRead = file.probe(info.header, options, info.result);
    stopIfCancelled();
    if (!isRead) throw loadFailure(file.title(), info.result);
    // The greys of a load are no palette of the file.
    if (isGrey(info.header)) info.header.paletteSize = 0;
    if (isDocument(info.header)) info.layers = readLayers(file, options);
    if (info.header.pageName[0] != '\0') info.pageNames = readPageNames(file, info.header, options);
    return info;
}

std::string compressionOf(const DibFileInfo& header) {
    return header.compression[0] != '\0' ? header.compression : "unknown";
}

const char* rowOrder(const DibFileInfo& header) { return header.isTopDown ? "top-down" : "bottom-up"; }

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
                 {"rowOrder", Json()},
                 {"paletteSize", header.paletteSize},
                 {"compression", compressionOf(header)},
                 {"pages", header.pages},
                 {"levels", header.levels},
                 {"orientation", metadata.orientation},
                 {"resolution", Json()},
                 {"profileBytes", metadata.colorProfile.size}};
    if (hasRowOrder(header)) json["rowOrder"] = rowOrder(header);
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

std::string sizeText(int width, int height) { return std::to_string(width) + "x" + std::to_string(height); }

std::string textOf(const PictureInfo& info) {
    const DibFileInfo& header = info.header;
    const DibMetadata& metadata = info.result.metadata;
    std::string text = printable(info.file) + ": " + header.format->name + ", " +
                       sizeText(header.width, header.height) + " pixels";
    // Such an orientation turns the picture by a quarter.
    if (metadata.orientation >= 5)
        text += " upright (" + sizeText(header.height, header.width) + " in the file)";
    text += ", " + texts::countText(header.bitCount, "bit");
    const bool isOther = header.storedBits != 0 && header.storedBits != header.bitCount;
    if (isOther) text += " (" + std::to_string(header.storedBits) + " in the file)";
    text += ", " + texts::countText(header.channels, "channel");
    if (hasRowOrder(header)) text += std::string(", ") + rowOrder(header);
    if (isGrey(header) && !isDocument(header)) text += ", grey";
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
        text += line(header.format->name, sizeText(header.width, header.height),
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

// Why a folder tells nothing.
std::string nothingIn(const std::string& folder) {
    std::error_code error;
    int folders = 0;
    for (fs::directory_iterator entry(folder, error), end; entry != end; entry.increment(error)) {
        std::error_code none;
        if (entry->is_directory(none)) ++folders;
    }
    const std::string leftOut =
        texts::countText(folders, "folder") + " inside " + (folders == 1 ? "was" : "were");
    return folder + ": load: the folder holds no pictures" +
           (folders > 0 ? "; " + leftOut + " left out" : "");
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
        if (!complainOf([&] { files = filesOf(name); })) return infos;
        const std::size_t complaintsBefore = complaints_.size();
        for (const std::string& file : files) {
            // Anything else may lie in a folder: only a name that promises a picture must hold one.
            const bool isPromised = formatOfExtension(file) != nullptr;
            complainOf([&] { infos.push_back(readInfo(file, options_)); }, isPromised);
        }
        if (infos.empty() && complaints_.size() == complaintsBefore) complaints_.push_back(nothingIn(name));
        return infos;
    }
    const std::vector<std::string>& complaints() const { return complaints_; }

private:
    // Whether the work could be done.
    template <class Work>
    bool complainOf(const Work& work, bool isWanted = true) {
        try {
            work();
            return true;
        } catch (const Failure& failure) {
            if (failure.exitCode() != kExitBadInput) throw;
            if (isWanted)
                complaints_.insert(complaints_.end(), failure.lines().begin(), failure.lines().end());
            return false;
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
        "Folders inside it are left out, too. Sizes and resolutions are those of the upright picture, where "
        "a\n"
        "file has an orientation. The exit code is 3 when a file cannot be read, or a folder holds no\n"
        "pictures; what the others say is printed all the same.");
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
