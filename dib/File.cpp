#include "dib/File.h"

#include <VexLibs.h>

#include <cerrno>

namespace dib {

namespace {

FilePtr open(const char* path, const char* mode) {
    std::FILE* file = nullptr;
    return FilePtr(fopen_s(&file, path, mode) == 0 ? file : nullptr);
}

FilePtr open(const wchar_t* path, const wchar_t* mode) {
    std::FILE* file = nullptr;
    return FilePtr(_wfopen_s(&file, path, mode) == 0 ? file : nullptr);
}

}  // namespace

FilePtr openForReading(const char* path) { return open(path, "rb"); }
FilePtr openForReading(const wchar_t* path) { return open(path, L"rb"); }
FilePtr openForWriting(const char* path) { return open(path, "wb"); }
FilePtr openForWriting(const wchar_t* path) { return open(path, L"wb"); }

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
