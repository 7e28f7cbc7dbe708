#include <DibStream.h>

#include <algorithm>
#include <cstring>
#include <optional>
#include <span>
#include <utility>

#include "dib/BmpCodes.h"
#include "dib/Bytes.h"
#include "dib/ColorTable.h"
#include "dib/File.h"
#include "dib/ImageSize.h"
#include "dib/Kernels.h"
#include "dib/Memory.h"
#include "dib/Numbers.h"

using dib::kHeaderBytes;
using dib::kOwned;

namespace {

namespace bmp = dib::bmp;

constexpr std::uint32_t kSignature = 0x4D42;  // "BM"

constexpr std::size_t kShortestInfoHeader = 40;
constexpr std::size_t kInfoHeaderWithMasks = 56;
constexpr std::size_t kLongestInfoHeader = dib::kLongestHeaderBytes;

// What the reader uses of the info header.
struct InfoHeader {
    std::size_t bytes = 0;
    BITMAPINFOHEADER fields{};
    std::uint32_t redMask = 0;
    std::uint32_t greenMask = 0;
    std::uint32_t blueMask = 0;
    std::uint32_t alphaMask = 0;
};

// The position of an 8-bit channel in a pixel word; nothing for a mask that is not eight consecutive bits.
std::optional<unsigned> maskShift(std::uint32_t mask) {
    for (unsigned shift = 0; shift <= 24; ++shift) {
        if (mask == 255U << shift) return shift;
    }
    return {};
}

bool masksAreSupported(const InfoHeader& info) {
    return info.bytes >= kInfoHeaderWithMasks && info.fields.biBitCount == 32 && maskShift(info.redMask) &&
           maskShift(info.greenMask) && maskShift(info.blueMask);
}

bool compressionIsSupported(const InfoHeader& info) {
    switch (info.fields.biCompression) {
        case bmp::kUncompressed:
        case bmp::kRunLength8: return true;
        case bmp::kChannelMasks: return masksAreSupported(info);
        default: return false;
    }
}

// Which bit of the caller's mask accepts a depth; none for a depth that does not exist.
std::optional<unsigned int> acceptBit(int bitCount) {
    const auto* known = std::find(std::begin(dib::kDepths), std::end(dib::kDepths), bitCount);
    if (known == std::end(dib::kDepths)) return {};
    return 1U << (known - dib::kDepths);
}

// Decodes byte runs into a zeroed pixel block. Positions are plain offsets, so a run that passes the end of
// its row continues in the next one; bytes beyond the block are dropped.
class RunLengthDecoder {
public:
    RunLengthDecoder(unsigned char* block, const dib::ImageSize& size) : block_(block), size_(size) {}

    void decode(std::span<const unsigned char> code) {
        while (row_ < size_.rows && code.size() >= 2) {
            const std::size_t count = code[0];
            const unsigned char value = code[1];
            code = code.subspan(2);
            if (count > 0) {
                std::memset(block_ + offset(), value, room(count));
                column_ += count;
            } else if (value == bmp::kEndOfLine) {
                ++row_;
                column_ = 0;
            } else if (value == bmp::kEndOfBitmap) {
                return;
            } else if (value == bmp::kDelta) {
                if (code.size() < 2) return;
                column_ += code[0];
                row_ += code[1];
                code = code.subspan(2);
            } else {
                const std::size_t present = std::min<std::size_t>(value, code.size());
                std::memcpy(block_ + offset(), code.data(), room(present));
                column_ += present;
                // Literal bytes are padded to an even count.
                const std::size_t stored = value + (value & 1U);
                if (code.size() <= stored) return;
                code = code.subspan(stored);
            }
        }
    }

private:
    std::size_t offset() const { return std::min(row_ * size_.rowBytes + column_, size_.imageBytes); }
    std::size_t room(std::size_t count) const { return std::min(count, size_.imageBytes - offset()); }

    unsigned char* block_;
    dib::ImageSize size_;
    std::size_t row_ = 0;  // in the order of the block
    std::size_t column_ = 0;
};

// Moves the four channels of a pixel word to their places. A missing alpha channel has mask 0 and a constant
// instead.
struct ChannelMove {
    unsigned blueShift, greenShift, redShift, alphaShift;
    std::uint32_t alphaMask, alphaConstant;
};

DIB_ALWAYS_INLINE void moveChannels(unsigned char* pixels, std::size_t count, ChannelMove move) {
    for (std::size_t i = 0; i < count; ++i) {
        std::uint32_t word;
        std::memcpy(&word, pixels + 4 * i, 4);
        word = (word >> move.blueShift & 255U) | (word >> move.greenShift & 255U) << 8 |
               (word >> move.redShift & 255U) << 16 | (word & move.alphaMask) >> move.alphaShift << 24 |
               move.alphaConstant;
        std::memcpy(pixels + 4 * i, &word, 4);
    }
}

// Reads one file from top to bottom. Each step returns whether to go on.
class BmpReader {
public:
    explicit BmpReader(std::FILE* file) : file_(file) {}

    DibErrorCode read(DibStream& image, unsigned int acceptedDepths) {
        const bool complete = readFileHeader() && readInfoHeader() && judgeVariant(acceptedDepths) &&
                              admitSizes() && readColorTable() && seekPixels() && readPixels();
        if (complete) image.SetDib(headerBlock_.release(), kOwned, pixels_.release(), kOwned);
        return code_;
    }

private:
    bool fail(DibErrorCode code) {
        code_ = code;
        return false;
    }

    bool readFileHeader() {
        unsigned char header[bmp::kFileHeaderBytes];
        if (!dib::readBytes(file_, header, sizeof header)) return fail(DIB_ERROR_READ);
        if (dib::readLe16(header) != kSignature) return fail(DIB_ERROR_INVALID);
        pixelOffset_ = dib::readLe32(header + 10);
        return true;
    }

    bool readInfoHeader() {
        // Fields that a shorter header does not have stay zero.
        unsigned char record[kLongestInfoHeader] = {};
        if (!dib::readBytes(file_, record, 4)) return fail(DIB_ERROR_READ);
        info_.bytes = dib::readLe32(record);
        if (info_.bytes < kShortestInfoHeader || info_.bytes > kLongestInfoHeader) {
            return fail(DIB_ERROR_UNSUPPORTED);
        }
        if (!dib::readBytes(file_, record + 4, info_.bytes - 4)) return fail(DIB_ERROR_READ);
        std::memcpy(&info_.fields, record, kHeaderBytes);
        info_.redMask = dib::readLe32(record + 40);
        info_.greenMask = dib::readLe32(record + 44);
        info_.blueMask = dib::readLe32(record + 48);
        info_.alphaMask = dib::readLe32(record + 52);
        return true;
    }

    bool judgeVariant(unsigned int acceptedDepths) {
        const std::optional<unsigned int> accept = acceptBit(info_.fields.biBitCount);
        if (!compressionIsSupported(info_) || !accept) return fail(DIB_ERROR_UNSUPPORTED);
        return (acceptedDepths & *accept) != 0 || fail(DIB_ERROR_MISMATCH);
    }

    bool admitSizes() {
        const std::size_t most = dib::addressableEntries(info_.fields.biBitCount);
        colors_ = most == 0 ? 0 : dib::announcedEntries(info_.fields);
        if (colors_ > most) return fail(DIB_ERROR_INVALID);
        size_ = dib::admitSize(info_.fields);
        // Like `Create`, refuse zero-width images with rows: a small file could announce billions of them.
        if (!size_.admitted || (size_.rowBytes == 0 && size_.rows > 0)) return fail(DIB_ERROR_MEMORY);
        return true;
    }

    // The table in memory always holds every colour that the depth can address.
    bool readColorTable() {
        const std::size_t entries = dib::addressableEntries(info_.fields.biBitCount);
        headerBlock_ = dib::allocateZeroed<unsigned char>(kHeaderBytes + entries * dib::kEntryBytes);
        if (headerBlock_ == nullptr) return fail(DIB_ERROR_MEMORY);

        BITMAPINFOHEADER header = info_.fields;
        header.biSize = kHeaderBytes;
        header.biSizeImage = dib::dwordOf(size_.imageBytes);
        header.biClrUsed = dib::dwordOf(colors_);
        header.biClrImportant = header.biClrUsed;
        // Decoded runs are plain pixels. So are pixels with masks, but their 3 stays: by it callers recognise
        // that the file described its channels.
        if (header.biCompression == bmp::kRunLength8) header.biCompression = bmp::kUncompressed;
        std::memcpy(headerBlock_.get(), &header, kHeaderBytes);

        if (dib::readBytes(file_, headerBlock_.get() + kHeaderBytes, colors_ * dib::kEntryBytes)) return true;
        return fail(DIB_ERROR_READ);
    }

    // Without an offset the pixels follow the colour table. A file that cannot hold them fails before they
    // are allocated.
    bool seekPixels() {
        if (pixelOffset_ != 0 && !dib::seekTo(file_, pixelOffset_)) return fail(DIB_ERROR_READ);
        storedBytes_ =
            info_.fields.biCompression == bmp::kRunLength8 ? info_.fields.biSizeImage : size_.imageBytes;
        if (storedBytes_ > 0 && dib::bytesLeft(file_).value_or(storedBytes_) < storedBytes_) {
            return fail(DIB_ERROR_READ);
        }
        return true;
    }

    bool readPixels() {
        if (info_.fields.biCompression == bmp::kRunLength8) return readRuns();
        pixels_ = dib::allocateImageBlock(size_.imageBytes);
        if (pixels_ == nullptr) return fail(DIB_ERROR_MEMORY);
        if (!dib::readBytes(file_, pixels_.get(), storedBytes_)) return fail(DIB_ERROR_READ);
        if (info_.fields.biCompression == bmp::kChannelMasks) orderChannels();
        return true;
    }

    bool readRuns() {
        const auto runs = dib::allocateArray<unsigned char>(std::max(storedBytes_, std::size_t{1}));
        if (runs == nullptr) return fail(DIB_ERROR_MEMORY);
        if (!dib::readBytes(file_, runs.get(), storedBytes_)) return fail(DIB_ERROR_READ);
        pixels_ = dib::allocateZeroedImageBlock(size_.imageBytes);
        if (pixels_ == nullptr) return fail(DIB_ERROR_MEMORY);
        RunLengthDecoder(pixels_.get(), size_).decode({runs.get(), storedBytes_});
        return true;
    }

    void orderChannels() {
        const bool ordered = info_.blueMask == 0x000000FF && info_.greenMask == 0x0000FF00 &&
                             info_.redMask == 0x00FF0000 && info_.alphaMask == 0xFF000000;
        if (ordered) return;
        const std::optional<unsigned> alphaShift = maskShift(info_.alphaMask);
        const ChannelMove move{*maskShift(info_.blueMask),       *maskShift(info_.greenMask),
                               *maskShift(info_.redMask),        alphaShift.value_or(0),
                               alphaShift ? info_.alphaMask : 0, alphaShift ? 0 : 0xFF000000U};
        // Rows of 32 bits have no fill bytes, so the block is one long row.
        dib::runKernel<moveChannels>(pixels_.get(), size_.imageBytes / 4, move);
    }

    std::FILE* file_;
    DibErrorCode code_ = DIB_OK;
    std::uint32_t pixelOffset_ = 0;
    InfoHeader info_;
    std::size_t colors_ = 0;  // table entries in the file
    dib::ImageSize size_;
    std::size_t storedBytes_ = 0;  // bytes of the pixels in the file
    dib::MallocPtr<unsigned char> headerBlock_;
    dib::MallocPtr<unsigned char> pixels_;
};

template <class Path>
bool loadPath(DibStream& image, const Path* path, unsigned int flags) {
    image.Clear();
    const dib::FilePtr file = dib::openForReading(path);
    if (file != nullptr) return image.LoadFileInner(file.get(), flags);
    image.ErrorCode = DIB_ERROR_OPEN;
    return false;
}

// Whether there is a picture whose colours, rows and announced bytes can be counted.
bool isWritable(const DibStream& image) {
    return dib::hasRows(image) && dib::announcesPossibleTable(*image.Header) && image.GetImageSize() >= 0;
}

bool writeHeaders(std::FILE* file, const DibStream& image) {
    const std::size_t tableBytes = dib::announcedEntries(*image.Header) * dib::kEntryBytes;
    const auto pixelOffset = static_cast<std::uint32_t>(bmp::kFileHeaderBytes + kHeaderBytes + tableBytes);
    const dib::ImageSize size = dib::admitSize(*image.Header);

    unsigned char headers[bmp::kFileHeaderBytes + kHeaderBytes] = {};
    dib::writeLe16(headers, kSignature);
    dib::writeLe32(headers + 2, pixelOffset + dib::dwordOf(image.GetImageSize()));
    dib::writeLe32(headers + 10, pixelOffset);

    BITMAPINFOHEADER info = *image.Header;
    info.biHeight = static_cast<std::int32_t>(size.rows);
    info.biSizeImage = dib::dwordOf(size.imageBytes);
    std::memcpy(headers + bmp::kFileHeaderBytes, &info, kHeaderBytes);

    return dib::writeBytes(file, headers, sizeof headers) &&
           dib::writeBytes(file, dib::colorTable(image.Header), tableBytes);
}

// Bottom row first, whatever the order in memory.
bool writePixels(std::FILE* file, const DibStream& image) {
    if (image.Header->biHeight > 0) {
        return dib::writeBytes(file, image.Buffer, dib::asSize(image.GetImageSize()));
    }
    const dib::ImageSize size = dib::admitSize(*image.Header);
    if (size.imageBytes == 0) return true;
    return dib::writeRows(file, image.Buffer + (size.rows - 1) * size.rowBytes, -dib::asOffset(size.rowBytes),
                          size.rowBytes, size.rows);
}

template <class Path>
bool savePath(DibStream& image, const Path* path) {
    // Checked before the file is opened, so that an existing file survives.
    if (!isWritable(image)) {
        image.ErrorCode = DIB_ERROR_INVALID;
        return false;
    }
    dib::FilePtr file = dib::openForWriting(path);
    if (file == nullptr) {
        image.ErrorCode = DIB_ERROR_OPEN;
        return false;
    }
    if (!image.SaveFileInner(file.get())) return false;
    if (dib::closeWritten(std::move(file))) return true;
    image.ErrorCode = DIB_ERROR_WRITE;
    return false;
}

}  // namespace

bool DibStream::LoadFromFile(const char* path, unsigned int flags) { return loadPath(*this, path, flags); }

bool DibStream::LoadFromFile(const wchar_t* path, unsigned int flags) { return loadPath(*this, path, flags); }

bool DibStream::LoadFileInner(std::FILE* file, unsigned int flags) {
    Clear();
    ErrorCode = file != nullptr ? BmpReader(file).read(*this, flags) : DIB_ERROR_OPEN;
    return ErrorCode == DIB_OK;
}

bool DibStream::SaveToFile(const char* path) { return savePath(*this, path); }

bool DibStream::SaveToFile(const wchar_t* path) { return savePath(*this, path); }

bool DibStream::SaveFileInner(std::FILE* file) {
    if (!isWritable(*this) || file == nullptr) {
        ErrorCode = file != nullptr ? DIB_ERROR_INVALID : DIB_ERROR_OPEN;
        return false;
    }
    // Flushed here, because a write error may show itself only then.
    const bool written = writeHeaders(file, *this) && writePixels(file, *this) && std::fflush(file) == 0;
    ErrorCode = written ? DIB_OK : DIB_ERROR_WRITE;
    return written;
}
