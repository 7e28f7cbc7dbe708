// Reading BMP files for the functions of DibFile.h. `DibStream::LoadFromFile` (dib/BmpFile.cpp) is a reader
// of its own, which never changes. This one differs from it in that it
// - takes the headers of OS/2 (12, 16 to 64 bytes), bitmaps without a file header, the first one of an array;
// - reads pixels of 2 bits, run lengths of 4 and 24 bits, and run lengths from the top row down;
// - scales channels of any width, at 16, 24 and 32 bits, whose masks are inside or after any header;
// - keeps alpha where a mask is there for it, and leaves no compression in the image's header;
// - opens JPEG and PNG files inside, by their signature;
// - ends the palette where the pixels start, and shows indices without a palette as greys;
// - keeps the resolution and the colour profile;
// - refuses run lengths that end early, or keeps their rows on request.
#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "dib/Bytes.h"
#include "dib/ColorTable.h"
#include "dib/ImageSize.h"
#include "dib/Memory.h"
#include "dib/Numbers.h"
#include "formats/Bmp.h"
#include "formats/BmpHeader.h"
#include "formats/BmpRuns.h"
#include "formats/Formats.h"
#include "formats/NewImage.h"
#include "formats/Rows.h"
#include "formats/door/DecoderPath.h"

namespace formats {

namespace {

using Packing = BmpHeader::Packing;
constexpr double kMetersPerInch = 0.0254;

const FileFormat& embeddedFormat(Packing packing) {
    return packing == Packing::kPng ? kPngFormat : kJpegFormat;
}

bool isEmbedded(Packing packing) { return packing == Packing::kPng || packing == Packing::kJpeg; }

const char* nameOf(const BmpHeader& header) {
    switch (header.packing) {
        case Packing::kRuns4: return "rle4";
        case Packing::kRuns8: return "rle8";
        case Packing::kRuns24: return "rle24";
        case Packing::kPng: return "png";
        case Packing::kJpeg: return "jpeg";
        default: return header.hasMasks ? "masks" : "none";
    }
}

void describeResolution(const BmpHeader& header, DibMetadata& metadata) {
    metadata.xResolution = std::max(header.xPixelsPerMeter, 0.0) * kMetersPerInch;
    metadata.yResolution = std::max(header.yPixelsPerMeter, 0.0) * kMetersPerInch;
}

// Calls `use(format, file)` with the file of another format that the pixels are. False with a code and a
// reason where that fails.
template <class Use>
bool useEmbedded(ByteReader& file, const BmpHeader& header, DibFileResult& result, const Use& use) {
    const FileFormat& format = embeddedFormat(header.packing);
    const auto size = dib::asSize(file.seek(header.pixelStart) ? file.remaining() : 0);
    const auto bytes = dib::allocateArray<unsigned char>(std::max(size, std::size_t{1}));
    if (bytes == nullptr) return refuseForMemory(result, "for the picture");
    if (size == 0 || !file.read(bytes.get(), size)) return refuse(result, DIB_ERROR_READ, "%s", kShortPixels);
    ByteReader inner(bytes.get(), size);
    return use(format, inner) ||
           refuse(result, DIB_ERROR_INVALID, "the %s file inside is damaged", format.info.name);
}

class BmpReader {
public:
    BmpReader(ReadRequest& request, const BmpHeader& header)
        : request_(request), file_(request.file), header_(header), image_(request.image, &request.progress) {}

    bool read() {
        readProfile();
        if (isEmbedded(header_.packing)) return readEmbedded();
        return create() && readTable() && readPixels();
    }

private:
    bool refuseShort(const char* reason) { return refuse(request_.result, DIB_ERROR_READ, "%s", reason); }
    bool refuseMemory() { return refuseForMemory(request_.result, "for the picture"); }

    // A profile that the file does not hold is left out.
    void readProfile() {
        const std::int64_t end = header_.profileStart + header_.profileBytes;
        if (header_.profileBytes == 0 || file_.size() < end || !file_.seek(header_.profileStart)) return;
        DibBytes& profile = request_.result.metadata.colorProfile;
        profile.data = dib::allocateArray<unsigned char>(header_.profileBytes).release();
        if (profile.data != nullptr) profile.size = file_.copy(profile.data, header_.profileBytes);
    }

    bool readEmbedded() {
        return useEmbedded(file_, header_, request_.result, [&](const FileFormat& format, ByteReader& inner) {
            ReadRequest request = {inner,          nullptr,         request_.options,
                                   request_.image, request_.result, request_.progress};
            return readPicture(format, request);
        });
    }

    bool create() {
        const dib::ImageSize stored = dib::admitSize(header_.width, header_.height, header_.bitCount);
        const bool isPacked = header_.packing != Packing::kRaw;
        const std::uint64_t fewestBytes = isPacked ? 0 : stored.imageBytes;
        // The table comes first.
        const bool isCreated =
            file_.seek(header_.pixelStart) &&
            image_.create(file_, header_.width, header_.height, header_.imageBits(), fewestBytes);
        return isCreated || refuseMemory();
    }

    // The table in memory holds every index: those beyond the file's are black.
    bool readTable() {
        if (!header_.hasTable()) return true;
        DibBGRA* table = dib::colorTable(image_->Header);
        if (header_.entries == 0) {
            note(request_.result, DIB_NOTE_ASSUMPTION,
                 "there is no palette, so indices were taken for greys");
            image_->SetMonoPalette();
            return file_.seek(header_.pixelStart);
        }
        std::memset(table, 0, dib::addressableEntries(image_->Header->biBitCount) * dib::kEntryBytes);
        unsigned char stored[256 * dib::kEntryBytes];
        if (!file_.seek(header_.tableStart) || !file_.read(stored, header_.entries * header_.entryBytes)) {
            return refuseShort("the file ends inside its palette");
        }
        for (std::size_t i = 0; i < header_.entries; ++i)
            std::memcpy(&table[i], stored + i * header_.entryBytes, header_.entryBytes);
        image_->Header->biClrUsed = image_->Header->biClrImportant = dib::dwordOf(header_.paletteSize());
        return file_.seek(header_.pixelStart);
    }

    bool readPixels() {
        if (header_.packing != Packing::kRaw) return readRuns();
        if (header_.isLaidOutAsImage()) return readRaw();
        return header_.bitCount == 2 ? readPairs() : readMasked();
    }

    bool readRuns() {
        const dib::ImageSize size = dib::admitSize(*image_->Header);
        const BmpRows rows = {image_->Buffer, size.rowBytes, dib::asSize(header_.width), size.rows};
        return decodeBmpRuns(request_, header_.bitCount, rows) ||
               refuseShort("the run-length data end early");
    }

    // Rows that are stored as the image holds them. The fill of the last one may be missing.
    bool readRaw() {
        const dib::ImageSize size = dib::admitSize(*image_->Header);
        const std::size_t pixelBytes = dib::packedBytes(header_.width, image_->Header->biBitCount);
        const std::size_t step = rowsPerStep(request_.progress, size.rowBytes, size.rows);
        for (std::size_t row = 0; row < size.rows; row += step) {
            unsigned char* first = image_->Buffer + row * size.rowBytes;
            const std::size_t rows = std::min(step, size.rows - row);
            const std::size_t bytes = file_.copy(first, rows * size.rowBytes);
            const bool isComplete = bytes + size.rowBytes >= rows * size.rowBytes + pixelBytes;
            const std::size_t whole = isComplete ? rows : bytes / size.rowBytes;
            if (whole > 0 && !image_.read(first, whole)) return false;
            if (isComplete) continue;
            image_.readPart(first + whole * size.rowBytes, bytes % size.rowBytes);
            return refuseShort(kShortPixels);
        }
        return true;
    }

    // Calls `convert(from, to)` for every row of the file.
    template <class Convert>
    bool convertRows(const Convert& convert) {
        const dib::ImageSize size = dib::admitSize(header_.width, header_.height, header_.bitCount);
        const std::size_t neededBytes = dib::packedBytes(header_.width, header_.bitCount);
        const auto row = dib::allocateZeroed<unsigned char>(size.rowBytes);
        if (row == nullptr) return refuseMemory();
        for (std::size_t y = 0; y < size.rows; ++y) {
            unsigned char* to = image_->Buffer + y * image_->GetPitch();
            if (file_.copy(row.get(), size.rowBytes) < neededBytes) return refuseShort(kShortPixels);
            convert(row.get(), to);
            if (!image_.read(to)) return false;
        }
        return true;
    }

    bool readMasked() {
        const int bits = header_.imageBits();
        const int deepest = deepestChannel(header_.masks);
        if (deepest > 8) {
            note(request_.result, DIB_NOTE_LOSS, "channels of %d bits became 8", deepest);
        } else if (bits != header_.bitCount) {
            note(request_.result, DIB_NOTE_ASSUMPTION, "pixels of %d bits became %d", header_.bitCount, bits);
        }
        return convertRows([&](const unsigned char* from, unsigned char* to) {
            spreadChannels(from, header_.bitCount / 8, to, bits / 8, dib::asSize(header_.width),
                           header_.masks);
        });
    }

    // Pixels of 2 bits become 4.
    bool readPairs() {
        return convertRows([&](const unsigned char* from, unsigned char* to) {
            const std::size_t bytes = dib::packedBytes(header_.width, 4);
            for (std::size_t i = 0; i < bytes; ++i) {
                const unsigned pair = i % 2 == 0 ? from[i / 2] >> 4U : from[i / 2] & 15U;
                to[i] = dib::byteOf((pair & 12U) << 2 | (pair & 3U));
            }
        });
    }

    ReadRequest& request_;
    ByteReader& file_;
    const BmpHeader& header_;
    NewImage image_;
};

// Size and depth of a file inside are those that a load gives, whatever the header says.
bool probeEmbedded(ProbeRequest& request, const BmpHeader& header) {
    return useEmbedded(
        request.file, header, request.result, [&](const FileFormat& format, ByteReader& inner) {
            ProbeRequest inside = {inner, nullptr, request.options, request.info, request.result};
            if (format.probe != nullptr) return format.probe(inside);
            return refuse(request.result, DIB_ERROR_UNSUPPORTED, "%s pixels are not described here",
                          nameOf(header));
        });
}

// Files inside say it again, perhaps otherwise: the header decides, as in every other bitmap.
void describe(const BmpHeader& header, DibMetadata& metadata) {
    describeResolution(header, metadata);
    metadata.orientation = 1;
}

}  // namespace

bool probeBmp(ProbeRequest& request) {
    BmpHeader header;
    if (!readBmpHeader(request.file, header, request.result)) return false;
    DibFileInfo& info = request.info;
    if (isEmbedded(header.packing)) {
        const bool isRead = probeEmbedded(request, header);
        describe(header, request.result.metadata);
        nameCompression(info, nameOf(header));
        return isRead;
    }
    info.width = header.width;
    info.height = dib::asInt(dib::rowCount(header.height));
    info.bitCount = header.imageBits();
    info.storedBits = header.bitCount;
    info.hasAlpha = header.masks.alpha != 0;
    info.isTopDown = header.height < 0;
    info.paletteSize = dib::asInt(header.paletteSize());
    nameCompression(info, nameOf(header));
    describeResolution(header, request.result.metadata);
    return true;
}

bool readBmp(ReadRequest& request) {
    BmpHeader header;
    if (!readBmpHeader(request.file, header, request.result)) return false;
    const bool isRead = BmpReader(request, header).read();
    describe(header, request.result.metadata);
    return isRead;
}

}  // namespace formats
