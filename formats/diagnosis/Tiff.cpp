#include "dib/Numbers.h"
#include "formats/diagnosis/Diagnosis.h"

namespace formats {

namespace {

enum Tag : std::uint32_t {
    kWidth = 256,
    kHeight = 257,
    kBitsPerSample = 258,
    kCompression = 259,
    kPhotometric = 262,
    kSampleFormat = 339
};

// The first directory, in either byte order, of files with 32-bit or 64-bit offsets.
class Directory {
public:
    explicit Directory(const RefusedFile& file)
        : file_(file), isBig_((file.text(0, 2) == "II" ? file.le16(2) : file.be16(2)) == 43) {
        at_ = isBig_ ? number(8, 8) : number(4, 4);
    }

    bool isBehindFile() const { return at_ > file_.size() - countBytes(); }
    bool isInFile() const { return at_ >= 8 && at_ <= file_.size() - countBytes(); }
    bool isWhole() const { return isInFile() && entryAt(entries()) <= file_.size(); }

    static constexpr std::int64_t kMissing = -1;  // beyond the end of the file

    // The first value of a tag.
    std::int64_t value(Tag tag, std::int64_t standard) const {
        for (std::int64_t i = 0; i < entries(); ++i) {
            const std::int64_t entry = entryAt(i);
            if (number(entry, 2) != tag) continue;
            const std::int64_t bytes = number(entry + 2, 2) == kShort ? 2 : 4;
            const std::int64_t count = number(entry + 4, isBig_ ? 8 : 4);
            const std::int64_t place = entry + (isBig_ ? 12 : 8);
            const bool isInside = count <= (isBig_ ? 8 : 4) / bytes;
            const std::int64_t at = isInside ? place : number(place, isBig_ ? 8 : 4);
            return at <= file_.size() - bytes ? number(at, bytes) : kMissing;
        }
        return standard;
    }

private:
    static constexpr std::int64_t kShort = 3;

    std::int64_t countBytes() const { return isBig_ ? 8 : 2; }
    std::int64_t entries() const { return number(at_, countBytes()) & 0xFFFF; }
    std::int64_t entryAt(std::int64_t index) const { return at_ + countBytes() + index * (isBig_ ? 20 : 12); }

    std::int64_t number(std::int64_t at, std::int64_t bytes) const {
        if (at > file_.size()) return 0;
        const bool isLittle = file_.text(0, 1) == "I";
        std::uint64_t value = 0;
        for (std::int64_t i = 0; i < bytes; ++i)
            value = value << 8 | file_.byte(at + (isLittle ? bytes - 1 - i : i));
        return dib::asOffset(value & INT64_MAX);
    }

    const RefusedFile& file_;
    bool isBig_;
    std::int64_t at_ = 0;
};

Problem sampleProblem(const Directory& directory) {
    constexpr std::int64_t kPalette = 3;
    constexpr std::int64_t kFloat = 3;
    const std::int64_t bits = directory.value(kBitsPerSample, 1);
    const std::int64_t format = directory.value(kSampleFormat, 1);
    const std::string kind = std::to_string(bits) + "-bit";
    if (bits == Directory::kMissing) return cutShort("the file ends before the values of its directory");
    if (format == 5 || format == 6) return unread("complex samples are not read");
    if (format == kFloat)
        return bits == 16 || bits == 32 || bits == 64 ? Problem() : unread(kind + " floats are not read");
    const bool isPalette = directory.value(kPhotometric, 0) == kPalette;
    if (bits >= 1 && bits <= (isPalette ? 8 : 32)) return {};
    return unread(kind + (isPalette ? " palettes" : " integer samples") + " are not read");
}

}  // namespace

Problem diagnoseTiff(const RefusedFile& file) {
    const std::string order = file.text(0, 2);
    const std::uint32_t version = order == "II" ? file.le16(2) : file.be16(2);
    if ((order != "II" && order != "MM") || (version != 42 && version != 43))
        return damaged("not a TIFF file");
    if (file.size() < 8) return cutShort(kShortHeader);
    const Directory directory(file);
    if (directory.isBehindFile())
        return cutShort("the file ends before its directory, without which no pixels are found");
    if (!directory.isInFile()) return damaged("the directory of the first picture lies outside of the file");
    if (!directory.isWhole()) return cutShort("the file ends inside its directory");
    const std::int64_t width = directory.value(kWidth, 0);
    const std::int64_t height = directory.value(kHeight, 0);
    if (Problem problem = sizeProblem(width, height, 8); !problem.empty()) return problem;
    if (Problem problem = sampleProblem(directory); !problem.empty()) return problem;
    const std::int64_t compression = directory.value(kCompression, 1);
    return guessed("the pixels (compression " + std::to_string(compression) +
                   ") are damaged, end too early or are of a kind that is not read");
}

}  // namespace formats
