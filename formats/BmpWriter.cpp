// Writing BMP files: a header of 40 bytes, the colour table, the rows from the bottom up; at 8 bits in run
// lengths where they are shorter. Alpha needs a header of the fourth version, which says that it is there; a
// colour profile needs the fifth.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "dib/BmpCodes.h"
#include "dib/Bytes.h"
#include "dib/ColorTable.h"
#include "dib/ImageSize.h"
#include "dib/Memory.h"
#include "dib/Numbers.h"
#include "formats/Bmp.h"
#include "formats/BmpRuns.h"
#include "formats/Rows.h"

namespace formats {

namespace {

namespace bmp = dib::bmp;

constexpr std::uint32_t kVersion4 = 108;
constexpr std::uint32_t kVersion5 = 124;

std::uint32_t pixelsPerMeter(double pixelsPerInch) {
    constexpr double kInchesPerMeter = 1 / 0.0254;
    return static_cast<std::uint32_t>(
        std::clamp(std::round(pixelsPerInch * kInchesPerMeter), 0.0, 2147483647.0));
}

class BmpWriter {
public:
    explicit BmpWriter(WriteRequest& request)
        : file_(request.file),
          image_(request.image),
          options_(request.options),
          result_(request.result),
          progress_(request.progress),
          size_(dib::admitSize(*image_.Header)) {}

    bool write() {
        const std::size_t entries = image_.Header->biBitCount <= 8 ? tableEntries() : 0;
        if (image_.Header->biBitCount == 8 && options_.runLengths && !encodeRuns()) return false;
        writeHeaders(entries);
        file_.bytes(dib::colorTable(image_.Header), entries * dib::kEntryBytes);
        if (runBytes_ == 0) return writeRows() && writeProfile();
        file_.bytes(runs_.get(), runBytes_);
        return writeProfile();
    }

private:
    std::size_t width() const { return dib::columnsOf(*image_.Header); }
    std::size_t tableEntries() const {
        return std::min(dib::announcedEntries(*image_.Header),
                        dib::addressableEntries(image_.Header->biBitCount));
    }
    const DibBytes* profile() const {
        const DibMetadata* metadata = options_.metadata;
        return metadata != nullptr && metadata->colorProfile.size > 0 ? &metadata->colorProfile : nullptr;
    }
    std::uint32_t infoBytes() const {
        if (profile() != nullptr) return kVersion5;
        return image_.Header->biBitCount == 32 ? kVersion4 : std::uint32_t{dib::kHeaderBytes};
    }
    std::size_t pixelBytes() const { return runBytes_ > 0 ? runBytes_ : size_.imageBytes; }
    // From the bottom of the picture.
    const unsigned char* row(std::size_t y) const {
        return image_.Buffer + (image_.Header->biHeight > 0 ? y : size_.rows - 1 - y) * size_.rowBytes;
    }

    void writeHeaders(std::size_t entries) {
        const std::uint32_t bytes = infoBytes();
        const std::size_t pixelOffset = bmp::kFileHeaderBytes + bytes + entries * dib::kEntryBytes;
        const std::size_t profileBytes = profile() != nullptr ? profile()->size : 0;
        unsigned char headers[bmp::kFileHeaderBytes + kVersion5] = {'B', 'M'};
        dib::writeLe32(headers + 2, pixelOffset + pixelBytes() + profileBytes);
        dib::writeLe32(headers + 10, pixelOffset);
        unsigned char* info = headers + bmp::kFileHeaderBytes;
        const BITMAPINFOHEADER& header = *image_.Header;
        const bool hasAlpha = header.biBitCount == 32;
        dib::writeLe32(info, bytes);
        dib::writeLe32(info + 4, header.biWidth);
        dib::writeLe32(info + 8, size_.rows);
        dib::writeLe16(info + 12, 1);
        dib::writeLe16(info + 14, header.biBitCount);
        const std::uint32_t compression = hasAlpha        ? bmp::kChannelMasks
                                          : runBytes_ > 0 ? bmp::kRunLength8
                                                          : bmp::kUncompressed;
        dib::writeLe32(info + 16, compression);
        dib::writeLe32(info + 20, pixelBytes());
        if (options_.metadata != nullptr) {
            dib::writeLe32(info + 24, pixelsPerMeter(options_.metadata->xResolution));
            dib::writeLe32(info + 28, pixelsPerMeter(options_.metadata->yResolution));
        }
        dib::writeLe32(info + 32, entries);
        dib::writeLe32(info + 36, entries);
        if (hasAlpha) {
            constexpr std::uint32_t kMasks[] = {0x00FF0000, 0x0000FF00, 0x000000FF, 0xFF000000};
            for (std::size_t i = 0; i < 4; ++i) dib::writeLe32(info + 40 + 4 * i, kMasks[i]);
        }
        std::memcpy(info + 56, profileBytes > 0 ? "DEBM" : "BGRs", bytes > dib::kHeaderBytes ? 4 : 0);
        if (profileBytes > 0) {
            dib::writeLe32(info + 108, 4);  // rendering intent: perceptual
            dib::writeLe32(info + 112, pixelOffset - bmp::kFileHeaderBytes + pixelBytes());
            dib::writeLe32(info + 116, profileBytes);
        }
        file_.bytes(headers, bmp::kFileHeaderBytes + bytes);
    }

    bool writeProfile() {
        if (profile() != nullptr) file_.bytes(profile()->data, profile()->size);
        return true;
    }

    // Fill is written as 0, whatever the image has there.
    bool writeRows() {
        const std::size_t bits = width() * image_.Header->biBitCount;
        if (bits % 32 != 0) return writeFilledRows((bits + 7) / 8, static_cast<unsigned>(bits % 8));
        const std::ptrdiff_t step =
            image_.Header->biHeight > 0 ? dib::asOffset(size_.rowBytes) : -dib::asOffset(size_.rowBytes);
        const std::size_t most = rowsPerStep(progress_, size_.rowBytes, size_.rows);
        for (std::size_t y = 0; y < size_.rows; y += most) {
            const std::size_t rows = std::min(most, size_.rows - y);
            file_.rows(row(y), step, size_.rowBytes, rows);
            if (!progress_.rows(y + rows, size_.rows)) return false;
        }
        return true;
    }

    bool writeFilledRows(std::size_t bytes, unsigned lastBits) {
        RowWriter rows(file_, size_.rowBytes, size_.rows);
        if (!rows.ready()) return refuseMemory();
        for (std::size_t y = 0; y < size_.rows; ++y) {
            unsigned char* out = rows.next();
            std::memcpy(out, row(y), bytes);
            std::memset(out + bytes, 0, size_.rowBytes - bytes);
            if (lastBits > 0) out[bytes - 1] &= dib::byteOf(0xFF00U >> lastBits);
            if (!progress_.rows(y + 1, size_.rows)) return false;
        }
        return true;
    }

    // Packs the rows; they stay raw when that is not shorter.
    bool encodeRuns() {
        constexpr std::size_t kEndBytes = 2;
        const std::size_t most = size_.imageBytes + mostRunBytes(width()) + kEndBytes;
        runs_ = dib::allocateArray<unsigned char>(most);
        if (runs_ == nullptr) return refuseMemory();
        std::size_t used = 0;
        for (std::size_t y = 0; y < size_.rows; ++y) {
            used += encodeBmpRow(row(y), width(), runs_.get() + used);
            if (used + kEndBytes >= size_.imageBytes) return true;
            if (!progress_.rows(y + 1, size_.rows)) return false;
        }
        runs_[used] = 0;
        runs_[used + 1] = 1;
        runBytes_ = used + kEndBytes;
        return true;
    }

    bool refuseMemory() { return refuseForMemory(result_, "for the file"); }

    ByteWriter& file_;
    const DibStream& image_;
    const DibSaveOptions& options_;
    DibFileResult& result_;
    Progress& progress_;
    dib::ImageSize size_;
    dib::MallocPtr<unsigned char> runs_;
    std::size_t runBytes_ = 0;  // 0: the rows are written raw
};

}  // namespace

bool findBmpLosses(LossRequest& request) {
    noteMetadata(request, {.resolution = true, .colorProfile = true});
    return true;
}

bool writeBmp(WriteRequest& request) { return BmpWriter(request).write(); }

}  // namespace formats
