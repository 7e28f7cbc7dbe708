// Open files with an owner, and whole-block reading and writing.
#ifndef DIB_FILE_H
#define DIB_FILE_H

#include <cstddef>
#include <cstdio>
#include <memory>

namespace dib {

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using FilePtr = std::unique_ptr<std::FILE, CloseFile>;

// Opens a file through the support library; null on failure. Paths are UTF-8 or wide.
FilePtr openForReading(const char* path);
FilePtr openForReading(const wchar_t* path);
FilePtr openForWriting(const char* path);
FilePtr openForWriting(const wchar_t* path);

// Whether all bytes were read / written.
inline bool readBytes(std::FILE* file, void* out, std::size_t bytes) {
    return std::fread(out, 1, bytes, file) == bytes;
}
inline bool writeBytes(std::FILE* file, const void* from, std::size_t bytes) {
    return std::fwrite(from, 1, bytes, file) == bytes;
}

}  // namespace dib

#endif
