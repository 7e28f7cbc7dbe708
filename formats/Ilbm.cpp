// An ILBM file is a FORM chunk that holds chunks: BMHD (size and depth), CMAP (colours) and BODY (rows of bit
// planes, top row first). All numbers are big-endian.
#include "formats/Ilbm.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>

#include "dib/ColorTable.h"
#include "formats/ByteReader.h"
#include "formats/CodecFrame.h"
#include "formats/IlbmLayout.h"
#include "formats/IlbmRows.h"
#include "formats/NewImage.h"

using formats::BitmapHeader;
using formats::ByteReader;
using formats::fail;
using formats::iff_chunk;

namespace {

// Callers rely on pixels of one plane being rotated, which they undo, and on up to four planes giving only
// two results: 0 and all other indices.
formats::IlbmPixels classicPixels(int bitCount) {
    using formats::IlbmPixels;
    switch (bitCount) {
        case 1: return IlbmPixels::kRotatedBits;
        case 4: return IlbmPixels::kTwoValues;
        case 8: return IlbmPixels::kBytes;
        default: return IlbmPixels::kColors;
    }
}

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
        formats::PlaneRow row(*header_, classicPixels(image_->Header->biBitCount));
        if (!row.ready()) return fail(image_, DIB_ERROR_MEMORY);
        return formats::readIlbmRows(file_, *header_, row, picture_, callback_, user_);
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
