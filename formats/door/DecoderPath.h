// A path for decoders that open files themselves.
#ifndef FORMATS_DOOR_DECODER_PATH_H
#define FORMATS_DOOR_DECODER_PATH_H

#include <optional>
#include <string>

#include "files/NamelessFile.h"
#include "formats/Formats.h"

namespace formats {

class DecoderPath {
public:
    // The path of the file, or where that is null, of a copy. May throw std::bad_alloc.
    DecoderPath(ByteReader& file, const char* path, DibFileResult& result);
    explicit DecoderPath(ReadRequest& request) : DecoderPath(request.file, request.path, request.result) {}
    // UTF-8. Null with the reason in the result when no copy could be made.
    const char* get() const { return path_.empty() ? nullptr : path_.c_str(); }

private:
    std::optional<files::NamelessFile> copy_;
    std::string path_;
};

// By the format's own reader. The formats that macOS and Windows decode themselves have none and go through
// the classic loader, as fully as it tells.
bool readPicture(const FileFormat& format, ReadRequest& request);

}  // namespace formats

#endif
