#include "formats/TgaPicture.h"

#include <algorithm>
#include <cstring>

#include "dib/Bytes.h"
#include "dib/Numbers.h"
#include "formats/Tga.h"

namespace formats {

namespace {

// What the footer of a file says of its alpha.
enum class AlphaType { kUnknown = -1, kNone, kIgnored, kRetained, kUseful, kPremultiplied };

class PictureReader {
public:
    PictureReader(ByteReader& file, TgaPicture& picture, const DibLoadOptions& options, DibFileResult& result)
        : file_(file), picture_(picture), header_(picture.header), options_(options), result_(result) {}

    // Leaves the file at the first pixel.
    bool read() {
        return readHeader() && judgeKind() && judgeSize() && readAlphaType() && readMap() && chooseDepth() &&
               chooseLevel();
    }

private:
    bool refuseKind(const char* kind) {
        return refuse(result_, DIB_ERROR_UNSUPPORTED, "%s of %d bit%s are not read", kind, header_.bitCount,
                      header_.bitCount == 1 ? "" : "s");
    }

    bool readHeader() {
        unsigned char bytes[TgaHeader::kBytes];
        if (!file_.read(bytes, sizeof bytes)) return refuse(result_, DIB_ERROR_READ, "%s", kShortHeader);
        header_ = TgaHeader::parse(bytes);
        picture_.width = dib::wordOf(header_.width);
        picture_.height = dib::wordOf(header_.height);
        picture_.pixelBytes = (dib::asSize(header_.bitCount) + 7) / 8;
        return true;
    }

    bool judgeKind() {
        const int bits = header_.bitCount;
        const unsigned type = header_.imageType;
        picture_.isPacked = type >= kRunLengthMapped;
        switch (type) {
            case 0: return refuse(result_, DIB_ERROR_INVALID, "there is no picture in the file");
            case kMapped:
            case kRunLengthMapped:
                picture_.isMapped = true;
                if (!header_.hasMap()) return refuse(result_, DIB_ERROR_INVALID, "the colour map is missing");
                return bits == 8 || bits == 15 || bits == 16 || refuseKind("indices");
            case kTrueColor:
            case kRunLengthTrueColor:
                return bits == 15 || bits == 16 || bits == 24 || bits == 32 ||
                       refuseKind("true-colour pixels");
            case kGrey:
            case kRunLengthGrey:
                picture_.isGrey = true;
                // Black-and-white files have eight pixels a byte and are neither packed nor mirrored.
                if (bits == 1)
                    return (!picture_.isPacked && !header_.isRightToLeft()) ||
                           refuseKind("packed or mirrored pixels");
                return bits == 8 || bits == 16 || refuseKind("grey pixels");
            default: return refuse(result_, DIB_ERROR_UNSUPPORTED, "image type %u is not known", type);
        }
    }

    bool judgeSize() {
        if (picture_.width > 0 && picture_.height > 0) return true;
        return refuse(result_, sizeProblem(picture_.width, picture_.height, 8));
    }

    // Pixels of 8 and 24 bits have no alpha for a footer to describe.
    bool readAlphaType() {
        const unsigned bits = header_.descriptor & 15U;
        const bool mayHaveAlpha = header_.bitCount == 16 || header_.bitCount == 32 || picture_.isMapped;
        const AlphaType type = readFooter();
        const bool isUseful = type == AlphaType::kUseful || type == AlphaType::kPremultiplied;
        picture_.hasAlpha = mayHaveAlpha && (isUseful || (bits > 0 && type != AlphaType::kIgnored));
        picture_.isPremultiplied = type == AlphaType::kPremultiplied;
        return file_.seek(dib::asOffset(TgaHeader::kBytes + header_.idBytes));
    }

    AlphaType readFooter() {
        constexpr std::int64_t kFooterBytes = 26;
        constexpr std::size_t kAuthorBytes = 41;  // of the name of the author, before the comment
        constexpr std::int64_t kThumbnail = 486;  // in the extension area
        constexpr std::int64_t kAlphaType = 494;  // its last field
        const std::int64_t start = file_.size() - kFooterBytes;
        unsigned char footer[kFooterBytes];
        if (start < 0 || !file_.seek(start) || !file_.read(footer, sizeof footer)) return AlphaType::kUnknown;
        if (std::memcmp(footer + 8, kTgaSignature, sizeof kTgaSignature - 1) != 0) return AlphaType::kUnknown;
        const std::int64_t area = dib::readLe32(footer);
        unsigned char length[2];
        unsigned char texts[kAuthorBytes + 1];
        unsigned char thumbnail[4];
        if (area == 0 || !file_.seek(area) || !file_.read(length, 2) || dib::readLe16(length) <= kAlphaType ||
            !file_.read(texts, sizeof texts) || !file_.seek(area + kThumbnail) ||
            !file_.read(thumbnail, sizeof thumbnail) || !file_.seek(area + kAlphaType)) {
            return AlphaType::kUnknown;
        }
        picture_.thumbnail = dib::readLe32(thumbnail);
        picture_.hasTexts = texts[0] != 0 || texts[kAuthorBytes] != 0;
        const int type = file_.byte();
        return type >= 0 && type <= 4 ? static_cast<AlphaType>(type) : AlphaType::kUnknown;
    }

    bool readMap() {
        if (!header_.hasMap()) return true;
        const std::size_t bits = header_.mapEntryBits;
        const std::size_t entryBytes = (bits + 7) / 8;
        const std::size_t entries = dib::wordOf(header_.mapEntries);
        if (!picture_.isMapped) {
            file_.skip(entries * entryBytes);
            return true;
        }
        if (bits != 15 && bits != 16 && bits != 24 && bits != 32) {
            return refuse(result_, DIB_ERROR_UNSUPPORTED, "colour maps of %zu-bit entries are not read",
                          bits);
        }
        // A map that starts at another index has no entries for those before it.
        picture_.map.resize(std::size_t{1} << (8 * picture_.pixelBytes));
        unsigned char entry[4];
        for (std::size_t i = 0; i < entries; ++i) {
            if (!file_.read(entry, entryBytes))
                return refuse(result_, DIB_ERROR_READ, "the file ends inside its colour map");
            const std::size_t index = header_.mapFirst + i;
            if (index >= picture_.map.size()) continue;
            storeEntry(entry, entryBytes, picture_.map[index]);
            picture_.entries = index + 1;
        }
        return true;
    }

    void storeEntry(const unsigned char* entry, std::size_t bytes, DibBGRA& color) {
        color.alpha = 255;
        if (bytes == 2) {
            spreadChannels(entry, 2, &color.blue, 4, 1,
                           picture_.hasAlpha && header_.mapEntryBits == 16 ? kTgaWordsWithAlpha : k555);
        } else {
            std::memcpy(&color, entry, bytes);
        }
    }

    // Tables of images have no alpha: a map with some is looked up.
    bool mapHasAlpha() const {
        const auto isUsed = [&](std::uint8_t unused) {
            return std::any_of(picture_.map.begin() + first(), picture_.map.begin() + last(),
                               [&](const DibBGRA& color) { return color.alpha != unused; });
        };
        return isUsed(255) && (isUsed(0) || options_.alpha == DIB_ALPHA_STORED);
    }
    std::ptrdiff_t first() const { return std::min(dib::asOffset(header_.mapFirst), last()); }
    std::ptrdiff_t last() const { return dib::asOffset(picture_.entries); }

    bool chooseDepth() {
        const auto choose = [&](int bitCount, TgaChange change) {
            picture_.bitCount = bitCount;
            picture_.change = change;
            return true;
        };
        if (picture_.isMapped) {
            if (mapHasAlpha()) return choose(32, TgaChange::kLookUp);
            return header_.bitCount == 8 ? choose(8, TgaChange::kNone) : choose(24, TgaChange::kLookUp);
        }
        if (picture_.isGrey) {
            if (header_.bitCount <= 8) return choose(header_.bitCount, TgaChange::kNone);
            return picture_.hasAlpha ? choose(32, TgaChange::kGreyAndAlpha) : choose(8, TgaChange::kGreyOnly);
        }
        switch (header_.bitCount) {
            case 15:
            case 16:
                return picture_.hasAlpha && header_.bitCount == 16 ? choose(32, TgaChange::kWords)
                                                                   : choose(16, TgaChange::kNone);
            case 24: return choose(24, TgaChange::kNone);
            default:
                // The fourth byte of pixels without alpha may hold anything.
                return choose(32, picture_.hasAlpha || options_.alpha == DIB_ALPHA_STORED
                                      ? TgaChange::kNone
                                      : TgaChange::kOpaque);
        }
    }

    // A thumbnail has a byte for each side, then raw pixels as the picture has them.
    bool chooseLevel() {
        if (options_.level == 0) return true;
        if (options_.level >= picture_.levels()) {
            return refuse(result_, DIB_ERROR_MISMATCH, "there is no level %d: the file has %d",
                          options_.level, picture_.levels());
        }
        unsigned char sides[2];
        if (!file_.seek(picture_.thumbnail) || !file_.read(sides, sizeof sides))
            return refuse(result_, DIB_ERROR_READ, "the file ends before its thumbnail");
        picture_.width = sides[0];
        picture_.height = sides[1];
        picture_.isPacked = false;
        return judgeSize();
    }

    ByteReader& file_;
    TgaPicture& picture_;
    TgaHeader& header_;
    const DibLoadOptions& options_;
    DibFileResult& result_;
};

}  // namespace

bool resemblesTga(FirstBytes bytes) {
    if (bytes.size() < TgaHeader::kBytes) return false;
    const TgaHeader header = TgaHeader::parse(bytes.data());
    const int bits = header.bitCount;
    const unsigned mapBits = header.mapEntryBits;
    if (header.colorMapType > 1 || header.width == 0 || header.height == 0 || header.descriptor > 0x3F)
        return false;
    switch (header.imageType) {
        case kMapped:
        case kRunLengthMapped:
            return (bits == 8 || bits == 16) && header.hasMap() && header.mapEntries != 0 &&
                   (mapBits == 15 || mapBits == 16 || mapBits == 24 || mapBits == 32);
        case kTrueColor:
        case kRunLengthTrueColor:
            return !header.hasMap() && (bits == 15 || bits == 16 || bits == 24 || bits == 32);
        case kGrey:
        case kRunLengthGrey: return !header.hasMap() && (bits == 1 || bits == 8 || bits == 16);
        default: return false;
    }
}

bool readTgaPicture(ByteReader& file, TgaPicture& picture, const DibLoadOptions& options,
                    DibFileResult& result) {
    return PictureReader(file, picture, options, result).read();
}

}  // namespace formats
