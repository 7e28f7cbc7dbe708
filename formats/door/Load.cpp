// Opening and probing: find the format, apply the limits, decode, check the result.
#include <DibFile.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <string>
#include <utility>

#include "dib/ImageSize.h"
#include "dib/MoveBlocks.h"
#include "dib/Numbers.h"
#include "formats/Formats.h"
#include "formats/door/Alpha.h"
#include "formats/door/DecoderPath.h"
#include "formats/door/Detection.h"
#include "formats/door/Frame.h"
#include "formats/door/Options.h"
#include "formats/door/Orientation.h"
#include "formats/door/Source.h"

namespace formats {

namespace {

bool refuseForError(Source& source, DibFileResult& result) {
    result.reason[0] = '\0';
    return refuse(result, DIB_ERROR_READ, "reading failed: %s", std::strerror(source.error()));
}

const FileFormat* recognize(Source& source, const DibLoadOptions& options, DibFileResult& result) {
    const bool isEmpty = source.firstBytes().empty();
    if (isEmpty && source.error() == 0) {
        refuse(result, DIB_ERROR_READ, "the file is empty");
        return nullptr;
    }
    const FileFormat* format = isEmpty ? nullptr : detectFormat(source.firstBytes(), source.path(), options);
    if (format == nullptr && source.error() != 0) {
        refuseForError(source, result);
        return nullptr;
    }
    if (format == nullptr && options.format != nullptr) {
        refuse(result, DIB_ERROR_UNSUPPORTED, "no format has the name %.60s", options.format);
        return nullptr;
    }
    if (format == nullptr) {
        refuse(result, DIB_ERROR_UNSUPPORTED, "the format of the file is not known");
        return nullptr;
    }
    result.format = &format->info;
    if (!accepts(options, *format)) {
        refuse(result, DIB_ERROR_MISMATCH, "%s files are not among the accepted formats", format->info.name);
        return nullptr;
    }
    return format;
}

bool probe(Source& source, const FileFormat& format, DibFileInfo& info, const DibLoadOptions& options,
           DibFileResult& result) {
    info.format = &format.info;
    ProbeRequest request = {source.reader(), source.pathToReadAgain(), options, info, result};
    const bool isRead = format.probe != nullptr && source.reader().seek(0) && format.probe(request);
    if (!isRead || info.width < 0 || info.height < 0) {
        info.width = info.height = 0;
        return false;
    }
    if (options.appliesOrientation && exchangesSides(result.metadata.orientation)) {
        std::swap(info.width, info.height);
    }
    // Where the codec has not said it, the file has those of the image.
    if (info.channels == 0) info.channels = info.bitCount <= 8 ? 1 : info.hasAlpha ? 4 : 3;
    return true;
}

using Count = unsigned long long;

// A refusal names the need and the limit.
bool isWithinLimits(const DibFileInfo& info, const DibLoadOptions& options, DibFileResult& result) {
    const Count columns = dib::asUnsigned(info.width);
    const Count rows = dib::asUnsigned(info.height);
    const Count pixels = columns * rows;
    const Count rowBytes = (columns * dib::asUnsigned(info.bitCount) + 31) / 32 * 4;
    const Count bytes = rowBytes * rows;
    const auto refuseFor = [&](const char* what, Count need, Count limit) {
        return refuse(result, DIB_ERROR_MISMATCH,
                      "the picture of %dx%d pixels needs %llu %s; the limit of %s is %llu", info.width,
                      info.height, need, what, what, limit);
    };
    if (pixels > options.mostPixels) return refuseFor("pixels", pixels, options.mostPixels);
    if (bytes > options.mostBytes) return refuseFor("bytes", bytes, options.mostBytes);
    if (info.layers > options.mostLayers)
        return refuseFor("layers", dib::asUnsigned(info.layers), dib::asUnsigned(options.mostLayers));
    return true;
}

bool hasPart(const DibFileInfo& info, const DibLoadOptions& options, DibFileResult& result) {
    const auto check = [&](const char* what, int asked, int count) {
        return (asked >= 0 && asked < count) ||
               refuse(result, DIB_ERROR_MISMATCH, "there is no %s %d: the file has %d", what, asked, count);
    };
    return check("page", options.page, info.pages) && check("level", options.level, info.levels) &&
           (options.layer < 0 || check("layer", options.layer, info.layers));
}

bool findPage(Source& source, const FileFormat& format, DibLoadOptions& options, DibFileResult& result) {
    if (format.findPage == nullptr) {
        return refuse(result, DIB_ERROR_MISMATCH,
                      "there is no page \"%.100s\": pages of %s files have no names", options.pageName,
                      format.info.name);
    }
    PageRequest request = {source.reader(), options, options.pageName, options.page, result};
    source.reader().seek(0);
    return format.findPage(request) ||
           refuse(result, DIB_ERROR_MISMATCH, "the file has no page \"%.100s\"", options.pageName);
}

bool listLayers(Source& source, const FileFormat& format, DibLayers& layers, const DibLoadOptions& options,
                DibFileResult& out) {
    if (format.listLayers == nullptr) return true;
    LayersRequest request = {source.reader(), options, layers, out};
    source.reader().seek(0);
    const bool isListed = format.listLayers(request);
    if (source.error() == 0) return isListed;
    layers = DibLayers();
    return refuseForError(source, out);
}

bool findLayer(Source& source, const FileFormat& format, DibLoadOptions& options, DibFileResult& result) {
    DibLayers layers;
    if (!listLayers(source, format, layers, options, result)) return false;
    const DibLayer* end = layers.items + layers.count;
    const DibLayer* found =
        std::find_if(static_cast<const DibLayer*>(layers.items), end,
                     [&](const DibLayer& layer) { return std::strcmp(layer.name, options.layerName) == 0; });
    if (found == end)
        return refuse(result, DIB_ERROR_MISMATCH, "the file has no layer \"%.100s\"", options.layerName);
    options.layer = dib::asInt(found - layers.items);
    return true;
}

// Replaces names of pages and layers by their numbers.
bool findNamed(Source& source, const FileFormat& format, DibLoadOptions& options, DibFileResult& result) {
    return (options.pageName == nullptr || findPage(source, format, options, result)) &&
           (options.layerName == nullptr || findLayer(source, format, options, result));
}

bool hasPixels(const DibStream& image) { return image.Buffer != nullptr && dib::hasRows(image); }

void append(DibFileResult& result, const char* text) {
    const std::size_t length = std::strlen(result.reason);
    std::snprintf(result.reason + length, sizeof result.reason - length, "%s", text);
}

// A picture that could be read in part is kept, with a warning, or refused, with a reason.
bool judgeDamage(const FileFormat& format, Source& source, ReadRequest& request) {
    DibFileResult& result = request.result;
    if (request.progress.isCancelled()) {
        result.reason[0] = '\0';
        return refuse(result, DIB_ERROR_INTERRUPTED, "cancelled");
    }
    if (source.error() != 0) refuseForError(source, result);
    if (result.code == DIB_OK) result.code = DIB_ERROR_INVALID;
    if (result.reason[0] == '\0') {
        source.reader().seek(0);
        refuse(result, whyRefused(source.reader(), format.diagnose, result.code));
    }
    const std::size_t done = request.progress.rowsDone();
    const bool isDamage = result.code == DIB_ERROR_READ || result.code == DIB_ERROR_INVALID;
    if (!isDamage || !hasPixels(*request.image)) return false;
    if (done == 0) {
        if (request.keepsDamaged()) append(result, ": no row could be read");
        return false;
    }
    const auto rows = dib::asSize(dib::rowCount(request.image->Header->biHeight));
    if (request.keepsDamaged()) {
        note(result, DIB_NOTE_WARNING, "%.70s: %zu of %zu rows were read", result.reason, done, rows);
        result.reason[0] = '\0';
        result.code = DIB_OK;
        return true;
    }
    if (done >= rows) return false;
    char place[64];
    std::snprintf(place, sizeof place, " (in row %zu of %zu)", done + 1, rows);
    append(result, place);
    return false;
}

bool load(Source& source, DibStream& image, DibLoadOptions& options, DibFileResult& result,
          Progress& progress) {
    const FileFormat* format = recognize(source, options, result);
    if (format == nullptr) return false;
    if (!isAvailable(*format, &result)) return false;
    if (!findNamed(source, *format, options, result)) return false;
    DibFileInfo info;
    const bool isKnown = probe(source, *format, info, options, result);
    if (!isKnown && source.error() != 0) return refuseForError(source, result);
    if (!hasPart(info, options, result)) return false;
    if (isKnown && !isWithinLimits(info, options, result)) return false;
    result.reason[0] = '\0';
    result.code = DIB_OK;
    if (!progress.report(0)) return refuse(result, DIB_ERROR_INTERRUPTED, "cancelled");

    DibStream loaded;
    ReadRequest request = {source.reader(), source.pathToReadAgain(), options, &loaded, result, progress};
    source.reader().seek(0);
    const bool isRead = readPicture(*format, request);
    const bool isWhole = isRead && !progress.isCancelled() && source.error() == 0;
    if (!isWhole && !judgeDamage(*format, source, request)) return false;
    if (!hasPixels(loaded)) return refuse(result, DIB_ERROR_INVALID, "the file contains no picture");
    if (!isKnown) {
        info = {.format = info.format,
                .width = loaded.Header->biWidth,
                .height = dib::asInt(dib::rowCount(loaded.Header->biHeight)),
                .bitCount = loaded.Header->biBitCount};
        if (!isWithinLimits(info, options, result)) return false;
    }
    judgeAlpha(loaded, options.alpha, result);
    if (options.appliesOrientation && !turnUpright(loaded, result)) return false;
    if (!progress.report(1)) return refuse(result, DIB_ERROR_INTERRUPTED, "cancelled");
    dib::moveBlocks(loaded, image);
    return true;
}

bool openSource(Source& source, const DibReader* reader) { return source.open(*reader); }
template <class... From>
bool openSource(Source& source, From... from) {
    return source.open(from...);
}

template <class... From>
bool loadFrom(DibStream* image, const DibLoadOptions* options, DibFileResult* result,
              DibProgressCallback callback, void* user, From... from) {
    DibFileResult own;
    DibFileResult& out = result != nullptr ? *result : own;
    const bool isLoaded = runCall(out, [&] {
        if (image == nullptr) return refuse(out, DIB_ERROR_INVALID, "there is no image to load into");
        DibLoadOptions complete;
        if (!completeOptions(options, complete, out)) return false;
        Progress progress(callback, user);
        Source source(out, complete, &progress);
        return end(out, openSource(source, from...) && load(source, *image, complete, out, progress));
    });
    if (image != nullptr) image->ErrorCode = out.code;
    return isLoaded;
}

// Calls that look into a file without loading it: `look` fills the record, which is empty at first.
template <class Record, class Look, class... From>
bool lookInto(Record* record, const char* noRecord, const Look& look, const DibLoadOptions* options,
              DibFileResult* result, From... from) {
    DibFileResult own;
    DibFileResult& out = result != nullptr ? *result : own;
    return runCall(out, [&] {
        if (record == nullptr) return refuse(out, DIB_ERROR_INVALID, "%s", noRecord);
        *record = Record();
        DibLoadOptions complete;
        if (!completeOptions(options, complete, out)) return false;
        Source source(out, complete);
        if (!openSource(source, from...)) return false;
        const FileFormat* format = recognize(source, complete, out);
        return end(out, format != nullptr && findNamed(source, *format, complete, out) &&
                            look(source, *format, *record, complete, out));
    });
}

bool probeSource(Source& source, const FileFormat& format, DibFileInfo& info, const DibLoadOptions& options,
                 DibFileResult& out) {
    const bool isRead = probe(source, format, info, options, out);
    if (source.error() != 0) return refuseForError(source, out);
    if (!hasPart(info, options, out)) return false;
    if (isRead) {
        if (options.appliesOrientation) exchangeResolution(out.metadata.orientation, out.metadata);
        return true;
    }
    source.reader().seek(0);
    return refuse(out, whyRefused(source.reader(), format.diagnose, out.code));
}

template <class... From>
bool probeFrom(DibFileInfo* info, const DibLoadOptions* options, DibFileResult* result, From... from) {
    return lookInto(info, "there is no record to fill", probeSource, options, result, from...);
}

template <class... From>
bool listLayersOf(DibLayers* layers, const DibLoadOptions* options, DibFileResult* result, From... from) {
    return lookInto(layers, "there is no list to fill", listLayers, options, result, from...);
}

}  // namespace

}  // namespace formats

bool DibLoadFile(const char* path, DibStream* image, const DibLoadOptions* options, DibFileResult* result,
                 DibProgressCallback callback, void* user) {
    return formats::loadFrom(image, options, result, callback, user, path);
}
bool DibLoadFile(const wchar_t* path, DibStream* image, const DibLoadOptions* options, DibFileResult* result,
                 DibProgressCallback callback, void* user) {
    return formats::loadFrom(image, options, result, callback, user, path);
}
bool DibLoadMemory(const void* bytes, std::size_t size, DibStream* image, const DibLoadOptions* options,
                   DibFileResult* result, DibProgressCallback callback, void* user) {
    return formats::loadFrom(image, options, result, callback, user, bytes, size);
}
bool DibLoadStream(std::FILE* file, DibStream* image, const DibLoadOptions* options, DibFileResult* result,
                   DibProgressCallback callback, void* user) {
    return formats::loadFrom(image, options, result, callback, user, file);
}
bool DibLoadStream(const DibReader& reader, DibStream* image, const DibLoadOptions* options,
                   DibFileResult* result, DibProgressCallback callback, void* user) {
    return formats::loadFrom(image, options, result, callback, user, &reader);
}

bool DibProbeFile(const char* path, DibFileInfo* info, const DibLoadOptions* options, DibFileResult* result) {
    return formats::probeFrom(info, options, result, path);
}
bool DibProbeFile(const wchar_t* path, DibFileInfo* info, const DibLoadOptions* options,
                  DibFileResult* result) {
    return formats::probeFrom(info, options, result, path);
}
bool DibProbeMemory(const void* bytes, std::size_t size, DibFileInfo* info, const DibLoadOptions* options,
                    DibFileResult* result) {
    return formats::probeFrom(info, options, result, bytes, size);
}

bool DibProbeLayers(const char* path, DibLayers* layers, const DibLoadOptions* options,
                    DibFileResult* result) {
    return formats::listLayersOf(layers, options, result, path);
}
bool DibProbeLayers(const wchar_t* path, DibLayers* layers, const DibLoadOptions* options,
                    DibFileResult* result) {
    return formats::listLayersOf(layers, options, result, path);
}
bool DibProbeLayers(const void* bytes, std::size_t size, DibLayers* layers, const DibLoadOptions* options,
                    DibFileResult* result) {
    return formats::listLayersOf(layers, options, result, bytes, size);
}
