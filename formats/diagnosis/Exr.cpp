#include <algorithm>

#include "formats/diagnosis/Diagnosis.h"

namespace formats {

namespace {

// A text that ends with NUL; moves `at` behind it.
std::string textAt(const RefusedFile& file, std::int64_t& at) {
    std::string text = file.text(at, 256);
    text.resize(std::min(text.find('\0'), text.size()));
    at += static_cast<std::int64_t>(text.size()) + 1;
    return text;
}

std::string channelNames(const RefusedFile& file, std::int64_t at) {
    constexpr std::int64_t kEntryBytes = 16;  // behind the name
    std::string names;
    for (std::string name; !(name = textAt(file, at)).empty(); at += kEntryBytes)
        names += (names.empty() ? "" : ", ") + quoted(name);
    return names;
}

std::string windowProblem(const RefusedFile& file, std::int64_t at) {
    const auto edge = [&](int i) { return std::int64_t{static_cast<std::int32_t>(file.le32(at + 4 * i))}; };
    return sizeProblem(edge(2) - edge(0) + 1, edge(3) - edge(1) + 1, 32);
}

}  // namespace

std::string diagnoseExr(const RefusedFile& file) {
    constexpr std::int64_t kFirstAttribute = 8;
    constexpr std::uint32_t kDeep = 8;
    if (file.le32(0) != 0x01312F76) return "not an EXR file";
    if (file.size() < kFirstAttribute) return kShortHeader;
    if (file.byte(4) != 2) return "version " + std::to_string(file.byte(4)) + " is not known";
    if ((file.byte(5) & kDeep) != 0) return "deep pictures are not read";
    std::string channels;
    for (std::int64_t at = kFirstAttribute;;) {
        if (at >= file.size()) return kShortHeader;
        const std::string name = textAt(file, at);
        if (name.empty()) break;
        textAt(file, at);
        const std::int64_t value = at + 4;
        if (name == "channels") channels = channelNames(file, value);
        if (name == "dataWindow") {
            if (std::string problem = windowProblem(file, value); !problem.empty()) return problem;
        }
        at = value + file.le32(at);
    }
    if (channels.empty()) return "the list of channels is missing";
    return "the pixels are damaged or end too early, or the channels " + channels + " are not read";
}

}  // namespace formats
