#include "formats/diagnosis/Diagnosis.h"

#include <algorithm>
#include <cctype>

namespace formats {

namespace {

constexpr std::int64_t kChunkHeader = 8;

bool isName(const std::string& text) {
    return text.size() == 4 &&
           std::ranges::all_of(text, [](unsigned char c) { return std::isprint(c) != 0; });
}

std::string headerProblem(const RefusedFile& file, std::int64_t at) {
    const std::uint32_t planes = file.byte(at + 8);
    const std::uint32_t compression = file.byte(at + 10);
    if (compression > 1) return "compression " + std::to_string(compression) + " is not known";
    if (planes > 24) return std::to_string(planes) + " bit planes are not read";
    return sizeProblem(file.be16(at), file.be16(at + 2), planes > 8 ? 24 : 8);
}

}  // namespace

std::string diagnoseIff(const RefusedFile& file) {
    if (file.text(0, 3) != "FOR") return "not an IFF file";
    if (file.text(0, 4) != "FORM") return "IFF files of kind " + quoted(file.text(0, 4)) + " are not read";
    if (file.text(8, 4) != "ILBM") return "FORM files of type " + quoted(file.text(8, 4)) + " are not read";
    bool hasHeader = false;
    bool hasOddChunk = false;
    for (std::int64_t at = 12; at + kChunkHeader <= file.size();) {
        const std::string name = file.text(at, 4);
        const std::int64_t length = file.be32(at + 4);
        if (!isName(name)) break;
        if (name == "BMHD") {
            if (length < 20) return "the header chunk (BMHD) is too short";
            if (std::string problem = headerProblem(file, at + kChunkHeader); !problem.empty())
                return problem;
            hasHeader = true;
        } else if (name == "BODY" && hasHeader) {
            return at >= std::int64_t{file.be32(4)} ? "the pixels begin within the last 8 bytes of the FORM"
                                                    : kShortPixels;
        }
        hasOddChunk = hasOddChunk || length % 2 != 0;
        at += kChunkHeader + length;
    }
    if (hasOddChunk) return "fill bytes after chunks of odd length are not read";
    return hasHeader ? "the pixels (BODY) are missing" : "the header chunk (BMHD) is missing";
}

}  // namespace formats
