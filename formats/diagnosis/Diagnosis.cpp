#include "formats/diagnosis/Diagnosis.h"

#include <DibStream.h>

#include "dib/File.h"

namespace formats {

std::string whyRefused(const char* path, Diagnosis diagnose, int errorCode) {
    const dib::FilePtr opened = dib::openForReading(path);
    if (opened == nullptr) return "the file cannot be opened";
    ByteReader file(opened.get());
    return whyRefused(file, diagnose, errorCode);
}

std::string whyRefused(ByteReader& reader, Diagnosis diagnose, int errorCode) {
    const RefusedFile file(reader);
    if (file.size() == 0) return "the file is empty";
    if (std::string reason = diagnose != nullptr ? diagnose(file) : ""; !reason.empty()) return reason;
    switch (errorCode) {
        case DIB_ERROR_MEMORY: return "there is not enough memory for the picture";
        case DIB_ERROR_READ: return kShortPixels;
        default: return "the pixels are damaged or end too early";
    }
}

}  // namespace formats
