// An ILBM file is a FORM chunk that holds chunks: BMHD (size and depth), CMAP (colours) and BODY (rows of bit
// planes, top row first). All numbers have their most significant byte first.
#include "formats/Ilbm.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>

#include "dib/Bytes.h"
#include "dib/ColorTable.h"
#include "dib/Memory.h"
#include "formats/BitPlanes.h"
#include "formats/ByteSource.h"
#include "formats/CodecFrame.h"
#include "formats/IlbmLayout.h"
#include "formats/NewImage.h"

using formats::clearBehind;
using formats::fail;
using formats::iff_chunk;
using formats::kBmhdBytes;
using formats::kMostPlanes;
using formats::pixelGroups;
using formats::planeRowBytes;

namespace {

struct BitmapHeader {
    int width = 0;
    int height = 0;
    int planes = 0;
    bool hasMask = false;
    unsigned compression = 0;  // 0 none, 1 packets

    std::size_t planeBytes() const { return planeRowBytes(static_cast<std::size_t>(width)); }
    std::size_t colorBytes() const { return planeBytes() * static_cast<std::size_t>(planes); }
    std::size_t maskBytes() const { return hasMask ? planeBytes() : 0; }
    // A packet of two bytes holds at most 128 bytes of a plane.
    std::uint64_t fewestBytes() const {
        const std::uint64_t bytes = (colorBytes() + maskBytes()) * static_cast<std::uint64_t>(height);
        return compression == 1 ? (bytes + 63) / 64 : bytes;
    }
    int bitCount() const { return planes == 1 ? 1 : planes <= 4 ? 4 : planes <= 8 ? 8 : 24; }
};

std::optional<BitmapHeader> readBitmapHeader(std::FILE* file) {
    unsigned char bytes[kBmhdBytes];
    if (!dib::readBytes(file, bytes, sizeof bytes)) return {};
    return BitmapHeader{dib::readBe16(bytes), dib::readBe16(bytes + 2), bytes[8], bytes[9] == 1, bytes[10]};
}

// The bytes of compressed planes. A packet is a count byte and either that many bytes or one to repeat; packets
// run on across the ends of planes and rows.
class PacketBytes {
public:
    explicit PacketBytes(std::FILE* file) : source_(file) {}

    bool read(unsigned char* out, std::size_t bytes) {
        while (bytes > 0) {
            if (left_ == 0 && !nextPacket()) return false;
            const std::size_t count = std::min(left_, bytes);
            if (literals_ != nullptr) {
                std::memcpy(out, literals_, count);
                literals_ += count;
            } else {
                std::memset(out, repeated_, count);
            }
            out += count;
            bytes -= count;
            left_ -= count;
        }
        return true;
    }

private:
    bool nextPacket() {
        int header = 0;
        do {
            header = source_.byte();
        } while (header == 128);
        if (header < 0) return false;
        if (header < 128) {
            left_ = static_cast<std::size_t>(header) + 1;
            literals_ = source_.take(left_);
            return literals_ != nullptr;
        }
        left_ = static_cast<std::size_t>(257 - header);
        literals_ = nullptr;
        repeated_ = source_.byte();
        return repeated_ >= 0;
    }

    formats::ByteSource source_;
    const unsigned char* literals_ = nullptr;
    int repeated_ = 0;
    std::size_t left_ = 0;
};

// The planes of one row and what they become.
class PlaneRow {
public:
    PlaneRow(const BitmapHeader& header, int bitCount)
        : header_(header),
          width_(static_cast<std::size_t>(header.width)),
          planes_(dib::allocateZeroed<unsigned char>(kMostPlanes * header.planeBytes() + header.maskBytes())),
          pixels_(dib::allocateArray<unsigned char>(3 * 8 * header.planeBytes())),
          bitCount_(bitCount) {}

    bool ready() const { return planes_ != nullptr && pixels_ != nullptr; }
    // Where the colour planes go, those that the file lacks staying 0, and the mask.
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
    // Each group of eight pixels comes out turned by one place to the right; programs that use these images turn
    // it back.
    void storeRotatedBits(unsigned char* row, std::size_t rowBytes) {
        clearBehind(planes(), width_);
        std::memset(row, 0, rowBytes);
        for (std::size_t i = 0; i < pixelGroups(width_); ++i) {
            row[i] = static_cast<unsigned char>(planes()[i] >> 1 | planes()[i] << 7);
        }
    }

    // Of up to four planes only zero and nonzero are told apart, as indices 0 and 15.
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

    FormReader(std::FILE* file, DibStream* image, DibProgressCallback callback, void* user)
        : file_(file), image_(image), picture_(image), callback_(callback), user_(user) {}

    // Reads the chunks from `start` to `end`. Chunks of odd length are not followed by a fill byte here: files
    // that have one are read one byte early.
    Outcome read(off_t start, off_t end) {
        for (off_t at = start; at < end;) {
            iff_chunk chunk;
            if (fseeko(file_, at, SEEK_SET) != 0 || !chunk.load(file_)) break;
            if (chunk.is("BMHD")) {
                if (!startImage()) break;
            } else if (chunk.is("CMAP")) {
                readColors(chunk.length / 3);
            } else if (chunk.is("BODY") && header_) {
                return readBody() ? Outcome::kDecoded : Outcome::kFailed;
            }
            at += iff_chunk::kBytes + static_cast<off_t>(chunk.length);
        }
        return Outcome::kNoBody;
    }

private:
    static constexpr std::size_t kMostColors = 256;

    // False when nothing more of the FORM can be used.
    bool startImage() {
        header_ = readBitmapHeader(file_);
        if (!header_) return false;
        if (header_->compression > 1) return fail(image_, DIB_ERROR_UNSUPPORTED);
        const bool created =
            header_->planes <= kMostPlanes && picture_.create(file_, header_->width, header_->height,
                                                              header_->bitCount(), header_->fewestBytes());
        if (!created) header_.reset();
        // A file may lack its colours.
        if (created && header_->bitCount() == 4) image_->SetMonoPalette();
        return true;
    }

    // Colours that come before a picture of their own are those of the picture that is already there.
    std::size_t tableEntries() const {
        if (image_->Header->biBitCount > 8) return 0;
        return std::min(dib::announcedEntries(*image_->Header), kMostColors);
    }

    void readColors(std::uint32_t fileColors) {
        if (image_->Header == nullptr) return;
        std::array<unsigned char, kMostColors * 3> colors;
        const std::size_t count = std::min<std::size_t>(tableEntries(), fileColors);
        const std::size_t read = std::fread(colors.data(), 3, count, file_);
        DibBGRA* table = dib::colorTable(image_->Header);
        for (std::size_t i = 0; i < read; ++i)
            table[i] = {colors[3 * i + 2], colors[3 * i + 1], colors[3 * i], 0};
    }

    bool readBody() {
        if (header_->planes == 0 && !header_->hasMask) return readNothing();
        PlaneRow row(*header_, image_->Header->biBitCount);
        if (!row.ready()) return fail(image_, DIB_ERROR_MEMORY);
        if (header_->compression == 1) {
            PacketBytes packets(file_);
            return readRows(row,
                            [&](unsigned char* out, std::size_t bytes) { return packets.read(out, bytes); });
        }
        return readRows(
            row, [&](unsigned char* out, std::size_t bytes) { return dib::readBytes(file_, out, bytes); });
    }

    // Rows without planes take no byte of the file, so their number is not limited by it: none is written.
    bool readNothing() {
        for (int y = 0; callback_ != nullptr && y < header_->height; ++y) {
            if (!reportRow(y)) return false;
        }
        return true;
    }

    bool reportRow(int y) {
        return formats::report(callback_, user_, y, header_->height) || fail(image_, DIB_ERROR_INTERRUPTED);
    }

    template <class Read>
    bool readRows(PlaneRow& row, Read read) {
        for (int y = 0; y < header_->height; ++y) {
            if (!read(row.planes(), header_->colorBytes()) || !read(row.mask(), header_->maskBytes())) {
                return fail(image_, DIB_ERROR_INVALID);
            }
            row.storeInto(image_->ScanLine(y), image_->GetPitch());
            picture_.read(image_->ScanLine(y));
            if (!reportRow(y)) return false;
        }
        return true;
    }

    std::FILE* file_;
    DibStream* image_;
    formats::NewImage picture_;
    DibProgressCallback callback_;
    void* user_;
    std::optional<BitmapHeader> header_;  // of the image that was created
};

}  // namespace

bool LoadIFF(std::FILE* file, DibStream* image, DibProgressCallback callback, void* user) {
    const off_t start = ftello(file);
    const off_t end = start + static_cast<off_t>(dib::bytesLeft(file).value_or(0));
    bool decoded = false;
    for (off_t at = start; at < end;) {
        iff_chunk chunk;
        if (fseeko(file, at, SEEK_SET) != 0 || !chunk.load(file)) break;
        if (chunk.is("FORM")) {
            unsigned char type[4];
            if (!dib::readBytes(file, type, sizeof type) || std::memcmp(type, "ILBM", sizeof type) != 0)
                break;
            // The length is taken as a position in the file, as if nothing stood before the FORM.
            FormReader form(file, image, callback, user);
            const auto outcome = form.read(ftello(file), static_cast<off_t>(chunk.length));
            if (outcome == FormReader::Outcome::kFailed) return false;
            if (outcome == FormReader::Outcome::kDecoded) decoded = true;
        }
        at += iff_chunk::kBytes + static_cast<off_t>(chunk.length);
    }
    // A later picture that cannot be created takes the earlier one away.
    return decoded && image->Header != nullptr;
}

bool LoadIFF(const char* path, DibStream* image, DibProgressCallback callback, void* user) {
    return formats::loadPath(path, LoadIFF, image, callback, user);
}
bool LoadIFF(const wchar_t* path, DibStream* image, DibProgressCallback callback, void* user) {
    return formats::loadPath(path, LoadIFF, image, callback, user);
}
