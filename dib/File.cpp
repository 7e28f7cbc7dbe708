#include "dib/File.h"

#include <cerrno>

namespace dib {

int readError(std::FILE* file) {
    // An old error of the stream may still be noted at the end.
    if (std::ferror(file) == 0 || std::feof(file) != 0) return 0;
    return errno != 0 ? errno : EIO;
}

std::optional<std::uint64_t> bytesLeft(std::FILE* file) {
    const std::int64_t position = positionIn(file);
    if (position < 0) return {};
    std::int64_t end = sizeOnDisk(file);
    if (end < 0) {
        if (std::fseek(file, 0, SEEK_END) != 0) return {};
        end = positionIn(file);
        if (!seekTo(file, position)) return {};
    }
    // Devices and pipes may claim an end that lies before the position.
    if (end < position) return {};
    return static_cast<std::uint64_t>(end - position);
}

}  // namespace dib
