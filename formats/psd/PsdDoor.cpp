// PSD documents for the functions of DibFile.h: the merged picture or one layer, in colours.
#include <DibCodec.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "dib/ImageSize.h"
#include "formats/Formats.h"
#include "formats/diagnosis/PsdLayers.h"
#include "formats/psd/Document.h"
#include "formats/psd/Pixels.h"

namespace formats {

namespace {

using psd::kCmyk;
using psd::kRgb;

struct PsdHeader {
    int channels = 0;
    std::int64_t width = 0;
    std::int64_t height = 0;
    int depth = 0;
    int mode = 0;

    explicit PsdHeader(const RefusedFile& file)
        : channels(static_cast<int>(file.be16(12))),
          width(file.be32(18)),
          height(file.be32(14)),
          depth(static_cast<int>(file.be16(22))),
          mode(static_cast<int>(file.be16(24))) {}
    int colors() const { return mode == kRgb ? 3 : mode == kCmyk ? 4 : 1; }
    int bitCount(bool hasAlpha) const { return hasAlpha ? 32 : mode == kRgb || mode == kCmyk ? 24 : 8; }
};

// Channels behind the colours are a transparency where the layers say so, and where there are none.
bool hasTransparency(const PsdHeader& header, int layerCount) {
    return header.mode != psd::kIndexed && header.channels > header.colors() && layerCount <= 0;
}

const char* compressionName(std::uint32_t compression) {
    switch (compression) {
        case 0: return "none";
        case 1: return "packbits";
        case 2:
        case 3: return "zip";
        default: return "";
    }
}

// The resource of the resolution: pixels per inch with 16 bits behind the point, and units to show them in.
void readResolution(const RefusedFile& file, DibMetadata& metadata) {
    constexpr std::uint32_t kResolution = 1005;
    constexpr std::int64_t kHeaderBytes = 26;
    std::int64_t at = kHeaderBytes + 4 + file.be32(kHeaderBytes);
    const std::int64_t end = std::min(at + 4 + file.be32(at), file.size());
    for (at += 4; at < end && file.text(at, 4) == "8BIM";) {
        const std::uint32_t id = file.be16(at + 4);
        at += 6 + (file.byte(at + 6) / 2 + 1) * 2;
        if (id == kResolution) {
            metadata.xResolution = file.be32(at + 4) / 65536.0;
            metadata.yResolution = file.be32(at + 12) / 65536.0;
            return;
        }
        at += 4 + (std::int64_t{file.be32(at)} + 1) / 2 * 2;
    }
}

bool recognizes(FirstBytes bytes) { return startsWith(bytes, "8BPS"); }

bool probe(ProbeRequest& request) {
    const RefusedFile file(request.file);
    const PsdHeader header(file);
    if (file.text(0, 4) != "8BPS" || file.be16(4) != 1 || !psd::isVariant(header.mode, header.depth))
        return false;
    const int layers = countPsdLayers(file);
    DibFileInfo& info = request.info;
    info.hasAlpha = hasTransparency(header, layers);
    info.bitCount = header.bitCount(info.hasAlpha);
    if (!sizeProblem(header.width, header.height, info.bitCount).empty()) return false;
    info.width = static_cast<int>(header.width);
    info.height = static_cast<int>(header.height);
    info.storedBits = header.depth * header.channels;
    info.paletteSize = info.bitCount == 8 ? 256 : 0;
    info.layers = std::abs(layers);
    nameCompression(info, compressionName(file.be16(mergedPsdPicture(file))));
    readResolution(file, request.result.metadata);
    return true;
}

// Greys of pictures with alpha are stored as red.
void spreadRed(DibStream& image) {
    const std::size_t bytes = dib::admitSize(*image.Header).imageBytes;
    for (std::size_t i = 0; i < bytes; i += 4) image.Buffer[i] = image.Buffer[i + 1] = image.Buffer[i + 2];
}

void completeColors(const PsdHeader& header, DibStream& image) {
    if (header.mode != kRgb && header.mode != kCmyk && image.Header->biBitCount == 32) spreadRed(image);
}

void noteConversions(const PsdHeader& header, DibFileResult& result) {
    if (header.depth > 8) note(result, DIB_NOTE_LOSS, "%d bits a sample became 8", header.depth);
    if (header.mode == kCmyk)
        note(result, DIB_NOTE_ASSUMPTION, "inks were taken for plain complements of red, green and blue");
}

// Unread rows become 0.
void clearRows(DibStream& image, std::size_t first) {
    const dib::ImageSize size = dib::admitSize(*image.Header);
    if (first < size.rows) std::memset(image.Buffer, 0, size.rowBytes * (size.rows - first));
}

bool refuseForMemory(ReadRequest& request) {
    return refuse(request.result, DIB_ERROR_MEMORY, "there is not enough memory for the picture");
}

bool readMerged(ReadRequest& request, const PsdHeader& header, psd::Document& document) {
    const bool isRead = document.load();
    if (document.isShortOfMemory) return refuseForMemory(request);
    if (request.image->Header == nullptr || request.image->Buffer == nullptr) return request.end(isRead);
    completeColors(header, *request.image);
    noteConversions(header, request.result);
    if (isRead) return true;
    clearRows(*request.image, request.progress.rowsDone());
    if (document.damage.row < 0 || request.progress.isCancelled()) return request.end(false);
    return refuse(request.result, DIB_ERROR_INVALID, "row %lld of channel %zu is damaged or missing",
                  static_cast<long long>(document.damage.row) + 1, document.damage.channel + 1);
}

bool readLayer(ReadRequest& request, const PsdHeader& header, psd::Document& document, DibPSDLoader& loader) {
    const int layer = request.options.layer;
    const bool isRead = document.loadLayers();
    if (request.progress.isCancelled()) return false;
    if (document.isShortOfMemory) return refuseForMemory(request);
    if (const PsdLayers layers = inspectPsdLayers(RefusedFile(request.file)); !layers.problem.empty())
        return refuse(request.result, DIB_ERROR_UNSUPPORTED, "%s", layers.problem.c_str());
    if (!isRead || layer >= loader.GetLayerNum())
        return refuse(request.result, DIB_ERROR_INVALID, "the layers are damaged or end too early");
    int left = 0;
    int top = 0;
    const ImagePtr image(loader.GetLayerImage(layer, left, top));
    if (image == nullptr) return refuse(request.result, DIB_ERROR_MISMATCH, "layer %d has no pixels", layer);
    moveBlocks(*image, *request.image);
    completeColors(header, *request.image);
    noteConversions(header, request.result);
    return true;
}

bool read(ReadRequest& request) {
    const RefusedFile file(request.file);
    const PsdHeader header(file);
    readResolution(file, request.result.metadata);
    const psd::Wide wide = {request.progress, hasTransparency(header, countPsdLayers(file)),
                            request.options.layer};
    const bool wantsLayer = request.options.layer >= 0;
    request.file.seek(0);
    DibPSDLoader loader(wantsLayer ? nullptr : request.image);
    loader.EnableLayer(wantsLayer);
    psd::Document document(loader, request.file, nullptr, &wide);
    return wantsLayer ? readLayer(request, header, document, loader) : readMerged(request, header, document);
}

constexpr const char* kExtensions[] = {"psd", nullptr};
constexpr const char* kMimeTypes[] = {"image/x-psd", nullptr};

}  // namespace

constinit const FileFormat kPsdFormat = {
    .info = {.name = "psd",
             .title = "Layered document, its merged picture",
             .extensions = kExtensions,
             .mimeTypes = kMimeTypes,
             .readDepths = depths({8, 24, 32}),
             .hasLayers = true},
    .recognizes = recognizes,
    .load = LoadPSD,
    .probe = probe,
    .read = read,
    .diagnose = diagnosePsd,
};

}  // namespace formats
