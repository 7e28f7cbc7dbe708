// What the functions of DibFile.h do by a bundle that describes itself.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <type_traits>

#include "dib/ImageSize.h"
#include "dib/Memory.h"
#include "dib/Numbers.h"
#include "formats/BundlePath.h"
#include "formats/Bundles.h"
#include "formats/Exif.h"
#include "formats/OpenBundle.h"
#include "formats/Plugin.h"
#include "formats/door/Frame.h"

namespace formats {

namespace {

// The record that a bundle gets, and where its answers go.
class Call {
public:
    Call(ByteReader& file, const DibLoadOptions& options, DibFileResult& result, Progress* progress)
        : file_(file), result_(result), progress_(progress) {
        record_.size = sizeof record_;
        record_.library = this;
        record_.fileBytes = file.knownSize();
        record_.readFile = readFile;
        record_.page = options.page;
        record_.layer = options.layer;
        record_.level = options.level;
        record_.alpha = options.alpha;
        record_.damage = options.damage;
        record_.mostPixels = options.mostPixels;
        record_.mostBytes = options.mostBytes;
        record_.report = report;
        record_.note = addNote;
        record_.refuse = addReason;
        record_.isWatched = progress != nullptr && progress->isWatched();
    }
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;
    const DibPluginCall* record() const { return &record_; }

private:
    static Call& of(void* library) { return *static_cast<Call*>(library); }

    static std::size_t readFile(void* library, std::uint64_t position, void* out, std::size_t bytes) {
        ByteReader& file = of(library).file_;
        if (out == nullptr || position > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()))
            return 0;
        const auto wanted = dib::asOffset(position);
        if (file.position() != wanted && !file.seek(wanted)) return 0;
        return file.copy(out, bytes);
    }
    static bool report(void* library, double fraction) {
        Progress* progress = of(library).progress_;
        return progress == nullptr || progress->report(0.99 * std::clamp(fraction, 0.0, 1.0));
    }
    static void addNote(void* library, int kind, const char* text) {
        if (text == nullptr || kind < DIB_NOTE_WARNING || kind > DIB_NOTE_LOSS) return;
        note(of(library).result_, static_cast<DibNoteKind>(kind), "%.123s", text);
    }
    static void addReason(void* library, int code, const char* reason) {
        refuseByPlugin(of(library).result_, code, reason);
    }

    ByteReader& file_;
    DibFileResult& result_;
    Progress* progress_;
    DibPluginCall record_ = {};
};

void copyInfo(const DibPluginInfo& from, ProbeRequest& request) {
    DibFileInfo& info = request.info;
    info.width = from.width;
    info.height = from.height;
    info.bitCount = from.bitCount;
    info.storedBits = std::max(from.storedBits, 0);
    info.channels = std::max(from.channels, 0);
    info.pages = std::max(from.pages, 1);
    info.layers = std::max(from.layers, 0);
    info.levels = std::max(from.levels, 1);
    info.paletteSize = std::clamp(from.paletteSize, 0, 256);
    info.hasAlpha = from.hasAlpha;
    info.isTopDown = from.isTopDown;
    nameCompression(info, {from.compression, strnlen(from.compression, sizeof from.compression)});
    static_assert(sizeof info.pageName == sizeof from.pageName);
    std::snprintf(info.pageName, sizeof info.pageName, "%.255s", from.pageName);
    DibMetadata& metadata = request.result.metadata;
    setResolution(from.xResolution, from.yResolution, metadata);
    metadata.orientation = from.orientation >= 1 && from.orientation <= 8 ? from.orientation : 1;
    if (from.exif != nullptr) applyExif({from.exif, from.exifBytes}, metadata);
}

void takeBytes(unsigned char* data, std::size_t size, DibBytes& bytes) {
    DibBytes taken;
    taken.data = data;
    taken.size = data != nullptr ? size : 0;
    bytes = std::move(taken);
}

// Collects the layers that a bundle reports. Bundles call it, so no exception may leave it.
struct LayerList {
    static_assert(std::is_trivially_copyable_v<DibLayer>);

    bool add(const DibPluginLayer& from) {
        if (layers.count == most) return false;
        if (layers.count == room) {
            const std::size_t more = std::min(most, 2 * room + 16);
            void* grown = std::realloc(layers.items, more * sizeof(DibLayer));
            isShortOfMemory = grown == nullptr;
            if (isShortOfMemory) return false;
            layers.items = static_cast<DibLayer*>(grown);
            room = more;
        }
        DibLayer& layer = *new (layers.items + layers.count++) DibLayer;
        std::snprintf(layer.name, sizeof layer.name, "%s", from.name != nullptr ? from.name : "");
        layer.left = from.left;
        layer.top = from.top;
        layer.width = std::max(from.width, 0);
        layer.height = std::max(from.height, 0);
        return true;
    }
    static bool addTo(void* list, const DibPluginLayer* layer) {
        return layer != nullptr && static_cast<LayerList*>(list)->add(*layer);
    }

    std::size_t most = 0;
    std::size_t room = 0;
    bool isShortOfMemory = false;
    DibLayers layers;
};

}  // namespace

void refuseByPlugin(DibFileResult& result, int code, const char* reason) {
    if (reason == nullptr || reason[0] == '\0') return;
    const bool isCode = code > DIB_OK && code <= DIB_ERROR_INTERRUPTED;
    refuse(result, isCode ? static_cast<DibErrorCode>(code) : DIB_ERROR_INVALID, "%.255s", reason);
}

bool probeByBundle(const Bundle& bundle, ProbeRequest& request) {
    const Call call(request.file, request.options, request.result, nullptr);
    DibPluginInfo info = {};
    info.size = sizeof info;
    info.pages = info.levels = info.orientation = 1;
    const bool isProbed = bundle.description.probe(call.record(), &info);
    const dib::MallocPtr<unsigned char> exif(info.exif);
    if (!isProbed) {
        // A load continues without a probe, but not when memory is short.
        if (request.result.code == DIB_ERROR_MEMORY) throw std::bad_alloc();
        return false;
    }
    if (info.width < 1 || info.height < 1 || !dib::isDepth(info.bitCount)) {
        return refuse(request.result, DIB_ERROR_INVALID, "the plug-in describes a picture that cannot exist");
    }
    copyInfo(info, request);
    return true;
}

bool readByBundle(const Bundle& bundle, ReadRequest& request) {
    const Call call(request.file, request.options, request.result, &request.progress);
    DibPluginPicture picture = {};
    picture.size = sizeof picture;
    const bool isRead = bundle.description.load(call.record(), &picture);
    takeBytes(picture.colorProfile, picture.colorProfileBytes, request.result.metadata.colorProfile);
    takeBytes(picture.exif, picture.exifBytes, request.result.metadata.exif);
    takeBytes(picture.xmp, picture.xmpBytes, request.result.metadata.xmp);
    const bool isAdopted = adopt(request.image, picture.header, picture.pixels);
    if (isRead && isAdopted) {
        request.result.reason[0] = '\0';
        request.result.code = DIB_OK;
        return true;
    }
    if (isRead) return refuse(request.result, DIB_ERROR_INVALID, "the plug-in gives no picture");
    if (isAdopted && dib::hasRows(*request.image)) {
        const auto rows = static_cast<std::uint64_t>(dib::rowCount(request.image->Header->biHeight));
        request.progress.countRows(dib::asSize(std::min(picture.rows, rows)));
    }
    return false;
}

bool listLayersByBundle(const Bundle& bundle, LayersRequest& request) {
    if (bundle.description.listLayers == nullptr) return true;
    const Call call(request.file, request.options, request.result, nullptr);
    LayerList list;
    list.most = dib::asSize(request.options.mostLayers) + 1;
    const bool isListed = bundle.description.listLayers(call.record(), &list, LayerList::addTo);
    if (list.isShortOfMemory) return refuseForMemory(request.result, "for the layers");
    if (list.layers.count == list.most) {
        return refuse(request.result, DIB_ERROR_MISMATCH,
                      "the file has too many layers; the limit of layers is %d", request.options.mostLayers);
    }
    if (!isListed) return refuse(request.result, DIB_ERROR_INVALID, "the layers cannot be read");
    request.result.reason[0] = '\0';
    request.result.code = DIB_OK;
    request.layers = std::move(list.layers);
    return true;
}

bool findPageByBundle(const Bundle& bundle, PageRequest& request) {
    if (bundle.description.findPage == nullptr) return false;
    const Call call(request.file, request.options, request.result, nullptr);
    request.page = bundle.description.findPage(call.record(), request.name);
    return request.page >= 0;
}

namespace {

// Calls `work` with the bundle of the result's format.
template <class Request>
bool doByBundle(bool (*work)(const Bundle&, Request&), Request& request) {
    const FileFormat& format = *formatOf(request.result.format);
    const Bundle* bundle = bundleOf(format);
    if (bundle == nullptr || !bundle->isUsable()) return isAvailable(format, &request.result);
    return work(*bundle, request);
}

}  // namespace

bool probeByBundle(ProbeRequest& request) { return doByBundle(probeByBundle, request); }
bool readByBundle(ReadRequest& request) { return doByBundle(readByBundle, request); }
bool listLayersByBundle(LayersRequest& request) { return doByBundle(listLayersByBundle, request); }
bool findPageByBundle(PageRequest& request) { return doByBundle(findPageByBundle, request); }

namespace {

std::string problemOf(const FileFormat& format, const Bundle* bundle) {
    if (bundle == nullptr) return "is missing";
    const char* classic = &format == &kExrFormat   ? kExrPlugin.name
                          : &format == &kDdsFormat ? kDdsPlugin.name
                                                   : nullptr;
    if (bundle->isDescribed || classic == nullptr) return bundle->problem;
    return bundleProblem(platformPluginLoader(), bundle->path, classic);
}

}  // namespace

bool isAvailable(const FileFormat& format, DibFileResult* result) {
    if (format.info.plugin == nullptr) return true;
    const std::string problem = problemOf(format, bundleOf(format));
    if (!problem.empty() && result != nullptr) {
        refuse(*result, DIB_ERROR_UNSUPPORTED, "the plug-in for %s files %s: %.120s", format.info.name,
               problem.c_str(), BundlePath(format.info.plugin).text());
    }
    return problem.empty();
}

}  // namespace formats
