// Files that are written whole or not at all.
#ifndef FORMATS_DOOR_WHOLE_FILE_H
#define FORMATS_DOOR_WHOLE_FILE_H

#include <DibFile.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>

#include "dib/File.h"
#include "files/ReplacedFile.h"
#include "formats/ByteWriter.h"
#include "formats/door/Frame.h"

namespace formats {

constexpr const char* kUnwritten = "the file cannot be written";

// Refuses with the system's reason after the text, unless `why` is 0.
inline bool refuseForSystem(DibFileResult& result, DibErrorCode code, const char* what, int why) {
    return refuse(result, code, "%s%s%s", what, why != 0 ? ": " : "", why != 0 ? std::strerror(why) : "");
}

// Replaces the file by what `encode(writer)` writes, unless that or `finish()` returns false with a reason.
// The old file stays then, and where the system fails.
template <class Encode, class Finish>
bool writeWhole(const char* path, DibFileResult& result, const Encode& encode, const Finish& finish,
                files::ReplacedFile::Existing existing = files::ReplacedFile::kReplace) {
    files::ReplacedFile target(path, existing);
    if (target.error() != 0)
        return refuseForSystem(result, DIB_ERROR_OPEN, "the file cannot be created", target.error());
    dib::FilePtr file = dib::openDescriptor(target.descriptor().number());
    if (file == nullptr) return refuseForMemory(result, "for the file");
    target.descriptor().take();
    errno = 0;
    ByteWriter writer(file.get());
    if (!encode(writer)) return false;
    const bool isStored =
        std::fflush(file.get()) == 0 && files::ReplacedFile::storeOnDisk(dib::descriptorOf(file.get()));
    if (!isStored || !dib::closeWritten(std::move(file)))
        return refuseForSystem(result, DIB_ERROR_WRITE, kUnwritten, errno);
    if (!finish()) return false;
    return target.commit() ||
           refuseForSystem(result, DIB_ERROR_WRITE, "the file cannot be put in its place", target.error());
}

}  // namespace formats

#endif
