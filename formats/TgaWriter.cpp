// Writing TGA files, bottom row first: in run lengths where they are shorter, indices with the whole colour
// map, greys without one, and a footer.
#include <cstring>

#include "dib/Bytes.h"
#include "dib/ColorTable.h"
#include "dib/Memory.h"
#include "dib/Numbers.h"
#include "dib/Raster.h"
#include "dib/RowConverter.h"
#include "formats/Rows.h"
#include "formats/Tga.h"
#include "formats/TgaHeader.h"
#include "formats/TgaPackets.h"

namespace formats {

namespace {

// Indices of less than a byte have none of their own in a file.
constexpr int storedBits(int bitCount) { return bitCount < 8 ? 8 : bitCount; }

class TgaWriter {
public:
    explicit TgaWriter(WriteRequest& request)
        : file_(request.file),
          image_(request.image),
          options_(request.options),
          result_(request.result),
          progress_(request.progress) {
        dib::viewRows(image_, raster_);
        const BITMAPINFOHEADER& info = *image_.Header;
        pixelBytes_ = dib::asSize(storedBits(info.biBitCount)) / 8;
        isGrey_ = info.biBitCount == 8 && dib::IndexColors(info).isGreyRamp;
        if (info.biBitCount <= 8 && !isGrey_)
            entries_ = std::min(dib::announcedEntries(info), dib::addressableEntries(info.biBitCount));
    }

    bool write() {
        row_ = dib::allocateArray<unsigned char>(rowBytes());
        if (row_ == nullptr) return refuseMemory();
        if (options_.runLengths && !pack()) return false;
        writeHeader();
        for (std::size_t i = 0; i < entries_; ++i)
            file_.bytes(dib::colorTable(image_.Header) + i, sizeof(DibBGR));
        if (packedBytes_ > 0) {
            file_.bytes(packed_.get(), packedBytes_);
        } else if (!writeRows()) {
            return false;
        }
        unsigned char footer[8 + sizeof kTgaSignature] = {};  // neither an extension area nor a directory
        std::memcpy(footer + 8, kTgaSignature, sizeof kTgaSignature);
        file_.bytes(footer, sizeof footer);
        return true;
    }

private:
    std::size_t width() const { return raster_.columns(); }
    std::size_t height() const { return raster_.rows(); }
    std::size_t rowBytes() const { return width() * pixelBytes_; }
    bool refuseMemory() { return refuseForMemory(result_, "for the file"); }

    void writeHeader() {
        TgaHeader header;
        const unsigned type = isGrey_ ? kGrey : entries_ > 0 ? kMapped : kTrueColor;
        header.imageType = packedBytes_ > 0 ? type | kRunLength : type;
        header.width = static_cast<std::int16_t>(raster_.width);
        header.height = static_cast<std::int16_t>(raster_.height);
        header.bitCount = dib::asInt(8 * pixelBytes_);
        header.descriptor = header.bitCount == 32 ? 8 : 0;  // bits of alpha
        if (entries_ > 0) {
            header.colorMapType = 1;
            header.mapEntries = static_cast<std::int16_t>(entries_);
            header.mapEntryBits = 24;
        }
        file_.bytes(header.bytes().data(), TgaHeader::kBytes);
    }

    // Row y from the bottom as it is stored.
    const unsigned char* storedRow(std::size_t y) {
        const unsigned char* row = raster_.row(dib::asOffset(height() - 1 - y));
        const unsigned bits = image_.Header->biBitCount;
        if (bits >= 8) return row;
        const std::size_t perByte = 8 / bits;
        for (std::size_t x = 0; x < width(); ++x) {
            const std::size_t shift = 8 - bits - x % perByte * bits;
            row_[x] = dib::byteOf(row[x / perByte] >> shift & ((1U << bits) - 1));
        }
        return row_.get();
    }

    std::size_t packRow(const unsigned char* row, unsigned char* out) const {
        switch (pixelBytes_) {
            case 1: return packPixels<1>(row, width(), out);
            case 2: return packPixels<2>(row, width(), out);
            case 3: return packPixels<3>(row, width(), out);
            default: return packPixels<4>(row, width(), out);
        }
    }

    // The rows stay raw when packing does not make them shorter.
    bool pack() {
        const std::size_t rawBytes = rowBytes() * height();
        packed_ = dib::allocateArray<unsigned char>(rawBytes + mostPacketBytes(width(), pixelBytes_));
        if (packed_ == nullptr) return refuseMemory();
        std::size_t used = 0;
        for (std::size_t y = 0; y < height(); ++y) {
            used += packRow(storedRow(y), packed_.get() + used);
            if (used >= rawBytes) return true;
            if (!progress_.rows(y + 1, height())) return false;
        }
        packedBytes_ = used;
        return true;
    }

    bool writeRows() {
        if (image_.Header->biBitCount >= 8) return writeBlocks();
        RowWriter rows(file_, rowBytes(), height());
        if (!rows.ready()) return refuseMemory();
        for (std::size_t y = 0; y < height(); ++y) {
            std::memcpy(rows.next(), storedRow(y), rowBytes());
            if (!progress_.rows(y + 1, height())) return false;
        }
        return true;
    }

    bool writeBlocks() {
        const std::size_t step = rowsPerStep(progress_, rowBytes(), height());
        for (std::size_t y = 0; y < height(); y += step) {
            const std::size_t rows = std::min(step, height() - y);
            file_.rows(storedRow(y), -raster_.rowStep, rowBytes(), rows);
            if (!progress_.rows(y + rows, height())) return false;
        }
        return true;
    }

    ByteWriter& file_;
    const DibStream& image_;
    const DibSaveOptions& options_;
    DibFileResult& result_;
    Progress& progress_;
    dib::Raster raster_;
    std::size_t pixelBytes_ = 0;
    bool isGrey_ = false;
    std::size_t entries_ = 0;  // of the colour map
    dib::MallocPtr<unsigned char> row_;
    dib::MallocPtr<unsigned char> packed_;
    std::size_t packedBytes_ = 0;  // 0: the rows are written raw
};

}  // namespace

bool findTgaLosses(LossRequest& request) {
    constexpr int kMostSide = 65535;
    dib::Raster raster;
    dib::viewRows(request.image, raster);
    if (raster.width > kMostSide || raster.height > kMostSide) {
        return refuse(request.result, DIB_ERROR_MISMATCH,
                      "TGA files hold %d pixels a side at most; the picture has %dx%d", kMostSide,
                      raster.width, raster.height);
    }
    noteDepth(request, storedBits(raster.bitCount));
    noteMetadata(request);
    return true;
}

bool writeTga(WriteRequest& request) { return TgaWriter(request).write(); }

}  // namespace formats
