#include "formats/Exif.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <optional>

#include "dib/Bytes.h"
#include "dib/Memory.h"
#include "dib/Numbers.h"

namespace formats {

namespace {

enum Tag : std::uint32_t { kOrientation = 0x112, kXResolution = 0x11A, kYResolution = 0x11B, kUnit = 0x128 };
enum Type : std::uint32_t { kShort = 3, kRational = 5 };
constexpr std::uint32_t kCentimetres = 3;

// The first directory of a block. Places beyond its end read as 0.
class Directory {
public:
    explicit Directory(std::span<const unsigned char> block)
        : block_(block), isLittle_(block.size() > 1 && block[0] == 'I' && block[1] == 'I') {
        const bool isBig = block.size() > 1 && block[0] == 'M' && block[1] == 'M';
        if ((isLittle_ || isBig) && number(2, 2) == 42) at_ = number(4, 4);
    }

    // Where the entry of a tag with one value of a type has its value.
    std::optional<std::size_t> find(Tag tag, Type type) const {
        const std::size_t count = at_ > 0 ? number(at_, 2) : 0;
        for (std::size_t i = 0, entry = at_ + 2; i < count && entry + 12 <= block_.size(); ++i, entry += 12) {
            if (number(entry, 2) != tag || number(entry + 2, 2) != type || number(entry + 4, 4) != 1)
                continue;
            return entry + 8;
        }
        return std::nullopt;
    }
    std::uint32_t word(Tag tag, std::uint32_t standard) const {
        const auto at = find(tag, kShort);
        return at ? number(*at, 2) : standard;
    }
    double fraction(Tag tag) const {
        const auto at = find(tag, kRational);
        if (!at) return 0;
        const std::size_t place = number(*at, 4);
        const std::uint32_t below = number(place + 4, 4);
        return below != 0 ? static_cast<double>(number(place, 4)) / below : 0;
    }
    bool isLittle() const { return isLittle_; }

private:
    std::uint32_t number(std::size_t at, std::size_t bytes) const {
        if (at > block_.size() || block_.size() - at < bytes) return 0;
        std::uint32_t value = 0;
        for (std::size_t i = 0; i < bytes; ++i)
            value = value << 8 | block_[at + (isLittle_ ? bytes - 1 - i : i)];
        return value;
    }

    std::span<const unsigned char> block_;
    bool isLittle_;
    std::size_t at_ = 0;
};

}  // namespace

void applyExif(std::span<const unsigned char> block, DibMetadata& metadata) {
    const Directory directory(block);
    const std::uint32_t orientation = directory.word(kOrientation, 1);
    if (orientation >= 1 && orientation <= 8) metadata.orientation = dib::asInt(orientation);
    if (metadata.xResolution > 0) return;
    const double scale = directory.word(kUnit, 2) == kCentimetres ? 2.54 : 1.0;
    metadata.xResolution = directory.fraction(kXResolution) * scale;
    metadata.yResolution = directory.fraction(kYResolution) * scale;
}

void orderResolutions(DibBytes& block, const DibMetadata& metadata) {
    const Directory directory({block.data, block.size});
    const auto x = directory.find(kXResolution, kRational);
    const auto y = directory.find(kYResolution, kRational);
    if (!x || !y) return;
    const double scale = directory.word(kUnit, 2) == kCentimetres ? 2.54 : 1.0;
    const auto isClose = [](double a, double b) { return std::abs(a - b) < 0.005 * std::max(a, b); };
    if (isClose(metadata.xResolution, metadata.yResolution) ||
        !isClose(directory.fraction(kXResolution) * scale, metadata.yResolution) ||
        !isClose(directory.fraction(kYResolution) * scale, metadata.xResolution))
        return;
    std::swap_ranges(block.data + *x, block.data + *x + 4, block.data + *y);  // places of the fractions
}

bool copyBytes(std::span<const unsigned char> from, DibBytes& to) {
    DibBytes copy;
    if (!from.empty()) {
        copy.data = dib::allocateArray<unsigned char>(from.size()).release();
        if (copy.data == nullptr) return false;
        std::memcpy(copy.data, from.data(), from.size());
        copy.size = from.size();
    }
    to = std::move(copy);
    return true;
}

bool exifForFile(const DibMetadata& metadata, DibBytes& block, bool keepsBlock) {
    // One entry, the orientation, in a directory that follows the header.
    constexpr unsigned char kUpright[] = {'I', 'I', 42, 0, 8, 0, 0, 0, 1, 0, 0x12, 0x01, 3,
                                          0,   1,   0,  0, 0, 1, 0, 0, 0, 0, 0,    0,    0};
    const auto orientation = dib::byteOf(metadata.orientation);
    if (metadata.exif.size > 0 && keepsBlock) {
        if (!copyBytes({metadata.exif.data, metadata.exif.size}, block)) return false;
        orderResolutions(block, metadata);
    } else if (orientation > 1 && orientation <= 8) {
        if (!copyBytes(kUpright, block)) return false;
    } else {
        return true;
    }
    const Directory directory({block.data, block.size});
    if (const auto at = directory.find(kOrientation, kShort)) {
        block.data[*at + (directory.isLittle() ? 0 : 1)] = orientation;
        block.data[*at + (directory.isLittle() ? 1 : 0)] = 0;
    }
    return true;
}

}  // namespace formats
