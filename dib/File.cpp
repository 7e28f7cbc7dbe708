#include "dib/File.h"

#include <VexLibs.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
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

std::optional<std::uint64_t> bytesLeft(std::FILE* file) {
    const long position = std::ftell(file);
    if (position < 0 || std::fseek(file, 0, SEEK_END) != 0) return {};
    const long end = std::ftell(file);
    // Devices and pipes behind a FILE* may claim an end that lies before the position.
    if (std::fseek(file, position, SEEK_SET) != 0 || end < position) return {};
    return static_cast<std::uint64_t>(end - position);
}

void skipBytes(std::FILE* file, std::uint64_t bytes) {
    if (bytes == 0 || std::fseek(file, static_cast<long>(bytes), SEEK_CUR) == 0) return;
    while (bytes-- > 0 && std::fgetc(file) != EOF) continue;
}

namespace {

// As many rows at once as every system takes.
constexpr std::size_t kRowsAtOnce = 1024;

bool writeRowsToDescriptor(int descriptor, const unsigned char* first, std::ptrdiff_t step,
                           std::size_t rowBytes, std::size_t rows) {
    std::size_t row = 0;
    std::size_t begin = 0;  // what is left of that row starts here: a system may write less than it was given
    while (row < rows) {
        iovec parts[kRowsAtOnce];
        const std::size_t count = std::min(rows - row, kRowsAtOnce);
        for (std::size_t i = 0; i < count; ++i) {
            const unsigned char* start = first + static_cast<std::ptrdiff_t>(row + i) * step;
            parts[i] = {const_cast<unsigned char*>(start), rowBytes};
        }
        parts[0].iov_base = static_cast<unsigned char*>(parts[0].iov_base) + begin;
        parts[0].iov_len -= begin;
        const ssize_t written = writev(descriptor, parts, static_cast<int>(count));
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return false;
        const std::size_t passed = begin + static_cast<std::size_t>(written);
        row += passed / rowBytes;
        begin = passed % rowBytes;
    }
    return true;
}

}  // namespace

bool writeRows(std::FILE* file, const unsigned char* first, std::ptrdiff_t step, std::size_t rowBytes,
               std::size_t rows) {
    if (rowBytes == 0 || rows == 0) return true;
    if (std::fflush(file) != 0) return false;
    const int descriptor = fileno(file);
    if (descriptor < 0) {
        // A stream in memory.
        for (std::size_t row = 0; row < rows; ++row) {
            if (!writeBytes(file, first + static_cast<std::ptrdiff_t>(row) * step, rowBytes)) return false;
        }
        return true;
    }
    if (!writeRowsToDescriptor(descriptor, first, step, rowBytes, rows)) return false;
    // The stream goes on where the rows end; a pipe has no place to go to.
    const off_t end = lseek(descriptor, 0, SEEK_CUR);
    return end < 0 || fseeko(file, end, SEEK_SET) == 0;
}

}  // namespace dib
