// The formats of the table that plug-ins decode. A bundle that describes itself does the work; for EXR and
// DDS, one that has the classic function alone is called by it, and the headers are read here.
#include <VexLibs.h>

#include <algorithm>
#include <new>

#include "dib/Numbers.h"
#include "formats/Bundles.h"
#include "formats/Formats.h"
#include "formats/GreyInfo.h"
#include "formats/Plugin.h"
#include "formats/diagnosis/DdsHeader.h"
#include "formats/diagnosis/ExrHeader.h"
#include "formats/door/DecoderPath.h"
#include "formats/door/Frame.h"

namespace formats {

namespace {

bool isExr(FirstBytes bytes) { return startsWith(bytes, "\x76\x2F\x31\x01"); }
bool isDds(FirstBytes bytes) { return startsWith(bytes, "DDS "); }
bool isWebp(FirstBytes bytes) {
    return startsWith(bytes, "RIFF") && bytes.size() >= 12 && startsWith(bytes.subspan(8), "WEBP");
}
bool isGif(FirstBytes bytes) { return startsWith(bytes, "GIF87a") || startsWith(bytes, "GIF89a"); }

bool loadDdsFile(const char* path, DibStream* image, DibProgressCallback callback, void* user) {
    try {
        return LoadDDS(VexString::fromUtf8String(path).c_str(), image, callback, user);
    } catch (const std::bad_alloc&) {
        return false;
    }
}

bool loadExrFile(const char* path, DibStream* image, DibProgressCallback callback, void* user) {
    return loadExr(platformPluginLoader(), path, image, callback, user);
}

// The last fraction that a plug-in reported shows how far it came, also when it fails.
struct PluginProgress {
    Progress& progress;
    float last = 0;

    static bool report(float fraction, void* user) {
        auto& plugin = *static_cast<PluginProgress*>(user);
        plugin.last = std::max(plugin.last, fraction);
        return Progress::forward(fraction, &plugin.progress);
    }
};

// A plug-in that fails gives neither a code nor the rows that it has.
bool readThrough(ReadRequest& request, FileFormat::PathCodec load, std::int64_t height) {
    const DecoderPath path(request);
    if (path.get() == nullptr) return false;
    PluginProgress progress{request.progress};
    if (load(path.get(), request.image, PluginProgress::report, &progress)) return true;
    request.result.code = request.image->ErrorCode;
    if (progress.last > 0) {
        const auto rows = static_cast<std::int64_t>(progress.last * static_cast<float>(height));
        refuse(request.result, DIB_ERROR_INVALID,
               "the pixels are damaged or end too early (in row %lld of %lld)",
               static_cast<long long>(std::min(rows + 1, height)), static_cast<long long>(height));
    }
    return false;
}

bool setSize(DibFileInfo& info, std::int64_t width, std::int64_t height, bool isGrey) {
    if (!sizeProblem(width, height, 32).empty()) return false;
    info.width = dib::asInt(width);
    info.height = dib::asInt(height);
    info.bitCount = isGrey ? 8 : 32;
    info.paletteSize = isGrey ? 256 : 0;
    if (isGrey) markGrey(info);
    return true;
}

// The channels that the plug-in shows: those without a layer where there are any, else those of the first
// layer with all colours; luminance only where there is no colour.
std::string shownLayer(const ExrHeader& header) {
    for (const char* name : {"R", "G", "B", "A", "Y"}) {
        if (header.has(name)) return {};
    }
    for (const std::string& name : header.channels) {
        std::string layer = name.substr(0, name.rfind('.') + 1);
        if (header.has(layer + "R") && header.has(layer + "G") && header.has(layer + "B")) return layer;
    }
    return {};
}

bool probeExrHeader(ProbeRequest& request) {
    ExrHeader header;
    const RefusedFile file(request.file);
    if (!readExrHeader(file, header) || header.channels.empty() || !header.hasWindow()) return false;
    const std::string layer = shownLayer(header);
    const bool hasColors = header.has(layer + "R") || header.has(layer + "G") || header.has(layer + "B");
    const bool hasChroma = header.has("RY") || header.has("BY");
    request.info.hasAlpha = header.has(layer + "A");
    request.info.storedBits = header.sampleBits;
    nameCompression(request.info, header.compression);
    setResolution(header.pixelsPerInch, header.pixelsPerInch * header.pixelAspect, request.result.metadata);
    return setSize(request.info, header.width, header.height,
                   !hasColors && !hasChroma && !request.info.hasAlpha);
}

bool probeDdsHeader(ProbeRequest& request) {
    constexpr std::int64_t kHeaderBytes = 128;
    const RefusedFile file(request.file);
    if (file.size() < kHeaderBytes || file.text(0, 4) != "DDS ") return false;
    const DdsHeader header = readDdsHeader(file);
    request.info.hasAlpha = header.hasAlpha;
    request.info.storedBits = header.bitsPerPixel;
    nameCompression(request.info, header.packing);
    return header.bitsPerPixel > 0 && setSize(request.info, header.width, header.height, header.isGrey);
}

// Headers that this library cannot read need the plug-in: without it a probe fails as a load does.
bool refuseUnavailable(const FileFormat& format, ProbeRequest& request) {
    isAvailable(format, &request.result);
    return false;
}

bool probeExr(ProbeRequest& request) {
    const Bundle* bundle = describedBundleOf(kExrFormat);
    if (bundle != nullptr) return probeByBundle(*bundle, request);
    return probeExrHeader(request) || refuseUnavailable(kExrFormat, request);
}

bool readExr(ReadRequest& request) {
    if (const Bundle* bundle = describedBundleOf(kExrFormat)) return readByBundle(*bundle, request);
    DibFileInfo info;
    ProbeRequest probe = {request.file, request.path, request.options, info, request.result};
    probeExrHeader(probe);
    return readThrough(request, loadExrFile, info.height);
}

// Without a description nothing is known of them.
bool listExrLayers(LayersRequest& request) {
    const Bundle* bundle = describedBundleOf(kExrFormat);
    return bundle == nullptr || listLayersByBundle(*bundle, request);
}

bool findExrPage(PageRequest& request) {
    const Bundle* bundle = describedBundleOf(kExrFormat);
    return bundle != nullptr && findPageByBundle(*bundle, request);
}

bool probeDds(ProbeRequest& request) {
    const Bundle* bundle = describedBundleOf(kDdsFormat);
    if (bundle != nullptr) return probeByBundle(*bundle, request);
    return probeDdsHeader(request) || refuseUnavailable(kDdsFormat, request);
}

bool readDds(ReadRequest& request) {
    if (const Bundle* bundle = describedBundleOf(kDdsFormat)) return readByBundle(*bundle, request);
    // Blocks have four rows, which are decoded together.
    return readThrough(request, loadDdsFile, readDdsHeader(RefusedFile(request.file)).height);
}

constexpr const char* kExrExtensions[] = {"exr", nullptr};
constexpr const char* kDdsExtensions[] = {"dds", nullptr};
constexpr const char* kExrTypes[] = {"image/x-exr", nullptr};
constexpr const char* kDdsTypes[] = {"image/x-dds", nullptr};
constexpr const char* kWebpExtensions[] = {"webp", nullptr};
constexpr const char* kWebpTypes[] = {"image/webp", nullptr};
constexpr const char* kGifExtensions[] = {"gif", nullptr};
constexpr const char* kGifTypes[] = {"image/gif", nullptr};

}  // namespace

constinit const FileFormat kExrFormat = {
    .info = {.name = "exr",
             .title = "OpenEXR, by a plug-in",
             .extensions = kExrExtensions,
             .mimeTypes = kExrTypes,
             .readDepths = depths({8, 32}),
             .hasLayers = true,
             .hasPages = true,
             .plugin = kExrPlugin.bundle},
    .recognizes = isExr,
    .load = LoadEXR,
    .probe = probeExr,
    .listLayers = listExrLayers,
    .findPage = findExrPage,
    .read = readExr,
    .diagnose = diagnoseExr,
};

constinit const FileFormat kDdsFormat = {
    .info = {.name = "dds",
             .title = "DirectDraw surface, by a plug-in",
             .extensions = kDdsExtensions,
             .mimeTypes = kDdsTypes,
             .readDepths = depths({8, 32}),
             .hasPages = true,
             .plugin = kDdsPlugin.bundle},
    .recognizes = isDds,
    .load = loadDdsFile,
    .probe = probeDds,
    .read = readDds,
    .diagnose = diagnoseDds,
};

constinit const FileFormat kWebpFormat = {
    .info = {.name = "webp",
             .title = "WebP, its first picture, by a plug-in",
             .extensions = kWebpExtensions,
             .mimeTypes = kWebpTypes,
             .readDepths = depths({24, 32}),
             .writeDepths = depths({24, 32}),
             .plugin = "vexlibwebp.bundle"},
    .recognizes = isWebp,
    .probe = probeByBundle,
    .read = readByBundle,
    .losses = lossesByBundle,
    .write = writeByBundle,
};

constinit const FileFormat kGifFormat = {
    .info = {.name = "gif",
             .title = "GIF, its first picture, by a plug-in",
             .extensions = kGifExtensions,
             .mimeTypes = kGifTypes,
             .readDepths = depths({8, 32}),
             .plugin = "vexlibgif.bundle"},
    .recognizes = isGif,
    .probe = probeByBundle,
    .read = readByBundle,
};

}  // namespace formats
