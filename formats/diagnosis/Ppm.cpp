#include "formats/diagnosis/Diagnosis.h"

#include <cstdio>

namespace formats {

std::string diagnosePpm(const RefusedFile& file) {
    std::int64_t at = 0;
    const std::string kind = file.line(at);
    const std::string letters = kind.substr(0, 2);
    if (letters == "P1" || letters == "P4") return "bitmaps (" + letters + ") are not read";
    if (letters != "P2" && letters != "P3" && letters != "P5" && letters != "P6")
        return "not a PPM or PGM file";
    if (kind.size() != 2) return "the first line must be " + letters + " alone";
    std::string size;
    do {
        if (at >= file.size()) return kShortHeader;
        size = file.line(at);
    } while (size.starts_with('#'));
    int width = 0;
    int height = 0;
    if (std::sscanf(size.c_str(), "%d %d", &width, &height) != 2)
        return "the line of the size does not hold two numbers";
    return sizeProblem(width, height, letters == "P3" || letters == "P6" ? 24 : 8);
}

}  // namespace formats
