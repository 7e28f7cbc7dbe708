// Files by UTF-8 paths, positions of 64 bits, and rows by the C library's streams.
#include "dib/File.h"

#include <VexLibs.h>
#include <io.h>
#include <sys/stat.h>

#include <cerrno>
#include <new>

#include "dib/Numbers.h"
#include "vexlibs/SystemPath.h"

namespace dib {

namespace {

FilePtr open(const std::wstring& path, const wchar_t* mode) { return FilePtr(_wfopen(path.c_str(), mode)); }

FilePtr open(const char* path, const wchar_t* mode) {
    try {
        return path != nullptr ? open(vexlibs::systemPath(path), mode) : nullptr;
    } catch (const std::bad_alloc&) {
        errno = ENOMEM;
        return nullptr;
    }
}

FilePtr open(const wchar_t* path, const wchar_t* mode) {
    try {
        return path != nullptr ? open(vexlibs::systemPath(std::wstring_view(path)), mode) : nullptr;
    } catch (const std::bad_alloc&) {
        errno = ENOMEM;
        return nullptr;
    }
}

// Whether the system keeps it on a disk: positions in anything else have no meaning.
bool isOnDisk(std::FILE* file, struct _stat64& status) {
    const int descriptor = _fileno(file);
    return descriptor >= 0 && _fstat64(descriptor, &status) == 0 && (status.st_mode & _S_IFMT) == _S_IFREG;
}

}  // namespace

FilePtr openForReading(const char* path) { return open(path, L"rb"); }
FilePtr openForReading(const wchar_t* path) { return open(path, L"rb"); }
FilePtr openForWriting(const char* path) { return open(path, L"wb"); }
FilePtr openForWriting(const wchar_t* path) { return open(path, L"wb"); }

FilePtr openDescriptor(int descriptor) { return FilePtr(_fdopen(descriptor, "wb")); }

int descriptorOf(std::FILE* file) { return _fileno(file); }

// A folder cannot be opened as a file.
bool isReadable(std::FILE*) { return true; }

std::int64_t positionIn(std::FILE* file) {
    struct _stat64 status = {};
    return isOnDisk(file, status) ? _ftelli64(file) : -1;
}

bool seekTo(std::FILE* file, std::int64_t position) { return _fseeki64(file, position, SEEK_SET) == 0; }

std::int64_t sizeOnDisk(std::FILE* file) {
    struct _stat64 status = {};
    return isOnDisk(file, status) && status.st_size > 0 ? std::int64_t{status.st_size} : -1;
}

std::size_t readRows(std::FILE* file, unsigned char* first, std::ptrdiff_t step, std::size_t rowBytes,
                     std::size_t rows) {
    if (step == asOffset(rowBytes)) return std::fread(first, 1, rowBytes * rows, file);
    std::size_t done = 0;
    for (std::size_t row = 0; row < rows && done == row * rowBytes; ++row)
        done += std::fread(first + asOffset(row) * step, 1, rowBytes, file);
    return done;
}

bool writeRows(std::FILE* file, const unsigned char* first, std::ptrdiff_t step, std::size_t rowBytes,
               std::size_t rows) {
    if (step == asOffset(rowBytes)) return writeBytes(file, first, rowBytes * rows);
    for (std::size_t row = 0; row < rows; ++row) {
        if (!writeBytes(file, first + asOffset(row) * step, rowBytes)) return false;
    }
    return true;
}

}  // namespace dib
