// Positions of 64 bits, and rows that the system reads and writes in place.
#include <VexLibs.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "dib/File.h"

static_assert(sizeof(off_t) == 8,
              "positions in files have 64 bits: 32-bit systems need _FILE_OFFSET_BITS=64");

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

FilePtr openDescriptor(int descriptor) { return FilePtr(fdopen(descriptor, "wb")); }

int descriptorOf(std::FILE* file) { return fileno(file); }

bool isReadable(std::FILE* file) {
    struct stat status = {};
    return fstat(fileno(file), &status) != 0 || !S_ISDIR(status.st_mode);
}

std::int64_t positionIn(std::FILE* file) { return ftello(file); }

bool seekTo(std::FILE* file, std::int64_t position) { return fseeko(file, position, SEEK_SET) == 0; }

std::int64_t sizeOnDisk(std::FILE* file) {
    const int descriptor = fileno(file);
    struct stat status = {};
    if (descriptor < 0 || fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) return -1;
    // Files that the system makes up as they are read have no size.
    return status.st_size > 0 ? std::int64_t{status.st_size} : -1;
}

namespace {

template <class Byte>
Byte* rowAt(Byte* first, std::ptrdiff_t step, std::size_t row) {
    return first + static_cast<std::ptrdiff_t>(row) * step;
}

// Every system accepts as many rows at once.
constexpr std::size_t kRowsAtOnce = 1024;

// Passes rows to `transfer(parts, count, done)`, which moves some of their bytes and returns how many, until
// none are left or it moves none. Returns the bytes moved.
template <class Transfer>
std::size_t transferRows(unsigned char* first, std::ptrdiff_t step, std::size_t rowBytes, std::size_t rows,
                         const Transfer& transfer) {
    std::size_t done = 0;
    while (done < rows * rowBytes) {
        const std::size_t row = done / rowBytes;
        const std::size_t begin = done % rowBytes;  // a system may move less than it was given
        iovec parts[kRowsAtOnce];
        const std::size_t count = std::min(rows - row, kRowsAtOnce);
        for (std::size_t i = 0; i < count; ++i) parts[i] = {rowAt(first, step, row + i), rowBytes};
        parts[0].iov_base = rowAt(first, step, row) + begin;
        parts[0].iov_len -= begin;
        const ssize_t moved = transfer(parts, static_cast<int>(count), done);
        if (moved < 0 && errno == EINTR) continue;
        if (moved <= 0) break;
        done += static_cast<std::size_t>(moved);
    }
    return done;
}

}  // namespace

std::size_t readRows(std::FILE* file, unsigned char* first, std::ptrdiff_t step, std::size_t rowBytes,
                     std::size_t rows) {
    if (step == static_cast<std::ptrdiff_t>(rowBytes)) return std::fread(first, 1, rowBytes * rows, file);
    if (rowBytes == 0) return 0;
    const int descriptor = fileno(file);
    const off_t start = ftello(file);
    std::size_t done = 0;
    if (descriptor < 0 || start < 0) {
        // A stream in memory, or a pipe.
        for (std::size_t row = 0; row < rows && done == row * rowBytes; ++row) {
            done += std::fread(rowAt(first, step, row), 1, rowBytes, file);
        }
        return done;
    }
    done = transferRows(first, step, rowBytes, rows, [&](const iovec* parts, int count, std::size_t passed) {
        return preadv(descriptor, parts, count, start + static_cast<off_t>(passed));
    });
    fseeko(file, start + static_cast<off_t>(done), SEEK_SET);
    return done;
}

bool writeRows(std::FILE* file, const unsigned char* first, std::ptrdiff_t step, std::size_t rowBytes,
               std::size_t rows) {
    if (rowBytes == 0 || rows == 0) return true;
    if (std::fflush(file) != 0) return false;
    const int descriptor = fileno(file);
    if (descriptor < 0) {
        // A stream in memory.
        for (std::size_t row = 0; row < rows; ++row) {
            if (!writeBytes(file, rowAt(first, step, row), rowBytes)) return false;
        }
        return true;
    }
    const std::size_t written = transferRows(
        const_cast<unsigned char*>(first), step, rowBytes, rows,
        [&](const iovec* parts, int count, std::size_t) { return writev(descriptor, parts, count); });
    if (written < rows * rowBytes) return false;
    // The stream continues where the rows end; a pipe has no position.
    const off_t end = lseek(descriptor, 0, SEEK_CUR);
    return end < 0 || fseeko(file, end, SEEK_SET) == 0;
}

}  // namespace dib
