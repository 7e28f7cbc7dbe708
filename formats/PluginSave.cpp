// Saving by a bundle that describes itself.
#include <algorithm>
#include <cstring>

#include "dib/ImageSize.h"
#include "dib/Raster.h"
#include "formats/Bundles.h"
#include "formats/Exif.h"
#include "formats/FileRows.h"
#include "formats/door/Frame.h"

namespace formats {

namespace {

// The bundle of a format when it writes files; null with a reason when it does not.
const Bundle* writingBundleOf(const FileFormat& format, DibFileResult& result) {
    if (!isAvailable(format, &result)) return nullptr;
    const Bundle* bundle = describedBundleOf(format);
    if (bundle != nullptr && bundle->description.save != nullptr) return bundle;
    refuse(result, DIB_ERROR_UNSUPPORTED, "the plug-in for %s files does not write them", format.info.name);
    return nullptr;
}

bool holdsAlpha(const DibPluginDescription& description) {
    return (description.writeDepths & unsigned{DibStream::DIB_ACCEPT_32}) != 0;
}

bool isForColors(const DibBytes& profile) {
    constexpr std::size_t kColorSpace = 16;
    return profile.size >= kColorSpace + 4 && std::memcmp(profile.data + kColorSpace, "RGB ", 4) == 0;
}

// Whether the EXIF block gives the resolution.
bool isResolutionInExif(const DibMetadata& metadata) {
    DibMetadata inBlock;
    if (metadata.exif.size > 0) applyExif({metadata.exif.data, metadata.exif.size}, inBlock);
    return inBlock.xResolution == metadata.xResolution && inBlock.yResolution == metadata.yResolution;
}

// The record that a bundle gets, and where its file goes.
class SaveCall {
public:
    SaveCall(WriteRequest& request, const DibPluginDescription& description)
        : request_(request), colors_(*request.image.Header) {
        dib::viewRows(request.image, raster_);
        const DibMetadata* metadata = request.options.metadata;
        const bool hasTable = hasPaletteAlpha(request.image, metadata);
        if (hasTable) applyAlpha(metadata->paletteAlpha);
        record_.size = sizeof record_;
        record_.library = this;
        record_.width = raster_.width;
        record_.height = raster_.height;
        record_.bitCount = holdsAlpha(description) && (raster_.bitCount == 32 || hasTable) ? 32 : 24;
        record_.readRow = readRow;
        record_.isLossy = request.options.isLossy;
        record_.isWatched = request.progress.isWatched();
        record_.quality = request.options.quality;
        record_.compressionLevel = request.options.compressionLevel;
        record_.write = write;
        record_.report = report;
        record_.refuse = addReason;
    }
    SaveCall(const SaveCall&) = delete;
    SaveCall& operator=(const SaveCall&) = delete;

    // False when memory is short.
    bool addMetadata(const DibPluginDescription& description) {
        const DibMetadata* metadata = request_.options.metadata;
        if (metadata == nullptr) return true;
        if (description.holdsColorProfile && isForColors(metadata->colorProfile)) {
            record_.colorProfile = metadata->colorProfile.data;
            record_.colorProfileBytes = metadata->colorProfile.size;
        }
        if (!description.holdsExif) return true;
        if (!exifForFile(*metadata, exif_)) return false;
        record_.exif = exif_.data;
        record_.exifBytes = exif_.size;
        return true;
    }
    const DibPluginSave* record() const { return &record_; }

private:
    static SaveCall& of(void* library) { return *static_cast<SaveCall*>(library); }

    void applyAlpha(const DibBytes& alpha) {
        for (std::size_t i = 0; i < std::min<std::size_t>(alpha.size, 256); ++i)
            colors_.bgra[i] = (colors_.bgra[i] & 0xFFFFFF) | std::uint32_t{alpha.data[i]} << 24;
    }

    static void readRow(void* library, int y, unsigned char* pixels) {
        const SaveCall& call = of(library);
        const dib::Raster& raster = call.raster_;
        if (y < 0 || y >= raster.height || pixels == nullptr) return;
        const unsigned char* row = raster.row(y);
        const auto width = static_cast<std::size_t>(raster.width);
        convertFileRow(row, raster.bitCount, pixels, dib::Packed::kBgra, width, call.colors_);
        if (call.record_.bitCount == 24 && raster.bitCount == 32)
            for (std::size_t x = 0; x < width; ++x) pixels[4 * x + 3] = 255;
    }
    static bool write(void* library, const void* bytes, std::size_t count) {
        ByteWriter& file = of(library).request_.file;
        if (bytes != nullptr) file.bytes(bytes, count);
        return file.isWhole();
    }
    static bool report(void* library, double fraction) {
        return of(library).request_.progress.report(0.99 * std::clamp(fraction, 0.0, 1.0));
    }
    static void addReason(void* library, int code, const char* reason) {
        refuseByPlugin(of(library).request_.result, code, reason);
    }

    WriteRequest& request_;
    dib::Raster raster_;
    dib::IndexColors colors_;
    DibBytes exif_;
    DibPluginSave record_ = {};
};

}  // namespace

bool lossesByBundle(LossRequest& request) {
    const Bundle* bundle = writingBundleOf(*formatOf(request.result.format), request.result);
    if (bundle == nullptr) return false;
    const DibPluginDescription& description = bundle->description;
    const BITMAPINFOHEADER& header = *request.image.Header;
    const int most = description.mostSide;
    if (most > 0 && (header.biWidth > most || dib::rowCount(header.biHeight) > most)) {
        return refuse(request.result, DIB_ERROR_MISMATCH, "%s files hold at most %dx%d pixels",
                      description.name, most, most);
    }
    if (header.biBitCount <= 8)
        note(request.result, DIB_NOTE_LOSS, "the palette and its indices are not kept");
    if (header.biBitCount == 16 || (header.biBitCount == 32 && !holdsAlpha(description)))
        noteDepth(request, 24);
    if (request.options.isLossy) {
        note(request.result, DIB_NOTE_LOSS, "pixels change a little, as %s files pack them (quality %d)",
             description.name, request.options.quality);
    }
    const DibMetadata* metadata = request.options.metadata;
    const bool losesProfile = description.holdsColorProfile && metadata != nullptr &&
                              metadata->colorProfile.size > 0 && !isForColors(metadata->colorProfile);
    if (losesProfile)
        note(request.result, DIB_NOTE_LOSS, "the colour profile is not kept: it is not for RGB pixels");
    const bool keepsResolution =
        description.holdsExif && metadata != nullptr && isResolutionInExif(*metadata);
    noteMetadata(request, {.resolution = keepsResolution,
                           .orientation = description.holdsExif,
                           .colorProfile = description.holdsColorProfile,
                           .exif = description.holdsExif,
                           .paletteAlpha = holdsAlpha(description)});
    return true;
}

bool writeByBundle(WriteRequest& request) {
    const Bundle* bundle = writingBundleOf(*formatOf(request.result.format), request.result);
    if (bundle == nullptr) return false;
    SaveCall call(request, bundle->description);
    if (!call.addMetadata(bundle->description)) return refuseForMemory(request.result);
    return bundle->description.save(call.record());
}

}  // namespace formats
