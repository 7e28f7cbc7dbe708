#include "formats/diagnosis/Diagnosis.h"

namespace formats {

namespace {

constexpr const char* kModes[] = {"bitmap", "grey", "indexed",      "RGB",     "CMYK",
                                  "",       "",     "multichannel", "duotone", "Lab"};
constexpr std::uint32_t kCmyk = 4;

std::string modeProblem(std::uint32_t mode, std::uint32_t depth) {
    if (mode > kCmyk) {
        const bool isNamed = mode < std::size(kModes) && *kModes[mode] != '\0';
        return isNamed ? std::string(kModes[mode]) + " documents are not read"
                       : "colour mode " + std::to_string(mode) + " is not known";
    }
    const bool fits = mode == 0 ? depth == 1 : depth == 8 || (mode != 2 && (depth == 16 || depth == 32));
    if (fits) return {};
    return std::string(kModes[mode]) + " documents of " + std::to_string(depth) + " bits are not read";
}

// How many bytes of a packed row are needed for its pixels; more than there are when it is too short.
std::size_t neededBytes(const std::string& packed, std::int64_t rowBytes) {
    std::size_t at = 0;
    while (rowBytes > 0 && at < packed.size()) {
        const int header = static_cast<signed char>(packed[at]);
        if (header != -128) rowBytes -= header < 0 ? 1 - header : header + 1;
        at += header == -128 ? 1 : header < 0 ? 2 : static_cast<std::size_t>(header) + 2;
    }
    return rowBytes > 0 ? packed.size() + 1 : at;
}

// Packed rows behind a table of their lengths, 2 bytes each.
std::string packedProblem(const RefusedFile& file, std::int64_t table, std::int64_t rows,
                          std::int64_t rowBytes) {
    std::int64_t at = table + 2 * rows;
    for (std::int64_t row = 0; row < rows; ++row) {
        const std::size_t length = file.be16(table + 2 * row);
        const std::string packed = file.text(at, length);
        if (packed.size() < length) return kShortPixels;
        const std::size_t needed = neededBytes(packed, rowBytes);
        if (needed > length) return "row " + std::to_string(row) + " of the packed rows is too short";
        if (needed < length) return "packed rows with bytes behind their pixels are not read";
        at += static_cast<std::int64_t>(length);
    }
    return {};
}

std::string pixelProblem(const RefusedFile& file, std::int64_t at) {
    const std::uint32_t compression = file.be16(at);
    const std::int64_t rows = std::int64_t{file.be16(12)} * file.be32(14);
    const std::int64_t rowBytes = (std::int64_t{file.be32(18)} * file.be16(22) + 7) / 8;
    switch (compression) {
        case 0: return file.size() - at - 2 < rows * rowBytes ? kShortPixels : "";
        case 1: return packedProblem(file, at + 2, rows, rowBytes);
        case 2:
        case 3: return "ZIP-compressed pixels are not read";
        default: return "compression " + std::to_string(compression) + " is not known";
    }
}

// Image resources, each with its own signature.
std::string resourceProblem(const RefusedFile& file, std::int64_t at, std::int64_t end) {
    while (at < end) {
        if (file.text(at, 4) != "8BIM")
            return "image resources of type " + quoted(file.text(at, 4)) + " are not read";
        at += 6 + (file.byte(at + 6) / 2 + 1) * 2;
        at += 4 + (std::int64_t{file.be32(at)} + 1) / 2 * 2;
    }
    return {};
}

}  // namespace

std::string diagnosePsd(const RefusedFile& file) {
    constexpr std::int64_t kHeaderBytes = 26;
    if (file.text(0, 4) != "8BPS") return "not a PSD document";
    if (file.be16(4) == 2) return "large documents (PSB) are not read";
    if (file.be16(4) != 1) return "version " + std::to_string(file.be16(4)) + " is not known";
    if (file.size() < kHeaderBytes) return kShortHeader;
    if (std::string problem = modeProblem(file.be16(24), file.be16(22)); !problem.empty()) return problem;
    const std::uint32_t channels = file.be16(12);
    const int bitCount = channels == 3 ? 24 : channels == 1 ? 8 : 32;
    if (std::string problem = sizeProblem(file.be32(18), file.be32(14), bitCount); !problem.empty())
        return problem;

    const std::int64_t resources = kHeaderBytes + 4 + file.be32(kHeaderBytes);
    const std::int64_t layers = resources + 4 + file.be32(resources);
    if (std::string problem = resourceProblem(file, resources + 4, layers); !problem.empty()) return problem;
    const std::int64_t picture = layers + 4 + file.be32(layers);
    if (picture + 2 > file.size()) return "the file ends before its merged picture";
    return pixelProblem(file, picture);
}

}  // namespace formats
