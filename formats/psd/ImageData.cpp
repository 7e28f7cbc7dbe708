#include "formats/psd/ImageData.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "dib/ImageSize.h"
#include "dib/Numbers.h"
#include "formats/CallbackGuard.h"
#include "formats/CodecFrame.h"
#include "formats/PackBits.h"
#include "formats/psd/Pixels.h"
#include "formats/psd/SideBySide.h"

namespace formats::psd {

namespace {

enum Compression : std::uint16_t { kRaw = 0, kPackBits = 1 };

// Bytes of one row of one channel; negative when there is no such row.
std::int64_t planeRowBytes(int depth, std::int64_t width) {
    switch (depth) {
        case 1: return (width + 7) / 8;
        case 8: return width;
        case 16: return width * 2;
        case 32: return width * 4;
        default: return -1;
    }
}

}  // namespace

bool Planes::begin(Document& document, DibStream* image, std::size_t channels) {
    if (image != nullptr && image->Header != nullptr) {
        width = image->Header->biWidth;
        rows = dib::rowCount(image->Header->biHeight);
    }
    Reader& file = document.file;
    std::uint16_t compression = 0;
    if (!file.readNumber(compression) || compression > kPackBits) {
        if (image != nullptr) image->ErrorCode = DIB_ERROR_INVALID;
        return false;
    }
    packed = compression == kPackBits;
    if (packed) {
        const std::int64_t tableBytes = 2 * rows * dib::asOffset(channels);
        if (tableBytes > file.remaining()) {
            file.seek(file.size());
        } else {
            const auto bytes = dib::asSize(tableBytes);
            packedLengths = dib::allocateArray<unsigned char>(bytes + 1);
            if (packedLengths == nullptr || !file.read(packedLengths.get(), bytes)) return false;
        }
    }
    rowBytes = planeRowBytes(document.header.depth, width);
    return rowBytes >= 0;
}

std::int64_t Planes::bytesInFileUpTo(std::size_t channel, std::int64_t row) const {
    if (!packed) return rowBytes * row;
    std::int64_t bytes = 0;
    for (std::int64_t y = 0; y < row; ++y) bytes += bytesInFile(channel, y);
    return bytes;
}

bool readPackBitsRow(Document& document, unsigned char* out, std::int64_t count, std::int64_t packedBytes) {
    Reader& file = document.file;
    const auto wanted = dib::asSize(std::max<std::int64_t>(count, 0));
    const auto available = dib::asSize(std::max<std::int64_t>(packedBytes, 0));
    if (std::min(count, packedBytes) >= 0 && available <= Reader::kBufferBytes) {
        const Reader::Bytes row = file.ahead(available);
        if (row.size >= available && unpackRow(row.data, available, out, wanted)) {
            file.consume(available);
            return true;
        }
    }
    // Packet by packet, so that the log can say what is wrong.
    const std::int64_t start = file.position();
    PackBits packets(file.bytes());
    packets.unpack({out, wanted});
    const auto produced = dib::asOffset(packets.unpacked() + packets.left());
    packets.drop();
    if (produced != count) {
        document.log("invalid load bytes %d/%d\n", dib::asInt(produced), dib::asInt(count));
        return false;
    }
    const std::int64_t consumed = file.position() - start;
    if (consumed != packedBytes) {
        document.log("invalid posotion %ld/%d\n", static_cast<long>(consumed), dib::asInt(packedBytes));
        return false;
    }
    return true;
}

namespace {

// A raw row where the reader has it, or read into `line`; null when the file ends inside.
const unsigned char* rawRow(Reader& file, unsigned char* line, std::size_t bytes) {
    if (bytes > Reader::kBufferBytes) return file.read(line, bytes) ? line : nullptr;
    const Reader::Bytes ahead = file.ahead(bytes);
    file.consume(std::min(ahead.size, bytes));
    return ahead.size >= bytes ? ahead.data : nullptr;
}

// The channels of a block; those without an id are not stored.
struct Channels {
    std::span<const PSD_CHANNEL_ID> ids;
    std::size_t count;
    PSD_CHANNEL_ID id(std::size_t channel) const {
        return channel < ids.size() ? ids[channel] : PSD_CHANNEL_NONE;
    }
};

// The first channels of the target that can be stored side by side, one for each byte of a pixel; 0 when they
// cannot.
std::size_t interleavedChannels(const Document& document, const Channels& channels) {
    const Document::Header& header = document.header;
    const std::size_t bytes = document.target->Header->biBitCount / 8;
    const bool colours = header.mode == kRgb || header.mode == kCmyk;
    const bool possible = header.depth == 8 && bytes <= channels.ids.size() && (colours || bytes == 1);
    return possible ? bytes : 0;
}

class BlockReader {
public:
    BlockReader(Document& document, DibStream* image, Channels channels)
        : document_(document), image_(image), channels_(channels) {}

    // Reads what comes before the planes.
    bool begin() {
        if (!planes_.begin(document_, image_, channels_.count)) return false;
        line_ = dib::allocateArray<unsigned char>(dib::asSize(planes_.rowBytes) + 1);
        return line_ != nullptr;
    }
    // Stores rows of several planes at once, as far as they are whole.
    void storeInterleaved() {
        storedChannels_ = interleavedChannels(document_, channels_);
        if (storedChannels_ > 0)
            storedRows_ = storeSideBySide(document_.file, *image_, storedChannels_, planes_);
    }
    std::int64_t storedRows() const { return storedRows_; }
    // Reads the rest, plane after plane.
    bool readPlanes(std::vector<DibStream*>* masks);

private:
    bool report();
    bool readPlane(std::size_t channel, DibStream* destination, PSD_CHANNEL_ID id);
    DibStream* addMask(std::vector<DibStream*>& masks);
    void eraseChannelsFrom(std::size_t channel);

    Document& document_;
    DibStream* image_;
    Channels channels_;
    Planes planes_;
    dib::MallocPtr<unsigned char> line_;
    std::size_t storedChannels_ = 0;  // the first ones, of which the image has
    std::int64_t storedRows_ = 0;     // so many rows before `readPlanes`
};

bool BlockReader::readPlanes(std::vector<DibStream*>* masks) {
    for (std::size_t channel = 0; channel < channels_.count; ++channel) {
        if (!report()) return false;
        DibStream* destination = image_;
        PSD_CHANNEL_ID id = channels_.id(channel);
        if (id == PSD_CHANNEL_MASK && masks != nullptr) {
            destination = addMask(*masks);
            if (destination == nullptr) return false;
            id = PSD_CHANNEL_RED;
        }
        if (!readPlane(channel, destination, id)) {
            eraseChannelsFrom(channel + 1);
            return false;
        }
    }
    return true;
}

// Reports the next channel of the image, which need not be the target.
bool BlockReader::report() {
    if (image_ == nullptr || image_ == document_.target) return document_.report();
    const CallbackGuard guard(*image_);
    return document_.report() && guard.isIntact();
}

// Reads the rows of a plane that are not stored yet.
bool BlockReader::readPlane(std::size_t channel, DibStream* destination, PSD_CHANNEL_ID id) {
    Reader& file = document_.file;
    const SampleKind kind = {document_.header.mode, document_.header.depth};
    const std::int64_t first = channel < storedChannels_ ? storedRows_ : 0;
    file.seek(file.position() + planes_.bytesInFileUpTo(channel, first));
    for (std::int64_t row = first; row < planes_.rows; ++row) {
        const std::int64_t fileBytes = planes_.bytesInFile(channel, row);
        if (!file.admitWork(planes_.rowBytes + (planes_.packed ? fileBytes : 0))) return false;
        const unsigned char* samples = line_.get();
        if (planes_.packed) {
            if (!readPackBitsRow(document_, line_.get(), planes_.rowBytes, fileBytes)) return false;
        } else {
            samples = rawRow(file, line_.get(), dib::asSize(planes_.rowBytes));
            if (samples == nullptr) return false;
        }
        if (destination != nullptr && !storeRow(kind, destination, dib::asInt(row), id, samples))
            return false;
    }
    return true;
}

// A new white picture at the end of a list, which holds its reference; null when it cannot be created.
DibStream* BlockReader::addMask(std::vector<DibStream*>& masks) try {
    ImagePtr mask(new DibStream);
    if (!createWhitePicture(document_.file, *mask, planes_.width, planes_.rows, 8)) return nullptr;
    masks.push_back(mask.get());
    return mask.release();
} catch (const std::bad_alloc&) {
    return nullptr;
}

// Reading stops at a damaged plane, so the later ones must not show: erases the rows of theirs that were
// stored side by side.
void BlockReader::eraseChannelsFrom(std::size_t channel) {
    const SampleKind kind = {document_.header.mode, document_.header.depth};
    std::memset(line_.get(), 0xFF, dib::asSize(planes_.rowBytes));
    for (; channel < storedChannels_; ++channel) {
        for (int row = 0; row < storedRows_; ++row)
            storeRow(kind, image_, row, channels_.id(channel), line_.get());
    }
}

}  // namespace

bool readImageData(Document& document, DibStream* image, std::vector<DibStream*>* masks,
                   std::span<const PSD_CHANNEL_ID> ids) {
    BlockReader block(document, image, {ids, ids.size()});
    return block.begin() && block.readPlanes(masks);
}

bool readMergedPicture(Document& document) {
    constexpr PSD_CHANNEL_ID kColours[] = {PSD_CHANNEL_RED, PSD_CHANNEL_GREEN, PSD_CHANNEL_BLUE,
                                           PSD_CHANNEL_TRANSPARENCY};
    // A second channel of two is not stored: the count does not say whether it is green or alpha.
    const std::size_t count = document.header.channels;
    const std::size_t known = count < 3 ? std::min<std::size_t>(count, 1) : std::min<std::size_t>(count, 4);
    BlockReader block(document, document.target, {{kColours, known}, count});
    const bool begun = block.begin();
    if (!document.isWatched) {
        if (begun) block.storeInterleaved();
        fillWhite(*document.target, dib::asSize(block.storedRows()));
    }
    return begun && block.readPlanes(nullptr);
}

}  // namespace formats::psd
