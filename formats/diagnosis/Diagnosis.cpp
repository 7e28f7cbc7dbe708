#include "formats/diagnosis/Diagnosis.h"

#include <DibStream.h>

namespace formats {

std::string whyRefused(const char* path, Diagnosis diagnose, int errorCode) {
    const RefusedFile file(path);
    if (file.size() == 0) return "the file is empty";
    if (std::string reason = diagnose(file); !reason.empty()) return reason;
    switch (errorCode) {
        case DIB_ERROR_MEMORY: return "there is not enough memory for the picture";
        case DIB_ERROR_READ: return kShortPixels;
        default: return "the pixels are damaged or end too early";
    }
}

}  // namespace formats
