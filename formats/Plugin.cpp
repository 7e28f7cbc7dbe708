// EXR and DDS files are decoded by plug-ins: bundles in a folder that the application names, each with one
// export. A load opens the bundle, loads its code, looks the export up, calls it and adopts the picture that
// it returns.
#include "formats/Plugin.h"

#include <DibPlugin.h>
#include <VexLibs.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <new>

#include "dib/ColorTable.h"
#include "dib/ImageSize.h"
#include "dib/Memory.h"
#include "formats/Formats.h"
#include "formats/OpenBundle.h"
#include "formats/diagnosis/DdsHeader.h"
#include "formats/diagnosis/ExrHeader.h"
#include "formats/door/DecoderPath.h"
#include "formats/door/Frame.h"

namespace formats {

namespace {

struct Plugin {
    const char* bundle;
    const char* name;  // of the export
};
constexpr Plugin kExr = {"vexlibexr.bundle", "LoadEXR"};
constexpr Plugin kDds = {"vexlibdds.bundle", "LoadDDS"};

// Four bytes for each character of the folder, its terminator included.
constexpr std::size_t kFolderBytes = sizeof(DibStream::DllPath) / sizeof(wchar_t) * 4;

// Where a bundle lies: in the plug-in folder, or in the working directory when there is none.
class BundlePath {
public:
    explicit BundlePath(const char* bundle) {
        char folder[kFolderBytes];
        DibStream::GetDllFilePath(folder);
        // A folder without a UTF-8 form must not turn into the working directory.
        isKnown_ = folder[0] != '\0' || DibStream::DllPath[0] == L'\0';
        const std::size_t length = std::strlen(folder);
        const bool needsSlash = length > 0 && folder[length - 1] != '/';
        std::snprintf(text_, sizeof text_, "%s%s%s", folder, needsSlash ? "/" : "", bundle);
    }
    bool isKnown() const { return isKnown_; }
    const char* text() const { return text_; }

private:
    bool isKnown_;
    char text_[kFolderBytes + 32];
};

// Whether blocks that fit such a header can exist: all of the library's offsets into them are then exact.
bool isPossible(const BITMAPINFOHEADER& header) {
    const std::uint32_t mostEntries = header.biBitCount <= 8 ? 1U << header.biBitCount : 256;
    return dib::admitSize(header).admitted && header.biSize <= dib::kLongestHeaderBytes &&
           header.biClrUsed <= mostEntries;
}

bool adopt(DibStream* image, BITMAPINFOHEADER* header, unsigned char* buffer) {
    dib::MallocPtr<BITMAPINFOHEADER> ownedHeader(header);
    dib::MallocPtr<unsigned char> ownedBuffer(buffer);
    if (header == nullptr || buffer == nullptr || !isPossible(*header)) return false;
    return image->SetDib(ownedHeader.release(), dib::kOwned, ownedBuffer.release(), dib::kOwned);
}

// The steps of a load; `function` is what the export points to.
template <class Function, class Char>
bool loadThroughPlugin(PluginLoader& loader, const Plugin& plugin, const Char* path, DibStream* image,
                       DibProgressCallback progress, void* user) {
    if (path == nullptr || image == nullptr) return false;
    const BundlePath bundlePath(plugin.bundle);
    if (!bundlePath.isKnown()) return false;
    OpenBundle bundle(loader, bundlePath.text());
    if (!bundle.exists() || !bundle.loadCode()) return false;
    const auto function = reinterpret_cast<Function>(bundle.find(plugin.name));
    if (function == nullptr) return false;
    BITMAPINFOHEADER* header = nullptr;
    unsigned char* buffer = nullptr;
    if (!function(path, &header, &buffer, progress, user)) return false;
    return adopt(image, header, buffer);
}

}  // namespace

bool loadExr(PluginLoader& loader, const char* path, DibStream* image, DibProgressCallback callback,
             void* user) {
    return loadThroughPlugin<DibPluginLoadEXR>(loader, kExr, path, image, callback, user);
}

bool loadDds(PluginLoader& loader, const wchar_t* path, DibStream* image, DibProgressCallback callback,
             void* user) {
    DdsContext context = {callback, user};
    return loadThroughPlugin<DibPluginLoadDDS>(loader, kDds, path, image, DdsCallback, &context);
}

bool isAvailable(const FileFormat& format, DibFileResult* result) {
    const Plugin* plugin = nullptr;
    if (&format == &kExrFormat) plugin = &kExr;
    if (&format == &kDdsFormat) plugin = &kDds;
    if (plugin == nullptr) return true;
    const BundlePath path(plugin->bundle);
    const std::string problem =
        path.isKnown() ? bundleProblem(platformPluginLoader(), path.text(), plugin->name) : "is missing";
    if (!problem.empty() && result != nullptr) {
        refuse(*result, DIB_ERROR_UNSUPPORTED, "the plug-in for %s files %s: %.120s", format.info.name,
               problem.c_str(), path.text());
    }
    return problem.empty();
}

}  // namespace formats

bool DdsCallback(float progress, void* context) {
    const auto& caller = *static_cast<const formats::DdsContext*>(context);
    return caller.callback == nullptr || caller.callback(progress, caller.user);
}

bool LoadEXR(const char* path, DibStream* image, DibProgressCallback /*callback*/, void* /*user*/) {
    return formats::loadExr(formats::platformPluginLoader(), path, image);
}

bool LoadEXR(const wchar_t* path, DibStream* image, DibProgressCallback callback, void* user) {
    if (path == nullptr) return false;
    try {
        const VexString wide(path);
        // Text without an 8-bit form would turn into the empty path.
        return wide.isValid() && LoadEXR(wide.toUtf8String().c_str(), image, callback, user);
    } catch (const std::bad_alloc&) {
        return false;
    }
}

bool LoadDDS(const wchar_t* path, DibStream* image, DibProgressCallback callback, void* user) {
    return formats::loadDds(formats::platformPluginLoader(), path, image, callback, user);
}

namespace formats {

namespace {

bool isExr(FirstBytes bytes) { return startsWith(bytes, "\x76\x2F\x31\x01"); }
bool isDds(FirstBytes bytes) { return startsWith(bytes, "DDS "); }

// Files name their compression beyond the first bytes.
std::string_view unknown(FirstBytes) { return "unknown"; }

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

// What a plug-in reports tells how far it has come when it fails, too.
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
    info.width = static_cast<int>(width);
    info.height = static_cast<int>(height);
    info.bitCount = isGrey ? 8 : 32;
    info.paletteSize = isGrey ? 256 : 0;
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

bool probeExr(ProbeRequest& request) {
    ExrHeader header;
    const RefusedFile file(request.file);
    if (!readExrHeader(file, header) || header.channels.empty() || !header.hasWindow()) return false;
    const std::string layer = shownLayer(header);
    const bool hasColors = header.has(layer + "R") || header.has(layer + "G") || header.has(layer + "B");
    const bool hasChroma = header.has("RY") || header.has("BY");
    request.info.hasAlpha = header.has(layer + "A");
    request.info.storedBits = header.sampleBits;
    nameCompression(request.info, header.compression);
    request.result.metadata.xResolution = header.pixelsPerInch;
    request.result.metadata.yResolution = header.pixelsPerInch * header.pixelAspect;
    return setSize(request.info, header.width, header.height,
                   !hasColors && !hasChroma && !request.info.hasAlpha);
}

bool readExr(ReadRequest& request) {
    DibFileInfo info;
    ProbeRequest probe = {request.file, request.path, request.options, info, request.result};
    probeExr(probe);
    return readThrough(request, loadExrFile, info.height);
}

bool probeDds(ProbeRequest& request) {
    constexpr std::int64_t kHeaderBytes = 128;
    const RefusedFile file(request.file);
    if (file.size() < kHeaderBytes || file.text(0, 4) != "DDS ") return false;
    const DdsHeader header = readDdsHeader(file);
    request.info.hasAlpha = header.hasAlpha;
    request.info.storedBits = header.bitsPerPixel;
    nameCompression(request.info, header.packing);
    return header.bitsPerPixel > 0 && setSize(request.info, header.width, header.height, header.isGrey);
}

bool readDds(ReadRequest& request) {
    // Blocks have four rows, which come together.
    return readThrough(request, loadDdsFile, readDdsHeader(RefusedFile(request.file)).height);
}

constexpr const char* kExrExtensions[] = {"exr", nullptr};
constexpr const char* kDdsExtensions[] = {"dds", nullptr};
constexpr const char* kExrTypes[] = {"image/x-exr", nullptr};
constexpr const char* kDdsTypes[] = {"image/x-dds", nullptr};

}  // namespace

constinit const FileFormat kExrFormat = {
    .info = {.name = "exr",
             .title = "OpenEXR, its first part, by a plug-in",
             .extensions = kExrExtensions,
             .mimeTypes = kExrTypes,
             .readDepths = depths({8, 32}),
             .plugin = kExr.bundle},
    .recognizes = isExr,
    .compression = unknown,
    .load = LoadEXR,
    .probe = probeExr,
    .read = readExr,
    .diagnose = diagnoseExr,
};

constinit const FileFormat kDdsFormat = {
    .info = {.name = "dds",
             .title = "DirectDraw surface, its largest level, by a plug-in",
             .extensions = kDdsExtensions,
             .mimeTypes = kDdsTypes,
             .readDepths = depths({8, 32}),
             .plugin = kDds.bundle},
    .recognizes = isDds,
    .compression = unknown,
    .load = loadDdsFile,
    .probe = probeDds,
    .read = readDds,
    .diagnose = diagnoseDds,
};

}  // namespace formats
