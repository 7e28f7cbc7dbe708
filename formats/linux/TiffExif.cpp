#include "formats/linux/TiffExif.h"

#include <algorithm>
#include <array>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "dib/Bytes.h"
#include "dib/Numbers.h"
#include "formats/Exif.h"
#include "formats/linux/TiffNumbers.h"

namespace formats {

namespace {

constexpr std::size_t kHeaderBytes = 8;
constexpr std::size_t kEntryBytes = 12;

enum Tag : std::uint32_t {
    kStrips = 0x111,
    kTiles = 0x144,
    kExif = 0x8769,
    kGps = 0x8825,
    kInterop = 0xA005
};
// Of the first directory those that describe the picture and not its pixels: titles, camera, software, time,
// people and how it is shown.
constexpr std::uint32_t kDescribing[] = {0x10D,  0x10E,  0x10F,  0x110,  0x112, 0x11A,  0x11B,  0x11D,
                                         0x128,  0x131,  0x132,  0x13B,  0x13C, 0x4746, 0x8298, 0x9C9B,
                                         0x9C9C, 0x9C9D, 0x9C9E, 0x9C9F, kExif, kGps};
// Of these, how the picture is shown: orientation and resolution, which metadata has anyway.
constexpr std::uint32_t kShowing[] = {0x112, 0x11A, 0x11B, 0x128};
// Texts that the directory of a written file repeats.
constexpr std::uint32_t kTexts[] = {TIFFTAG_IMAGEDESCRIPTION, TIFFTAG_MAKE,         TIFFTAG_MODEL,
                                    TIFFTAG_SOFTWARE,         TIFFTAG_DATETIME,     TIFFTAG_ARTIST,
                                    TIFFTAG_COPYRIGHT,        TIFFTAG_DOCUMENTNAME, TIFFTAG_PAGENAME,
                                    TIFFTAG_HOSTCOMPUTER};

bool isOneOf(std::span<const std::uint32_t> tags, std::uint32_t tag) {
    return std::find(tags.begin(), tags.end(), tag) != tags.end();
}

struct Entry {
    std::uint32_t tag = 0;
    std::uint32_t type = 0;
    std::uint32_t count = 0;
    std::array<unsigned char, kEntryBytes> bytes{};
};

std::uint64_t bytesOf(const Entry& entry) {
    constexpr unsigned kSizes[] = {0, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8, 4};
    return entry.type < std::size(kSizes) ? std::uint64_t{kSizes[entry.type]} * entry.count : 0;
}

// A file or block with directories.
class Directories {
public:
    Directories(ByteReader& file, bool isLittle) : file_(file), numbers_(isLittle) {}

    const TiffNumbers& numbers() const { return numbers_; }
    // Empty where there is none.
    std::vector<Entry> entriesAt(std::uint64_t at) const {
        constexpr std::uint32_t kMostEntries = 512;
        unsigned char start[2];
        if (!file_.seek(at) || !file_.read(start, sizeof start)) return {};
        const std::uint32_t count = numbers_.read16(start);
        if (count > kMostEntries) return {};
        std::vector<Entry> entries;
        for (std::uint32_t i = 0; i < count; ++i) {
            Entry entry;
            unsigned char* bytes = entry.bytes.data();
            if (!file_.read(bytes, kEntryBytes)) return {};
            entry.tag = numbers_.read16(bytes);
            entry.type = numbers_.read16(bytes + 2);
            entry.count = numbers_.read32(bytes + 4);
            entries.push_back(entry);
        }
        return entries;
    }
    std::uint32_t valueOf(const Entry& entry) const { return numbers_.read32(entry.bytes.data() + 8); }
    std::uint32_t valueOf(const std::vector<Entry>& entries, std::uint32_t tag) const {
        for (const Entry& entry : entries) {
            if (entry.tag == tag) return valueOf(entry);
        }
        return 0;
    }
    bool read(std::uint64_t at, void* to, std::size_t bytes) const {
        return file_.seek(at) && file_.read(to, bytes);
    }
    std::uint64_t size() const { return static_cast<std::uint64_t>(std::max<std::int64_t>(file_.size(), 0)); }

private:
    ByteReader& file_;
    TiffNumbers numbers_;
};

// Copies directories with what they point to into a new block.
class Copier {
public:
    explicit Copier(const Directories& from) : from_(from), numbers_(from.numbers()) {}

    // Returns where the directory is in the block, 0 when it has no entries.
    std::uint32_t copy(std::vector<Entry> entries, int depth) {
        std::erase_if(entries, [&](const Entry& entry) { return !isCopied(entry); });
        if (entries.empty()) return 0;
        makeEven();
        const std::size_t at = block_.size();
        block_.resize(at + 2 + entries.size() * kEntryBytes + 4);
        numbers_.write(&block_[at], entries.size(), 2);
        for (std::size_t i = 0; i < entries.size(); ++i) {
            Entry& entry = entries[i];
            const std::uint32_t place = placeOf(entry, depth);
            constexpr std::uint32_t kNumber = 4;
            if (isDirectory(entry, depth)) numbers_.write(entry.bytes.data() + 2, kNumber, 2);
            if (place != 0 || isDirectory(entry, depth)) numbers_.write(entry.bytes.data() + 8, place, 4);
            std::copy_n(entry.bytes.data(), kEntryBytes, &block_[at + 2 + i * kEntryBytes]);
        }
        return dib::dwordOf(at);
    }
    // The block, whose first directory was copied before all others.
    const std::vector<unsigned char>& finish(const unsigned char* header) {
        std::copy_n(header, 4, block_.begin());
        numbers_.write(&block_[4], kHeaderBytes, 4);
        return block_;
    }

private:
    static bool isDirectory(const Entry& entry, int depth) {
        return depth == 0 ? entry.tag == kExif || entry.tag == kGps : depth == 1 && entry.tag == kInterop;
    }
    bool isCopied(const Entry& entry) const {
        const std::uint64_t bytes = bytesOf(entry);
        if (bytes == 0 || bytes + block_.size() > kMostMetadataBytes) return false;
        return bytes <= 4 || from_.valueOf(entry) + bytes <= from_.size();
    }
    // Where the values of an entry are in the block, 0 when they are in the entry.
    std::uint32_t placeOf(const Entry& entry, int depth) {
        const std::uint32_t place = from_.valueOf(entry);
        if (isDirectory(entry, depth)) return copy(from_.entriesAt(place), depth + 1);
        const std::size_t bytes = dib::asSize(bytesOf(entry));
        if (bytes <= 4) return 0;
        makeEven();
        const std::size_t at = block_.size();
        if (at + bytes > kMostMetadataBytes) return 0;
        block_.resize(at + bytes);
        from_.read(place, &block_[at], bytes);
        return dib::dwordOf(at);
    }
    void makeEven() { block_.resize(block_.size() + block_.size() % 2); }

    const Directories& from_;
    const TiffNumbers& numbers_;
    std::vector<unsigned char> block_ = std::vector<unsigned char>(kHeaderBytes);
};

void copyOrThrow(std::span<const unsigned char> from, DibBytes& to) {
    if (!copyBytes(from, to)) throw std::bad_alloc();
}

// The length of the block that writeTiffExif put at the start of the file; 0 when there is none. Its
// directory follows the header, is not the picture's, and leads to the same entries.
std::size_t lengthOfOwnBlock(const Directories& file, std::uint64_t directory, std::uint64_t pixels) {
    std::uint64_t end = std::min(directory, pixels);
    if (end <= kHeaderBytes || end > kMostMetadataBytes) return 0;
    unsigned char fill = 0;
    if (end < pixels && file.read(end - 1, &fill, 1)) end -= std::min<unsigned>(fill, 2);
    const std::vector<Entry> own = file.entriesAt(kHeaderBytes);
    const std::vector<Entry> picture = file.entriesAt(directory);
    const auto isSame = [&](Tag tag) { return file.valueOf(own, tag) == file.valueOf(picture, tag); };
    const bool isOfPixels = file.valueOf(own, kStrips) != 0 || file.valueOf(own, kTiles) != 0;
    return !own.empty() && !isOfPixels && isSame(kExif) && isSame(kGps) ? dib::asSize(end) : 0;
}

}  // namespace

bool readTiffExif(TIFF* tiff, ByteReader& file, DibBytes& block) {
    unsigned char header[kHeaderBytes];
    if (!file.seek(0) || !file.read(header, sizeof header)) return false;
    const bool isLittle = header[0] == 'I';
    const Directories from(file, isLittle);
    constexpr std::uint32_t kUsualVersion = 42;  // files with offsets of 64 bits have another layout
    if (from.numbers().read16(header + 2) != kUsualVersion) return false;
    const std::uint64_t directory = TIFFCurrentDirOffset(tiff);
    if (const std::size_t length = lengthOfOwnBlock(from, directory, TIFFGetStrileOffset(tiff, 0))) {
        std::vector<unsigned char> own(length);
        if (!from.read(0, own.data(), length)) return false;
        from.numbers().write(&own[4], kHeaderBytes, 4);
        copyOrThrow(own, block);
        return true;
    }
    std::vector<Entry> entries = from.entriesAt(directory);
    std::erase_if(entries, [](const Entry& entry) { return !isOneOf(kDescribing, entry.tag); });
    if (std::all_of(entries.begin(), entries.end(),
                    [](const Entry& entry) { return isOneOf(kShowing, entry.tag); }))
        return true;
    Copier copier(from);
    if (copier.copy(std::move(entries), 0) != 0) copyOrThrow(copier.finish(header), block);
    return true;
}

bool isOfTiffExif(std::uint32_t tag) { return isOneOf(kDescribing, tag); }

bool isTiffExif(const DibBytes& block) {
    const std::string_view start(reinterpret_cast<const char*>(block.data),
                                 std::min<std::size_t>(block.size, 4));
    if (block.size <= kHeaderBytes ||
        (start != std::string_view("II*\0", 4) && start != std::string_view("MM\0*", 4)))
        return false;
    ByteReader reader(block.data, block.size);
    const Directories from(reader, block.data[0] == 'I');
    return !from.entriesAt(from.numbers().read32(block.data + 4)).empty();
}

bool exifForTiff(const DibMetadata& metadata, DibBytes& block) {
    if (!isTiffExif(metadata.exif)) return true;
    if (!exifForFile(metadata, block)) return false;
    ByteReader reader(block.data, block.size);
    const Directories from(reader, block.data[0] == 'I');
    const std::uint32_t at = from.numbers().read32(block.data + 4);
    if (at == kHeaderBytes) return true;
    Copier copier(from);
    copier.copy(from.entriesAt(at), 0);
    return copyBytes(copier.finish(block.data), block);
}

std::size_t writeTiffExif(TiffTagSetter& tags, ByteWriter& file, const DibBytes& block) {
    if (block.size == 0) return 0;
    std::size_t textBytes = 0;
    file.seek(kHeaderBytes);
    file.bytes(block.data + kHeaderBytes, block.size - kHeaderBytes);
    // Directories begin at even places. Fill in front of the picture's says how long it is, so that the block
    // keeps its length.
    constexpr unsigned char kFill[2][2] = {{2, 2}, {1}};
    file.bytes(kFill[block.size % 2], kFill[block.size % 2][0]);
    ByteReader reader(block.data, block.size);
    const Directories from(reader, block.data[0] == 'I');
    const std::vector<Entry> entries = from.entriesAt(kHeaderBytes);
    for (const Entry& entry : entries) {
        const std::uint32_t place = from.valueOf(entry);
        if (entry.tag == kExif) tags.set(TIFFTAG_EXIFIFD, std::uint64_t{place});
        if (entry.tag == kGps) tags.set(TIFFTAG_GPSIFD, std::uint64_t{place});
        constexpr std::uint32_t kText = 2;
        const bool isText = isOneOf(kTexts, entry.tag);
        const bool isInEntry = entry.count <= 4;
        if (!isText || entry.type != kText || entry.count == 0) continue;
        if (!isInEntry && place + std::uint64_t{entry.count} > block.size) continue;
        const unsigned char* text = isInEntry ? entry.bytes.data() + 8 : block.data + place;
        const std::string copy(dib::textAt(text, entry.count));
        tags.set(entry.tag, copy.c_str());
        textBytes += copy.size() + 2;  // with a NUL, at an even place
    }
    return textBytes;
}

}  // namespace formats
