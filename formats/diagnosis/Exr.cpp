#include <algorithm>

#include "dib/FloatBits.h"
#include "dib/Numbers.h"
#include "formats/diagnosis/Diagnosis.h"
#include "formats/diagnosis/ExrHeader.h"

namespace formats {

namespace {

// A text that ends with NUL; moves `at` after it.
std::string textAt(const RefusedFile& file, std::int64_t& at) {
    std::string text = file.text(at, 256);
    text.resize(std::min(text.find('\0'), text.size()));
    at += dib::asOffset(text.size()) + 1;
    return text;
}

// Names of compressions by their number.
constexpr const char* kCompressions[] = {"none",  "rle", "zips", "zip",  "piz",
                                         "pxr24", "b44", "b44a", "dwaa", "dwab"};

void readChannels(const RefusedFile& file, std::int64_t at, ExrHeader& header) {
    constexpr std::int64_t kEntryBytes = 16;  // after the name
    constexpr std::uint32_t kHalf = 1;
    for (std::string name; !(name = textAt(file, at)).empty(); at += kEntryBytes) {
        header.sampleBits += file.le32(at) == kHalf ? 16 : 32;
        header.channels.push_back(std::move(name));
    }
}

float floatAt(const RefusedFile& file, std::int64_t at) { return dib::floatOfBits(file.le32(at)); }

void readAttribute(const RefusedFile& file, const std::string& name, std::int64_t at, ExrHeader& header) {
    const auto edge = [&](int i) { return std::int64_t{static_cast<std::int32_t>(file.le32(at + 4 * i))}; };
    if (name == "channels") readChannels(file, at, header);
    if (name == "dataWindow") {
        header.width = edge(2) - edge(0) + 1;
        header.height = edge(3) - edge(1) + 1;
    }
    if (name == "compression" && file.byte(at) < std::size(kCompressions))
        header.compression = kCompressions[file.byte(at)];
    if (name == "xDensity") header.pixelsPerInch = floatAt(file, at);
    if (name == "pixelAspectRatio") header.pixelAspect = floatAt(file, at);
}

}  // namespace

bool ExrHeader::has(const std::string& channel) const {
    return std::find(channels.begin(), channels.end(), channel) != channels.end();
}

bool readExrHeader(const RefusedFile& file, ExrHeader& header) {
    constexpr std::int64_t kFirstAttribute = 8;
    for (std::int64_t at = kFirstAttribute; at < file.size();) {
        const std::string name = textAt(file, at);
        if (name.empty()) return true;
        textAt(file, at);
        const std::int64_t value = at + 4;
        readAttribute(file, name, value, header);
        at = value + file.le32(at);
    }
    return false;
}

Problem diagnoseExr(const RefusedFile& file) {
    constexpr std::int64_t kHeaderBytes = 8;
    constexpr std::uint32_t kDeep = 8;
    if (file.le32(0) != 0x01312F76) return damaged("not an EXR file");
    if (file.size() < kHeaderBytes) return cutShort(kShortHeader);
    if (file.byte(4) != 2) return unread("version " + std::to_string(file.byte(4)) + " is not known");
    if ((file.byte(5) & kDeep) != 0) return unread("deep pictures are not read");
    ExrHeader header;
    const bool isWhole = readExrHeader(file, header);
    if (header.hasWindow()) {
        if (Problem problem = sizeProblem(header.width, header.height, 32); !problem.empty()) return problem;
    }
    if (!isWhole) return cutShort(kShortHeader);
    if (header.channels.empty()) return damaged("the list of channels is missing");
    std::string names;
    for (const std::string& name : header.channels) names += (names.empty() ? "" : ", ") + quoted(name);
    return guessed("the pixels are damaged or end too early, or the channels " + names + " are not read");
}

}  // namespace formats
