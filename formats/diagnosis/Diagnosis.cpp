#include "formats/diagnosis/Diagnosis.h"

#include "formats/door/Request.h"

namespace formats {

Problem whyRefused(ByteReader& reader, Diagnosis diagnose, int errorCode) {
    const RefusedFile file(reader);
    Problem problem = diagnose != nullptr ? diagnose(file) : Problem();
    if (problem.code != DIB_OK) return problem;
    if (errorCode == DIB_ERROR_MEMORY)
        return {DIB_ERROR_MEMORY, "there is not enough memory for the picture"};
    const bool isShort = errorCode == DIB_ERROR_READ;
    if (problem.empty()) problem.text = isShort ? kShortPixels : "the pixels are damaged or end too early";
    problem.code = isShort ? DIB_ERROR_READ : DIB_ERROR_INVALID;
    return problem;
}

bool refuse(DibFileResult& result, const Problem& problem) {
    return refuse(result, problem.code, "%s", problem.text.c_str());
}

}  // namespace formats
