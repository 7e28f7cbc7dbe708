#include "formats/BmpHeader.h"

#include <algorithm>

#include "dib/BmpCodes.h"
#include "dib/Bytes.h"
#include "dib/Numbers.h"
#include "formats/Formats.h"

namespace formats {

namespace {

namespace bmp = dib::bmp;

constexpr std::uint32_t kCoreHeader = 12;
constexpr std::uint32_t kShortestOs2 = 16;
constexpr std::uint32_t kWindowsHeader = 40;
constexpr std::uint32_t kWithMasks = 52;
constexpr std::uint32_t kWithAlphaMask = 56;
constexpr std::uint32_t kOs2Header = 64;
constexpr std::uint32_t kVersion5 = 124;
constexpr std::uint32_t kEmbeddedProfile = 0x4D424544;  // "MBED"
constexpr std::size_t kSignatureBytes = 8;              // of files inside

// Whether the words can be masks: channels share no bits.
bool areMasks(const ChannelMasks& masks) {
    const std::uint32_t shared =
        (masks.red & masks.green) | (masks.red & masks.blue) | (masks.green & masks.blue);
    return shared == 0 && (masks.red | masks.green | masks.blue) != 0;
}

// Reads the headers from top to bottom; each step returns whether to go on.
class HeaderReader {
public:
    HeaderReader(ByteReader& file, BmpHeader& header, DibFileResult& result)
        : file_(file), header_(header), result_(result) {}

    bool read() {
        return readFileHeader() && readInfoHeader() && judgePacking() && judgeSize() && findTable() &&
               recognizeEmbedded();
    }

private:
    bool refuseShort() { return refuse(result_, DIB_ERROR_READ, "%s", kShortHeader); }

    bool readFileHeader() {
        const ByteReader::Bytes ahead = file_.ahead(2 * bmp::kFileHeaderBytes);
        const FirstBytes bytes(ahead.data, ahead.size);
        // An array of OS/2 bitmaps begins with a header of its own; the first bitmap is the best.
        if (startsWith(bytes, "BA")) infoStart_ = bmp::kFileHeaderBytes;
        if (!startsWith(bytes.subspan(std::min<std::size_t>(infoStart_, bytes.size())), "BM")) {
            return infoStart_ == 0 || refuse(result_, DIB_ERROR_INVALID, "this is not a BMP file");
        }
        infoStart_ += bmp::kFileHeaderBytes;
        if (bytes.size() < infoStart_) return refuseShort();
        header_.pixelStart = dib::readLe32(bytes.data() + infoStart_ - 4);
        return file_.skip(infoStart_);
    }

    bool readInfoHeader() {
        if (!file_.read(info_, 4)) return refuseShort();
        length_ = dib::readLe32(info_);
        if (length_ != kCoreHeader && (length_ < kShortestOs2 || length_ > kVersion5)) {
            // Without a file header only the name says that this is a bitmap.
            if (infoStart_ == 0) return refuse(result_, DIB_ERROR_INVALID, "this is not a BMP file");
            return refuse(result_, DIB_ERROR_UNSUPPORTED, "headers of %u bytes are not read", length_);
        }
        if (!file_.read(info_ + 4, length_ - 4)) return refuseShort();
        if (length_ == kCoreHeader) {
            header_.width = dib::readLe16(info_ + 4);
            header_.height = dib::readLeSigned16(info_ + 6);
            header_.bitCount = dib::readLe16(info_ + 10);
            header_.entryBytes = 3;
            return true;
        }
        header_.width = dib::readLeSigned32(info_ + 4);
        header_.height = dib::readLeSigned32(info_ + 8);
        header_.bitCount = dib::readLe16(info_ + 14);
        compression_ = dib::readLe32(info_ + 16);
        header_.xPixelsPerMeter = dib::readLeSigned32(info_ + 24);
        header_.yPixelsPerMeter = dib::readLeSigned32(info_ + 28);
        colors_ = dib::readLe32(info_ + 32);
        if (length_ == kVersion5 && dib::readLe32(info_ + 56) == kEmbeddedProfile) {
            header_.profileStart = infoStart_ + std::int64_t{dib::readLe32(info_ + 112)};
            header_.profileBytes = dib::readLe32(info_ + 116);
        }
        return true;
    }

    bool judgePacking() {
        const int bits = header_.bitCount;
        switch (compression_) {
            case bmp::kUncompressed: return useUsualMasks();
            case bmp::kRunLength8: return pack(BmpHeader::Packing::kRuns8, bits == 8);
            case bmp::kRunLength4: return pack(BmpHeader::Packing::kRuns4, bits == 4);
            case bmp::kChannelMasks:
            case bmp::kMasksWithAlpha:
                if (bits == 1) return refuse(result_, DIB_ERROR_UNSUPPORTED, "Huffman codes are not read");
                return readMasks();
            case bmp::kJpeg:
                if (length_ <= kOs2Header && bits == 24) return pack(BmpHeader::Packing::kRuns24, true);
                return embed(BmpHeader::Packing::kJpeg);
            case bmp::kPng: return embed(BmpHeader::Packing::kPng);
            default:
                return refuse(result_, DIB_ERROR_UNSUPPORTED, "compression %u is not known", compression_);
        }
    }

    bool embed(BmpHeader::Packing packing) {
        header_.packing = packing;
        if (header_.bitCount <= 8) header_.bitCount = 24;
        return true;
    }

    bool pack(BmpHeader::Packing packing, bool isPossible) {
        header_.packing = packing;
        return isPossible ||
               refuse(result_, DIB_ERROR_INVALID, "run lengths of %u bits do not fit pixels of %d",
                      packing == BmpHeader::Packing::kRuns4 ? 4U : 8U, header_.bitCount);
    }

    bool useUsualMasks() {
        const int bits = header_.bitCount;
        const bool isKnown =
            bits == 1 || bits == 2 || bits == 4 || bits == 8 || bits == 16 || bits == 24 || bits == 32;
        header_.masks = bits == 16 ? k555 : k888;
        return isKnown || refuse(result_, DIB_ERROR_UNSUPPORTED, "%d bits per pixel are not read", bits);
    }

    // Long headers contain the masks; after others they follow.
    bool readMasks() {
        if (!useUsualMasks()) return false;
        if (header_.bitCount < 16)
            return refuse(result_, DIB_ERROR_INVALID, "masks do not fit pixels of %d bits", header_.bitCount);
        const bool isInside = length_ >= kWithMasks && length_ != kOs2Header;
        const bool hasAlpha = isInside ? length_ >= kWithAlphaMask : compression_ == bmp::kMasksWithAlpha;
        unsigned char* at = info_ + kWindowsHeader;
        // ImageMagick leaves out the masks of some files: pixels follow at once.
        const bool mayLackMasks = !isInside && header_.pixelStart == std::int64_t{infoStart_} + length_;
        if (!isInside) maskBytes_ = hasAlpha ? 16 : 12;
        const bool areThere = isInside || file_.read(at, maskBytes_);
        if (!areThere && !mayLackMasks) return refuseShort();
        const ChannelMasks masks = {dib::readLe32(at), dib::readLe32(at + 4), dib::readLe32(at + 8),
                                    hasAlpha ? dib::readLe32(at + 12) : 0};
        if (mayLackMasks && (!areThere || !areMasks(masks))) {
            maskBytes_ = 0;
            note(result_, DIB_NOTE_ASSUMPTION, "there are no channel masks, so the usual ones were taken");
            return true;
        }
        if (masks == ChannelMasks()) return true;
        header_.masks = masks;
        header_.hasMasks = true;
        return true;
    }

    bool judgeSize() {
        const Problem problem = sizeProblem(header_.width, header_.height, header_.imageBits());
        return problem.empty() || refuse(result_, problem);
    }

    // The table ends where the pixels start; files with fewer entries than they announce are common.
    bool findTable() {
        header_.tableStart = std::int64_t{infoStart_} + length_ + maskBytes_;
        const std::uint64_t announced = header_.hasTable() && colors_ == 0 ? 1U << header_.bitCount : colors_;
        const auto entryBytes = dib::asOffset(header_.entryBytes);
        if (header_.pixelStart < header_.tableStart) {
            header_.pixelStart = header_.tableStart + dib::asOffset(announced) * entryBytes;
        }
        if (!header_.hasTable()) return true;
        const auto fitting =
            static_cast<std::uint64_t>((header_.pixelStart - header_.tableStart) / entryBytes);
        header_.entries = dib::asSize(std::min({announced, fitting, std::uint64_t{1} << header_.bitCount}));
        return true;
    }

    // Number 4 means JPEG in Windows and run lengths of 24 bits in OS/2, and writers confuse JPEG with PNG:
    // the signature of the file inside decides. Headers of OS/2 never have one, and runs may look like it.
    bool recognizeEmbedded() {
        const bool isWindows = length_ == kWindowsHeader || length_ == kWithMasks ||
                               length_ == kWithAlphaMask || length_ > kOs2Header;
        const bool mayBeEmbedded = compression_ == bmp::kJpeg || compression_ == bmp::kPng;
        if (!isWindows || !mayBeEmbedded || !file_.seek(header_.pixelStart)) return true;
        const ByteReader::Bytes ahead = file_.ahead(kSignatureBytes);
        const FirstBytes bytes(ahead.data, ahead.size);
        if (kJpegFormat.recognizes(bytes)) header_.packing = BmpHeader::Packing::kJpeg;
        if (kPngFormat.recognizes(bytes)) header_.packing = BmpHeader::Packing::kPng;
        return true;
    }

    ByteReader& file_;
    BmpHeader& header_;
    DibFileResult& result_;
    std::uint32_t infoStart_ = 0;
    std::uint32_t length_ = 0;     // of the info header
    std::uint32_t maskBytes_ = 0;  // after the info header
    std::uint32_t compression_ = bmp::kUncompressed;
    std::uint32_t colors_ = 0;
    unsigned char info_[kVersion5] = {};  // fields that a short header does not have are 0
};

}  // namespace

int BmpHeader::imageBits() const {
    switch (bitCount) {
        case 2: return 4;
        case 16: return masks == k555 ? 16 : masks.alpha != 0 ? 32 : 24;
        case 24: return masks.alpha != 0 ? 32 : 24;
        default: return bitCount;
    }
}

bool BmpHeader::isLaidOutAsImage() const {
    if (bitCount != imageBits()) return false;
    return !hasMasks || bitCount == 16 || masks == (bitCount == 32 ? k8888 : k888);
}

bool readBmpHeader(ByteReader& file, BmpHeader& header, DibFileResult& result) {
    return HeaderReader(file, header, result).read();
}

}  // namespace formats
