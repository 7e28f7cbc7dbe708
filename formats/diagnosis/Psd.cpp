#include "formats/diagnosis/Diagnosis.h"
#include "formats/psd/Outline.h"

namespace formats {

std::string diagnosePsd(const RefusedFile& file) {
    if (std::string problem = psd::headerProblem(file); !problem.empty()) return problem;
    const psd::Outline outline = psd::outlineOf(file);
    if (std::string problem = sizeProblem(outline.width, outline.height, outline.bitCount());
        !problem.empty())
        return problem;
    return outline.picture + 2 > file.size() ? "the file ends before its merged picture" : "";
}

}  // namespace formats
