/// What the rows of codecs share.
#ifndef TOOLS_IO_FORMATS_CODEC_ROW_H
#define TOOLS_IO_FORMATS_CODEC_ROW_H

#include <cstring>
#include <string_view>

#include "tools/io/Formats.h"

namespace tool {

using Codec = bool (*)(const char* path, DibStream* image, DibProgressCallback callback, void* user);

/// A loader or saver of DibCodec.h, as `Format` wants it.
template <Codec codec>
bool runCodec(const char* path, DibStream& image, DibProgressCallback callback, void* user) {
    return codec(path, &image, callback, user);
}

inline bool startsWith(FirstBytes bytes, std::string_view text) {
    return bytes.size() >= text.size() && std::memcmp(bytes.data(), text.data(), text.size()) == 0;
}

}  // namespace tool

#endif
