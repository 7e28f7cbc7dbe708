// Open files with an owner, and whole-block reading and writing.
#ifndef DIB_FILE_H
#define DIB_FILE_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>

#include "dib/NextByte.h"

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

// A stream on an open descriptor, which it then owns; null on failure.
FilePtr openDescriptor(int descriptor);
// The descriptor of a stream.
int descriptorOf(std::FILE* file);
// Whether there is something to read: a folder can be opened, too.
bool isReadable(std::FILE* file);

// Whether all that was written arrived. Closing writes what is still buffered, and seeking does, whose errors
// only the stream remembers.
inline bool closeWritten(FilePtr file) {
    const bool isWhole = std::ferror(file.get()) == 0;
    return std::fclose(file.release()) == 0 && isWhole;
}

// Why the last read of a stream returned too few bytes, as the system's number: 0 at the end of the file.
// `errno` must be as that read left it, and 0 before.
int readError(std::FILE* file);

// The position in an open file; negative for a stream that cannot seek.
std::int64_t positionIn(std::FILE* file);
// Whether the position could be set.
bool seekTo(std::FILE* file, std::int64_t position);

// The size of a file that the system keeps on a disk; negative for everything else. Seeking to the end would
// discard what the stream has buffered.
std::int64_t sizeOnDisk(std::FILE* file);

// Bytes between the current position and the end; nothing for a stream that cannot seek. Readers check it
// before they allocate what a header announces.
std::optional<std::uint64_t> bytesLeft(std::FILE* file);

// Whether all bytes were read / written.
inline bool readBytes(std::FILE* file, void* out, std::size_t bytes) {
    return std::fread(out, 1, bytes, file) == bytes;
}
inline bool writeBytes(std::FILE* file, const void* from, std::size_t bytes) {
    return std::fwrite(from, 1, bytes, file) == bytes;
}

// Rows are blocks of `rowBytes` bytes; each starts `step` bytes after the one before it (before it when
// negative). The system reads and writes them in place: turning a picture upside down costs a third of what
// gathering its rows first does.

// Reads rows and returns the number of bytes read; the file is then positioned after them.
std::size_t readRows(std::FILE* file, unsigned char* first, std::ptrdiff_t step, std::size_t rowBytes,
                     std::size_t rows);
// Whether all rows were written. Buffered bytes of the stream are written first.
bool writeRows(std::FILE* file, const unsigned char* first, std::ptrdiff_t step, std::size_t rowBytes,
               std::size_t rows);

}  // namespace dib

#endif
