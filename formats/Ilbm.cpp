// An ILBM file is a FORM chunk that holds chunks: BMHD (size and depth), CMAP (colours) and BODY (rows of bit
// planes, top row first). All numbers are big-endian.
#include "formats/Ilbm.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>

#include "dib/Bytes.h"
#include "dib/ColorTable.h"
#include "dib/Memory.h"
#include "formats/BitPlanes.h"
#include "formats/ByteReader.h"
#include "formats/CodecFrame.h"
#include "formats/IlbmLayout.h"
#include "formats/NewImage.h"
#include "formats/PackBits.h"

using formats::BitmapHeader;
using formats::ByteReader;
using formats::clearBehind;
using formats::fail;
using formats::iff_chunk;
using formats::kMostPlanes;
using formats::pixelGroups;

namespace {

// The planes of one row, and their conversion to pixels.
class PlaneRow {
public:
    PlaneRow(const BitmapHeader& header, int bitCount)
        : header_(header),
          width_(static_cast<std::size_t>(header.width)),
          planes_(dib::allocateZeroed<unsigned char>(kMostPlanes * header.planeBytes() + header.maskBytes())),
          pixels_(dib::allocateArray<unsigned char>(3 * 8 * header.planeBytes())),
          bitCount_(bitCount) {}

    bool ready() const { return planes_ != nullptr && pixels_ != nullptr; }
    // Room for the colour planes, of which missing ones stay 0, and for the mask.
    unsigned char* planes() { return planes_.get(); }
    unsigned char* mask() { return planes_.get() + kMostPlanes * header_.planeBytes(); }

    void storeInto(unsigned char* row, std::size_t rowBytes) {
        switch (bitCount_) {
            case 1: return storeRotatedBits(row, rowBytes);
            case 4: return storeTwoValues(row, rowBytes);
            case 8:
                formats::planesToBytes(planes(), header_.planeBytes(), pixels_.get(), pixelGroups(width_));
                std::memcpy(row, pixels_.get(), width_);
                return;
            default: return storeColors(row);
        }
    }

private:
    // Rotates each group of eight pixels by one to the right; programs that use these images rotate it back.
    void storeRotatedBits(unsigned char* row, std::size_t rowBytes) {
        clearBehind(planes(), width_);
        std::memset(row, 0, rowBytes);
        for (std::size_t i = 0; i < pixelGroups(width_); ++i) {
            row[i] = static_cast<unsigned char>(planes()[i] >> 1 | planes()[i] << 7);
        }
    }

    // With up to four planes, zero values become index 0 and all others index 15.
    void storeTwoValues(unsigned char* row, std::size_t rowBytes) {
        constexpr unsigned char kPairs[] = {0x00, 0x0F, 0xF0, 0xFF};
        const std::size_t stride = header_.planeBytes();
        unsigned char* any = planes();
        for (int k = 1; k < header_.planes; ++k) {
            const unsigned char* plane = planes() + static_cast<std::size_t>(k) * stride;
            for (std::size_t i = 0; i < stride; ++i) any[i] = static_cast<unsigned char>(any[i] | plane[i]);
        }
        clearBehind(any, width_);
        std::memset(row, 0, rowBytes);
        for (std::size_t i = 0; i < pixelGroups(width_); ++i) {
            for (std::size_t pair = 0; pair < 4; ++pair)
                row[4 * i + pair] = kPairs[any[i] >> (6 - 2 * pair) & 3];
        }
    }

    void storeColors(unsigned char* row) {
        const std::size_t stride = header_.planeBytes();
        const std::size_t channelBytes = 8 * stride;
        for (std::size_t channel = 0; channel < 3; ++channel) {
            formats::planesToBytes(planes() + 8 * channel * stride, stride,
                                   pixels_.get() + channel * channelBytes, pixelGroups(width_));
        }
        const unsigned char* const colors[] = {pixels_.get(), pixels_.get() + channelBytes,
                                               pixels_.get() + 2 * channelBytes};
        formats::joinColors(colors, row, width_);
    }

    BitmapHeader header_;
    std::size_t width_;
    dib::MallocPtr<unsigned char> planes_;
    dib::MallocPtr<unsigned char> pixels_;
    int bitCount_;
};

// Reads one FORM, chunk by chunk.
class FormReader {
public:
    enum class Outcome { kNoBody, kDecoded, kFailed };

    FormReader(ByteReader& file, DibStream* image, DibProgressCallback callback, void* user)
        : file_(file), image_(image), picture_(image), callback_(callback), user_(user) {}

    // Reads the chunks up to the position `end`. Chunks of odd length are not padded: in files that pad them
    // the next chunk is read one byte early.
    Outcome read(std::int64_t end) {
        for (std::int64_t at = file_.position(); at < end;) {
            iff_chunk chunk;
            if (!file_.seek(at) || !chunk.load(file_)) break;
            if (chunk.is("BMHD")) {
                if (!startImage()) break;
            } else if (chunk.is("CMAP")) {
                readColors(chunk.length / 3);
            } else if (chunk.is("BODY") && header_) {
                return readBody() ? Outcome::kDecoded : Outcome::kFailed;
            }
            at += chunk.bytes();
        }
        return Outcome::kNoBody;
    }

private:
    static constexpr std::size_t kMostColors = 256;

    // False when the rest of the FORM is of no use.
    bool startImage() {
        header_.reset();
        const unsigned char* bytes = file_.take(BitmapHeader::kBytes);
        if (bytes == nullptr) return false;
        const BitmapHeader header = BitmapHeader::parse(bytes);
        if (header.compression > 1) return fail(image_, DIB_ERROR_UNSUPPORTED);
        if (header.planes > formats::kMostPlanes) return true;
        if (!picture_.create(file_, header.width, header.height, header.bitCount(), header.fewestBytes()))
            return true;
        header_ = header;
        // The file may have no colours.
        if (header.bitCount() == 4) image_->SetMonoPalette();
        return true;
    }

    // Colours that come before the size of their picture go into the image that is there.
    std::size_t tableEntries() const {
        if (image_->Header->biBitCount > 8) return 0;
        return std::min(dib::announcedEntries(*image_->Header), kMostColors);
    }

    void readColors(std::uint32_t fileColors) {
        if (image_->Header == nullptr) return;
        std::array<unsigned char, kMostColors * 3> colors;
        const std::size_t count = std::min<std::size_t>(tableEntries(), fileColors);
        const std::size_t read = file_.copy(colors.data(), 3 * count) / 3;
        DibBGRA* table = dib::colorTable(image_->Header);
        for (std::size_t i = 0; i < read; ++i)
            table[i] = {colors[3 * i + 2], colors[3 * i + 1], colors[3 * i], 0};
    }

    bool readBody() {
        if (header_->fewestBytes() == 0) return reportBlankRows();
        PlaneRow row(*header_, image_->Header->biBitCount);
        if (!row.ready()) return fail(image_, DIB_ERROR_MEMORY);
        formats::PackBits packets(file_);
        for (int y = 0; y < header_->height; ++y) {
            if (!fill(packets, row.planes(), header_->colorBytes()) ||
                !fill(packets, row.mask(), header_->maskBytes()))
                return fail(image_, DIB_ERROR_INVALID);
            unsigned char* out = image_->ScanLine(y);
            row.storeInto(out, image_->GetPitch());
            picture_.read(out);
            if (!picture_.report(callback_, user_, y)) return false;
        }
        return true;
    }

    // Fills planes from the file. Packets may cross the ends of planes and rows.
    bool fill(formats::PackBits& packets, unsigned char* planes, std::size_t bytes) {
        if (header_->compression == 0) return file_.read(planes, bytes);
        return packets.unpack({planes, bytes}) != formats::PackBitsEnd::kShort;
    }

    // Rows without planes take no bytes of the file, so any number of them costs nothing: they stay 0.
    bool reportBlankRows() {
        for (int y = 0; callback_ != nullptr && y < header_->height; ++y) {
            if (!picture_.report(callback_, user_, y)) return false;
        }
        return true;
    }

    ByteReader& file_;
    DibStream* image_;
    formats::NewImage picture_;
    DibProgressCallback callback_;
    void* user_;
    std::optional<BitmapHeader> header_;  // of the image that was created
};

}  // namespace

bool LoadIFF(std::FILE* file, DibStream* image, DibProgressCallback callback, void* user) {
    ByteReader reader(file);
    bool decoded = false;
    for (std::int64_t at = reader.position(); at < reader.size();) {
        iff_chunk chunk;
        if (!reader.seek(at) || !chunk.load(reader)) break;
        if (chunk.is("FORM")) {
            const unsigned char* type = reader.take(4);
            if (type == nullptr || std::memcmp(type, "ILBM", 4) != 0) break;
            // The length is used as the position of the end, as if the FORM started the file.
            const auto outcome = FormReader(reader, image, callback, user).read(chunk.length);
            if (outcome == FormReader::Outcome::kFailed) return false;
            if (outcome == FormReader::Outcome::kDecoded) decoded = true;
        }
        at += chunk.bytes();
    }
    // A later picture that cannot be created leaves no image.
    return decoded && image->Header != nullptr;
}

bool LoadIFF(const char* path, DibStream* image, DibProgressCallback callback, void* user) {
    return formats::loadPath(path, LoadIFF, image, callback, user);
}
bool LoadIFF(const wchar_t* path, DibStream* image, DibProgressCallback callback, void* user) {
    return formats::loadPath(path, LoadIFF, image, callback, user);
}
