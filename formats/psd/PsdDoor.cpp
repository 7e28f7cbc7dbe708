// PSD documents for the functions of DibFile.h: the merged picture, one layer or a mask. `DibPSDLoader` and
// `LoadPSD` are a reader of their own, which never changes. This one differs from it in that it
// - reads large documents, Lab, duotone (in grey) and multichannel, and ZIP with and without prediction;
// - shows CMYK and grey with transparency in colour, where `LoadPSD` keeps inks in the bytes of a pixel;
// - shows floats by the curve of sRGB, where `LoadPSD` uses the power 1/2.2;
// - tells transparency from other channels, and takes white from half-transparent colours that have it;
// - takes PackBits rows with fill at their end, and layers that count fill which is not there;
// - has layers of 16 and 32 bits, both masks with their rectangles, groups and Unicode names;
// - refuses what ends early, or keeps the rows on request, where `LoadPSD` leaves white.
#include <DibCodec.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <new>
#include <string>

#include "dib/Bytes.h"
#include "dib/ColorTable.h"
#include "dib/Numbers.h"
#include "formats/Exif.h"
#include "formats/Formats.h"
#include "formats/NewImage.h"
#include "formats/Rows.h"
#include "formats/psd/LayerList.h"
#include "formats/psd/Picture.h"

namespace formats {

namespace {

using psd::Outline;
using psd::Picture;
using psd::PlaneRows;

const char* compressionName(std::uint32_t compression) {
    switch (compression) {
        case 0: return "none";
        case 1: return "packbits";
        case 2:
        case 3: return "zip";
        default: return "";
    }
}

bool recognizes(FirstBytes bytes) { return startsWith(bytes, "8BPS"); }

bool probe(ProbeRequest& request) {
    const RefusedFile file(request.file);
    if (const Problem problem = psd::headerProblem(file); !problem.empty())
        return refuse(request.result, problem);
    const Outline outline = psd::outlineOf(file);
    DibFileInfo& info = request.info;
    info.layers = outline.layerCount;
    Picture picture;
    if (request.options.layer >= outline.layerCount) {
        return refuse(request.result, DIB_ERROR_MISMATCH, "there is no layer %d: the file has %d",
                      request.options.layer, outline.layerCount);
    }
    if (!psd::findPicture(file, outline, request.options, request.result, picture)) return false;
    info.width = picture.width;
    info.height = picture.height;
    info.bitCount = picture.kind.bitCount;
    info.hasAlpha = picture.kind.bitCount == 32;
    info.storedBits = outline.depth * outline.channels;
    info.paletteSize = info.bitCount == 8 ? 256 : 0;
    info.channels = outline.channels;
    info.channelBits = outline.depth;
    std::strncpy(info.colors, outline.modeName(), sizeof info.colors - 1);
    nameCompression(info, compressionName(file.be16(outline.picture)));
    request.result.metadata.xResolution = outline.xResolution;
    request.result.metadata.yResolution = outline.yResolution;
    return true;
}

// 256 reds, then the greens, then the blues. Grey documents may have a palette, too.
void readPalette(const RefusedFile& file, const Outline& outline, DibStream& image) {
    constexpr std::size_t kPaletteBytes = 768;
    const psd::Extent palette = outline.palette;
    if (outline.mode == psd::kDuotone || palette.end - palette.start != std::int64_t{kPaletteBytes}) return;
    const std::string planes = file.text(palette.start, kPaletteBytes);
    DibBGRA* table = dib::colorTable(image.Header);
    for (std::size_t i = 0; i < 256; ++i) {
        const auto part = [&](std::size_t plane) { return dib::byteOf(planes[256 * plane + i]); };
        table[i] = {part(2), part(1), part(0), 0};
    }
}

void noteConversions(const Outline& outline, DibFileResult& result) {
    if (outline.depth > 8) note(result, DIB_NOTE_LOSS, "%d bits a sample became 8", outline.depth);
    if (outline.mode == psd::kCmyk)
        note(result, DIB_NOTE_ASSUMPTION, "inks were taken for plain complements of red, green and blue");
    if (outline.mode == psd::kDuotone)
        note(result, DIB_NOTE_LOSS, "the inks of a duotone were not kept: it is shown in grey");
    if (outline.mode == psd::kMultichannel)
        note(result, DIB_NOTE_ASSUMPTION, "the first channels were shown as %s minus ink",
             outline.colors() == 3 ? "red, green and blue" : "white");
}

void keepBlock(const RefusedFile& file, const psd::Extent& from, DibBytes& to) {
    const std::int64_t bytes = from.end - from.start;
    if (bytes <= 0 || bytes > static_cast<std::int64_t>(kMostMetadataBytes)) return;
    const std::string block = file.text(from.start, static_cast<std::size_t>(bytes));
    if (!copyBytes({reinterpret_cast<const unsigned char*>(block.data()), block.size()}, to))
        throw std::bad_alloc();
}

void keepMetadata(const RefusedFile& file, const Outline& outline, DibFileResult& result) {
    DibMetadata& metadata = result.metadata;
    metadata.xResolution = outline.xResolution;
    metadata.yResolution = outline.yResolution;
    keepBlock(file, outline.profile, metadata.colorProfile);
    keepBlock(file, outline.exif, metadata.exif);
    keepBlock(file, outline.xmp, metadata.xmp);
    if (outline.hasIptc) note(result, DIB_NOTE_LOSS, "the IPTC block is not kept");
}

class PictureReader {
public:
    PictureReader(ReadRequest& request, const Picture& picture)
        : request_(request),
          picture_(picture),
          image_(request.image, &request.progress),
          colors_(picture.kind) {}

    // Makes the image and opens the planes. False with the code when memory is short.
    bool begin();
    // False with the reason when a row is damaged or missing, when the caller cancels, and as soon as the
    // rows cannot be what the picture says.
    bool readRows();
    // Whether the rows agree with what the picture says of colours mixed with white.
    bool isMixedAsSaid() const { return colors_.isMixed(); }

private:
    // Rows that lie in the file as in the image, but for their order.
    bool isCopy() const;
    bool copyRows();
    bool refuseDamage();

    ReadRequest& request_;
    const Picture& picture_;
    NewImage image_;
    psd::RowColors colors_;
    std::array<PlaneRows, psd::kMostPlanes> planes_;
    std::int64_t damagedRow_ = -1;  // the first one; negative: none
    std::size_t damagedPlane_ = 0;
};

bool PictureReader::begin() {
    std::uint64_t fewest = 0;
    bool isKnown = true;
    std::size_t there = 0;
    while (there < picture_.planes() && picture_.exists[there]) ++there;
    const std::size_t blocks = picture_.isOneBlock ? 1 : picture_.planes();
    for (std::size_t i = 0; i < blocks; ++i) {
        if (!picture_.isOneBlock && !picture_.exists[i]) continue;
        const std::uint64_t least = picture_.blocks[i].fewestBytes(picture_.isOneBlock ? there : 1);
        isKnown = isKnown && least > 0;
        fewest += least;
    }
    request_.file.seek(picture_.blocks[0].data.start);
    if (!image_.create(request_.file, picture_.width, picture_.height, picture_.kind.bitCount,
                       isKnown ? fewest : 0) ||
        !colors_.prepare(dib::asSize(picture_.width)))
        return refuseForMemory(request_.result, "for the picture");
    if (picture_.isOneBlock)
        return openPlanes(request_.file, picture_.blocks[0], {planes_.data(), there}) ||
               refuseForMemory(request_.result, "for the picture");
    for (std::size_t i = 0; i < blocks; ++i) {
        if (picture_.exists[i] && !openPlanes(request_.file, picture_.blocks[i], {&planes_[i], 1}))
            return refuseForMemory(request_.result, "for the picture");
    }
    return true;
}

bool PictureReader::isCopy() const {
    return picture_.isOneBlock && picture_.kind.bitCount == 8 && picture_.kind.depth == 8 &&
           picture_.blocks[0].packing == psd::Packing::kRaw;
}

bool PictureReader::copyRows() {
    const auto width = dib::asSize(picture_.width);
    const auto pitch = dib::asSize(request_.image->GetPitch());
    const std::size_t band = rowsPerStep(request_.progress, width, dib::asSize(picture_.height));
    request_.file.seek(picture_.blocks[0].data.start);
    for (int row = 0; row < picture_.height;) {
        const std::size_t wanted = std::min(band, dib::asSize(picture_.height - row));
        const std::size_t rows =
            request_.file.readRows(image_->ScanLine(row), -dib::asOffset(pitch), width, wanted) / width;
        row += dib::asInt(rows);
        if (rows > 0 && !image_.read(image_->ScanLine(row - 1), rows)) return false;
        if (rows == wanted) continue;
        damagedRow_ = row;
        return refuseDamage();
    }
    return true;
}

// Rows of the first plane count; where another one is damaged, it is white from there on.
bool PictureReader::readRows() {
    if (isCopy()) return copyRows();
    const std::size_t count = picture_.planes();
    for (int row = 0; row < picture_.height; ++row) {
        std::array<const unsigned char*, psd::kMostPlanes> samples = {};
        for (std::size_t plane = 0; plane < count; ++plane) {
            if (!picture_.exists[plane]) continue;
            samples[plane] = planes_[plane].next(request_.file);
            if (samples[plane] != nullptr || damagedRow_ >= 0) continue;
            damagedRow_ = row;
            damagedPlane_ = plane;
        }
        const bool isLost = picture_.exists[0] && samples[0] == nullptr;
        const bool isShort = damagedRow_ >= 0 && planes_[damagedPlane_].isShortOfMemory();
        if (damagedRow_ >= 0 && (isLost || isShort || !request_.keepsDamaged())) return refuseDamage();
        unsigned char* to = image_->ScanLine(row);
        colors_.make({samples.data(), count}, to);
        // The caller reads the others in another way then, and these again.
        if (!colors_.canBecomeMixed(picture_.height - 1 - row)) return false;
        if (!image_.read(to)) return false;
    }
    return damagedRow_ < 0 || refuseDamage();
}

bool PictureReader::refuseDamage() {
    if (planes_[damagedPlane_].isShortOfMemory()) return refuseForMemory(request_.result, "for the picture");
    return refuse(request_.result, DIB_ERROR_INVALID, "row %lld of channel %zu is damaged or missing",
                  static_cast<long long>(damagedRow_) + 1, damagedPlane_ + 1);
}

bool readPicture(ReadRequest& request, const RefusedFile& file, const Outline& outline,
                 const Picture& picture, bool& isMixedAsSaid) {
    PictureReader reader(request, picture);
    if (!reader.begin()) return false;
    if (request.options.layer < 0 && picture.kind.bitCount == 8) readPalette(file, outline, *request.image);
    const bool isRead = reader.readRows();
    isMixedAsSaid = reader.isMixedAsSaid();
    return isRead;
}

bool read(ReadRequest& request) {
    const RefusedFile file(request.file);
    if (const Problem problem = psd::headerProblem(file); !problem.empty())
        return refuse(request.result, problem);
    const Outline outline = psd::outlineOf(file);
    keepMetadata(file, outline, request.result);
    Picture picture;
    if (!psd::findPicture(file, outline, request.options, request.result, picture)) return false;
    if (request.options.layer < 0 && !outline.hasMergedPicture)
        note(request.result, DIB_NOTE_WARNING, "the document was saved without its merged picture");
    noteConversions(outline, request.result);
    bool isMixedAsSaid = true;
    const bool isRead = readPicture(request, file, outline, picture, isMixedAsSaid);
    if (isMixedAsSaid || request.progress.isCancelled() || request.result.code == DIB_ERROR_MEMORY)
        return isRead;
    picture.kind.isMatted = false;
    return readPicture(request, file, outline, picture, isMixedAsSaid);
}

constexpr const char* kExtensions[] = {"psd", "psb", nullptr};
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
    .listLayers = psd::listLayers,
    .read = read,
};

}  // namespace formats
